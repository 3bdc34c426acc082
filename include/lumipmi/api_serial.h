/** @file api_serial.h
 *  Management calls: the serial port, its mux, session counts, serial over LAN.
 *
 *  What is common to all management calls stands in api_identity.h. The serial channel is the first of channels 1 to 7
 *  with an asynchronous serial/modem medium; the SOL channel is that of api_chassis.h. Without one:
 *  IPMI_STATUS_APP_NOT_FOUND. Values that the commands refuse give IPMI_STATUS_APP_INVALID_PARAMETER once the channel
 *  was found. */
#ifndef LUMIPMI_API_SERIAL_H
#define LUMIPMI_API_SERIAL_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** How the serial port is used. 4 bytes, each 0 or 1. */
typedef struct IPMISerialConnectionMode {
  uint8_t basicMode;     /**< basic mode enabled; set: any value but 0 */
  uint8_t directConnect; /**< 1 direct connect, 0 modem; set: other values than 0 and 1 set other modes */
  uint8_t terminalMode;  /**< terminal mode enabled */
  uint8_t pppMode;       /**< PPP mode enabled */
} IPMISerialConnectionMode;

/** Settings of the serial port. 12 bytes. */
typedef struct IPMISerialConfig {
  uint8_t portAssociation; /**< read only */
  uint8_t bitRate;         /**< IPMI_BIT_RATE_* */
  uint8_t flowControl;     /**< 0 none, 1 RTS/CTS, 2 XON/XOFF */
  uint8_t directConnect;   /**< read only, as in IPMISerialConnectionMode */
  uint8_t terminalMode;    /**< read only */
  uint8_t pppMode;         /**< read only */
  uint8_t lineEditing;     /**< terminal mode from here on, as in IpmiSerialTerminalConfig */
  uint8_t deleteControl;
  uint8_t echo;
  uint8_t handshake;
  uint8_t outputNewline;
  uint8_t inputNewline;
} IPMISerialConfig;

/** Settings of serial over LAN. 3 bytes. */
typedef struct IPMISolConfig {
  uint8_t solBitRate;            /**< IPMI_BIT_RATE_* */
  uint8_t accumulateSettings[2]; /**< accumulate interval in units of 5 ms, send threshold in bytes */
} IPMISolConfig;

LUMI_BEGIN_DECLS

/** Reads the connection mode: serial/modem configuration parameter 3 (IPMI v2.0 rev 1.1, 25.2).
 *  @returns the statuses of ipmi_get_serial_connection_mode(); mode is written on success only. */
LUMI_API uint32_t IPMIGetSerialConnectionMode(IPMISerialConnectionMode *mode);
/** Writes the connection mode (25.1). @returns the statuses of ipmi_set_serial_connection_mode(). */
LUMI_API uint32_t IPMISetSerialConnectionMode(const IPMISerialConnectionMode *mode);

/**
 * Reads connection mode, bit rate and flow control, terminal mode, port association: parameters 3, 7, 29, 51.
 * @param[out] config  Cleared first; what was read before a failure stays written.
 * @returns 0; the first failure.
 */
LUMI_API uint32_t IPMIGetSerialConfiguration(IPMISerialConfig *config);

/**
 * Writes bit rate and flow control, and the terminal mode: parameter 7, then 29 twice, with its mode field 0 and 1.
 * @param[in] config  Connection mode and port association are not written.
 * @returns 0; the first failure. What was written before it stays written.
 */
LUMI_API uint32_t IPMISetSerialConfiguration(const IPMISerialConfig *config);

/** Reads the stored access settings of the serial channel; otherwise as IPMIGetIPMIOverLANAccess(). */
LUMI_API uint32_t IPMIGetSerialChannelAccess(uint8_t *enabled, uint8_t *privilegeLimit);
/** As IPMISetIPMIOverLANAccess(), of the serial channel. */
LUMI_API uint32_t IPMISetSerialChannelAccess(uint8_t enable, uint8_t privilegeLimit);

/**
 * Reads where the serial port goes to: parameter 51, then Set Serial Routing Mux (25.13) with setting 0.
 * @param[out] setting  4 bits; what they mean is the BMC's.
 * @returns 0; completion code 0xD5 of the mux 0x20000609; the statuses of ipmi_get_system_serial_port_association() and
 *          ipmi_set_serial_routing_mux().
 */
LUMI_API uint32_t IPMIGetSerialMuxSetting(uint8_t *setting);
/** Routes the serial port; setting is sent as given. As IPMIGetSerialMuxSetting(). */
LUMI_API uint32_t IPMISetSerialMuxSetting(uint8_t setting);

/**
 * Counts sessions: Get Session Info (22.20). Null is refused once the connection is open.
 * @param[out] possible  Sessions that the BMC can have, 0 to 63.
 * @param[out] active    Sessions that it has, 0 to 63.
 * @returns the statuses of ipmi_app_get_session_info().
 */
LUMI_API uint32_t IPMIGetSessionInfo(uint8_t *possible, uint8_t *active);

/** Tells whether serial over LAN is enabled: SOL parameter 1 (26.3). Null is refused once the channel was found.
 *  @returns the statuses of ipmi_get_sol_enabled_status(). */
LUMI_API uint32_t IPMIGetEnableSOL(uint8_t *enabled);
/** Enables (1) or disables (0) serial over LAN; sent as given (26.2). @returns the statuses of ipmi_enable_sol(). */
LUMI_API uint32_t IPMISetEnableSOL(uint8_t enable);

/**
 * Reads accumulate settings and non-volatile bit rate: SOL parameters 3 and 5.
 * @param[out] config  accumulateSettings are written once they were read; solBitRate also when it cannot be read.
 * @returns the statuses of ipmi_get_sol_char_config() and ipmi_get_sol_non_volatile().
 */
LUMI_API uint32_t IPMIGetSOLConfiguration(IPMISolConfig *config);

/** Writes accumulate settings, then the non-volatile, then the volatile bit rate: SOL parameters 3, 5, 6.
 *  @returns 0; the first failure. What was written before it stays written. */
LUMI_API uint32_t IPMISetSOLConfiguration(const IPMISolConfig *config);

/** Reads the privilege level that serial over LAN needs: SOL parameter 2; 4 bits.
 *  @returns the statuses of ipmi_get_sol_authentication(). */
LUMI_API uint32_t IPMIGetSOLOperatingPrivilege(uint8_t *privilege);
/** Sets that level, 2 User to 5 OEM; the other settings of the parameter stay.
 *  @returns the statuses of ipmi_get_sol_authentication() and ipmi_set_sol_authentication(). */
LUMI_API uint32_t IPMISetSOLOperatingPrivilege(uint8_t privilege);

LUMI_END_DECLS

#endif
