/** @file api_lan.h
 *  Management calls: network settings of the BMC.
 *
 *  What is common to all management calls stands in api_identity.h. These find the LAN channel by themselves: the first
 *  of channels 1 to 7, never 0, that answers Get Channel Info with an 802.3 LAN. Without one they return
 *  IPMI_STATUS_APP_NOT_FOUND. */
#ifndef LUMIPMI_API_LAN_H
#define LUMIPMI_API_LAN_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** Network settings. 24 bytes, packed. Addresses in the order of the wire. */
typedef struct __attribute__((packed)) IPMILanConfig {
  uint8_t ipSource;          /**< IPMI_IP_SOURCE_* */
  uint8_t ipAddress[4];      /**< IPv4 */
  uint8_t subnetMask[4];     /**< IPv4 */
  uint8_t defaultGateway[4]; /**< IPv4 */
  uint8_t macAddress[6];
  uint8_t vlanEnable;   /**< 1: 802.1Q VLAN enabled */
  uint16_t vlanId;      /**< 12 bits; unaligned in an unaligned record */
  uint8_t vlanPriority; /**< 0 to 7 */
  uint8_t reserved;     /**< cleared by the get call, not read */
} IPMILanConfig;

/** Groups of settings for IPMISetLanConfiguration(). */
enum {
  IPMI_LAN_CONFIG_SOURCE = 0x01,
  IPMI_LAN_CONFIG_ADDRESS = 0x02, /**< address, mask and default gateway */
  IPMI_LAN_CONFIG_MAC = 0x04,
  IPMI_LAN_CONFIG_VLAN = 0x08
};

/** A MAC address in the order of the wire. */
typedef struct IPMIMacAddress {
  uint8_t bytes[6];
} IPMIMacAddress;

LUMI_BEGIN_DECLS

/**
 * Reads the network settings: Get LAN Configuration Parameters (IPMI v2.0 rev 1.1, 23.2).
 * @param[out] config  Cleared first. The VLAN fields stay 0 before IPMI 2.0; when they cannot be read, the rest is
 *                     filled.
 * @returns 0; the statuses of ipmi_get_lan_config() and ipmi_get_vlan_config().
 */
LUMI_API uint32_t IPMIGetLanConfiguration(IPMILanConfig *config);

/**
 * Writes groups of network settings, in the order of their flags: Set LAN Configuration Parameters (23.1).
 * @param[in] config
 * @param[in] flags   IPMI_LAN_CONFIG_*; other bits are ignored, and so is the VLAN before IPMI 2.0. 0 writes nothing.
 * @returns 0; the first failure. What was written before it stays written.
 */
LUMI_API uint32_t IPMISetLanConfiguration(const IPMILanConfig *config, uint8_t flags);

/**
 * Reads the active access settings of the LAN channel: Get Channel Access (22.23).
 * @param[out] enabled         1 unless the access mode is "disabled".
 * @param[out] privilegeLimit  1 Callback, 2 User, 3 Operator, 4 Administrator, 5 OEM.
 * @returns 0, or as told above.
 */
LUMI_API uint32_t IPMIGetIPMIOverLANAccess(uint8_t *enabled, uint8_t *privilegeLimit);

/**
 * Sets access mode and privilege limit of the LAN channel, the active settings, then the stored ones: Get and Set
 * Channel Access (22.22, 22.23). All other settings stay.
 * @param[in] enable          1 always available, 0 disabled; doubled, it is the access mode.
 * @param[in] privilegeLimit  As above.
 * @returns 0; the first failure. The active settings stay changed when the stored ones fail.
 */
LUMI_API uint32_t IPMISetIPMIOverLANAccess(uint8_t enable, uint8_t privilegeLimit);

/**
 * Writes the MAC address of the LAN channel: LAN configuration parameter 5.
 * @param[in] mac  6 bytes.
 * @returns 0, or as told above.
 */
LUMI_API uint32_t IPMISetCurrentNICMacAddress(const uint8_t mac[6]);

/**
 * Reads the MAC address of a channel: LAN configuration parameter 5.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15; others give IPMI_STATUS_APP_INVALID_PARAMETER.
 * @param[out] mac      Written on success only.
 * @returns 0; completion code 0x80 IPMI_STATUS_BMC_GET_CONFIG_PARAMETER_80; below 7 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_kest_get_mac_addr(IpmiHandle *handle, uint8_t channel, IPMIMacAddress *mac);

/** Reads the MAC address of the LAN channel. As ipmi_kest_get_mac_addr(). */
LUMI_API uint32_t IPMIGetBMCMacAddress(IPMIMacAddress *mac);

LUMI_END_DECLS

#endif
