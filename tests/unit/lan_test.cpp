#include "lumipmi/lan.h"

#include <gtest/gtest.h>

#include "support/config_cases.hpp"

namespace {

constexpr uint8_t kTransport = 0x0C;
constexpr uint8_t kChannel = 6;

Step get_step(uint8_t selector, Bytes reply) {
  return {
      .net_fn = kTransport, .cmd = 0x02, .request = {kChannel, selector, 0, 0}, .reply = std::move(reply), .kind = 3};
}

// The revision and the data.
Bytes parameter(Bytes data) {
  data.insert(data.begin(), 0x11);
  return ok(data);
}

TEST(lan, statistics) {
  TestHandle handle;
  for (const uint8_t clear : Bytes{0, 1, 0x80}) {
    ScriptedDriver bmc = {
        {.net_fn = kTransport, .cmd = 0x04, .request = {kChannel, clear}, .reply = ok(counting(18)), .kind = 2}};
    Guarded<IpmiLanStatistics> counters;
    const auto words = reinterpret_cast<uint16_t*>(&counters);
    EXPECT_EQ(ipmi_transport_get_lan_statistics(handle, kChannel, clear, words), 0u);
    for (int i = 0; i < 9; ++i) EXPECT_EQ(words[i], 0x0201 + i * 0x0202);
    EXPECT_EQ(counters->udp_proxy_packets_dropped, 0x1211);
  }
  check_failures<uint16_t[9]>(
      kTransport, 0x04, {kChannel, 1}, 18, 0x200000FF, OnFailure::Untouched, [](IpmiHandle* h, uint16_t(*counters)[9]) {
        return ipmi_transport_get_lan_statistics(h, kChannel, 1, counters != nullptr ? *counters : nullptr);
      });
}

struct Parameter {
  uint8_t selector;
  Bytes data;
  size_t offset;  // in the record
};

const Parameter kAddresses[] = {
    {4, {1}, offsetof(IpmiLanConfig, ip_source)},
    {3, counting(4, 0x10), offsetof(IpmiLanConfig, ip_address)},
    {5, counting(6, 0x20), offsetof(IpmiLanConfig, mac_address)},
    {6, counting(4, 0x30), offsetof(IpmiLanConfig, subnet_mask)},
    {12, counting(4, 0x40), offsetof(IpmiLanConfig, gateway_ip)},
    {13, counting(6, 0x50), offsetof(IpmiLanConfig, gateway_mac)},
    {14, counting(4, 0x60), offsetof(IpmiLanConfig, backup_gateway_ip)},
    {15, counting(6, 0x70), offsetof(IpmiLanConfig, backup_gateway_mac)},
};

// Each parameter refused in turn; the gateways are best effort.
TEST(lan, addresses_are_read) {
  TestHandle handle;
  for (const uint8_t refused : Bytes{0, 4, 3, 5, 6, 12, 13, 14, 15}) {
    SCOPED_TRACE("refused: " + std::to_string(refused));
    const bool fails = refused != 0 && refused <= 6;
    std::vector<Step> steps;
    Guarded<IpmiLanConfig> config, expected;
    for (const Parameter& p : kAddresses) {
      steps.push_back(get_step(p.selector, p.selector == refused ? Bytes{0x80} : parameter(p.data)));
      if (p.selector == refused && fails) break;
      if (p.selector != refused)
        std::copy(p.data.begin(), p.data.end(), reinterpret_cast<uint8_t*>(&expected) + p.offset);
    }
    expected->ip_source = 1;  // a whole number
    ScriptedDriver bmc(steps);
    EXPECT_EQ(ipmi_get_lan_config(handle, kChannel, &config), fails ? 0x20000113u : 0u);
    if (fails)
      EXPECT_TRUE(config.untouched());
    else
      EXPECT_EQ(std::memcmp(&config, &expected, sizeof *config), 0);
  }
}

TEST(lan, addresses_are_written) {
  IpmiLanConfig config = {};
  std::vector<ConfigWrite> writes;
  for (uint32_t source = 0; source <= 4; ++source) {
    config.ip_source = source;
    std::vector<Bytes> requests;
    for (const Parameter& p : kAddresses) {
      Bytes request = {kChannel, p.selector};
      if (p.selector == 4) {
        request.push_back(static_cast<uint8_t>(source));
      } else {
        std::copy(p.data.begin(), p.data.end(), reinterpret_cast<uint8_t*>(&config) + p.offset);
        request.insert(request.end(), p.data.begin(), p.data.end());
      }
      if (source == 1 || (p.selector != 3 && p.selector != 5)) requests.push_back(request);
    }
    writes.push_back(
        {"addresses", requests, [config](IpmiHandle* h) { return ipmi_set_lan_config(h, kChannel, &config); }});
  }
  check_writes(kTransport, 0x01, 4, writes);
  config.ip_source = 5;
  check_invalid({[&](IpmiHandle* h) { return ipmi_set_lan_config(h, kChannel, &config); },
                 [](IpmiHandle* h) { return ipmi_set_lan_config(h, kChannel, nullptr); },
                 [](IpmiHandle* h) { return ipmi_get_lan_config(h, kChannel, nullptr); }});
}

TEST(lan, single_parameters_are_read) {
  TestHandle handle;
  ScriptedDriver bmc = {get_step(4, parameter({0xF2})),
                        get_step(14, parameter({1, 2, 3, 4})),
                        get_step(15, parameter({1, 2, 3, 4, 5, 6})),
                        get_step(1, parameter({0xE5})),
                        get_step(1, parameter({0x1A})),
                        get_step(2, parameter({0xE1, 0xE2, 0xE4, 0xF0, 0xFF})),
                        get_step(22, parameter({0xEF})),
                        get_step(24, parameter({0xFF, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0})),
                        get_step(7, parameter({0x40, 0x5F, 0xB5})),
                        get_step(7, parameter({0x00, 0xBF, 0x4A}))};
  Guarded<uint32_t> source;
  EXPECT_EQ(ipmi_get_lan_ip_source(handle, kChannel, &source), 0u);
  EXPECT_EQ(*source, 0xF2u) << "the whole byte";
  Guarded<uint8_t[4]> address;
  EXPECT_EQ(ipmi_get_lan_addr(handle, kChannel, IPMI_LAN_BACKUP_GATEWAY_IP, *address), 0u);
  EXPECT_EQ(hex(*address, 4), "01 02 03 04");
  Guarded<uint8_t[6]> mac;
  EXPECT_EQ(ipmi_get_lan_mac(handle, kChannel, IPMI_LAN_BACKUP_GATEWAY_MAC, *mac), 0u);
  EXPECT_EQ(hex(*mac, 6), "01 02 03 04 05 06");
  Guarded<uint8_t> byte;
  EXPECT_EQ(ipmi_get_lan_authentication_type_support(handle, kChannel, &byte), 0u);
  EXPECT_EQ(*byte, 0x05) << "5 bits";
  EXPECT_EQ(ipmi_get_lan_authentication_type_support(handle, kChannel, &byte), 0u);
  EXPECT_EQ(*byte, 0x1A);
  Guarded<IpmiLanAuthEnables> enables;
  EXPECT_EQ(ipmi_get_lan_authentication_type_enables(handle, kChannel, &enables), 0u);
  EXPECT_EQ(hex(reinterpret_cast<const uint8_t*>(&enables->levels), 4), "01 02 04 10");
  EXPECT_EQ(enables->oem, 0x1F);
  EXPECT_EQ(ipmi_get_lan_cipher_suite_entry_support(handle, kChannel, &byte), 0u);
  EXPECT_EQ(*byte, 0xEF) << "the whole byte";
  Guarded<uint32_t[16]> levels;
  EXPECT_EQ(ipmi_get_lan_cipher_suite_privilege(handle, kChannel, *levels), 0u);
  for (uint32_t i = 0; i < 16; ++i) EXPECT_EQ((*levels)[i], i % 2 != 0 ? i : (i + 2) % 16);
  Guarded<uint8_t[4]> header;
  EXPECT_EQ(ipmi_get_lan_ipv4_header_parameters(handle, kChannel, *header), 0u);
  EXPECT_EQ(hex(*header, 4), "40 02 05 0a");
  EXPECT_EQ(ipmi_get_lan_ipv4_header_parameters(handle, kChannel, *header), 0u);
  EXPECT_EQ(hex(*header, 4), "00 05 02 05");
}

// What the rows with values beyond a field's width show is part of the interface.
TEST(lan, single_parameters_are_written) {
  const auto header = [](Bytes bytes) {
    return [bytes](IpmiHandle* h) { return ipmi_set_lan_ipv4_header_parameters(h, kChannel, bytes.data()); };
  };
  const auto vlan = [](IpmiVlanConfig config) {
    return [config](IpmiHandle* h) { return ipmi_set_vlan_config(h, kChannel, &config); };
  };
  const auto levels = [](std::vector<uint32_t> values) {
    return [values](IpmiHandle* h) {
      const uint32_t none = 0;
      return ipmi_set_lan_cipher_suite_privilege(h, kChannel, static_cast<uint16_t>(values.size()),
                                                 values.empty() ? &none : values.data());
    };
  };
  IpmiLanAuthEnables enables = {};
  std::memcpy(&enables.levels, "\xE1\xE2\xE4\xF0", 4);
  enables.oem = 0xFF;
  check_writes(kTransport, 0x01, 4,
               {{"header", {{kChannel, 7, 0x40, 0x40, 0x10}}, header({0x40, 2, 0, 8})},
                {"header, wide values", {{kChannel, 7, 0xFF, 0xE0, 0xFE}}, header({0xFF, 0xFF, 0xFF, 0xFF})},
                {"header, wide precedence", {{kChannel, 7, 0, 0x20, 0x80}}, header({0, 0xF9, 0xFC, 0x80})},
                {"header, wide type of service", {{kChannel, 7, 0, 0, 0xFE}}, header({0, 0, 0, 0x7F})},
                {"vlan", {{kChannel, 20, 0x64, 0x80}, {kChannel, 21, 0x01}}, vlan({1, 100, 9})},
                {"vlan, wide values", {{kChannel, 20, 0xFF, 0xFF}, {kChannel, 21, 0x07}}, vlan({0xFF, 0xFFFF, 0xFF})},
                {"vlan, wide id", {{kChannel, 20, 0x00, 0x80}, {kChannel, 21, 0x00}}, vlan({0, 0x8000, 8})},
                {"vlan, enable 2", {{kChannel, 20, 0x34, 0x12}, {kChannel, 21, 0x06}}, vlan({2, 0x1234, 6})},
                {"enables",
                 {{kChannel, 2, 0xE1, 0xE2, 0xE4, 0xF0, 0xFF}},
                 [enables](IpmiHandle* h) { return ipmi_set_lan_authentication_type_enables(h, kChannel, &enables); }},
                {"no levels", {{kChannel, 24, 0, 0, 0, 0, 0, 0, 0, 0, 0}}, levels({})},
                {"one level, unmasked", {{kChannel, 24, 0, 0xF5, 0, 0, 0, 0, 0, 0, 0}}, levels({0x1F5})},
                {"three levels", {{kChannel, 24, 0, 0x34, 0x02, 0, 0, 0, 0, 0, 0}}, levels({4, 3, 2})},
                {"an odd level, unmasked", {{kChannel, 24, 0, 0x51, 0, 0, 0, 0, 0, 0, 0}}, levels({1, 0xF5})},
                {"an even level, unmasked", {{kChannel, 24, 0, 0, 0xF1, 0, 0, 0, 0, 0, 0}}, levels({0, 0, 0x1C1, 0x3})},
                {"16 levels",
                 {{kChannel, 24, 0, 0x21, 0x43, 0x65, 0x87, 0xA9, 0xCB, 0xED, 0x0F}},
                 levels({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0})}});
  check_invalid({levels(std::vector<uint32_t>(17)), levels(std::vector<uint32_t>(0xFFFF)),
                 [](IpmiHandle* h) { return ipmi_set_lan_cipher_suite_privilege(h, kChannel, 0, nullptr); },
                 [](IpmiHandle* h) { return ipmi_set_lan_ipv4_header_parameters(h, kChannel, nullptr); },
                 [](IpmiHandle* h) { return ipmi_set_lan_authentication_type_enables(h, kChannel, nullptr); },
                 [](IpmiHandle* h) { return ipmi_set_vlan_config(h, kChannel, nullptr); },
                 [](IpmiHandle* h) { return ipmi_get_vlan_config(h, kChannel, nullptr); }});
}

TEST(lan, vlan_is_read) {
  const struct {
    const char* name;
    Bytes vlan;
    Bytes priority;
    uint32_t status;
    uint8_t enable;
    uint16_t id;
    uint8_t priority_out;
  } cases[] = {
      {"enabled", parameter({0x64, 0x80}), parameter({0x05}), 0, 1, 0x064, 5},
      {"all bits but enable", parameter({0xFF, 0x7F}), parameter({0xFA}), 0, 0, 0xFFF, 2},
      // A priority that cannot be read is the low byte of the ID, cut to three bits: part of the interface.
      {"priority refused", parameter({0x6D, 0x83}), {0x80}, 0x20000113, 1, 0x36D, 5},
      {"priority unreachable", parameter({0x6D, 0x83}), {0xC1}, 0x200000C1, 1, 0x36D, 5},
      {"no priority", parameter({0x6E, 0x00}), parameter({}), 0x200000FF, 0, 0x06E, 6},
      {"two priorities", parameter({0x6B, 0x00}), parameter({1, 1}), 0x20000212, 0, 0x06B, 3},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedDriver bmc = {get_step(20, c.vlan), get_step(21, c.priority)};
    Guarded<IpmiVlanConfig> config;
    EXPECT_EQ(ipmi_get_vlan_config(handle, kChannel, &config), c.status);
    EXPECT_EQ(config->enable, c.enable);
    EXPECT_EQ(config->vlan_id, c.id);
    EXPECT_EQ(config->priority, c.priority_out);
  }
  for (const auto& [reply, status] : {std::pair<Bytes, uint32_t>{{0x80}, 0x20000113},
                                      {parameter({0x64}), 0x200000FF},
                                      {parameter({1, 2, 3}), 0x20000212}}) {
    ScriptedDriver bmc = {get_step(20, reply)};
    Guarded<IpmiVlanConfig> config;
    EXPECT_EQ(ipmi_get_vlan_config(handle, kChannel, &config), status);
    EXPECT_TRUE(config.untouched());
  }
}

}  // namespace
