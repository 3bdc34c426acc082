#include "lumipmi/payload.h"

#include <gtest/gtest.h>

#include "support/scripted_driver.hpp"

namespace {

constexpr uint8_t kApp = 0x06;
constexpr uint32_t kShort = 0x200000FF;
constexpr uint8_t kSelector[] = {0xFA, 0xEC};  // channel 10, user 44
constexpr int32_t kType = -0x3E;               // 2 in bits 5:0
constexpr uint8_t kInstance = 0xFA, kChannel = 0xE6;

template <size_t N>
using Array = uint8_t[N];

TEST(payload, what_all_commands_share) {
  static const IpmiPayloadActivation activation = {0x42, 0xF1, {{1, 2, 3, 4}}};
  check_query<IpmiPayloadActivationResult>(
      {.net_fn = kApp, .cmd = 0x48, .request = {0x02, 0x01, 1, 2, 3, 4}, .kind = 2}, 12, kShort, OnFailure::Untouched,
      {{0x80, 0x20000114}, {0x81, 0x20000115}, {0x82, 0x20000116}, {0x83, 0x20000117}, {0x84, 0x20000118}},
      [](IpmiHandle* handle, IpmiPayloadActivationResult* out) {
        return ipmi_app_activate_payload(handle, &activation, out);
      });
  check_query<Array<3>>({.net_fn = kApp, .cmd = 0x4A, .request = {0x02}, .kind = 2}, 3, kShort, OnFailure::Untouched,
                        {}, [](IpmiHandle* handle, Array<3>* out) {
                          return ipmi_app_get_payload_status(handle, kType, out ? *out : nullptr);
                        });
  check_query<Array<12>>({.net_fn = kApp, .cmd = 0x4B, .request = {0x02, 0x0A}, .kind = 2}, 12, kShort,
                         OnFailure::Untouched, {}, [](IpmiHandle* handle, Array<12>* out) {
                           return ipmi_app_get_payload_instance_info(handle, kType, kInstance, out ? *out : nullptr);
                         });
  check_query<Array<4>>({.net_fn = kApp, .cmd = 0x4D, .request = {0x0A, 0x2C}, .kind = 3}, 4, kShort,
                        OnFailure::Untouched, {}, [](IpmiHandle* handle, Array<4>* out) {
                          return ipmi_app_get_payload_access(handle, kSelector, out ? *out : nullptr);
                        });
  check_query<Array<8>>({.net_fn = kApp, .cmd = 0x4E, .request = {0x06}, .kind = 2}, 8, kShort, OnFailure::Untouched,
                        {}, [](IpmiHandle* handle, Array<8>* out) {
                          return ipmi_app_get_payload_support(handle, kChannel, out ? *out : nullptr);
                        });
  check_query<uint8_t>(
      {.net_fn = kApp, .cmd = 0x4F, .request = {0x06, 0x02}, .kind = 2}, 1, kShort, OnFailure::Untouched, {},
      [](IpmiHandle* handle, uint8_t* out) { return ipmi_app_get_payload_version(handle, kChannel, kType, out); });

  const IpmiPayloadDeactivation deactivation = {0xFFFFFFC1, 0xFA, {5, 6, 7, 8}};
  check_command({.net_fn = kApp, .cmd = 0x49, .request = {0x01, 0x0A, 5, 6, 7, 8}, .kind = 2},
                {{0x80, 0x20000119}, {0x81, 0x20000115}},
                [&](IpmiHandle* handle) { return ipmi_app_deactivate_payload(handle, &deactivation); });
  const IpmiPayloadAccessLimits limits = {0xE1, 0xE2, 0xE4E3};
  check_command({.net_fn = kApp, .cmd = 0x4C, .request = {0x0A, 0x6C, 0xE1, 0xE2, 0xE3, 0xE4}, .kind = 4}, {},
                [&](IpmiHandle* handle) { return ipmi_app_set_payload_access(handle, kSelector, 1, &limits); });

  TestHandle handle;
  ScriptedDriver silent(std::vector<Step>{});
  Guarded<IpmiPayloadActivationResult> result;
  Guarded<Array<4>> access;
  EXPECT_EQ(ipmi_app_activate_payload(handle, nullptr, &result), 0x20000214u);
  EXPECT_EQ(ipmi_app_deactivate_payload(handle, nullptr), 0x20000214u);
  EXPECT_EQ(ipmi_app_set_payload_access(handle, nullptr, 0, &limits), 0x20000214u);
  EXPECT_EQ(ipmi_app_set_payload_access(handle, kSelector, 0, nullptr), 0x20000214u);
  EXPECT_EQ(ipmi_app_get_payload_access(handle, nullptr, *access), 0x20000214u);
  EXPECT_TRUE(result.untouched() && access.untouched());
}

TEST(payload, sol_options_overlap) {
  const struct {
    IpmiPayloadSolOptions sol;  // encrypt, authenticate, alert behavior, test mode
    uint8_t sent;
  } cases[] = {
      {{0, 0, 0, 0}, 0x00}, {{1, 0, 0, 0}, 0x80}, {{2, 0, 0, 0}, 0x00},    {{0, 1, 0, 0}, 0x40},
      {{0, 2, 0, 0}, 0x80}, {{0, 4, 0, 0}, 0x00}, {{0, 0, 1, 0}, 0x04},    {{0, 0, 2, 0}, 0x08},
      {{0, 0, 4, 0}, 0x00}, {{0, 0, 0, 1}, 0x02}, {{0, 0, 0, 0x40}, 0x80}, {{0, 0, 0, 0x80}, 0x00},
      {{1, 1, 3, 1}, 0xCE}, {{0, 0, 0, 2}, 0x04}, {{0, 0, 0, 0x15}, 0x2A}, {{0xFF, 0xFF, 0xFFFFFFFF, 0xFF}, 0xFE},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    ScriptedDriver bmc = {
        {.net_fn = kApp, .cmd = 0x48, .request = {0x01, 0x01, c.sent, 0, 0, 0}, .reply = ok(counting(12)), .kind = 2}};
    IpmiPayloadActivation activation;
    std::memset(&activation, 0xA5, sizeof activation);  // what is not an option must not be sent
    activation.payloadType = IPMI_PAYLOAD_SOL;
    activation.payloadInstance = 0xF1;
    activation.options.sol = c.sol;
    Guarded<IpmiPayloadActivationResult> result;
    EXPECT_EQ(ipmi_app_activate_payload(handle, &activation, &result), 0u);
    EXPECT_EQ(result->auxData, 0x04030201u);
    EXPECT_EQ(result->inboundPayloadSize, 0x0605);
    EXPECT_EQ(result->outboundPayloadSize, 0x0807);
    EXPECT_EQ(result->payloadUdpPort, 0x0A09);
    EXPECT_EQ(result->payloadVlan, 0x0C0B);
  }
}

// Only the whole type 1 is serial over LAN.
TEST(payload, other_types_send_the_callers_bytes) {
  TestHandle handle;
  for (const auto& [type, sent] : {std::pair<uint32_t, uint8_t>{0, 0}, {2, 2}, {0x3F, 0x3F}, {0x41, 0x01}}) {
    ScriptedDriver bmc = {
        {.net_fn = kApp, .cmd = 0x48, .request = {sent, 0x0F, 0xF1, 0xF2, 0xF3, 0xF4}, .reply = ok(counting(12))}};
    const IpmiPayloadActivation activation = {type, 0xFF, {{0xF1, 0xF2, 0xF3, 0xF4}}};
    IpmiPayloadActivationResult result;
    EXPECT_EQ(ipmi_app_activate_payload(handle, &activation, &result), 0u);
  }
}

TEST(payload, access_operation_stands_above_the_user) {
  TestHandle handle;
  const IpmiPayloadAccessLimits limits = {};
  const uint8_t selector[] = {0xFA, 0xD3};
  for (const auto& [operation, sent] : {std::pair<uint32_t, uint8_t>{0, 0x13}, {1, 0x53}, {2, 0x93}, {7, 0xD3}}) {
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x4C, .request = {0x0A, sent, 0, 0, 0, 0}}};
    EXPECT_EQ(ipmi_app_set_payload_access(handle, selector, operation, &limits), 0u);
  }
}

