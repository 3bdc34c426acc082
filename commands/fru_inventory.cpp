// FRU inventory device commands of NetFn Storage (IPMI v2.0 rev 1.1, 34).
#include "lumipmi/fru_inventory.h"

#include "core/exchange.hpp"

using namespace lumi;

namespace {

constexpr CompletionMap kReadCodes[] = {{0x81, IPMI_STATUS_BMC_FRU_DEVICE_BUSY}};
constexpr CompletionMap kWriteCodes[] = {{0x80, IPMI_STATUS_BMC_FRU_WRITE_PROTECTED},
                                         {0x81, IPMI_STATUS_BMC_FRU_DEVICE_BUSY}};

constexpr uint8_t kMaxWrite = 247;
constexpr uint16_t kChunk = 16;

// A chunked transfer goes on after an answer that moved nothing, but not for ever.
constexpr int kMaxIdleAnswers = 1000;

uint8_t chunk_of(uint32_t remaining) {
  return static_cast<uint8_t>(remaining < kChunk ? remaining : kChunk);
}

}  // namespace

extern "C" uint32_t ipmi_storage_get_fru_inventory_info(IpmiHandle* handle, uint8_t device_id,
                                                        IpmiFruInventoryInfo* info) {
  if (handle == nullptr || info == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Storage, 0x10, Privilege::User);
  ex.u8(device_id);
  LUMI_TRY(ex.send(Reply::at_least(3)));

  ByteReader reply = ex.reply();
  info->area_size = reply.le16();                  // bytes 1-2
  info->access_by_words = bits(reply.u8(), 0, 0);  // byte 3
  return kOk;
}

extern "C" uint32_t ipmi_storage_read_fru_data(IpmiHandle* handle, uint8_t device_id, uint16_t offset, uint8_t* count,
                                               uint8_t* data) {
  if (handle == nullptr || count == nullptr || data == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Storage, 0x11, Privilege::User);
  ex.u8(device_id).le16(offset).u8(*count);
  LUMI_TRY(ex.send(Reply::at_least(1), kReadCodes));

  ByteReader reply = ex.reply();
  const uint8_t returned = reply.u8();  // byte 1
  if (reply.left() < returned) return IPMI_STATUS_BMC_UNSPECIFIED;
  if (*count < returned) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
  *count = returned;
  reply.copy(data, returned);  // bytes 2 on
  return kOk;
}

extern "C" uint32_t ipmi_storage_write_fru_data(IpmiHandle* handle, uint8_t /*device_id*/, uint16_t /*offset*/,
                                                uint8_t* count, const uint8_t* data) {
  if (handle == nullptr || count == nullptr || data == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  if (*count > kMaxWrite) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;

  Exchange ex(handle, NetFn::Storage, 0x12, Privilege::Operator);
  // The caller's bytes are the whole request: device ID, offset and payload stand at data. Assembling the request from
  // the arguments here would break every caller that has done so.
  ex.bytes(data, *count + size_t{3});
  LUMI_TRY(ex.send(Reply::at_least(1), kWriteCodes));
  *count = ex.reply().u8();
  return kOk;
}

extern "C" uint32_t ipmi_storage_read_fru_data_2(IpmiHandle* handle, uint8_t device_id, uint16_t offset,
                                                 uint16_t* count, uint8_t* data) {
  if (handle == nullptr || count == nullptr || data == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint32_t position = offset;
  uint32_t remaining = *count;
  Status status = kOk;
  int idle = 0;
  while (remaining != 0) {
    uint8_t moved = chunk_of(remaining);
    // The buffer is indexed by the device's offset, not by the distance from the first byte.
    status = ipmi_storage_read_fru_data(handle, device_id, static_cast<uint16_t>(position), &moved, data + position);
    if (status == IPMI_STATUS_BMC_PARAMETER_OUT_OF_RANGE) break;  // the end of the area was passed
    LUMI_TRY(status);
    if (moved != 0)
      idle = 0;
    else if (++idle == kMaxIdleAnswers)
      return IPMI_STATUS_BMC_UNSPECIFIED;
    position += moved;
    remaining -= moved;
  }
  *count = static_cast<uint16_t>(position - offset);
  return status;
}

extern "C" uint32_t ipmi_storage_write_fru_2(IpmiHandle* handle, uint8_t device_id, uint16_t offset, uint16_t* count,
                                             const uint8_t* data) {
  int32_t position = offset;
  uint32_t remaining = *count;
  Status status = kOk;
  int idle = 0;
  while (remaining != 0) {
    if (position < 0) {  // below the caller's first byte there is nothing to send
      status = IPMI_STATUS_BMC_PARAMETER_OUT_OF_RANGE;
      break;
    }
    uint8_t moved = chunk_of(remaining);
    status = ipmi_storage_write_fru_data(handle, device_id, static_cast<uint16_t>(position), &moved, data + position);
    if (status == IPMI_STATUS_BMC_PARAMETER_OUT_OF_RANGE) break;
    LUMI_TRY(status);
    if (moved != 0)
      idle = 0;
    else if (++idle == kMaxIdleAnswers)
      return IPMI_STATUS_BMC_UNSPECIFIED;
    position -= moved;  // backwards: part of the interface, callers lay out their data for it
    remaining -= moved < remaining ? moved : remaining;
  }
  *count = static_cast<uint16_t>(position - offset);
  return status;
}
