/** @file payload.h
 *  Payloads of IPMI 2.0, such as serial over LAN: the commands of NetFn App.
 *
 *  Common to all: a null pointer gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is sent; a short response gives
 *  IPMI_STATUS_BMC_UNSPECIFIED; any other failure is that of ipmi_send_request(), with the completion codes named per
 *  call mapped. Outputs are written on success only. Of a payload type bits 5..0 are sent, of an instance or a channel
 *  bits 3..0, of a user ID bits 5..0. */
#ifndef LUMIPMI_PAYLOAD_H
#define LUMIPMI_PAYLOAD_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** The payload type of serial over LAN. */
enum { IPMI_PAYLOAD_SOL = 1 };

/** How to activate serial over LAN. */
typedef struct IpmiPayloadSolOptions {
  uint8_t encrypt;              /**< 1: encrypted; bit 0 counts */
  uint8_t authenticate;         /**< 1: authenticated; two bits wide, see ipmi_app_activate_payload() */
  uint32_t serialAlertBehavior; /**< 0 fail, 1 defer, 2 succeed while serial/modem alerts; bits 1..0 count */
  uint8_t testMode;             /**< seven bits wide, see ipmi_app_activate_payload() */
} IpmiPayloadSolOptions;

/** A payload to activate. 20 bytes. */
typedef struct IpmiPayloadActivation {
  uint32_t payloadType; /**< IPMI_PAYLOAD_SOL: options.sol is read, otherwise options.auxBytes */
  uint8_t payloadInstance;
  union {
    uint8_t auxBytes[4]; /**< sent as they are */
    IpmiPayloadSolOptions sol;
  } options;
} IpmiPayloadActivation;

/** A payload to deactivate. 9 bytes, packed. */
typedef struct __attribute__((packed)) IpmiPayloadDeactivation {
  uint32_t payloadType;
  uint8_t payloadInstance;
  uint8_t auxBytes[4]; /**< sent as they are */
} IpmiPayloadDeactivation;

/** An activated payload. */
typedef struct IpmiPayloadActivationResult {
  uint32_t auxData;             /**< 4 bytes as received */
  uint16_t inboundPayloadSize;  /**< to the BMC, bytes */
  uint16_t outboundPayloadSize; /**< from the BMC, bytes */
  uint16_t payloadUdpPort;
  uint16_t payloadVlan; /**< 0xFFFF: no VLAN */
} IpmiPayloadActivationResult;

/** The payloads that an access operation names, a bit for each type. */
typedef struct IpmiPayloadAccessLimits {
  uint8_t payloadEnables1; /**< types 0 to 7; bit 1 is serial over LAN */
  uint8_t payloadEnables2; /**< reserved by the standard */
  uint16_t oemPayloadEnables;
} IpmiPayloadAccessLimits;

/** Operations of ipmi_app_set_payload_access(). */
enum { IPMI_PAYLOAD_ACCESS_ENABLE = 0, IPMI_PAYLOAD_ACCESS_DISABLE = 1 };

LUMI_BEGIN_DECLS

/**
 * Activates a payload in the session in use: Activate Payload (IPMI v2.0 rev 1.1, 24.1).
 *
 * For IPMI_PAYLOAD_SOL the third request byte is encrypt << 7 | authenticate << 6 | testMode << 1 |
 * serialAlertBehavior << 2, where bit 1 of authenticate sets the encryption bit and testMode overlaps everything above
 * it; the three bytes behind are 0.
 * @param[in]  handle      Open connection.
 * @param[in]  activation  Of options only the part that belongs to the payload type is read.
 * @param[out] result
 * @returns
 * - 0: activated.
 * - IPMI_STATUS_BMC_UNSPECIFIED: a response below 12 bytes.
 * - IPMI_STATUS_BMC_PAYLOAD_ALREADY_ACTIVE, IPMI_STATUS_BMC_PAYLOAD_DISABLED,
 *   IPMI_STATUS_BMC_PAYLOAD_ACTIVATION_LIMIT, IPMI_STATUS_BMC_PAYLOAD_ENCRYPTION_UNSUPPORTED,
 *   IPMI_STATUS_BMC_PAYLOAD_ENCRYPTION_REQUIRED: completion codes 0x80 to 0x84.
 */
