#include "lumipmi/serial.h"

#include <gtest/gtest.h>

#include "support/config_cases.hpp"

namespace {

constexpr uint8_t kTransport = 0x0C;
constexpr uint8_t kChannel = 2;

Step get_step(uint8_t selector, Bytes data) {
  data.insert(data.begin(), 0x11);  // revision
  return {.net_fn = kTransport, .cmd = 0x11, .request = {kChannel, selector, 0, 0}, .reply = ok(data), .kind = 3};
}

TEST(serial, parameters_are_read) {
  TestHandle handle;
  {
    ScriptedDriver bmc = {get_step(1, {0xFA}),       get_step(2, {0xE1, 0xE2, 0xE4, 0xF0, 0xFF}),
                          get_step(3, {0x82}),       get_step(3, {0x7D}),
                          get_step(7, {0x9F, 0x26}), get_step(7, {0x60, 0xDA})};
    Guarded<uint8_t> types, flag, mode;
    EXPECT_EQ(ipmi_get_serial_authentication_type_support(handle, kChannel, &types), 0u);
    EXPECT_EQ(*types, 0x1A) << "5 bits";
    Guarded<IpmiLanAuthEnables> enables;
    EXPECT_EQ(ipmi_get_serial_authentication_type_enables(handle, kChannel, &enables), 0u);
    EXPECT_EQ(hex(reinterpret_cast<const uint8_t*>(&enables->levels), 4), "01 02 04 10");
    EXPECT_EQ(enables->oem, 0x1F);
    EXPECT_EQ(ipmi_get_serial_connection_mode(handle, kChannel, &flag, &mode), 0u);
    EXPECT_EQ(*flag, 1);
    EXPECT_EQ(*mode, 2);
    EXPECT_EQ(ipmi_get_serial_connection_mode(handle, kChannel, &flag, &mode), 0u);
    EXPECT_EQ(*flag, 0);
    EXPECT_EQ(*mode, 5);
    Guarded<IpmiSerialBasicConfig> basic;
    EXPECT_EQ(ipmi_get_serial_basic_config(handle, kChannel, &basic), 0u);
    EXPECT_EQ(basic->flow_control, 2u);
    EXPECT_EQ(basic->dtr_hangup, 0);
    EXPECT_EQ(basic->bit_rate, 6u);
    EXPECT_EQ(ipmi_get_serial_basic_config(handle, kChannel, &basic), 0u);
    EXPECT_EQ(basic->flow_control, 1u);
    EXPECT_EQ(basic->dtr_hangup, 1);
    EXPECT_EQ(basic->bit_rate, 10u);
  }
  const struct {
    Bytes data;
    std::vector<uint32_t> terminal;
  } cases[] = {
      {{0x00, 0x12}, {1, 0, 0, 0, 0, 1, 2}},  // the first field is 1 whatever bits 7:6 say: part of the interface
      {{0xC0, 0x00}, {1, 0, 0, 0, 0, 0, 0}},  {{0x80, 0x5F}, {1, 0, 0, 0, 0, 5, 15}},
      {{0x20, 0x00}, {1, 1, 0, 0, 0, 0, 0}},  {{0x10, 0x00}, {1, 0, 0, 0, 0, 0, 0}},
      {{0x08, 0x00}, {1, 0, 2, 0, 0, 0, 0}},  {{0x04, 0x00}, {1, 0, 1, 0, 0, 0, 0}},
      {{0x02, 0x00}, {1, 0, 0, 1, 0, 0, 0}},  {{0x01, 0x00}, {1, 0, 0, 0, 1, 0, 0}},
      {{0x00, 0xF0}, {1, 0, 0, 0, 0, 15, 0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(hex(c.data));
    ScriptedDriver bmc = {get_step(29, c.data)};
    Guarded<IpmiSerialTerminalConfig> t;
    EXPECT_EQ(ipmi_get_serial_terminal_mode_config(handle, kChannel, &t), 0u);
    EXPECT_EQ(c.terminal, (std::vector<uint32_t>{t->reserved_mode, t->line_editing, t->delete_control, t->echo,
                                                 t->handshake, t->output_newline, t->input_newline}));
  }
}

// What the rows with values beyond a field's width show is part of the interface.
TEST(serial, parameters_are_written) {
  const auto mode = [](uint8_t flag, uint8_t value) {
    return [=](IpmiHandle* h) { return ipmi_set_serial_connection_mode(h, kChannel, flag, value); };
  };
  const auto basic = [](IpmiSerialBasicConfig config) {
    return [=](IpmiHandle* h) { return ipmi_set_serial_basic_config(h, kChannel, &config); };
  };
  const auto terminal = [](IpmiSerialTerminalConfig config) {
    return [=](IpmiHandle* h) { return ipmi_set_serial_terminal_mode_config(h, kChannel, &config); };
  };
  IpmiLanAuthEnables enables = {};
  std::memcpy(&enables.levels, "\xE1\xE2\xE4\xF0", 4);
  enables.oem = 0xFF;
  check_writes(kTransport, 0x10, 4,
               {{"enables",
                 {{kChannel, 2, 0xE1, 0xE2, 0xE4, 0xF0, 0xFF}},
                 [=](IpmiHandle* h) { return ipmi_set_serial_authentication_type_enables(h, kChannel, &enables); }},
                {"modem", {{kChannel, 3, 0x07}}, mode(0, 7)},
                {"direct, wide flag", {{kChannel, 3, 0x80}}, mode(3, 0)},
                {"wide flag without bit 0", {{kChannel, 3, 0x02}}, mode(0xFE, 2)},
                {"slowest", {{kChannel, 7, 0x80, 6}}, basic({2, 6, 0})},
                {"fastest", {{kChannel, 7, 0x60, 10}}, basic({1, 10, 1})},
                {"dtr 2", {{kChannel, 7, 0x40, 8}}, basic({0, 8, 2})},
                {"dtr 4", {{kChannel, 7, 0x80, 8}}, basic({0, 8, 4})},
                {"dtr 8", {{kChannel, 7, 0x00, 8}}, basic({0, 8, 8})},
                {"terminal mode", {{kChannel, 29, 0x80, 0x52}}, terminal({2, 0, 0, 0, 0, 5, 2})},
                {"terminal mode, flags", {{kChannel, 29, 0x67, 0x00}}, terminal({1, 1, 1, 1, 1, 0, 0})},
                {"line editing 6", {{kChannel, 29, 0xC0, 0x00}}, terminal({0, 6, 0, 0, 0, 0, 0})},
                {"line editing 8", {{kChannel, 29, 0x00, 0x00}}, terminal({0, 8, 0, 0, 0, 0, 0})},
                {"wide echo", {{kChannel, 29, 0xFE, 0x00}}, terminal({0, 0, 0, 0xFF, 0, 0, 0})},
                {"wide handshake", {{kChannel, 29, 0xFF, 0x00}}, terminal({0, 0, 0, 0, 0xFF, 0, 0})}});
  check_invalid({mode(0, 8), mode(1, 0xFF), basic({0, 5, 0}), basic({0, 11, 0}), basic({3, 6, 0}), basic({0, 0x10A, 0}),
                 terminal({3, 0, 0, 0, 0, 0, 0}), terminal({0, 0, 2, 0, 0, 0, 0}), terminal({0, 0, 0, 0, 0, 6, 0}),
                 terminal({0, 0, 0, 0, 0, 0, 3}),
                 [](IpmiHandle* h) { return ipmi_set_serial_basic_config(h, kChannel, nullptr); },
                 [](IpmiHandle* h) { return ipmi_set_serial_terminal_mode_config(h, kChannel, nullptr); },
                 [](IpmiHandle* h) { return ipmi_set_serial_authentication_type_enables(h, kChannel, nullptr); },
                 [](IpmiHandle* h) { return ipmi_set_system_serial_port_association(h, kChannel, nullptr); },
                 [](IpmiHandle* h) {
                   uint8_t flag;
                   return ipmi_get_serial_connection_mode(h, kChannel, &flag, nullptr);
                 }});
}

// The high nibble of byte 2 is read in place and written as a value: part of the interface.
TEST(serial, port_association_is_asymmetric) {
  const struct {
    Bytes data;
    const char* read;
  } reads[] = {{{0xF1, 0x53, 0x04}, "f1 03 50 04 00 00"},
               {{0x00, 0xF0, 0x4F}, "00 00 f0 0f 01 00"},
               {{0x00, 0x0F, 0xB0}, "00 0f 00 00 00 01"}};
  TestHandle handle;
  for (const auto& c : reads) {
    ScriptedDriver bmc = {get_step(51, c.data)};
    Guarded<uint8_t[6]> association;
    EXPECT_EQ(ipmi_get_system_serial_port_association(handle, kChannel, *association), 0u);
    EXPECT_EQ(hex(*association, 6), c.read);
  }
  const auto write = [](Bytes bytes) {
    return [=](IpmiHandle* h) { return ipmi_set_system_serial_port_association(h, kChannel, bytes.data()); };
  };
  check_writes(kTransport, 0x10, 4,
               {{"values", {{kChannel, 51, 0xF1, 0x53, 0xC4}}, write({0xF1, 3, 5, 4, 1, 1})},
                {"the nibble as it was read is lost", {{kChannel, 51, 0, 0x03, 0}}, write({0, 3, 0x50, 0, 0, 0})},
                {"wide [1]", {{kChannel, 51, 0, 0xF3, 0}}, write({0, 0xF3, 0, 0, 0, 0})},
                {"wide [2]", {{kChannel, 51, 0, 0xF0, 0}}, write({0, 0, 0xFF, 0, 0, 0})},
                {"wide [3]", {{kChannel, 51, 0, 0, 0xFF}}, write({0, 0, 0, 0xFF, 0, 0})},
                {"wide [4]", {{kChannel, 51, 0, 0, 0x80}}, write({0, 0, 0, 0, 0xFE, 0})},
                {"wide [5]", {{kChannel, 51, 0, 0, 0x00}}, write({0, 0, 0, 0, 0, 0xFE})}});
}

TEST(serial, mux) {
  const struct {
    uint8_t answer;
    std::vector<uint32_t> flags;
  } cases[] = {{0x80, {1, 0, 0, 0, 0, 0}}, {0x40, {0, 1, 0, 0, 0, 0}}, {0x30, {0, 0, 0, 0, 0, 0}},
               {0x08, {0, 0, 1, 0, 0, 0}}, {0x04, {0, 0, 0, 1, 0, 0}}, {0x02, {0, 0, 0, 0, 1, 0}},
               {0x01, {0, 0, 0, 0, 0, 1}}};
  TestHandle handle;
  for (const auto& c : cases) {
    ScriptedDriver bmc = {
        {.net_fn = kTransport, .cmd = 0x12, .request = {kChannel, 0xF2}, .reply = ok({c.answer}), .kind = 4}};
    Guarded<IpmiSerialMuxStatus> s;
    EXPECT_EQ(ipmi_set_serial_mux(handle, kChannel, 0xF2, &s), 0u);
    EXPECT_EQ(c.flags, (std::vector<uint32_t>{s->set_to_bmc, s->to_bmc_blocked, s->alert_in_progress,
                                              s->messaging_active, s->request_accepted, s->setting}));
  }
  check_failures<IpmiSerialMuxStatus>(
      kTransport, 0x12, {kChannel, 1}, 1, 0x200000FF, OnFailure::Untouched,
      [](IpmiHandle* h, IpmiSerialMuxStatus* out) { return ipmi_set_serial_mux(h, kChannel, 1, out); });
}

TEST(serial, routing_mux_and_kest_mux) {
  TestHandle handle;
  const Bytes routing = {kChannel, 0xF3, 0xA5};
  ScriptedDriver bmc = {
      {.net_fn = kTransport, .cmd = 0x1C, .request = routing, .reply = ok({0xFA}), .kind = 4},
      {.net_fn = 0x30, .cmd = 0x20, .request = {0xF1, 0xF2}, .reply = ok({0xE1, 0xE2, 0xE3}), .kind = 4},
      {.net_fn = 0x30, .cmd = 0x20, .request = {0xF1, 0xF2}, .reply = ok({}), .kind = 4},
      {.net_fn = 0x30, .cmd = 0x20, .request = {0xF1, 0xF2}, .reply = ok(counting(8)), .kind = 4},
      {.net_fn = 0x30, .cmd = 0x20, .request = {0xF1, 0xF2}, .reply = {0xC1}, .kind = 4}};
  Guarded<uint32_t> value;  // filled with a5: the low byte is sent
  EXPECT_EQ(ipmi_set_serial_routing_mux(handle, kChannel, 0xF3, &value), 0u);
  EXPECT_EQ(*value, 0x0Au);
  Guarded<uint32_t[2]> out;
  EXPECT_EQ(ipmi_kest_set_mux(handle, 0xF1, 0xF2, *out), 0u);
  EXPECT_EQ((*out)[0], 0xE1u);
  EXPECT_EQ((*out)[1], 0xE2u);
  for (const uint32_t status : {0u, 0u, 0x200000C1u})
    EXPECT_EQ(ipmi_kest_set_mux(handle, 0xF1, 0xF2, nullptr), status) << "without output the answer is not looked at";
  EXPECT_EQ(ipmi_kest_set_mux(nullptr, 0, 0, nullptr), 0x20000214u);
}

TEST(serial, mux_failures) {
  check_failures<uint32_t>(
      kTransport, 0x1C, {kChannel, 1, 0xA5}, 1, 0x200000FF, OnFailure::Untouched,
      [](IpmiHandle* h, uint32_t* out) { return ipmi_set_serial_routing_mux(h, kChannel, 1, out); });
  TestHandle handle;
  for (const auto& [reply, status] :
       {std::pair<Bytes, uint32_t>{ok({}), 0x200000FF}, {ok({1}), 0x200000FF}, {{0xC1, 1, 2}, 0x200000C1}}) {
    ScriptedDriver bmc = {{.net_fn = 0x30, .cmd = 0x20, .request = {1, 2}, .reply = reply}};
    Guarded<uint32_t[2]> out;
    EXPECT_EQ(ipmi_kest_set_mux(handle, 1, 2, *out), status);
    EXPECT_TRUE(out.untouched());
  }
}

}  // namespace
