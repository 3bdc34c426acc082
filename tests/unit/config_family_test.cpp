// What all families of configuration parameters share: the generic pairs, and the accessors that read one parameter.
#include <gtest/gtest.h>

#include "lumipmi/boot.h"
#include "lumipmi/lan.h"
#include "lumipmi/pef.h"
#include "lumipmi/serial.h"
#include "lumipmi/sol.h"
#include "lumipmi/system_info.h"
#include "support/scripted_driver.hpp"

namespace {

constexpr uint8_t kChannel = 13;
constexpr uint32_t kUnspecified = 0x200000FF;
constexpr uint32_t kUnavailable = 0x200000C3;
constexpr uint32_t kTooSmall = 0x20000212;

using Get = std::function<uint32_t(IpmiHandle*, uint8_t* revision, uint16_t* length, uint8_t* data)>;
using Set = std::function<uint32_t(IpmiHandle*, uint16_t length, const uint8_t* data)>;

/// The defaults are what most families do.
struct Family {
  const char* name;
  uint8_t net_fn = 0x0C;
  uint8_t get_cmd;
  uint32_t get_kind = 3;
  Bytes get_request = {kChannel, 0xC5, 0x96, 0xA7};  // of selector 0xC5, set 0x96, block 0xA7
  size_t prefix = 1;                                 // reply bytes in front of the data
  size_t min_reply = 1;
  uint32_t short_reply = kUnspecified;
  uint32_t too_small = kTooSmall;  // the caller's room
  bool has_revision = true;
  bool revision_before_data = false;
  bool data_cleared = false;
  uint8_t set_cmd;
  uint32_t set_kind = 4;
  Bytes set_request = {kChannel, 0xC5};  // of selector 0xC5, in front of the data
  size_t max_set = 248;
  uint8_t last_set_code = 0x82;
  bool may_set_nothing = false;
  Get get;
  Set set;
};

template <typename Data>
Get channel_get(uint32_t (*get)(IpmiHandle*, uint8_t, uint8_t, uint8_t, uint8_t, uint8_t*, uint16_t*, Data*)) {
  return [get](IpmiHandle* h, uint8_t* revision, uint16_t* length, uint8_t* data) {
    return get(h, kChannel, 0xC5, 0x96, 0xA7, revision, length, data);
  };
}

template <typename Data>
Set channel_set(uint32_t (*set)(IpmiHandle*, uint8_t, uint8_t, uint16_t, const Data*)) {
  return [set](IpmiHandle* h, uint16_t length, const uint8_t* data) { return set(h, kChannel, 0xC5, length, data); };
}

const Family kBoot = {
    .name = "boot options",
    .net_fn = 0x00,
    .get_cmd = 0x09,
    .get_request = {0xC5, 0x96, 0xA7},
    .prefix = 2,
    .min_reply = 3,
    .too_small = 0x20000000,
    .has_revision = false,
    .set_cmd = 0x08,
    .set_kind = 3,
    .set_request = {0xC5},
    .max_set = 249,
    .may_set_nothing = true,
    .get = [](IpmiHandle* h, uint8_t*, uint16_t* length,
              uint8_t* data) { return ipmi_chassis_get_system_boot_options(h, 0xC5, 0x96, 0xA7, length, data); },
    .set = [](IpmiHandle* h, uint16_t length,
              const uint8_t* data) { return ipmi_chassis_set_system_boot_options(h, 0, 0xC5, length, data); },
};

const Family kSystemInfo = {
    .name = "system info",
    .net_fn = 0x06,
    .get_cmd = 0x59,
    .get_kind = 2,
    .get_request = {0x00, 0xC5, 0x96, 0xA7},
    .set_cmd = 0x58,
    .set_request = {0xC5},
    .get = [](IpmiHandle* h, uint8_t* revision, uint16_t* length,
              uint8_t* data) { return ipmi_app_get_system_info(h, 0xC5, 0x96, 0xA7, revision, length, data); },
    .set = [](IpmiHandle* h, uint16_t length,
              const uint8_t* data) { return ipmi_app_set_system_info(h, 0xC5, length, data); },
};

const Family kLan = {
    .name = "lan",
    .get_cmd = 0x02,
    .set_cmd = 0x01,
    .get = channel_get(ipmi_transport_get_lan_config),
    .set = channel_set(ipmi_transport_set_lan_config),
};

const Family kSerial = {
    .name = "serial",
    .get_cmd = 0x11,
    .set_cmd = 0x10,
    .last_set_code = 0x83,
    .get = channel_get(ipmi_transport_get_serial_config),
    .set = channel_set(ipmi_transport_set_serial_config),
};

const Family kPef = {
    .name = "pef",
    .net_fn = 0x04,
    .get_cmd = 0x13,
    .get_request = {0x45, 0x96, 0xA7},
    .min_reply = 2,
    .short_reply = kUnavailable,
    .revision_before_data = true,
    .data_cleared = true,
    .set_cmd = 0x12,
    .set_request = {0x45},
    .max_set = 249,
    .may_set_nothing = true,
    .get = [](IpmiHandle* h, uint8_t* revision, uint16_t* length,
              uint8_t* data) { return ipmi_se_get_pef_config(h, 0xC5, 0x96, 0xA7, revision, length, data); },
    .set = [](IpmiHandle* h, uint16_t length,
              const uint8_t* data) { return ipmi_se_set_pef_config(h, 0xC5, length, data); },
};

const Family kSol = {
    .name = "sol",
    .get_cmd = 0x22,
    .get_kind = 2,
    .set_cmd = 0x21,
    .get = channel_get(ipmi_transport_get_sol_config),
    .set = channel_set(ipmi_transport_set_sol_config),
};

const Family kFamilies[] = {kBoot, kSystemInfo, kLan, kSerial, kPef, kSol};

Step get_step(const Family& family, Bytes reply) {
  return {.net_fn = family.net_fn,
          .cmd = family.get_cmd,
          .request = family.get_request,
          .reply = std::move(reply),
          .kind = family.get_kind};
}

// Replies of every length around the room of 4 bytes.
TEST(config_family, get) {
  TestHandle handle;
  for (const Family& family : kFamilies) {
    for (size_t size = 0; size <= family.prefix + 6; ++size) {
      SCOPED_TRACE(std::string(family.name) + ", reply of " + std::to_string(size));
      const size_t count = size < family.prefix ? 0 : size - family.prefix;
      const uint32_t status = size < family.min_reply ? family.short_reply : count > 4 ? family.too_small : 0;
      ScriptedDriver bmc = {get_step(family, ok(counting(size, 0x11)))};
      Guarded<uint8_t> revision;
      Guarded<uint8_t[6]> data;
      uint16_t length = 4;
      EXPECT_EQ(family.get(handle, &revision, &length, *data), status);
      const bool revision_told =
          family.has_revision && (status == 0 || (status == kTooSmall && family.revision_before_data));
      EXPECT_EQ(*revision, revision_told ? 0x11 : 0xA5);
      EXPECT_EQ(length, status == 0 ? count : 4u);
      Bytes expected(6, 0xA5);
      if (family.data_cleared) std::fill_n(expected.begin(), 4, uint8_t{0});
      for (size_t i = 0; status == 0 && i < count; ++i) expected[i] = static_cast<uint8_t>(0x11 + family.prefix + i);
      EXPECT_EQ(hex(*data, 6), hex(expected));
    }
  }
}

TEST(config_family, get_takes_the_longest_reply) {
  TestHandle handle;
  for (const Family& family : kFamilies) {
    const size_t count = 254 - family.prefix;
    for (const size_t room : {count, size_t{300}, size_t{0xFFFF}, count - 1}) {
      SCOPED_TRACE(std::string(family.name) + ", room for " + std::to_string(room));
      ScriptedDriver bmc = {get_step(family, ok(counting(254)))};
      Bytes data(room + 1, 0xA5);
      uint8_t revision;
      uint16_t length = static_cast<uint16_t>(room);
      const bool fits = room >= count;
      EXPECT_EQ(family.get(handle, &revision, &length, data.data()), fits ? 0u : family.too_small);
      EXPECT_EQ(length, fits ? count : room);
      EXPECT_EQ(data[count - 1], fits ? 254 : 0xA5);
      EXPECT_EQ(data[room], 0xA5);
    }
  }
}

TEST(config_family, completion_codes) {
  TestHandle handle;
  for (const Family& family : kFamilies) {
    for (const unsigned code : {0x01u, 0x7Fu, 0x80u, 0x81u, 0x82u, 0x83u, 0x84u, 0xC1u, 0xFFu}) {
      SCOPED_TRACE(std::string(family.name) + ", code " + std::to_string(code));
      const Bytes refusal = {static_cast<uint8_t>(code), 0x11, 0x22, 0x33};
      Bytes set_request = family.set_request;
      set_request.push_back(0x77);
      ScriptedDriver bmc = {get_step(family, refusal),
                            {.net_fn = family.net_fn, .cmd = family.set_cmd, .request = set_request, .reply = refusal}};
      Guarded<uint8_t> revision;
      Guarded<uint8_t[4]> data;
      uint16_t length = 4;
      EXPECT_EQ(family.get(handle, &revision, &length, *data), code == 0x80 ? 0x20000113u : 0x20000000u + code);
      EXPECT_TRUE(revision.untouched());
      EXPECT_TRUE(family.data_cleared ? data.zero() : data.untouched());
      EXPECT_EQ(length, 4);
      const uint8_t byte = 0x77;
      const bool mapped = code >= 0x80 && code <= family.last_set_code;
      EXPECT_EQ(family.set(handle, 1, &byte), mapped ? 0x2000010Fu + (code - 0x80u) : 0x20000000u + code);
    }
  }
}

TEST(config_family, set) {
  TestHandle handle;
  const Bytes data = counting(300, 0x21);
  for (const Family& family : kFamilies) {
    for (const size_t size : {size_t{0}, size_t{1}, family.max_set, family.max_set + 1, size_t{256}, size_t{0xFFFF}}) {
      SCOPED_TRACE(std::string(family.name) + ", data of " + std::to_string(size));
      const uint32_t status = size == 0 && !family.may_set_nothing ? 0x20000214u
                              : size > family.max_set              ? kTooSmall
                                                                   : 0u;
      std::vector<Step> steps;
      if (status == 0) {
        Bytes request = family.set_request;
        request.insert(request.end(), data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size));
        steps.push_back({.net_fn = family.net_fn, .cmd = family.set_cmd, .request = request, .kind = family.set_kind});
      }
      ScriptedDriver bmc(steps);
      EXPECT_EQ(family.set(handle, static_cast<uint16_t>(size), data.data()), status);
    }
    ScriptedDriver bmc([](uint8_t, uint8_t, const Bytes&) { return Bytes{0x00, 0x01}; });
    EXPECT_EQ(family.set(handle, 1, data.data()), 0x20000000u) << family.name << ": data where none belong";
  }
}

