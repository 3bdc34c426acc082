#include <gtest/gtest.h>

#include "lumipmi/boot.h"
#include "support/config_cases.hpp"

namespace {

constexpr uint8_t kChassis = 0x00;

std::vector<uint32_t> fields(const IpmiBootFlags& f) {
  return {f.valid,
          f.persistent,
          f.boot_type,
          f.cmos_clear,
          f.lock_keyboard,
          f.boot_device,
          f.screen_blank,
          f.lock_reset_button,
          f.lock_power_button,
          f.firmware_verbosity,
          f.force_progress_traps,
          f.password_bypass,
          f.lock_sleep_button,
          f.console_redirection,
          f.bios_shared_mode_override,
          f.bios_mux_override};
}

TEST(boot, each_bit_of_the_flags_belongs_to_one_field) {
  constexpr int kNone = -1;
  const struct {
    int field;
    uint32_t value;
  } expected[5][8] = {
      {{0, 1}, {1, 1}, {2, 1}, {kNone, 0}, {kNone, 0}, {kNone, 0}, {kNone, 0}, {kNone, 0}},  // bits 7 to 0
      {{3, 1}, {4, 1}, {5, 8}, {5, 4}, {5, 2}, {5, 1}, {6, 1}, {7, 1}},
      {{8, 1}, {9, 2}, {9, 1}, {10, 1}, {11, 1}, {12, 1}, {13, 2}, {13, 1}},
      {{kNone, 0}, {kNone, 0}, {kNone, 0}, {kNone, 0}, {14, 1}, {15, 4}, {15, 2}, {15, 1}},
      {{kNone, 0}, {kNone, 0}, {kNone, 0}, {kNone, 0}, {kNone, 0}, {kNone, 0}, {kNone, 0}, {kNone, 0}},
  };
  TestHandle handle;
  for (size_t byte = 0; byte < 5; ++byte) {
    for (int bit = 0; bit < 8; ++bit) {
      SCOPED_TRACE("byte " + std::to_string(byte + 1) + " bit " + std::to_string(bit));
      Bytes data = {0x01, 0x05, 0, 0, 0, 0, 0};
      data[2 + byte] = static_cast<uint8_t>(1 << bit);
      ScriptedDriver bmc = {{.net_fn = kChassis, .cmd = 0x09, .request = {5, 0, 0}, .reply = ok(data), .kind = 3}};
      Guarded<IpmiBootFlags> flags;
      ASSERT_EQ(ipmi_get_boot_flags(handle, &flags), 0u);
      std::vector<uint32_t> all(16);
      const auto& e = expected[byte][7 - bit];
      if (e.field != kNone) all[static_cast<size_t>(e.field)] = e.value;
      EXPECT_EQ(fields(*flags), all);
    }
  }
}

// A field at its highest value spills into the higher bits of its byte, as wide as it stands here.
TEST(boot, flags_are_written_as_wide_as_they_are) {
  struct Field {
    const char* name;
    uint8_t IpmiBootFlags::*byte;
    uint32_t IpmiBootFlags::*number;
    Bytes one;
    Bytes highest;
  };
  const Field cases[] = {
      {"valid", &IpmiBootFlags::valid, nullptr, {0x80, 0, 0, 0}, {0x80, 0, 0, 0}},
      {"persistent", &IpmiBootFlags::persistent, nullptr, {0x40, 0, 0, 0}, {0xC0, 0, 0, 0}},
      {"boot_type", nullptr, &IpmiBootFlags::boot_type, {0x20, 0, 0, 0}, {0xE0, 0, 0, 0}},
      {"cmos_clear", &IpmiBootFlags::cmos_clear, nullptr, {0, 0x80, 0, 0}, {0, 0x80, 0, 0}},
      {"lock_keyboard", &IpmiBootFlags::lock_keyboard, nullptr, {0, 0x40, 0, 0}, {0, 0xC0, 0, 0}},
      {"boot_device", nullptr, &IpmiBootFlags::boot_device, {0, 0x04, 0, 0}, {0, 0xFC, 0, 0}},
      {"screen_blank", &IpmiBootFlags::screen_blank, nullptr, {0, 0x02, 0, 0}, {0, 0xFE, 0, 0}},
      {"lock_reset_button", &IpmiBootFlags::lock_reset_button, nullptr, {0, 0x01, 0, 0}, {0, 0xFF, 0, 0}},
      {"lock_power_button", &IpmiBootFlags::lock_power_button, nullptr, {0, 0, 0x80, 0}, {0, 0, 0x80, 0}},
      {"firmware_verbosity", nullptr, &IpmiBootFlags::firmware_verbosity, {0, 0, 0x20, 0}, {0, 0, 0xE0, 0}},
      {"force_progress_traps", &IpmiBootFlags::force_progress_traps, nullptr, {0, 0, 0x10, 0}, {0, 0, 0xF0, 0}},
      {"password_bypass", &IpmiBootFlags::password_bypass, nullptr, {0, 0, 0x08, 0}, {0, 0, 0xF8, 0}},
      {"lock_sleep_button", &IpmiBootFlags::lock_sleep_button, nullptr, {0, 0, 0x04, 0}, {0, 0, 0xFC, 0}},
      {"console_redirection", nullptr, &IpmiBootFlags::console_redirection, {0, 0, 0x01, 0}, {0, 0, 0xFF, 0}},
      {"shared_mode", &IpmiBootFlags::bios_shared_mode_override, nullptr, {0, 0, 0, 0x08}, {0, 0, 0, 0xF8}},
      {"bios_mux_override", nullptr, &IpmiBootFlags::bios_mux_override, {0, 0, 0, 0x01}, {0, 0, 0, 0x07}},
  };
  std::vector<ConfigWrite> writes;
  for (const Field& field : cases) {
    for (const uint32_t value : {1u, 0xFFFFFFFFu}) {
      IpmiBootFlags flags = {};
      if (field.byte != nullptr)
        flags.*field.byte = static_cast<uint8_t>(value);
      else
        flags.*field.number = value;
      Bytes request = value == 1 ? field.one : field.highest;
      request.insert(request.begin(), 0x05);
      request.push_back(0);  // device instance
      writes.push_back({field.name, {request}, [flags](IpmiHandle* h) { return ipmi_set_boot_flags(h, &flags); }});
    }
  }
  check_writes(kChassis, 0x08, 3, writes);
  check_invalid({[](IpmiHandle* h) { return ipmi_set_boot_flags(h, nullptr); }});
}

TEST(boot, other_options) {
  check_writes(
      kChassis, 0x08, 3,
      {{"valid bit clearing", {{3, 0xE5}}, [](auto h) { return ipmi_set_boot_flag_valid_bit_clearing(h, 0xE5); }},
       {"bios mux", {{0x60, 0xE5}}, [](auto h) { return ipmi_set_kest_bios_mux(h, 0xE5); }},
       {"marked invalid", {{0x85, 9}}, [](auto h) { return ipmi_chassis_set_system_boot_options(h, 3, 5, 1, "\t"); }},
       {"bit 0 marks", {{0x05, 9}}, [](auto h) { return ipmi_chassis_set_system_boot_options(h, 2, 5, 1, "\t"); }}});
  TestHandle handle;
  ScriptedDriver bmc = {
      {.net_fn = kChassis, .cmd = 0x09, .request = {3, 0, 0}, .reply = ok({1, 3, 0xE5}), .kind = 3},
      {.net_fn = kChassis, .cmd = 0x09, .request = {0x60, 0, 0}, .reply = ok({1, 0x60, 0xD4}), .kind = 3}};
  Guarded<uint32_t> value;
  EXPECT_EQ(ipmi_get_boot_flag_valid_bit_clearing(handle, &value), 0u);
  EXPECT_EQ(*value, 0xE5u);
  EXPECT_EQ(ipmi_get_kest_bios_mux(handle, &value), 0u);
  EXPECT_EQ(*value, 0xD4u);
}

}  // namespace
