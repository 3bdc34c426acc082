// lumipmi sdr: the records of the SDR repository.
#include "tools/sdr.hpp"

#include <charconv>
#include <cstdlib>

#include "tools/command.hpp"
#include "tools/events.hpp"
#include "tools/names.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

Cell yes_no(bool value) {
  return Cell(value ? "yes" : "no", value);
}

Cell number_cell(uint64_t value) {
  return Cell(std::to_string(value), value);
}

Cell hex_cell(uint64_t value, int width = 2) {
  return Cell(hex_number(value, width), value);
}

/// One of a few words; the number itself where there is no word for it.
template <size_t N>
Cell choice_cell(const char* const (&words)[N], unsigned value) {
  return value < N ? Cell(words[value]) : Cell("reserved " + std::to_string(value));
}

struct Bit {
  uint8_t mask;
  const char* name;
};

template <size_t N>
Cell bits_cell(const Bit (&bits)[N], uint8_t value) {
  std::vector<std::string> names;
  for (const Bit& bit : bits)
    if (value & bit.mask) names.push_back(bit.name);
  return list_cell(names);
}

/// Table 43-1, byte 11, and the same in compact records.
constexpr Bit kInitialization[] = {{0x40, "scanning"},
                                   {0x20, "events"},
                                   {0x10, "thresholds"},
                                   {0x08, "hysteresis"},
                                   {0x04, "sensor type"},
                                   {0x02, "events on at start"},
                                   {0x01, "scanning on at start"}};
constexpr Bit kCapabilities[] = {{0x80, "ignored while the entity is absent"}, {0x40, "re-arms automatically"}};
constexpr const char* kAccess[] = {"none", "readable", "readable and settable", "fixed"};
constexpr const char* kEventControl[] = {"each event", "whole sensor", "whole controller", "no events"};
constexpr const char* kFormats[] = {"unsigned", "one's complement", "two's complement", "no analog reading"};
constexpr const char* kDirections[] = {"unspecified", "input", "output"};

std::string names_joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text.empty() ? "none" : text;
}

double without_noise(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.10g", value);
  return std::strtod(text, nullptr);
}

std::vector<std::string> threshold_names(uint8_t mask) {
  std::vector<std::string> names;
  for (unsigned index = 0; index < 6; ++index)
    if (mask >> index & 1) names.push_back(threshold_name(index));
  return names;
}

/// The limits of a full record that are given; `specified` 0: always.
void add_limits(Record& out, const Sensor& sensor, const Bytes& raw) {
  static constexpr struct {
    size_t place;
    uint8_t specified;
    const char* key;
    const char* label;
  } kLimits[] = {{31, 0x01, "nominal", "Nominal reading"},
                 {32, 0x02, "normal_maximum", "Normal maximum"},
                 {33, 0x04, "normal_minimum", "Normal minimum"},
                 {34, 0, "sensor_maximum", "Sensor maximum"},
                 {35, 0, "sensor_minimum", "Sensor minimum"}};
  for (const auto& limit : kLimits) {
    const bool given = limit.specified == 0 || (raw[30] & limit.specified) != 0;
    out.add(limit.key, limit.label,
            given ? or_text(value_cell(sensor.factors.value(raw[limit.place]), sensor.unit), "not defined")
                  : Cell("unspecified", nullptr, Severity::Faint));
  }
}

