#include "support/sdr_builder.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "lumipmi/reading.h"
#include "lumipmi/status.h"

namespace lumi::test {
namespace {

// The name of a field is its path behind the record's own.
#define SDR_FIELD(record, path) #path, offsetof(IpmiSdrInfo, body.record.path), sizeof(IpmiSdrInfo().body.record.path)

using Fields = std::vector<SdrField>;

SdrField number(const char* name, size_t offset, size_t size, uint8_t byte, uint8_t high = 7, uint8_t low = 0) {
  return {name, offset, size, SdrField::kNumber, {{byte, high, low, 0}}};
}
SdrField number(const char* name, size_t offset, size_t size, std::vector<SdrSlice> slices) {
  return {name, offset, size, SdrField::kNumber, std::move(slices)};
}
SdrField special(const char* name, size_t offset, size_t size, SdrField::Kind kind, std::vector<SdrSlice> slices) {
  return {name, offset, size, kind, std::move(slices)};
}

#define SDR_KEY(record)                                                                                          \
  number(SDR_FIELD(record, owner_is_software_id), 5, 0, 0), number(SDR_FIELD(record, owner_id), {{5, 7, 1, 1}}), \
      number(SDR_FIELD(record, owner_lun), 6, 1, 0), number(SDR_FIELD(record, channel_number), 6, 7, 4),         \
      number(SDR_FIELD(record, sensor_number), 7), number(SDR_FIELD(record, entity.id), 8),                      \
      number(SDR_FIELD(record, entity_is_logical), 9, 7, 7), number(SDR_FIELD(record, entity.instance), 9, 6, 0)

#define SDR_SETTINGS(record)                                                                                         \
  number(SDR_FIELD(record, init_scanning), 10, 6, 6), number(SDR_FIELD(record, init_events), 10, 5, 5),              \
      number(SDR_FIELD(record, init_thresholds), 10, 4, 4), number(SDR_FIELD(record, init_hysteresis), 10, 3, 3),    \
      number(SDR_FIELD(record, init_sensor_type), 10, 2, 2), number(SDR_FIELD(record, events_enabled), 10, 1, 1),    \
      number(SDR_FIELD(record, scanning_enabled), 10, 0, 0),                                                         \
      number(SDR_FIELD(record, ignore_if_entity_absent), 11, 7, 7), number(SDR_FIELD(record, auto_rearm), 11, 6, 6), \
      special(SDR_FIELD(record, hysteresis_supported), SdrField::kNonZero, {{11, 5, 4, 0}}),                         \
      number(SDR_FIELD(record, threshold_access), 11, 3, 2),                                                         \
      number(SDR_FIELD(record, event_message_control), 11, 1, 0), number(SDR_FIELD(record, sensor_type), 12),        \
      number(SDR_FIELD(record, event_reading_type), 13),                                                             \
      number(SDR_FIELD(record, assertion_mask), {{14, 7, 0, 0}, {15, 3, 0, 8}}),                                     \
      number(SDR_FIELD(record, deassertion_mask), {{16, 7, 0, 0}, {17, 3, 0, 8}}),                                   \
      number(SDR_FIELD(record, rate_unit), 20, 5, 3), number(SDR_FIELD(record, modifier_unit_use), 20, 2, 1),        \
      number(SDR_FIELD(record, percentage), 20, 0, 0), number(SDR_FIELD(record, base_unit), 21),                     \
      number(SDR_FIELD(record, modifier_unit), 22)

#define SDR_LOCATOR(record)                                                                    \
  number(SDR_FIELD(record, entity.id), 12), number(SDR_FIELD(record, entity.instance), 13),    \
      number(SDR_FIELD(record, oem), 14), number(SDR_FIELD(record, id_string_type), 15, 7, 6), \
      number(SDR_FIELD(record, id_string_length), 15, 4, 0)

SdrLayout full_sensor() {
  SdrLayout layout = {IPMI_SDR_FULL_SENSOR,
                      48,
                      48,
                      16,
                      offsetof(IpmiSdrInfo, body.full.id_string),
                      {SDR_KEY(full), SDR_SETTINGS(full)}};
  const Fields own = {
      number(SDR_FIELD(full, threshold_comparison_mask), {{15, 6, 4, 0}, {17, 6, 4, 3}}),
      special(SDR_FIELD(full, readable_threshold_mask), SdrField::kThresholds, {{18, 5, 0, 0}}),
      special(SDR_FIELD(full, settable_threshold_mask), SdrField::kThresholds, {{19, 5, 0, 0}}),
      number(SDR_FIELD(full, analog_data_format), 20, 7, 6),
      number(SDR_FIELD(full, linearization), 23, 6, 0),
      special(SDR_FIELD(full, m), SdrField::kTwosComplement, {{24, 7, 0, 0}, {25, 7, 6, 8}}),
      number(SDR_FIELD(full, tolerance), 25, 5, 0),
      special(SDR_FIELD(full, b), SdrField::kTwosComplement, {{26, 7, 0, 0}, {27, 7, 6, 8}}),
      number(SDR_FIELD(full, precision), {{27, 5, 0, 0}, {28, 7, 4, 6}}),
      number(SDR_FIELD(full, precision_exponent), 28, 3, 2),
      special(SDR_FIELD(full, result_exponent), SdrField::kTwosComplement, {{29, 7, 4, 0}}),
      special(SDR_FIELD(full, b_exponent), SdrField::kTwosComplement, {{29, 3, 0, 0}}),
      number(SDR_FIELD(full, analog_flags), 30, 2, 0),
      special(SDR_FIELD(full, nominal_reading), SdrField::kAnalog, {{31, 7, 0, 0}}),
      special(SDR_FIELD(full, normal_maximum), SdrField::kAnalog, {{32, 7, 0, 0}}),
      special(SDR_FIELD(full, normal_minimum), SdrField::kAnalog, {{33, 7, 0, 0}}),
      special(SDR_FIELD(full, sensor_maximum), SdrField::kAnalog, {{34, 7, 0, 0}}),
      special(SDR_FIELD(full, sensor_minimum), SdrField::kAnalog, {{35, 7, 0, 0}}),
      number(SDR_FIELD(full, upper_non_recoverable), 36),
      number(SDR_FIELD(full, upper_critical), 37),
      number(SDR_FIELD(full, upper_non_critical), 38),
      number(SDR_FIELD(full, lower_non_recoverable), 39),
      number(SDR_FIELD(full, lower_critical), 40),
      number(SDR_FIELD(full, lower_non_critical), 41),
      number(SDR_FIELD(full, positive_hysteresis), 42),
      number(SDR_FIELD(full, negative_hysteresis), 43),
      number(SDR_FIELD(full, oem), 46),
      number(SDR_FIELD(full, id_string_type), 47, 7, 6),
      number(SDR_FIELD(full, id_string_length), 47, 4, 0),
  };
  layout.fields.insert(layout.fields.end(), own.begin(), own.end());
  return layout;
}

SdrLayout compact_sensor() {
  return {
      IPMI_SDR_COMPACT_SENSOR,
      32,
      32,
      30,
      offsetof(IpmiSdrInfo, body.compact.id_string),
      {SDR_KEY(compact), SDR_SETTINGS(compact), number(SDR_FIELD(compact, fru_owner_lun), 6, 3, 2),
       number(SDR_FIELD(compact, reading_mask), {{18, 7, 0, 0}, {19, 6, 0, 8}}),
       number(SDR_FIELD(compact, direction), 23, 7, 6), number(SDR_FIELD(compact, id_string_modifier_type), 23, 5, 4),
       number(SDR_FIELD(compact, share_count), 23, 3, 0),
       number(SDR_FIELD(compact, entity_instance_increments), 24, 7, 7),
       number(SDR_FIELD(compact, id_string_modifier_offset), 24, 6, 0),
       number(SDR_FIELD(compact, positive_hysteresis), 25), number(SDR_FIELD(compact, negative_hysteresis), 26),
       number(SDR_FIELD(compact, oem), 30), number(SDR_FIELD(compact, id_string_type), 31, 7, 6),
       number(SDR_FIELD(compact, id_string_length), 31, 4, 0)}};
}

SdrLayout event_only() {
  return {IPMI_SDR_EVENT_ONLY,
          17,
          17,
          30,
          offsetof(IpmiSdrInfo, body.event_only.id_string),
          {SDR_KEY(event_only), number(SDR_FIELD(event_only, fru_owner_lun), 6, 3, 2),
           number(SDR_FIELD(event_only, sensor_type), 10), number(SDR_FIELD(event_only, event_reading_type), 11),
           number(SDR_FIELD(event_only, direction), 12, 7, 6),
           number(SDR_FIELD(event_only, id_string_modifier_type), 16, 7, 6),  // not byte 12: kept
           number(SDR_FIELD(event_only, share_count), 12, 3, 0),
           number(SDR_FIELD(event_only, entity_instance_increments), 13, 7, 7),
           number(SDR_FIELD(event_only, id_string_modifier_offset), 13, 6, 0), number(SDR_FIELD(event_only, oem), 15),
           number(SDR_FIELD(event_only, id_string_length), 16, 4, 0)}};
}

SdrLayout association() {
  return {IPMI_SDR_ENTITY_ASSOCIATION,
          16,
          0,
          0,
          0,
          {number(SDR_FIELD(association, container.id), 5), number(SDR_FIELD(association, container.instance), 6),
           number(SDR_FIELD(association, list_is_range), 7, 7, 7),
           number(SDR_FIELD(association, record_is_linked), 7, 6, 6),
           number(SDR_FIELD(association, container_is_dynamic), 7, 5, 5),
           number(SDR_FIELD(association, entries[0].id), 8), number(SDR_FIELD(association, entries[0].instance), 9),
           number(SDR_FIELD(association, entries[1].id), 10), number(SDR_FIELD(association, entries[1].instance), 11),
           number(SDR_FIELD(association, entries[2].id), 12), number(SDR_FIELD(association, entries[2].instance), 13),
           number(SDR_FIELD(association, entries[3].id), 14), number(SDR_FIELD(association, entries[3].instance), 15)}};
}

#define SDR_DEVICE_ENTRY(n, first)                                                 \
  number(SDR_FIELD(device_association, entries[n].device_address), first),         \
      number(SDR_FIELD(device_association, entries[n].device_channel), first + 1), \
      number(SDR_FIELD(device_association, entries[n].entity.id), first + 2),      \
      number(SDR_FIELD(device_association, entries[n].entity.instance), first + 3)

SdrLayout device_association() {
  return {IPMI_SDR_DEVICE_ENTITY_ASSOCIATION,
          26,
          0,
          0,
          0,
          {number(SDR_FIELD(device_association, container.id), 5),
           number(SDR_FIELD(device_association, container.instance), 6),
           number(SDR_FIELD(device_association, container_device_address), 7),
           number(SDR_FIELD(device_association, container_device_channel), 8),
           number(SDR_FIELD(device_association, list_is_range), 9, 7, 7),
           number(SDR_FIELD(device_association, record_is_linked), 9, 6, 6),
           number(SDR_FIELD(device_association, container_is_dynamic), 9, 5, 5), SDR_DEVICE_ENTRY(0, 10),
           SDR_DEVICE_ENTRY(1, 14), SDR_DEVICE_ENTRY(2, 18), SDR_DEVICE_ENTRY(3, 22)}};
}

SdrLayout fru_locator() {
  return {IPMI_SDR_FRU_LOCATOR,
          16,
          16,
          30,
          offsetof(IpmiSdrInfo, body.fru_locator.id_string),
          {number(SDR_FIELD(fru_locator, device_access_address), {{5, 7, 1, 1}}),
           special(SDR_FIELD(fru_locator, fru_device_id), SdrField::kFruDevice, {{6, 7, 0, 0}}),
           number(SDR_FIELD(fru_locator, is_logical), 7, 7, 7), number(SDR_FIELD(fru_locator, access_lun), 7, 4, 3),
           number(SDR_FIELD(fru_locator, private_bus_id), 7, 2, 0),
           number(SDR_FIELD(fru_locator, channel_number), 8, 7, 4), number(SDR_FIELD(fru_locator, device_type), 10),
           number(SDR_FIELD(fru_locator, device_type_modifier), 11), SDR_LOCATOR(fru_locator)}};
}

SdrLayout mc_locator() {
  return {IPMI_SDR_MC_LOCATOR,
          16,
          16,
          30,
          offsetof(IpmiSdrInfo, body.mc_locator.id_string),
          {number(SDR_FIELD(mc_locator, device_slave_address), {{5, 7, 1, 1}}),
           number(SDR_FIELD(mc_locator, channel_number), 6, 3, 0),
           number(SDR_FIELD(mc_locator, power_state_notification), 7, 7, 5),
           number(SDR_FIELD(mc_locator, global_initialization), 7, 3, 0),
           number(SDR_FIELD(mc_locator, device_capabilities), 8), SDR_LOCATOR(mc_locator)}};
}

SdrLayout kept_raw(uint8_t type) {
  return {type,
          5,
          0,
          0,
          0,
          {number(SDR_FIELD(raw, body_length), 4), number(SDR_FIELD(raw, head[0]), 0),
           number(SDR_FIELD(raw, head[1]), 1), number(SDR_FIELD(raw, head[2]), 2), number(SDR_FIELD(raw, head[3]), 3)}};
}

bool is_kept_raw(uint8_t type) {
  return type == 0x10 || type == 0x13 || type == 0x14 || type == 0xC0;
}

[[noreturn]] void no_field(const std::string& field) {
  std::fprintf(stderr, "no such field in this record: %s\n", field.c_str());
  std::abort();
}

const SdrField& find_field(uint8_t type, const std::string& name) {
  for (const SdrField& field : sdr_layout(type).fields)
    if (field.name == name) return field;
  no_field(name);
}

void store(IpmiSdrInfo* info, const SdrField& field, int32_t value) {
  std::memcpy(reinterpret_cast<uint8_t*>(info) + field.offset, &value, field.size);  // both are little-endian
}

int32_t model_value(const std::vector<uint8_t>& r, const SdrField& field) {
  int32_t value = 0;
  int width = 0;
  for (const SdrSlice& slice : field.slices)
    for (int bit = slice.low; bit <= slice.high; ++bit) {
      if (r[slice.byte] & 1 << bit) value += 1 << (slice.to + bit - slice.low);
      ++width;
    }
  switch (field.kind) {
    case SdrField::kNumber:
      return value;
    case SdrField::kNonZero:
      return value ? 1 : 0;
    case SdrField::kTwosComplement:
      return value < 1 << (width - 1) ? value : value - (1 << width);
    case SdrField::kAnalog:
      if (value < 128) return value;
      return r[20] / 64 == 2 ? value - 256 : r[20] / 64 == 1 ? value - 255 : value;
    case SdrField::kThresholds:
      return r[13] == 1 ? value : 0;
    case SdrField::kFruDevice:
      return r[7] >= 128 ? value : value / 2;
  }
  return value;
}

}  // namespace

const std::vector<SdrLayout>& sdr_layouts() {
  static const std::vector<SdrLayout> layouts = {
      full_sensor(), compact_sensor(), event_only(),   association(),  device_association(), fru_locator(),
      mc_locator(),  kept_raw(0x10),   kept_raw(0x13), kept_raw(0x14), kept_raw(0xC0),
  };
  return layouts;
}

const SdrLayout& sdr_layout(uint8_t type) {
  for (const SdrLayout& layout : sdr_layouts())
    if (layout.type == type) return layout;
  static const SdrLayout plain = {0xFF, 5, 0, 0, 0, {}};
  return plain;
}

SdrBuilder::SdrBuilder(uint8_t type) : bytes_(sdr_layout(type).minimum) {
  bytes_[2] = 0x51;
  bytes_[3] = type;
  bytes_[4] = static_cast<uint8_t>(bytes_.size() - 5);
}

SdrBuilder& SdrBuilder::set(const std::string& name, int32_t value) {
  const auto stored = static_cast<uint32_t>(value);
  for (const SdrSlice& slice : find_field(bytes_[3], name).slices) {
    const unsigned mask = (1u << (slice.high - slice.low + 1)) - 1;
    uint8_t& byte = bytes_[slice.byte];
    byte = static_cast<uint8_t>((byte & ~(mask << slice.low)) | (stored >> slice.to & mask) << slice.low);
  }
  return *this;
}

SdrBuilder& SdrBuilder::byte(size_t index, uint8_t value) {
  bytes_.at(index) = value;
  return *this;
}

SdrBuilder& SdrBuilder::text(const std::string& text, uint8_t type_code) {
  const size_t at = sdr_layout(bytes_[3]).text_at;
  if (at == 0) no_field("ID string");
  bytes_.resize(at);
  bytes_[at - 1] = static_cast<uint8_t>(type_code * 64 + text.size());
  bytes_.insert(bytes_.end(), text.begin(), text.end());
  bytes_[4] = static_cast<uint8_t>(bytes_.size() - 5);
  return *this;
}

SdrBuilder& SdrBuilder::body(const std::vector<uint8_t>& bytes) {
  bytes_.resize(5);
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  bytes_[4] = static_cast<uint8_t>(bytes.size());
  return *this;
}

int32_t sdr_field(const IpmiSdrInfo& info, const std::string& name) {
  const SdrField& field = find_field(info.record_type, name);
  const uint8_t* at = reinterpret_cast<const uint8_t*>(&info) + field.offset;
  const bool is_signed = field.kind == SdrField::kTwosComplement || field.kind == SdrField::kAnalog;
  uint32_t value = 0;
  std::memcpy(&value, at, field.size);
  const auto unused = static_cast<int>(32 - 8 * field.size);
  return is_signed ? static_cast<int32_t>(value << unused) >> unused : static_cast<int32_t>(value);
}

uint32_t sdr_model(const std::vector<uint8_t>& record, IpmiSdrInfo* info) {
  std::vector<uint8_t> r = record;
  r.resize(512);  // what was not given is zero
  if (r[4] > record.size()) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(static_cast<void*>(info), 0, sizeof *info);
  info->record_id = static_cast<uint16_t>(r[0] + 256 * r[1]);
  info->sdr_version = static_cast<uint8_t>(r[2] % 16 * 16 + r[2] / 16);
  info->record_type = r[3];
  if (r[2] != 0x51 && r[2] != 0x01) return IPMI_STATUS_APP_UNSUPPORT_SDR_VERSION;

  const SdrLayout& layout = sdr_layout(r[3]);
  if (record.size() < layout.minimum) return IPMI_STATUS_APP_INVALID_FORMAT;
  for (const SdrField& field : layout.fields) store(info, field, model_value(r, field));
  if (is_kept_raw(r[3])) {
    if (r[4] > 64) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
    if (r[4] < 56) std::copy_n(&r[5], r[4], info->body.raw.body);
  }
  if (layout.text_at != 0) {
    const int length = r[layout.text_at - 1u] % 32;
    if (length > layout.text_room) return IPMI_STATUS_APP_INVALID_FORMAT;
    std::copy_n(&r[layout.text_at], length, reinterpret_cast<uint8_t*>(info) + layout.text_offset);
  }
  return 0;
}

std::vector<std::vector<uint8_t>> sdr_seeds() {
  std::vector<std::vector<uint8_t>> seeds;
  for (const SdrLayout& layout : sdr_layouts()) {
    SdrBuilder sparse(layout.type);
    SdrBuilder dense(layout.type);
    if (layout.text_at != 0) {
      sparse.text("Fan");
      dense.text(std::string(layout.text_room, 'x'));
    } else if (is_kept_raw(layout.type)) {
      sparse.body({1, 2, 3});
      dense.body(std::vector<uint8_t>(55, 0xEE));
    }
    for (size_t i = 5; i < layout.minimum; ++i)
      if (i + 1u != layout.text_at) dense.byte(i, static_cast<uint8_t>(i * 37));
    seeds.push_back(sparse.bytes());
    seeds.push_back(dense.bytes());
  }
  seeds.push_back(SdrBuilder(0x0A).bytes());
  return seeds;
}

std::string sdr_faults(const uint8_t* record, size_t size) {
  const std::unique_ptr<uint8_t[]> exact(new uint8_t[size]);
  std::copy_n(record, size, exact.get());
  IpmiSdrInfo info;
  IpmiSdrInfo expected;
  std::memset(static_cast<void*>(&info), 0xA5, sizeof info);
  std::memset(static_cast<void*>(&expected), 0xA5, sizeof expected);
  const uint32_t status = ipmi_hlp_format_sdr_record(static_cast<uint16_t>(size), exact.get(), &info);
  const uint32_t expected_status =
      size < 5 ? IPMI_STATUS_APP_INVALID_PARAMETER : sdr_model(std::vector<uint8_t>(record, record + size), &expected);
  char fault[160];
  if (status != expected_status) {
    std::snprintf(fault, sizeof fault, "status 0x%08x instead of 0x%08x", status, expected_status);
    return fault;
  }
  const auto* got = reinterpret_cast<const uint8_t*>(&info);
  const auto* wanted = reinterpret_cast<const uint8_t*>(&expected);
  for (size_t i = 0; i < sizeof info; ++i)
    if (got[i] != wanted[i]) {
      const char* name = "(header, text or padding)";
      for (const SdrField& field : sdr_layout(info.record_type).fields)
        if (i >= field.offset && i < field.offset + field.size) name = field.name;
      std::snprintf(fault, sizeof fault, "type 0x%02x: byte %zu of the decoded record, %s: 0x%02x instead of 0x%02x",
                    info.record_type, i, name, got[i], wanted[i]);
      return fault;
    }
  if (status != 0) return {};

  if (info.record_type == IPMI_SDR_FULL_SENSOR) {
    const IpmiSdrFullSensor& s = info.body.full;
    double value = -12345;
    const uint32_t converted =
        ipmi_hlp_calculate_reading_value(s.analog_data_format, s.linearization, s.m, s.b, s.result_exponent,
                                         s.b_exponent, static_cast<uint16_t>(s.nominal_reading), &value);
    if (converted != (s.linearization < 12 ? 0 : IPMI_STATUS_APP_INVALID_FORMAT)) return "status of the conversion";
    if (converted != 0 && value != -12345) return "value written by a failed conversion";
  }
  if (info.record_type == IPMI_SDR_COMPACT_SENSOR) {
    const IpmiSdrCompactSensor& s = info.body.compact;
    const size_t units = s.id_string_length;  // from no room at all to room for everything
    const std::unique_ptr<wchar_t[]> name(new wchar_t[units]);
    wchar_t base[sizeof s.id_string + 1] = {};
    std::copy_n(s.id_string, s.id_string_length / 2, base);
    const uint32_t named = ipmi_hlp_get_share_sdr_string(
        static_cast<int8_t>(s.share_count), static_cast<int8_t>(s.id_string_modifier_type), s.id_string_modifier_offset,
        s.sensor_number, base, static_cast<uint16_t>(units * sizeof(wchar_t)), name.get());
    if (units != 0 && std::find(name.get(), name.get() + units, L'\0') == name.get() + units)
      return "unterminated name";
    if (units != 0 && named != 0 && name[0] != 0) return "name written on failure";
    if (units == 0 && named == 0) return "name without room";
  }
  return {};
}

}  // namespace lumi::test
