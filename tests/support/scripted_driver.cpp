#include "support/scripted_driver.hpp"

#include <algorithm>
#include <cstdio>

#include "core/exchange.hpp"
#include "lumipmi/driver.h"

namespace {

ScriptedDriver* g_driver = nullptr;
thread_local IpmiRequest g_request = {};  // as the command function built it

}  // namespace

// The dispatcher, seen on its way in: privilege and responder do not reach the driver.
lumi::Status real_transact(const IpmiRequest&, lumi::Answer&,
                           IpmiHandle&) __asm__("__real__ZN4lumi8transactERK11IpmiRequestRNS_6AnswerER10IpmiHandle");
lumi::Status wrap_transact(const IpmiRequest&, lumi::Answer&,
                           IpmiHandle&) __asm__("__wrap__ZN4lumi8transactERK11IpmiRequestRNS_6AnswerER10IpmiHandle");
lumi::Status wrap_transact(const IpmiRequest& request, lumi::Answer& answer, IpmiHandle& handle) {
  g_request = request;
  return real_transact(request, answer, handle);
}

extern "C" int32_t IPMI_DoIPMICmd(uint8_t netFn, uint8_t cmd, const uint8_t* data, uint16_t dataLength,
                                  uint8_t* response, uint32_t* responseLength) {
  if (g_driver == nullptr) {
    ADD_FAILURE() << "a request without a script: " << hex(&netFn, 1) << " " << hex(&cmd, 1);
    return 1;
  }
  return g_driver->exchange(netFn, cmd, data, dataLength, response, responseLength);
}

std::string hex(const uint8_t* bytes, size_t size) {
  std::string text;
  char digits[4];
  for (size_t i = 0; i < size; ++i) {
    std::snprintf(digits, sizeof digits, "%s%02x", i == 0 ? "" : " ", bytes[i]);
    text += digits;
  }
  return text;
}

Bytes counting(size_t count, uint8_t first) {
  Bytes bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(first + i);
  return bytes;
}

Bytes ok(const Bytes& data) {
  Bytes reply(1 + data.size());
  std::copy(data.begin(), data.end(), reply.begin() + 1);
  return reply;
}

ScriptedDriver::ScriptedDriver(std::initializer_list<Step> steps) : ScriptedDriver(std::vector<Step>(steps)) {}

ScriptedDriver::ScriptedDriver(std::vector<Step> steps) : steps_(std::move(steps)) {
  EXPECT_EQ(g_driver, nullptr) << "two scripts at a time";
  g_driver = this;
}

ScriptedDriver::ScriptedDriver(std::function<Bytes(uint8_t, uint8_t, const Bytes&)> bmc)
    : ScriptedDriver(std::vector<Step>{}) {
  bmc_ = std::move(bmc);
}

ScriptedDriver::~ScriptedDriver() {
  g_driver = nullptr;
  if (!bmc_ && sent_ < steps_.size())
    ADD_FAILURE() << steps_.size() - sent_
                  << " expected request(s) did not come; the first of them: " << hex(&steps_[sent_].net_fn, 1) << " "
                  << hex(&steps_[sent_].cmd, 1) << " : " << hex(steps_[sent_].request);
}

int32_t ScriptedDriver::exchange(uint8_t net_fn, uint8_t cmd, const uint8_t* data, uint16_t size, uint8_t* reply,
                                 uint32_t* length) {
  const Bytes request(data, data + size);
  const size_t number = sent_++;
  const auto answer = [&](const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), reply);
    *length = static_cast<uint32_t>(bytes.size());
    return 0;
  };
  if (bmc_) {
    const Bytes bytes = bmc_(net_fn, cmd, request);
    return bytes.empty() ? 1 : answer(bytes);
  }
  if (number >= steps_.size()) {
    ADD_FAILURE() << "request " << number << " is one too many: " << hex(&net_fn, 1) << " " << hex(&cmd, 1) << " : "
                  << hex(request);
    return answer({0xD5});
  }
  const Step& step = steps_[number];
  const auto line = [](uint8_t fn, uint8_t c, const Bytes& bytes) {
    return hex(&fn, 1) + " " + hex(&c, 1) + " : " + hex(bytes);
  };
  const std::string expected = line(step.net_fn, step.cmd, step.request);
  const std::string came = line(net_fn, cmd, request);
  EXPECT_EQ(came, expected) << "request " << number;
  EXPECT_EQ(g_request.kind, step.kind.value_or(g_request.kind)) << "request " << number;
  EXPECT_EQ(g_request.rsAddr, step.address.value_or(g_request.rsAddr)) << "request " << number;
  EXPECT_EQ(g_request.rsLun, step.lun.value_or(g_request.rsLun)) << "request " << number;
  EXPECT_EQ(*length, step.length_in.value_or(*length)) << "request " << number;
  if (came != expected) return answer({0xD5});
  if (step.driver_result != 0) return step.driver_result;
  answer(step.reply);
  if (step.length_reported) *length = *step.length_reported;
  return 0;
}

TestHandle::TestHandle(int8_t retry_count) {
  const IpmiConnectParams params = {1, -1, retry_count, 0};
  EXPECT_EQ(ipmi_connect(&params, &handle_), 0u);
}

TestHandle::~TestHandle() {
  ipmi_disconnect(handle_);
}

void check_completions(const Completions& mapped, const std::function<uint32_t(IpmiHandle*)>& call) {
  TestHandle handle;
  for (unsigned code = 0x01; code <= 0xFF; ++code) {
    if (code == 0xC0) continue;
    const auto completion = static_cast<uint8_t>(code);
    const auto own = mapped.find(completion);
    ScriptedDriver bmc([completion](uint8_t, uint8_t, const Bytes&) { return Bytes{completion}; });
    EXPECT_EQ(call(handle), own == mapped.end() ? 0x20000000u + completion : own->second)
        << "completion code " << hex(&completion, 1);
  }
}

void check_command(const Step& step, const Completions& mapped, const std::function<uint32_t(IpmiHandle*)>& call) {
  SCOPED_TRACE("command " + hex(&step.cmd, 1));
  TestHandle handle;
  {
    Step one_byte = step, many_bytes = step;
    one_byte.reply = ok({1});
    many_bytes.reply = ok(counting(254));
    ScriptedDriver bmc = {step, one_byte, many_bytes};
    EXPECT_EQ(call(handle), 0u);
    EXPECT_EQ(call(handle), 0x20000000u) << "one byte where none belong";
    EXPECT_EQ(call(handle), 0x20000000u) << "data where none belong";
  }
  check_completions(mapped, call);
  ScriptedDriver silent(std::vector<Step>{});
  EXPECT_EQ(call(nullptr), 0x20000214u);
}
