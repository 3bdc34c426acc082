/** @file lan.h
 *  LAN configuration of NetFn Transport (IPMI v2.0 rev 1.1, 23). The alerting side, community string and destinations,
 *  is in pef.h.
 *
 *  Common to all: a null pointer or a channel above 15 gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is sent; any
 *  other failure is that of ipmi_send_request(), with the completion codes of the generic pair mapped. Outputs are
 *  untouched on failure unless the call says otherwise.
 *
 *  Accessors of one parameter add to the statuses of the generic pair: a response with fewer data than the parameter
 * has gives IPMI_STATUS_BMC_UNSPECIFIED, one with more IPMI_STATUS_APP_INSUFFICIENT_BUFFER. */
#ifndef LUMIPMI_LAN_H
#define LUMIPMI_LAN_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** Parameter selectors, table 23-4. */
enum {
  IPMI_LAN_AUTH_TYPE_SUPPORT = 1,
  IPMI_LAN_AUTH_TYPE_ENABLES = 2,
  IPMI_LAN_IP_ADDRESS = 3,
  IPMI_LAN_IP_SOURCE = 4,
  IPMI_LAN_MAC_ADDRESS = 5,
  IPMI_LAN_SUBNET_MASK = 6,
  IPMI_LAN_IPV4_HEADER = 7,
  IPMI_LAN_GATEWAY_IP = 12,
  IPMI_LAN_GATEWAY_MAC = 13,
  IPMI_LAN_BACKUP_GATEWAY_IP = 14,
  IPMI_LAN_BACKUP_GATEWAY_MAC = 15,
  IPMI_LAN_COMMUNITY_STRING = 16,
  IPMI_LAN_DESTINATION_COUNT = 17,
  IPMI_LAN_DESTINATION_TYPE = 18,
  IPMI_LAN_DESTINATION_ADDRESS = 19,
  IPMI_LAN_VLAN_ID = 20,
  IPMI_LAN_VLAN_PRIORITY = 21,
  IPMI_LAN_CIPHER_SUITE_SUPPORT = 22,
  IPMI_LAN_CIPHER_SUITE_PRIVILEGES = 24
};

/** Values of IpmiLanConfig::ip_source. */
enum {
  IPMI_IP_SOURCE_UNSPECIFIED = 0,
  IPMI_IP_SOURCE_STATIC = 1,
  IPMI_IP_SOURCE_DHCP = 2,
  IPMI_IP_SOURCE_BIOS = 3,
  IPMI_IP_SOURCE_OTHER = 4
};

/** Addresses of a channel; all in the order of the wire, the highest byte first. */
typedef struct IpmiLanConfig {
  uint32_t ip_source;            /**< IPMI_IP_SOURCE_* */
  uint8_t ip_address[4];         /**< IPv4 */
  uint8_t mac_address[6];        /**< of the channel */
  uint8_t subnet_mask[4];        /**< IPv4 */
  uint8_t gateway_ip[4];         /**< default gateway */
  uint8_t gateway_mac[6];        /**< default gateway */
  uint8_t backup_gateway_ip[4];  /**< backup gateway */
  uint8_t backup_gateway_mac[6]; /**< backup gateway */
} IpmiLanConfig;

/** VLAN of a channel. */
typedef struct IpmiVlanConfig {
  uint8_t enable;   /**< flag */
  uint16_t vlan_id; /**< 12 bits */
  uint8_t priority; /**< 0 to 7 */
} IpmiVlanConfig;

/** Authentication types that each privilege level may use: bit 0 none, 1 MD2, 2 MD5, 4 straight password, 5 OEM. */
typedef struct IpmiLanAuthEnables {
  uint32_t levels; /**< four bytes in memory: Callback, User, Operator, Administrator */
  uint8_t oem;     /**< OEM level */
} IpmiLanAuthEnables;

