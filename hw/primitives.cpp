// The primitives as applications call them. Their names are common ones, so that the library itself calls those of
// highway.hpp only: an application may have a get_sys_info of its own.
#include <cstring>

#include "hw/highway.hpp"
#include "lumipmi/hardware.h"

using namespace lumi::hw;

// Kept for callers that expect it.
extern "C" uint32_t _DEBUG_HW_CMDS(void) {
  return kOk;
}

extern "C" uint32_t ipmi_send_highway_request(const uint8_t* frame, void* response, uint32_t* length) {
  if (frame == nullptr || response == nullptr || length == nullptr) return kInvalid;
  IpmiHighwayFrame copy;
  std::memcpy(&copy, frame, sizeof copy);
  Response answer;
  return hand_out(send(copy, *length, answer), answer, response, length);
}

extern "C" uint32_t get_sys_info(const uint8_t* data, uint32_t dataLength, void* response, uint32_t* length) {
  return transfer(kGetSystemInfo, data, dataLength, response, length);
}

extern "C" uint32_t set_sys_info(const uint8_t* data, uint32_t dataLength, void* response, uint32_t* length) {
  return transfer(kSetSystemInfo, data, dataLength, response, length);
}

extern "C" uint32_t get_boot_options(const uint8_t* data, uint32_t dataLength, void* response, uint32_t* length) {
  return transfer(kGetBootOptions, data, dataLength, response, length);
}

extern "C" uint32_t set_boot_options(const uint8_t* data, uint32_t dataLength) {
  Response response;
  return send(kSetBootOptions, data, dataLength, 1, response);
}

extern "C" uint32_t get_community_string(const uint8_t* data, int32_t dataLength, void* response, uint32_t* length) {
  return transfer(kGetCommunityString, data, static_cast<uint32_t>(dataLength), response, length);
}

extern "C" uint32_t get_serial_modem_conf(const uint8_t* data, int32_t dataLength, void* response, uint32_t* length) {
  return transfer(kGetSerialConfig, data, static_cast<uint32_t>(dataLength), response, length);
}

extern "C" uint32_t get_sol_config(const uint8_t* data, int32_t dataLength, void* response, uint32_t* length) {
  return transfer(kGetSolConfig, data, static_cast<uint32_t>(dataLength), response, length);
}

extern "C" uint32_t get_chassis_status(void* response, uint32_t* length) {
  return transfer(kGetChassisStatus, response, length);
}

extern "C" uint32_t get_sel_reservation_id(void* response, uint32_t* length) {
  return transfer(kReserveSel, response, length);
}

extern "C" uint32_t get_sdr_reservation_id(void* response, uint32_t* length) {
  return transfer(kReserveSdr, response, length);
}

// One byte is read at control, whatever the length says.
extern "C" uint32_t set_chassis_control(const uint8_t* control, int32_t dataLength, void* response, uint32_t* length) {
  if (control == nullptr || static_cast<uint32_t>(dataLength) > sizeof IpmiHighwayFrame::data || response == nullptr ||
      length == nullptr)
    return kInvalid;
  IpmiHighwayFrame frame = {};
  frame.function = kChassisControl.function;
  frame.operation = kChassisControl.operation;
  frame.data[0] = *control;
  frame.dataLength = static_cast<uint32_t>(dataLength);
  Response answer;
  return hand_out(send(frame, *length, answer), answer, response, length);
}

extern "C" uint32_t get_channel_access(int32_t active, uint8_t* access, uint8_t* privilege) {
  return lumi::hw::get_channel_access(active != 0, access, privilege);
}

extern "C" uint32_t set_channel_access(int8_t enable, int32_t active) {
  return lumi::hw::set_channel_access(enable != 0, active != 0);
}
