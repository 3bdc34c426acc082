#include "lumipmi/sol.h"

#include <gtest/gtest.h>

#include "support/config_cases.hpp"

namespace {

constexpr uint8_t kApp = 0x06;
constexpr uint8_t kTransport = 0x0C;
constexpr uint8_t kOemSol = 0x34;
constexpr uint8_t kChannel = 3;

Step get_step(uint8_t selector, Bytes data) {
  data.insert(data.begin(), 0x11);  // revision
  return {.net_fn = kTransport, .cmd = 0x22, .request = {kChannel, selector, 0, 0}, .reply = ok(data), .kind = 2};
}

Step set_step(uint8_t selector, Bytes data, Bytes reply = {0x00}) {
  data.insert(data.begin(), {kChannel, selector});
  return {.net_fn = kTransport, .cmd = 0x21, .request = data, .reply = std::move(reply), .kind = 4};
}

TEST(sol, version) {
  EXPECT_EQ(ipmi_hlp_get_sol_version(nullptr), 0u);
  TestHandle handle;
  for (const auto& [level, version] : {std::pair{0u, 0u}, {1u, 0u}, {2u, 1u}, {3u, 2u}, {4u, 0u}}) {
    handle->ipmiVersionLevel = level;
    for (const uint32_t type : {0u, 1u, 3u, 5u}) {
      handle->params.interfaceType = type;
      EXPECT_EQ(ipmi_hlp_get_sol_version(handle), version) << level;
    }
  }
  // The other types keep it in their work area, whatever the level.
  handle->ipmiVersionLevel = 3;
  for (const uint32_t type : {2u, 4u}) {
    handle->params.interfaceType = type;
    const uint32_t numbers[] = {0x71, 0x72, 0x73, 0x74, 0xDECADE00 + type, 0x76};
    std::memcpy(handle->workArea, numbers, sizeof numbers);
    EXPECT_EQ(ipmi_hlp_get_sol_version(handle), 0xDECADE00 + type);
    uint8_t* const area = handle->workArea;
    handle->workArea = nullptr;
    EXPECT_EQ(ipmi_hlp_get_sol_version(handle), 0u);
    handle->workArea = area;
  }
}

TEST(sol, version_chooses_the_commands) {
  const struct {
    uint32_t version;
    uint8_t net_fn, get_cmd, set_cmd, channel, authentication;
  } cases[] = {{1, kOemSol, 0x04, 0x03, 0, 0x84},
               {2, kTransport, 0x22, 0x21, kChannel, 0xC4},
               {7, kTransport, 0x22, 0x21, kChannel, 0xC4}};
  TestHandle handle;
  handle->params.interfaceType = 2;
  IpmiSolConfig config = {};
  config.force_encryption = config.force_authentication = 1;
  config.privilege_level = 4;
  for (const auto& c : cases) {
    std::memcpy(handle->workArea + 16, &c.version, sizeof c.version);
    ScriptedDriver bmc = {{.net_fn = c.net_fn,
                           .cmd = c.get_cmd,
                           .request = {c.channel, 0x85, 0x96, 0xA7},
                           .reply = ok({0x11, 0xE1}),
                           .kind = 2},
                          {.net_fn = c.net_fn, .cmd = c.set_cmd, .request = {c.channel, 0x85, 0x44}, .kind = 4},
                          {.net_fn = c.net_fn,
                           .cmd = c.set_cmd,
                           .request = {c.channel, 2, c.authentication},
                           .reply = {0x82},
                           .kind = 4}};
    uint8_t revision, byte = 0x44, data = 0;
    uint16_t length = 1;
    EXPECT_EQ(ipmi_transport_get_sol_config(handle, kChannel, 0x85, 0x96, 0xA7, &revision, &length, &data), 0u);
    EXPECT_EQ(data, 0xE1);
    EXPECT_EQ(ipmi_transport_set_sol_config(handle, kChannel, 0x85, 1, &byte), 0u);
    EXPECT_EQ(ipmi_set_sol_authentication(handle, kChannel, &config), 0x20000111u);
  }
}

// Channel and port are not asked for before version 2.
TEST(sol, channel_and_port_by_version) {
  TestHandle handle;
  Guarded<uint8_t> channel;
  Guarded<uint16_t> port;
  {
    ScriptedDriver silent(std::vector<Step>{});
    handle->ipmiVersionLevel = 0;
    EXPECT_EQ(ipmi_get_sol_channel(handle, kChannel, &channel), 0x20000216u);
    EXPECT_EQ(ipmi_get_sol_port(handle, kChannel, &port), 0x20000216u);
    EXPECT_TRUE(channel.untouched());
    EXPECT_TRUE(port.untouched());
    handle->ipmiVersionLevel = 2;
    EXPECT_EQ(ipmi_get_sol_channel(handle, 0x83, &channel), 0u);
    EXPECT_EQ(*channel, 0x83) << "the argument itself";
    EXPECT_EQ(ipmi_get_sol_port(handle, kChannel, &port), 0u);
    EXPECT_EQ(*port, 623);
  }
  handle->ipmiVersionLevel = 3;
  ScriptedDriver bmc = {get_step(7, {0xE4}), get_step(8, {0x6F, 0x02}), get_step(7, {}), get_step(8, {1})};
  EXPECT_EQ(ipmi_get_sol_channel(handle, kChannel, &channel), 0u);
  EXPECT_EQ(*channel, 0xE4) << "the whole byte";
  EXPECT_EQ(ipmi_get_sol_port(handle, kChannel, &port), 0u);
  EXPECT_EQ(*port, 0x026F);
  EXPECT_EQ(ipmi_get_sol_channel(handle, kChannel, &channel), 0x200000FFu);
  EXPECT_EQ(*channel, 0xFF);
  EXPECT_EQ(ipmi_get_sol_port(handle, kChannel, &port), 0x200000FFu);
  EXPECT_EQ(*port, 0);
}

TEST(sol, unsupported_without_a_version) {
  TestHandle handle;
  handle->ipmiVersionLevel = 1;
  IpmiSolConfig config = {};
  config.privilege_level = 2;
  uint8_t bytes[2] = {1, 1};
  uint16_t length = 2;
  ScriptedDriver silent(std::vector<Step>{});
  EXPECT_EQ(ipmi_transport_get_sol_config(handle, 1, 1, 0, 0, bytes, &length, bytes), 0x20000216u);
  EXPECT_EQ(ipmi_transport_set_sol_config(handle, 1, 1, 1, bytes), 0x20000216u);
  EXPECT_EQ(ipmi_transport_set_sol_config(handle, 1, 1, 249, bytes), 0x20000212u) << "the length comes first";
  EXPECT_EQ(ipmi_transport_set_sol_config(handle, 16, 1, 1, bytes), 0x20000214u);
  EXPECT_EQ(ipmi_transport_get_sol_config(handle, 16, 1, 0, 0, bytes, &length, bytes), 0x20000214u);
  EXPECT_EQ(ipmi_set_sol_config(handle, 1, 1, &config), 0x20000216u);
  EXPECT_EQ(ipmi_get_sol_config(handle, 1, 0x40, &config), 0x20000216u);
  EXPECT_EQ(ipmi_get_sol_enabled_status(handle, 1, bytes), 0x20000216u);
}

TEST(sol, parameters_are_read) {
  TestHandle handle;
  ScriptedDriver bmc = {get_step(1, {0xFF}),       get_step(1, {0xFE}),       get_step(2, {0x9A}), get_step(2, {0x75}),
                        get_step(3, {0xE1, 0xE2}), get_step(4, {0xFD, 0xFE}), get_step(5, {0xFA}), get_step(6, {0xF7})};
  Guarded<uint8_t> enabled;
  EXPECT_EQ(ipmi_get_sol_enabled_status(handle, kChannel, &enabled), 0u);
  EXPECT_EQ(*enabled, 1);
  EXPECT_EQ(ipmi_get_sol_enabled_status(handle, kChannel, &enabled), 0u);
  EXPECT_EQ(*enabled, 0);
  Guarded<IpmiSolConfig> config;
  EXPECT_EQ(ipmi_get_sol_authentication(handle, kChannel, &config), 0u);
  EXPECT_EQ(config->force_encryption, 1);
  EXPECT_EQ(config->force_authentication, 0);
  EXPECT_EQ(config->privilege_level, 10u);
  EXPECT_EQ(ipmi_get_sol_authentication(handle, kChannel, &config), 0u);
  EXPECT_EQ(config->force_encryption, 0);
  EXPECT_EQ(config->force_authentication, 1);
  EXPECT_EQ(config->privilege_level, 5u);
  EXPECT_EQ(config->char_config[0], 0xA5) << "the rest is untouched";
  Guarded<uint8_t[2]> pair;
  EXPECT_EQ(ipmi_get_sol_char_config(handle, kChannel, *pair), 0u);
  EXPECT_EQ(hex(*pair, 2), "e1 e2");
  EXPECT_EQ(ipmi_get_sol_retry(handle, kChannel, *pair), 0u);
  EXPECT_EQ(hex(*pair, 2), "05 fe") << "a count of three bits";
  Guarded<uint32_t> rate;
  EXPECT_EQ(ipmi_get_sol_non_volatile(handle, kChannel, &rate), 0u);
  EXPECT_EQ(*rate, 10u);
  EXPECT_EQ(ipmi_get_sol_volatile(handle, kChannel, &rate), 0u);
  EXPECT_EQ(*rate, 7u);
}

TEST(sol, parameters_are_written) {
  const auto authentication = [](uint8_t encryption, uint8_t integrity, uint32_t level) {
    return [=](IpmiHandle* h) {
      IpmiSolConfig config = {};
      config.force_encryption = encryption;
      config.force_authentication = integrity;
      config.privilege_level = level;
      return ipmi_set_sol_authentication(h, kChannel, &config);
    };
  };
  const auto retry = [](uint8_t count, uint8_t interval) {
    return [=](IpmiHandle* h) {
      const uint8_t bytes[] = {count, interval};
      return ipmi_set_sol_retry(h, kChannel, bytes);
    };
  };
  const auto rate = [](auto set, uint32_t value) { return [=](IpmiHandle* h) { return set(h, kChannel, value); }; };
  check_writes(
      kTransport, 0x21, 4,
      {{"enable", {{kChannel, 1, 0xFE}}, [](IpmiHandle* h) { return ipmi_enable_sol(h, kChannel, 0xFE); }},
       {"neither", {{kChannel, 2, 0x02}}, authentication(0, 0, 2)},
       {"both", {{kChannel, 2, 0xC4}}, authentication(1, 1, 4)},
       // Two bits of force_authentication: part of the interface.
       {"authentication 2 encrypts", {{kChannel, 2, 0x85}}, authentication(0, 2, 5)},
       {"wide values without bit 0 and 1", {{kChannel, 2, 0x03}}, authentication(0xFE, 0xFC, 3)},
       {"char config",
        {{kChannel, 3, 0xE1, 0xE2}},
        [](IpmiHandle* h) {
          const uint8_t bytes[] = {0xE1, 0xE2};
          return ipmi_set_sol_char_config(h, kChannel, bytes);
        }},
       {"retry", {{kChannel, 4, 7, 0xFF}}, retry(7, 0xFF)},
       {"slowest stored", {{kChannel, 5, 6}}, rate(ipmi_set_sol_non_volatile, 6)},
       {"fastest stored", {{kChannel, 5, 10}}, rate(ipmi_set_sol_non_volatile, 10)},
       {"slowest in use", {{kChannel, 6, 6}}, rate(ipmi_set_sol_volatile, 6)},
       {"fastest in use", {{kChannel, 6, 10}}, rate(ipmi_set_sol_volatile, 10)},
       {"port", {{kChannel, 8, 0x6F, 0x02}}, [](IpmiHandle* h) { return ipmi_set_sol_port(h, kChannel, 0x026F); }}});
  check_invalid({authentication(0, 0, 1), authentication(0, 0, 6), authentication(0, 0, 0x12), retry(8, 0),
                 rate(ipmi_set_sol_non_volatile, 5), rate(ipmi_set_sol_non_volatile, 11),
                 rate(ipmi_set_sol_volatile, 5), rate(ipmi_set_sol_volatile, 0x106),
                 [](IpmiHandle* h) { return ipmi_set_sol_authentication(h, kChannel, nullptr); },
                 [](IpmiHandle* h) { return ipmi_set_sol_char_config(h, kChannel, nullptr); },
                 [](IpmiHandle* h) { return ipmi_set_sol_retry(h, kChannel, nullptr); },
                 [](IpmiHandle* h) { return ipmi_set_sol_config(h, kChannel, 0, nullptr); },
                 [](IpmiHandle* h) { return ipmi_get_sol_config(h, kChannel, 0, nullptr); }});
}

// Every mask, each part in its order; the parts behind a refused one are left out.
TEST(sol, config_by_mask) {
  IpmiSolConfig config = {};
  config.privilege_level = 3;
  config.char_config[0] = 0x31;
  config.char_config[1] = 0x32;
  config.retry_count = 4;
  config.retry_interval = 0x42;
  config.non_volatile_bit_rate = 7;
  config.volatile_bit_rate = 9;
  config.channel = 0x51;
  config.port = 0x6261;
  const struct {
    unsigned bit;
    uint8_t selector;
    Bytes data;
  } parts[] = {{0, 2, {3}}, {1, 3, {0x31, 0x32}}, {2, 4, {4, 0x42}}, {3, 5, {7}},
               {4, 6, {9}}, {6, 8, {0x61, 0x62}}, {5, 7, {0x51}}};  // the channel last
  TestHandle handle;
  for (unsigned mask = 0; mask < 256; ++mask) {
    SCOPED_TRACE(mask);
    std::vector<Step> gets, sets;
    IpmiSolConfig expected;
    std::memset(&expected, 0xA5, sizeof expected);
    for (const auto& part : parts) {
      if ((mask >> part.bit & 1) == 0) continue;
      gets.push_back(get_step(part.selector, part.data));
      if (part.bit < 5) sets.push_back(set_step(part.selector, part.data));
      if (part.bit == 0) expected.force_encryption = expected.force_authentication = 0;
      if (part.bit == 0) expected.privilege_level = 3;
      if (part.bit == 1) std::memcpy(expected.char_config, config.char_config, 2);
      if (part.bit == 2) expected.retry_count = 4;
      if (part.bit == 2) expected.retry_interval = 0x42;
      if (part.bit == 3) expected.non_volatile_bit_rate = 7;
      if (part.bit == 4) expected.volatile_bit_rate = 9;
      if (part.bit == 5) expected.channel = 0x51;
      if (part.bit == 6) expected.port = 0x6261;
    }
    {
      ScriptedDriver bmc(gets);
      Guarded<IpmiSolConfig> out;
      EXPECT_EQ(ipmi_get_sol_config(handle, kChannel, static_cast<uint8_t>(mask), &out), 0u);
      EXPECT_EQ(std::memcmp(&out, &expected, sizeof expected), 0);
    }
    {
      ScriptedDriver bmc(sets);
      EXPECT_EQ(ipmi_set_sol_config(handle, kChannel, static_cast<uint8_t>(mask), &config), 0u);
    }
    if (!gets.empty()) {
      gets.back().reply = {0xC1};
      ScriptedDriver bmc(gets);
      Guarded<IpmiSolConfig> out;
      EXPECT_EQ(ipmi_get_sol_config(handle, kChannel, static_cast<uint8_t>(mask), &out), 0x200000C1u);
    }
    if (!sets.empty()) {
      sets.resize(1);
      sets.back().reply = {0x81};
      ScriptedDriver bmc(sets);
      EXPECT_EQ(ipmi_set_sol_config(handle, kChannel, static_cast<uint8_t>(mask), &config), 0x20000110u);
    }
  }
  ScriptedDriver silent(std::vector<Step>{});
  EXPECT_EQ(ipmi_set_sol_config(nullptr, kChannel, 0, &config), 0x20000214u);
  EXPECT_EQ(ipmi_get_sol_config(nullptr, kChannel, 0, &config), 0x20000214u);
}

TEST(sol, activation_as_a_payload) {
  const struct {
    IpmiSolActivation request;
    uint8_t options;
  } cases[] = {{{1, 0, 0, 0}, 0x80}, {{0, 1, 0, 0}, 0x40},    {{0, 0, 3, 0}, 0x0C},
               {{0, 0, 0, 1}, 0x02}, {{0, 0, 0, 0xFE}, 0x02}, {{1, 1, 1, 1}, 0xC6}};
  TestHandle handle;
  for (const auto& c : cases) {
    ScriptedDriver bmc = {
        {.net_fn = kApp, .cmd = 0x48, .request = {1, 1, c.options, 0, 0, 0}, .reply = ok(counting(12)), .kind = 2}};
    Guarded<IpmiPayloadActivationResult> result;
    EXPECT_EQ(ipmi_activate_sol(handle, &c.request, &result), 0u);
    EXPECT_EQ(hex(reinterpret_cast<const uint8_t*>(&result), sizeof *result), hex(counting(12)));
  }
  ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x48, .request = {1, 1, 0x80, 0, 0, 0}, .reply = {0x81}},
                        {.net_fn = kApp, .cmd = 0x48, .request = {1, 1, 0x80, 0, 0, 0}, .reply = ok(counting(11))},
                        {.net_fn = kApp, .cmd = 0x49, .request = {1, 1, 0, 0, 0, 0}, .kind = 2},
                        {.net_fn = kApp, .cmd = 0x49, .request = {1, 1, 0, 0, 0, 0}, .reply = {0x80}}};
  Guarded<IpmiPayloadActivationResult> result;
  EXPECT_EQ(ipmi_activate_sol(handle, &cases[0].request, &result), 0x20000115u);
  EXPECT_EQ(ipmi_activate_sol(handle, &cases[0].request, &result), 0x200000FFu);
  EXPECT_TRUE(result.untouched());
  EXPECT_EQ(ipmi_activate_sol(handle, nullptr, &result), 0x20000214u);
  EXPECT_EQ(ipmi_activate_sol(handle, &cases[0].request, nullptr), 0x20000214u);
  EXPECT_EQ(ipmi_activate_sol(nullptr, &cases[0].request, &result), 0x20000214u);
  EXPECT_EQ(ipmi_deactivate_sol(handle), 0u);
  EXPECT_EQ(ipmi_deactivate_sol(handle), 0x20000119u);
  EXPECT_EQ(ipmi_deactivate_sol(nullptr), 0x20000214u);
}

