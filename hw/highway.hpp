// Requests to the controller's command broker, the hardware layer's only way to the BMC.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "lumipmi/broker.h"

namespace lumi::hw {

/// The layer's own results; every other value is the broker's.
using Result = uint32_t;
constexpr Result kOk = 0;
constexpr Result kFailed = 1;   // a function that does not tell the broker's failures apart
constexpr Result kShort = 2;    // a response shorter than it announces
constexpr Result kInvalid = 4;  // an argument; nothing was sent

/// Returns the result of an expression unless it is 0.
#define LUMI_HW_TRY(expression)                                                               \
  do {                                                                                        \
    if (const ::lumi::hw::Result lumi_result = (expression); lumi_result) return lumi_result; \
  } while (false)

/// Function group and operation, as the frame begins.
struct Call {
  uint32_t function;
  uint32_t operation;
};

constexpr Call kGetServerPower = {0, 0};
constexpr Call kSetServerPower = {0, 1};
constexpr Call kGetChannelAccess = {1, 0};
constexpr Call kSetChannelAccess = {1, 1};
constexpr Call kGetSystemInfo = {2, 0};
constexpr Call kSetSystemInfo = {2, 1};
constexpr Call kGetBootOptions = {3, 0};
constexpr Call kSetBootOptions = {3, 1};
constexpr Call kGetCommunityString = {5, 0};
constexpr Call kGetChassisStatus = {6, 0};
constexpr Call kChassisControl = {6, 1};
constexpr Call kGetSerialConfig = {7, 0};
constexpr Call kSetSerialConfig = {7, 1};
constexpr Call kGetSolConfig = {8, 0};
constexpr Call kSetStatusRegister = {9, 1};
constexpr Call kGetSelInfo = {10, 0};
constexpr Call kGetSelTime = {11, 0};
constexpr Call kSetSelTime = {11, 1};
constexpr Call kGetSelEntry = {12, 0};
constexpr Call kAddSelEntry = {12, 1};
constexpr Call kReserveSel = {13, 0};
constexpr Call kClearSel = {14, 1};
constexpr Call kReserveSdr = {15, 0};
constexpr Call kGetSdr = {16, 0};
constexpr Call kGetFruData = {17, 0};
constexpr Call kGetSensorReading = {18, 0};

/// The broker is always told of this much room, so every area that it gets has it.
constexpr uint32_t kRoom = 36;

struct Response {
  uint8_t bytes[kRoom];  // zero where the broker wrote nothing
  uint32_t count;        // as the broker tells
};

/// Sends a frame. `area` is the length that the broker is told of beside its room.
[[nodiscard]] Result send(const IpmiHighwayFrame& frame, uint32_t area, Response& response);

/// Sends data with a call: kInvalid when they are null or more than 16 bytes.
[[nodiscard]] Result send(Call call, const void* data, uint32_t length, uint32_t area, Response& response);

/// The same with data of the library's own.
template <size_t N>
[[nodiscard]] Result send(Call call, const uint8_t (&data)[N], uint32_t area, Response& response) {
  static_assert(N <= sizeof(IpmiHighwayFrame::data));
  return send(call, data, N, area, response);
}

/// Without data.
[[nodiscard]] Result send(Call call, uint32_t area, Response& response);

/// Hands a response to a caller: as many bytes as its area holds, and the broker's count. `length` is the area's size
/// before and the count afterwards, also after a failure; bytes are written on success only.
Result hand_out(Result result, const Response& response, void* area, uint32_t* length);

/// For applications: data of theirs and an area of theirs.
Result transfer(Call call, const void* data, uint32_t data_length, void* area, uint32_t* length);
Result transfer(Call call, void* area, uint32_t* length);

/// The settings of channel 1, which is the LAN channel here.
Result get_channel_access(bool active, uint8_t* access, uint8_t* privilege);
Result set_channel_access(bool enable, bool active);

}  // namespace lumi::hw
