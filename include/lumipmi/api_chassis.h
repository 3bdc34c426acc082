/** @file api_chassis.h
 *  Management calls: chassis power, channel security keys, payload access.
 *
 *  What is common to all management calls stands in api_identity.h. Keys and payloads are those of the channel that
 *  carries serial over LAN: the first of channels 1 to 7 that is an 802.3 LAN, supports payload type 1, and has it in
 *  version 1.x. Without one: IPMI_STATUS_APP_NOT_FOUND. Outputs are written on success only. */
#ifndef LUMIPMI_API_CHASSIS_H
#define LUMIPMI_API_CHASSIS_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** A key as Set Channel Security Keys carries it (IPMI v2.0 rev 1.1, 22.25). */
typedef struct IPMISecurityKey {
  uint8_t bytes[20];
} IPMISecurityKey;

/** Key IDs. */
enum { IPMI_KEY_KR = 0, IPMI_KEY_KG = 1 };

LUMI_BEGIN_DECLS

/**
 * Reads the power state: Get Chassis Status (28.2).
 * @param[out] powerState  Bit 0 power on, 1 overload, 2 interlock, 3 power fault, 4 power control fault.
 * @returns 0, or as told above.
 */
LUMI_API uint32_t IPMIGetChassisStatus(uint8_t *powerState);

/**
 * Powers down, up, or resets: Chassis Control (28.3).
 * @param[in] control  Control codes of chassis.h, 0 to 5; bits 7..0 are sent as given.
 * @returns 0, or as told above.
 */
LUMI_API uint32_t IPMIChassisControl(uint32_t control);

/**
 * Reads a key: Set Channel Security Keys with its read operation.
 * @param[in]  keyId       IPMI_KEY_*; others give IPMI_STATUS_APP_INVALID_PARAMETER once the channel was found.
 * @param[out] key
 * @param[out] lockStatus  0 not lockable, 1 locked, 2 unlocked.
 * @returns the statuses of ipmi_app_set_channel_security_keys().
 */
LUMI_API uint32_t IPMIGetSecurityKey(uint32_t keyId, IPMISecurityKey *key, uint32_t *lockStatus);
/** Sets a key. As IPMIGetSecurityKey(), but that key is read. */
LUMI_API uint32_t IPMISetSecurityKey(uint32_t keyId, const IPMISecurityKey *key, uint32_t *lockStatus);
/** Locks a key: from then on it can neither be read nor set. As IPMIGetSecurityKey(). */
LUMI_API uint32_t IPMILockSecurityKey(uint32_t keyId, uint32_t *lockStatus);

/**
 * Reads which payloads the channel supports: Get Channel Payload Support (24.8).
 * @param[out] support  8 bytes as received: standard, session setup and OEM payload types, reserved; 2 each.
 * @returns the statuses of ipmi_app_get_payload_support().
 */
LUMI_API uint32_t IPMIGetPayloadSupport(uint8_t support[8]);

/**
 * Reads which payloads a user may use on the channel: Get User Payload Access (24.7).
 * @param[in]  userId      6 bits count.
 * @param[out] accessMask  The four bytes as received, the first in bits 7..0: standard payloads 0 to 7, reserved, OEM
 *                         payloads 0 to 7, reserved.
 * @returns the statuses of ipmi_app_get_payload_access().
 */
LUMI_API uint32_t IPMIGetPayloadAccess(uint8_t userId, uint32_t *accessMask);

/**
 * Lets a user use payloads or not: Set User Payload Access (24.6).
 * @param[in] userId      6 bits count.
 * @param[in] operation   IPMI_PAYLOAD_ACCESS_ENABLE or IPMI_PAYLOAD_ACCESS_DISABLE the payloads of the mask.
 * @param[in] accessMask  As above.
 * @returns the statuses of ipmi_app_set_payload_access().
 */
LUMI_API uint32_t IPMISetPayloadAccess(uint8_t userId, uint8_t operation, const uint32_t *accessMask);

LUMI_END_DECLS

#endif
