/** @file watchdog.h
 *  The BMC's watchdog timer: the commands of NetFn App.
 *
 *  Common to all: a null pointer gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is sent; any other failure is that
 *  of ipmi_send_request(), except where told. Reset and set fail with 0x20000000 when the BMC answers with data. */
#ifndef LUMIPMI_WATCHDOG_H
#define LUMIPMI_WATCHDOG_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** The timer. 24 bytes. Set, nothing is range-checked: see ipmi_app_set_watchdog_timer(). */
typedef struct IpmiWatchdogConfig {
  uint8_t dontLog;              /**< 1: an expiration is not logged; bit 0 counts */
  uint8_t timerRunning;         /**< read: 1 running, 0 stopped; set: 1 leaves a running timer running */
  uint32_t timerUse;            /**< 1 BIOS FRB2, 2 BIOS/POST, 3 OS load, 4 SMS/OS, 5 OEM */
  uint32_t preTimeoutInterrupt; /**< 0 none, 1 SMI, 2 NMI, 3 messaging interrupt */
  uint32_t timeoutAction;       /**< 0 none, 1 hard reset, 2 power down, 3 power cycle */
  uint8_t preTimeoutInterval;   /**< seconds */
  uint8_t expirationFlags;      /**< a bit for each timer use; read: it expired; set: to be cleared */
  uint16_t initialCountdown;    /**< 100 ms */
  uint16_t presentCountdown;    /**< 100 ms; not used when set */
} IpmiWatchdogConfig;

LUMI_BEGIN_DECLS

/**
 * Starts the timer over: Reset Watchdog Timer (IPMI v2.0 rev 1.1, 27.5).
 * @param[in] handle  Open connection.
 * @returns 0; completion code 0x80 IPMI_STATUS_BMC_WATCHDOG_NOT_INITIALIZED: the timer was never set.
 */
LUMI_API uint32_t ipmi_app_reset_watchdog_timer(IpmiHandle *handle);

/**
 * Sets the timer and stops it: Set Watchdog Timer (27.6). ipmi_app_reset_watchdog_timer() starts it.
 *
 * The first request byte is dontLog << 7 | timerRunning << 6 | timerUse, the second preTimeoutInterrupt << 4 |
 * timeoutAction: values out of range reach into the neighbouring bits, and 2 in timerRunning means "don't log".
 * @param[in] handle  Open connection.
 * @param[in] config
 * @returns 0.
 */
LUMI_API uint32_t ipmi_app_set_watchdog_timer(IpmiHandle *handle, const IpmiWatchdogConfig *config);

/**
 * Reads the timer: Get Watchdog Timer (27.7).
 * @param[in]  handle  Open connection.
 * @param[out] config  Written on success only.
 * @returns 0; below 8 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_watchdog_timer(IpmiHandle *handle, IpmiWatchdogConfig *config);

LUMI_END_DECLS

#endif
