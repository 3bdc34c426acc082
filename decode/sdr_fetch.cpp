// Reading a whole sensor data record in pieces.
#include <algorithm>
#include <cstring>

#include "core/status.hpp"
#include "lumipmi/sdr.h"
#include "lumipmi/sdr_repository.h"

using namespace lumi;

namespace {

constexpr uint8_t kHeaderSize = 5;
constexpr uint8_t kMaxPiece = 16;

}  // namespace

extern "C" uint32_t ipmi_get_sdr_record(IpmiHandle* handle, uint16_t* reservationId, uint16_t recordId,
                                        uint16_t* nextRecordId, uint16_t* size, uint8_t* record) {
  if (handle == nullptr || nextRecordId == nullptr || size == nullptr || record == nullptr)
    return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(record, 0, *size);

  uint8_t header[kHeaderSize];
  uint16_t next;
  LUMI_TRY(ipmi_storage_get_sdr_entry(handle, reservationId, recordId, 0, &next, kHeaderSize, header));
  const uint8_t body_length = header[4];
  const auto total = static_cast<uint16_t>(kHeaderSize + body_length);
  const uint16_t room = *size;
  *size = total;
  if (room < total) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
  std::memcpy(record, header, kHeaderSize);

  uint8_t offset = kHeaderSize;  // 8 bits do: the last piece of the longest record starts at 245
  uint8_t remaining = body_length;
  do {  // a record without a body is asked for 0 bytes all the same
    const uint8_t piece = std::min(remaining, kMaxPiece);
    LUMI_TRY(ipmi_storage_get_sdr_entry(handle, reservationId, recordId, offset, &next, piece, record + offset));
    offset = static_cast<uint8_t>(offset + piece);
    remaining = static_cast<uint8_t>(remaining - piece);
  } while (remaining != 0);
  *nextRecordId = next;
  return kOk;
}
