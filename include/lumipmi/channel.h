/** @file channel.h
 *  Channels and sessions: the commands of NetFn App for channel information, access, security keys, authentication
 *  capabilities and sessions.
 *
 *  Common to all: a null pointer or a channel number above 15 gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is
 *  sent; a short response gives IPMI_STATUS_BMC_UNSPECIFIED; any other failure is that of ipmi_send_request(), with the
 *  completion codes named per call mapped. Outputs are written on success only, except where told. */
#ifndef LUMIPMI_CHANNEL_H
#define LUMIPMI_CHANNEL_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** A channel. 24 bytes; vendorIdLow is unaligned. */
typedef struct IpmiChannelInfo {
  uint8_t channelNumber;
  uint32_t mediumType;  /**< 1 IPMB, 4 LAN, 5 serial/modem, 12 system interface, ... (IPMI v2.0 rev 1.1, table 6-3) */
  uint8_t protocolType; /**< table 6-2 */
  uint32_t sessionSupport; /**< 0 none, 1 a single session, 2 several, 3 depends on the connection */
  uint8_t activeSessions;  /**< 0 to 63 */
  uint16_t vendorIdLow __attribute__((packed)); /**< IANA enterprise number of the protocol, bits 15..0 */
  uint8_t vendorIdHigh;                         /**< bits 23..16 */
  uint16_t auxInfo;                             /**< per medium; 0 when the BMC does not tell */
} IpmiChannelInfo;

/** Which settings of a channel: values of accessType and privilegeAccessType. */
enum { IPMI_CHANNEL_ACCESS_KEEP = 0, IPMI_CHANNEL_ACCESS_NON_VOLATILE = 1, IPMI_CHANNEL_ACCESS_VOLATILE = 2 };

/** Access to a channel. The flags hold 0 or 1 when read; set, they are wider than a bit. */
typedef struct IpmiChannelAccess {
  uint32_t accessType; /**< IPMI_CHANNEL_ACCESS_*: the settings read, or where to set access */
  uint8_t alertingDisabled;
  uint8_t perMessageAuthDisabled;
  uint8_t userLevelAuthDisabled;
  uint32_t accessMode;          /**< 0 disabled, 1 before boot only, 2 always, 3 shared */
  uint32_t privilegeAccessType; /**< IPMI_CHANNEL_ACCESS_*: the settings read, or where to set the privilege limit */
  uint32_t privilegeLimit;      /**< 1 Callback, 2 User, 3 Operator, 4 Administrator, 5 OEM */
} IpmiChannelAccess;

/** Operations on a key. */
enum { IPMI_CHANNEL_KEY_READ = 0, IPMI_CHANNEL_KEY_SET = 1, IPMI_CHANNEL_KEY_LOCK = 2 };

/** A security key. */
typedef struct IpmiChannelKey {
  uint32_t operation;  /**< in: IPMI_CHANNEL_KEY_* */
  uint32_t keyId;      /**< in: 0 K_R, 1 K_G */
  uint8_t key[20];     /**< in for IPMI_CHANNEL_KEY_SET, out for IPMI_CHANNEL_KEY_READ */
  uint32_t lockStatus; /**< out: 0 not lockable, 1 locked, 2 unlocked */
} IpmiChannelKey;

/** Authentication capabilities of the channel that is asked, at the places named below. */
typedef uint8_t IpmiChannelAuthCaps[10];

/** Places in IpmiChannelAuthCaps. */
enum {
  IPMI_AUTH_CAPS_CHANNEL = 0,     /**< channel number */
  IPMI_AUTH_CAPS_CONNECTIONS = 1, /**< extended: bit 0 IPMI 1.5, bit 1 IPMI 2.0 connections; otherwise 0 */
  IPMI_AUTH_CAPS_KG_OR_TYPES = 2, /**< extended: 1 when K_G is not zero; otherwise authentication types, bits 5..0 */
  IPMI_AUTH_CAPS_PER_MESSAGE_OFF = 3, /**< 1: per-message authentication is disabled */
  IPMI_AUTH_CAPS_NAMED_USERS = 4,     /**< 1: users with names are enabled */
  IPMI_AUTH_CAPS_LOGIN = 5,           /**< bits 2 named users, 1 users without a name, 0 anonymous login */
  IPMI_AUTH_CAPS_OEM_ID_LOW = 6,      /**< IANA enterprise number of the OEM type, bits 7..0 */
  IPMI_AUTH_CAPS_OEM_ID_MIDDLE = 7,   /**< bits 15..8 */
  IPMI_AUTH_CAPS_OEM_ID_HIGH = 8,     /**< bits 23..16 */
  IPMI_AUTH_CAPS_OEM_DATA = 9
};

