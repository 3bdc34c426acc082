// One SDR record read through the driver itself, without a connection, with result codes of its own.
#include <cstring>

#include "core/bytes.hpp"
#include "lumipmi/api_sensor.h"
#include "lumipmi/driver.h"
#include "platform/bytes.hpp"
#include "platform/clock.hpp"

using namespace lumi;

namespace {

enum Result : uint32_t { kSuccess = 0, kFailure = 1, kInvalidArgument = 4 };

constexpr uint8_t kStorage = 0x0A;
constexpr uint8_t kReservationCancelled = 0xC5;
constexpr uint8_t kPieceSize = 22;
constexpr size_t kHeaderSize = 5;
constexpr size_t kRecordRoom = 100;
constexpr size_t kRecordGiven = 64;

// What a wait before a new reservation takes, in microseconds. The second 1 000 000 is meant.
constexpr uint32_t kBackOff[] = {31250, 62500, 125000, 250000, 500000, 1000000, 1000000, 2000000};
constexpr size_t kRetries = sizeof kBackOff / sizeof kBackOff[0];

/// A response of the driver: completion code and data. Bytes that the BMC did not send are zero.
struct Response {
  uint8_t bytes[255];

  uint8_t completion() const { return bytes[0]; }
  const uint8_t* data() const { return bytes + 1; }
};

/// False when the driver fails: its result 1, and no other.
bool send(uint8_t cmd, const uint8_t* request, uint16_t size, Response& response) {
  uint32_t length = 50;
  std::memset(&response, 0, sizeof response);
  return IPMI_DoIPMICmd(kStorage, cmd, request, size, response.bytes, &length) != 1;
}

bool reserve(uint8_t (&reservation)[2]) {
  Response response;
  if (!send(0x22, nullptr, 0, response) || response.completion() != 0) return false;
  std::memcpy(reservation, response.data(), sizeof reservation);
  return true;
}

}  // namespace

extern "C" uint32_t IPMIGetSDR(int32_t recordId, uint32_t* recordLength, uint8_t record[64], uint32_t* nextId) {
  if (nextId == nullptr || recordId > 0xFFFF) return kInvalidArgument;

  Response response;
  uint8_t reservation[2];
  if (!send(0x20, nullptr, 0, response) || !reserve(reservation)) return kFailure;

  uint8_t area[kRecordRoom] = {};
  uint8_t total = 0;
  uint8_t remaining = 0;
  uint8_t offset = 0;
  uint8_t piece = kPieceSize;
  size_t retries = 0;
  for (bool first = true;;) {
    const uint8_t request[] = {reservation[0],
                               reservation[1],
                               static_cast<uint8_t>(recordId & 0xFF),
                               static_cast<uint8_t>(recordId >> 8 & 0xFF),
                               offset,
                               piece};
    if (!send(0x23, request, sizeof request, response)) return kFailure;
    if (response.completion() == kReservationCancelled) {
      if (retries == kRetries) return kFailure;
      sleep_us(kBackOff[retries]);
      if (!reserve(reservation)) return kFailure;
      ++retries;
      continue;
    }
    if (response.completion() != 0) return kFailure;

    const uint8_t* data = response.data() + 2;  // behind the next record ID
    if (first) {
      total = remaining = static_cast<uint8_t>(data[4] + kHeaderSize);
      first = false;
    }
    if (offset < sizeof area) {  // only the first bytes are given out
      const size_t copied = piece < remaining ? piece : remaining;
      const size_t room = sizeof area - offset;
      std::memcpy(area + offset, data, copied < room ? copied : room);
    }
    if (piece >= remaining) break;
    remaining = static_cast<uint8_t>(remaining - piece);
    offset = static_cast<uint8_t>(offset + piece);
    piece = remaining < kPieceSize ? remaining : kPieceSize;
  }
  *nextId = load_le16(response.data());
  if (recordLength != nullptr) *recordLength = total;
  if (record != nullptr) std::memcpy(record, area, kRecordGiven);
  return kSuccess;
}
