#include "lumipmi/user.h"

#include <gtest/gtest.h>

#include "support/guarded_bytes.hpp"
#include "support/scripted_driver.hpp"

namespace {

constexpr uint8_t kApp = 0x06;
constexpr uint32_t kShort = 0x200000C3;
constexpr uint8_t kSelector[] = {0xFA, 0xEC};  // channel 10, user 44

TEST(user, what_all_commands_share) {
  check_query<IpmiUserAccessInfo>(
      {.net_fn = kApp, .cmd = 0x44, .request = {0x0A, 0x2C}, .kind = 3}, 4, kShort, OnFailure::Zero, {},
      [](IpmiHandle* handle, IpmiUserAccessInfo* out) { return ipmi_app_get_user_access(handle, kSelector, out); });
  using Name = uint8_t[16];
  check_query<Name>({.net_fn = kApp, .cmd = 0x46, .request = {0x2C}, .kind = 3}, 16, kShort, OnFailure::Zero, {},
                    [](IpmiHandle* handle, Name* out) -> uint32_t {
                      if (out == nullptr) return 0x20000214;  // the name is not tested for null
                      return ipmi_app_get_user_name(handle, 0xEC, *out);
                    });
  const IpmiUserAccessSetting setting = {};
  check_command({.net_fn = kApp, .cmd = 0x43, .request = {0xBA, 0x2C, 0, 0}, .kind = 4}, {},
                [&](IpmiHandle* handle) { return ipmi_app_set_user_access(handle, kSelector, &setting); });
  check_command({.net_fn = kApp,
                 .cmd = 0x45,
                 .request = Bytes{0x2C, 'b', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
                 .kind = 4},
                {}, [](IpmiHandle* handle) { return ipmi_app_set_user_name(handle, 0xEC, "b"); });
  for (const uint8_t operation : Bytes{IPMI_PASSWORD_DISABLE_USER, IPMI_PASSWORD_ENABLE_USER})
    check_command(
        {.net_fn = kApp, .cmd = 0x47, .request = {0x2C, operation}, .kind = 4}, {},
        [operation](IpmiHandle* handle) { return ipmi_app_set_user_password(handle, 0xEC, operation, nullptr); });

  TestHandle handle;
  ScriptedDriver silent(std::vector<Step>{});
  Guarded<IpmiUserAccessInfo> info;
  EXPECT_EQ(ipmi_app_get_user_access(handle, nullptr, &info), 0x20000214u);
  EXPECT_TRUE(info.untouched());
  EXPECT_EQ(ipmi_app_set_user_access(handle, nullptr, &setting), 0x20000214u);
  EXPECT_EQ(ipmi_app_set_user_access(handle, kSelector, nullptr), 0x20000214u);
}

TEST(user, access_is_unpacked) {
  const struct {
    Bytes reply;
    IpmiUserAccessInfo expected;  // maximum, enabled, fixed, callback, link, messaging, limit, status
  } cases[] = {
      {{0xFF, 0x3F, 0xC0, 0x4F}, {63, 63, 0, 1, 0, 0, 15, 0x00}},
      {{0xC0, 0x40, 0xFF, 0x21}, {0, 0, 63, 0, 1, 0, 1, 0x40}},
      {{0x0A, 0x82, 0x05, 0x94}, {10, 2, 5, 0, 0, 1, 4, 0x80}},
      {{0x15, 0xED, 0x2A, 0xF2, 0xEE}, {21, 45, 42, 1, 1, 1, 2, 0xC0}},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(hex(c.reply));
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x44, .request = {0x0A, 0x2C}, .reply = ok(c.reply)}};
    Guarded<IpmiUserAccessInfo> info;
    ASSERT_EQ(ipmi_app_get_user_access(handle, kSelector, &info), 0u);
    EXPECT_EQ(info->maxUserIds, c.expected.maxUserIds);
    EXPECT_EQ(info->enabledUserCount, c.expected.enabledUserCount);
    EXPECT_EQ(info->fixedNameCount, c.expected.fixedNameCount);
    EXPECT_EQ(info->callbackOnly, c.expected.callbackOnly);
    EXPECT_EQ(info->linkAuthEnabled, c.expected.linkAuthEnabled);
    EXPECT_EQ(info->ipmiMessagingEnabled, c.expected.ipmiMessagingEnabled);
    EXPECT_EQ(info->privilegeLimit, c.expected.privilegeLimit);
    EXPECT_EQ(info->enableStatus, c.expected.enableStatus) << "bits 7:6 stay where they are";
  }
}