TEST(payload, queries_copy_what_came) {
  TestHandle handle;
  ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x4A, .request = {0x3F}, .reply = ok({0xFA, 0x81, 0x42, 0xEE})},
                        {.net_fn = kApp, .cmd = 0x4B, .request = {0x3F, 0x0F}, .reply = ok(counting(13))},
                        {.net_fn = kApp, .cmd = 0x4D, .request = {0x0A, 0x2C}, .reply = ok(counting(5))},
                        {.net_fn = kApp, .cmd = 0x4E, .request = {0x0F}, .reply = ok(counting(9))},
                        {.net_fn = kApp, .cmd = 0x4F, .request = {0x0F, 0x3F}, .reply = ok({0x91, 0xEE})}};
  Guarded<Array<3>> status;
  EXPECT_EQ(ipmi_app_get_payload_status(handle, -1, *status), 0u);
  EXPECT_EQ(hex(*status, 3), "0a 81 42") << "reserved bits of the capacity only";
  Guarded<Array<12>> instance;
  EXPECT_EQ(ipmi_app_get_payload_instance_info(handle, -1, 0xFF, *instance), 0u);
  EXPECT_EQ(hex(*instance, 12), hex(counting(12)));
  Guarded<Array<4>> access;
  EXPECT_EQ(ipmi_app_get_payload_access(handle, kSelector, *access), 0u);
  EXPECT_EQ(hex(*access, 4), hex(counting(4)));
  Guarded<Array<8>> support;
  EXPECT_EQ(ipmi_app_get_payload_support(handle, 0xFF, *support), 0u);
  EXPECT_EQ(hex(*support, 8), hex(counting(8)));
  Guarded<uint8_t> version;
  EXPECT_EQ(ipmi_app_get_payload_version(handle, 0xFF, -1, &version), 0u);
  EXPECT_EQ(*version, 0x91);
}

}  // namespace
