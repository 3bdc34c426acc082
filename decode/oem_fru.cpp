// The maker's own inventory records in the internal use area of a FRU image.
#include "lumipmi/oem_fru.h"

#include <cstddef>
#include <cstring>

#include "core/bytes.hpp"
#include "core/status.hpp"
#include "decode/fru_image.hpp"
#include "platform/bytes.hpp"

using namespace lumi;

namespace {

constexpr char kSignature[] = "KEST";  // with its terminator
constexpr size_t kDirectory = 16;
constexpr size_t kEntrySize = 3;

constexpr uint8_t kBibEnd = 0xFF;
constexpr size_t kBibItems = 4;
constexpr size_t kBibItemBytes[kBibItems] = {3, 7, 10, 2};

/// A record and as many bytes as may be read of it. The functions that applications call trust the record.
struct Record {
  const uint8_t* bytes;
  size_t available;

  bool has(size_t count) const { return count <= available; }
  /// Whether these bytes are there and the first ones of them, as many as the length byte tells, sum to 0; a record of
  /// length 0 is not summed.
  bool is_sound(size_t count) const {
    if (!has(2) || !has(count) || !has(bytes[1])) return false;
    return bytes[1] == 0 || byte_sum(bytes, bytes[1], 0) == 0;
  }
};

constexpr size_t kTrusted = static_cast<size_t>(-1);

Status read_os_name(IpmiKestFruRecords& records, const Record& record) {
  if (!record.is_sound(5) || record.bytes[1] <= 4) return IPMI_STATUS_APP_OEM_FRU;
  const size_t length = record.bytes[4];
  if (length > sizeof records.osName || length + 4 >= record.bytes[1]) return IPMI_STATUS_APP_OEM_FRU;
  std::memcpy(records.osName, record.bytes + 5, length);
  return kOk;
}

Status read_cpld_revisions(IpmiKestFruRecords& records, const Record& record) {
  if (!record.is_sound(5)) return IPMI_STATUS_APP_OEM_FRU;
  // More revisions than the field holds go on in the fields behind it, and end with the records.
  constexpr size_t kPlace = offsetof(IpmiKestFruRecords, cpldRevisions);
  size_t count = record.bytes[4];
  if (count > sizeof records - kPlace) count = sizeof records - kPlace;
  if (!record.has(5 + count)) return IPMI_STATUS_APP_OEM_FRU;
  records.cpldCount = record.bytes[4];
  std::memcpy(reinterpret_cast<uint8_t*>(&records) + kPlace, record.bytes + 5, count);
  return kOk;
}

/// Bytes 4 and on of a record go to a field.
template <typename Field>
Status read_field(Field& field, const Record& record) {
  if (!record.is_sound(4 + sizeof field)) return IPMI_STATUS_APP_OEM_FRU;
  std::memcpy(&field, record.bytes + 4, sizeof field);
  return kOk;
}

Status read_system_mac(IpmiKestFruRecords& records, const Record& record) {
  return read_field(records.systemMac, record);
}

Status read_pcba_test(IpmiKestFruRecords& records, const Record& record) {
  return read_field(records.pcbaTest, record);
}

Status read_board_specific(IpmiKestFruRecords& records, const Record& record) {
  return read_field(records.boardSpecific, record);
}

/// Items follow one another from byte 6 on: type, length, data, check byte. The first one is looked at whatever the
/// total length of the block.
Status read_bib(IpmiKestFruRecords& records, const Record& record) {
  if (!record.has(6)) return kOk;
  const int32_t total = load_le16(record.bytes + 4);
  size_t place = 6;
  size_t stored = 0;
  do {
    if (!record.has(place + 3)) break;
    const uint8_t type = record.bytes[place];
    const uint8_t length = record.bytes[place + 1];
    const uint8_t* data = record.bytes + place + 2;
    if (type == kBibEnd || !record.has(place + length + 3u)) break;
    const bool sound = length == 0 || byte_sum(data, length, 0) == data[length];
    if (sound && type < kBibItems && record.has(place + 2 + kBibItemBytes[type])) {
      std::memcpy(records.biosBlocks[type], data, kBibItemBytes[type]);
      ++stored;
    }
    place += length + 3u;
  } while (static_cast<int32_t>(place) < total - 2 && stored < kBibItems);
  return kOk;
}

struct Handler {
  uint8_t type;
  Status (*read)(IpmiKestFruRecords& records, const Record& record);
};

constexpr Handler kHandlers[] = {{0x0B, read_os_name},    {0x0C, read_cpld_revisions},
                                 {0x0D, read_system_mac}, {0x0E, read_pcba_test},
                                 {0xC3, read_bib},        {0xC4, read_board_specific}};

const Handler* handler_of(uint8_t type) {
  for (const Handler& handler : kHandlers)
    if (handler.type == type) return &handler;
  return nullptr;
}

/// The maker's block of an image; its bytes are null when it is absent or damaged.
Record find_block(const uint8_t* image, size_t length) {
  constexpr Record kNone = {nullptr, 0};
  if (length < 2) return kNone;
  const size_t start = image[1] * 8u;
  if (length < start + kDirectory) return kNone;
  const Record block = {image + start, length - start};
  if (bits(block.bytes[0], 3, 0) != 1 || std::memcmp(block.bytes + 1, kSignature, sizeof kSignature) != 0) return kNone;
  const size_t summed = block.bytes[13] + 1u;  // byte 13 is the index of the last one
  if (!block.has(summed) || byte_sum(block.bytes, static_cast<uint32_t>(summed), 0) != 0) return kNone;
  return block;
}

Status call(Status (*read)(IpmiKestFruRecords&, const Record&), IpmiKestFruRecords* records, const uint8_t* record) {
  if (records == nullptr || record == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  return read(*records, {record, kTrusted});
}

}  // namespace

extern "C" uint32_t ipmi_get_kest_fru_internal_info(IpmiKestFruRecords* records, uint16_t length,
                                                    const uint8_t* image) {
  if (records == nullptr || image == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(records, 0, sizeof *records);

  const Record block = find_block(image, length);
  if (block.bytes == nullptr) return IPMI_STATUS_APP_OEM_FRU;
  Status status = IPMI_STATUS_APP_OEM_FRU;
  for (size_t entry = 0; entry < block.bytes[15]; ++entry) {
    const size_t place = kDirectory + entry * kEntrySize;
    if (!block.has(place + kEntrySize)) return IPMI_STATUS_APP_OEM_FRU;  // the directory leaves the image
    const Handler* handler = handler_of(block.bytes[place]);
    if (handler == nullptr) continue;
    // The last record decides, whatever became of those before it: part of the interface.
    const size_t offset = load_le16(block.bytes + place + 1);
    status = offset + 2 <= length ? handler->read(*records, {image + offset, length - offset})
                                  : static_cast<Status>(IPMI_STATUS_APP_OEM_FRU);
  }
  return status;
}

extern "C" uint32_t ipmi_get_kest_fru_info(IpmiHandle* handle, uint8_t fruId, IpmiFruInfo* info) {
  if (handle == nullptr || info == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(info, 0, sizeof *info);  // callers release the record after any failure

  FruImage image;
  LUMI_TRY(image.read(handle, fruId));
  LUMI_TRY(ipmi_parse_ipmi_fru_data(info, image.length(), image.bytes()));
  static_assert(offsetof(IpmiKestFruInfo, records) == sizeof(IpmiFruInfo));
  return ipmi_get_kest_fru_internal_info(&reinterpret_cast<IpmiKestFruInfo*>(info)->records, image.length(),
                                         image.bytes());
}

extern "C" uint32_t get_kest_fru_system_os_name(IpmiKestFruRecords* records, const uint8_t* record) {
  return call(read_os_name, records, record);
}

extern "C" uint32_t get_kest_fru_cpld_revisions(IpmiKestFruRecords* records, const uint8_t* record) {
  return call(read_cpld_revisions, records, record);
}

extern "C" uint32_t get_kest_fru_system_mac_address(IpmiKestFruRecords* records, const uint8_t* record) {
  return call(read_system_mac, records, record);
}

extern "C" uint32_t get_kest_fru_pcba_test_record(IpmiKestFruRecords* records, const uint8_t* record) {
  return call(read_pcba_test, records, record);
}

extern "C" uint32_t get_kest_fru_bib_info(IpmiKestFruRecords* records, const uint8_t* record) {
  return call(read_bib, records, record);
}

extern "C" uint32_t get_kest_fru_board_specific_info(IpmiKestFruRecords* records, const uint8_t* record) {
  return call(read_board_specific, records, record);
}
