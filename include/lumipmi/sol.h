/** @file sol.h
 *  Serial over LAN (IPMI v2.0 rev 1.1, 26): configuration, activation as a payload, and the commands from before
 *  IPMI 2.0.
 *
 *  Common to all: a null pointer or a channel above 15 gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is sent; any
 *  other failure is that of ipmi_send_request(), with the completion codes named per call mapped. Outputs are untouched
 *  on failure unless the call says otherwise.
 *
 *  Accessors of one parameter add to the statuses of the generic pair: a response with fewer data than the parameter
 * has gives IPMI_STATUS_BMC_UNSPECIFIED, one with more IPMI_STATUS_APP_INSUFFICIENT_BUFFER. */
#ifndef LUMIPMI_SOL_H
#define LUMIPMI_SOL_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"
#include "lumipmi/payload.h"
#include "lumipmi/serial.h"

/** Values of ipmi_hlp_get_sol_version(). */
enum { IPMI_SOL_UNSUPPORTED = 0, IPMI_SOL_PRE_STANDARD = 1, IPMI_SOL_STANDARD = 2 };

/** Parameter selectors, table 26-5. */
enum {
  IPMI_SOL_ENABLE = 1,
  IPMI_SOL_AUTHENTICATION = 2,
  IPMI_SOL_CHAR_CONFIG = 3,
  IPMI_SOL_RETRY = 4,
  IPMI_SOL_NON_VOLATILE_BIT_RATE = 5,
  IPMI_SOL_VOLATILE_BIT_RATE = 6,
  IPMI_SOL_CHANNEL = 7,
  IPMI_SOL_PORT = 8
};

/** Bits of the mask that selects parts of an IpmiSolConfig. */
enum {
  IPMI_SOL_WITH_AUTHENTICATION = 0x01,
  IPMI_SOL_WITH_CHAR_CONFIG = 0x02,
  IPMI_SOL_WITH_RETRY = 0x04,
  IPMI_SOL_WITH_NON_VOLATILE_BIT_RATE = 0x08,
  IPMI_SOL_WITH_VOLATILE_BIT_RATE = 0x10,
  IPMI_SOL_WITH_CHANNEL = 0x20, /**< read only */
  IPMI_SOL_WITH_PORT = 0x40     /**< read only */
};

/** SOL configuration of a channel. */
typedef struct IpmiSolConfig {
  uint8_t force_encryption;       /**< flag */
  uint8_t force_authentication;   /**< flag */
  uint32_t privilege_level;       /**< 2 User, 3 Operator, 4 Administrator, 5 OEM; 4 bits when read */
  uint8_t char_config[2];         /**< accumulate interval in units of 5 ms, send threshold in bytes */
  uint8_t retry_count;            /**< 0 to 7 */
  uint8_t retry_interval;         /**< units of 10 ms */
  uint32_t non_volatile_bit_rate; /**< IPMI_BIT_RATE_* */
  uint32_t volatile_bit_rate;     /**< IPMI_BIT_RATE_* */
  uint8_t channel;                /**< channel of the SOL payload */
  uint16_t port;                  /**< UDP port of the SOL payload */
} IpmiSolConfig;

/** How to activate SOL. */
typedef struct IpmiSolActivation {
  uint8_t encrypt;                /**< as IpmiPayloadSolOptions */
  uint8_t authenticate;           /**< as IpmiPayloadSolOptions */
  uint32_t serial_alert_behavior; /**< as IpmiPayloadSolOptions */
  uint8_t test_mode;              /**< flag: any value but 0 counts as 1 */
} IpmiSolActivation;

/** Which SOL instances are active. 17 bytes. */
typedef struct IpmiSolStatus {
  uint8_t instance_capacity; /**< simultaneous instances, 0 to 15 */
  uint8_t active[16];        /**< flags: [0] is instance 1 */
} IpmiSolStatus;

