#include "lumipmi/channel.h"

#include <gtest/gtest.h>

#include "support/scripted_driver.hpp"

namespace {

constexpr uint8_t kApp = 0x06;
constexpr uint32_t kShort = 0x200000FF;

Bytes joined(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

IpmiChannelKey make_key(uint32_t operation, uint32_t id) {
  IpmiChannelKey key = {operation, id, {}, 0xA5A5A5A5};
  std::memset(key.key, 0xA5, sizeof key.key);
  return key;
}

// Set Channel Security Keys as a query: its record carries arguments too, so it is made here.
uint32_t key_call(uint32_t operation, IpmiHandle* handle, IpmiChannelKey* out) {
  if (out == nullptr) return ipmi_app_set_channel_security_keys(handle, 15, nullptr);
  const IpmiChannelKey before = make_key(operation, 1);
  IpmiChannelKey key = before;
  const uint32_t status = ipmi_app_set_channel_security_keys(handle, 15, &key);
  if (std::memcmp(&key, &before, sizeof key) != 0) *out = key;
  return status;
}

TEST(channel, what_all_commands_share) {
  using Caps = IpmiChannelAuthCaps;
  check_query<Caps>({.net_fn = kApp, .cmd = 0x38, .request = {0x8E, 0x02}, .kind = 2}, 8, kShort, OnFailure::Untouched,
                    {}, [](IpmiHandle* handle, Caps* out) {
                      return ipmi_app_get_channel_authentication_capabilities(handle, out ? *out : nullptr);
                    });
  using Session = uint8_t[3];
  static const IpmiSessionQuery query = {0, 0};
  check_query<Session>(
      {.net_fn = kApp, .cmd = 0x3D, .request = {0x00}, .kind = 2}, 3, kShort, OnFailure::Untouched, {},
      [](IpmiHandle* handle, Session* out) { return ipmi_app_get_session_info(handle, &query, out ? *out : nullptr); });
  check_query<IpmiChannelAccess>(
      {.net_fn = kApp, .cmd = 0x41, .request = {0x0F, 0x80}, .kind = 2}, 2, kShort, OnFailure::Untouched,
      {{0x82, 0x20000124}},
      [](IpmiHandle* handle, IpmiChannelAccess* out) { return ipmi_app_get_channel_access_info(handle, 15, 1, out); });
  check_query<IpmiChannelInfo>(
      {.net_fn = kApp, .cmd = 0x42, .request = {0x0F}, .kind = 2}, 7, kShort, OnFailure::Untouched, {},
      [](IpmiHandle* handle, IpmiChannelInfo* out) { return ipmi_app_get_channel_info(handle, 15, out); });

  const Completions key_codes = {
      {0x80, 0x2000011F}, {0x81, 0x20000120}, {0x82, 0x20000121}, {0x83, 0x20000122}, {0x84, 0x20000123}};
  for (const uint8_t operation : Bytes{IPMI_CHANNEL_KEY_SET, IPMI_CHANNEL_KEY_LOCK}) {
    const Bytes head = {15, operation, 1};
    check_query<IpmiChannelKey>(
        {.net_fn = kApp,
         .cmd = 0x56,
         .request = operation == IPMI_CHANNEL_KEY_SET ? joined(head, Bytes(20, 0xA5)) : head,
         .kind = 4},
        1, kShort, OnFailure::Untouched, key_codes,
        [operation](IpmiHandle* handle, IpmiChannelKey* out) { return key_call(operation, handle, out); });
  }
  check_completions(key_codes, [](IpmiHandle* handle) {
    IpmiChannelKey out;
    return key_call(IPMI_CHANNEL_KEY_READ, handle, &out);
  });

  const IpmiChannelAccess access = {};
  check_command({.net_fn = kApp, .cmd = 0x40, .request = {0x0F, 0, 0}, .kind = 4},
                {{0x82, 0x20000124}, {0x83, 0x20000125}},
                [&](IpmiHandle* handle) { return ipmi_app_set_channel_access(handle, 15, &access); });
}

TEST(channel, arguments_are_checked) {
  TestHandle handle;
  ScriptedDriver silent(std::vector<Step>{});
  Guarded<IpmiChannelInfo> info;
  Guarded<IpmiChannelAccess> access;
  Guarded<uint8_t[3]> session;
  IpmiChannelKey key = make_key(IPMI_CHANNEL_KEY_LOCK, 0);
  for (const uint8_t channel : Bytes{16, 0x1E, 0xFF}) {
    EXPECT_EQ(ipmi_app_get_channel_info(handle, channel, &info), 0x20000214u);
    EXPECT_EQ(ipmi_app_get_channel_access_info(handle, channel, 0, &access), 0x20000214u);
    EXPECT_EQ(ipmi_app_set_channel_access(handle, channel, &access), 0x20000214u);
    EXPECT_EQ(ipmi_app_set_channel_security_keys(handle, channel, &key), 0x20000214u);
  }
  EXPECT_EQ(ipmi_app_set_channel_access(handle, 1, nullptr), 0x20000214u);
  EXPECT_EQ(ipmi_app_get_session_info(handle, nullptr, *session), 0x20000214u);
  for (const auto& [operation, id] : {std::pair{3u, 0u}, {0x100u, 0u}, {0u, 2u}, {0u, 0x100u}}) {
    key = make_key(operation, id);
    EXPECT_EQ(ipmi_app_set_channel_security_keys(handle, 1, &key), 0x20000214u);
  }
  EXPECT_TRUE(info.untouched() && access.untouched() && session.untouched());
}

TEST(channel, info) {
  const struct {
    Bytes reply;
    IpmiChannelInfo expected;  // channel, medium, protocol, sessions, active, vendor low, vendor high, aux
  } cases[] = {
      {{0xF1, 0x84, 0xE1, 0x83, 0xF2, 0x1B, 0x7A}, {1, 4, 1, 2, 3, 0x1BF2, 0x7A, 0}},
      {{0x0F, 0x7F, 0x1F, 0x7F, 0x01, 0x02, 0x03, 0x04}, {15, 0x7F, 31, 1, 63, 0x0201, 3, 0}},
      {{0x08, 0x05, 0x02, 0xC0, 0x01, 0x02, 0x03, 0x04, 0x05}, {8, 5, 2, 3, 0, 0x0201, 3, 0x0504}},
      {{0x00, 0x01, 0x01, 0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06}, {0, 1, 1, 0, 0, 0x0201, 3, 0x0504}},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(hex(c.reply));
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x42, .request = {0x0E}, .reply = ok(c.reply)}};
    Guarded<IpmiChannelInfo> info;
    ASSERT_EQ(ipmi_app_get_channel_info(handle, 14, &info), 0u);
    EXPECT_EQ(info->channelNumber, c.expected.channelNumber);
    EXPECT_EQ(info->mediumType, c.expected.mediumType);
    EXPECT_EQ(info->protocolType, c.expected.protocolType);
    EXPECT_EQ(info->sessionSupport, c.expected.sessionSupport);
    EXPECT_EQ(info->activeSessions, c.expected.activeSessions);
    EXPECT_EQ(uint16_t{info->vendorIdLow}, uint16_t{c.expected.vendorIdLow});
    EXPECT_EQ(info->vendorIdHigh, c.expected.vendorIdHigh);
    EXPECT_EQ(info->auxInfo, c.expected.auxInfo);
  }
}

