// FRU images from a description, with right offsets and checksums, and a walk over what a parser made of one.
// Used by the unit tests and the fuzzers, so it needs no test framework.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "lumipmi/fru.h"

using Bytes = std::vector<uint8_t>;

namespace lumi::test {

/// A type/length byte and its data; only the low 6 bits of the size are written.
Bytes fru_field(uint8_t type, const Bytes& data);
/// 8-bit text.
Bytes fru_text(std::string_view text);

struct FruArea {
  Bytes start;                // behind the length byte: chassis type; language and minutes; language
  std::vector<Bytes> fields;  // fixed and custom, encoded; the end marker follows by itself
  uint8_t format = 1;
  bool with_length = true;  // else length byte 0 and no checksum
};

struct FruRecord {
  uint8_t type;
  Bytes data;
};

/// Areas stand in this order, each at the next multiple of 8.
struct FruImage {
  std::optional<Bytes> internal_use = {};
  std::optional<FruArea> chassis = {};
  std::optional<FruArea> board = {};
  std::optional<FruArea> product = {};
  std::vector<FruRecord> multirecord = {};
  uint8_t format = 1;
  uint8_t pad = 0;

  Bytes build() const;
};

/// Every area, every field and every type, two or three custom fields in each area.
FruImage full_fru_image();

/// Gives header and areas a right checksum, as far as they lie within the image.
void fix_fru_checksums(Bytes& image);

/// Every field of a record, custom ones included, in record order.
std::vector<const IpmiFruField*> fru_fields(const IpmiFruInfo& info);

/// Frees all of a record: ipmi_free_fru_info() and the custom arrays.
void release_fru(IpmiFruInfo& info);

}  // namespace lumi::test
