// LAN configuration of NetFn Transport (IPMI v2.0 rev 1.1, 23).
#include "lumipmi/lan.h"

#include <cstring>

#include "commands/auth_enables.hpp"
#include "commands/config_family.hpp"

using namespace lumi;

namespace {

constexpr ConfigFamily kLan = {};

constexpr ChannelParameterGet<ipmi_transport_get_lan_config> lan_get;
constexpr ChannelParameterSet<ipmi_transport_set_lan_config> lan_set;

// Reads a parameter into memory of the caller, which stays untouched on any failure.
template <size_t N>
Status lan_get_into(IpmiHandle* handle, uint8_t channel, uint8_t selector, uint8_t* out) {
  if (out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[N] = {};
  LUMI_TRY(lan_get(handle, channel, selector, data));
  std::memcpy(out, data, N);
  return kOk;
}

}  // namespace

extern "C" uint32_t ipmi_transport_set_lan_config(IpmiHandle* handle, uint8_t channel, uint8_t selector,
                                                  uint16_t length, const void* data) {
  if (handle == nullptr || data == nullptr || length == 0 || channel > kMaxChannel)
    return IPMI_STATUS_APP_INVALID_PARAMETER;
  LUMI_TRY(kLan.check_set(length));

  Exchange ex(handle, NetFn::Transport, 0x01, Privilege::Administrator);
  ex.u8(channel).u8(selector);
  return kLan.set(ex, length, data);
}

extern "C" uint32_t ipmi_transport_get_lan_config(IpmiHandle* handle, uint8_t channel, uint8_t selector,
                                                  uint8_t set_selector, uint8_t block_selector, uint8_t* revision,
                                                  uint16_t* length, void* data) {
  if (handle == nullptr || revision == nullptr || length == nullptr || data == nullptr || channel > kMaxChannel)
    return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Transport, 0x02, Privilege::Operator);
  ex.u8(channel).u8(selector).u8(set_selector).u8(block_selector);
  return kLan.get(ex, revision, length, data);
}

extern "C" uint32_t ipmi_transport_get_lan_statistics(IpmiHandle* handle, uint8_t channel, uint8_t clear,
                                                      uint16_t counters[9]) {
  if (handle == nullptr || counters == nullptr || channel > kMaxChannel) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Transport, 0x04, Privilege::User);
  ex.u8(channel).u8(clear);
  LUMI_TRY(ex.send(Reply::at_least(18)));

  ByteReader reply = ex.reply();
  for (int i = 0; i < 9; ++i) counters[i] = reply.le16();
  return kOk;
}

