#include "lumipmi/system_info.h"

#include <gtest/gtest.h>

#include <clocale>

#include "support/guarded_bytes.hpp"
#include "support/scripted_driver.hpp"

namespace {

using lumi::test::GuardedBytes;

constexpr uint8_t kApp = 0x06;

Step block_step(uint8_t parameter, size_t set, Bytes block) {
  block.insert(block.begin(), {0x11, static_cast<uint8_t>(set)});  // revision, set selector
  return {.net_fn = kApp,
          .cmd = 0x59,
          .request = {0, parameter, static_cast<uint8_t>(set), 0},
          .reply = ok(block),
          .kind = 2};
}

// The blocks of a string, all 16 bytes long; what is left of the last is filled with 0xEE.
std::vector<Step> blocks(uint8_t parameter, uint8_t encoding, const Bytes& string) {
  Bytes all = {encoding, static_cast<uint8_t>(string.size())};
  all.insert(all.end(), string.begin(), string.end());
  all.resize((all.size() + 15) / 16 * 16, 0xEE);
  std::vector<Step> steps;
  for (size_t at = 0; at < all.size(); at += 16)
    steps.push_back(block_step(parameter, at / 16, Bytes(&all[at], &all[at] + 16)));
  return steps;
}

TEST(system_info, blocks_are_joined) {
  TestHandle handle;
  for (const size_t length : {0u, 1u, 13u, 14u, 15u, 30u, 31u, 253u, 254u, 255u}) {
    for (const size_t room : {length + 1, length + 2, length + 3, size_t{0xFFFF}}) {
      SCOPED_TRACE("length " + std::to_string(length) + " room " + std::to_string(room));
      std::vector<Step> steps = blocks(9, 0x42, counting(length));
      const bool fits = room >= length + 2;
      if (!fits) steps.resize(1);
      ScriptedDriver bmc(steps);
      GuardedBytes out(room, 0xA5);
      EXPECT_EQ(ipmi_get_system_info_multi_blocks_string(handle, 9, out.data(), static_cast<uint16_t>(room)),
                fits ? 0u : 0x20000212u);
      Bytes expected(room);
      if (fits) {
        expected[0] = 0x42;
        expected[1] = static_cast<uint8_t>(length);
        for (size_t i = 0; i < length; ++i) expected[2 + i] = static_cast<uint8_t>(1 + i);
      }
      EXPECT_EQ(Bytes(out.data(), out.data() + room), expected);
    }
  }
}

TEST(system_info, blocks_that_are_not_as_they_should_be) {
  const Bytes sixteen = counting(16, 0x21);
  const struct {
    const char* name;
    std::vector<Step> steps;
    uint32_t status;
    const char* out;
  } cases[] = {
      {"no block", {block_step(1, 0, {})}, 0, "00 00 00 00 00 00"},
      {"no length", {block_step(1, 0, {7})}, 0, "07 00 00 00 00 00"},
      {"bytes that do not come are zero", {block_step(1, 0, {7, 3, 0x31})}, 0, "07 03 31 00 00 00"},
      {"a block too long", {block_step(1, 0, counting(17))}, 0x20000212, "00 00 00 00 00 00"},
      {"no parameter",
       {{.net_fn = kApp, .cmd = 0x59, .request = {0, 1, 0, 0}, .reply = {0x80}}},
       0x20000113,
       "00 00 00 00 00 00"},
      {"a set selector that is another",
       {{.net_fn = kApp, .cmd = 0x59, .request = {0, 1, 0, 0}, .reply = ok({0x11, 9, 7, 1, 0x31})}},
       0,
       "07 01 31 00 00 00"},
      {"a later block is refused",
       {block_step(1, 0, {7, 15, 1, 2, 3, 4, 5}),
        {.net_fn = kApp, .cmd = 0x59, .request = {0, 1, 1, 0}, .reply = {0xC9}}},
       0x200000C9,
       "07 0f 01 02 03 04"},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedDriver bmc(c.steps);
    GuardedBytes out(17, 0xA5);
    EXPECT_EQ(ipmi_get_system_info_multi_blocks_string(handle, 1, out.data(), 17), c.status);
    EXPECT_EQ(hex(out.data(), 6), c.out);
    EXPECT_EQ(out.data()[16], 0);
  }
  ScriptedDriver silent(std::vector<Step>{});
  uint8_t byte = 0;
  EXPECT_EQ(ipmi_get_system_info_multi_blocks_string(nullptr, 1, &byte, 1), 0x20000214u);
  EXPECT_EQ(ipmi_get_system_info_multi_blocks_string(handle, 1, nullptr, 1), 0x20000214u);
}

// Any lengths, whatever the room: nothing outside it is written, and the reading comes to an end.
TEST(system_info, hostile_lengths) {
  TestHandle handle;
  for (size_t room = 0; room <= 300; ++room) {
    for (const uint8_t length : Bytes{0, 14, 15, 200, 255}) {
      ScriptedDriver bmc([length](uint8_t, uint8_t, const Bytes&) {
        Bytes reply = ok(Bytes(18, 0xFF));
        reply[4] = length;
        return reply;
      });
      GuardedBytes out(room, 0xA5);
      EXPECT_EQ(ipmi_get_system_info_multi_blocks_string(handle, 1, out.data(), static_cast<uint16_t>(room)),
                length + 1u < room ? 0u : 0x20000212u);
      EXPECT_LE(bmc.sent(), 17u);
    }
  }
}

TEST(system_info, strings) {
  const auto bytes = [](std::string text) { return Bytes(text.begin(), text.end()); };
  const std::string longest(254, 'x');
  const struct {
    const char* name;
    uint8_t encoding;
    Bytes string;
    uint16_t size;
    uint32_t status;
    std::string text;  // what is written, terminator included if there is one
  } cases[] = {
      {"latin-1", 0, bytes("BMC"), 4, 0, std::string("BMC", 4)},
      {"reserved bits of the encoding", 0xF0, bytes("BMC"), 4, 0, std::string("BMC", 4)},
      {"no room for the terminator", 0, bytes("BMC"), 3, 0x20000212, ""},
      {"empty", 0, {}, 1, 0, std::string(1, '\0')},
      {"no room at all", 0, {}, 0, 0x20000212, ""},
      {"two blocks", 0, bytes("a name of twenty-two b"), 300, 0, std::string("a name of twenty-two b", 23)},
      {"longest", 0, bytes(longest), 255, 0, longest + '\0'},
      {"too long", 0, Bytes(255, 'x'), 300, 0x20000212, ""},
      {"ends at a zero", 0, {'a', 0, 'b'}, 4, 0, std::string("a", 2)},
      // Part of the interface: UTF-8 is not copied.
      {"utf-8", 1, bytes("BMC"), 8, 0, ""},
      {"unknown", 3, bytes("BMC"), 8, 0, ""},
      {"unknown too", 8, bytes("BMC"), 8, 0, ""},
      // Part of the interface: four bytes a character, in the order of the machine.
      {"wide", 2, {'B', 0, 0, 0, 'M', 0, 0, 0}, 8, 0, std::string("BM", 3)},
      {"wide, cut without a terminator", 0xF2, {'B', 0, 0, 0, 'M', 0, 0, 0}, 2, 0, "BM"},
      {"wide, no room at all", 2, {'B', 0, 0, 0}, 0, 0, ""},
      {"wide, two bytes a character", 2, {'B', 0, 'M', 0}, 8, 0, ""},
  };
  ASSERT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C");
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<Step> steps = blocks(7, c.encoding, c.string);
    if (c.string.size() == 255) steps.resize(1);
    ScriptedDriver bmc(steps);
    GuardedBytes text(c.size, 0xA5);
    EXPECT_EQ(ipmi_get_system_info_string(handle, 7, text.text(), c.size), c.status);
    std::string expected = c.text;
    expected.resize(c.size, '\xA5');
    EXPECT_EQ(text.content(), expected);
  }
  // 63 characters and a half, all of them in use.
  Bytes wide(254);
  for (size_t i = 0; i < wide.size(); i += 4) wide[i] = 'w';
  ScriptedDriver bmc(blocks(7, 2, wide));
  GuardedBytes text(300, 0xA5);
  EXPECT_EQ(ipmi_get_system_info_string(handle, 7, text.text(), 300), 0u);
  EXPECT_STREQ(text.text(), std::string(64, 'w').c_str());
}

TEST(system_info, named_parameters) {
  const struct {
    uint32_t (*get)(IpmiHandle*, char*, uint16_t);
    uint8_t parameter;
  } cases[] = {{ipmi_get_sysinfo_system_firmware_version, 1},
               {ipmi_get_sysinfo_system_name, 2},
               {ipmi_get_sysinfo_primary_operating_system_name, 4},  // part of the interface, as is the next
               {ipmi_get_sysinfo_present_operating_system_name, 5}};
  TestHandle handle;
  for (const auto& c : cases) {
    std::vector<Step> steps = blocks(c.parameter, 0, {'x'});
    steps.push_back({.net_fn = kApp, .cmd = 0x59, .request = {0, c.parameter, 0, 0}, .reply = {0x80}});
    ScriptedDriver bmc(steps);
    char text[2] = {};
    EXPECT_EQ(c.get(handle, text, 2), 0u);
    EXPECT_STREQ(text, "x");
    EXPECT_EQ(c.get(handle, text, 2), 0x20000113u);
    EXPECT_EQ(c.get(nullptr, text, 2), 0x20000214u);
    EXPECT_EQ(c.get(handle, nullptr, 2), 0x20000214u);
  }
}

}  // namespace
