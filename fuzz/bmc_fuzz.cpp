// A BMC that answers what it likes, under a whole call. The first line of the input names the call, so that saved
// inputs keep their meaning; then come the call's arguments, if it takes any, and the BMC:
//
//   script      for each answer a length byte and as many bytes, completion code first; length 0 is a driver failure,
//               length FFh the good answer that the tests of the management calls have for the request
//   FRU device  two bytes of size that it tells, then its content; reads beyond it are refused
//
// An input that is used up gives good answers.
#include <gtest/gtest.h>
#include <time.h>

#include "bmc_calls.hpp"
#include "support/fru_builder.hpp"
#include "support/management_calls.hpp"

using lumi::fuzz::BmcCall;
using lumi::fuzz::Input;

namespace {

constexpr uint8_t kGoodAnswer = 0xFF;
constexpr size_t kMostRequests = 2000;  // no call sends as many to a BMC that is not busy all the time
constexpr Bytes::value_type kInvalidCommand = 0xC1, kOutOfRange = 0xC9;

Bytes answer_from_script(Input& input, uint8_t net_fn, uint8_t cmd, const Bytes& request) {
  const uint8_t length = input.left() == 0 ? kGoodAnswer : input.u8();
  return length == kGoodAnswer ? model_bmc(net_fn, cmd, request) : input.take(length);
}

/// A device that lies about its size, but not about its content.
Bytes answer_as_fru_device(const Bytes& device, uint8_t cmd, const Bytes& request) {
  if (device.size() < 2) return {kInvalidCommand};
  if (cmd == 0x10) return {0x00, device[0], device[1], 0x00};
  if (cmd != 0x11 || request.size() != 4) return {kInvalidCommand};
  const size_t offset = 2 + request[1] + request[2] * size_t{256};
  const size_t count = std::min<size_t>(request[3], 253);  // what a driver can deliver
  if (offset + count > device.size()) return {kOutOfRange};
  Bytes answer = {0x00, static_cast<uint8_t>(count)};
  answer.insert(answer.end(), device.begin() + static_cast<ptrdiff_t>(offset),
                device.begin() + static_cast<ptrdiff_t>(offset + count));
  return answer;
}

const BmcCall* find_call(const std::string& name) {
  for (const BmcCall& call : lumi::fuzz::bmc_calls())
    if (call.name == name) return &call;
  return nullptr;
}

}  // namespace

/// Nobody waits for a busy BMC here.
extern "C" int nanosleep(const timespec*, timespec*) {
  return 0;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  lumi::fuzz::discard_standard_output();
  testing::FLAGS_gtest_throw_on_failure = true;  // what the helpers of the tests expect ends the program
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const BmcCall* call = find_call(input.line());
  if (call == nullptr) return 0;
  Input arguments = input;
  const Bytes device = call->of_fru_device ? input.rest() : Bytes();
  size_t requests = 0;
  ScriptedDriver bmc([&](uint8_t net_fn, uint8_t cmd, const Bytes& request) {
    lumi::fuzz::require(++requests <= kMostRequests);
    return call->of_fru_device ? answer_as_fru_device(device, cmd, request)
                               : answer_from_script(arguments, net_fn, cmd, request);
  });
  call->run(arguments);
  return 0;
}

/// Keeps the name of the call, or takes another one. The content of a FRU device mostly gets right checksums.
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned seed) {
  const std::vector<BmcCall>& calls = lumi::fuzz::bmc_calls();
  Input input(data, size);
  const BmcCall* call = find_call(input.line());
  Bytes tail = input.rest();
  if (call == nullptr || seed % 16 == 0) call = &calls[seed / 16 % calls.size()];
  const std::string head = call->name + "\n";
  if (head.size() + 4 > max_size) return size;

  const size_t room = max_size - head.size();
  const size_t old_size = std::min(tail.size(), room);
  tail.resize(room);
  tail.resize(LLVMFuzzerMutate(tail.data(), old_size, room));
  constexpr size_t kContent = 2;
  if (call->of_fru_device && tail.size() > kContent && seed % 8 != 1) {
    Bytes image(tail.begin() + kContent, tail.end());
    lumi::test::fix_fru_checksums(image);
    std::copy(image.begin(), image.end(), tail.begin() + kContent);
  }
  std::copy(head.begin(), head.end(), data);
  std::copy(tail.begin(), tail.end(), data + head.size());
  return head.size() + tail.size();
}
