// SDR repository commands of NetFn Storage (IPMI v2.0 rev 1.1, 33).
#include "lumipmi/sdr_repository.h"

#include <cstring>

#include "core/exchange.hpp"

using namespace lumi;

// A short reply of these commands has the status that the BMC itself would give for a response it could not provide.
static constexpr Status kShort = IPMI_STATUS_BMC_RESPOSE_UNAVAILABE;

extern "C" uint32_t ipmi_storage_get_sdr_repository_info(IpmiHandle* handle, IpmiSdrRepositoryInfo* info) {
  if (handle == nullptr || info == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(info, 0, sizeof *info);  // padding included

  Exchange ex(handle, NetFn::Storage, 0x20, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(14, kShort)));

  ByteReader reply = ex.reply();
  info->version = reply.u8();            // byte 1
  info->record_count = reply.le16();     // bytes 2-3
  info->free_space = reply.le16();       // bytes 4-5
  info->last_add_time = reply.le32();    // bytes 6-9
  info->last_erase_time = reply.le32();  // bytes 10-13
  const uint8_t support = reply.u8();    // byte 14
  info->update_support = bits(support, 6, 5);
  info->overflow = bits(support, 7, 7);
  info->operation_support = support;
  return kOk;
}

extern "C" uint32_t ipmi_storage_reserve_sdr_repository(IpmiHandle* handle, uint16_t* reservation) {
  *reservation = 0;

  Exchange ex(handle, NetFn::Storage, 0x22, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(2, kShort)));
  ex.reply().copy(reservation, 2);  // as they stand: they go back to the BMC the same way
  return kOk;
}

extern "C" uint32_t ipmi_storage_get_sdr_entry(IpmiHandle* handle, const uint16_t* reservation, uint16_t record_id,
                                               uint16_t offset, uint16_t* next_id, uint8_t count, uint8_t* data) {
  if (handle == nullptr || next_id == nullptr || data == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(data, 0, count);

  Exchange ex(handle, NetFn::Storage, 0x23, Privilege::User);
  ex.bytes(reservation, 2).le16(record_id).u8(static_cast<uint8_t>(offset)).u8(count);
  LUMI_TRY(ex.send(Reply::at_least(static_cast<uint16_t>(count + 2), kShort)));

  ByteReader reply = ex.reply();
  *next_id = reply.le16();  // bytes 1-2
  reply.copy(data, count);  // bytes 3 on; more than count are ignored
  return kOk;
}
