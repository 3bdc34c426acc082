/** @file chassis.h
 *  Chassis commands of NetFn Chassis, except for boot options.
 *
 *  Common to all: a null pointer gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is sent, except where told; a
 *  short response gives IPMI_STATUS_BMC_UNSPECIFIED; any other failure is that of ipmi_send_request(). Outputs are
 *  written on success only. Control codes, policies and intervals are not range-checked: the BMC judges them. Commands
 *  without response data fail with 0x20000000 when the BMC answers with data all the same. */
#ifndef LUMIPMI_CHASSIS_H
#define LUMIPMI_CHASSIS_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** Places in the 6 bytes of chassis capabilities. */
enum {
  IPMI_CHASSIS_CAPS_FLAGS = 0, /**< bit 0 intrusion sensor, bit 1 front panel lockout */
  IPMI_CHASSIS_CAPS_FRU = 1,   /**< slave addresses of: the FRU info device, */
  IPMI_CHASSIS_CAPS_SDR = 2,   /**< the SDR device, */
  IPMI_CHASSIS_CAPS_SEL = 3,   /**< the SEL device, */
  IPMI_CHASSIS_CAPS_SM = 4,    /**< the system management device, */
  IPMI_CHASSIS_CAPS_BRIDGE = 5 /**< the bridge device */
};

/** State of the chassis. */
typedef struct IpmiChassisStatus {
  uint32_t power_restore_policy;       /**< 0 stay off, 1 as before, 2 power on, 3 not known */
  uint8_t power_state;                 /**< bit 0 power on, 1 overload, 2 interlock, 3 fault, 4 control fault */
  uint8_t last_power_event;            /**< bit 0 AC failed, 1 overload, 2 interlock, 3 fault, 4 IPMI command */
  uint8_t misc_chassis_state;          /**< bit 0 intrusion, 1 lockout, 2 drive fault, 3 fan fault, 6..4 identify */
  uint8_t front_panel_disable_allowed; /**< bit 0 power off, 1 reset, 2 diagnostic interrupt, 3 standby; 0 not told */
  uint8_t front_panel_disabled;        /**< the same buttons; 0 not told */
} IpmiChassisStatus;

/** Why the system restarted. */
typedef struct IpmiRestartCause {
  uint32_t restart_cause; /**< 0 not known, 1 chassis control, 2 reset button, 3 power button, 4 watchdog, ... */
  uint8_t channel;        /**< where the command came from */
} IpmiRestartCause;

/** Power-on hours: minutes_per_count times counter minutes. */
typedef struct IpmiPohCounter {
  uint8_t minutes_per_count;
  uint32_t counter;
} IpmiPohCounter;

/** How to identify the chassis. 3 bytes. */
typedef struct IpmiChassisIdentify {
  uint8_t length;   /**< request bytes to send: 0 none, 1 the interval, 2 interval and force_on */
  uint8_t interval; /**< seconds; 0 off */
  uint8_t force_on; /**< bit 0: on until it is turned off */
} IpmiChassisIdentify;

/** Values of ipmi_chassis_control(). */
enum {
  IPMI_CHASSIS_POWER_DOWN = 0,
  IPMI_CHASSIS_POWER_UP = 1,
  IPMI_CHASSIS_POWER_CYCLE = 2,
  IPMI_CHASSIS_HARD_RESET = 3,
  IPMI_CHASSIS_DIAGNOSTIC_INTERRUPT = 4,
  IPMI_CHASSIS_SOFT_SHUTDOWN = 5
};

/** Values of ipmi_chassis_set_power_restore_policy(). */
enum {
  IPMI_POWER_RESTORE_OFF = 0,
  IPMI_POWER_RESTORE_PREVIOUS = 1,
  IPMI_POWER_RESTORE_ON = 2,
  IPMI_POWER_RESTORE_NO_CHANGE = 3
};

LUMI_BEGIN_DECLS

