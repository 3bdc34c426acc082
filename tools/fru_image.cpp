#include "tools/fru_image.hpp"

#include <algorithm>
#include <array>
#include <ctime>

#include "tools/text.hpp"

namespace tool::fru {

namespace {

constexpr size_t kHeaderSize = 8;
constexpr size_t kRecordHeaderSize = 5;
constexpr uint8_t kEndOfFields = 0xC1;
constexpr uint8_t kFormatVersion = 1;
constexpr uint8_t kRecordFormatVersion = 2;

struct Name {
  const char* key;
  const char* label;
};

constexpr Name kChassisFields[] = {{"part_number", "Part number"}, {"serial_number", "Serial number"}};
constexpr Name kBoardFields[] = {{"manufacturer", "Manufacturer"},
                                 {"product_name", "Product name"},
                                 {"serial_number", "Serial number"},
                                 {"part_number", "Part number"},
                                 {"fru_file_id", "FRU file ID"}};
constexpr Name kProductFields[] = {{"manufacturer", "Manufacturer"},   {"product_name", "Product name"},
                                   {"part_number", "Part number"},     {"version", "Version"},
                                   {"serial_number", "Serial number"}, {"asset_tag", "Asset tag"},
                                   {"fru_file_id", "FRU file ID"}};

std::span<const Name> field_names(Kind kind) {
  switch (kind) {
    case Kind::Chassis:
      return kChassisFields;
    case Kind::Board:
      return kBoardFields;
    case Kind::Product:
      return kProductFields;
    default:
      return {};
  }
}

/// Bytes in front of the first field.
size_t fields_offset(Kind kind) {
  return kind == Kind::Board ? 6 : 3;
}

Value named_value(Kind kind, size_t index) {
  const std::span<const Name> names = field_names(kind);
  Value value;
  if (index < names.size()) {
    value.key = names[index].key;
    value.label = names[index].label;
  } else {
    const std::string number = std::to_string(index - names.size() + 1);
    value.key = "custom_" + number;
    value.label = "Custom " + number;
  }
  return value;
}

uint8_t sum_of(View bytes) {
  uint8_t sum = 0;
  for (const uint8_t byte : bytes) sum = static_cast<uint8_t>(sum + byte);
  return sum;
}

bool all_equal(View bytes, uint8_t value) {
  return std::all_of(bytes.begin(), bytes.end(), [value](uint8_t byte) { return byte == value; });
}

uint16_t le16(View bytes, size_t at) {
  return static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8);
}

std::string plural(size_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string at(size_t offset) {
  return "offset " + hex_number(offset, 4);
}

/// Walks one image.
class Walker {
 public:
  explicit Walker(View image) : image_(image) {}

  Image walk() {
    if (image_.size() < kHeaderSize) {
      note("common header", "the image ends after " + plural(image_.size(), "byte") + "; the header has 8", true);
      return std::move(result_);
    }
    const View header = image_.first(kHeaderSize);
    if (all_equal(header, 0xFF) || all_equal(header, 0x00)) {
      result_.blank = true;
      note("common header",
           "not programmed: the " + std::string(all_equal(image_, header[0]) ? "image" : "header") + " is all " +
               (header[0] == 0 ? "00h" : "FFh"),
           true);
      return std::move(result_);
    }
    check_version("common header", header[0]);
    if (const uint8_t sum = sum_of(header); sum != 0) note("common header", wrong_sum(sum, header[7]), true);

    for (const Kind kind : {Kind::InternalUse, Kind::Chassis, Kind::Board, Kind::Product, Kind::MultiRecord}) {
      const size_t offset = header[1 + static_cast<size_t>(kind)] * 8u;
      if (offset == 0) continue;
      if (offset >= image_.size()) {
        note(name_of(kind),
             "its offset " + hex_number(offset, 4) + " lies outside the image of " + plural(image_.size(), "byte"),
             kind == Kind::Chassis || kind == Kind::Board || kind == Kind::Product);
        continue;
      }
      if (kind == Kind::InternalUse)
        internal_use(offset);
      else if (kind == Kind::MultiRecord)
        multirecords(offset);
      else
        info_area(kind, offset);
    }
    check_overlaps();
    return std::move(result_);
  }

 private:
  void note(std::string where, std::string what, bool refused = false) {
    result_.findings.push_back({std::move(where), std::move(what), refused});
  }

  static std::string wrong_sum(uint8_t sum, uint8_t stored) {
    return "the checksum is wrong: " + hex_number(stored) + " is stored, " +
           hex_number(static_cast<uint8_t>(stored - sum)) + " would fit";
  }

  /// The library judges bits 3:1 only.
  void check_version(const std::string& where, uint8_t version) {
    if (version != kFormatVersion)
      note(where, "unknown format version " + hex_number(version) + " (1 is known)", (version & 0x0E) != 0);
  }

  /// Offset of the area behind this one, or the end of the image.
  size_t next_offset(size_t offset) const {
    size_t next = image_.size();
    for (size_t i = 1; i <= 5; ++i)
      if (const size_t other = image_[i] * 8u; other > offset && other < next) next = other;
    return next;
  }

  void internal_use(size_t offset) {
    Area area;
    area.kind = Kind::InternalUse;
    area.offset = offset;
    area.size = next_offset(offset) - offset;  // the area has no length of its own
    area.version = image_[offset];             // not judged: what the area holds is its owner's business
    result_.areas.push_back(std::move(area));
  }

  static std::string where(const Area& area) { return std::string(name_of(area.kind)) + " (" + at(area.offset) + ")"; }

  void info_area(Kind kind, size_t offset) {
    Area area;
    area.kind = kind;
    area.offset = offset;
    area.version = image_[offset];
    const std::string place = where(area);
    const size_t left = image_.size() - offset;
    if (left < fields_offset(kind)) {
      note(place, "the image ends inside the head of the area", true);
      area.size = left;
      result_.areas.push_back(std::move(area));
      return;
    }
    check_version(place, area.version);

    const size_t claimed = image_[offset + 1] * 8u;
    size_t end = offset + std::min(claimed, left);  // of the fields
    if (claimed == 0) {
      note(place, "its length is 0, so there is no checksum to verify");
      end = next_offset(offset);
    } else if (claimed > left) {
      note(place, "it claims " + plural(claimed, "byte") + ", the image has " + std::to_string(left) + " of them",
           true);
    } else {
      const uint8_t sum = sum_of(image_.subspan(offset, claimed));
      area.checksum = sum == 0 ? Checksum::Good : Checksum::Wrong;
      --end;  // the last byte is the checksum
      if (sum != 0) note(place, wrong_sum(sum, image_[end]), true);
    }
    area.size = claimed == 0 ? end - offset : std::min(claimed, left);

    if (kind == Kind::Chassis)
      area.chassis_type = image_[offset + 2];
    else
      area.language = image_[offset + 2];
    if (kind == Kind::Board) area.minutes = le16(image_, offset + 3) | static_cast<uint32_t>(image_[offset + 5]) << 16;
    fields(area, std::min(offset + fields_offset(kind), end), end, place);
    result_.areas.push_back(std::move(area));
  }

  /// The library looks for the fields and the end marker behind the area, too.
  void fields(Area& area, size_t position, size_t end, const std::string& place) {
    const size_t fixed = field_names(area.kind).size();
    for (size_t index = 0;; ++index) {
      Value value = named_value(area.kind, index);
      if (position >= end) {
        note(place,
             "no end marker C1h" +
                 (index < fixed ? "; it ends in front of the field \"" + value.label + "\"" : std::string()),
             true);
        return;
      }
      const uint8_t type_length = image_[position];
      if (type_length == kEndOfFields) {
        if (index >= fixed) return;
        // One character of 8-bit text has the same byte, and there are images with such fields.
        const View rest = image_.subspan(position + 1, end - position - 1);
        if (all_equal(rest, 0x00)) {
          note(place, "the end marker C1h stands where the field \"" + value.label + "\" should be", true);
          return;
        }
        note(place, "the field \"" + value.label +
                        "\" begins with the end marker C1h; as more fields follow, it is taken for one character");
      }
      value.offset = position++;
      value.type = type_length >> 6;
      const size_t length = type_length & 0x3F;
      const size_t present = std::min(length, end - position);
      const View data = image_.subspan(position, present);
      value.data.assign(data.begin(), data.end());
      if (present < length)
        note(place,
             "the field \"" + value.label + "\" claims " + plural(length, "byte") + ", the area has " +
                 std::to_string(present) + " left",
             true);
      position += present;
      area.values.push_back(std::move(value));
      if (present < length) return;
    }
  }

  void multirecords(size_t offset) {
    Area area;
    area.kind = Kind::MultiRecord;
    area.offset = offset;
    size_t position = offset;
    for (bool last = false; !last;) {
      const std::string place = "multirecord " + std::to_string(result_.records.size() + 1) + " (" + at(position) + ")";
      if (image_.size() - position < kRecordHeaderSize) {
        note(place, "the image ends in its header; no record is marked as the last");
        position = image_.size();
        break;
      }
      const View header = image_.subspan(position, kRecordHeaderSize);
      MultiRecord record;
      record.offset = position;
      record.type = header[0];
      record.format = header[1];
      record.length = header[2];
      const uint8_t sum = sum_of(header);
      record.header_checksum = sum == 0 ? Checksum::Good : Checksum::Wrong;
      if (all_equal(header, 0x00)) {
        note(place, "empty space; no record is marked as the last");
        break;
      }
      position += kRecordHeaderSize;
      if (sum != 0) {
        // Its length is not to be trusted, so nothing behind it can be found.
        note(place, "the header's checksum is wrong: " + hex_number(header[4]) + " is stored, " +
                        hex_number(static_cast<uint8_t>(header[4] - sum)) + " would fit; not read any further");
        result_.records.push_back(std::move(record));
        break;
      }
      if ((record.format & 0x0F) != kRecordFormatVersion)
        note(place, "unknown format version " + std::to_string(record.format & 0x0F) + " (2 is known)");
      const View data = image_.subspan(position, std::min<size_t>(record.length, image_.size() - position));
      record.data.assign(data.begin(), data.end());
      position += data.size();
      if (data.size() < record.length) {
        note(place, "it claims " + plural(record.length, "byte") + " of data, the image has " +
                        std::to_string(data.size()) + " of them");
        last = true;
      } else {
        const uint8_t data_sum = static_cast<uint8_t>(sum_of(data) + header[3]);
        record.data_checksum = data_sum == 0 ? Checksum::Good : Checksum::Wrong;
        if (data_sum != 0) note(place, wrong_sum(data_sum, header[3]));
      }
      if ((record.format & 0x80) != 0) last = true;
      result_.records.push_back(std::move(record));
    }
    area.size = position - offset;
    const bool good = std::all_of(result_.records.begin(), result_.records.end(), [](const MultiRecord& record) {
      return record.header_checksum == Checksum::Good && record.data_checksum == Checksum::Good;
    });
    area.checksum = result_.records.empty() ? Checksum::None : good ? Checksum::Good : Checksum::Wrong;
    result_.areas.push_back(std::move(area));
  }

  void check_overlaps() {
    for (size_t i = 0; i < result_.areas.size(); ++i)
      for (size_t j = i + 1; j < result_.areas.size(); ++j) {
        const Area& a = result_.areas[i];
        const Area& b = result_.areas[j];
        if (a.offset < b.offset + b.size && b.offset < a.offset + a.size) note(where(a), "it overlaps the " + where(b));
      }
  }

  View image_;
  Image result_;
};

/// UTF-8 of one code point.
void append_utf8(std::string& out, uint32_t c) {
  const auto put = [&out](uint32_t byte) { out += static_cast<char>(byte); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | c >> 6);
    put(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    put(0xE0 | c >> 12);
    put(0x80 | (c >> 6 & 0x3F));
    put(0x80 | (c & 0x3F));
  } else {
    put(0xF0 | c >> 18);
    put(0x80 | (c >> 12 & 0x3F));
    put(0x80 | (c >> 6 & 0x3F));
    put(0x80 | (c & 0x3F));
  }
}

/// Two-byte characters, low byte first.
std::string text_of_utf16(View bytes) {
  std::string out;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    uint32_t c = le16(bytes, i);
    if (c >= 0xD800 && c < 0xDC00 && i + 3 < bytes.size()) {
      const uint32_t low = le16(bytes, i + 2);
      if (low >= 0xDC00 && low < 0xE000) {
        c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
        i += 2;
      }
    }
    append_utf8(out, c >= 0xD800 && c < 0xE000 ? 0xFFFD : c);
  }
  return to_utf8(std::string_view(out));
}

/// Names and vendors in a language other than English are stored in two-byte characters; many boards name such a
/// language and store plain ASCII all the same.
bool is_wide(const Value& value, uint8_t language) {
  return value.type == IPMI_FIELD_TEXT && language != 0 && language != 25 &&
         !std::all_of(value.data.begin(), value.data.end(), [](uint8_t byte) { return byte >= 0x20 && byte < 0x7F; });
}

Cell scaled(uint32_t count, double unit, const char* name) {
  const double value = count * unit;
  return Cell(number(value, 6) + " " + name, value);
}

Cell optional_cell(uint32_t count, uint32_t absent, double unit, const char* name) {
  return count == absent ? Cell("unspecified", nullptr) : scaled(count, unit, name);
}

Cell yes_no(bool flag) {
  return Cell(flag ? "yes" : "no", flag);
}

/// Power supply information (18.1), 24 bytes.
std::vector<Field> power_supply(View data) {
  static const char* const kVoltages[] = {"12 V", "-12 V", "5 V", "3.3 V"};
  const auto voltage = [](unsigned code) {
    return code < 4 ? std::string(kVoltages[code]) : "voltage code " + std::to_string(code);
  };
  const uint8_t flags = data[17];
  std::vector<Field> fields = {{"capacity_watts", "Overall capacity", scaled(le16(data, 0) & 0x0FFF, 1, "W")},
                               {"peak_va", "Peak VA", optional_cell(le16(data, 2), 0xFFFF, 1, "VA")},
                               {"inrush_current_amperes", "Inrush current", optional_cell(data[4], 0xFF, 1, "A")},
                               {"inrush_interval_ms", "Inrush interval", scaled(data[5], 1, "ms")},
                               {"input_voltage_1_low", "Input range 1, low end", scaled(le16(data, 6), 0.01, "V")},
                               {"input_voltage_1_high", "Input range 1, high end", scaled(le16(data, 8), 0.01, "V")},
                               {"input_voltage_2_low", "Input range 2, low end", scaled(le16(data, 10), 0.01, "V")},
                               {"input_voltage_2_high", "Input range 2, high end", scaled(le16(data, 12), 0.01, "V")},
                               {"input_frequency_low", "Input frequency, low end", scaled(data[14], 1, "Hz")},
                               {"input_frequency_high", "Input frequency, high end", scaled(data[15], 1, "Hz")},
                               {"dropout_tolerance_ms", "AC dropout tolerance", scaled(data[16], 1, "ms")},
                               {"predictive_fail", "Predictive fail signal", yes_no((flags & 0x01) != 0)},
                               {"power_factor_correction", "Power factor correction", yes_no((flags & 0x02) != 0)},
                               {"autoswitch", "Autoswitch", yes_no((flags & 0x04) != 0)},
                               {"hot_swap", "Hot swap", yes_no((flags & 0x08) != 0)}};
  if ((flags & 0x01) != 0) {
    // A threshold says that the signal is a tachometer; then bit 4 tells its pulses, else its polarity.
    const bool tachometer = data[23] != 0;
    const bool bit = (flags & 0x10) != 0;
    const char* meaning = tachometer ? (bit ? "two pulses a turn" : "one pulse a turn")
                                     : (bit ? "asserted means failure" : "deasserted means failure");
    fields.push_back({"predictive_fail_signal", "Predictive fail pin", meaning});
    fields.push_back({"predictive_fail_threshold_rps", "Predictive fail threshold",
                      data[23] == 0 ? Cell("none", nullptr) : scaled(data[23], 1, "turns/s")});
  }
  fields.push_back({"peak_watts", "Peak capacity", scaled(le16(data, 18) & 0x0FFF, 1, "W")});
  fields.push_back({"hold_up_seconds", "Peak hold-up time", scaled(data[19] >> 4, 1, "s")});
  if (const uint16_t combined = le16(data, 21); combined == 0)
    fields.push_back({"combined_watts", "Combined capacity", Cell("unspecified", nullptr)});
  else
    fields.push_back(
        {"combined_watts", "Combined capacity",
         Cell(std::to_string(combined) + " W for " + voltage(data[20] >> 4) + " and " + voltage(data[20] & 0x0F),
              combined)});
  return fields;
}

Cell signed_voltage(View data, size_t at) {
  const double volts = static_cast<int16_t>(le16(data, at)) * 0.01;
  return Cell(number(volts, 6) + " V", volts);
}

/// DC output (18.2) and DC load (18.3), 13 bytes.
std::vector<Field> dc_output_or_load(View data, bool output) {
  std::vector<Field> fields = {{"output", "Output number", Cell(std::to_string(data[0] & 0x0F), data[0] & 0x0F)}};
  if (output) fields.push_back({"standby", "Present in standby", yes_no((data[0] & 0x80) != 0)});
  fields.insert(fields.end(),
                {{"nominal_volts", "Nominal voltage", signed_voltage(data, 1)},
                 {"minimum_volts", output ? "Maximum negative deviation" : "Minimum voltage", signed_voltage(data, 3)},
                 {"maximum_volts", output ? "Maximum positive deviation" : "Maximum voltage", signed_voltage(data, 5)},
                 {"ripple_mv", "Ripple and noise", scaled(le16(data, 7), 1, "mV")},
                 {"minimum_amperes", "Minimum current", scaled(le16(data, 9), 0.001, "A")},
                 {"maximum_amperes", "Maximum current", scaled(le16(data, 11), 0.001, "A")}});
  return fields;
}

/// Management access (18.4).
std::vector<Field> management_access(View data) {
  static constexpr Name kTypes[] = {
      {"system_url", "System management URL"},        {"system_name", "System name"},
      {"system_ping_address", "System ping address"}, {"component_url", "Component management URL"},
      {"component_name", "Component name"},           {"component_ping_address", "Component ping address"},
      {"system_unique_id", "System unique ID"}};
  const uint8_t type = data[0];
  const View rest = data.subspan(1);
  if (type == 7) return {{kTypes[6].key, kTypes[6].label, hex_bytes(rest)}};
  if (type >= 1 && type < 7) return {{kTypes[type - 1].key, kTypes[type - 1].label, to_utf8(rest)}};
  return {{"unknown", "Unknown sub-record " + hex_number(type), hex_bytes(rest)}};
}

std::vector<Field> oem_record(View data) {
  const uint32_t manufacturer = le16(data, 0) | static_cast<uint32_t>(data[2]) << 16;
  return {{"manufacturer_id", "Manufacturer ID", Cell(std::to_string(manufacturer), manufacturer)},
          {"oem_data", "OEM data", hex_bytes(data.subspan(3))}};
}

}  // namespace

