// The sensor commands of NetFn Sensor/Event (IPMI v2.0 rev 1.1, 35).
#include "lumipmi/sensor.h"

#include <algorithm>
#include <cstring>

#include "core/exchange.hpp"
#include "decode/reading.hpp"

using namespace lumi;

namespace {

// A sensor of another controller takes more to read than one of the BMC.
Privilege privilege_to_read(const IpmiHandle& handle, const IpmiSensorAddress& sensor) {
  return sensor.owner_address == handle.bmcAddress ? Privilege::User : Privilege::Operator;
}

constexpr Reply at_least(uint16_t minimum) {
  return Reply::at_least(minimum, IPMI_STATUS_BMC_RESPOSE_UNAVAILABE);
}

}  // namespace

extern "C" uint32_t ipmi_se_get_sensor_reading_factors(IpmiHandle* handle, const IpmiSensorAddress* sensor,
                                                       uint8_t reading, IpmiSensorReadingFactors* factors) {
  if (handle == nullptr || sensor == nullptr || factors == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(factors, 0, sizeof *factors);

  Exchange ex(handle, NetFn::SensorEvent, 0x23, privilege_to_read(*handle, *sensor));
  ex.to(sensor->owner_address, sensor->owner_lun).u8(sensor->sensor_number).u8(reading);
  LUMI_TRY(ex.send(at_least(7)));

  ByteReader reply = ex.reply();
  factors->next_reading = reply.u8();  // byte 1
  unpack_factors(reply, *factors);     // bytes 2-7
  return kOk;
}

extern "C" uint32_t ipmi_se_get_sensor_hysteresis(IpmiHandle* handle, const IpmiSensorAddress* sensor, uint8_t mask,
                                                  uint16_t* hysteresis) {
  if (handle == nullptr || sensor == nullptr || hysteresis == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  *hysteresis = 0;

  Exchange ex(handle, NetFn::SensorEvent, 0x25, privilege_to_read(*handle, *sensor));
  ex.to(sensor->owner_address, sensor->owner_lun).u8(sensor->sensor_number).u8(mask);
  LUMI_TRY(ex.send(at_least(2)));

  *hysteresis = ex.reply().le16();  // bytes 1-2
  return kOk;
}

extern "C" uint32_t ipmi_se_set_sensor_threshold(IpmiHandle* handle, const IpmiSensorAddress* sensor,
                                                 const uint8_t* thresholds) {
  if (handle == nullptr || sensor == nullptr || thresholds == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::SensorEvent, 0x26, Privilege::Operator);
  ex.to(sensor->owner_address, sensor->owner_lun).u8(sensor->sensor_number).bytes(thresholds, IPMI_THRESHOLD_BYTES);
  return ex.send(Reply::none());
}

extern "C" uint32_t ipmi_se_get_sensor_threshold(IpmiHandle* handle, const IpmiSensorAddress* sensor,
                                                 uint8_t* thresholds) {
  if (handle == nullptr || sensor == nullptr || thresholds == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(thresholds, 0, IPMI_THRESHOLD_BYTES);

  Exchange ex(handle, NetFn::SensorEvent, 0x27, privilege_to_read(*handle, *sensor));
  ex.to(sensor->owner_address, sensor->owner_lun).u8(sensor->sensor_number);
  LUMI_TRY(ex.send(at_least(7)));

  ByteReader reply = ex.reply();
  const uint8_t readable = bits(reply.u8(), 5, 0);  // byte 1
  thresholds[IPMI_THRESHOLD_MASK] = readable;
  for (int i = 0; i < 6; ++i) {  // bytes 2-7
    const uint8_t threshold = reply.u8();
    if (bits(readable, i, i)) thresholds[IPMI_THRESHOLD_LOWER_NON_CRITICAL + i] = threshold;
  }
  return kOk;
}

extern "C" uint32_t ipmi_se_set_sensor_event_enable(IpmiHandle* handle, const IpmiSensorAddress* sensor,
                                                    uint8_t operation, const IpmiSensorEventEnable* settings) {
  if (handle == nullptr || sensor == nullptr || settings == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::SensorEvent, 0x28, Privilege::Operator);
  ex.to(sensor->owner_address, sensor->owner_lun).u8(sensor->sensor_number);
  // Scanning is two bits wide, so that 2 and 3 turn event messages on as well: part of the interface.
  ex.u8(static_cast<uint8_t>((settings->event_messages_enabled & 1) << 7 | (settings->scanning_enabled & 3) << 6 |
                             (operation & 3) << 4));
  ex.bytes(settings->masks, sizeof settings->masks);
  return ex.send(Reply::none());
}

extern "C" uint32_t ipmi_se_get_sensor_event_enable(IpmiHandle* handle, const IpmiSensorAddress* sensor,
                                                    IpmiSensorEventEnable* enables) {
  if (handle == nullptr || sensor == nullptr || enables == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(enables, 0, sizeof *enables);

  Exchange ex(handle, NetFn::SensorEvent, 0x29, privilege_to_read(*handle, *sensor));
  ex.to(sensor->owner_address, sensor->owner_lun).u8(sensor->sensor_number);
  LUMI_TRY(ex.send(at_least(1)));

  ByteReader reply = ex.reply();
  const uint8_t flags = reply.u8();  // byte 1
  enables->event_messages_enabled = bits(flags, 7, 7);
  enables->scanning_enabled = bits(flags, 6, 6);
  reply.copy(enables->masks, std::min(reply.left(), sizeof enables->masks));  // bytes 2-5, as many as came
  return kOk;
}

extern "C" uint32_t ipmi_se_get_sensor_reading(IpmiHandle* handle, const IpmiSensorAddress* sensor,
                                               IpmiSensorReading* reading) {
  if (handle == nullptr || sensor == nullptr || reading == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(reading, 0, sizeof *reading);

  Exchange ex(handle, NetFn::SensorEvent, 0x2D, privilege_to_read(*handle, *sensor));
  ex.to(sensor->owner_address, sensor->owner_lun).u8(sensor->sensor_number);
  LUMI_TRY(ex.send(at_least(2)));

  ByteReader reply = ex.reply();
  ByteReader kept = reply;
  kept.copy(reading->raw, std::min(kept.left(), sizeof reading->raw));
  reading->reading = reply.u8();     // byte 1
  const uint8_t flags = reply.u8();  // byte 2
  reading->event_messages_enabled = bits(flags, 7, 7);
  reading->scanning_enabled = bits(flags, 6, 6);
  reading->reading_unavailable = bits(flags, 5, 5);
  const uint8_t low_states = reply.u8();  // bytes 3-4; many sensors have fewer than nine states and send byte 3 alone
  reading->states = static_cast<uint16_t>(reply.u8() << 8 | low_states);
  return kOk;
}

extern "C" uint32_t ipmi_se_get_sensor_type(IpmiHandle* handle, const IpmiSensorAddress* sensor, uint8_t* sensorType,
                                            uint8_t* eventReadingType) {
  if (handle == nullptr || sensor == nullptr || sensorType == nullptr || eventReadingType == nullptr)
    return IPMI_STATUS_APP_INVALID_PARAMETER;
  *sensorType = 0;
  *eventReadingType = 0;

  Exchange ex(handle, NetFn::SensorEvent, 0x2F, privilege_to_read(*handle, *sensor));
  ex.to(sensor->owner_address, sensor->owner_lun).u8(sensor->sensor_number);
  LUMI_TRY(ex.send(at_least(2)));

  ByteReader reply = ex.reply();
  *sensorType = reply.u8();                    // byte 1
  *eventReadingType = bits(reply.u8(), 6, 0);  // byte 2
  return kOk;
}