TEST(channel, access_is_read_from_either_copy) {
  const struct {
    uint8_t select, selector;
    Bytes reply;
    IpmiChannelAccess expected;  // type, alerting, per message, user level, mode, privilege type, limit
  } cases[] = {
      {0, 0x40, {0x22, 0x04}, {1, 1, 0, 0, 2, 1, 4}},
      {1, 0x80, {0xD7, 0xF5}, {2, 0, 1, 0, 7, 2, 5}},
      {1, 0x80, {0x08, 0x0F, 0xEE}, {2, 0, 0, 1, 0, 2, 15}},
      {2, 0x40, {0x3D, 0x03}, {3, 1, 1, 1, 5, 3, 3}},  // bit 0 chooses, the whole value is told
      {0xFF, 0x80, {0x00, 0x00}, {256, 0, 0, 0, 0, 256, 0}},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(int{c.select});
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x41, .request = {0x01, c.selector}, .reply = ok(c.reply)}};
    Guarded<IpmiChannelAccess> access;
    ASSERT_EQ(ipmi_app_get_channel_access_info(handle, 1, c.select, &access), 0u);
    EXPECT_EQ(access->accessType, c.expected.accessType);
    EXPECT_EQ(access->alertingDisabled, c.expected.alertingDisabled);
    EXPECT_EQ(access->perMessageAuthDisabled, c.expected.perMessageAuthDisabled);
    EXPECT_EQ(access->userLevelAuthDisabled, c.expected.userLevelAuthDisabled);
    EXPECT_EQ(access->accessMode, c.expected.accessMode);
    EXPECT_EQ(access->privilegeAccessType, c.expected.privilegeAccessType);
    EXPECT_EQ(access->privilegeLimit, c.expected.privilegeLimit);
  }
}

