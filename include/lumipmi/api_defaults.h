/** @file api_defaults.h
 *  The maker's own commands (NetFn 0x30) for factory defaults and the debug level, and their management calls.
 *
 *  What is common to all management calls stands in api_identity.h. */
#ifndef LUMIPMI_API_DEFAULTS_H
#define LUMIPMI_API_DEFAULTS_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** What to reset. */
enum { IPMI_RESET_ALL = 0xAA, IPMI_RESET_ALL_BUT_NETWORK = 0xDD };

LUMI_BEGIN_DECLS

/**
 * Resets the BMC's configuration to the factory defaults: command 0x21.
 * @param[in]  handle     Open connection.
 * @param[in]  option     IPMI_RESET_*, sent as given.
 * @param[out] completed  1: the reset has finished, 0: it goes on; written on success only.
 * @returns 0; an empty response gives IPMI_STATUS_BMC_UNSPECIFIED, more than a byte 0x20000000.
 */
LUMI_API uint32_t kest_ipmi_reset_to_default(IpmiHandle *handle, uint8_t option, uint8_t *completed);

/**
 * Sets the debug level: command 0xFE.
 * @param[in] handle  Open connection.
 * @param[in] level   Sent as given; what it means is the BMC's.
 * @returns 0; more than 16 bytes give 0x20000000.
 */
LUMI_API uint32_t kest_ipmi_set_debug_level(IpmiHandle *handle, uint8_t level);

/**
 * Reads the debug level: command 0xFF.
 * @param[in]  handle  Open connection.
 * @param[out] level   Written on success only. With null the request is sent all the same.
 * @returns 0; an empty response gives IPMI_STATUS_BMC_UNSPECIFIED, more than 16 bytes 0x20000000.
 */
LUMI_API uint32_t kest_ipmi_get_debug_level(IpmiHandle *handle, uint8_t *level);

/** Resets every setting. The call ends when the BMC has accepted it, not when the reset has finished.
 *  @returns as kest_ipmi_reset_to_default(). */
LUMI_API uint32_t IPMIResetConfiguration2Default(void);
/** Resets every setting but the network's. As IPMIResetConfiguration2Default(). */
LUMI_API uint32_t IPMIResetConfiguration2DefaultExceptNW(void);
/** As kest_ipmi_set_debug_level(). */
LUMI_API uint32_t IPMISetDebugLevel(uint8_t level);
/** As kest_ipmi_get_debug_level(). */
LUMI_API uint32_t IPMIGetDebugLevel(uint8_t *level);

/** Does nothing: kept for callers that expect it. @returns 0. */
LUMI_API uint32_t IPMIGracefulShutdown(void);

LUMI_END_DECLS

#endif
