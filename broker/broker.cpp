// The broker: a frame in, one IPMI command to the BMC, its response data out. It keeps nothing between calls.
#include "lumipmi/broker.h"

#include <endian.h>
#include <time.h>

#include <cstring>

#include "broker/table.hpp"
#include "lumipmi/driver.h"

namespace lumi::broker {
namespace {

static_assert(sizeof(IpmiHighwayFrame) == 36);
static_assert(well_formed(sizeof IpmiHighwayFrame::data), "a row has an odd or too large NetFn, or too many bytes");

constexpr uint8_t kNodeBusy = 0xC0;
constexpr int kBusyRetries = 10;
constexpr timespec kBusyPause = {0, 50'000'000};  // 0.5 s in all

struct Answer {
  uint32_t length = 0;  // completion code included
  uint8_t bytes[LUMIPMI_DRIVER_MAX_RESPONSE] = {};
};

uint32_t find(uint32_t function, uint32_t operation, const Mapping*& found) {
  bool known = false;
  for (const Mapping& row : kMappings) {
    if (row.function != function) continue;
    known = true;
    if (row.operation != operation) continue;
    found = &row;
    return LUMIPMI_BROKER_OK;
  }
  if (is_controllers_own(function)) return LUMIPMI_BROKER_NOT_SUPPORTED;
  return known ? LUMIPMI_BROKER_UNKNOWN_OPERATION : LUMIPMI_BROKER_UNKNOWN_FUNCTION;
}

uint32_t exchange(const Mapping& row, const uint8_t* data, uint32_t size, Answer& answer) {
  for (int retries = 0;; ++retries) {
    const int32_t failed =
        IPMI_DoIPMICmd(row.net_fn, row.cmd, data, static_cast<uint16_t>(size), answer.bytes, &answer.length);
    if (failed != 0 || answer.length == 0 || answer.length > sizeof answer.bytes) return LUMIPMI_BROKER_DRIVER_ERROR;
    const uint8_t completion = answer.bytes[0];
    if (completion == 0) return LUMIPMI_BROKER_OK;
    if (completion != kNodeBusy || retries == kBusyRetries) return LUMIPMI_BROKER_COMPLETION + completion;
    nanosleep(&kBusyPause, nullptr);  // a signal only makes it shorter
  }
}

}  // namespace
}  // namespace lumi::broker

extern "C" uint32_t tov_function_execute_DDS(const char* functionName, uint32_t* length, const void* frame,
                                             uint32_t /*callerLength*/, void* response, uint32_t responseSize) {
  using namespace lumi::broker;
  if (length == nullptr) return LUMIPMI_BROKER_BAD_ARGUMENT;
  const uint32_t frame_length = *length;
  *length = 0;  // until there is a response
  if (functionName == nullptr || frame == nullptr || response == nullptr) return LUMIPMI_BROKER_BAD_ARGUMENT;
  if (std::strcmp(functionName, LUMIPMI_HIGHWAY_FUNCTION) != 0) return LUMIPMI_BROKER_UNKNOWN_NAME;
  if (frame_length != sizeof(IpmiHighwayFrame)) return LUMIPMI_BROKER_BAD_FRAME_LENGTH;

  IpmiHighwayFrame request;  // a copy: the frame may lie anywhere in the caller's memory
  std::memcpy(&request, frame, sizeof request);
  const Mapping* row = nullptr;
  const uint32_t unmapped = find(le32toh(request.function), le32toh(request.operation), row);
  if (unmapped != LUMIPMI_BROKER_OK) return unmapped;
  const uint32_t data_length = le32toh(request.dataLength);
  if (data_length > sizeof request.data) return LUMIPMI_BROKER_DATA_TOO_LONG;

  Answer answer;
  const uint32_t failed = exchange(*row, request.data, row->size == kAsFramed ? data_length : row->size, answer);
  if (failed != LUMIPMI_BROKER_OK) return failed;

  // A set command without response data is answered with its completion code: callers wait for one byte.
  const bool bare_set = answer.length == 1 && row->operation == kSet;
  const uint8_t* data = answer.bytes + (bare_set ? 0 : 1);
  const uint32_t count = bare_set ? 1 : answer.length - 1;
  if (count > responseSize) return LUMIPMI_BROKER_ANSWER_TOO_LONG;
  if (count != 0) std::memcpy(response, data, count);
  *length = count;
  return LUMIPMI_BROKER_OK;
}
