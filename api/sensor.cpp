// Sensors of the BMC by number, and the event log.
#include "lumipmi/sensor.h"

#include <cstring>

#include "core/bytes.hpp"
#include "core/connection.hpp"
#include "core/exchange.hpp"
#include "lumipmi/api_sensor.h"
#include "lumipmi/sdr_repository.h"
#include "lumipmi/sel.h"
#include "platform/bytes.hpp"

using namespace lumi;

namespace {

/// A sensor of the BMC itself, on LUN 0.
constexpr IpmiSensorAddress bmc_sensor(uint8_t number) {
  return {kBmcAddress, 0, number};
}

}  // namespace

extern "C" uint32_t IPMIGetNumberOfSDREntries(uint16_t* count) {
  if (count == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  IpmiSdrRepositoryInfo info = {};
  LUMI_TRY(ipmi_storage_get_sdr_repository_info(bmc.handle(), &info));
  *count = info.record_count;
  return kOk;
}

extern "C" uint32_t IPMIGetSensorReading(uint8_t sensorNumber, uint32_t* reading) {
  if (reading == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  const IpmiSensorAddress sensor = bmc_sensor(sensorNumber);
  IpmiSensorReading result = {};
  LUMI_TRY(ipmi_se_get_sensor_reading(bmc.handle(), &sensor, &result));
  *reading = load_le32(result.raw, sizeof result.raw);
  return kOk;
}

extern "C" uint32_t IPMIGetSensorReadingFactors(uint8_t sensorNumber, uint8_t reading,
                                                IpmiSensorReadingFactors* factors) {
  if (factors == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  const IpmiSensorAddress sensor = bmc_sensor(sensorNumber);
  IpmiSensorReadingFactors result = {};
  LUMI_TRY(ipmi_se_get_sensor_reading_factors(bmc.handle(), &sensor, reading, &result));
  *factors = result;
  return kOk;
}

extern "C" uint32_t IPMIGetSensorThreshold(uint8_t sensorNumber, IPMISensorThresholds* thresholds) {
  if (thresholds == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  const IpmiSensorAddress sensor = bmc_sensor(sensorNumber);
  IPMISensorThresholds result = {};
  LUMI_TRY(ipmi_se_get_sensor_threshold(bmc.handle(), &sensor, result.bytes));
  *thresholds = result;
  return kOk;
}

extern "C" uint32_t IPMISetSensorThreshold(uint8_t sensorNumber, const IPMISensorThresholds* thresholds) {
  if (thresholds == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  const IpmiSensorAddress sensor = bmc_sensor(sensorNumber);
  return ipmi_se_set_sensor_threshold(bmc.handle(), &sensor, thresholds->bytes);
}

extern "C" uint32_t IPMIGetSensorHysteresis(uint8_t sensorNumber, uint8_t* positive, uint8_t* negative) {
  if (positive == nullptr || negative == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  const IpmiSensorAddress sensor = bmc_sensor(sensorNumber);
  uint16_t hysteresis = 0;
  LUMI_TRY(ipmi_se_get_sensor_hysteresis(bmc.handle(), &sensor, 0xFF, &hysteresis));
  *positive = static_cast<uint8_t>(hysteresis & 0xFF);
  *negative = static_cast<uint8_t>(hysteresis >> 8);
  return kOk;
}

extern "C" uint32_t IPMIGetSensorType(uint8_t sensorNumber, uint8_t* sensorType, uint8_t* eventReadingType) {
  if (sensorType == nullptr || eventReadingType == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  const IpmiSensorAddress sensor = bmc_sensor(sensorNumber);
  uint8_t type = 0;
  uint8_t event_type = 0;
  LUMI_TRY(ipmi_se_get_sensor_type(bmc.handle(), &sensor, &type, &event_type));
  *sensorType = type;
  *eventReadingType = event_type;
  return kOk;
}

extern "C" uint32_t IPMIGetSensorEventEnable(uint8_t sensorNumber, IPMISensorEventEnable* enable) {
  if (enable == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  const IpmiSensorAddress sensor = bmc_sensor(sensorNumber);
  IpmiSensorEventEnable enables = {};
  LUMI_TRY(ipmi_se_get_sensor_event_enable(bmc.handle(), &sensor, &enables));
  enable->flags = static_cast<uint8_t>(enables.event_messages_enabled << 7 | enables.scanning_enabled << 6);
  enable->eventMask = load_le32(enables.masks, sizeof enables.masks);
  return kOk;
}

extern "C" uint32_t IPMISetSensorEventEnable(uint8_t sensorNumber, const IPMISensorEventEnable* enable) {
  if (enable == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  const IpmiSensorAddress sensor = bmc_sensor(sensorNumber);
  IpmiSensorEventEnable enables = {};
  enables.event_messages_enabled = bits(enable->flags, 7, 7);
  enables.scanning_enabled = bits(enable->flags, 6, 6);
  store_le32(enable->eventMask, sizeof enables.masks, enables.masks);
  return ipmi_se_set_sensor_event_enable(bmc.handle(), &sensor, bits(enable->flags, 5, 4), &enables);
}

extern "C" uint32_t IPMISetSensorReading(uint8_t sensorNumber, const IPMISensorReadingSet* setting) {
  if (setting == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  Exchange ex(bmc.handle(), NetFn::SensorEvent, 0x30, Privilege::Operator);
  // The event data bytes that the command may carry are never sent.
  ex.u8(sensorNumber).u8(setting->operation).u8(setting->reading).bytes(setting->eventBits, sizeof setting->eventBits);
  return ex.send(Reply::at_least(0));
}

extern "C" uint32_t IPMIGetNumberOfSelEntries(uint16_t* count) {
  if (count == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  IpmiSelInfo info = {};
  LUMI_TRY(ipmi_storage_get_sel_info(bmc.handle(), &info));
  *count = info.entries;
  return kOk;
}

extern "C" uint32_t IPMIGetSel(uint16_t recordId, uint8_t entry[16], uint16_t* nextId) {
  if (entry == nullptr || nextId == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  constexpr uint8_t kNoReservation[2] = {};
  uint8_t capacity = 16;
  return ipmi_storage_get_sel_entry_data(bmc.handle(), kNoReservation, recordId, 0, 0xFF, nextId, &capacity, entry);
}

extern "C" uint32_t IPMIClearSel(void) {
  constexpr unsigned kReserveSupported = 1;
  Connection bmc;
  LUMI_TRY(bmc.open());
  IpmiSelInfo info = {};
  LUMI_TRY(ipmi_storage_get_sel_info(bmc.handle(), &info));
  if (info.entries == 0) return kOk;

  uint16_t reservation = 0;
  if (bits(info.operation_support, kReserveSupported, kReserveSupported) != 0) {
    const Status status = ipmi_storage_reserve_sel(bmc.handle(), &reservation);
    if (status == IPMI_STATUS_BMC_SEL_ERASE_IN_PROGRESS) return kOk;  // the log is being cleared
    LUMI_TRY(status);
  }
  uint8_t completed;  // whether the erasure has ended is not reported
  return ipmi_storage_clear_sel(bmc.handle(), &reservation, IPMI_SEL_INITIATE_ERASE, &completed);
}

extern "C" uint32_t IPMIGetSelTime(uint64_t* time) {
  Connection bmc;
  LUMI_TRY(bmc.open());
  return ipmi_storage_get_sel_time(bmc.handle(), time);
}
