/** @file serial.h
 *  Serial/modem configuration of NetFn Transport (IPMI v2.0 rev 1.1, 25), and the muxes of the serial port.
 *
 *  Common to all: a null pointer or a channel above 15 gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is sent; any
 *  other failure is that of ipmi_send_request(), with the completion codes of the generic pair mapped. Outputs are
 *  untouched on failure.
 *
 *  Accessors of one parameter add to the statuses of the generic pair: a response with fewer data than the parameter
 * has gives IPMI_STATUS_BMC_UNSPECIFIED, one with more IPMI_STATUS_APP_INSUFFICIENT_BUFFER. */
#ifndef LUMIPMI_SERIAL_H
#define LUMIPMI_SERIAL_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"
#include "lumipmi/lan.h"

/** Parameter selectors with accessors of their own, table 25-4. */
enum {
  IPMI_SERIAL_AUTH_TYPE_SUPPORT = 1,
  IPMI_SERIAL_AUTH_TYPE_ENABLES = 2,
  IPMI_SERIAL_CONNECTION_MODE = 3,
  IPMI_SERIAL_BASIC_CONFIG = 7,
  IPMI_SERIAL_TERMINAL_MODE = 29,
  IPMI_SERIAL_PORT_ASSOCIATION = 51
};

/** Bit rates of serial and SOL parameters. */
enum {
  IPMI_BIT_RATE_9600 = 6,
  IPMI_BIT_RATE_19200 = 7,
  IPMI_BIT_RATE_38400 = 8,
  IPMI_BIT_RATE_57600 = 9,
  IPMI_BIT_RATE_115200 = 10
};

/** Communication settings for IPMI messaging, parameter 7. */
typedef struct IpmiSerialBasicConfig {
  uint32_t flow_control; /**< 0 none, 1 RTS/CTS, 2 XON/XOFF */
  uint32_t bit_rate;     /**< IPMI_BIT_RATE_* */
  uint8_t dtr_hangup;    /**< flag */
} IpmiSerialBasicConfig;

/** Terminal mode, parameter 29. */
typedef struct IpmiSerialTerminalConfig {
  uint32_t reserved_mode;  /**< 0 to 2 when written; always 1 when read */
  uint32_t line_editing;   /**< flag */
  uint32_t delete_control; /**< 0 or 1 when written, 0 to 3 when read */
  uint8_t echo;            /**< flag */
  uint8_t handshake;       /**< flag */
  uint32_t output_newline; /**< 0 none, 1 CR-LF, 2 NULL, 3 CR, 4 LF-CR, 5 LF */
  uint32_t input_newline;  /**< 1 CR, 2 NULL */
} IpmiSerialTerminalConfig;

/** Answer of Set Serial/Modem Mux (25.3): one bit a field. */
typedef struct IpmiSerialMuxStatus {
  uint8_t set_to_bmc;        /**< bit 7: 0 the mux is set to the system, 1 to the BMC */
  uint8_t to_bmc_blocked;    /**< bit 6: requests to switch to the BMC are blocked */
  uint8_t alert_in_progress; /**< bit 3 */
  uint8_t messaging_active;  /**< bit 2 */
  uint8_t request_accepted;  /**< bit 1 */
  uint32_t setting;          /**< bit 0: 0 the system, 1 the BMC */
} IpmiSerialMuxStatus;

LUMI_BEGIN_DECLS

/**
 * Reads a parameter: Get Serial/Modem Configuration (25.2).
 * @param[in]     handle          Open connection.
 * @param[in]     channel         0 to 15.
 * @param[in]     selector        IPMI_SERIAL_* or another of table 25-4.
 * @param[in]     set_selector    0 unless the parameter has sets.
 * @param[in]     block_selector  0 unless the parameter has blocks.
 * @param[out]    revision        Parameter revision, BCD halves.
 * @param[in,out] length          In: room at data; out: bytes there.
 * @param[out]    data            The bytes behind the revision.
 * @returns
 * - 0: revision, length and data are filled; length is 0 when the response holds the revision alone.
 * - IPMI_STATUS_BMC_GET_CONFIG_PARAMETER_80: the BMC does not have the parameter (completion code 0x80).
 * - IPMI_STATUS_BMC_UNSPECIFIED: an empty response.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: more data than room.
 */
LUMI_API uint32_t ipmi_transport_get_serial_config(IpmiHandle *handle, uint8_t channel, uint8_t selector,
                                                   uint8_t set_selector, uint8_t block_selector, uint8_t *revision,
                                                   uint16_t *length, uint8_t *data);

/**
 * Writes a parameter: Set Serial/Modem Configuration (25.1).
 * @param[in] handle    Open connection.
 * @param[in] channel   0 to 15.
 * @param[in] selector  IPMI_SERIAL_* or another of table 25-4.
 * @param[in] length    Bytes at data, 1 to 248; 0 gives IPMI_STATUS_APP_INVALID_PARAMETER.
 * @param[in] data      The bytes behind the selector.
 * @returns
 * - 0: written.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: length is above 248; nothing was sent.
 * - IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_80, _81, _82, _83: completion codes 0x80 (no such parameter), 0x81 (set in
 *   progress), 0x82 (read only) and 0x83 (write only).
 */
LUMI_API uint32_t ipmi_transport_set_serial_config(IpmiHandle *handle, uint8_t channel, uint8_t selector,
                                                   uint16_t length, const void *data);