/** The counters of ipmi_transport_get_lan_statistics(), by name. 18 bytes. */
typedef struct IpmiLanStatistics {
  uint16_t ip_packets_received;
  uint16_t ip_header_errors;
  uint16_t ip_address_errors;
  uint16_t fragmented_ip_packets_received;
  uint16_t ip_packets_transmitted;
  uint16_t udp_packets_received;
  uint16_t rmcp_packets_received; /**< valid ones */
  uint16_t udp_proxy_packets_received;
  uint16_t udp_proxy_packets_dropped;
} IpmiLanStatistics;

/** Places in the 4 bytes of IPv4 header parameters. */
enum {
  IPMI_IPV4_TIME_TO_LIVE = 0,
  IPMI_IPV4_FLAGS = 1,          /**< 3 bits */
  IPMI_IPV4_PRECEDENCE = 2,     /**< 3 bits */
  IPMI_IPV4_TYPE_OF_SERVICE = 3 /**< 4 bits */
};

/** Cipher suite entries that have a privilege level. */
enum { IPMI_CIPHER_SUITE_ENTRIES = 16 };

LUMI_BEGIN_DECLS

/**
 * Reads a parameter: Get LAN Configuration Parameters (23.2).
 * @param[in]     handle          Open connection.
 * @param[in]     channel         0 to 15.
 * @param[in]     selector        IPMI_LAN_*
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
LUMI_API uint32_t ipmi_transport_get_lan_config(IpmiHandle *handle, uint8_t channel, uint8_t selector,
                                                uint8_t set_selector, uint8_t block_selector, uint8_t *revision,
                                                uint16_t *length, void *data);

/**
 * Writes a parameter: Set LAN Configuration Parameters (23.1).
 * @param[in] handle    Open connection.
 * @param[in] channel   0 to 15.
 * @param[in] selector  IPMI_LAN_*
 * @param[in] length    Bytes at data, 1 to 248; 0 gives IPMI_STATUS_APP_INVALID_PARAMETER.
 * @param[in] data      The bytes behind the selector.
 * @returns
 * - 0: written.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: length is above 248; nothing was sent.
 * - IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_80, _81, _82: completion codes 0x80 (no such parameter), 0x81 (set in
 *   progress) and 0x82 (read only).
 */
LUMI_API uint32_t ipmi_transport_set_lan_config(IpmiHandle *handle, uint8_t channel, uint8_t selector, uint16_t length,
                                                const void *data);

/**
 * Reads the counters of a channel: Get IP/UDP/RMCP Statistics (23.4).
 * @param[in]  handle    Open connection.
 * @param[in]  channel   0 to 15.
 * @param[in]  clear     Sent as given: 1 clears the counters once they are read.
 * @param[out] counters  Nine, in the order of IpmiLanStatistics.
 * @returns 0; below 18 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_transport_get_lan_statistics(IpmiHandle *handle, uint8_t channel, uint8_t clear,
                                                    uint16_t counters[9]);

/**
 * Reads where the IP address comes from: parameter 4.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] source   IPMI_IP_SOURCE_*; the whole byte, reserved bits included.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_lan_ip_source(IpmiHandle *handle, uint8_t channel, uint32_t *source);

/**
 * Reads a parameter that is an IPv4 address.
 * @param[in]  handle    Open connection.
 * @param[in]  channel   0 to 15.
 * @param[in]  selector  IPMI_LAN_IP_ADDRESS, IPMI_LAN_SUBNET_MASK, IPMI_LAN_GATEWAY_IP or IPMI_LAN_BACKUP_GATEWAY_IP.
 * @param[out] address   4 bytes as received.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_lan_addr(IpmiHandle *handle, uint8_t channel, uint8_t selector, uint8_t address[4]);

/**
 * Reads a parameter that is a MAC address.
 * @param[in]  handle    Open connection.
 * @param[in]  channel   0 to 15.
 * @param[in]  selector  IPMI_LAN_MAC_ADDRESS, IPMI_LAN_GATEWAY_MAC or IPMI_LAN_BACKUP_GATEWAY_MAC.
 * @param[out] mac       6 bytes as received.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_lan_mac(IpmiHandle *handle, uint8_t channel, uint8_t selector, uint8_t mac[6]);

/**
 * Reads the addresses of a channel: parameters 4, 3, 5 and 6, then 12 to 15.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] config   The four gateway fields are best effort: one that cannot be read keeps what the caller's record
 *                      held, so clear the record first.
 * @returns the first failure of parameters 4, 3, 5 and 6; config is then untouched.
 */