LUMI_API uint32_t ipmi_app_activate_payload(IpmiHandle *handle, const IpmiPayloadActivation *activation,
                                            IpmiPayloadActivationResult *result);

/**
 * Deactivates a payload: Deactivate Payload (24.2).
 * @param[in] handle        Open connection.
 * @param[in] deactivation
 * @returns
 * - 0: deactivated.
 * - IPMI_STATUS_BMC_PAYLOAD_ALREADY_INACTIVE: completion code 0x80.
 * - IPMI_STATUS_BMC_PAYLOAD_DISABLED: completion code 0x81.
 * - 0x20000000: the BMC answered with data.
 */
LUMI_API uint32_t ipmi_app_deactivate_payload(IpmiHandle *handle, const IpmiPayloadDeactivation *deactivation);

/**
 * Reads which instances of a payload are active: Get Payload Activation Status (24.4).
 * @param[in]  handle        Open connection.
 * @param[in]  payload_type
 * @param[out] out           Instance capacity (0 to 15), instances 1 to 8, instances 9 to 16 (a bit for each).
 * @returns 0; below 3 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_payload_status(IpmiHandle *handle, int32_t payload_type, uint8_t out[3]);

/**
 * Reads where an instance of a payload is active: Get Payload Instance Info (24.5).
 * @param[in]  handle        Open connection.
 * @param[in]  payload_type
 * @param[in]  instance
 * @param[out] out           Session ID (4 bytes, 0: not active), 8 bytes of the payload's own, as received.
 * @returns 0; below 12 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_payload_instance_info(IpmiHandle *handle, int32_t payload_type, uint8_t instance,
                                                     uint8_t out[12]);

/**
 * Allows payloads to a user, or forbids them: Set User Payload Access (24.6).
 * @param[in] handle     Open connection.
 * @param[in] selector   Channel number, user ID.
 * @param[in] operation  IPMI_PAYLOAD_ACCESS_*; bits 1..0 are sent.
 * @param[in] limits     The payloads concerned.
 * @returns 0; 0x20000000 when the BMC answers with data.
 */
LUMI_API uint32_t ipmi_app_set_payload_access(IpmiHandle *handle, const uint8_t selector[2], uint32_t operation,
                                              const IpmiPayloadAccessLimits *limits);

/**
 * Reads the payloads that a user may use: Get User Payload Access (24.7).
 * @param[in]  handle    Open connection.
 * @param[in]  selector  Channel number, user ID.
 * @param[out] out       4 bytes as received: as IpmiPayloadAccessLimits on the wire.
 * @returns 0; below 4 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_payload_access(IpmiHandle *handle, const uint8_t selector[2], uint8_t out[4]);

/**
 * Reads the payload types of a channel: Get Channel Payload Support (24.8).
 * @param[in]  handle   Open connection.
 * @param[in]  channel
 * @param[out] out      8 bytes as received, a bit for each type: bit 1 of the first is serial over LAN.
 * @returns 0; below 8 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_payload_support(IpmiHandle *handle, uint8_t channel, uint8_t out[8]);

/**
 * Reads the version of a payload: Get Channel Payload Version (24.9).
 * @param[in]  handle        Open connection.
 * @param[in]  channel
 * @param[in]  payload_type
 * @param[out] version       Major version in the high nibble, minor in the low one.
 * @returns 0; an empty response gives IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_payload_version(IpmiHandle *handle, uint8_t channel, int32_t payload_type,
                                               uint8_t *version);

LUMI_END_DECLS

#endif
