// The tool's own reading of a FRU image: what the library refuses or passes over, with the places of everything
// (IPMI Platform Management FRU Information Storage Definition v1.0 rev 1.3).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "lumipmi/lumipmi.h"
#include "tools/output.hpp"

namespace tool::fru {

using Bytes = std::vector<uint8_t>;
using View = std::span<const uint8_t>;

/// Something wrong with an image.
struct Finding {
  std::string where;     // "board info area (offset 0x0008)"
  std::string what;      // "the checksum is wrong: ..."
  bool refused = false;  // printed only when lenient: the library refuses such an image, or reads it wrongly
};

/// One type/length-encoded field.
struct Value {
  std::string key;    // "serial_number", "custom_1"
  std::string label;  // "Serial number", "Custom 1"
  uint8_t type = 0;   // IPMI_FIELD_*
  Bytes data;
  size_t offset = 0;  // of the type/length byte in the image
};

enum class Kind { InternalUse, Chassis, Board, Product, MultiRecord };  // in the order of the common header

enum class Checksum { None, Good, Wrong };

/// An area that the common header names and that lies in the image.
struct Area {
  Kind kind = Kind::InternalUse;
  size_t offset = 0;
  size_t size = 0;      // bytes, no more than the image holds
  uint8_t version = 0;  // the whole format version byte
  Checksum checksum = Checksum::None;
  // chassis, board and product
  uint8_t chassis_type = 0;
  uint8_t language = 0;
  uint32_t minutes = 0;  // of the manufacturing date
  std::vector<Value> values;
};

/// A record of the multirecord area.
struct MultiRecord {
  size_t offset = 0;
  uint8_t type = 0;
  uint8_t format = 0;  // bit 7: last record, bits 3:0 format version
  uint8_t length = 0;  // as stored
  Checksum header_checksum = Checksum::None;
  Checksum data_checksum = Checksum::None;  // None: the data are cut off
  Bytes data;
};

struct Image {
  bool blank = false;  // nothing but FFh or nothing but 00h in the common header: never programmed
  std::vector<Area> areas;
  std::vector<MultiRecord> records;
  std::vector<Finding> findings;

  const Area* find(Kind kind) const;
  bool refused() const;
};

/// Reads whatever can be read. Bounded by the image: every step moves forward in it.
Image walk(View image);

/// How many bytes of a device's image are worth reading, as far as those read so far tell; at most `size`.
size_t needed(View image, size_t size);

/// The fields of an area as the library parsed them.
std::vector<Value> parsed_values(const IpmiFruInfo& info, Kind kind);

const char* key_of(Kind kind);   // "board"
const char* name_of(Kind kind);  // "board info area"

/// Text of a field in UTF-8; binary in hex.
std::string text_of(const Value& value, uint8_t language);
/// "8-bit text"
const char* encoding_of(const Value& value, uint8_t language);
/// "en"; empty when the code is not assigned.
std::string language_tag(uint8_t code);
/// "Rack mount chassis"
std::string chassis_type_name(uint8_t type);
/// The manufacturing date.
Cell date_cell(uint32_t minutes);
/// "Power supply information"
std::string record_type_name(uint8_t type);
/// The data of a record as fields; empty when its type is not known or it is too short.
std::vector<Field> record_fields(const MultiRecord& record);

}  // namespace tool::fru