LUMI_API uint32_t ipmi_get_lan_config(IpmiHandle *handle, uint8_t channel, IpmiLanConfig *config);

/**
 * Writes the addresses of a channel: parameter 4, for a static address also 3 and 5, then 6 and 12 to 15.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] config   ip_source above IPMI_IP_SOURCE_OTHER gives IPMI_STATUS_APP_INVALID_PARAMETER.
 * @returns the first failure; what was written before it stays written, the rest is not sent.
 */
LUMI_API uint32_t ipmi_set_lan_config(IpmiHandle *handle, uint8_t channel, const IpmiLanConfig *config);

/**
 * Reads the VLAN of a channel: parameters 20 and 21.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] config   Untouched when parameter 20 cannot be read. When 21 cannot be read, enable and vlan_id are
 *                      filled and priority holds the low three bits of vlan_id.
 * @returns the first failure.
 */
LUMI_API uint32_t ipmi_get_vlan_config(IpmiHandle *handle, uint8_t channel, IpmiVlanConfig *config);

/**
 * Writes the VLAN of a channel: parameters 20 and 21.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] config   enable: bit 0 counts. vlan_id: bits 15 to 12 are sent too, and bit 15 enables as well.
 *                     priority: bits 2 to 0 count.
 * @returns the first failure; parameter 20 stays written when 21 fails.
 */
LUMI_API uint32_t ipmi_set_vlan_config(IpmiHandle *handle, uint8_t channel, const IpmiVlanConfig *config);

/**
 * Reads the authentication types that the channel supports: parameter 1.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] types    5 bits as in IpmiLanAuthEnables; the OEM type is not among them.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_lan_authentication_type_support(IpmiHandle *handle, uint8_t channel, uint8_t *types);

/**
 * Reads the authentication types enabled for each level: parameter 2.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] enables  5 bits a level; the OEM type is not among them.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_lan_authentication_type_enables(IpmiHandle *handle, uint8_t channel,
                                                           IpmiLanAuthEnables *enables);

/**
 * Writes the authentication types enabled for each level: parameter 2.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] enables  Sent whole, all 8 bits a level.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_set_lan_authentication_type_enables(IpmiHandle *handle, uint8_t channel,
                                                           const IpmiLanAuthEnables *enables);

/**
 * Reads how many cipher suite entries there are: parameter 22.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] count    The whole byte.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_lan_cipher_suite_entry_support(IpmiHandle *handle, uint8_t channel, uint8_t *count);

/**
 * Reads the highest privilege level of each cipher suite entry: parameter 24.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] levels   16: 0 reserved, 1 Callback, 2 User, 3 Operator, 4 Administrator, 5 OEM; 4 bits each.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_lan_cipher_suite_privilege(IpmiHandle *handle, uint8_t channel, uint32_t levels[16]);

/**
 * Writes the highest privilege level of the first cipher suite entries, and 0 for the rest: parameter 24. Levels are
 * not masked: one above 15 at an even entry spills into the entry behind it.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] count    Levels given, at most 16; more give IPMI_STATUS_APP_INVALID_PARAMETER.
 * @param[in] levels
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_set_lan_cipher_suite_privilege(IpmiHandle *handle, uint8_t channel, uint16_t count,
                                                      const uint32_t *levels);

/**
 * Reads the IPv4 header parameters: parameter 7.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] header   4 bytes, at IPMI_IPV4_*.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_get_lan_ipv4_header_parameters(IpmiHandle *handle, uint8_t channel, uint8_t header[4]);

/**
 * Writes the IPv4 header parameters: parameter 7.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] header   4 bytes, at IPMI_IPV4_*. Flags and precedence: 3 bits count. Type of service: 7 bits count, and
 *                     those above its 4 spill into the precedence.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_set_lan_ipv4_header_parameters(IpmiHandle *handle, uint8_t channel, const uint8_t header[4]);

LUMI_END_DECLS

#endif