extern "C" uint32_t ipmi_get_lan_authentication_type_support(IpmiHandle* handle, uint8_t channel, uint8_t* types) {
  if (types == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[1] = {};
  LUMI_TRY(lan_get(handle, channel, IPMI_LAN_AUTH_TYPE_SUPPORT, data));
  *types = bits(data[0], 4, 0);
  return kOk;
}

extern "C" uint32_t ipmi_set_lan_authentication_type_enables(IpmiHandle* handle, uint8_t channel,
                                                             const IpmiLanAuthEnables* enables) {
  if (enables == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[kAuthEnablesSize];
  pack_auth_enables(*enables, data);
  return lan_set(handle, channel, IPMI_LAN_AUTH_TYPE_ENABLES, data);
}

extern "C" uint32_t ipmi_get_lan_authentication_type_enables(IpmiHandle* handle, uint8_t channel,
                                                             IpmiLanAuthEnables* enables) {
  if (enables == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[kAuthEnablesSize] = {};
  LUMI_TRY(lan_get(handle, channel, IPMI_LAN_AUTH_TYPE_ENABLES, data));
  unpack_auth_enables(data, enables);
  return kOk;
}

extern "C" uint32_t ipmi_get_lan_ip_source(IpmiHandle* handle, uint8_t channel, uint32_t* source) {
  if (source == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[1] = {};
  LUMI_TRY(lan_get(handle, channel, IPMI_LAN_IP_SOURCE, data));
  *source = data[0];
  return kOk;
}

extern "C" uint32_t ipmi_get_lan_addr(IpmiHandle* handle, uint8_t channel, uint8_t selector, uint8_t address[4]) {
  return lan_get_into<4>(handle, channel, selector, address);
}

extern "C" uint32_t ipmi_get_lan_mac(IpmiHandle* handle, uint8_t channel, uint8_t selector, uint8_t mac[6]) {
  return lan_get_into<6>(handle, channel, selector, mac);
}

extern "C" uint32_t ipmi_set_lan_config(IpmiHandle* handle, uint8_t channel, const IpmiLanConfig* config) {
  if (handle == nullptr || config == nullptr || channel > kMaxChannel || config->ip_source > IPMI_IP_SOURCE_OTHER)
    return IPMI_STATUS_APP_INVALID_PARAMETER;

  const uint8_t source[1] = {static_cast<uint8_t>(config->ip_source)};
  LUMI_TRY(lan_set(handle, channel, IPMI_LAN_IP_SOURCE, source));
  if (config->ip_source == IPMI_IP_SOURCE_STATIC) {
    LUMI_TRY(lan_set(handle, channel, IPMI_LAN_IP_ADDRESS, config->ip_address));
    LUMI_TRY(lan_set(handle, channel, IPMI_LAN_MAC_ADDRESS, config->mac_address));
  }
  LUMI_TRY(lan_set(handle, channel, IPMI_LAN_SUBNET_MASK, config->subnet_mask));
  LUMI_TRY(lan_set(handle, channel, IPMI_LAN_GATEWAY_IP, config->gateway_ip));
  LUMI_TRY(lan_set(handle, channel, IPMI_LAN_GATEWAY_MAC, config->gateway_mac));
  LUMI_TRY(lan_set(handle, channel, IPMI_LAN_BACKUP_GATEWAY_IP, config->backup_gateway_ip));
  return lan_set(handle, channel, IPMI_LAN_BACKUP_GATEWAY_MAC, config->backup_gateway_mac);
}

extern "C" uint32_t ipmi_get_lan_config(IpmiHandle* handle, uint8_t channel, IpmiLanConfig* config) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint8_t source[1] = {}, address[4] = {}, mac[6] = {}, mask[4] = {};
  LUMI_TRY(lan_get(handle, channel, IPMI_LAN_IP_SOURCE, source));
  LUMI_TRY(lan_get(handle, channel, IPMI_LAN_IP_ADDRESS, address));
  LUMI_TRY(lan_get(handle, channel, IPMI_LAN_MAC_ADDRESS, mac));
  LUMI_TRY(lan_get(handle, channel, IPMI_LAN_SUBNET_MASK, mask));
  config->ip_source = source[0];
  std::memcpy(config->ip_address, address, sizeof address);
  std::memcpy(config->mac_address, mac, sizeof mac);
  std::memcpy(config->subnet_mask, mask, sizeof mask);
  // Best effort: many BMCs have no backup gateway.
  (void)ipmi_get_lan_addr(handle, channel, IPMI_LAN_GATEWAY_IP, config->gateway_ip);
  (void)ipmi_get_lan_mac(handle, channel, IPMI_LAN_GATEWAY_MAC, config->gateway_mac);
  (void)ipmi_get_lan_addr(handle, channel, IPMI_LAN_BACKUP_GATEWAY_IP, config->backup_gateway_ip);
  (void)ipmi_get_lan_mac(handle, channel, IPMI_LAN_BACKUP_GATEWAY_MAC, config->backup_gateway_mac);
  return kOk;
}

extern "C" uint32_t ipmi_set_lan_ipv4_header_parameters(IpmiHandle* handle, uint8_t channel, const uint8_t header[4]) {
  if (header == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  // The type of service is 7 bits wide, not 4, and spills into the precedence: part of the interface.
  const uint8_t data[3] = {
      header[IPMI_IPV4_TIME_TO_LIVE],  //
      static_cast<uint8_t>((header[IPMI_IPV4_FLAGS] & 7) << 5),
      static_cast<uint8_t>((header[IPMI_IPV4_PRECEDENCE] & 7) << 5 | (header[IPMI_IPV4_TYPE_OF_SERVICE] & 0x7F) << 1)};
  return lan_set(handle, channel, IPMI_LAN_IPV4_HEADER, data);
}

extern "C" uint32_t ipmi_get_lan_ipv4_header_parameters(IpmiHandle* handle, uint8_t channel, uint8_t header[4]) {
  if (header == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[3] = {};
  LUMI_TRY(lan_get(handle, channel, IPMI_LAN_IPV4_HEADER, data));
  header[IPMI_IPV4_TIME_TO_LIVE] = data[0];
  header[IPMI_IPV4_FLAGS] = bits(data[1], 7, 5);
  header[IPMI_IPV4_PRECEDENCE] = bits(data[2], 7, 5);
  header[IPMI_IPV4_TYPE_OF_SERVICE] = bits(data[2], 4, 1);
  return kOk;
}

extern "C" uint32_t ipmi_set_vlan_config(IpmiHandle* handle, uint8_t channel, const IpmiVlanConfig* config) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  // The ID is not cut to its 12 bits: part of the interface.
  const uint8_t vlan[2] = {static_cast<uint8_t>(config->vlan_id),
                           static_cast<uint8_t>(config->vlan_id >> 8 | (config->enable & 1) << 7)};
  LUMI_TRY(lan_set(handle, channel, IPMI_LAN_VLAN_ID, vlan));
  const uint8_t priority[1] = {bits(config->priority, 2, 0)};
  return lan_set(handle, channel, IPMI_LAN_VLAN_PRIORITY, priority);
}

extern "C" uint32_t ipmi_get_vlan_config(IpmiHandle* handle, uint8_t channel, IpmiVlanConfig* config) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t vlan[2] = {};
  LUMI_TRY(lan_get(handle, channel, IPMI_LAN_VLAN_ID, vlan));
  config->enable = bits(vlan[1], 7, 7);
  config->vlan_id = static_cast<uint16_t>(bits(vlan[1], 3, 0) << 8 | vlan[0]);
  // A priority that cannot be read is taken from the byte that stands in its place, the low byte of the ID: part of the
  // interface.
  uint8_t priority[1] = {vlan[0]};
  const Status status = lan_get(handle, channel, IPMI_LAN_VLAN_PRIORITY, priority);
  config->priority = bits(priority[0], 2, 0);
  return status;
}

extern "C" uint32_t ipmi_get_lan_cipher_suite_entry_support(IpmiHandle* handle, uint8_t channel, uint8_t* count) {
  return lan_get_into<1>(handle, channel, IPMI_LAN_CIPHER_SUITE_SUPPORT, count);
}

extern "C" uint32_t ipmi_set_lan_cipher_suite_privilege(IpmiHandle* handle, uint8_t channel, uint16_t count,
                                                        const uint32_t* levels) {
  if (levels == nullptr || count > IPMI_CIPHER_SUITE_ENTRIES) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[1 + IPMI_CIPHER_SUITE_ENTRIES / 2] = {};  // a reserved byte, two entries a byte
  if (count >= 1) data[1] = static_cast<uint8_t>(levels[0]);
  for (int i = 1; i < count; ++i) {
    // Levels are not masked: part of the interface. One above 15 at an even entry spills into the entry behind it.
    const uint8_t level = static_cast<uint8_t>(levels[i] << (i % 2 != 0 ? 4 : 0));
    data[1 + i / 2] = static_cast<uint8_t>(data[1 + i / 2] | level);
  }
  return lan_set(handle, channel, IPMI_LAN_CIPHER_SUITE_PRIVILEGES, data);
}

extern "C" uint32_t ipmi_get_lan_cipher_suite_privilege(IpmiHandle* handle, uint8_t channel, uint32_t levels[16]) {
  if (levels == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[1 + IPMI_CIPHER_SUITE_ENTRIES / 2] = {};
  LUMI_TRY(lan_get(handle, channel, IPMI_LAN_CIPHER_SUITE_PRIVILEGES, data));
  for (int i = 0; i < IPMI_CIPHER_SUITE_ENTRIES; i += 2) {
    levels[i] = bits(data[1 + i / 2], 3, 0);
    levels[i + 1] = bits(data[1 + i / 2], 7, 4);
  }
  return kOk;
}