void add_full_facts(Record& out, const Sensor& sensor, const Bytes& raw) {
  const Factors& factors = sensor.factors;
  out.add("factors", "Factors", factors_cell(factors));
  out.add("tolerance", "Tolerance",
          or_text(value_cell(factors.difference(factors.tolerance / 2.0), sensor.unit), "depends on the reading"));
  double accuracy = factors.accuracy / 100.0;
  for (unsigned i = 0; i < factors.accuracy_exponent; ++i) accuracy *= 10;
  out.add("accuracy_percent", "Accuracy", Cell(number(accuracy) + " %", without_noise(accuracy)));
  if (factors.analog()) add_limits(out, sensor, raw);
  if (!sensor.is_threshold()) return;
  uint8_t thresholds[6];
  Factors same[6];
  for (size_t index = 0; index < 6; ++index) {
    thresholds[index] = raw[41 - index];  // the record has the upper non-recoverable one first
    same[index] = factors;
  }
  out.add("sdr_thresholds", "Thresholds in the SDR", thresholds_cell(sensor, sensor.readable_mask, thresholds, same));
  out.add("settable_thresholds", "Settable thresholds", list_cell(threshold_names(raw[19] & 0x3F)));
}

}  // namespace

Cell code_cell(uint8_t code, const std::string& name) {
  return Cell(name + " (" + hex_number(code) + ")", Json{{"code", code}, {"name", name}});
}

Cell entity_cell(uint8_t id, uint8_t instance, bool logical) {
  return Cell(entity_name(id, instance, logical),
              Json{{"id", id}, {"instance", instance}, {"name", entity_id_name(id)}, {"logical", logical}});
}

Cell value_cell(std::optional<double> value, const std::string& unit) {
  if (!value) return Cell();
  return Cell(unit.empty() ? number(*value) : number(*value) + " " + unit, without_noise(*value));
}

Cell or_text(Cell cell, const char* text) {
  if (cell.text.empty()) cell = Cell(text, std::move(cell.value), Severity::Faint);
  return cell;
}

Cell list_cell(const std::vector<std::string>& names) {
  return Cell(names_joined(names), Json(names));
}

std::vector<std::string> event_names(const Sensor& sensor, uint16_t mask) {
  std::vector<std::string> names;
  for (const StateText& state : states_of(sensor.sensor_type, sensor.event_type, mask)) names.push_back(state.text);
  return names;
}

Cell thresholds_cell(const Sensor& sensor, uint8_t mask, const uint8_t raw[6], const Factors factors[6]) {
  Cell cell("", Json::object());
  for (const unsigned index : {5u, 4u, 3u, 0u, 1u, 2u}) {
    if ((mask >> index & 1) == 0) continue;
    const Cell value = value_cell(factors[index].value(raw[index]), sensor.unit);
    if (!cell.text.empty()) cell.text += '\n';
    cell.text += std::string(threshold_name(index)) + " " + (value.text.empty() ? "" : value.text + " ") + "(" +
                 hex_number(raw[index]) + ")";
    cell.value[threshold_key(index)] = {{"value", value.value}, {"raw", raw[index]}};
  }
  if (cell.text.empty()) cell.text = "none";
  return cell;
}

Cell factors_cell(const Factors& f) {
  const Json value = {{"format", kFormats[f.format & 3]},
                      {"linearization", linearization_name(f.linearization)},
                      {"linearization_code", f.linearization},
                      {"m", f.m},
                      {"b", f.b},
                      {"b_exponent", f.b_exponent},
                      {"result_exponent", f.result_exponent}};
  return Cell(linearization_name(f.linearization) + ", M " + std::to_string(f.m) + ", B " + std::to_string(f.b) +
                  ", B exponent " + std::to_string(f.b_exponent) + ", result exponent " +
                  std::to_string(f.result_exponent) + ", " + kFormats[f.format & 3],
              value);
}