/** Which session to ask for. */
typedef struct IpmiSessionQuery {
  uint8_t sessionIndex;       /**< 0 this session, n the n-th active one, or IPMI_SESSION_BY_* */
  uint32_t sessionHandleOrId; /**< the handle (bits 7..0) or the ID, as sessionIndex tells */
} IpmiSessionQuery;

/** Values of IpmiSessionQuery::sessionIndex that name a session otherwise. */
enum { IPMI_SESSION_BY_HANDLE = 0xFE, IPMI_SESSION_BY_ID = 0xFF };

LUMI_BEGIN_DECLS

/**
 * Reads the authentication capabilities of the channel in use at User level: Get Channel Authentication Capabilities
 * (IPMI v2.0 rev 1.1, 22.13). IPMI 2.0 handles ask for the extended capabilities.
 * @param[in]  handle  Open connection.
 * @param[out] out     10 bytes, see IpmiChannelAuthCaps.
 * @returns 0; below 8 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_channel_authentication_capabilities(IpmiHandle *handle, uint8_t out[10]);

/**
 * Reads a session: Get Session Info (22.20).
 * @param[in]  handle  Open connection.
 * @param[in]  query
 * @param[out] out     Session handle (0: no such session is active), possible and currently active sessions.
 * @returns 0; below 3 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_session_info(IpmiHandle *handle, const IpmiSessionQuery *query, uint8_t out[3]);

/**
 * Sets the access to a channel: Set Channel Access (22.22).
 *
 * The second request byte is accessType << 6 | alertingDisabled << 5 | perMessageAuthDisabled << 4 |
 * userLevelAuthDisabled << 3 | accessMode, the third privilegeAccessType << 6 | privilegeLimit; the flags are not cut
 * to one bit, so that 2 in one sets its neighbour's bit.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] access
 * @returns
 * - 0: set.
 * - IPMI_STATUS_BMC_CHANNEL_ACCESS_UNSUPPORTED: completion code 0x82.
 * - IPMI_STATUS_BMC_CHANNEL_ACCESS_MODE_UNSUPPORTED: completion code 0x83.
 * - 0x20000000: the BMC answered with data.
 */
LUMI_API uint32_t ipmi_app_set_channel_access(IpmiHandle *handle, uint8_t channel, const IpmiChannelAccess *access);

/**
 * Reads the access to a channel: Get Channel Access (22.23).
 * @param[in]  handle           Open connection.
 * @param[in]  channel          0 to 15.
 * @param[in]  volatile_select  0 the stored settings, 1 the active ones. Bit 0 chooses; both access types of the record
 *                              become the whole value + 1.
 * @param[out] access
 * @returns 0; below 2 bytes IPMI_STATUS_BMC_UNSPECIFIED; completion code 0x82
 *          IPMI_STATUS_BMC_CHANNEL_ACCESS_UNSUPPORTED.
 */
LUMI_API uint32_t ipmi_app_get_channel_access_info(IpmiHandle *handle, uint8_t channel, uint8_t volatile_select,
                                                   IpmiChannelAccess *access);

/**
 * Reads what a channel is: Get Channel Info (22.24).
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15; 14 is the channel in use.
 * @param[out] info     auxInfo is 0 when the response is below 9 bytes.
 * @returns 0; below 7 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_channel_info(IpmiHandle *handle, uint8_t channel, IpmiChannelInfo *info);

/**
 * Reads, sets or locks a security key: Set Channel Security Keys (22.25).
 * @param[in]     handle   Open connection.
 * @param[in]     channel  0 to 15.
 * @param[in,out] key      A key that is read fills key; what the BMC does not send of its 20 bytes becomes zero.
 * @returns
 * - 0: done, lockStatus is written.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: also for an operation above 2 or a key ID above 1.
 * - IPMI_STATUS_BMC_UNSPECIFIED: no response data.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: more than 20 bytes for a key that is read; lockStatus is written, key is not.
 * - IPMI_STATUS_BMC_KEY_LOCKED, IPMI_STATUS_BMC_KEY_TOO_SHORT, IPMI_STATUS_BMC_KEY_TOO_LONG,
 *   IPMI_STATUS_BMC_KEY_UNACCEPTABLE, IPMI_STATUS_BMC_KEY_NOT_USED: completion codes 0x80 to 0x84.
 */
LUMI_API uint32_t ipmi_app_set_channel_security_keys(IpmiHandle *handle, uint8_t channel, IpmiChannelKey *key);

LUMI_END_DECLS

#endif
