/** @file boot.h
 *  System boot options of NetFn Chassis (IPMI v2.0 rev 1.1, 28.12 and 28.13).
 *
 *  Common to all: a null pointer gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is sent; any other failure is that
 *  of ipmi_send_request(), with the completion codes of the generic pair mapped. Outputs are untouched on failure. */
#ifndef LUMIPMI_BOOT_H
#define LUMIPMI_BOOT_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** Parameter selectors with accessors of their own. */
enum {
  IPMI_BOOT_FLAG_VALID_BIT_CLEARING = 3,
  IPMI_BOOT_FLAGS = 5,
  IPMI_BOOT_KEST_BIOS_MUX = 96 /**< the maker's own */
};

/** Boot flags, parameter 5. Reading gives every field within its width; see ipmi_set_boot_flags() for writing. */
typedef struct IpmiBootFlags {
  uint8_t valid;                     /**< flag */
  uint8_t persistent;                /**< flag: applies to all future boots */
  uint32_t boot_type;                /**< 0 PC compatible, 1 EFI */
  uint8_t cmos_clear;                /**< flag */
  uint8_t lock_keyboard;             /**< flag */
  uint32_t boot_device;              /**< 4 bits: 1 PXE, 2 hard drive, 5 CD/DVD, 6 BIOS setup, .. */
  uint8_t screen_blank;              /**< flag */
  uint8_t lock_reset_button;         /**< flag */
  uint8_t lock_power_button;         /**< flag */
  uint32_t firmware_verbosity;       /**< 0 default, 1 quiet, 2 verbose */
  uint8_t force_progress_traps;      /**< flag */
  uint8_t password_bypass;           /**< flag */
  uint8_t lock_sleep_button;         /**< flag */
  uint32_t console_redirection;      /**< 0 BIOS setting, 1 suppress, 2 request */
  uint8_t bios_shared_mode_override; /**< flag */
  uint32_t bios_mux_override;        /**< 0 BIOS setting, 1 mux to the BMC, 2 mux to the system */
} IpmiBootFlags;

LUMI_BEGIN_DECLS

/**
 * Writes a boot option: Set System Boot Options (28.12).
 * @param[in] handle        Open connection.
 * @param[in] mark_invalid  Bit 0: 1 marks the parameter invalid.
 * @param[in] selector      Parameter; sent whole, so that its bit 7 marks the parameter invalid too.
 * @param[in] length        Bytes at data, at most 249; 0 changes the mark alone.
 * @param[in] data          The bytes behind the selector.
 * @returns
 * - 0: written.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: length is above 249; nothing was sent.
 * - IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_80, _81, _82: completion codes 0x80 (no such parameter), 0x81 (set in
 *   progress) and 0x82 (read only).
 */
LUMI_API uint32_t ipmi_chassis_set_system_boot_options(IpmiHandle *handle, uint8_t mark_invalid, uint8_t selector,
                                                       uint16_t length, const void *data);

/**
 * Reads a boot option: Get System Boot Options (28.13). Version and valid bit are not reported.
 * @param[in]     handle          Open connection.
 * @param[in]     selector        Parameter, sent whole.
 * @param[in]     set_selector    0 unless the parameter has sets.
 * @param[in]     block_selector  0 unless the parameter has blocks.
 * @param[in,out] length          In: room at data; out: bytes there.
 * @param[out]    data            The bytes behind the version and the selector.
 * @returns
 * - 0: length and data are filled.
 * - 0x20000000: more data than room, refused while the answer is received; IPMI_STATUS_APP_INSUFFICIENT_BUFFER if the
 *   answer came through all the same.
 * - IPMI_STATUS_BMC_UNSPECIFIED: a response without parameter data.
 * - IPMI_STATUS_BMC_GET_CONFIG_PARAMETER_80: the BMC does not have the parameter (completion code 0x80).
 */
LUMI_API uint32_t ipmi_chassis_get_system_boot_options(IpmiHandle *handle, uint8_t selector, uint8_t set_selector,
                                                       uint8_t block_selector, uint16_t *length, uint8_t *data);

/**
 * Reads what does not clear the valid bit of the boot flags: parameter 3.
 * @param[in]  handle  Open connection.
 * @param[out] value   The parameter's byte: 5 bits of IPMI v2.0 rev 1.1, table 28-14.
 * @returns the statuses of ipmi_chassis_get_system_boot_options().
 */
LUMI_API uint32_t ipmi_get_boot_flag_valid_bit_clearing(IpmiHandle *handle, uint32_t *value);

/**
 * Writes what does not clear the valid bit of the boot flags: parameter 3.
 * @param[in] handle  Open connection.
 * @param[in] value   The parameter's byte, sent as given.
 * @returns the statuses of ipmi_chassis_set_system_boot_options().
 */
LUMI_API uint32_t ipmi_set_boot_flag_valid_bit_clearing(IpmiHandle *handle, uint8_t value);

/**
 * Reads the boot flags: parameter 5. The device instance, byte 5, is not decoded.
 * @param[in]  handle  Open connection.
 * @param[out] flags
 * @returns the statuses of ipmi_chassis_get_system_boot_options(); below 4 data bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_get_boot_flags(IpmiHandle *handle, IpmiBootFlags *flags);

/**
 * Writes the boot flags: parameter 5, with device instance 0. Nothing is read back first: every bit comes from flags.
 * Pass 0 or 1 for flags and values within their width: what exceeds it spills into the higher bits of the same byte.
 * @param[in] handle  Open connection.
 * @param[in] flags
 * @returns the statuses of ipmi_chassis_set_system_boot_options().
 */
LUMI_API uint32_t ipmi_set_boot_flags(IpmiHandle *handle, const IpmiBootFlags *flags);

/** Reads the maker's BIOS mux, parameter 96. As ipmi_get_boot_flag_valid_bit_clearing(). */
LUMI_API uint32_t ipmi_get_kest_bios_mux(IpmiHandle *handle, uint32_t *value);
/** Writes the maker's BIOS mux, parameter 96. As ipmi_set_boot_flag_valid_bit_clearing(). */
LUMI_API uint32_t ipmi_set_kest_bios_mux(IpmiHandle *handle, uint8_t value);

LUMI_END_DECLS

#endif