/**
 * Reads what the chassis has: Get Chassis Capabilities (IPMI v2.0 rev 1.1, 28.1).
 * @param[in]  handle  Open connection.
 * @param[out] caps    6 bytes; the bridge address is 0x20, the BMC's, when the BMC does not tell one.
 * @returns 0; below 5 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_chassis_get_chassis_capabilities(IpmiHandle *handle, uint8_t caps[6]);

/**
 * Reads the state of the chassis: Get Chassis Status (28.2).
 * @param[in]  handle  Open connection.
 * @param[out] status  The front panel fields are 0 when the response is 3 bytes.
 * @returns 0; below 3 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_chassis_get_chassis_status(IpmiHandle *handle, IpmiChassisStatus *status);

/**
 * Switches power or resets the system: Chassis Control (28.3).
 * @param[in] handle   Open connection.
 * @param[in] control  IPMI_CHASSIS_*; sent as given.
 * @returns 0.
 */
LUMI_API uint32_t ipmi_chassis_control(IpmiHandle *handle, uint8_t control);

/** Resets the chassis: Chassis Reset (28.4). @param[in] handle Open connection. @returns 0. */
LUMI_API uint32_t ipmi_chassis_reset(IpmiHandle *handle);

/**
 * Makes the chassis show itself, usually by a light: Chassis Identify (28.5).
 * @param[in] handle    Open connection.
 * @param[in] identify  With length 0 the BMC uses its default interval.
 * @returns 0; IPMI_STATUS_APP_INVALID_PARAMETER also for a length above 2, with nothing sent.
 */
LUMI_API uint32_t ipmi_chassis_identify(IpmiHandle *handle, const IpmiChassisIdentify *identify);

/**
 * Sets what the chassis has: Set Chassis Capabilities (28.7).
 * @param[in] handle  Open connection.
 * @param[in] caps    6 bytes. Bits 1..0 of the flags are sent, and the bridge address only when it is not 0.
 * @returns 0.
 */
LUMI_API uint32_t ipmi_chassis_set_chassis_capabilities(IpmiHandle *handle, const uint8_t caps[6]);

/**
 * Sets what happens when power returns: Set Power Restore Policy (28.8).
 * @param[in] handle  Open connection.
 * @param[in] policy  IPMI_POWER_RESTORE_*; sent as given.
 * @returns 0; the BMC's answer, the policies that it supports, is not read and may be missing.
 */
LUMI_API uint32_t ipmi_chassis_set_power_restore_policy(IpmiHandle *handle, uint8_t policy);

/**
 * Reads why the system restarted: Get System Restart Cause (28.11).
 * @param[in]  handle  Open connection.
 * @param[out] cause
 * @returns 0; below 2 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_chassis_get_system_restart_cause(IpmiHandle *handle, IpmiRestartCause *cause);

/**
 * Disables buttons of the front panel: Set Front Panel Enables (28.6).
 * @param[in] handle    Open connection.
 * @param[in] disables  Bit 0 power off, 1 reset, 2 diagnostic interrupt, 3 standby; the others are not sent.
 * @returns 0.
 */
LUMI_API uint32_t ipmi_chassis_set_front_panel_enables(IpmiHandle *handle, uint8_t disables);

/**
 * Sets how long power stays off in a power cycle: Set Power Cycle Interval (28.9).
 * @param[in] handle   Open connection.
 * @param[in] seconds  0: as short as possible.
 * @returns 0.
 */
LUMI_API uint32_t ipmi_chassis_set_power_cycle_interval(IpmiHandle *handle, uint8_t seconds);

/**
 * Reads how long the system was powered: Get POH Counter (28.14).
 * @param[in]  handle   Open connection.
 * @param[out] counter  Not tested for null.
 * @returns 0; below 5 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_chassis_get_poh_counter(IpmiHandle *handle, IpmiPohCounter *counter);

LUMI_END_DECLS

#endif
