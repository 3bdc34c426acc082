// The operations of the hardware layer, but for boot options.
#include <algorithm>
#include <cstring>

#include "hw/highway.hpp"
#include "lumipmi/hardware.h"
#include "platform/bytes.hpp"
#include "platform/text.hpp"

using namespace lumi;
using namespace lumi::hw;

namespace {

/// Copies as much of a response as was asked for and came.
void copy_response(void* to, size_t area, const Response& response) {
  std::memcpy(to, response.bytes, std::min<size_t>({area, response.count, kRoom}));
}

const char* text_at(const Response& response, size_t place) {
  return reinterpret_cast<const char*>(response.bytes + place);
}

/// A block of the system name, system information parameter 2.
Result read_name_block(uint8_t block, Response& response) {
  const uint8_t data[] = {0x00, 0x02, block, 0x00};
  return send(kGetSystemInfo, data, 19, response) == kOk ? kOk : kFailed;
}

/// Byte 1 of a SOL parameter, behind its revision.
Result read_sol(uint8_t parameter, uint8_t* value) {
  const uint8_t data[] = {0x01, parameter, 0x00, 0x00};
  Response response;
  if (send(kGetSolConfig, data, 5, response) != kOk) return kFailed;
  *value = response.bytes[1];
  return kOk;
}

}  // namespace

// --- requests as the caller supplies them

extern "C" uint32_t IPMISetSerialModemConf_HW(const uint8_t* data, int32_t dataLength, void* response,
                                              uint32_t* length) {
  return transfer(kSetSerialConfig, data, static_cast<uint32_t>(dataLength), response, length);
}

extern "C" uint32_t IPMISetIMCStatusRegister_HW(const uint8_t* data, int32_t dataLength, void* response,
                                                uint32_t* length) {
  return transfer(kSetStatusRegister, data, static_cast<uint32_t>(dataLength), response, length);
}

extern "C" uint32_t IPMISELSetSELTime_HW(const uint8_t* data, int32_t dataLength, void* response, uint32_t* length) {
  return transfer(kSetSelTime, data, static_cast<uint32_t>(dataLength), response, length);
}

extern "C" uint32_t IPMISELGetSELEntry_HW(const uint8_t* data, int32_t dataLength, void* response, uint32_t* length) {
  return transfer(kGetSelEntry, data, static_cast<uint32_t>(dataLength), response, length);
}

extern "C" uint32_t IPMISELAddEntry_HW(const uint8_t* data, int32_t dataLength, void* response, uint32_t* length) {
  return transfer(kAddSelEntry, data, static_cast<uint32_t>(dataLength), response, length);
}

extern "C" uint32_t IPMISDRGetSDR_HW(const uint8_t* data, int32_t dataLength, void* response, uint32_t* length) {
  return transfer(kGetSdr, data, static_cast<uint32_t>(dataLength), response, length);
}

extern "C" uint32_t IPMIFRUGetData_HW(const uint8_t* data, int32_t dataLength, void* response, uint32_t* length) {
  return transfer(kGetFruData, data, static_cast<uint32_t>(dataLength), response, length);
}

extern "C" uint32_t IPMIGetSensorReading_HW(const uint8_t* data, int32_t dataLength, void* response, uint32_t* length) {
  return transfer(kGetSensorReading, data, static_cast<uint32_t>(dataLength), response, length);
}

// --- requests without data

extern "C" uint32_t IPMISELGetSELInfo_HW(void* response, uint32_t* length) {
  return transfer(kGetSelInfo, response, length);
}

extern "C" uint32_t IPMISELGetSELTime_HW(void* response, uint32_t* length) {
  return transfer(kGetSelTime, response, length);
}

extern "C" uint32_t IPMISELGetReservationID_HW(void* response, uint32_t* length) {
  return transfer(kReserveSel, response, length);
}

extern "C" uint32_t IPMISDRGetReservationID_HW(void* response, uint32_t* length) {
  return transfer(kReserveSdr, response, length);
}

