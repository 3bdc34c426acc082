#include "support/fru_builder.hpp"

#include <cstdlib>
#include <numeric>

namespace lumi::test {

namespace {

void append(Bytes& to, const Bytes& from) {
  to.insert(to.end(), from.begin(), from.end());
}

uint8_t zero_sum(const uint8_t* bytes, size_t size) {
  return static_cast<uint8_t>(-std::accumulate(bytes, bytes + size, 0));
}

void pad_to_units(Bytes& bytes) {
  bytes.resize((bytes.size() + 7) / 8 * 8);
}

Bytes build_area(const FruArea& area) {
  Bytes bytes = {area.format, 0};
  append(bytes, area.start);
  for (const Bytes& field : area.fields) append(bytes, field);
  bytes.push_back(0xC1);
  bytes.push_back(0);  // the checksum is the last byte of the padding
  pad_to_units(bytes);
  if (area.with_length) {
    bytes[1] = static_cast<uint8_t>(bytes.size() / 8);
    bytes.back() = zero_sum(bytes.data(), bytes.size());
  }
  return bytes;
}

Bytes build_records(const std::vector<FruRecord>& records) {
  Bytes bytes;
  for (const FruRecord& record : records) {
    const auto flags = static_cast<uint8_t>(&record == &records.back() ? 0x82 : 0x02);
    Bytes header = {record.type, flags, static_cast<uint8_t>(record.data.size()),
                    zero_sum(record.data.data(), record.data.size())};
    header.push_back(zero_sum(header.data(), header.size()));
    append(bytes, header);
    append(bytes, record.data);
  }
  return bytes;
}

}  // namespace

Bytes fru_field(uint8_t type, const Bytes& data) {
  Bytes bytes = {static_cast<uint8_t>((type & 3u) << 6 | (data.size() & 0x3F))};
  append(bytes, data);
  return bytes;
}

Bytes fru_text(std::string_view text) {
  return fru_field(IPMI_FIELD_TEXT, Bytes(text.begin(), text.end()));
}

Bytes FruImage::build() const {
  Bytes image = {format, 0, 0, 0, 0, 0, pad, 0};
  const auto add = [&image](size_t header_byte, const Bytes& area) {
    image[header_byte] = static_cast<uint8_t>(image.size() / 8);
    append(image, area);
    pad_to_units(image);
  };
  if (internal_use) add(1, *internal_use);
  if (chassis) add(2, build_area(*chassis));
  if (board) add(3, build_area(*board));
  if (product) add(4, build_area(*product));
  if (!multirecord.empty()) add(5, build_records(multirecord));
  image[7] = zero_sum(image.data(), 7);
  return image;
}

FruImage full_fru_image() {
  FruImage image;
  image.internal_use = Bytes{0x01, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9};
  image.chassis = FruArea{{0x17},
                          {fru_text("CH-PART"), fru_field(IPMI_FIELD_BCD_PLUS, {0x12, 0x34, 0xBF}),
                           fru_field(IPMI_FIELD_BINARY, {0xDE}), fru_text("ch-custom")}};
  image.board = FruArea{
      {0x19, 0x40, 0x42, 0x0F},
      {fru_text("Maker"), fru_text("Board"), fru_text("SN-1"), fru_field(IPMI_FIELD_6BIT_ASCII, {0xA1, 0x38, 0x92}),
       fru_text(""), fru_text("b1"), fru_field(IPMI_FIELD_BINARY, {}), fru_text("b3")}};
  image.product = FruArea{{0x01},
                          {fru_text("Vendor"), fru_text("Product"), fru_text("Model-9"), fru_text("v2"),
                           fru_field(IPMI_FIELD_BCD_PLUS, {0x98}), fru_field(IPMI_FIELD_BINARY, {0x01, 0xFF}),
                           fru_text("file.fru"), fru_text("p1"), fru_text("caf\xE9")}};
  image.multirecord = {{0x00, Bytes(24, 0x5A)}, {0xC0, {1, 2, 3}}};
  image.pad = 0x5C;
  return image;
}

void fix_fru_checksums(Bytes& image) {
  if (image.size() < 8) return;
  for (size_t header_byte = 2; header_byte <= 4; ++header_byte) {
    const size_t offset = image[header_byte] * size_t{8};
    if (offset == 0 || offset + 2 > image.size()) continue;
    const size_t size = image[offset + 1] * size_t{8};
    if (size != 0 && offset + size <= image.size())
      image[offset + size - 1] = zero_sum(image.data() + offset, size - 1);
  }
  image[7] = zero_sum(image.data(), 7);
}

std::vector<const IpmiFruField*> fru_fields(const IpmiFruInfo& info) {
  std::vector<const IpmiFruField*> fields = {&info.chassis_part_number, &info.chassis_serial_number};
  const auto add = [&fields](const IpmiFruField* custom, size_t count) {
    for (size_t i = 0; i < count; ++i) fields.push_back(custom + i);
  };
  add(info.chassis_custom_fields, info.chassis_custom_count);
  fields.insert(fields.end(), {&info.board_manufacturer, &info.board_product_name, &info.board_serial_number,
                               &info.board_part_number, &info.board_fru_file_id});
  add(info.board_custom_fields, info.board_custom_count);
  fields.insert(fields.end(),
                {&info.product_manufacturer, &info.product_name, &info.product_part_number, &info.product_version,
                 &info.product_serial_number, &info.product_asset_tag, &info.product_fru_file_id});
  add(info.product_custom_fields, info.product_custom_count);
  return fields;
}

void release_fru(IpmiFruInfo& info) {
  ipmi_free_fru_info(&info);
  std::free(info.chassis_custom_fields);
  std::free(info.board_custom_fields);
  std::free(info.product_custom_fields);
}

}  // namespace lumi::test
