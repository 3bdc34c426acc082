// A BMC that answers what it likes. The first byte of the input chooses how:
//   even  each answer is a length byte and as many bytes, completion code first; length 0 is a driver failure
//   odd   a FRU device: two bytes of size that it tells, then its content; reads beyond it are refused
// An input that is used up answers 0xC1, "invalid command".
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "lumipmi/connection.h"
#include "lumipmi/driver.h"
#include "lumipmi/fru.h"
#include "lumipmi/fru_inventory.h"
#include "support/fru_builder.hpp"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t max_size);

namespace {

constexpr size_t kContent = 3;   // of a FRU device, in the input
constexpr uint8_t kBusy = 0xC0;  // would be repeated with pauses
constexpr uint8_t kInvalidCommand = 0xC1;
constexpr uint8_t kOutOfRange = 0xC9;

/// What is left of the input.
struct {
  const uint8_t* data;
  size_t size;
  bool fru_device;
} g_input;

size_t put(uint8_t* response, uint8_t completion, const uint8_t* data = nullptr, size_t size = 0) {
  response[0] = completion;
  if (size != 0) std::memcpy(response + 1, data, size);
  return 1 + size;
}

size_t answer_from_script(uint8_t* response) {
  if (g_input.size == 0) return put(response, kInvalidCommand);
  const size_t length = std::min<size_t>(g_input.data[0], g_input.size - 1);
  std::copy_n(g_input.data + 1, length, response);
  g_input.data += 1 + length;
  g_input.size -= 1 + length;
  if (length != 0 && response[0] == kBusy) response[0] = kInvalidCommand;
  return length;
}

size_t answer_as_fru_device(uint8_t cmd, const uint8_t* request, size_t size, uint8_t* response) {
  if (g_input.size < 2) return put(response, kInvalidCommand);
  if (cmd == 0x10) {
    const uint8_t info[] = {g_input.data[0], g_input.data[1], 0};
    return put(response, 0x00, info, sizeof info);
  }
  if (cmd != 0x11 || size != 4) return put(response, kInvalidCommand);
  const size_t offset = request[1] + request[2] * size_t{256};
  const size_t count = request[3];
  if (offset + count > g_input.size - 2) return put(response, kOutOfRange);
  uint8_t counted[256] = {request[3]};
  std::copy_n(g_input.data + 2 + offset, count, counted + 1);
  return put(response, 0x00, counted, 1 + count);
}

}  // namespace

extern "C" int32_t IPMI_DoIPMICmd(uint8_t, uint8_t cmd, const uint8_t* data, uint16_t dataLength, uint8_t* response,
                                  uint32_t* responseLength) {
  const size_t length =
      g_input.fru_device ? answer_as_fru_device(cmd, data, dataLength, response) : answer_from_script(response);
  if (length == 0) return 1;
  *responseLength = static_cast<uint32_t>(length);
  return 0;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();  // the library reports driver failures there
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  g_input = {data + 1, size - 1, (data[0] & 1) != 0};
  const IpmiConnectParams params = {1, -1, -1, 0};
  IpmiHandle* handle = nullptr;
  if (ipmi_connect(&params, &handle) != 0) std::abort();
  IpmiFruInfo info;
  (void)ipmi_get_fru_info(handle, data[0] >> 1, &info);  // any status will do
  lumi::test::release_fru(info);
  ipmi_disconnect(handle);
  return 0;
}

/// The content of a FRU device mostly gets right checksums, or few images would be parsed behind the header.
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned seed) {
  size = LLVMFuzzerMutate(data, size, max_size);
  if (size <= kContent || (data[0] & 1) == 0 || seed % 8 == 0) return size;
  Bytes image(data + kContent, data + size);
  lumi::test::fix_fru_checksums(image);
  std::copy(image.begin(), image.end(), data + kContent);
  return size;
}