// Bits 7, 5 and 4 are always set; three fields reach bit 6.
TEST(user, access_is_packed_with_overlapping_flags) {
  const struct {
    uint8_t channel, user;
    IpmiUserAccessSetting setting;  // callback, link, messaging, limit, sessions
    Bytes request;
  } cases[] = {
      {0x00, 0, {0, 0, 0, 0, 0}, {0xB0, 0, 0, 0}},
      {0xFF, 0xFF, {0, 0, 0, 0xF4, 0xF3}, {0xBF, 0x3F, 0x04, 0x03}},
      {0x01, 2, {1, 0, 0, 0x104, 1}, {0xF1, 2, 4, 1}},
      {0x01, 2, {2, 0, 0, 0, 0}, {0xB1, 2, 0, 0}},
      {0x01, 2, {4, 0, 0, 0, 0}, {0xB1, 2, 0, 0}},
      {0x01, 2, {0, 1, 0, 0, 0}, {0xB1, 2, 0, 0}},
      {0x01, 2, {0, 2, 0, 0, 0}, {0xF1, 2, 0, 0}},
      {0x01, 2, {0, 4, 0, 0, 0}, {0xB1, 2, 0, 0}},
      {0x01, 2, {0, 0, 1, 0, 0}, {0xB1, 2, 0, 0}},
      {0x01, 2, {0, 0, 2, 0, 0}, {0xB1, 2, 0, 0}},
      {0x01, 2, {0, 0, 4, 0, 0}, {0xF1, 2, 0, 0}},
      {0x01, 2, {0, 0, 8, 0, 0}, {0xB1, 2, 0, 0}},
      {0x01, 2, {0xFF, 0xFF, 0xFF, 0xFFFFFFFF, 0xFF}, {0xF1, 2, 15, 15}},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x43, .request = c.request, .kind = 4}};
    const uint8_t selector[] = {c.channel, c.user};
    EXPECT_EQ(ipmi_app_set_user_access(handle, selector, &c.setting), 0u);
  }
}

// Text in a field of `size` bytes, padded with NUL, behind the bytes given.
Bytes with_field(Bytes bytes, const std::string& text, size_t size) {
  bytes.insert(bytes.end(), text.begin(), text.end());
  bytes.resize(bytes.size() + size - text.size());
  return bytes;
}

TEST(user, names) {
  const struct {
    std::string name, sent;
  } cases[] = {
      {"", ""},
      {"admin", "admin"},
      {"123456789012345", "123456789012345"},
      {"1234567890123456", "123456789012345"},
      {"12345678901234567890", "123456789012345"},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    lumi::test::GuardedBytes name(Bytes(c.name.c_str(), c.name.c_str() + c.name.size() + 1));
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x45, .request = with_field({0x3F}, c.sent, 16), .kind = 4}};
    EXPECT_EQ(ipmi_app_set_user_name(handle, 0xFF, name.text()), 0u);
  }
  ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x46, .request = {0x3F}, .reply = ok(counting(17)), .kind = 3}};
  Guarded<uint8_t[16]> name;
  EXPECT_EQ(ipmi_app_get_user_name(handle, 0xFF, *name), 0u);
  EXPECT_EQ(hex(*name, 16), hex(counting(16)));
}

