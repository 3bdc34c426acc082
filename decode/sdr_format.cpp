// Decoding of sensor data records (IPMI v2.0 rev 1.1, 43).
#include <algorithm>
#include <cstring>

#include "core/bytes.hpp"
#include "core/status.hpp"
#include "decode/reading.hpp"
#include "lumipmi/sdr.h"
#include "platform/bytes.hpp"

namespace lumi {
namespace {

constexpr uint16_t kHeaderSize = 5;
constexpr uint8_t kThresholdSensor = 1;  // event/reading type code

// As much of a record as any decoder looks at. What the caller did not give is zero, so that no ID string length and
// no body length leads out of the caller's bytes.
using Image = uint8_t[64];

uint16_t minimum_length(uint8_t record_type) {
  switch (record_type) {
    case IPMI_SDR_FULL_SENSOR:
      return 48;
    case IPMI_SDR_COMPACT_SENSOR:
      return 32;
    case IPMI_SDR_EVENT_ONLY:
      return 17;
    case IPMI_SDR_DEVICE_ENTITY_ASSOCIATION:
      return 26;
    case IPMI_SDR_ENTITY_ASSOCIATION:
    case IPMI_SDR_FRU_LOCATOR:
    case IPMI_SDR_MC_LOCATOR:
      return 16;
    default:
      return kHeaderSize;
  }
}

// Field by field: assigning a whole IpmiEntity would bring its padding along, which is cleared as all of the record.
void decode_entity(const uint8_t* from, IpmiEntity& entity) {
  entity.id = from[0];
  entity.instance = from[1];
}

uint16_t state_mask(const uint8_t* bytes) {
  return load_le16(bytes) & 0x0FFF;
}

template <size_t N>
Status copy_id_string(const uint8_t* text, uint8_t length, uint8_t (&out)[N]) {
  if (length > N) return IPMI_STATUS_APP_INVALID_FORMAT;
  std::memcpy(out, text, length);
  return kOk;
}

// Bytes 5-9 of every sensor record.
template <typename Sensor>
void decode_key(const Image& r, Sensor& sensor) {
  sensor.owner_is_software_id = bits(r[5], 0, 0);
  sensor.owner_id = r[5] & 0xFE;
  sensor.owner_lun = bits(r[6], 1, 0);
  sensor.channel_number = bits(r[6], 7, 4);
  sensor.sensor_number = r[7];
  sensor.entity.id = r[8];
  sensor.entity_is_logical = bits(r[9], 7, 7);
  sensor.entity.instance = bits(r[9], 6, 0);
}

// Bytes 10-17 and 20-22 of full and compact sensor records.
template <typename Sensor>
void decode_settings(const Image& r, Sensor& sensor) {
  sensor.init_scanning = bits(r[10], 6, 6);
  sensor.init_events = bits(r[10], 5, 5);
  sensor.init_thresholds = bits(r[10], 4, 4);
  sensor.init_hysteresis = bits(r[10], 3, 3);
  sensor.init_sensor_type = bits(r[10], 2, 2);
  sensor.events_enabled = bits(r[10], 1, 1);
  sensor.scanning_enabled = bits(r[10], 0, 0);
  sensor.ignore_if_entity_absent = bits(r[11], 7, 7);
  sensor.auto_rearm = bits(r[11], 6, 6);
  sensor.hysteresis_supported = bits(r[11], 5, 4) != 0;
  sensor.threshold_access = bits(r[11], 3, 2);
  sensor.event_message_control = bits(r[11], 1, 0);
  sensor.sensor_type = r[12];
  sensor.event_reading_type = r[13];
  sensor.assertion_mask = state_mask(&r[14]);
  sensor.deassertion_mask = state_mask(&r[16]);
  sensor.rate_unit = bits(r[20], 5, 3);
  sensor.modifier_unit_use = bits(r[20], 2, 1);
  sensor.percentage = bits(r[20], 0, 0);
  sensor.base_unit = r[21];
  sensor.modifier_unit = r[22];
}

// The two bytes about sharing in compact and event-only records.
template <typename Sensor>
void decode_sharing(const uint8_t* sharing, Sensor& sensor) {
  sensor.direction = bits(sharing[0], 7, 6);
  sensor.id_string_modifier_type = bits(sharing[0], 5, 4);
  sensor.share_count = bits(sharing[0], 3, 0);
  sensor.entity_instance_increments = bits(sharing[1], 7, 7);
  sensor.id_string_modifier_offset = bits(sharing[1], 6, 0);
}

Status decode_full(const Image& r, IpmiSdrFullSensor& sensor) {
  decode_key(r, sensor);
  decode_settings(r, sensor);
  sensor.threshold_comparison_mask = static_cast<uint8_t>(bits(r[17], 6, 4) << 3 | bits(r[15], 6, 4));
  // The comparison mask of another sensor than a threshold sensor is 16 bits wide and reaches over the settable mask,
  // whose byte is therefore 0. That, and the readable mask of 0, is part of the interface: bytes 18 and 19 of such a
  // record hold states, not thresholds.
  if (sensor.event_reading_type == kThresholdSensor) {
    sensor.settable_threshold_mask = bits(r[19], 5, 0);
    sensor.readable_threshold_mask = bits(r[18], 5, 0);
  }
  sensor.analog_data_format = bits(r[20], 7, 6);
  sensor.linearization = bits(r[23], 6, 0);
  unpack_factors(ByteReader(&r[24], 6), sensor);
  sensor.analog_flags = bits(r[30], 2, 0);
  const auto widened = [&sensor](uint8_t reading) {
    return static_cast<int16_t>(signed_data(static_cast<int32_t>(sensor.analog_data_format), reading, 8));
  };
  sensor.nominal_reading = widened(r[31]);
  sensor.normal_maximum = widened(r[32]);
  sensor.normal_minimum = widened(r[33]);
  sensor.sensor_maximum = widened(r[34]);
  sensor.sensor_minimum = widened(r[35]);
  sensor.upper_non_recoverable = r[36];  // thresholds stay raw, as part of the interface
  sensor.upper_critical = r[37];
  sensor.upper_non_critical = r[38];
  sensor.lower_non_recoverable = r[39];
  sensor.lower_critical = r[40];
  sensor.lower_non_critical = r[41];
  sensor.positive_hysteresis = r[42];
  sensor.negative_hysteresis = r[43];
  sensor.oem = r[46];
  sensor.id_string_type = bits(r[47], 7, 6);
  sensor.id_string_length = bits(r[47], 4, 0);
  return copy_id_string(&r[48], sensor.id_string_length, sensor.id_string);
}

Status decode_compact(const Image& r, IpmiSdrCompactSensor& sensor) {
  decode_key(r, sensor);
  sensor.fru_owner_lun = bits(r[6], 3, 2);
  decode_settings(r, sensor);
  sensor.reading_mask = load_le16(&r[18]) & 0x7FFF;
  decode_sharing(&r[23], sensor);
  sensor.positive_hysteresis = r[25];
  sensor.negative_hysteresis = r[26];
  sensor.oem = r[30];
  sensor.id_string_type = bits(r[31], 7, 6);
  sensor.id_string_length = bits(r[31], 4, 0);
  return copy_id_string(&r[32], sensor.id_string_length, sensor.id_string);
}

Status decode_event_only(const Image& r, IpmiSdrEventOnly& sensor) {
  decode_key(r, sensor);
  sensor.fru_owner_lun = bits(r[6], 3, 2);
  sensor.sensor_type = r[10];
  sensor.event_reading_type = r[11];
  decode_sharing(&r[12], sensor);
  sensor.oem = r[15];
  // The type of the ID string replaces the modifier type, and id_string_type stays 0: part of the interface, callers
  // look for it there.
  sensor.id_string_modifier_type = bits(r[16], 7, 6);
  sensor.id_string_length = bits(r[16], 4, 0);
  return copy_id_string(&r[17], sensor.id_string_length, sensor.id_string);
}

template <typename Association>
void decode_association_flags(uint8_t flags, Association& association) {
  association.list_is_range = bits(flags, 7, 7);
  association.record_is_linked = bits(flags, 6, 6);
  association.container_is_dynamic = bits(flags, 5, 5);
}

Status decode_association(const Image& r, IpmiSdrEntityAssociation& association) {
  decode_entity(&r[5], association.container);
  decode_association_flags(r[7], association);
  const uint8_t* from = &r[8];
  for (IpmiEntity& entity : association.entries) {
    decode_entity(from, entity);
    from += 2;
  }
  return kOk;
}

Status decode_device_association(const Image& r, IpmiSdrDeviceEntityAssociation& association) {
  decode_entity(&r[5], association.container);
  association.container_device_address = r[7];
  association.container_device_channel = r[8];
  decode_association_flags(r[9], association);
  const uint8_t* from = &r[10];
  for (IpmiDeviceEntity& entry : association.entries) {
    entry.device_address = from[0];
    entry.device_channel = from[1];
    decode_entity(&from[2], entry.entity);
    from += 4;
  }
  return kOk;
}

// Bytes 12 on of both device locator records.
template <typename Locator>
Status decode_locator_name(const Image& r, Locator& locator) {
  decode_entity(&r[12], locator.entity);
  locator.oem = r[14];
  locator.id_string_type = bits(r[15], 7, 6);
  locator.id_string_length = bits(r[15], 4, 0);
  return copy_id_string(&r[16], locator.id_string_length, locator.id_string);
}

Status decode_fru_locator(const Image& r, IpmiSdrFruLocator& locator) {
  locator.device_access_address = r[5] & 0xFE;
  locator.is_logical = bits(r[7], 7, 7);
  locator.fru_device_id = locator.is_logical ? r[6] : bits(r[6], 7, 1);
  locator.access_lun = bits(r[7], 4, 3);
  locator.private_bus_id = bits(r[7], 2, 0);
  locator.channel_number = bits(r[8], 7, 4);
  locator.device_type = r[10];
  locator.device_type_modifier = r[11];
  return decode_locator_name(r, locator);
}

Status decode_mc_locator(const Image& r, IpmiSdrMcLocator& locator) {
  locator.device_slave_address = r[5] & 0xFE;
  locator.channel_number = bits(r[6], 3, 0);
  locator.power_state_notification = bits(r[7], 7, 5);
  locator.global_initialization = bits(r[7], 3, 0);
  locator.device_capabilities = r[8];
  return decode_locator_name(r, locator);
}

Status keep_raw(const Image& r, IpmiSdrRaw& kept) {
  constexpr uint8_t kMaxBody = 64;  // more than body holds: 56 to 64 succeed without a body, part of the interface
  kept.body_length = r[4];
  std::memcpy(kept.head, r, sizeof kept.head);
  if (kept.body_length > kMaxBody) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
  if (kept.body_length <= sizeof kept.body) std::memcpy(kept.body, &r[5], kept.body_length);
  return kOk;
}

}  // namespace
}  // namespace lumi

