#include "hw/highway.hpp"

#include <algorithm>

namespace lumi::hw {

namespace {

constexpr uint8_t kLanChannel = 1;
constexpr uint8_t kActive = 0x80;
constexpr uint8_t kStored = 0x40;

static_assert(sizeof(IpmiHighwayFrame) == kRoom);

IpmiHighwayFrame frame_of(Call call) {
  IpmiHighwayFrame frame = {};
  frame.function = call.function;
  frame.operation = call.operation;
  return frame;
}

}  // namespace

Result send(const IpmiHighwayFrame& frame, uint32_t area, Response& response) {
  response = {};
  response.count = kRoom;
  return tov_function_execute_DDS(LUMIPMI_HIGHWAY_FUNCTION, &response.count, &frame, area, response.bytes, kRoom);
}

Result send(Call call, const void* data, uint32_t length, uint32_t area, Response& response) {
  IpmiHighwayFrame frame = frame_of(call);
  if (data == nullptr || length > sizeof frame.data) return kInvalid;
  std::memcpy(frame.data, data, length);
  frame.dataLength = length;
  return send(frame, area, response);
}

Result send(Call call, uint32_t area, Response& response) {
  return send(frame_of(call), area, response);
}

Result hand_out(Result result, const Response& response, void* area, uint32_t* length) {
  if (result == kOk) std::memcpy(area, response.bytes, std::min({response.count, *length, kRoom}));
  *length = response.count;
  return result;
}

Result transfer(Call call, const void* data, uint32_t data_length, void* area, uint32_t* length) {
  if (data == nullptr || data_length > sizeof IpmiHighwayFrame::data || area == nullptr || length == nullptr)
    return kInvalid;
  Response response;
  return hand_out(send(call, data, data_length, *length, response), response, area, length);
}

Result transfer(Call call, void* area, uint32_t* length) {
  if (area == nullptr || length == nullptr) return kInvalid;
  Response response;
  return hand_out(send(call, *length, response), response, area, length);
}

Result get_channel_access(bool active, uint8_t* access, uint8_t* privilege) {
  if (access == nullptr || privilege == nullptr) return kInvalid;
  const uint8_t data[] = {kLanChannel, active ? kActive : kStored};
  Response response;
  LUMI_HW_TRY(send(kGetChannelAccess, data, 5, response));
  *access = response.bytes[0];
  *privilege = response.bytes[1];
  return kOk;
}

// Both settings are made from the active ones, whichever is set.
Result set_channel_access(bool enable, bool active) {
  uint8_t access;
  uint8_t privilege;
  LUMI_HW_TRY(get_channel_access(true, &access, &privilege));
  const uint8_t which = active ? kActive : kStored;
  const uint8_t mode = enable ? 0x02 : 0x00;
  const uint8_t data[] = {kLanChannel, static_cast<uint8_t>((access & 0xC8) | mode | which),
                          static_cast<uint8_t>(which | (privilege & 0x0F))};
  Response response;
  return send(kSetChannelAccess, data, 1, response);
}

}  // namespace lumi::hw