TEST(channel, access_is_packed_with_overlapping_fields) {
  const struct {
    IpmiChannelAccess access;  // type, alerting, per message, user level, mode, privilege type, limit
    uint8_t access_byte, limit_byte;
  } cases[] = {
      {{2, 0, 0, 0, 2, 2, 4}, 0x82, 0x84},
      {{1, 1, 0, 0, 0, 1, 0}, 0x60, 0x40},
      {{0, 0, 1, 0, 7, 0, 0xF5}, 0x17, 0x05},
      {{0, 0, 0, 1, 0x0A, 3, 0x10}, 0x0A, 0xC0},
      {{0, 2, 0, 0, 0, 0, 0}, 0x40, 0x00},  // wider than its bit, as all below
      {{0, 4, 0, 0, 0, 0, 0}, 0x80, 0x00},
      {{0, 8, 0, 0, 0, 0, 0}, 0x00, 0x00},
      {{0, 0, 2, 0, 0, 0, 0}, 0x20, 0x00},
      {{0, 0, 8, 0, 0, 0, 0}, 0x80, 0x00},
      {{0, 0, 0, 2, 0, 0, 0}, 0x10, 0x00},
      {{0, 0, 0, 0x10, 0, 0, 0}, 0x80, 0x00},
      {{0, 0, 0, 0x20, 0, 0, 0}, 0x00, 0x00},
      {{4, 0, 0, 0, 0, 4, 0}, 0x00, 0x00},
      {{3, 0xFF, 0xFF, 0xFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}, 0xFF, 0xCF},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x40, .request = {0x05, c.access_byte, c.limit_byte}}};
    EXPECT_EQ(ipmi_app_set_channel_access(handle, 5, &c.access), 0u);
  }
}

TEST(channel, security_keys) {
  const std::string old_key = hex(Bytes(20, 0xA5));
  const struct {
    const char* name;
    uint32_t operation, id;
    Bytes request, reply;
    uint32_t status, lock_status;
    std::string key;
  } cases[] = {
      {"read", 0, 1, {15, 0, 1}, joined({0xFE}, counting(20)), 0, 2, hex(counting(20))},
      {"read, one byte too many", 0, 0, {15, 0, 0}, joined({0x01}, counting(21)), 0x20000212, 1, old_key},
      {"read, a short key", 0, 0, {15, 0, 0}, {0x02, 1, 2, 3}, 0, 2, hex(joined({1, 2, 3}, Bytes(17)))},
      {"read, no key", 0, 0, {15, 0, 0}, {0x04}, 0, 0, hex(Bytes(20))},
      {"set", 1, 1, joined({15, 1, 1}, Bytes(20, 0xA5)), {0x06}, 0, 2, old_key},
      {"set, a longer answer", 1, 0, joined({15, 1, 0}, Bytes(20, 0xA5)), counting(30), 0, 1, old_key},
      {"lock", 2, 0, {15, 2, 0}, {0x03}, 0, 3, old_key},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x56, .request = c.request, .reply = ok(c.reply), .kind = 4}};
    Guarded<IpmiChannelKey> key;
    *key = make_key(c.operation, c.id);
    EXPECT_EQ(ipmi_app_set_channel_security_keys(handle, 15, &key), c.status);
    EXPECT_EQ(key->lockStatus, c.lock_status);
    EXPECT_EQ(hex(key->key, 20), c.key);
  }
  ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x56, .request = {15, 0, 1}, .reply = ok({})}};
  IpmiChannelKey key = make_key(IPMI_CHANNEL_KEY_READ, 1);
  EXPECT_EQ(ipmi_app_set_channel_security_keys(handle, 15, &key), 0x200000FFu);
  EXPECT_EQ(key.lockStatus, 0xA5A5A5A5u);
  EXPECT_EQ(hex(key.key, 20), old_key);
}

TEST(channel, authentication_capabilities) {
  const struct {
    uint32_t level;
    uint8_t channel;
    Bytes reply;
    const char* out;
  } cases[] = {
      {3, 0x8E, {0x11, 0x97, 0x20, 0xFE, 1, 2, 3, 4}, "11 02 01 00 00 00 01 02 03 04"},
      {3, 0x8E, {0x01, 0x80, 0xDF, 0x01, 1, 2, 3, 4, 0xEE}, "01 01 00 01 01 07 01 02 03 04"},
      {2, 0x0E, {0x01, 0x7F, 0x14, 0x03, 1, 2, 3, 4}, "01 00 3f 01 01 04 01 02 03 04"},
      {4, 0x0E, {0x01, 0x15, 0x2B, 0x03, 1, 2, 3, 4}, "01 00 15 00 00 03 01 02 03 04"},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(hex(c.reply));
    handle->ipmiVersionLevel = c.level;
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x38, .request = {c.channel, 0x02}, .reply = ok(c.reply)}};
    Guarded<IpmiChannelAuthCaps> caps;
    ASSERT_EQ(ipmi_app_get_channel_authentication_capabilities(handle, *caps), 0u);
    EXPECT_EQ(hex(*caps, 10), c.out);
  }
}

TEST(channel, sessions_are_named_in_three_ways) {
  const struct {
    IpmiSessionQuery query;
    Bytes request;
  } cases[] = {
      {{0x00, 0x04030201}, {0x00}},
      {{0xFD, 0x04030201}, {0xFD}},
      {{0xFE, 0x04030201}, {0xFE, 0x01}},
      {{0xFF, 0x04030201}, {0xFF, 0x01, 0x02, 0x03, 0x04}},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x3D, .request = c.request, .reply = ok({0xF1, 0xE4, 0xF2, 9})}};
    Guarded<uint8_t[3]> session;
    ASSERT_EQ(ipmi_app_get_session_info(handle, &c.query, *session), 0u);
    EXPECT_EQ(hex(*session, 3), "f1 24 32");
  }
}

}  // namespace
