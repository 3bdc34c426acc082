#include "bmc.hpp"

#include <cstring>
#include <vector>

#include "lumipmi/broker.h"
#include "lumipmi/driver.h"

namespace bench {

// clang-format off
const uint8_t kSensorRecord[64] = {
    0x01, 0x00, 0x51, 0x01, 59,                                              // header
    0x20, 0x00, 0x11,                                                        // owner, LUN, number
    0x07, 0x01, 0x7F, 0x68, 0x01, 0x01, 0x95, 0x7A, 0x95, 0x7A, 0x3F, 0x3F,  // entity, capabilities, type, masks
    0x00, 0x01, 0x00, 0x00, 0x05, 0x02, 0xC8, 0x00, 0x10, 0xE1,              // degrees C, linear, M 5, B 200, exponents
    0x07, 0x17, 0x2A, 0x05, 0xFF, 0x00, 0x2F, 0x2A, 0x26, 0x00, 0x02, 0x05,  // nominal reading to thresholds
    0x02, 0x02, 0x00, 0x00, 0x00, 0xD0,                                      // hysteresis, OEM, text of 16 bytes
    'I', 'n', 'l', 'e', 't', ' ', 'T', 'e', 'm', 'p', ' ', 'F', 'r', 'o', 'n', 't'};
// clang-format on

const uint8_t kEvent[16] = {0x01, 0x00, 0x02, 0x00, 0xF1, 0x53, 0x65, 0x20,
                            0x00, 0x04, 0x08, 0x51, 0x6F, 0xA0, 0x01, 0x02};

}  // namespace bench

namespace {

constexpr uint16_t kEnd = 0xFFFF;

struct Answer {
  uint8_t net_fn;
  uint8_t cmd;
  int16_t parameter;  // second byte of the request: the parameter of a LAN channel; -1: any
  uint8_t size;
  uint8_t bytes[20];  // completion code first
};

constexpr Answer kAnswers[] = {
    {0x06, 0x01, -1, 16, {0, 0x20, 0x81, 0x01, 0x42, 0x02, 0xBF, 0x57, 0x01, 0x00, 0x34, 0x12, 1, 2, 3, 4}},
    {0x06, 0x42, -1, 10, {0, 0x01, 0x04, 0x01, 0x80, 0xF2, 0x1B, 0x00, 0x00, 0x00}},  // LAN
    {0x0A, 0x20, -1, 15, {0, 0x51, 0x36, 0x00, 0x00, 0x10, 0, 0, 0, 0, 0, 0, 0, 0, 0x22}},
    {0x0A, 0x22, -1, 3, {0, 0x34, 0x12}},
    {0x0A, 0x40, -1, 15, {0, 0x51, 0x3C, 0x00, 0x00, 0x10, 0, 0, 0, 0, 0, 0, 0, 0, 0x02}},
    {0x0C, 0x02, 3, 6, {0, 0x11, 192, 0, 2, 10}},
    {0x0C, 0x02, 4, 3, {0, 0x11, 0x01}},
    {0x0C, 0x02, 5, 8, {0, 0x11, 0x02, 0x00, 0x5E, 0x10, 0x00, 0x01}},
    {0x0C, 0x02, 6, 6, {0, 0x11, 255, 255, 255, 0}},
    {0x0C, 0x02, 12, 6, {0, 0x11, 192, 0, 2, 1}},
    {0x0C, 0x02, 20, 4, {0, 0x11, 0x64, 0x80}},
    {0x0C, 0x02, 21, 3, {0, 0x11, 0x03}},
};

struct Call {
  bool broker;
  uint8_t net_fn;
  uint8_t cmd;
  uint16_t size;
  uint8_t data[36];
};

struct State {
  uint32_t log_size = 60;
  uint32_t repository_size = 54;
  bool recording = false;
  std::vector<Call> calls;
};
State state;

void keep(bool broker, uint8_t net_fn, uint8_t cmd, const uint8_t* data, uint16_t size) {
  Call call = {broker, net_fn, cmd, size, {}};
  if (size != 0) std::memcpy(call.data, data, size < sizeof call.data ? size : sizeof call.data);
  state.calls.push_back(call);
}

void put_next(uint8_t* response, uint32_t record_id, uint32_t records) {
  const uint32_t id = record_id == 0 ? 1 : record_id;
  const uint32_t next = id >= records ? kEnd : id + 1;
  response[0] = 0;
  response[1] = static_cast<uint8_t>(next);
  response[2] = static_cast<uint8_t>(next >> 8);
}

}  // namespace

namespace bench {

void set_log_size(uint32_t records) {
  state.log_size = records;
}

void set_repository_size(uint32_t records) {
  state.repository_size = records;
}

void record() {
  state.calls.clear();
  state.recording = true;
}

size_t recorded() {
  return state.calls.size();
}

void replay() {
  state.recording = false;
  uint8_t response[255];
  for (const Call& call : state.calls) {
    uint32_t length = sizeof call.data;
    if (call.broker)
      tov_function_execute_DDS(LUMIPMI_HIGHWAY_FUNCTION, &length, call.data, 36, response, 36);
    else
      IPMI_DoIPMICmd(call.net_fn, call.cmd, call.data, call.size, response, &length);
  }
}

}  // namespace bench

extern "C" int32_t IPMI_DoIPMICmd(uint8_t netFn, uint8_t cmd, const uint8_t* data, uint16_t dataLength,
                                  uint8_t* response, uint32_t* responseLength) {
  if (state.recording) keep(false, netFn, cmd, data, dataLength);
  if (netFn == 0x0A && cmd == 0x43) {  // Get SEL Entry
    put_next(response, data[2] + 256u * data[3], state.log_size);
    std::memcpy(response + 3, bench::kEvent, sizeof bench::kEvent);
    *responseLength = 3 + sizeof bench::kEvent;
    return 0;
  }
  if (netFn == 0x0A && cmd == 0x23) {  // Get SDR
    put_next(response, data[2] + 256u * data[3], state.repository_size);
    const size_t offset = data[4] < sizeof bench::kSensorRecord ? data[4] : sizeof bench::kSensorRecord;
    const size_t left = sizeof bench::kSensorRecord - offset;
    const size_t count = data[5] < left ? data[5] : left;
    std::memcpy(response + 3, bench::kSensorRecord + offset, count);
    *responseLength = static_cast<uint32_t>(3 + count);
    return 0;
  }
  for (const Answer& answer : kAnswers)
    if (answer.net_fn == netFn && answer.cmd == cmd &&
        (answer.parameter < 0 || (dataLength > 1 && answer.parameter == data[1]))) {
      std::memcpy(response, answer.bytes, answer.size);
      *responseLength = answer.size;
      return 0;
    }
  response[0] = 0xC1;
  *responseLength = 1;
  return 0;
}

extern "C" uint32_t tov_function_execute_DDS(const char*, uint32_t* length, const void* frame, uint32_t, void* response,
                                             uint32_t) {
  if (state.recording) keep(true, 0, 0, static_cast<const uint8_t*>(frame), 36);
  static constexpr uint8_t kSelInfo[14] = {0x51, 0x3C, 0x00, 0x00, 0x10};
  std::memcpy(response, kSelInfo, sizeof kSelInfo);
  *length = sizeof kSelInfo;
  return LUMIPMI_BROKER_OK;
}