/** Status of pre-standard SOL. What the bits mean is up to the BMC. */
typedef struct IpmiIsolStatus {
  uint8_t flag;  /**< bit 0 of response byte 1 */
  uint8_t value; /**< response byte 2 */
} IpmiIsolStatus;

/** Activation of pre-standard SOL. What the bits mean is up to the BMC. */
typedef struct IpmiIsolRequest {
  uint8_t high;  /**< without activation: request byte 1 from bit 4 on */
  uint8_t low;   /**< without activation: request byte 1 from bit 2 on */
  uint8_t value; /**< request byte 2 */
} IpmiIsolRequest;

/** Answer to the activation of pre-standard SOL. What the bits mean is up to the BMC. */
typedef struct IpmiIsolResult {
  uint8_t flag;      /**< bit 7 of response byte 1 */
  uint32_t code;     /**< bits 2:0 of response byte 1 */
  uint8_t nibble;    /**< bits 3:0 of response byte 2 */
  uint8_t values[2]; /**< response bytes 3 and 4 */
} IpmiIsolResult;

LUMI_BEGIN_DECLS

/**
 * Tells which serial over LAN a connection has. Nothing is sent.
 * @param[in] handle  May be null.
 * @returns not a status but IPMI_SOL_UNSUPPORTED, IPMI_SOL_PRE_STANDARD or IPMI_SOL_STANDARD: from the handle's
 *          ipmiVersionLevel, 2 pre-standard and 3 standard. On connections of interfaceType 2 and 4 it is whatever the
 *          fifth 32-bit number of the work area holds, 0 without a work area; the library never writes there. Other
 *          calls take a number above 2 as IPMI_SOL_STANDARD.
 */
LUMI_API uint32_t ipmi_hlp_get_sol_version(const IpmiHandle *handle);

/**
 * Reads a parameter: Get SOL Configuration Parameters (26.3). With pre-standard SOL command 0x04 of NetFn 0x34, for
 * channel 0 whatever channel is.
 * @param[in]     handle          Open connection.
 * @param[in]     channel         0 to 15.
 * @param[in]     selector        IPMI_SOL_*
 * @param[in]     set_selector    0 unless the parameter has sets.
 * @param[in]     block_selector  0 unless the parameter has blocks.
 * @param[out]    revision        Parameter revision, BCD halves.
 * @param[in,out] length          In: room at data; out: bytes there.
 * @param[out]    data            The bytes behind the revision.
 * @returns
 * - 0: revision, length and data are filled; length is 0 when the response holds the revision alone.
 * - IPMI_STATUS_APP_UNSUPPORT_OPERATION: the connection has no SOL; nothing was sent.
 * - IPMI_STATUS_BMC_GET_CONFIG_PARAMETER_80: the BMC does not have the parameter (completion code 0x80).
 * - IPMI_STATUS_BMC_UNSPECIFIED: an empty response.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: more data than room.
 */
LUMI_API uint32_t ipmi_transport_get_sol_config(IpmiHandle *handle, uint8_t channel, uint8_t selector,
                                                uint8_t set_selector, uint8_t block_selector, uint8_t *revision,
                                                uint16_t *length, uint8_t *data);

/**
 * Writes a parameter: Set SOL Configuration Parameters (26.2). With pre-standard SOL command 0x03 of NetFn 0x34, for
 * channel 0 whatever channel is.
 * @param[in] handle    Open connection.
 * @param[in] channel   0 to 15.
 * @param[in] selector  IPMI_SOL_*
 * @param[in] length    Bytes at data, 1 to 248; 0 gives IPMI_STATUS_APP_INVALID_PARAMETER.
 * @param[in] data      The bytes behind the selector.
 * @returns
 * - 0: written.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: length is above 248; nothing was sent.
 * - IPMI_STATUS_APP_UNSUPPORT_OPERATION: the connection has no SOL; nothing was sent.
 * - IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_80, _81, _82: completion codes 0x80 (no such parameter), 0x81 (set in
 *   progress) and 0x82 (read only).
 */