using namespace lumi;

extern "C" uint32_t ipmi_hlp_format_sdr_record(uint16_t length, const uint8_t* raw, IpmiSdrInfo* info) {
  if (raw == nullptr || info == nullptr || length < kHeaderSize || raw[4] > length)
    return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(info, 0, sizeof *info);

  Image r = {};
  std::memcpy(r, raw, std::min<size_t>(length, sizeof r));
  const uint8_t version = r[2];
  info->record_id = load_le16(r);
  info->sdr_version = static_cast<uint8_t>(version << 4 | version >> 4);
  info->record_type = r[3];
  if (version != 0x51 && version != 0x01) return IPMI_STATUS_APP_UNSUPPORT_SDR_VERSION;
  if (length < minimum_length(info->record_type)) return IPMI_STATUS_APP_INVALID_FORMAT;

  switch (info->record_type) {
    case IPMI_SDR_FULL_SENSOR:
      return decode_full(r, info->body.full);
    case IPMI_SDR_COMPACT_SENSOR:
      return decode_compact(r, info->body.compact);
    case IPMI_SDR_EVENT_ONLY:
      return decode_event_only(r, info->body.event_only);
    case IPMI_SDR_ENTITY_ASSOCIATION:
      return decode_association(r, info->body.association);
    case IPMI_SDR_DEVICE_ENTITY_ASSOCIATION:
      return decode_device_association(r, info->body.device_association);
    case IPMI_SDR_FRU_LOCATOR:
      return decode_fru_locator(r, info->body.fru_locator);
    case IPMI_SDR_MC_LOCATOR:
      return decode_mc_locator(r, info->body.mc_locator);
    case IPMI_SDR_GENERIC_LOCATOR:
    case IPMI_SDR_MC_CONFIRMATION:
    case IPMI_SDR_BMC_CHANNEL_INFO:
    case IPMI_SDR_OEM:
      return keep_raw(r, info->body.raw);
    default:
      return kOk;
  }
}