const Area* Image::find(Kind kind) const {
  for (const Area& area : areas)
    if (area.kind == kind) return &area;
  return nullptr;
}

bool Image::refused() const {
  return std::any_of(findings.begin(), findings.end(), [](const Finding& finding) { return finding.refused; });
}

Image walk(View image) {
  return Walker(image).walk();
}

size_t needed(View image, size_t size) {
  if (image.size() < kHeaderSize) return std::min(kHeaderSize, size);
  if (all_equal(image.first(kHeaderSize), image[0])) return std::min(kHeaderSize, size);  // never programmed
  size_t end = kHeaderSize;
  const auto want = [&end](size_t mark) { end = std::max(end, mark); };

  for (const Kind kind : {Kind::Chassis, Kind::Board, Kind::Product}) {
    const size_t offset = image[1 + static_cast<size_t>(kind)] * 8u;
    if (offset == 0) continue;
    want(offset + fields_offset(kind));
    if (offset + 2 > image.size()) continue;
    const size_t length = image[offset + 1] * 8u;
    want(length == 0 ? size : offset + length);
  }
  if (const size_t offset = image[5] * 8u; offset != 0) {
    size_t position = offset;
    for (bool last = false; !last;) {
      want(position + kRecordHeaderSize);
      if (position + kRecordHeaderSize > image.size()) break;
      const View header = image.subspan(position, kRecordHeaderSize);
      if (sum_of(header) != 0 || all_equal(header, 0)) break;
      position += kRecordHeaderSize + header[2];
      want(position);
      last = (header[1] & 0x80) != 0;
    }
  }
  if (const size_t offset = image[1] * 8u; offset != 0) {
    size_t next = size;
    for (size_t i = 2; i <= 5; ++i)
      if (const size_t other = image[i] * 8u; other > offset && other < next) next = other;
    want(next);
  }
  return std::min(end, size);
}