void add_sensor_facts(Record& out, const Sensor& sensor, const SdrRecord& record) {
  const Bytes& raw = record.raw;
  out.add("owner", "Owner", code_cell(sensor.owner, owner_name(sensor.owner)));
  out.add("channel", "Channel", number_cell(sensor.channel));
  out.add("entity", "Entity", entity_cell(sensor.entity_id, sensor.entity_instance, sensor.entity_logical));
  out.add("sensor_type", "Sensor type", code_cell(sensor.sensor_type, sensor_type_name(sensor.sensor_type)));
  out.add("event_type", "Event/reading type", code_cell(sensor.event_type, event_type_name(sensor.event_type)));
  if (sensor.event_only()) return;
  out.add("unit", "Unit", sensor.unit.empty() ? Cell("none", nullptr, Severity::Faint) : Cell(sensor.unit));
  out.add("initialization", "Initialized at start", bits_cell(kInitialization, raw[10]));
  out.add("capabilities", "Capabilities", bits_cell(kCapabilities, raw[11]));
  out.add("hysteresis_access", "Hysteresis access", choice_cell(kAccess, raw[11] >> 4 & 3));
  out.add("threshold_access", "Threshold access", choice_cell(kAccess, raw[11] >> 2 & 3));
  out.add("event_control", "Event control", choice_cell(kEventControl, raw[11] & 3));
  const uint16_t event_bits = sensor.is_threshold() ? 0x0FFF : 0x7FFF;
  const auto events_at = [&](size_t place) {
    return list_cell(event_names(sensor, static_cast<uint16_t>((raw[place] | raw[place + 1] << 8) & event_bits)));
  };
  out.add("possible_assertions", "Possible assertions", events_at(14));
  out.add("possible_deassertions", "Possible deassertions", events_at(16));
  if (sensor.is_threshold())
    out.add("compared_thresholds", "Compared thresholds", list_cell(threshold_names(sensor.comparison_mask)));
  else
    out.add("readable_states", "Readable states", list_cell(event_names(sensor, sensor.state_mask)));
  if (sensor.record_type == IPMI_SDR_FULL_SENSOR) add_full_facts(out, sensor, raw);
}