TEST(user, passwords) {
  const auto step = [](Bytes head, const std::string& text, size_t size, Bytes reply) {
    return Step{
        .net_fn = kApp, .cmd = 0x47, .request = with_field(std::move(head), text, size), .reply = reply, .kind = 4};
  };
  const std::string k16 = "1234567890123456", k17 = k16 + "7", k19 = k16 + "789", k20 = k19 + "0";
  const struct {
    const char* name;
    int32_t operation;
    std::string password;
    std::vector<Step> steps;
    uint32_t status;
  } cases[] = {
      {"set, empty", 2, "", {step({0x2C, 2}, "", 16, ok({}))}, 0},
      {"set, 16", 2, k16, {step({0x2C, 2}, k16, 16, ok({}))}, 0},
      {"set, 17", 2, k17, {step({0xAC, 2}, k17, 20, ok({}))}, 0},
      {"set, 19", 2, k19, {step({0xAC, 2}, k19, 20, ok({}))}, 0},
      {"set, 20 are cut", 2, k20, {step({0xAC, 2}, k19, 20, ok({}))}, 0},
      {"set, data where none belong", 2, "pw", {step({0x2C, 2}, "pw", 16, ok({1}))}, 0x20000000},
      {"set, 0x80 is nothing special", 2, "pw", {step({0x2C, 2}, "pw", 16, {0x80})}, 0x20000080},
      {"set, 0x81 is nothing special", 2, "pw", {step({0x2C, 2}, "pw", 16, {0x81})}, 0x20000081},
      {"test, match", 3, "pw", {step({0x2C, 3}, "pw", 16, ok({}))}, 0},
      {"test, long match", 3, k17, {step({0xAC, 3}, k17, 20, ok({}))}, 0},
      {"test, mismatch", 3, "pw", {step({0x2C, 3}, "pw", 16, {0x80})}, 0x20000126},
      {"test, long mismatch", 3, k17, {step({0xAC, 3}, k17, 20, {0x80})}, 0x20000126},
      {"test, size of the long form", 3, k17, {step({0xAC, 3}, k17, 20, {0x81})}, 0x20000127},
      {"test, other size", 3, "pw", {step({0x2C, 3}, "pw", 16, {0x81}), step({0xAC, 3}, "pw", 20, ok({}))}, 0},
      {"test, mismatch in the repetition is not mapped",
       3,
       k16,
       {step({0x2C, 3}, k16, 16, {0x81}), step({0xAC, 3}, k16, 20, {0x80})},
       0x20000080},
      {"test, repeated once",
       3,
       "pw",
       {step({0x2C, 3}, "pw", 16, {0x81}), step({0xAC, 3}, "pw", 20, {0x81})},
       0x20000081},
      {"test, refused", 3, "pw", {step({0x2C, 3}, "pw", 16, {0xD4})}, 0x200000D4},
      {"test, 0x82 is nothing special", 3, "pw", {step({0x2C, 3}, "pw", 16, {0x82})}, 0x20000082},
      {"test, data where none belong", 3, "pw", {step({0x2C, 3}, "pw", 16, ok({1}))}, 0x20000000},
      {"enable, the password stays here", 1, "pw", {step({0x2C, 1}, "", 0, {0x80})}, 0x20000080},
      {"below", -1, "pw", {}, 0x20000214},
      {"above", 4, "pw", {}, 0x20000214},
      {"6 is not 2", 6, "pw", {}, 0x20000214},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedDriver bmc(c.steps);
    lumi::test::GuardedBytes password(Bytes(c.password.c_str(), c.password.c_str() + c.password.size() + 1));
    EXPECT_EQ(ipmi_app_set_user_password(handle, 0xEC, c.operation, password.text()), c.status);
  }
  ScriptedDriver silent(std::vector<Step>{});
  EXPECT_EQ(ipmi_app_set_user_password(handle, 5, 2, nullptr), 0x20000214u);
  EXPECT_EQ(ipmi_app_set_user_password(handle, 5, 3, nullptr), 0x20000214u);
  EXPECT_EQ(ipmi_app_set_user_password(nullptr, 5, 2, "pw"), 0x20000214u);
}

}  // namespace