std::vector<Value> parsed_values(const IpmiFruInfo& info, Kind kind) {
  std::vector<const IpmiFruField*> fields;
  const IpmiFruField* custom = nullptr;
  size_t custom_count = 0;
  switch (kind) {
    case Kind::Chassis:
      fields = {&info.chassis_part_number, &info.chassis_serial_number};
      custom = info.chassis_custom_fields;
      custom_count = info.chassis_custom_count;
      break;
    case Kind::Board:
      fields = {&info.board_manufacturer, &info.board_product_name, &info.board_serial_number, &info.board_part_number,
                &info.board_fru_file_id};
      custom = info.board_custom_fields;
      custom_count = info.board_custom_count;
      break;
    case Kind::Product:
      fields = {&info.product_manufacturer,  &info.product_name,      &info.product_part_number, &info.product_version,
                &info.product_serial_number, &info.product_asset_tag, &info.product_fru_file_id};
      custom = info.product_custom_fields;
      custom_count = info.product_custom_count;
      break;
    default:
      break;
  }
  for (size_t i = 0; i < custom_count; ++i) fields.push_back(&custom[i]);

  std::vector<Value> values;
  for (size_t i = 0; i < fields.size(); ++i) {
    Value value = named_value(kind, i);
    value.type = fields[i]->type_code;
    if (fields[i]->length != 0) value.data.assign(fields[i]->data, fields[i]->data + fields[i]->length);
    values.push_back(std::move(value));
  }
  return values;
}

