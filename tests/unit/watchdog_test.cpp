#include "lumipmi/watchdog.h"

#include <gtest/gtest.h>

#include "support/scripted_driver.hpp"

namespace {

constexpr uint8_t kApp = 0x06;

TEST(watchdog, what_all_commands_share) {
  check_query<IpmiWatchdogConfig>({.net_fn = kApp, .cmd = 0x25, .kind = 2}, 8, 0x200000FF, OnFailure::Untouched, {},
                                  ipmi_app_get_watchdog_timer);
  check_command({.net_fn = kApp, .cmd = 0x22, .kind = 3}, {{0x80, 0x2000011A}}, ipmi_app_reset_watchdog_timer);
  const IpmiWatchdogConfig config = {};
  check_command({.net_fn = kApp, .cmd = 0x24, .request = Bytes(6), .kind = 3}, {},
                [&](IpmiHandle* handle) { return ipmi_app_set_watchdog_timer(handle, &config); });
  TestHandle handle;
  ScriptedDriver silent(std::vector<Step>{});
  EXPECT_EQ(ipmi_app_set_watchdog_timer(handle, nullptr), 0x20000214u);
}

TEST(watchdog, is_read) {
  const struct {
    Bytes reply;
    IpmiWatchdogConfig expected;  // don't log, running, use, interrupt, action, interval, flags, initial, present
  } cases[] = {
      {{0xBC, 0x2B, 0x91, 0xF2, 0x34, 0x12, 0x78, 0x56}, {1, 0, 4, 2, 3, 0x91, 0xF2, 0x1234, 0x5678}},
      {{0x7F, 0xDC, 1, 2, 3, 4, 5, 6, 0xEE}, {0, 1, 7, 5, 4, 1, 2, 0x0403, 0x0605}},
      {{0x3A, 0x8F, 0, 0, 0, 0, 0, 0}, {0, 0, 2, 0, 7, 0, 0, 0, 0}},
      {{0xC1, 0x78, 0, 0, 0, 0, 0, 0}, {1, 1, 1, 7, 0, 0, 0, 0, 0}},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(hex(c.reply));
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x25, .reply = ok(c.reply)}};
    Guarded<IpmiWatchdogConfig> config;
    ASSERT_EQ(ipmi_app_get_watchdog_timer(handle, &config), 0u);
    EXPECT_EQ(config->dontLog, c.expected.dontLog);
    EXPECT_EQ(config->timerRunning, c.expected.timerRunning);
    EXPECT_EQ(config->timerUse, c.expected.timerUse);
    EXPECT_EQ(config->preTimeoutInterrupt, c.expected.preTimeoutInterrupt);
    EXPECT_EQ(config->timeoutAction, c.expected.timeoutAction);
    EXPECT_EQ(config->preTimeoutInterval, c.expected.preTimeoutInterval);
    EXPECT_EQ(config->expirationFlags, c.expected.expirationFlags);
    EXPECT_EQ(config->initialCountdown, c.expected.initialCountdown);
    EXPECT_EQ(config->presentCountdown, c.expected.presentCountdown);
  }
}

TEST(watchdog, is_set_with_fields_that_spill) {
  const struct {
    IpmiWatchdogConfig config;  // don't log, running, use, interrupt, action, interval, flags, initial, present
    Bytes request;
  } cases[] = {
      {{0, 1, 4, 2, 3, 0x91, 0xF2, 0x1234, 0xFFFF}, {0x44, 0x23, 0x91, 0xF2, 0x34, 0x12}},
      {{1, 0, 0, 0, 0, 0, 0, 0, 0}, {0x80, 0, 0, 0, 0, 0}},
      {{2, 0, 0, 0, 0, 0, 0, 0, 0}, {0x00, 0, 0, 0, 0, 0}},
      {{0, 2, 0, 0, 0, 0, 0, 0, 0}, {0x80, 0, 0, 0, 0, 0}},
      {{0, 7, 0, 0, 0, 0, 0, 0, 0}, {0xC0, 0, 0, 0, 0, 0}},
      {{0, 0, 0xFFFFFF39, 0, 0, 0, 0, 0, 0}, {0x39, 0, 0, 0, 0, 0}},
      {{0, 0, 0xC2, 0, 0, 0, 0, 0, 0}, {0xC2, 0, 0, 0, 0, 0}},
      {{0, 0, 0, 0, 0x11, 0, 0, 0, 0}, {0, 0x11, 0, 0, 0, 0}},
      {{0, 0, 0, 0, 0xFFFFFF88, 0, 0, 0, 0}, {0, 0x88, 0, 0, 0, 0}},
      {{0, 0, 0, 0x1A, 0, 0, 0, 0, 0}, {0, 0xA0, 0, 0, 0, 0}},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x24, .request = c.request, .kind = 3}};
    EXPECT_EQ(ipmi_app_set_watchdog_timer(handle, &c.config), 0u);
  }
}

}  // namespace
