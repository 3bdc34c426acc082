/** @file system_info.h
 *  System info parameters of NetFn App: names and versions of the system's firmware and operating systems (IPMI v2.0
 *  rev 1.1, 22.14a and 22.14b).
 *
 *  Common to all: a null pointer gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is sent; any other failure is that
 *  of ipmi_send_request(), with the completion codes named per call mapped. Outputs are untouched on failure unless the
 *  call says otherwise. */
#ifndef LUMIPMI_SYSTEM_INFO_H
#define LUMIPMI_SYSTEM_INFO_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** Encodings of a string parameter. */
enum { IPMI_SYSTEM_INFO_LATIN1 = 0, IPMI_SYSTEM_INFO_UTF8 = 1, IPMI_SYSTEM_INFO_UNICODE = 2 };

LUMI_BEGIN_DECLS

/**
 * Reads one parameter, or one block of it: Get System Info Parameters (22.14b).
 * @param[in]     handle         Open connection.
 * @param[in]     parameter      Selector.
 * @param[in]     setSelector    Number of the block, counted from 0; 0 for a parameter without blocks.
 * @param[in]     blockSelector  0.
 * @param[out]    revision       Parameter revision, BCD halves.
 * @param[in,out] length         In: room at data; out: bytes there.
 * @param[out]    data           The bytes behind the revision; of a string: set selector and 16 bytes of block.
 * @returns
 * - 0: revision, length and data are filled; length is 0 when the response holds the revision alone.
 * - IPMI_STATUS_BMC_GET_CONFIG_PARAMETER_80: the BMC does not have the parameter (completion code 0x80).
 * - IPMI_STATUS_BMC_UNSPECIFIED: an empty response.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: more data than room.
 */
LUMI_API uint32_t ipmi_app_get_system_info(IpmiHandle *handle, uint8_t parameter, uint8_t setSelector,
                                           uint8_t blockSelector, uint8_t *revision, uint16_t *length, uint8_t *data);

/**
 * Writes one parameter, or one block of it: Set System Info Parameters (22.14a).
 * @param[in] handle     Open connection.
 * @param[in] parameter  Selector.
 * @param[in] length     Bytes at data, 1 to 248; 0 gives IPMI_STATUS_APP_INVALID_PARAMETER.
 * @param[in] data       The bytes behind the selector; of a string: set selector and 16 bytes of block.
 * @returns
 * - 0: written.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: length is above 248; nothing was sent.
 * - IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_80, _81, _82: completion codes 0x80 (no such parameter), 0x81 (set in
 *   progress) and 0x82 (read only).
 */
LUMI_API uint32_t ipmi_app_set_system_info(IpmiHandle *handle, uint8_t parameter, uint16_t length, const uint8_t *data);

/**
 * Reads all blocks of a string parameter and joins them.
 * @param[in]  handle     Open connection.
 * @param[in]  parameter  Selector.
 * @param[out] out        Encoding, length in bytes, string; cleared first, so that the rest is zero. On failure it may
 *                        hold the blocks that came before.
 * @param[in]  outSize    Room at out in bytes: the string's length and 2. What the BMC sends beyond the length that its
 *                        first block tells is left out; what it fails to send of it reads as zero.
 * @returns the statuses of ipmi_app_get_system_info(); IPMI_STATUS_APP_INSUFFICIENT_BUFFER also when out is too small.
 */
LUMI_API uint32_t ipmi_get_system_info_multi_blocks_string(IpmiHandle *handle, uint8_t parameter, uint8_t *out,
                                                           uint16_t outSize);

/**
 * Reads a string parameter of at most 254 bytes as text.
 * - IPMI_SYSTEM_INFO_LATIN1: copied and always terminated.
 * - IPMI_SYSTEM_INFO_UNICODE: the bytes count as the wide characters of the platform (4 bytes each on Linux, in the
 *   order of the machine) and are converted by the C library in the locale that is set. The result has no terminator
 *   when it fills text; what is written when a character cannot be converted is up to the C library.
 * - any other encoding, UTF-8 among them: text stays untouched.
 * @param[in]  handle     Open connection.
 * @param[in]  parameter  Selector.
 * @param[out] text       Untouched on failure.
 * @param[in]  textSize   Room at text in bytes; a terminator has to fit.
 * @returns the statuses of ipmi_get_system_info_multi_blocks_string(); 0 for every encoding, also when nothing was
 *          written or converted; IPMI_STATUS_APP_INSUFFICIENT_BUFFER also for a Latin-1 string that does not fit.
 */
LUMI_API uint32_t ipmi_get_system_info_string(IpmiHandle *handle, uint8_t parameter, char *text, uint16_t textSize);

/** System firmware version, parameter 1. As ipmi_get_system_info_string(). */
LUMI_API uint32_t ipmi_get_sysinfo_system_firmware_version(IpmiHandle *handle, char *text, uint16_t textSize);
/** System name, parameter 2. As ipmi_get_system_info_string(). */
LUMI_API uint32_t ipmi_get_sysinfo_system_name(IpmiHandle *handle, char *text, uint16_t textSize);
/** Primary operating system name, parameter 4: not 3. As ipmi_get_system_info_string(). */
LUMI_API uint32_t ipmi_get_sysinfo_primary_operating_system_name(IpmiHandle *handle, char *text, uint16_t textSize);
/** Present operating system name, parameter 5: not 4. As ipmi_get_system_info_string(). */
LUMI_API uint32_t ipmi_get_sysinfo_present_operating_system_name(IpmiHandle *handle, char *text, uint16_t textSize);

LUMI_END_DECLS

#endif