extern "C" uint32_t IPMIGetChassisStatus_HW(void* response, uint32_t* length) {
  if (response == nullptr || length == nullptr) return kInvalid;
  *length = 4;
  return transfer(kGetChassisStatus, response, length) == kOk ? kOk : kFailed;
}

// --- access over LAN

extern "C" uint32_t IPMIGetIPMIOverLANAccess_HW(uint8_t* enabled, uint8_t* privilege) {
  if (enabled == nullptr || privilege == nullptr) return kInvalid;
  uint8_t access;
  uint8_t limit;
  LUMI_HW_TRY(lumi::hw::get_channel_access(true, &access, &limit));
  *enabled = (access & 0x07) != 0;
  *privilege = limit & 0x0F;
  return kOk;
}

extern "C" uint32_t IPMISetIPMIOverLANAccess_HW(uint8_t enable) {
  LUMI_HW_TRY(lumi::hw::set_channel_access(enable != 0, true));
  return lumi::hw::set_channel_access(enable != 0, false);
}

// --- the maker's system information

extern "C" uint32_t IPMIGetLocalServerVideo_HW(uint8_t* enabled) {
  if (enabled == nullptr) return kInvalid;
  const uint8_t data[] = {0x00, 0xD6, 0x00, 0x00};
  Response response;
  LUMI_HW_TRY(send(kGetSystemInfo, data, 5, response));
  if (response.count == 5) *enabled = response.bytes[1] != 0x01;
  return kOk;
}

extern "C" uint32_t IPMISetLocalServerVideo_HW(uint8_t enable) {
  const uint8_t on[] = {0xD6, 0x80, 0x00, 0x00, 0x0F};
  const uint8_t off[] = {0xD6, 0x01, 0x00, 0x00, 0x00};
  Response response;
  return send(kSetSystemInfo, enable == 1 ? on : off, 1, response);
}

extern "C" uint32_t IPMIGetNicCapabilities(uint8_t* count) {
  if (count == nullptr) return kInvalid;
  const uint8_t data[] = {0x00, 0xCE, 0x00, 0x00};
  Response response;
  LUMI_HW_TRY(send(kGetSystemInfo, data, 4, response));
  if (response.count != 4) return kOk;
  uint8_t ports = 0;
  for (int bit = 0; bit < 4; ++bit) ports = static_cast<uint8_t>(ports + (response.bytes[2] >> bit & 1));
  *count = ports;
  return kOk;
}

extern "C" uint32_t IPMIGetOEMUnitTag_HW(IpmiHwText* tag) {
  if (tag == nullptr) return kInvalid;
  constexpr uint32_t kArea = 10;
  const uint8_t data[] = {0x00, 0xC5, 0x00, 0x00};
  Response response;
  if (send(kGetSystemInfo, data, kArea, response) != kOk) return kFailed;
  const uint8_t length = response.bytes[1];
  if (length == 0) {
    tag->text[0] = '\0';
    return kOk;
  }
  if (std::min(response.count, kArea) <= length + 1u) return kShort;
  (void)copy_text(tag->text, length, text_at(response, 2));  // the last character is cut: applications count on it
  tag->text[length] = '\0';
  tag->length = length;
  return kOk;
}

extern "C" uint32_t IPMIGetOEMHostName_HW(IpmiHwText* name) {
  if (name == nullptr) return kInvalid;
  constexpr size_t kLongest = sizeof name->text - 1;
  constexpr size_t kFirstBlock = 14;
  constexpr size_t kBlock = 16;
  Response response;
  LUMI_HW_TRY(read_name_block(0, response));
  const size_t total = std::min<size_t>(response.bytes[3], kLongest);
  name->length = response.bytes[3];  // also when the text is cut
  size_t taken = std::min(total, kFirstBlock);
  if (total != 0 && response.count <= taken + 3) return kShort;
  (void)copy_text(name->text, taken + 1, text_at(response, 4));
  for (uint8_t block = 1; taken < total; ++block) {
    const size_t size = std::min(total - taken, kBlock);
    LUMI_HW_TRY(read_name_block(block, response));
    if (response.count <= size + 1) return kShort;
    (void)copy_text(name->text + taken, size + 1, text_at(response, 2));
    taken += size;
  }
  name->text[total] = '\0';
  return kOk;
}