const char* key_of(Kind kind) {
  static const char* const kKeys[] = {"internal_use", "chassis", "board", "product", "multirecord"};
  return kKeys[static_cast<size_t>(kind)];
}

const char* name_of(Kind kind) {
  static const char* const kNames[] = {"internal use area", "chassis info area", "board info area", "product info area",
                                       "multirecord area"};
  return kNames[static_cast<size_t>(kind)];
}

std::string text_of(const Value& value, uint8_t language) {
  if (value.data.empty()) return "";
  if (value.type == IPMI_FIELD_BINARY) return hex_bytes(value.data);
  if (is_wide(value, language)) return value.data.size() % 2 == 0 ? text_of_utf16(value.data) : hex_bytes(value.data);

  // 63 bytes give at most 126 characters.
  std::array<char, 256> text = {};
  IpmiFruField field = {value.type, static_cast<uint8_t>(value.data.size()), const_cast<uint8_t*>(value.data.data())};
  constexpr uint8_t kEnglish = 25;  // plain bytes: to_utf8() makes UTF-8 of them
  if (ipmi_hlp_get_fru_field(text.data(), static_cast<uint16_t>(text.size()), &field, kEnglish) != 0)
    return hex_bytes(value.data);
  std::string_view shown(text.data());
  if (value.type == IPMI_FIELD_TEXT) {
    shown = std::string_view(text.data(), value.data.size());               // it may hold NULs
    while (!shown.empty() && shown.back() == '\0') shown.remove_suffix(1);  // padding
  }
  return to_utf8(shown);
}

