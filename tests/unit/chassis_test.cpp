#include "lumipmi/chassis.h"

#include <gtest/gtest.h>

#include "support/scripted_driver.hpp"

namespace {

constexpr uint8_t kChassis = 0x00;
constexpr uint32_t kShort = 0x200000FF;
using Caps = uint8_t[6];

TEST(chassis, what_all_queries_share) {
  check_query<Caps>({.net_fn = kChassis, .cmd = 0x00, .kind = 2}, 5, kShort, OnFailure::Untouched, {},
                    [](IpmiHandle* handle, Caps* out) {
                      return ipmi_chassis_get_chassis_capabilities(handle, out ? *out : nullptr);
                    });
  check_query<IpmiChassisStatus>({.net_fn = kChassis, .cmd = 0x01, .kind = 2}, 3, kShort, OnFailure::Untouched, {},
                                 ipmi_chassis_get_chassis_status);
  check_query<IpmiRestartCause>({.net_fn = kChassis, .cmd = 0x07, .kind = 2}, 2, kShort, OnFailure::Untouched, {},
                                ipmi_chassis_get_system_restart_cause);
  check_query<IpmiPohCounter>({.net_fn = kChassis, .cmd = 0x0F, .kind = 2}, 5, kShort, OnFailure::Untouched, {},
                              [](IpmiHandle* handle, IpmiPohCounter* out) -> uint32_t {
                                if (out == nullptr) return 0x20000214;  // the counter is not tested for null
                                return ipmi_chassis_get_poh_counter(handle, out);
                              });
}

TEST(chassis, commands_without_data) {
  const struct {
    uint8_t cmd;
    Bytes request;
    uint32_t kind;
    std::function<uint32_t(IpmiHandle*)> call;
  } cases[] = {
      {0x02, {0x05}, 3, [](IpmiHandle* handle) { return ipmi_chassis_control(handle, 5); }},
      {0x02, {0xFF}, 3, [](IpmiHandle* handle) { return ipmi_chassis_control(handle, 0xFF); }},
      {0x03, {}, 3, ipmi_chassis_reset},
      {0x04,
       {},
       3,
       [](IpmiHandle* handle) {
         const IpmiChassisIdentify identify = {0, 0xE1, 0xE2};
         return ipmi_chassis_identify(handle, &identify);
       }},
      {0x04,
       {0xE1},
       3,
       [](IpmiHandle* handle) {
         const IpmiChassisIdentify identify = {1, 0xE1, 0xE2};
         return ipmi_chassis_identify(handle, &identify);
       }},
      {0x04,
       {0xE1, 0xE2},
       3,
       [](IpmiHandle* handle) {
         const IpmiChassisIdentify identify = {2, 0xE1, 0xE2};
         return ipmi_chassis_identify(handle, &identify);
       }},
      {0x05,
       {0x03, 0xE1, 0xE2, 0xE3, 0xE4},
       4,
       [](IpmiHandle* handle) {
         const Caps caps = {0xFF, 0xE1, 0xE2, 0xE3, 0xE4, 0};
         return ipmi_chassis_set_chassis_capabilities(handle, caps);
       }},
      {0x05,
       {0x01, 0xE1, 0xE2, 0xE3, 0xE4, 0xE5},
       4,
       [](IpmiHandle* handle) {
         const Caps caps = {0x05, 0xE1, 0xE2, 0xE3, 0xE4, 0xE5};
         return ipmi_chassis_set_chassis_capabilities(handle, caps);
       }},
      {0x0A, {0x05}, 4, [](IpmiHandle* handle) { return ipmi_chassis_set_front_panel_enables(handle, 0xF5); }},
      {0x0A, {0x0F}, 4, [](IpmiHandle* handle) { return ipmi_chassis_set_front_panel_enables(handle, 0xFF); }},
      {0x0B, {0xFE}, 4, [](IpmiHandle* handle) { return ipmi_chassis_set_power_cycle_interval(handle, 0xFE); }},
  };
  for (const auto& c : cases)
    check_command({.net_fn = kChassis, .cmd = c.cmd, .request = c.request, .kind = c.kind}, {}, c.call);
}

TEST(chassis, arguments_are_checked) {
  TestHandle handle;
  ScriptedDriver silent(std::vector<Step>{});
  EXPECT_EQ(ipmi_chassis_identify(handle, nullptr), 0x20000214u);
  EXPECT_EQ(ipmi_chassis_set_chassis_capabilities(handle, nullptr), 0x20000214u);
  for (const uint8_t length : Bytes{3, 0xFF}) {
    const IpmiChassisIdentify identify = {length, 1, 1};
    EXPECT_EQ(ipmi_chassis_identify(handle, &identify), 0x20000214u) << "no bytes beyond the two";
  }
}

// The BMC answers with the policies that it supports; they have room and go nowhere.
TEST(chassis, restore_policy_takes_any_answer) {
  TestHandle handle;
  for (const size_t size : {0u, 1u, 254u}) {
    ScriptedDriver bmc = {{.net_fn = kChassis, .cmd = 0x06, .request = {0xFE}, .reply = ok(counting(size)), .kind = 3}};
    EXPECT_EQ(ipmi_chassis_set_power_restore_policy(handle, 0xFE), 0u);
  }
  check_completions({}, [](IpmiHandle* h) { return ipmi_chassis_set_power_restore_policy(h, 0); });
  ScriptedDriver silent(std::vector<Step>{});
  EXPECT_EQ(ipmi_chassis_set_power_restore_policy(nullptr, 0), 0x20000214u);
}

TEST(chassis, capabilities) {
  TestHandle handle;
  for (const auto& [size, caps] :
       {std::pair<size_t, const char*>{5, "f1 f2 f3 f4 f5 20"}, {6, "f1 f2 f3 f4 f5 f6"}, {7, "f1 f2 f3 f4 f5 f6"}}) {
    ScriptedDriver bmc = {{.net_fn = kChassis, .cmd = 0x00, .reply = ok(counting(size, 0xF1)), .kind = 2}};
    Guarded<Caps> out;
    EXPECT_EQ(ipmi_chassis_get_chassis_capabilities(handle, *out), 0u);
    EXPECT_EQ(hex(*out, 6), caps);
  }
}

TEST(chassis, status) {
  const struct {
    Bytes reply;
    IpmiChassisStatus expected;  // policy, power, event, misc, allowed, disabled
  } cases[] = {
      {{0xA1, 0xF2, 0xF3}, {1, 1, 0xF2, 0xF3, 0, 0}},
      {{0x5E, 0x81, 0x42, 0x5A}, {2, 0x1E, 0x81, 0x42, 5, 10}},
      {{0xE0, 0x00, 0x00, 0xF0, 0xEE}, {3, 0, 0, 0, 15, 0}},
      {{0x9F, 0x00, 0x00, 0x0F}, {0, 0x1F, 0, 0, 0, 15}},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(hex(c.reply));
    ScriptedDriver bmc = {{.net_fn = kChassis, .cmd = 0x01, .reply = ok(c.reply), .kind = 2}};
    Guarded<IpmiChassisStatus> status;
    ASSERT_EQ(ipmi_chassis_get_chassis_status(handle, &status), 0u);
    EXPECT_EQ(status->power_restore_policy, c.expected.power_restore_policy);
    EXPECT_EQ(status->power_state, c.expected.power_state);
    EXPECT_EQ(status->last_power_event, c.expected.last_power_event);
    EXPECT_EQ(status->misc_chassis_state, c.expected.misc_chassis_state);
    EXPECT_EQ(status->front_panel_disable_allowed, c.expected.front_panel_disable_allowed);
    EXPECT_EQ(status->front_panel_disabled, c.expected.front_panel_disabled);
  }
}

TEST(chassis, restart_cause_and_power_on_hours) {
  TestHandle handle;
  ScriptedDriver bmc = {
      {.net_fn = kChassis, .cmd = 0x07, .reply = ok({0xFB, 0xF7, 0xEE})},
      {.net_fn = kChassis, .cmd = 0x0F, .reply = ok({0x3C, 0x10, 0x00, 0x00, 0x00})},
      {.net_fn = kChassis, .cmd = 0x0F, .reply = ok({0xFF, 0x81, 0x82, 0x83, 0x84, 0xEE})},
  };
  Guarded<IpmiRestartCause> cause;
  EXPECT_EQ(ipmi_chassis_get_system_restart_cause(handle, &cause), 0u);
  EXPECT_EQ(cause->restart_cause, 0x0Bu);
  EXPECT_EQ(cause->channel, 0xF7);
  Guarded<IpmiPohCounter> counter;
  EXPECT_EQ(ipmi_chassis_get_poh_counter(handle, &counter), 0u);
  EXPECT_EQ(counter->minutes_per_count, 60);
  EXPECT_EQ(counter->counter, 16u);
  EXPECT_EQ(ipmi_chassis_get_poh_counter(handle, &counter), 0u);
  EXPECT_EQ(counter->minutes_per_count, 255);
  EXPECT_EQ(counter->counter, 0x84838281u);
}

}  // namespace
