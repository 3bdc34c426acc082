#include <gtest/gtest.h>

#include "lumipmi/device.h"
#include "support/scripted_driver.hpp"

namespace {

constexpr uint8_t kApp = 0x06;

TEST(device_id, splits_flag_bits_from_numbers) {
  const struct {
    size_t length;
    uint8_t aux_present;
    const char* aux;
  } cases[] = {{11, 0, "a5 a5 a5 a5"}, {14, 0, "a5 a5 a5 a5"}, {15, 1, "d1 d2 d3 d4"}, {20, 1, "d1 d2 d3 d4"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.length);
    Bytes data = {0x20, 0x81, 0x45, 0x67, 0x02, 0xBF, 0x57, 0x01, 0x0A, 0x34, 0x12, 0xD1, 0xD2, 0xD3, 0xD4};
    data.resize(c.length, 0xEE);
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x01, .reply = ok(data), .kind = 2, .address = 0x20, .lun = 0}};
    TestHandle handle;
    Guarded<IpmiDeviceId> id;
    ASSERT_EQ(ipmi_app_get_device_id(handle, &id), 0u);
    EXPECT_EQ(id->deviceId, 0x20);
    EXPECT_EQ(id->providesSdrs, 1);
    EXPECT_EQ(id->deviceRevision, 1);
    EXPECT_EQ(id->deviceAvailable, 0);
    EXPECT_EQ(id->firmwareMajor, 0x45);
    EXPECT_EQ(id->firmwareMinor, 0x67);
    EXPECT_EQ(id->ipmiVersion, 0x02);
    EXPECT_EQ(id->additionalSupport, 0xBF);
    EXPECT_EQ(uint16_t{id->manufacturerIdLow}, 0x0157);
    EXPECT_EQ(id->manufacturerIdHigh, 0x0A);
    EXPECT_EQ(uint16_t{id->productId}, 0x1234);
    EXPECT_EQ(id->auxPresent, c.aux_present);
    EXPECT_EQ(hex(id->auxFirmwareRevision, 4), c.aux);
  }
  ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x01, .reply = ok({0, 0x7F, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0})}};
  TestHandle handle;
  IpmiDeviceId id = {};
  ASSERT_EQ(ipmi_app_get_device_id(handle, &id), 0u);
  EXPECT_EQ(id.providesSdrs, 0);
  EXPECT_EQ(id.deviceRevision, 0x7F);
  EXPECT_EQ(id.deviceAvailable, 1);
  EXPECT_EQ(id.firmwareMajor, 0x7F);
}

TEST(device, self_test_acpi_state_and_guids) {
  TestHandle handle;
  {
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x04, .reply = ok({0x57, 0x82, 0xEE}), .kind = 2}};
    Guarded<IpmiSelfTestResult> result;
    EXPECT_EQ(ipmi_app_get_self_test_results(handle, &result), 0u);
    EXPECT_EQ(result->result, 0x57u);
    EXPECT_EQ(result->detail, 0x82);
  }
  {
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = 0x07, .reply = ok({0x2A, 0x03, 0xEE}), .kind = 2}};
    Guarded<uint16_t> state;
    EXPECT_EQ(ipmi_app_get_acpi_power_state(handle, &state), 0u);
    EXPECT_EQ(*state, 0x032A) << "system state in the low byte";
  }
  for (const uint8_t cmd : Bytes{0x08, 0x37}) {
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = cmd, .reply = ok(counting(17, 0x30)), .kind = 2}};
    Guarded<uint8_t[16]> guid;
    EXPECT_EQ((cmd == 0x08 ? ipmi_app_get_device_guid : ipmi_app_get_system_guid)(handle, *&guid), 0u);
    EXPECT_EQ(hex(*guid, 16), hex(counting(16, 0x30)));
  }
}

TEST(device, commands_without_data) {
  const struct {
    uint8_t cmd;
    Bytes request;
    std::function<uint32_t(IpmiHandle*)> call;
  } cases[] = {
      {0x02, {}, ipmi_app_cold_reset},
      {0x03, {}, ipmi_app_warm_reset},
      {0x05, {}, ipmi_app_manufacturing_test_on},
      {0x06,
       {0x81, 0x82},
       [](IpmiHandle* handle) {
         const uint16_t state = 0x8281;
         return ipmi_app_set_acpi_power_state(handle, &state);
       }},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(int{c.cmd});
    ScriptedDriver bmc = {{.net_fn = kApp, .cmd = c.cmd, .request = c.request, .kind = 4},
                          {.net_fn = kApp, .cmd = c.cmd, .request = c.request, .reply = {0x00, 0x01}},
                          {.net_fn = kApp, .cmd = c.cmd, .request = c.request, .reply = {0xD4}}};
    EXPECT_EQ(c.call(handle), 0u);
    EXPECT_EQ(c.call(handle), 0x20000000u) << "data where none belong";
    EXPECT_EQ(c.call(handle), 0x200000D4u);
    EXPECT_EQ(c.call(nullptr), 0x20000214u);
  }
  EXPECT_EQ(ipmi_app_set_acpi_power_state(handle, nullptr), 0x20000214u);
}

TEST(device, failures_leave_the_output_alone) {
  check_failures<IpmiDeviceId>(kApp, 0x01, {}, 11, 0x200000FF, OnFailure::Untouched, ipmi_app_get_device_id);
  check_failures<IpmiSelfTestResult>(kApp, 0x04, {}, 2, 0x200000FF, OnFailure::Untouched,
                                     ipmi_app_get_self_test_results);
  check_failures<uint16_t>(kApp, 0x07, {}, 2, 0x200000FF, OnFailure::Untouched, ipmi_app_get_acpi_power_state);
  using Guid = uint8_t[16];
  check_failures<Guid>(kApp, 0x08, {}, 16, 0x200000FF, OnFailure::Untouched, [](IpmiHandle* handle, Guid* out) {
    return ipmi_app_get_device_guid(handle, out ? *out : nullptr);
  });
  check_failures<Guid>(kApp, 0x37, {}, 16, 0x200000FF, OnFailure::Untouched, [](IpmiHandle* handle, Guid* out) {
    return ipmi_app_get_system_guid(handle, out ? *out : nullptr);
  });
}

}  // namespace
