/** @file api_user.h
 *  Management calls: users, passwords, the watchdog timer.
 *
 *  What is common to all management calls stands in api_identity.h. Channel kinds are IPMI_CHANNEL_KIND_*; without a
 *  channel of the kind: IPMI_STATUS_APP_NOT_FOUND. User IDs are 1 to 63. Copies of passwords are erased before a call
 *  returns. */
#ifndef LUMIPMI_API_USER_H
#define LUMIPMI_API_USER_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** The watchdog timer. 20 bytes. */
typedef struct IPMIWatchdogConfig {
  uint32_t timerUse;            /**< 1 BIOS FRB2, 2 BIOS/POST, 3 OS load, 4 SMS/OS, 5 OEM */
  uint32_t preTimeoutInterrupt; /**< 0 none, 1 SMI, 2 NMI, 3 messaging interrupt */
  uint32_t timeoutAction;       /**< 0 none, 1 hard reset, 2 power down, 3 power cycle */
  uint8_t expirationFlags;      /**< a bit for each timer use; get: it expired; set: to be cleared */
  uint8_t reserved;             /**< neither read nor written */
  uint16_t initialCountdown;    /**< 100 ms */
  uint16_t presentCountdown;    /**< 100 ms; not used when set */
} IPMIWatchdogConfig;

LUMI_BEGIN_DECLS

/**
 * Tells whether a user is enabled: Get User Access (IPMI v2.0 rev 1.1, 22.27), on the LAN channel, then on the serial
 * channel.
 * @param[in]     userId
 * @param[in,out] enabled  Out: 0 or 1. In: when the LAN channel cannot tell, bit 0 set ends the call with that failure;
 *                         otherwise the serial channel is asked, as it is when the LAN channel says "not enabled".
 * @returns the statuses of ipmi_get_channel_id() and ipmi_app_get_user_access().
 */
LUMI_API uint32_t IPMIGetUserEnable(uint8_t userId, uint8_t *enabled);

/**
 * Enables or disables a user: Set User Password (22.30).
 * @param[in] userId
 * @param[in] enable  1 enable, 0 disable; the operation as given: 2 sets, 3 tests an empty password.
 * @returns the statuses of ipmi_app_set_user_password().
 */
LUMI_API uint32_t IPMISetUserEnable(uint8_t userId, uint8_t enable);

/**
 * Reads the rights of a user on the first channel of the kind: Get User Access.
 * @param[in]  userId
 * @param[in]  channelKind
 * @param[out] messagingEnabled  0 or 1.
 * @param[out] privilegeLimit    1 Callback to 5 OEM, 15 no access.
 * @returns the statuses of ipmi_app_get_user_access(); outputs are written on success only.
 */
LUMI_API uint32_t IPMIGetUserAccess(uint8_t userId, uint32_t channelKind, uint8_t *messagingEnabled,
                                    uint8_t *privilegeLimit);

/**
 * Changes them: Set User Access (22.26). The callback restriction and link authentication go back as they were read,
 * and the session limit becomes 0; see ipmi_app_set_user_access() for what it makes of these.
 * @param[in] userId
 * @param[in] channelKind
 * @param[in] messagingEnable
 * @param[in] privilegeLimit   4 bits count.
 * @returns the statuses of ipmi_app_get_user_access() and ipmi_app_set_user_access().
 */
LUMI_API uint32_t IPMISetUserAccess(uint8_t userId, uint32_t channelKind, uint8_t messagingEnable,
                                    uint8_t privilegeLimit);

/**
 * Reads the name of a user: Get User Name (22.29).
 * @param[in]  userId
 * @param[in]  capacity  Room at name in bytes; below 17 IPMI_STATUS_APP_INSUFFICIENT_BUFFER, nothing is sent.
 * @param[out] name      NUL-terminated; written on success only.
 * @returns the statuses of ipmi_app_get_user_name().
 */
LUMI_API uint32_t IPMIGetUserName(uint8_t userId, uint8_t capacity, char *name);

/**
 * Sets the name of a user: Set User Name (22.28).
 * @param[in] userId
 * @param[in] name    Its first 15 characters are sent; null for an empty name.
 * @returns the statuses of ipmi_app_set_user_name().
 */
LUMI_API uint32_t IPMISetUserName(uint8_t userId, const char *name);

/**
 * Sets the password of a user: Set User Password (22.30).
 * @param[in] userId
 * @param[in] password  As ipmi_app_set_user_password() takes it; null for an empty one.
 * @returns the statuses of ipmi_app_set_user_password().
 */
LUMI_API uint32_t IPMISetUserPassword(uint8_t userId, const char *password);

/**
 * Finds the user of that name and password: Get User Name and Set User Password with its test operation, for user IDs 1
 * to 64 in turn. The BMC compares the passwords.
 * @param[in]  name      16 characters count.
 * @param[in]  password  20 characters count.
 * @param[out] userId    Written on success only.
 * @returns
 * - 0: this is the user.
 * - IPMI_STATUS_APP_NOT_FOUND: no user has that name, or none of that name this password.
 * - any other failure of the two commands. Of a short password whose size the BMC does not like, the answer to its
 *   long form comes as it is: a mismatch is 0x20000080.
 */
LUMI_API uint32_t IPMIAuthenticateUser(const char *name, const char *password, uint8_t *userId);

/** Reads the watchdog timer: Get Watchdog Timer (27.7).
 *  @returns the statuses of ipmi_app_get_watchdog_timer(); config is written on success only. */
LUMI_API uint32_t IPMIGetWatchdogTimer(IPMIWatchdogConfig *config);

/**
 * Sets the watchdog timer: Get and Set Watchdog Timer (27.7, 27.6). The pre-timeout interval and "don't log" stay.
 * @param[in] config
 * @param[in] stopTimer  1 stops a running timer, 0 leaves it running.
 * @returns the statuses of ipmi_app_get_watchdog_timer() and ipmi_app_set_watchdog_timer().
 */
LUMI_API uint32_t IPMISetWatchdogTimer(const IPMIWatchdogConfig *config, int8_t stopTimer);

/** Starts the timer over: Reset Watchdog Timer (27.5). @returns the statuses of ipmi_app_reset_watchdog_timer(). */
LUMI_API uint32_t IPMIResetWatchdogTimer(void);

LUMI_END_DECLS

#endif