LUMI_API uint32_t ipmi_transport_set_sol_config(IpmiHandle *handle, uint8_t channel, uint8_t selector, uint16_t length,
                                                const uint8_t *data);

/**
 * Enables or disables SOL: parameter 1.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] enable   Sent as given: 1 enable, 0 disable.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_enable_sol(IpmiHandle *handle, uint8_t channel, uint8_t enable);

/**
 * Reads whether SOL is enabled: parameter 1.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] enabled  0 or 1.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_sol_enabled_status(IpmiHandle *handle, uint8_t channel, uint8_t *enabled);

/**
 * Writes what a session needs for SOL: parameter 2.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] config   force_encryption: bit 0 counts. force_authentication: not sent with pre-standard SOL; two bits
 *                     count, the upper of which forces encryption. A privilege_level outside 2 to 5 gives
 *                     IPMI_STATUS_APP_INVALID_PARAMETER.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_set_sol_authentication(IpmiHandle *handle, uint8_t channel, const IpmiSolConfig *config);

/**
 * Reads what a session needs for SOL: parameter 2.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] config   force_encryption, force_authentication and privilege_level; the rest is untouched.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_sol_authentication(IpmiHandle *handle, uint8_t channel, IpmiSolConfig *config);

/**
 * Writes how characters are gathered into packets: parameter 3.
 * @param[in] handle       Open connection.
 * @param[in] channel      0 to 15.
 * @param[in] char_config  As in IpmiSolConfig, sent as it is.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_set_sol_char_config(IpmiHandle *handle, uint8_t channel, const uint8_t char_config[2]);

/**
 * Reads how characters are gathered into packets: parameter 3.
 * @param[in]  handle       Open connection.
 * @param[in]  channel      0 to 15.
 * @param[out] char_config  As in IpmiSolConfig.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_sol_char_config(IpmiHandle *handle, uint8_t channel, uint8_t char_config[2]);

/**
 * Writes how packets are sent again: parameter 4.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] retry    Count and interval as in IpmiSolConfig; a count above 7 gives IPMI_STATUS_APP_INVALID_PARAMETER.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_set_sol_retry(IpmiHandle *handle, uint8_t channel, const uint8_t retry[2]);

/**
 * Reads how packets are sent again: parameter 4.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] retry    Count, 3 bits, and interval, as in IpmiSolConfig.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_sol_retry(IpmiHandle *handle, uint8_t channel, uint8_t retry[2]);

/**
 * Writes the bit rate that is stored: parameter 5.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] rate     IPMI_BIT_RATE_*; others give IPMI_STATUS_APP_INVALID_PARAMETER.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_set_sol_non_volatile(IpmiHandle *handle, uint8_t channel, uint32_t rate);
/** Writes the bit rate in use: parameter 6. As ipmi_set_sol_non_volatile(). */
LUMI_API uint32_t ipmi_set_sol_volatile(IpmiHandle *handle, uint8_t channel, uint32_t rate);

/**
 * Reads the bit rate that is stored: parameter 5.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] rate     IPMI_BIT_RATE_*; 4 bits, 0 the rate of the serial channel.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_sol_non_volatile(IpmiHandle *handle, uint8_t channel, uint32_t *rate);
/** Reads the bit rate in use: parameter 6. As ipmi_get_sol_non_volatile(). */
LUMI_API uint32_t ipmi_get_sol_volatile(IpmiHandle *handle, uint8_t channel, uint32_t *rate);

/**
 * Writes the UDP port of the payload: parameter 8.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] port
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_set_sol_port(IpmiHandle *handle, uint8_t channel, uint16_t port);

/**
 * Reads the UDP port of the payload: parameter 8. With pre-standard SOL it is 623, and nothing is sent.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15; not tested with pre-standard SOL.
 * @param[out] port     0 when it cannot be read; untouched when the connection has no SOL.
 * @returns as told above; IPMI_STATUS_APP_UNSUPPORT_OPERATION before the channel is tested.
 */
