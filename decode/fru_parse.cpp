#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>

#include "core/bytes.hpp"
#include "core/status.hpp"
#include "lumipmi/fru.h"
#include "platform/bytes.hpp"

// FRU Information Storage Definition v1.0 rev 1.3: clause 8 (common header), 10 to 12 (areas), 13 (type/length).

using namespace lumi;

namespace {

constexpr size_t kHeaderSize = 8;
constexpr uint8_t kEndOfFields = 0xC1;
/// Bits of a format version byte that must be 0. The high nibble and bit 0 are not judged: firmware in the field writes
/// there what it likes, and such images have always been accepted.
constexpr uint8_t kFormatReserved = 0x0E;

/// An area from its first byte to the end of the image. Its own length bounds the checksum and nothing else: a length
/// byte of 0 therefore means an area without a checksum. `fixed` bytes come before its fields.
Status open_area(const uint8_t* image, uint16_t length, uint16_t offset, uint32_t fixed, ByteReader* area) {
  if (offset + fixed > length) return IPMI_STATUS_APP_INVALID_FORMAT;
  const uint8_t* bytes = image + offset;
  const uint32_t left = length - offset;
  const uint32_t summed = bytes[1] * 8u;
  if ((bytes[0] & kFormatReserved) != 0 || summed > left || byte_sum(bytes, summed, 0) != 0)
    return IPMI_STATUS_APP_INVALID_FORMAT;
  *area = ByteReader(bytes, left);
  return kOk;
}

/// One field; cleared on failure.
Status read_field(ByteReader& area, IpmiFruField& field) {
  const uint8_t type_length = area.u8();
  const uint8_t length = bits(type_length, 5, 0);
  ByteReader data = area.sub(length);
  if (!data.ok()) return IPMI_STATUS_APP_INVALID_FORMAT;
  if (length != 0) {
    field.data = static_cast<uint8_t*>(std::malloc(length));
    if (field.data == nullptr) return IPMI_STATUS_APP_NOT_ENOUGH_MEMORY;
    data.copy(field.data, length);
  }
  field.type_code = bits(type_length, 7, 6);
  field.length = length;
  return kOk;
}

/// The fixed fields of an area. An end marker among them is a field like any other, of one byte.
Status read_fields(ByteReader& area, std::initializer_list<IpmiFruField*> fields) {
  for (IpmiFruField* field : fields) LUMI_TRY(read_field(area, *field));
  return kOk;
}

/// The fields up to the end marker. When one fails, count and fields stay set and the rest of the array is cleared.
Status read_custom_fields(ByteReader area, uint8_t& count, IpmiFruField*& fields) {
  uint8_t found = 0;  // 8 bits are part of the interface: of 256 + n fields the first n are decoded
  for (ByteReader scan = area;; ++found) {
    const uint8_t type_length = scan.u8();
    if (type_length == kEndOfFields) break;
    scan.skip(bits(type_length, 5, 0));
    if (!scan.ok()) return IPMI_STATUS_APP_INVALID_FORMAT;
  }
  if (found == 0) return kOk;

  fields = static_cast<IpmiFruField*>(std::calloc(found, sizeof(IpmiFruField)));
  if (fields == nullptr) return IPMI_STATUS_APP_NOT_ENOUGH_MEMORY;
  count = found;
  for (uint8_t i = 0; i < found; ++i) LUMI_TRY(read_field(area, fields[i]));
  return kOk;
}

void free_fields(const IpmiFruField* fields, uint8_t count) {
  for (uint8_t i = 0; i < count; ++i) std::free(fields[i].data);
}

/// read_custom_fields for an area that shows no custom fields when one of them fails.
Status read_all_custom_fields(ByteReader area, uint8_t& count, IpmiFruField*& fields) {
  const Status status = read_custom_fields(area, count, fields);
  if (status != kOk) {
    free_fields(fields, count);
    std::free(fields);
    fields = nullptr;
    count = 0;
  }
  return status;
}

/// 1996-01-01 00:00 plus minutes. That the base is taken in the process's time zone and not in UTC is part of the
/// interface: applications turn the value back with localtime() and show the date that the image holds.
int64_t manufacturing_time(uint32_t minutes) {
  std::tm base = {};
  base.tm_year = 96;
  base.tm_mday = 1;
  return std::mktime(&base) + static_cast<int64_t>(minutes * 60u);
}

Status parse_chassis(IpmiFruInfo& info, uint16_t length, const uint8_t* image) {
  ByteReader area(nullptr, 0);
  LUMI_TRY(open_area(image, length, info.chassis_offset, 3, &area));

  info.chassis_format_version = bits(area.u8(), 3, 0);
  info.chassis_area_length = area.u8();
  info.chassis_type = area.u8();
  LUMI_TRY(read_fields(area, {&info.chassis_part_number, &info.chassis_serial_number}));
  return read_custom_fields(area, info.chassis_custom_count, info.chassis_custom_fields);
}

Status parse_board(IpmiFruInfo& info, uint16_t length, const uint8_t* image) {
  ByteReader area(nullptr, 0);
  LUMI_TRY(open_area(image, length, info.board_offset, 6, &area));

  info.board_format_version = bits(area.u8(), 3, 0);
  info.board_area_length = area.u8();
  info.board_language_code = area.u8();
  info.board_manufacturing_time = manufacturing_time(area.le24());
  LUMI_TRY(read_fields(area, {&info.board_manufacturer, &info.board_product_name, &info.board_serial_number,
                              &info.board_part_number, &info.board_fru_file_id}));
  return read_all_custom_fields(area, info.board_custom_count, info.board_custom_fields);
}

Status parse_product(IpmiFruInfo& info, uint16_t length, const uint8_t* image) {
  ByteReader area(nullptr, 0);
  LUMI_TRY(open_area(image, length, info.product_offset, 3, &area));

  info.product_format_version = bits(area.u8(), 3, 0);
  info.product_area_length = area.u8();
  info.product_language_code = area.u8();
  LUMI_TRY(read_fields(
      area, {&info.product_manufacturer, &info.product_name, &info.product_part_number, &info.product_version,
             &info.product_serial_number, &info.product_asset_tag, &info.product_fru_file_id}));
  return read_all_custom_fields(area, info.product_custom_count, info.product_custom_fields);
}

/// The copy is as long as the offset of the next area, not as the distance to it, and so runs into that area. The
/// length is part of the interface; what lies behind the image reads as 0.
Status copy_internal_use(IpmiFruInfo& info, uint16_t length, const uint8_t* image) {
  const uint16_t offset = info.internal_use_offset;
  uint16_t size = length;
  for (const uint16_t other : {info.chassis_offset, info.board_offset, info.product_offset, info.multirecord_offset})
    if (other > offset && other < size) size = other;

  info.internal_use_data = static_cast<uint8_t*>(std::calloc(size, 1));
  if (info.internal_use_data == nullptr) return IPMI_STATUS_APP_NOT_ENOUGH_MEMORY;
  info.internal_use_length = size;
  if (offset < length) {
    const uint16_t present = static_cast<uint16_t>(length - offset);
    std::memcpy(info.internal_use_data, image + offset, size < present ? size : present);
  }
  return kOk;
}

}  // namespace