const char* encoding_of(const Value& value, uint8_t language) {
  static const char* const kNames[] = {"binary", "BCD plus", "6-bit ASCII", "8-bit text"};
  return is_wide(value, language) ? "UCS-2 text" : kNames[value.type & 3];
}

std::string language_tag(uint8_t code) {
  // Language codes 1 to 136 (clause 15), in the alphabetical order of their ISO 639 names.
  static constexpr std::string_view kTags =
      "aaabafamarasayazbabebgbhbibnbobrcacocscydadedzeleneoeseteufafifjfofrfygagdglgnguhahihrhuhyiaieikinisitiwjajijw"
      "kakkklkmknkokskukylalnloltlvmgmimkmlmnmomrmsmtmynanenlnoocomorpaplpsptqurmrnrorurwsasdsgshsiskslsmsnsosqsrssst"
      "susvswtatetgthtitktltntotrtstttwukuruzvivowoxhyozhzu";
  if (code == 0) return "en";
  const size_t at = (code - 1u) * 2;
  return at + 2 <= kTags.size() ? std::string(kTags.substr(at, 2)) : std::string();
}

std::string chassis_type_name(uint8_t type) {
  // System enclosure types of SMBIOS (7.4.1).
  static const char* const kNames[] = {"Other",
                                       "Unknown",
                                       "Desktop",
                                       "Low profile desktop",
                                       "Pizza box",
                                       "Mini tower",
                                       "Tower",
                                       "Portable",
                                       "Laptop",
                                       "Notebook",
                                       "Hand held",
                                       "Docking station",
                                       "All in one",
                                       "Sub notebook",
                                       "Space-saving",
                                       "Lunch box",
                                       "Main server chassis",
                                       "Expansion chassis",
                                       "Sub chassis",
                                       "Bus expansion chassis",
                                       "Peripheral chassis",
                                       "RAID chassis",
                                       "Rack mount chassis",
                                       "Sealed-case PC",
                                       "Multi-system chassis",
                                       "Compact PCI",
                                       "Advanced TCA",
                                       "Blade",
                                       "Blade enclosure",
                                       "Tablet",
                                       "Convertible",
                                       "Detachable",
                                       "IoT gateway",
                                       "Embedded PC",
                                       "Mini PC",
                                       "Stick PC"};
  const size_t index = type - 1u;
  return index < std::size(kNames) ? kNames[index] : type == 0 ? "Unspecified" : "Unknown type " + hex_number(type);
}