// --- power

extern "C" uint32_t IPMIGetServerPower_HW(uint8_t record[28]) {
  constexpr size_t kRecordSize = 28;
  if (record == nullptr) return kInvalid;
  std::memset(record, 0, kRecordSize);
  Response response;
  LUMI_HW_TRY(send(kGetServerPower, kRoom, response));
  copy_response(record, kRecordSize, response);
  return kOk;
}

// The frame's data length stays 0: the broker reads the data at their places.
extern "C" uint32_t IPMISetServerPower_HW(uint16_t value16, uint32_t value32) {
  IpmiHighwayFrame frame = {};
  frame.function = kSetServerPower.function;
  frame.operation = kSetServerPower.operation;
  store_le16(value16, frame.data);
  store_le32(value32, 4, frame.data + 4);
  Response response;
  return send(frame, 1, response);
}

extern "C" uint32_t IPMIGetPowerState_HW(uint32_t* count, void*, void*, uint8_t* powerOn) {
  if (count == nullptr || powerOn == nullptr) return kInvalid;
  Response response;
  if (send(kGetChassisStatus, 4, response) != kOk) return kFailed;
  *powerOn = response.bytes[0] & 1;
  *count = response.count;
  return kOk;
}

extern "C" uint32_t IPMISetPowerState_HW(uint32_t* count, void*, const uint8_t* control, uint8_t* out) {
  if (count == nullptr || control == nullptr || out == nullptr || *count != 1) return kInvalid;
  const uint8_t data[] = {*control};
  Response response;
  if (send(kChassisControl, data, 2, response) != kOk) return kFailed;
  if (response.count != 1) return kShort;
  *out = 0;
  *count = 0;
  return kOk;
}

// --- LAN, serial and SOL configuration

extern "C" uint32_t IPMIGetCommunityString_HW(uint8_t community[20]) {
  constexpr uint32_t kArea = 19;  // the revision and 18 bytes
  if (community == nullptr) return kInvalid;
  const uint8_t data[] = {0x01, 0x10, 0x00, 0x00};
  Response response;
  if (send(kGetCommunityString, data, kArea, response) != kOk) return kFailed;
  std::memset(community, 0, 20);
  const uint32_t came = std::min(response.count, kArea);
  if (came > 1) std::memcpy(community, response.bytes + 1, came - 1);
  return kOk;
}

extern "C" uint32_t IPMIGetSerialModemConf_HW(uint8_t response[5]) {
  constexpr uint32_t kArea = 5;
  if (response == nullptr) return kInvalid;
  const uint8_t data[] = {0x02, 0x33, 0x00, 0x00};
  Response answer;
  LUMI_HW_TRY(send(kGetSerialConfig, data, kArea, answer));
  copy_response(response, kArea, answer);
  return kOk;
}

extern "C" uint32_t IPMIGetSOLConfig_HW(IpmiHwSolConfig* config) {
  if (config == nullptr) return kInvalid;
  uint8_t value;
  LUMI_HW_TRY(read_sol(0x01, &value));
  config->enabled = value & 0x01;
  LUMI_HW_TRY(read_sol(0x05, &value));
  config->bitRate = value & 0x0F;
  LUMI_HW_TRY(read_sol(0x02, &value));
  config->privilege = value & 0x0F;
  return kOk;
}

// --- SEL

extern "C" uint32_t IPMISELClear_HW(const uint8_t* action, int32_t dataLength, void* response, uint32_t* length) {
  constexpr uint8_t kErase = 0xAA;
  constexpr uint8_t kStatus = 0x00;
  if (action == nullptr || static_cast<uint32_t>(dataLength) > sizeof IpmiHighwayFrame::data || response == nullptr ||
      length == nullptr || (*action != kErase && *action != kStatus))
    return kInvalid;
  Response reservation;
  LUMI_HW_TRY(send(kReserveSel, 2, reservation));
  const uint8_t data[] = {reservation.bytes[0], reservation.bytes[1], 'C', 'L', 'R', *action};
  return transfer(kClearSel, data, sizeof data, response, length);
}