extern "C" uint32_t ipmi_parse_ipmi_fru_data(IpmiFruInfo* info, uint16_t length, const uint8_t* image) {
  if (info == nullptr || image == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(info, 0, sizeof *info);
  if (length < kHeaderSize || (image[0] & kFormatReserved) != 0 || byte_sum(image, kHeaderSize, 0) != 0)
    return IPMI_STATUS_APP_INVALID_FORMAT;

  info->format_version = bits(image[0], 3, 0);
  info->internal_use_offset = static_cast<uint16_t>(image[1] * 8);
  info->chassis_offset = static_cast<uint16_t>(image[2] * 8);
  info->board_offset = static_cast<uint16_t>(image[3] * 8);
  info->product_offset = static_cast<uint16_t>(image[4] * 8);
  info->multirecord_offset = static_cast<uint16_t>(image[5] * 8);
  info->pad = image[6];

  if (info->chassis_offset != 0) LUMI_TRY(parse_chassis(*info, length, image));
  if (info->board_offset != 0) LUMI_TRY(parse_board(*info, length, image));
  if (info->product_offset != 0) LUMI_TRY(parse_product(*info, length, image));
  if (info->internal_use_offset != 0) LUMI_TRY(copy_internal_use(*info, length, image));
  return kOk;
}

// Neither the custom-field arrays nor the pointers, other than the internal use area's, are released or cleared:
// applications keep the arrays and free them themselves, so freeing them here would free them twice.
extern "C" void ipmi_free_fru_info(IpmiFruInfo* info) {
  if (info == nullptr) return;
  if (info->internal_use_length != 0) {
    std::free(info->internal_use_data);
    info->internal_use_data = nullptr;
  }
  for (const IpmiFruField* field : {&info->chassis_part_number, &info->chassis_serial_number}) std::free(field->data);
  free_fields(info->chassis_custom_fields, info->chassis_custom_count);
  for (const IpmiFruField* field : {&info->board_manufacturer, &info->board_product_name, &info->board_serial_number,
                                    &info->board_part_number, &info->board_fru_file_id})
    std::free(field->data);
  free_fields(info->board_custom_fields, info->board_custom_count);
  for (const IpmiFruField* field :
       {&info->product_manufacturer, &info->product_name, &info->product_part_number, &info->product_version,
        &info->product_serial_number, &info->product_asset_tag, &info->product_fru_file_id})
    std::free(field->data);
  free_fields(info->product_custom_fields, info->product_custom_count);
}

extern "C" uint8_t sumcheck(const uint8_t* data, int16_t length, uint8_t seed) {
  return static_cast<uint8_t>(seed - byte_sum(data, static_cast<uint16_t>(length), 0));
}