Cell date_cell(uint32_t minutes) {
  if (minutes == 0) return Cell("unspecified", Json{{"iso", nullptr}, {"minutes", 0}});
  // The image counts minutes from 1996-01-01 00:00 UTC. The library's IpmiFruInfo::board_manufacturing_time counts from
  // that midnight in the process's time zone; what is printed here must not depend on where it is printed.
  constexpr std::time_t kStart = 820454400;  // 1996-01-01 00:00:00 UTC
  const std::time_t seconds = kStart + static_cast<std::time_t>(minutes) * 60;
  std::tm utc = {};
  gmtime_r(&seconds, &utc);
  char text[32];
  const size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S+00:00", &utc);
  std::string iso(text, length);
  return Cell(iso, Json{{"iso", iso}, {"minutes", minutes}});
}

std::string record_type_name(uint8_t type) {
  static const char* const kNames[] = {"Power supply information",
                                       "DC output",
                                       "DC load",
                                       "Management access",
                                       "Base compatibility",
                                       "Extended compatibility",
                                       "ASF fixed SMBus device",
                                       "ASF legacy-device alerts",
                                       "ASF remote control",
                                       "Extended DC output",
                                       "Extended DC load",
                                       "NVMe",
                                       "NVMe PCIe port",
                                       "NVMe topology"};
  if (type < std::size(kNames)) return kNames[type];
  return type >= 0xC0 ? "OEM" : "Reserved";
}

std::vector<Field> record_fields(const MultiRecord& record) {
  const View data = record.data;
  if (data.size() < record.length) return {};
  switch (record.type) {
    case 0x00:
      return data.size() >= 24 ? power_supply(data) : std::vector<Field>();
    case 0x01:
    case 0x02:
      return data.size() >= 13 ? dc_output_or_load(data, record.type == 0x01) : std::vector<Field>();
    case 0x03:
      return !data.empty() ? management_access(data) : std::vector<Field>();
    default:
      return record.type >= 0xC0 && data.size() >= 3 ? oem_record(data) : std::vector<Field>();
  }
}

}  // namespace tool::fru