TEST(sol, status_has_a_flag_for_each_instance) {
  TestHandle handle;
  for (int instance = 0; instance <= 16; ++instance) {
    const int bit = instance < 16 ? 1 << instance : 0;
    ScriptedDriver bmc = {{.net_fn = kApp,
                           .cmd = 0x4A,
                           .request = {1},
                           .reply = ok({0xF5, static_cast<uint8_t>(bit), static_cast<uint8_t>(bit >> 8)}),
                           .kind = 2}};
    Guarded<IpmiSolStatus> status;
    EXPECT_EQ(ipmi_get_sol_status(handle, &status), 0u);
    EXPECT_EQ(status->instance_capacity, 5);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(status->active[i], i == instance) << instance;
  }
  check_failures<IpmiSolStatus>(kApp, 0x4A, {1}, 3, 0x200000FF, OnFailure::Untouched, ipmi_get_sol_status);
}

TEST(sol, pre_standard) {
  const IpmiIsolRequest request = {5, 6, 0xF7}, wide = {0xFF, 0x41, 0};
  const struct {
    const char* name;
    uint8_t flags;
    const IpmiIsolRequest* request;
    Bytes sent;
  } cases[] = {{"activate", 1, &request, {1, 0xF7, 0, 0, 0}},
               {"activate, other flags", 0xFF, &request, {1, 0xF7, 0, 0, 0}},
               {"change", 0, &request, {0x58, 0xF7, 0, 0, 0}},
               {"change, unmasked", 0xFE, &wide, {0xF4, 0, 0, 0, 0}},
               {"nothing", 0, nullptr, {0, 0, 0, 0, 0}}};
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const Step step = {
        .net_fn = kOemSol, .cmd = 0x01, .request = c.sent, .reply = ok({0x7D, 0xEC, 0xE1, 0xE2, 0xEE}), .kind = 4};
    Step other = step, late = step;
    other.reply = ok({0x82, 0x13, 1, 2});
    late.reply = ok({1, 2, 3});
    ScriptedDriver bmc = {step, other, late};
    Guarded<IpmiIsolResult> out;
    EXPECT_EQ(ipmi_activate_isol(handle, c.flags, c.request, &out), 0u);
    EXPECT_EQ(out->flag, 0);
    EXPECT_EQ(out->code, 5u);
    EXPECT_EQ(out->nibble, 0x0C);
    EXPECT_EQ(hex(out->values, 2), "e1 e2");
    EXPECT_EQ(ipmi_activate_isol(handle, c.flags, c.request, &out), 0u);
    EXPECT_EQ(out->flag, 1);
    EXPECT_EQ(out->code, 2u);
    EXPECT_EQ(out->nibble, 3);
    Guarded<IpmiIsolResult> none;
    EXPECT_EQ(ipmi_activate_isol(handle, c.flags, c.request, &none), 0x200000FFu);
    EXPECT_TRUE(none.untouched());
  }
  ScriptedDriver bmc = {{.net_fn = kOemSol, .cmd = 0x01, .request = {0, 0, 0, 0, 0}, .reply = ok(counting(4))},
                        {.net_fn = kOemSol, .cmd = 0x01, .request = {0, 0, 0, 0, 0}, .reply = ok(counting(3))},
                        {.net_fn = kOemSol, .cmd = 0x05, .reply = ok({0xFE, 0xE2, 3, 4, 5}), .kind = 2},
                        {.net_fn = kOemSol, .cmd = 0x05, .reply = ok({0x01, 0xE3, 3, 4, 5, 6}), .kind = 2}};
  EXPECT_EQ(ipmi_activate_isol(handle, 0, nullptr, nullptr), 0u);
  EXPECT_EQ(ipmi_activate_isol(handle, 0, nullptr, nullptr), 0x200000FFu);
  Guarded<IpmiIsolResult> out;
  EXPECT_EQ(ipmi_activate_isol(handle, 1, nullptr, &out), 0x20000214u);
  EXPECT_EQ(ipmi_activate_isol(handle, 1, &request, nullptr), 0x20000214u);
  EXPECT_EQ(ipmi_activate_isol(nullptr, 0, nullptr, nullptr), 0x20000214u);
  Guarded<IpmiIsolStatus> status;
  EXPECT_EQ(ipmi_get_isol_status(handle, &status), 0u);
  EXPECT_EQ(status->flag, 0);
  EXPECT_EQ(status->value, 0xE2);
  EXPECT_EQ(ipmi_get_isol_status(handle, &status), 0u);
  EXPECT_EQ(status->flag, 1);
}

TEST(sol, pre_standard_failures) {
  check_failures<IpmiIsolStatus>(kOemSol, 0x05, {}, 5, 0x200000FF, OnFailure::Untouched, ipmi_get_isol_status);
}

}  // namespace
