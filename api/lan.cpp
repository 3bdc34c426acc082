// Network settings of the BMC's LAN channel.
#include "lumipmi/lan.h"

#include <cstring>

#include "api/channels.hpp"
#include "core/exchange.hpp"
#include "lumipmi/api_lan.h"

using namespace lumi;

namespace {

/// Opens the connection and finds the LAN channel.
Status open_lan(Connection& bmc, uint8_t* channel) {
  LUMI_TRY(bmc.open());
  return find_channel(bmc.handle(), kLanChannel, channel);
}

template <size_t N>
Status set_parameter(const Connection& bmc, uint8_t channel, uint8_t selector, const uint8_t (&data)[N]) {
  return ipmi_transport_set_lan_config(bmc.handle(), channel, selector, N, data);
}

}  // namespace

extern "C" uint32_t IPMIGetLanConfiguration(IPMILanConfig* config) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(config, 0, sizeof *config);

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_lan(bmc, &channel));
  IpmiLanConfig lan = {};
  LUMI_TRY(ipmi_get_lan_config(bmc.handle(), channel, &lan));
  config->ipSource = static_cast<uint8_t>(lan.ip_source);
  std::memcpy(config->ipAddress, lan.ip_address, sizeof config->ipAddress);
  std::memcpy(config->subnetMask, lan.subnet_mask, sizeof config->subnetMask);
  std::memcpy(config->defaultGateway, lan.gateway_ip, sizeof config->defaultGateway);
  std::memcpy(config->macAddress, lan.mac_address, sizeof config->macAddress);

  if (bmc.version_level() < kIpmi20) return kOk;  // VLANs came with IPMI 2.0
  IpmiVlanConfig vlan = {};
  LUMI_TRY(ipmi_get_vlan_config(bmc.handle(), channel, &vlan));
  config->vlanEnable = vlan.enable;
  config->vlanId = vlan.vlan_id;
  config->vlanPriority = vlan.priority;
  return kOk;
}

extern "C" uint32_t IPMISetLanConfiguration(const IPMILanConfig* config, uint8_t flags) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_lan(bmc, &channel));
  if ((flags & IPMI_LAN_CONFIG_SOURCE) != 0) {
    const uint8_t source[1] = {config->ipSource};
    LUMI_TRY(set_parameter(bmc, channel, IPMI_LAN_IP_SOURCE, source));
  }
  if ((flags & IPMI_LAN_CONFIG_ADDRESS) != 0) {
    LUMI_TRY(set_parameter(bmc, channel, IPMI_LAN_IP_ADDRESS, config->ipAddress));
    LUMI_TRY(set_parameter(bmc, channel, IPMI_LAN_SUBNET_MASK, config->subnetMask));
    LUMI_TRY(set_parameter(bmc, channel, IPMI_LAN_GATEWAY_IP, config->defaultGateway));
  }
  if ((flags & IPMI_LAN_CONFIG_MAC) != 0)
    LUMI_TRY(set_parameter(bmc, channel, IPMI_LAN_MAC_ADDRESS, config->macAddress));
  if ((flags & IPMI_LAN_CONFIG_VLAN) == 0 || bmc.version_level() < kIpmi20) return kOk;
  const IpmiVlanConfig vlan = {config->vlanEnable, config->vlanId, config->vlanPriority};
  return ipmi_set_vlan_config(bmc.handle(), channel, &vlan);
}

extern "C" uint32_t IPMIGetIPMIOverLANAccess(uint8_t* enabled, uint8_t* privilegeLimit) {
  if (enabled == nullptr || privilegeLimit == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_lan(bmc, &channel));
  return get_access(bmc.handle(), channel, kActiveSettings, enabled, privilegeLimit);
}

extern "C" uint32_t IPMISetIPMIOverLANAccess(uint8_t enable, uint8_t privilegeLimit) {
  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_lan(bmc, &channel));
  return set_access(bmc.handle(), channel, enable, privilegeLimit);
}

extern "C" uint32_t IPMISetCurrentNICMacAddress(const uint8_t mac[6]) {
  if (mac == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_lan(bmc, &channel));
  return ipmi_transport_set_lan_config(bmc.handle(), channel, IPMI_LAN_MAC_ADDRESS, 6, mac);
}

extern "C" uint32_t ipmi_kest_get_mac_addr(IpmiHandle* handle, uint8_t channel, IPMIMacAddress* mac) {
  if (handle == nullptr || mac == nullptr || channel > kMaxChannel) return IPMI_STATUS_APP_INVALID_PARAMETER;

  static constexpr CompletionMap kCodes[] = {{0x80, IPMI_STATUS_BMC_GET_CONFIG_PARAMETER_80}};
  Exchange ex(handle, NetFn::Transport, 0x02, Privilege::User);
  ex.u8(channel).u8(IPMI_LAN_MAC_ADDRESS).u8(0).u8(0);  // set and block selector
  LUMI_TRY(ex.send(Reply::at_least(7), kCodes));

  ByteReader reply = ex.reply();
  (void)reply.u8();                           // parameter revision
  reply.copy(mac->bytes, sizeof mac->bytes);  // bytes 2-7
  return kOk;
}

extern "C" uint32_t IPMIGetBMCMacAddress(IPMIMacAddress* mac) {
  if (mac == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_lan(bmc, &channel));
  return ipmi_kest_get_mac_addr(bmc.handle(), channel, mac);
}
