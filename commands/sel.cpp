// System event log commands of NetFn Storage (IPMI v2.0 rev 1.1, 31).
#include "lumipmi/sel.h"

#include <cstring>

#include "core/exchange.hpp"

using namespace lumi;

namespace {

// Which completion codes a command maps differs from command to command.
constexpr CompletionMap kErasing[] = {{0x81, IPMI_STATUS_BMC_SEL_ERASE_IN_PROGRESS}};
constexpr CompletionMap kUnsupportedOrErasing[] = {{0x80, IPMI_STATUS_BMC_SEL_OPERATION_UNSUPPORTED},
                                                   {0x81, IPMI_STATUS_BMC_SEL_ERASE_IN_PROGRESS}};

constexpr uint8_t kRecordSize = 16;
constexpr uint8_t kWholeRecord = 0xFF;
constexpr uint16_t kLastRecord = 0xFFFF;
constexpr uint8_t kNoReservation[2] = {0, 0};

// Reads a whole record without a reservation.
Status get_record(IpmiHandle* handle, uint16_t record_id, uint16_t* next_id, uint8_t record[kRecordSize]) {
  uint8_t capacity = kRecordSize;
  return ipmi_storage_get_sel_entry_data(handle, kNoReservation, record_id, 0, kWholeRecord, next_id, &capacity,
                                         record);
}

}  // namespace

extern "C" uint32_t ipmi_storage_get_sel_info(IpmiHandle* handle, IpmiSelInfo* info) {
  if (handle == nullptr || info == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Storage, 0x40, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(14), kErasing));

  ByteReader reply = ex.reply();
  info->version = reply.u8();            // byte 1
  info->entries = reply.le16();          // bytes 2-3
  info->free_space = reply.le16();       // bytes 4-5
  info->last_add_time = reply.le32();    // bytes 6-9
  info->last_erase_time = reply.le32();  // bytes 10-13
  const uint8_t support = reply.u8();    // byte 14
  info->overflow = bits(support, 7, 7);
  info->operation_support = bits(support, 3, 0);
  return kOk;
}

extern "C" uint32_t ipmi_storage_get_sel_allocation_info(IpmiHandle* handle, IpmiSelAllocationInfo* info) {
  if (handle == nullptr || info == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Storage, 0x41, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(9)));

  ByteReader reply = ex.reply();
  info->total_units = reply.le16();         // bytes 1-2
  info->unit_size = reply.le16();           // bytes 3-4
  info->free_units = reply.le16();          // bytes 5-6
  info->largest_free_block = reply.le16();  // bytes 7-8
  info->max_record_size = reply.u8();       // byte 9
  return kOk;
}

extern "C" uint32_t ipmi_storage_reserve_sel(IpmiHandle* handle, uint16_t* reservation) {
  if (handle == nullptr || reservation == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Storage, 0x42, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(2), kErasing));
  ex.reply().copy(reservation, 2);  // as they stand: they go back to the BMC the same way
  return kOk;
}

extern "C" uint32_t ipmi_storage_get_sel_entry_data(IpmiHandle* handle, const uint8_t reservation[2],
                                                    uint16_t record_id, uint8_t offset, uint8_t count,
                                                    uint16_t* next_id, uint8_t* capacity, uint8_t* data) {
  if (handle == nullptr || reservation == nullptr || next_id == nullptr || capacity == nullptr || data == nullptr)
    return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Storage, 0x43, Privilege::User);
  ex.bytes(reservation, 2).le16(record_id).u8(offset).u8(count);
  LUMI_TRY(ex.send(Reply::at_least(2), kErasing));

  ByteReader reply = ex.reply();
  const uint16_t next = reply.le16();  // bytes 1-2
  const size_t received = reply.left();
  if (*capacity < received) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
  *next_id = next;
  reply.copy(data, received);  // bytes 3 on; their number is not reported, *capacity stays as it is
  return kOk;
}

extern "C" uint32_t ipmi_storage_get_sel_entry(IpmiHandle* handle, uint16_t record_id, uint16_t* next_id,
                                               IpmiSelEntry* entry) {
  if (handle == nullptr || next_id == nullptr || entry == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint8_t record[kRecordSize] = {};
  LUMI_TRY(get_record(handle, record_id, next_id, record));
  ipmi_translate_sel_raw_data_to_entry(record, entry);
  return kOk;
}

extern "C" uint32_t ipmi_storage_add_sel_entry(IpmiHandle* handle, const uint8_t record[16], uint16_t* new_id) {
  if (handle == nullptr || record == nullptr || new_id == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Storage, 0x44, Privilege::Operator);
  ex.bytes(record, kRecordSize);
  LUMI_TRY(ex.send(Reply::at_least(2).offering(2), kUnsupportedOrErasing));
  *new_id = ex.reply().le16();
  return kOk;
}

extern "C" uint32_t ipmi_storage_delete_sel_entry(IpmiHandle* handle, const uint16_t* reservation, uint16_t record_id,
                                                  uint16_t* deleted_id) {
  if (handle == nullptr || reservation == nullptr || deleted_id == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Storage, 0x46, Privilege::Operator);
  ex.bytes(reservation, 2).le16(record_id);
  LUMI_TRY(ex.send(Reply::at_least(2).offering(2), kUnsupportedOrErasing));
  *deleted_id = ex.reply().le16();
  return kOk;
}

extern "C" uint32_t ipmi_storage_clear_sel(IpmiHandle* handle, const uint16_t* reservation, uint8_t action,
                                           uint8_t* completed) {
  if (handle == nullptr || reservation == nullptr || completed == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Storage, 0x47, Privilege::Operator);
  ex.bytes(reservation, 2).u8('C').u8('L').u8('R').u8(action);
  LUMI_TRY(ex.send(Reply::at_least(1).offering(1)));
  *completed = bits(ex.reply().u8(), 3, 0) == 1;
  return kOk;
}

extern "C" uint32_t ipmi_storage_get_sel_time(IpmiHandle* handle, uint64_t* time) {
  if (handle == nullptr || time == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Storage, 0x48, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(4)));
  *time = ex.reply().le32();
  return kOk;
}

extern "C" uint32_t ipmi_storage_set_sel_time(IpmiHandle* handle, uint32_t time) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Storage, 0x49, Privilege::Operator);
  ex.le32(time);
  return ex.send(Reply::none());
}

extern "C" uint32_t ipmi_storage_get_raw_sel_entries(IpmiHandle* handle, uint16_t first_id, uint16_t* count,
                                                     uint8_t* buffer, uint16_t* next_id) {
  if (handle == nullptr || count == nullptr || buffer == nullptr || next_id == nullptr)
    return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint16_t id = first_id;
  uint16_t read = 0;
  while (read < *count && id != kLastRecord) {
    LUMI_TRY(get_record(handle, id, &id, buffer + size_t{read} * kRecordSize));
    ++read;
  }
  *count = read;
  *next_id = id;
  return kOk;
}