TEST(config_family, null_pointers) {
  TestHandle handle;
  ScriptedDriver silent(std::vector<Step>{});
  for (const Family& family : kFamilies) {
    SCOPED_TRACE(family.name);
    uint8_t byte = 0;
    uint16_t length = 1;
    EXPECT_EQ(family.get(nullptr, &byte, &length, &byte), 0x20000214u);
    EXPECT_EQ(family.get(handle, &byte, nullptr, &byte), 0x20000214u);
    EXPECT_EQ(family.get(handle, &byte, &length, nullptr), 0x20000214u);
    if (family.has_revision) {
      EXPECT_EQ(family.get(handle, nullptr, &length, &byte), 0x20000214u);
    }
    EXPECT_EQ(family.set(nullptr, 1, &byte), 0x20000214u);
    EXPECT_EQ(family.set(handle, 1, nullptr), 0x20000214u);
  }
}

TEST(config_family, channels) {
  uint8_t bytes[4] = {};
  uint16_t length = 4;
  const std::function<uint32_t(IpmiHandle*, uint8_t)> calls[] = {
      [&](IpmiHandle* h, uint8_t ch) { return ipmi_transport_get_lan_config(h, ch, 1, 0, 0, bytes, &length, bytes); },
      [&](IpmiHandle* h, uint8_t ch) { return ipmi_transport_set_lan_config(h, ch, 1, 1, bytes); },
      [&](IpmiHandle* h, uint8_t ch) {
        uint16_t counters[9];
        return ipmi_transport_get_lan_statistics(h, ch, 0, counters);
      },
      [&](IpmiHandle* h, uint8_t ch) {
        IpmiLanConfig config = {};
        return ipmi_set_lan_config(h, ch, &config);
      },
      [&](IpmiHandle* h, uint8_t ch) {
        return ipmi_transport_get_serial_config(h, ch, 1, 0, 0, bytes, &length, bytes);
      },
      [&](IpmiHandle* h, uint8_t ch) { return ipmi_transport_set_serial_config(h, ch, 1, 1, bytes); },
      [&](IpmiHandle* h, uint8_t ch) {
        IpmiSerialMuxStatus status;
        return ipmi_set_serial_mux(h, ch, 0, &status);
      },
      [&](IpmiHandle* h, uint8_t ch) {
        uint32_t value = 0;
        return ipmi_set_serial_routing_mux(h, ch, 0, &value);
      },
      [&](IpmiHandle* h, uint8_t ch) { return ipmi_transport_get_sol_config(h, ch, 1, 0, 0, bytes, &length, bytes); },
      [&](IpmiHandle* h, uint8_t ch) { return ipmi_transport_set_sol_config(h, ch, 1, 1, bytes); },
  };
  TestHandle handle;
  for (const auto& call : calls) {
    SCOPED_TRACE(&call - calls);
    ScriptedDriver bmc([](uint8_t, uint8_t, const Bytes& request) {
      EXPECT_EQ(request[0], 15);
      return Bytes{0xC1};
    });
    EXPECT_NE(call(handle, 15), 0x20000214u);
    EXPECT_EQ(bmc.sent(), 1u);
    EXPECT_EQ(call(handle, 16), 0x20000214u);
    EXPECT_EQ(call(handle, 0x8D), 0x20000214u) << "bit 7 would ask for the revision alone";
    EXPECT_EQ(bmc.sent(), 1u);
  }
}

