// An image file of the tool: everything that is printed of it, and the tool's own reading held against the library's.
#include <iterator>

#include "fuzz.hpp"
#include "support/fru_builder.hpp"
#include "tools/fru_image.hpp"
#include "tools/text.hpp"

namespace fru = tool::fru;
using lumi::fuzz::require;

namespace {

constexpr size_t kMostCustomFields = 255;  // that the library tells apart

/// Not UTF-8: the JSON library throws.
void print(const tool::Json& value) {
  (void)value.dump();
}

void print(const fru::Image& image) {
  for (const fru::Finding& finding : image.findings) print({finding.where, finding.what});
  for (const fru::Area& area : image.areas) {
    print({fru::key_of(area.kind), fru::name_of(area.kind), fru::chassis_type_name(area.chassis_type),
           fru::language_tag(area.language), fru::date_cell(area.minutes).text});
    for (const fru::Value& value : area.values)
      print({value.key, value.label, fru::text_of(value, area.language), fru::encoding_of(value, area.language)});
  }
  for (const fru::MultiRecord& record : image.records) {
    print(fru::record_type_name(record.type));
    for (const tool::Field& field : fru::record_fields(record)) print({field.label, field.cell.text, field.cell.value});
  }
}

bool same(const std::vector<fru::Value>& a, const std::vector<fru::Value>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const fru::Value& one, const fru::Value& other) {
    return one.key == other.key && one.type == other.type && one.data == other.data;
  });
}

/// What the tool does not refuse, the library reads, and both see the same fields.
void compare(const Bytes& bytes, const fru::Image& image) {
  IpmiFruInfo info;
  const uint32_t status = ipmi_parse_ipmi_fru_data(&info, static_cast<uint16_t>(bytes.size()), bytes.data());
  require(status == 0 || image.refused());
  for (const fru::Area& area : image.areas) {
    const std::vector<fru::Value> values = fru::parsed_values(info, area.kind);
    if (!image.refused() && area.values.size() <= kMostCustomFields) require(same(values, area.values));
  }
  lumi::test::release_fru(info);
}

/// A device of which only what is needed is read.
void read_needed(const Bytes& bytes, const fru::Image& whole) {
  Bytes part;
  for (size_t end; (end = fru::needed(part, bytes.size())) > part.size();) {
    require(end <= bytes.size());
    part.assign(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(end));
  }
  const fru::Image image = fru::walk(part);
  if (!whole.refused()) require(!image.refused() && image.areas.size() == whole.areas.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > UINT16_MAX) return 0;
  const Bytes bytes(data, data + size);
  const fru::Image image = fru::walk(bytes);
  print(image);
  compare(bytes, image);
  read_needed(bytes, image);
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned seed) {
  return lumi::fuzz::mutate(data, size, max_size, seed, lumi::test::fix_fru_checksums);
}