LUMI_API uint32_t ipmi_get_sol_port(IpmiHandle *handle, uint8_t channel, uint16_t *port);

/**
 * Reads the channel of the payload: parameter 7. With pre-standard SOL it is the channel argument, and nothing is sent.
 * @param[in]  handle       Open connection.
 * @param[in]  channel      0 to 15; not tested with pre-standard SOL.
 * @param[out] sol_channel  0xFF when it cannot be read; untouched when the connection has no SOL.
 * @returns as told above; IPMI_STATUS_APP_UNSUPPORT_OPERATION before the channel is tested.
 */
LUMI_API uint32_t ipmi_get_sol_channel(IpmiHandle *handle, uint8_t channel, uint8_t *sol_channel);

/**
 * Writes parts of the configuration, in the order of the mask's bits.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15; not tested when nothing is selected.
 * @param[in] mask     IPMI_SOL_WITH_*; channel and port cannot be written.
 * @param[in] config   The parts selected are tested as by their own calls, each when its turn comes.
 * @returns 0, also when nothing is selected; the first failure, what was written before it stays written.
 */
LUMI_API uint32_t ipmi_set_sol_config(IpmiHandle *handle, uint8_t channel, uint8_t mask, const IpmiSolConfig *config);

/**
 * Reads parts of the configuration, in the order of the mask's bits, but the channel last.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15; not tested when nothing is selected.
 * @param[in]  mask     IPMI_SOL_WITH_*
 * @param[out] config   The parts selected, as by their own calls; those read before a failure are filled.
 * @returns 0, also when nothing is selected; the first failure.
 */
LUMI_API uint32_t ipmi_get_sol_config(IpmiHandle *handle, uint8_t channel, uint8_t mask, IpmiSolConfig *config);

/**
 * Activates instance 1 of SOL in the session in use: ipmi_app_activate_payload().
 * @param[in]  handle   Open connection.
 * @param[in]  request
 * @param[out] result
 * @returns the statuses of ipmi_app_activate_payload().
 */
LUMI_API uint32_t ipmi_activate_sol(IpmiHandle *handle, const IpmiSolActivation *request,
                                    IpmiPayloadActivationResult *result);

/** Deactivates instance 1 of SOL. @returns the statuses of ipmi_app_deactivate_payload(). */
LUMI_API uint32_t ipmi_deactivate_sol(IpmiHandle *handle);

/**
 * Reads which instances of SOL are active: ipmi_app_get_payload_status().
 * @param[in]  handle  Open connection.
 * @param[out] status
 * @returns the statuses of ipmi_app_get_payload_status().
 */
LUMI_API uint32_t ipmi_get_sol_status(IpmiHandle *handle, IpmiSolStatus *status);

/**
 * Reads the status of pre-standard SOL: NetFn 0x34, command 0x05.
 * @param[in]  handle  Open connection, of any SOL version.
 * @param[out] out
 * @returns 0; below 5 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_get_isol_status(IpmiHandle *handle, IpmiIsolStatus *out);

/**
 * Activates or changes pre-standard SOL: NetFn 0x34, command 0x01.
 * @param[in]  handle   Open connection, of any SOL version.
 * @param[in]  flags    Bit 0: 1 activates: request and out must be given; request byte 1 is 1. Otherwise request byte 1
 *                      is high and low of request, which are not masked, and both bytes are 0 without a request.
 * @param[in]  request  May be null without activation.
 * @param[out] out      May be null without activation.
 * @returns 0; below 4 bytes IPMI_STATUS_BMC_UNSPECIFIED, also without out.
 */
LUMI_API uint32_t ipmi_activate_isol(IpmiHandle *handle, uint8_t flags, const IpmiIsolRequest *request,
                                     IpmiIsolResult *out);

LUMI_END_DECLS

#endif