using Read = std::function<uint32_t(IpmiHandle*, void* out)>;

template <typename T>
Read of_bmc(uint32_t (*get)(IpmiHandle*, T*)) {
  return [get](IpmiHandle* handle, void* out) { return get(handle, static_cast<T*>(out)); };
}

template <typename T>
Read of_channel(uint32_t (*get)(IpmiHandle*, uint8_t, T*)) {
  return [get](IpmiHandle* handle, void* out) { return get(handle, kChannel, static_cast<T*>(out)); };
}

Read of_parameter(uint32_t (*get)(IpmiHandle*, uint8_t, uint8_t, uint8_t*), uint8_t selector) {
  return [get, selector](IpmiHandle* handle, void* out) {
    return get(handle, kChannel, selector, static_cast<uint8_t*>(out));
  };
}

// Every accessor of one parameter: too few, enough and too many data; a parameter that the BMC does not have.
TEST(config_family, accessors_check_the_length) {
  const struct {
    const char* name;
    const Family& family;
    uint8_t selector;
    uint8_t set;
    size_t minimum;
    size_t maximum;
    Read read;
    bool written_on_failure = false;
  } cases[] = {
      {"valid bit clearing", kBoot, 3, 0, 1, 1, of_bmc(ipmi_get_boot_flag_valid_bit_clearing)},
      {"boot flags", kBoot, 5, 0, 4, 5, of_bmc(ipmi_get_boot_flags)},
      {"bios mux", kBoot, 96, 0, 1, 1, of_bmc(ipmi_get_kest_bios_mux)},
      {"lan auth support", kLan, 1, 0, 1, 1, of_channel(ipmi_get_lan_authentication_type_support)},
      {"lan auth enables", kLan, 2, 0, 5, 5, of_channel(ipmi_get_lan_authentication_type_enables)},
      {"ip source", kLan, 4, 0, 1, 1, of_channel(ipmi_get_lan_ip_source)},
      {"lan address", kLan, 0xCC, 0, 4, 4, of_parameter(ipmi_get_lan_addr, 0xCC)},
      {"lan mac", kLan, 0xCC, 0, 6, 6, of_parameter(ipmi_get_lan_mac, 0xCC)},
      {"ipv4 header", kLan, 7, 0, 3, 3, of_channel(ipmi_get_lan_ipv4_header_parameters)},
      {"cipher suites", kLan, 22, 0, 1, 1, of_channel(ipmi_get_lan_cipher_suite_entry_support)},
      {"cipher suite privileges", kLan, 24, 0, 9, 9, of_channel(ipmi_get_lan_cipher_suite_privilege)},
      {"destination count", kLan, 17, 0, 0, 1, of_channel(ipmi_get_lan_destination_count)},
      {"community string", kLan, 16, 0, 0, 18, of_channel(ipmi_get_community_string), true},
      {"serial auth support", kSerial, 1, 0, 1, 1, of_channel(ipmi_get_serial_authentication_type_support)},
      {"serial auth enables", kSerial, 2, 0, 5, 5, of_channel(ipmi_get_serial_authentication_type_enables)},
      {"connection mode", kSerial, 3, 0, 1, 1,
       [](IpmiHandle* handle, void* out) {
         const auto bytes = static_cast<uint8_t*>(out);
         return ipmi_get_serial_connection_mode(handle, kChannel, bytes, bytes != nullptr ? bytes + 1 : nullptr);
       }},
      {"serial basic", kSerial, 7, 0, 2, 2, of_channel(ipmi_get_serial_basic_config)},
      {"terminal mode", kSerial, 29, 0, 2, 2, of_channel(ipmi_get_serial_terminal_mode_config)},
      {"port association", kSerial, 51, 0, 3, 3, of_channel(ipmi_get_system_serial_port_association)},
      {"event filter count", kPef, 5, 0, 1, 1, of_bmc(ipmi_get_event_filter_count)},
      {"event filter", kPef, 6, 0xA5, 1, 40, of_bmc(ipmi_get_event_filter)},
      {"policy count", kPef, 8, 0, 1, 1, of_bmc(ipmi_get_policy_count)},
      {"policy", kPef, 9, 0xA5, 1, 40, of_bmc(ipmi_get_policy)},
      {"sol enabled", kSol, 1, 0, 1, 1, of_channel(ipmi_get_sol_enabled_status)},
      {"sol authentication", kSol, 2, 0, 1, 1, of_channel(ipmi_get_sol_authentication)},
      {"sol char config", kSol, 3, 0, 2, 2, of_channel(ipmi_get_sol_char_config)},
      {"sol retry", kSol, 4, 0, 2, 2, of_channel(ipmi_get_sol_retry)},
      {"sol non-volatile rate", kSol, 5, 0, 1, 1, of_channel(ipmi_get_sol_non_volatile)},
      {"sol volatile rate", kSol, 6, 0, 1, 1, of_channel(ipmi_get_sol_volatile)},
      {"sol channel", kSol, 7, 0, 1, 1, of_channel(ipmi_get_sol_channel), true},
      {"sol port", kSol, 8, 0, 2, 2, of_channel(ipmi_get_sol_port), true},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    Bytes request = {c.selector, c.set, 0};
    if (c.family.get_request[0] == kChannel) request.insert(request.begin(), kChannel);
    const auto run = [&](Bytes reply, uint32_t status) {
      ScriptedDriver bmc = {{.net_fn = c.family.net_fn,
                             .cmd = c.family.get_cmd,
                             .request = request,
                             .reply = std::move(reply),
                             .kind = c.family.get_kind}};
      Guarded<uint64_t[32]> out;
      EXPECT_EQ(c.read(handle, &out), status);
      EXPECT_EQ(out.untouched(), status != 0 && !c.written_on_failure);
    };
    for (size_t size = 0; size <= c.maximum + 1; ++size) {
      SCOPED_TRACE(std::string(c.name) + ", data of " + std::to_string(size));
      run(ok(counting(c.family.prefix + size)), size < c.minimum   ? c.family.short_reply
                                                : size > c.maximum ? c.family.too_small
                                                                   : 0);
    }
    SCOPED_TRACE(c.name);
    run({0x80}, 0x20000113);
    ScriptedDriver silent(std::vector<Step>{});
    Guarded<uint64_t[32]> out;
    EXPECT_EQ(c.read(nullptr, &out), 0x20000214u);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(c.read(handle, nullptr), 0x20000214u);
  }
}

}  // namespace
