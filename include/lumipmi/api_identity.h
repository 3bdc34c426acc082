/** @file api_identity.h
 *  Management calls: who the managed system is.
 *
 *  A management call does one task. It opens a connection of its own with the parameters {1, -1, -1}, sends what the
 *  task needs, and closes the connection on every way out; calls of several threads do not disturb each other. Common
 *  to all management calls:
 *  - a null pointer gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is sent, unless told otherwise;
 *  - without memory for the connection, IPMI_STATUS_APP_NOT_ENOUGH_MEMORY;
 *  - the first request that fails ends the call with its status, that of ipmi_send_request() or the one that its
 *    command gives to short responses and to completion codes of its own; what was written by then, to the BMC or to
 *    the caller's record, stays. */
#ifndef LUMIPMI_API_IDENTITY_H
#define LUMIPMI_API_IDENTITY_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** Argument of IPMIGetServiceInfo(). 16 bytes. */
typedef struct IPMIServiceInfo {
  char *unitTag;       /**< out: unit tag of the system, NUL-terminated */
  uint8_t unitTagSize; /**< in: room at unitTag in bytes */
} IPMIServiceInfo;

/** Argument of IPMIGetSystemInfo(). 64 bytes. */
typedef struct IPMISystemInfo {
  void *reserved[2];            /**< the caller's; neither read nor written */
  char *systemInfoString;       /**< out: the string in system information parameter 0xD1, NUL-terminated */
  uint8_t systemInfoStringSize; /**< in: room at systemInfoString in bytes */
  char *unitTag;                /**< out: unit tag, NUL-terminated */
  uint8_t unitTagSize;          /**< in: room at unitTag in bytes */
  char *assetTag;               /**< out: asset tag, NUL-terminated */
  uint8_t assetTagSize;         /**< in: room at assetTag in bytes */
  uint8_t oemInfoByte;          /**< out: the byte in system information parameter 0xCA; 0 when the BMC sends none */
} IPMISystemInfo;

/** Argument of IPMIGetBMCInfo(). 32 bytes. */
typedef struct IPMIBMCInfo {
  char *ipmiVersion;           /**< out: "2.0" */
  uint8_t ipmiVersionSize;     /**< in: room at ipmiVersion in bytes; below 4 nothing is written */
  char *firmwareVersion;       /**< out: "1.23" */
  uint8_t firmwareVersionSize; /**< in: room at firmwareVersion in bytes; below 5 nothing is written */
} IPMIBMCInfo;

/** Kinds of channel, of ipmi_get_channel_id() and the management calls that take one. */
enum { IPMI_CHANNEL_KIND_LAN = 0, IPMI_CHANNEL_KIND_SERIAL = 1 };

LUMI_BEGIN_DECLS

/**
 * Reads the size of a FRU device: Get FRU Inventory Area Info (IPMI v2.0 rev 1.1, 34.1).
 * @param[in]  fruId     FRU device ID.
 * @param[out] areaSize  Bytes; written on success only.
 * @returns 0, or as told above.
 */
LUMI_API uint32_t IPMIGetFruInventoryInfo(uint8_t fruId, uint16_t *areaSize);

/**
 * Reads bytes of a FRU device in pieces of at most 16: Read FRU Data (34.2).
 * @param[in]     fruId   FRU device ID.
 * @param[in]     offset  First byte to read.
 * @param[in,out] count   In: bytes to read, 0 reads nothing; out: bytes read. Untouched on failure, except with
 *                        IPMI_STATUS_BMC_PARAMETER_OUT_OF_RANGE, the end of the device.
 * @param[out]    buffer  Indexed by the offset in the device: what is read goes to buffer[offset] and on, so that it
 *                        holds offset + count bytes.
 * @returns the statuses of ipmi_storage_read_fru_data_2().
 */
LUMI_API uint32_t IPMIGetFruData(uint8_t fruId, uint16_t offset, uint16_t *count, uint8_t *buffer);

/**
 * Reads the unit tag of the system, the maker's system information parameter 0xC5.
 * @param[in]  handle    Open connection.
 * @param[out] text      NUL-terminated; written on success only.
 * @param[in]  capacity  Room at text in bytes.
 * @returns 0; IPMI_STATUS_APP_INSUFFICIENT_BUFFER when capacity is not above the tag's length byte, or below the
 *          number of bytes received; the statuses of ipmi_app_get_system_info().
 */
LUMI_API uint32_t ipmi_get_kest_system_unit_tag(IpmiHandle *handle, char *text, uint8_t capacity);

/**
 * Reads the unit tag.
 * @param[in,out] info  unitTag is written on success only.
 * @returns as ipmi_get_kest_system_unit_tag().
 */
LUMI_API uint32_t IPMIGetServiceInfo(IPMIServiceInfo *info);

/**
 * Reads, in this order, the string of parameter 0xD1, the byte of 0xCA, unit tag and asset tag.
 * @param[in,out] info  What was read before a failure stays written.
 * @returns 0; IPMI_STATUS_APP_INSUFFICIENT_BUFFER for a text that does not fit, which is then untouched; the statuses
 *          of ipmi_get_system_info_string().
 */
LUMI_API uint32_t IPMIGetSystemInfo(IPMISystemInfo *info);

/**
 * Reads the versions of the BMC: Get Device ID (20.1).
 * @param[in,out] info  A text whose room is too small stays untouched, which is no failure; its pointer may then be null.
 * @returns 0, or as told above.
 */
LUMI_API uint32_t IPMIGetBMCInfo(IPMIBMCInfo *info);

/**
 * Tells LAN and serial channels: Get Channel Info (22.24) of channels 0 to 7.
 * @param[out] lanMask     Bit n: the n-th channel that answers is an 802.3 LAN. Channels that do not answer are not
 *                         counted, so that these are not channel numbers. May be null.
 * @param[out] serialMask  The same for asynchronous serial/modem. May be null.
 * @returns 0, also when no channel answers.
 */
LUMI_API uint32_t IPMIGetChannelInfo(uint8_t *lanMask, uint8_t *serialMask);

/**
 * Reads the version of the system firmware (BIOS), system information parameter 1 (22.14b).
 * @param[out] version   NUL-terminated.
 * @param[in]  capacity  Room at version in bytes; bits 15..0 count.
 * @returns the statuses of ipmi_get_system_info_string().
 */
LUMI_API uint32_t IPMIGetBIOSVersion(char *version, uint32_t capacity);
/** Reads the system name, parameter 2. As IPMIGetBIOSVersion(). */
LUMI_API uint32_t IPMIGetHostSystemName(char *name, uint32_t capacity);
/** Reads the name of the primary operating system. As IPMIGetBIOSVersion(). */
LUMI_API uint32_t IPMIGetOSName(char *name, uint32_t capacity);

/**
 * Finds the first channel of a kind among 0 to 7: Get Channel Info. Channels that do not answer are skipped.
 * @param[in]  handle   Open connection.
 * @param[in]  kind     IPMI_CHANNEL_KIND_*; no channel is of another kind.
 * @param[out] channel  Channel number; 0xFF when there is none.
 * @returns 0; IPMI_STATUS_APP_NOT_FOUND.
 */
LUMI_API uint32_t ipmi_get_channel_id(IpmiHandle *handle, int32_t kind, uint8_t *channel);

LUMI_END_DECLS

#endif
