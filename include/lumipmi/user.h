/** @file user.h
 *  User accounts: the commands of NetFn App for access, names and passwords.
 *
 *  Common to all: a null handle gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is sent; a short response gives
 *  IPMI_STATUS_BMC_RESPOSE_UNAVAILABE, not IPMI_STATUS_BMC_UNSPECIFIED; any other failure is that of
 *  ipmi_send_request(). Outputs are cleared before the request is sent and stay cleared on failure. Commands without
 *  response data fail with 0x20000000 when the BMC answers with data all the same. */
#ifndef LUMIPMI_USER_H
#define LUMIPMI_USER_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** What a user may do on a channel, and how many users there are. 16 bytes. */
typedef struct IpmiUserAccessInfo {
  uint8_t maxUserIds;           /**< 0 to 63 */
  uint8_t enabledUserCount;     /**< 0 to 63 */
  uint8_t fixedNameCount;       /**< users whose names cannot be changed, 0 to 63 */
  uint8_t callbackOnly;         /**< flag: access during callback connections only */
  uint8_t linkAuthEnabled;      /**< flag */
  uint8_t ipmiMessagingEnabled; /**< flag */
  uint32_t privilegeLimit;      /**< 1 Callback, 2 User, 3 Operator, 4 Administrator, 5 OEM, 15 no access */
  uint8_t enableStatus;         /**< 0x00 not told, 0x40 enabled, 0x80 disabled: bits 7:6 where they stand */
} IpmiUserAccessInfo;

/** Access to set. The flags are wider than a bit, see ipmi_app_set_user_access(). */
typedef struct IpmiUserAccessSetting {
  uint8_t callbackOnly;
  uint8_t linkAuthEnabled;
  uint8_t ipmiMessagingEnabled;
  uint32_t privilegeLimit; /**< as in IpmiUserAccessInfo; bits 3..0 count */
  uint8_t sessionLimit;    /**< simultaneous sessions of the user, 0 for no limit; bits 3..0 count */
} IpmiUserAccessSetting;

/** Operations of ipmi_app_set_user_password(). */
enum { IPMI_PASSWORD_DISABLE_USER = 0, IPMI_PASSWORD_ENABLE_USER = 1, IPMI_PASSWORD_SET = 2, IPMI_PASSWORD_TEST = 3 };

LUMI_BEGIN_DECLS

/**
 * Sets what a user may do on a channel: Set User Access (IPMI v2.0 rev 1.1, 22.26).
 *
 * The first request byte is channel | callbackOnly << 6 | linkAuthEnabled << 5 | ipmiMessagingEnabled << 4 | 0xB0: link
 * authentication and IPMI messaging are always enabled. Bit 6, "callback only", is set by bit 0 of callbackOnly, bit 1
 * of linkAuthEnabled and bit 2 of ipmiMessagingEnabled.
 * @param[in] handle    Open connection.
 * @param[in] selector  Channel number (bits 3..0 count), user ID (bits 5..0 count).
 * @param[in] setting
 * @returns 0; IPMI_STATUS_APP_INVALID_PARAMETER when a pointer is null.
 */
LUMI_API uint32_t ipmi_app_set_user_access(IpmiHandle *handle, const uint8_t selector[2],
                                           const IpmiUserAccessSetting *setting);

/**
 * Reads what a user may do on a channel: Get User Access (22.27).
 * @param[in]  handle    Open connection.
 * @param[in]  selector  Channel number (bits 3..0 count), user ID (bits 5..0 count).
 * @param[out] info      Untouched when a pointer is null, otherwise cleared on failure.
 * @returns 0; IPMI_STATUS_APP_INVALID_PARAMETER when a pointer is null; below 4 bytes
 *          IPMI_STATUS_BMC_RESPOSE_UNAVAILABE.
 */
LUMI_API uint32_t ipmi_app_get_user_access(IpmiHandle *handle, const uint8_t selector[2], IpmiUserAccessInfo *info);

/**
 * Names a user: Set User Name (22.28).
 * @param[in] handle   Open connection.
 * @param[in] user_id  Bits 5..0 count.
 * @param[in] name     NUL-terminated; the first 15 characters are sent. Not tested for null.
 * @returns 0.
 */
LUMI_API uint32_t ipmi_app_set_user_name(IpmiHandle *handle, uint8_t user_id, const char *name);

/**
 * Reads the name of a user: Get User Name (22.29).
 * @param[in]  handle   Open connection.
 * @param[in]  user_id  Bits 5..0 count.
 * @param[out] name     16 bytes as received, padded with NUL; a name of 16 characters is not terminated. Not tested for
 *                      null; untouched when handle is null, otherwise cleared on failure.
 * @returns 0; below 16 bytes IPMI_STATUS_BMC_RESPOSE_UNAVAILABE.
 */
LUMI_API uint32_t ipmi_app_get_user_name(IpmiHandle *handle, uint8_t user_id, uint8_t name[16]);

/**
 * Enables or disables a user, sets or tests the password: Set User Password (22.30).
 *
 * A password of up to 16 characters travels in the 16-byte form, a longer one in the 20-byte form, which holds 19
 * characters; the rest is cut off. A test in the 16-byte form that the BMC refuses for its size is repeated once in the
 * 20-byte form; the statuses of the repetition are those of ipmi_send_request().
 * @param[in] handle     Open connection.
 * @param[in] user_id    Bits 5..0 count.
 * @param[in] operation  IPMI_PASSWORD_*.
 * @param[in] password   NUL-terminated; not read, and may be null, unless it is set or tested.
 * @returns
 * - 0: done; for IPMI_PASSWORD_TEST: the password matches.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: handle is null, password is null and needed, or no such operation.
 * - IPMI_STATUS_BMC_PASSWORD_MISMATCH: IPMI_PASSWORD_TEST answered with completion code 0x80.
 * - IPMI_STATUS_BMC_PASSWORD_SIZE: IPMI_PASSWORD_TEST in the 20-byte form answered with completion code 0x81.
 */
LUMI_API uint32_t ipmi_app_set_user_password(IpmiHandle *handle, uint8_t user_id, int32_t operation,
                                             const char *password);

LUMI_END_DECLS

#endif