/**
 * Writes the connection mode: parameter 3.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] flag     Bit 0: 1 direct connect, 0 modem connect.
 * @param[in] mode     Connection modes enabled: bit 0 basic, 1 PPP, 2 terminal. Above 7 gives
 *                     IPMI_STATUS_APP_INVALID_PARAMETER.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_set_serial_connection_mode(IpmiHandle *handle, uint8_t channel, uint8_t flag, uint8_t mode);

/**
 * Reads the connection mode: parameter 3.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] flag     1 direct connect, 0 modem connect.
 * @param[out] mode     Connection modes enabled: bit 0 basic, 1 PPP, 2 terminal.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_serial_connection_mode(IpmiHandle *handle, uint8_t channel, uint8_t *flag, uint8_t *mode);

/**
 * Writes the communication settings: parameter 7.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] config   A bit rate outside 6 to 10 or a flow control above 2 gives IPMI_STATUS_APP_INVALID_PARAMETER.
 *                     dtr_hangup: 3 bits count, those above bit 0 spill into the flow control.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_set_serial_basic_config(IpmiHandle *handle, uint8_t channel,
                                               const IpmiSerialBasicConfig *config);

/**
 * Reads the communication settings: parameter 7.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] config
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_serial_basic_config(IpmiHandle *handle, uint8_t channel, IpmiSerialBasicConfig *config);

/**
 * Writes the terminal mode: parameter 29.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] config   reserved_mode above 2, delete_control above 1, output_newline above 5 or input_newline above 2
 *                     gives IPMI_STATUS_APP_INVALID_PARAMETER. Pass 0 or 1 for flags: of line_editing 3 bits count, of
 *                     echo 7 and of handshake 8, and those above bit 0 spill into the higher bits of the same byte.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_set_serial_terminal_mode_config(IpmiHandle *handle, uint8_t channel,
                                                       const IpmiSerialTerminalConfig *config);

/**
 * Reads the terminal mode: parameter 29.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] config   reserved_mode is 1 whatever the BMC holds.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_serial_terminal_mode_config(IpmiHandle *handle, uint8_t channel,
                                                       IpmiSerialTerminalConfig *config);

/** Parameter 1. As ipmi_get_lan_authentication_type_support(). */
LUMI_API uint32_t ipmi_get_serial_authentication_type_support(IpmiHandle *handle, uint8_t channel, uint8_t *types);
/** Parameter 2. As ipmi_get_lan_authentication_type_enables(). */
LUMI_API uint32_t ipmi_get_serial_authentication_type_enables(IpmiHandle *handle, uint8_t channel,
                                                              IpmiLanAuthEnables *enables);
/** Parameter 2. As ipmi_set_lan_authentication_type_enables(). */
LUMI_API uint32_t ipmi_set_serial_authentication_type_enables(IpmiHandle *handle, uint8_t channel,
                                                              const IpmiLanAuthEnables *enables);

/**
 * Reads what the system's serial port is associated with: parameter 51.
 * @param[in]  handle       Open connection.
 * @param[in]  channel      0 to 15.
 * @param[out] association  6 bytes: [0] byte 1 of the parameter; [1] low nibble of byte 2; [2] high nibble of byte 2
 *                          left in place: 0x00, 0x10 .. 0xF0; [3] low nibble of byte 3; [4] its bit 6; [5] its bit 7.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_system_serial_port_association(IpmiHandle *handle, uint8_t channel, uint8_t association[6]);

/**
 * Writes what the system's serial port is associated with: parameter 51.
 * @param[in] handle       Open connection.
 * @param[in] channel      0 to 15.
 * @param[in] association  6 bytes as read, but [2] is a value of 0 to 15: shift what was read right by 4. [1] and [3]
 *                         are sent whole; of [4] two bits count, the upper of which spills into [5].
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_set_system_serial_port_association(IpmiHandle *handle, uint8_t channel,
                                                          const uint8_t association[6]);

/**
 * Switches the mux of a serial channel, or asks for it: Set Serial/Modem Mux (25.3).
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[in]  setting  Sent as given: 0 get the status, 1 request to the system, 2 request to the BMC, 3 force to the
 *                      system, 4 force to the BMC, 5 to 8 block or allow requests.
 * @param[out] status
 * @returns 0; an empty response gives IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_set_serial_mux(IpmiHandle *handle, uint8_t channel, uint8_t setting,
                                      IpmiSerialMuxStatus *status);

/**
 * Routes a serial port, or asks for the route: Set Serial Routing Mux (25.13).
 * @param[in]     handle   Open connection.
 * @param[in]     channel  0 to 15.
 * @param[in]     setting  Sent as given.
 * @param[in,out] value    In: the low byte is sent; out: 4 bits of the response.
 * @returns 0; an empty response gives IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_set_serial_routing_mux(IpmiHandle *handle, uint8_t channel, uint8_t setting, uint32_t *value);

/**
 * Switches the maker's mux: NetFn 0x30, command 0x20. What the bytes mean is up to the BMC.
 * @param[in]  handle  Open connection.
 * @param[in]  a       First byte.
 * @param[in]  b       Second byte.
 * @param[out] out     Both response bytes. May be null: the response is then not looked at.
 * @returns 0; with out, a response below 2 bytes gives IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_kest_set_mux(IpmiHandle *handle, uint8_t a, uint8_t b, uint32_t out[2]);

LUMI_END_DECLS

#endif
