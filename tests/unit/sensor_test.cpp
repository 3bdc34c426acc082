#include "lumipmi/sensor.h"

#include <gtest/gtest.h>

#include "lumipmi/status.h"
#include "support/scripted_driver.hpp"

namespace {

constexpr IpmiSensorAddress kSensor = {0x20, 0x01, 0x3A};
constexpr uint32_t kShort = IPMI_STATUS_BMC_RESPOSE_UNAVAILABE;

struct TypePair {
  uint8_t sensor;
  uint8_t event_reading;
};
uint32_t get_type(IpmiHandle* handle, const IpmiSensorAddress* sensor, TypePair* out) {
  return ipmi_se_get_sensor_type(handle, sensor, out ? &out->sensor : nullptr, out ? &out->event_reading : nullptr);
}
struct Thresholds {
  uint8_t bytes[IPMI_THRESHOLD_BYTES];
};
uint32_t get_thresholds(IpmiHandle* handle, const IpmiSensorAddress* sensor, Thresholds* out) {
  return ipmi_se_get_sensor_threshold(handle, sensor, out ? out->bytes : nullptr);
}
uint32_t get_factors(IpmiHandle* handle, const IpmiSensorAddress* sensor, IpmiSensorReadingFactors* out) {
  return ipmi_se_get_sensor_reading_factors(handle, sensor, 0x91, out);
}
uint32_t get_hysteresis(IpmiHandle* handle, const IpmiSensorAddress* sensor, uint16_t* out) {
  return ipmi_se_get_sensor_hysteresis(handle, sensor, 0xFE, out);
}

// Runs one command against one reply. The sensor belongs to the BMC.
template <typename T>
T read(uint8_t cmd, const Bytes& request, const Bytes& data,
       uint32_t (*call)(IpmiHandle*, const IpmiSensorAddress*, T*)) {
  ScriptedDriver bmc = {{.net_fn = 0x04, .cmd = cmd, .request = request, .reply = ok(data)}};
  TestHandle handle;
  Guarded<T> out;
  EXPECT_EQ(call(handle, &kSensor, &out), 0u);
  return *out;
}

// Privilege, responder and all failures of a command that reads; `minimum` is its shortest reply.
template <typename T>
void check_read(uint8_t cmd, const Bytes& request, size_t minimum,
                uint32_t (*call)(IpmiHandle*, const IpmiSensorAddress*, T*)) {
  SCOPED_TRACE("command " + hex(&cmd, 1));
  check_failures<T>(0x04, cmd, request, minimum, kShort, OnFailure::Zero,
                    [call](IpmiHandle* handle, T* out) { return call(handle, &kSensor, out); });

  struct Responder {
    uint8_t bmc, owner, lun;
    uint32_t kind;
  };
  for (const Responder& r : {Responder{0x20, 0x20, 0, 2},
                             {0x20, 0x20, 3, 2},
                             {0x20, 0x21, 1, 3},
                             {0x20, 0x2C, 2, 3},
                             {0x2C, 0x2C, 0, 2},
                             {0x2C, 0x20, 0, 3}}) {
    ScriptedDriver bmc = {{.net_fn = 0x04,
                           .cmd = cmd,
                           .request = request,
                           .reply = ok(Bytes(minimum)),
                           .kind = r.kind,
                           .address = r.owner,
                           .lun = r.lun}};
    TestHandle handle;
    handle->bmcAddress = r.bmc;
    const IpmiSensorAddress sensor = {r.owner, r.lun, kSensor.sensor_number};
    T out;
    EXPECT_EQ(call(handle, &sensor, &out), 0u);
  }
  TestHandle handle;
  Guarded<T> out;
  EXPECT_EQ(call(handle, nullptr, &out), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_TRUE(out.untouched());
}

TEST(Sensor, WhatAllReadCommandsShare) {
  check_read<TypePair>(0x2F, {0x3A}, 2, get_type);
  check_read<IpmiSensorReading>(0x2D, {0x3A}, 2, ipmi_se_get_sensor_reading);
  check_read<IpmiSensorReadingFactors>(0x23, {0x3A, 0x91}, 7, get_factors);
  check_read<Thresholds>(0x27, {0x3A}, 7, get_thresholds);
  check_read<uint16_t>(0x25, {0x3A, 0xFE}, 2, get_hysteresis);
  check_read<IpmiSensorEventEnable>(0x29, {0x3A}, 1, ipmi_se_get_sensor_event_enable);
}

TEST(Sensor, TypeLosesTheReservedBitOnly) {
  const TypePair type = read<TypePair>(0x2F, {0x3A}, {0xC1, 0xEF, 0x55}, get_type);
  EXPECT_EQ(type.sensor, 0xC1);
  EXPECT_EQ(type.event_reading, 0x6F);
}

TEST(Sensor, TypeNeedsBothOutputs) {
  ScriptedDriver silent(std::vector<Step>{});
  TestHandle handle;
  uint8_t type = 0xA5;
  EXPECT_EQ(ipmi_se_get_sensor_type(handle, &kSensor, nullptr, &type), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(ipmi_se_get_sensor_type(handle, &kSensor, &type, nullptr), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(type, 0xA5);
}

TEST(Sensor, ReadingsOfEveryLength) {
  struct Case {
    Bytes reply;
    uint8_t events, scanning, unavailable;
    uint16_t states;
    Bytes raw;
  };
  const Case cases[] = {
      {{0x7B, 0x80}, 1, 0, 0, 0, {0x7B, 0x80, 0, 0}},
      {{0x7B, 0x40}, 0, 1, 0, 0, {0x7B, 0x40, 0, 0}},
      {{0x7B, 0x20}, 0, 0, 1, 0, {0x7B, 0x20, 0, 0}},
      {{0x7B, 0x1F}, 0, 0, 0, 0, {0x7B, 0x1F, 0, 0}},
      {{0x7B, 0xC0, 0x91}, 1, 1, 0, 0x0091, {0x7B, 0xC0, 0x91, 0}},
      {{0x7B, 0xE0, 0x91, 0x82}, 1, 1, 1, 0x8291, {0x7B, 0xE0, 0x91, 0x82}},
      {{0x7B, 0xE0, 0x91, 0x82, 0x66}, 1, 1, 1, 0x8291, {0x7B, 0xE0, 0x91, 0x82}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(hex(c.reply));
    const IpmiSensorReading got = read<IpmiSensorReading>(0x2D, {0x3A}, c.reply, ipmi_se_get_sensor_reading);
    EXPECT_EQ(got.reading, 0x7B);
    EXPECT_EQ(got.event_messages_enabled, c.events);
    EXPECT_EQ(got.scanning_enabled, c.scanning);
    EXPECT_EQ(got.reading_unavailable, c.unavailable);
    EXPECT_EQ(got.states, c.states);
    EXPECT_EQ(hex(got.raw, 4), hex(c.raw));
  }
}

TEST(Sensor, ReadingFactors) {
  struct Case {
    Bytes reply;
    IpmiSensorReadingFactors expected;  // next, tolerance, precision, its exponent, M, B, K2, K1
  };
  const Case cases[] = {
      {{0x11, 0x02, 0xC0, 0x00, 0x00, 0x00, 0xE2}, {0x11, 0, 0, 0, -254, 0, -2, 2}},
      {{0xFF, 0x34, 0x6A, 0x12, 0x95, 0xA4, 0x7F}, {0xFF, 0x2A, 0x295, 1, 0x134, -494, 7, -1}},
      {{0x00, 0x01, 0x80, 0xFF, 0x7F, 0x5B, 0x87}, {0x00, 0, 0x17F, 2, -511, 0x1FF, -8, 7}},
      {{0x00, 0x00, 0x3F, 0x00, 0xC0, 0x00, 0x08}, {0x00, 0x3F, 0, 0, 0, -256, 0, -8}},
      {{0x80, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x77}, {0x80, 0x3F, 0x3FF, 3, -1, -1, -1, -1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(hex(c.reply));
    const IpmiSensorReadingFactors got = read<IpmiSensorReadingFactors>(0x23, {0x3A, 0x91}, c.reply, get_factors);
    EXPECT_EQ(got.next_reading, c.expected.next_reading);
    EXPECT_EQ(got.tolerance, c.expected.tolerance);
    EXPECT_EQ(got.precision, c.expected.precision);
    EXPECT_EQ(got.precision_exponent, c.expected.precision_exponent);
    EXPECT_EQ(got.m, c.expected.m);
    EXPECT_EQ(got.b, c.expected.b);
    EXPECT_EQ(got.result_exponent, c.expected.result_exponent);
    EXPECT_EQ(got.b_exponent, c.expected.b_exponent);
  }
}

TEST(Sensor, ThresholdsByEveryMask) {
  for (unsigned mask = 0; mask < 256; ++mask) {
    Bytes reply = counting(8, 0x70);
    reply[0] = static_cast<uint8_t>(mask);
    Bytes expected(7);
    expected[0] = mask & 0x3F;
    for (size_t i = 0; i < 6; ++i)
      if (mask >> i & 1) expected[1 + i] = reply[1 + i];
    const Thresholds got = read<Thresholds>(0x27, {0x3A}, reply, get_thresholds);
    ASSERT_EQ(hex(got.bytes, sizeof got.bytes), hex(expected)) << "mask " << mask;
  }
}

TEST(Sensor, HysteresisHasThePositiveOneInTheLowByte) {
  EXPECT_EQ(read<uint16_t>(0x25, {0x3A, 0xFE}, {0x03, 0x84, 0x99}, get_hysteresis), 0x8403);
}

TEST(Sensor, EventEnablesAsManyAsCame) {
  const Bytes full = {0x40, 0x11, 0x92, 0x23, 0xA4, 0x35};
  for (size_t size = 1; size <= full.size(); ++size) {
    Bytes reply(full.begin(), full.begin() + static_cast<ptrdiff_t>(size));
    const auto got = read<IpmiSensorEventEnable>(0x29, {0x3A}, reply, ipmi_se_get_sensor_event_enable);
    EXPECT_EQ(got.event_messages_enabled, 0);
    EXPECT_EQ(got.scanning_enabled, 1);
    reply.resize(5);  // what did not come is zero, what is too much is dropped
    EXPECT_EQ(hex(got.masks, 4), hex(&reply[1], 4));
  }
  const auto other = read<IpmiSensorEventEnable>(0x29, {0x3A}, {0xBF}, ipmi_se_get_sensor_event_enable);
  EXPECT_EQ(other.event_messages_enabled, 1);
  EXPECT_EQ(other.scanning_enabled, 0);
}

TEST(Sensor, SetsThresholdsAsGiven) {
  const uint8_t thresholds[IPMI_THRESHOLD_BYTES] = {0xFF, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66};
  TestHandle handle;
  for (const uint8_t owner : Bytes{0x20, 0x2C}) {  // Operator also for a sensor of the BMC
    const IpmiSensorAddress sensor = {owner, 2, 0x3A};
    ScriptedDriver bmc = {{.net_fn = 0x04,
                           .cmd = 0x26,
                           .request = {0x3A, 0xFF, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66},
                           .kind = 3,
                           .address = owner,
                           .lun = uint8_t{2}}};
    EXPECT_EQ(ipmi_se_set_sensor_threshold(handle, &sensor, thresholds), 0u);
  }
}

TEST(Sensor, SetsEventEnables) {
  struct Case {
    uint8_t events, scanning, operation, flags;
  };
  const Case cases[] = {
      {0, 0, 0, 0x00},       {1, 0, 0, 0x80}, {0, 1, 0, 0x40},    {0, 0, 1, 0x10},
      {0, 0, 2, 0x20},       {1, 1, 3, 0xF0}, {0xFE, 0, 0, 0x00},  // only bit 0 of events counts
      {0, 2, 0, 0x80},                                             // scanning is two bits wide and reaches into events
      {0, 3, 0, 0xC0},                                             //
      {0, 0xFC, 0xFC, 0x00},                                       // bits above are cut
  };
  TestHandle handle;
  for (const Case& c : cases) {
    const IpmiSensorEventEnable settings = {c.events, c.scanning, {0x11, 0x92, 0x23, 0xA4}};
    ScriptedDriver bmc = {{.net_fn = 0x04,
                           .cmd = 0x28,
                           .request = {0x3A, c.flags, 0x11, 0x92, 0x23, 0xA4},
                           .kind = 3,
                           .address = kSensor.owner_address,
                           .lun = kSensor.owner_lun}};
    EXPECT_EQ(ipmi_se_set_sensor_event_enable(handle, &kSensor, c.operation, &settings), 0u);
  }
}

TEST(Sensor, SetCommandsFail) {
  TestHandle handle;
  const uint8_t thresholds[IPMI_THRESHOLD_BYTES] = {};
  const IpmiSensorEventEnable settings = {};
  {
    ScriptedDriver silent(std::vector<Step>{});
    EXPECT_EQ(ipmi_se_set_sensor_threshold(nullptr, &kSensor, thresholds), IPMI_STATUS_APP_INVALID_PARAMETER);
    EXPECT_EQ(ipmi_se_set_sensor_threshold(handle, nullptr, thresholds), IPMI_STATUS_APP_INVALID_PARAMETER);
    EXPECT_EQ(ipmi_se_set_sensor_threshold(handle, &kSensor, nullptr), IPMI_STATUS_APP_INVALID_PARAMETER);
    EXPECT_EQ(ipmi_se_set_sensor_event_enable(nullptr, &kSensor, 0, &settings), IPMI_STATUS_APP_INVALID_PARAMETER);
    EXPECT_EQ(ipmi_se_set_sensor_event_enable(handle, nullptr, 0, &settings), IPMI_STATUS_APP_INVALID_PARAMETER);
    EXPECT_EQ(ipmi_se_set_sensor_event_enable(handle, &kSensor, 0, nullptr), IPMI_STATUS_APP_INVALID_PARAMETER);
  }
  // A completion code is passed on; data where none belongs does not fit into the reply that is not there.
  for (const Bytes& reply : {Bytes{0xCD}, Bytes{0x00, 0x01}}) {
    ScriptedDriver bmc = {
        {.net_fn = 0x04, .cmd = 0x26, .request = {0x3A, 0, 0, 0, 0, 0, 0, 0}, .reply = reply},
        {.net_fn = 0x04, .cmd = 0x28, .request = {0x3A, 0, 0, 0, 0, 0}, .reply = reply},
    };
    EXPECT_EQ(ipmi_se_set_sensor_threshold(handle, &kSensor, thresholds), 0x20000000u + reply[0]);
    EXPECT_EQ(ipmi_se_set_sensor_event_enable(handle, &kSensor, 0, &settings), 0x20000000u + reply[0]);
  }
}

}  // namespace