namespace {

void add_sharing(Record& out, const Bytes& raw, size_t place) {
  static constexpr const char* kModifiers[] = {"numeric", "alphabetic"};
  out.add("direction", "Direction", choice_cell(kDirections, raw[place] >> 6));
  out.add("share_count", "Sensors that share it", number_cell(raw[place] & 0x0F));
  out.add("modifier_type", "Name suffix", choice_cell(kModifiers, raw[place] >> 4 & 3));
  out.add("modifier_offset", "First suffix", number_cell(raw[place + 1] & 0x7F));
  out.add("instances_increment", "Entity instances count up", yes_no(raw[place + 1] & 0x80));
}

void add_sensors(Record& out, const SdrRecord& record) {
  const std::vector<Sensor> sensors = sensors_of(Repository{{record}, {}});
  if (sensors.empty()) return;
  const Bytes& raw = record.raw;
  const bool full = record.type() == IPMI_SDR_FULL_SENSOR;
  const bool compact = record.type() == IPMI_SDR_COMPACT_SENSOR;
  out.add("lun", "LUN", number_cell(sensors[0].lun));
  out.add("number", "Sensor number",
          Cell(std::to_string(sensors[0].number) + " (" + hex_number(sensors[0].number) + ")", sensors[0].number));
  add_sensor_facts(out, sensors[0], record);
  if (full || compact) {
    out.add("positive_hysteresis", "Positive hysteresis, raw", number_cell(raw[full ? 42 : 25]));
    out.add("negative_hysteresis", "Negative hysteresis, raw", number_cell(raw[full ? 43 : 26]));
  }
  if (!full) add_sharing(out, raw, compact ? 23 : 12);
  if (sensors.size() > 1) {
    std::vector<std::string> names;
    for (const Sensor& sensor : sensors) names.push_back(sensor.address() + " " + sensor.name);
    out.add("sensors", "Sensors", list_cell(names));
  }
  out.add("oem", "OEM byte", hex_cell(raw[full ? 46 : compact ? 30 : 15]));
}

void add_association(Record& out, const SdrRecord& record) {
  const Bytes& raw = record.raw;
  const bool device = record.type() == IPMI_SDR_DEVICE_ENTITY_ASSOCIATION;
  const uint8_t flags = raw[device ? 9 : 7];
  out.add("container", "Container", entity_cell(raw[5], raw[6] & 0x7F, raw[6] & 0x80));
  if (device) {
    out.add("container_address", "Container address", hex_cell(raw[7]));
    out.add("container_channel", "Container channel", number_cell(raw[8] >> 4));
  }
  out.add("is_range", "Contained as", Cell(flags & 0x80 ? "ranges" : "list", (flags & 0x80) != 0));
  out.add("is_linked", "Linked to other records", yes_no(flags & 0x40));
  out.add("always_accessible", "Presence sensor always accessible", yes_no(flags & 0x20));
  Cell contained("", Json::array());
  for (size_t entry = 0; entry < 4; ++entry) {
    const size_t place = device ? 10 + 4 * entry : 8 + 2 * entry;
    const size_t entity = device ? place + 2 : place;
    if (raw[entity] == 0) continue;
    Cell cell = entity_cell(raw[entity], raw[entity + 1] & 0x7F, raw[entity + 1] & 0x80);
    if (device) {
      cell.text += " of controller " + hex_number(raw[place]);
      cell.value["address"] = raw[place];
      cell.value["channel"] = raw[place + 1] >> 4;
    }
    const bool range_end = (flags & 0x80) && entry % 2 == 1;
    contained.text += (contained.text.empty() ? "" : range_end ? " to " : ", ") + cell.text;
    contained.value.push_back(cell.value);
  }
  if (contained.text.empty()) contained.text = "none";
  out.add("contained", "Contained", contained);
}

void add_generic_locator(Record& out, const Bytes& raw) {
  out.add("access_address", "Access address", hex_cell(raw[5] & 0xFE));
  out.add("slave_address", "Slave address", hex_cell(raw[6] & 0xFE));
  out.add("channel", "Channel", number_cell(static_cast<uint8_t>((raw[6] & 1) << 3 | raw[7] >> 5)));
  out.add("access_lun", "Access LUN", number_cell(raw[7] >> 3 & 3));
  out.add("private_bus", "Private bus", number_cell(raw[7] & 7));
  out.add("address_span", "Address span", number_cell(raw[8] & 7));
  out.add("device_type", "Device type", code_cell(raw[10], device_type_name(raw[10])));
  out.add("device_type_modifier", "Device type modifier", hex_cell(raw[11]));
  out.add("entity", "Entity", entity_cell(raw[12], raw[13] & 0x7F, raw[13] & 0x80));
  out.add("oem", "OEM byte", hex_cell(raw[14]));
}

void add_fru_locator(Record& out, const Bytes& raw) {
  const bool logical = raw[7] & 0x80;
  out.add("access_address", "Access address", hex_cell(raw[5] & 0xFE));
  out.add("is_logical", "Logical FRU device", yes_no(logical));
  if (logical)
    out.add("fru_id", "FRU device ID", number_cell(raw[6]));
  else
    out.add("slave_address", "Slave address", hex_cell(raw[6] & 0xFE));
  out.add("access_lun", "Access LUN", number_cell(raw[7] >> 3 & 3));
  out.add("private_bus", "Private bus", number_cell(raw[7] & 7));
  out.add("channel", "Channel", number_cell(raw[8] >> 4));
  out.add("device_type", "Device type", code_cell(raw[10], device_type_name(raw[10])));
  out.add("device_type_modifier", "Device type modifier", hex_cell(raw[11]));
  out.add("entity", "Entity", entity_cell(raw[12], raw[13] & 0x7F, raw[13] & 0x80));
  out.add("oem", "OEM byte", hex_cell(raw[14]));
}

/// Table 43-9.
constexpr Bit kPowerNotification[] = {{0x80, "system power state"}, {0x40, "device power state"}};
constexpr Bit kDeviceSupport[] = {
    {0x80, "chassis"},       {0x40, "bridge"}, {0x20, "IPMB event generator"}, {0x10, "IPMB event receiver"},
    {0x08, "FRU inventory"}, {0x04, "SEL"},    {0x02, "SDR repository"},       {0x01, "sensors"}};

void add_mc_locator(Record& out, const Bytes& raw) {
  static constexpr const char* kEventAgent[] = {"enable event messages", "disable event messages", "do not initialize"};
  out.add("slave_address", "Slave address", hex_cell(raw[5] & 0xFE));
  out.add("channel", "Channel", number_cell(raw[6] & 0x0F));
  out.add("power_notification", "Wants to be told of", bits_cell(kPowerNotification, raw[7]));
  out.add("is_static", "Static controller", yes_no(raw[7] & 0x20));
  out.add("logs_errors", "Logs initialization errors", yes_no(raw[7] & 0x08));
  out.add("event_agent", "Initialization agent", choice_cell(kEventAgent, raw[7] & 3));
  out.add("support", "Device support", bits_cell(kDeviceSupport, raw[8]));
  out.add("entity", "Entity", entity_cell(raw[12], raw[13] & 0x7F, raw[13] & 0x80));
  out.add("oem", "OEM byte", hex_cell(raw[14]));
}

uint32_t le24(const Bytes& raw, size_t place) {
  return host_bytes_to_uint32(&raw[place], 3);
}

/// Table 43-10. 32 bytes.
void add_mc_confirmation(Record& out, const Bytes& raw) {
  out.add("slave_address", "Slave address", hex_cell(raw[5] & 0xFE));
  out.add("device_id", "Device ID", number_cell(raw[6]));
  out.add("channel", "Channel", number_cell(raw[7] >> 4));
  out.add("device_revision", "Device revision", number_cell(raw[7] & 0x0F));
  out.add("firmware", "Firmware", std::to_string(raw[8] & 0x7F) + "." + hex_number(raw[9]).substr(2));
  out.add("ipmi_version", "IPMI version", std::to_string(raw[10] & 0x0F) + "." + std::to_string(raw[10] >> 4));
  out.add("manufacturer_id", "Manufacturer ID", number_cell(le24(raw, 11) & 0xFFFFF));
  out.add("product_id", "Product ID", hex_cell(static_cast<uint16_t>(raw[14] | raw[15] << 8), 4));
  out.add("guid", "Device GUID", hex_bytes(std::span(raw).subspan(16, 16)));
}

/// Table 43-11. 16 bytes.
void add_channel_info(Record& out, const Bytes& raw) {
  static constexpr const char* kProtocols[] = {nullptr, "IPMB 1.0", "ICMB 1.0", nullptr,  "IPMI SMBus",
                                               "KCS",   "SMIC",     "BT 1.0",   "BT 1.5", "terminal mode"};
  for (size_t channel = 0; channel < 8; ++channel) {
    const uint8_t info = raw[5 + channel];
    const uint8_t protocol = info & 0x0F;
    if ((info & 0x0F) == 0) continue;
    const char* name = protocol < std::size(kProtocols) ? kProtocols[protocol] : nullptr;
    out.add("channel_" + std::to_string(channel), "Channel " + std::to_string(channel),
            Cell(std::string(name != nullptr ? name : "protocol " + hex_number(protocol)) +
                     (info & 0x80 ? ", transmits" : "") + ", receive LUN " + std::to_string(info >> 4 & 7),
                 Json{{"protocol", protocol}, {"transmit", (info & 0x80) != 0}, {"receive_lun", info >> 4 & 7}}));
  }
  out.add("messaging_interrupt", "Messaging interrupt", hex_cell(raw[13]));
  out.add("event_buffer_interrupt", "Event message buffer interrupt", hex_cell(raw[14]));
}

void add_oem(Record& out, const Bytes& raw) {
  out.add("manufacturer_id", "Manufacturer ID", number_cell(le24(raw, 5)));
  out.add("data", "Data", hex_bytes(std::span(raw).subspan(8)));
}

void add_body(Record& out, const SdrRecord& record) {
  if (!record.decoded) return;
  switch (record.type()) {
    case IPMI_SDR_FULL_SENSOR:
    case IPMI_SDR_COMPACT_SENSOR:
    case IPMI_SDR_EVENT_ONLY:
      return add_sensors(out, record);
    case IPMI_SDR_ENTITY_ASSOCIATION:
    case IPMI_SDR_DEVICE_ENTITY_ASSOCIATION:
      return add_association(out, record);
    case IPMI_SDR_GENERIC_LOCATOR:
      return add_generic_locator(out, record.raw);
    case IPMI_SDR_FRU_LOCATOR:
      return add_fru_locator(out, record.raw);
    case IPMI_SDR_MC_LOCATOR:
      return add_mc_locator(out, record.raw);
    case IPMI_SDR_MC_CONFIRMATION:
      return add_mc_confirmation(out, record.raw);
    case IPMI_SDR_BMC_CHANNEL_INFO:
      return add_channel_info(out, record.raw);
    case IPMI_SDR_OEM:
      return add_oem(out, record.raw);
    default:
      return;
  }
}

Record record_in_full(const SdrRecord& record) {
  const std::string id = hex_number(record.id, 4);
  Record out{.key = "record", .title = "SDR record " + id, .fields = {}};
  out.add("record_id", "Record ID", Cell(id, record.id));
  if (record.raw.size() > 3) {
    const uint8_t version = record.raw[2];  // 51h is 1.5
    out.add("version", "SDR version", std::to_string(version & 0x0F) + "." + std::to_string(version >> 4));
    out.add("type", "Type", code_cell(record.type(), sdr_type_name(record.type())));
  }
  out.add("name", "Name",
          record_name(record).empty() ? Cell("none", nullptr, Severity::Faint) : Cell(record_name(record)));
  const Cell error = record.error.empty() ? Cell() : Cell(record.error, record.error, Severity::Critical);
  out.add("error", record.error.empty() ? "" : "Error", error);
  add_body(out, record);
  out.add("raw", "Raw", hex_bytes(record.raw));
  return out;
}

/// Entity of a record for the list; absent for records without one.
Cell entity_of(const SdrRecord& record) {
  const auto at = [&](size_t place) {
    return entity_cell(record.raw[place], record.raw[place + 1] & 0x7F, record.raw[place + 1] & 0x80);
  };
  if (!record.decoded) return Cell();
  switch (record.type()) {
    case IPMI_SDR_FULL_SENSOR:
    case IPMI_SDR_COMPACT_SENSOR:
    case IPMI_SDR_EVENT_ONLY:
      return at(8);
    case IPMI_SDR_GENERIC_LOCATOR:
    case IPMI_SDR_FRU_LOCATOR:
    case IPMI_SDR_MC_LOCATOR:
      return at(12);
    case IPMI_SDR_ENTITY_ASSOCIATION:
    case IPMI_SDR_DEVICE_ENTITY_ASSOCIATION:
      return at(5);
    default:
      return Cell();
  }
}

std::string sensor_summary(const SdrRecord& record) {
  const std::vector<Sensor> sensors = sensors_of(Repository{{record}, {}});
  if (sensors.empty()) return "";
  std::string text = sensor_type_name(sensors[0].sensor_type) + ", sensor " + sensors[0].address();
  if (sensors.size() > 1) text += " to " + sensors.back().address();
  return text;
}

/// What a record is about, in a few words.
std::string summary(const SdrRecord& record) {
  if (!record.decoded) return "";
  const Bytes& raw = record.raw;
  switch (record.type()) {
    case IPMI_SDR_FULL_SENSOR:
    case IPMI_SDR_COMPACT_SENSOR:
    case IPMI_SDR_EVENT_ONLY:
      return sensor_summary(record);
    case IPMI_SDR_ENTITY_ASSOCIATION:
    case IPMI_SDR_DEVICE_ENTITY_ASSOCIATION: {
      Record fields;
      add_association(fields, record);
      return "contains " + fields.fields.back().cell.text;
    }
    case IPMI_SDR_GENERIC_LOCATOR:
      return device_type_name(raw[10]) + " at " + hex_number(raw[6] & 0xFE) + ", private bus " +
             std::to_string(raw[7] & 7);
    case IPMI_SDR_FRU_LOCATOR:
      return raw[7] & 0x80 ? "FRU " + std::to_string(raw[6])
                           : device_type_name(raw[10]) + " at " + hex_number(raw[6] & 0xFE) + ", private bus " +
                                 std::to_string(raw[7] & 7);
    case IPMI_SDR_MC_LOCATOR:
    case IPMI_SDR_MC_CONFIRMATION:
      return "controller at " + hex_number(raw[5] & 0xFE);
    case IPMI_SDR_OEM:
      return "manufacturer " + std::to_string(le24(raw, 5));
    default:
      return "";
  }
}

void list_records(Session& session, Document& document) {
  const Repository repository = read_repository(session);
  Table table{.key = "records", .title = "", .columns = {}, .rows = {}};
  table.columns = {{"record_id", "Record"},   {"type", "Type"}, {"name", "Name"}, {"entity", "Entity"},
                   {"summary", "What it is"}, {"error", ""},    {"raw", ""}};
  for (const SdrRecord& record : repository.records) {
    const Cell error = record.error.empty() ? Cell() : Cell(record.error);
    const Cell what = record.error.empty() ? Cell(summary(record)) : Cell(record.error, nullptr, Severity::Critical);
    const std::string name = record_name(record);
    const bool typed = record.raw.size() > 3;
    table.rows.push_back({Cell(hex_number(record.id, 4), record.id),
                          typed ? Cell(sdr_type_name(record.type())) : Cell(), name.empty() ? Cell() : Cell(name),
                          entity_of(record), what, error, Cell(hex_bytes(record.raw))});
  }
  document.sections.push_back(std::move(table));
  for (const Problem& problem : repository.problems) document.problems.push_back(problem);
}

uint16_t parse_id(const std::string& text) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const char* begin = text.data() + (hex ? 2 : 0);
  const char* end = text.data() + text.size();
  uint16_t id = 0;
  const auto [stop, error] = std::from_chars(begin, end, id, hex ? 16 : 10);
  if (begin == end || stop != end || error != std::errc())
    throw Failure(Exit::Usage, "ID: \"" + to_utf8(text) + "\" is not a record ID", "Record IDs go from 0 to 0xFFFF.");
  return id;
}

void show_record(Session& session, const std::string& id, Document& document) {
  const SdrRecord record = read_record(session, parse_id(id));
  document.sections.push_back(record_in_full(record));
  if (!record.error.empty()) document.problem("SDR record " + hex_number(record.id, 4), record.error);
}

}  // namespace

void add_sdr(CLI::App& app, Context& context) {
  CLI::App* sdr = app.add_subcommand("sdr", "The sensor data records (SDR) of the repository");
  sdr->require_subcommand(0, 1);
  const auto list = [&context] {
    context.run = [&context](Document& document) { list_records(context.session, document); };
  };
  sdr->callback([sdr, list] {
    if (sdr->get_subcommands().empty()) list();
  });
  sdr->add_subcommand("list", "List them, one on each line (the default)")->callback(list);

  auto id = std::make_shared<std::string>();
  CLI::App* show = sdr->add_subcommand("show", "Show one record in full");
  show->add_option("ID", *id, "Record ID, decimal or 0x and hexadecimal; 0 the first, 0xFFFF the last")->required();
  show->callback([&context, id] {
    context.run = [&context, id](Document& document) { show_record(context.session, *id, document); };
  });
}

}  // namespace tool
