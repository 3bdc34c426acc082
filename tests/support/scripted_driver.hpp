// A scripted BMC at IPMI_DoIPMICmd: each step states the request that must come, byte for byte, and its answer.
//
//   ScriptedDriver bmc = {{.net_fn = 0x06, .cmd = 0x01, .reply = {0x00, 0x20, ...}}};
//
// A wrong request fails the test with both sides in hex and gets completion code 0xD5; a step that is left over when
// the script goes out of scope fails it too.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "lumipmi/connection.h"

using Bytes = std::vector<uint8_t>;

/// "0a 43 00 00"
std::string hex(const uint8_t* bytes, size_t size);
inline std::string hex(const Bytes& bytes) {
  return hex(bytes.data(), bytes.size());
}

struct Step {
  uint8_t net_fn;
  uint8_t cmd;
  Bytes request = {};                            // data behind the command code
  Bytes reply = {0x00};                          // completion code and data
  int32_t driver_result = 0;                     // non-zero: the exchange fails, reply unused
  std::optional<uint32_t> kind = {};             // privilege that the request carries, tested when given
  std::optional<uint8_t> address = {};           // responder address, tested when given
  std::optional<uint8_t> lun = {};               // responder LUN, tested when given
  std::optional<uint32_t> length_in = {};        // length variable that the driver finds, tested when given
  std::optional<uint32_t> length_reported = {};  // length that the driver reports instead of the reply's
};

class ScriptedDriver {
 public:
  ScriptedDriver(std::initializer_list<Step> steps);
  explicit ScriptedDriver(std::vector<Step> steps);
  /// Answers every request by a function: completion code and data; an empty answer is a driver failure of 1.
  explicit ScriptedDriver(std::function<Bytes(uint8_t net_fn, uint8_t cmd, const Bytes& request)> bmc);
  ~ScriptedDriver();
  ScriptedDriver(const ScriptedDriver&) = delete;
  ScriptedDriver& operator=(const ScriptedDriver&) = delete;

  size_t sent() const { return sent_; }

  int32_t exchange(uint8_t net_fn, uint8_t cmd, const uint8_t* data, uint16_t size, uint8_t* reply, uint32_t* length);

 private:
  std::vector<Step> steps_;
  std::function<Bytes(uint8_t, uint8_t, const Bytes&)> bmc_;
  std::atomic<size_t> sent_ = 0;  // threads may share a BMC
};

/// `count` bytes that tell their places apart: first, first + 1, ...
Bytes counting(size_t count, uint8_t first = 1);
/// A reply: completion code 0 and the data.
Bytes ok(const Bytes& data);

/// An open handle with the defaults of the management layer.
class TestHandle {
 public:
  explicit TestHandle(int8_t retry_count = -1);
  ~TestHandle();
  TestHandle(const TestHandle&) = delete;
  TestHandle& operator=(const TestHandle&) = delete;
  operator IpmiHandle*() const { return handle_; }
  IpmiHandle* operator->() const { return handle_; }

 private:
  IpmiHandle* handle_ = nullptr;
};

/// A record between guard bytes, filled with 0xA5, so that a test sees what was written and what was not.
template <typename T>
class Guarded {
 public:
  Guarded() {
    std::memset(before_, kFill, sizeof before_);
    std::memset(static_cast<void*>(&value_), kFill, sizeof value_);
    std::memset(after_, kFill, sizeof after_);
  }
  ~Guarded() { EXPECT_TRUE(all_filled(before_, sizeof before_) && all_filled(after_, sizeof after_)) << "guard bytes"; }
  T* operator&() { return &value_; }
  T* operator->() { return &value_; }
  T& operator*() { return value_; }
  bool untouched() const { return all_filled(reinterpret_cast<const uint8_t*>(&value_), sizeof value_); }
  bool zero() const {
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(&value_);
    for (size_t i = 0; i < sizeof value_; ++i)
      if (bytes[i] != 0) return false;
    return true;
  }

 private:
  static constexpr uint8_t kFill = 0xA5;
  static bool all_filled(const uint8_t* bytes, size_t size) {
    for (size_t i = 0; i < size; ++i)
      if (bytes[i] != kFill) return false;
    return true;
  }
  uint8_t before_[16];
  T value_;
  uint8_t after_[16];
};

/// What stays in an output when a command fails.
enum class OnFailure { Untouched, Zero };

/// Answers the command with every length below `minimum` and checks the status and the output; then with driver
/// failure, refusals and no handle. `call` is called with a handle (or null) and the output.
template <typename T>
void check_failures(uint8_t net_fn, uint8_t cmd, const Bytes& request, size_t minimum, uint32_t short_status,
                    OnFailure on_failure, const std::function<uint32_t(IpmiHandle*, T*)>& call) {
  const auto left = [on_failure](const Guarded<T>& out) {
    return on_failure == OnFailure::Untouched ? out.untouched() : out.zero();
  };
  TestHandle handle;
  for (size_t size = 0; size < minimum; ++size) {
    SCOPED_TRACE("reply of " + std::to_string(size) + " bytes");
    ScriptedDriver bmc = {{.net_fn = net_fn, .cmd = cmd, .request = request, .reply = ok(counting(size))}};
    Guarded<T> out;
    EXPECT_EQ(call(handle, &out), short_status);
    EXPECT_TRUE(left(out));
  }
  for (const uint8_t completion : Bytes{0x01, 0xC1, 0xD4, 0xFF}) {
    SCOPED_TRACE("completion code " + std::to_string(completion));
    ScriptedDriver bmc = {{.net_fn = net_fn, .cmd = cmd, .request = request, .reply = {completion, 1, 2, 3}}};
    Guarded<T> out;
    EXPECT_EQ(call(handle, &out), 0x20000000u + completion);
    EXPECT_TRUE(left(out));
  }
  {
    ScriptedDriver bmc = {{.net_fn = net_fn, .cmd = cmd, .request = request, .driver_result = 1}};
    Guarded<T> out;
    testing::internal::CaptureStdout();
    EXPECT_EQ(call(handle, &out), 0x20000600u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nZEPH:Error Code : 1");
    EXPECT_TRUE(left(out));
  }
  ScriptedDriver silent(std::vector<Step>{});
  Guarded<T> out;
  EXPECT_EQ(call(nullptr, &out), 0x20000214u);
  EXPECT_TRUE(out.untouched());
  EXPECT_EQ(call(handle, nullptr), 0x20000214u);
}

/// Completion codes that a command gives statuses of its own.
using Completions = std::map<uint8_t, uint32_t>;

/// Answers a command with every completion code except success and node busy; those that are not mapped give
/// 0x20000000 + code.
void check_completions(const Completions& mapped, const std::function<uint32_t(IpmiHandle*)>& call);

/// A command without response data: a good run, answers with data where none belong, refusals, no handle. The step is
/// the good run.
void check_command(const Step& step, const Completions& mapped, const std::function<uint32_t(IpmiHandle*)>& call);

/// A command with response data: the shortest and the longest answer, refusals, all of check_failures(). The step is
/// the request; `call` as there.
template <typename T>
void check_query(Step step, size_t minimum, uint32_t short_status, OnFailure on_failure, const Completions& mapped,
                 const std::function<uint32_t(IpmiHandle*, T*)>& call) {
  SCOPED_TRACE("command " + hex(&step.cmd, 1));
  TestHandle handle;
  for (const size_t size : {minimum, size_t{254}}) {
    SCOPED_TRACE("reply of " + std::to_string(size) + " bytes");
    step.reply = ok(counting(size));
    ScriptedDriver bmc = {step};
    Guarded<T> out;
    EXPECT_EQ(call(handle, &out), 0u);
  }
  check_completions(mapped, [&call](IpmiHandle* h) {
    T out = {};
    return call(h, &out);
  });
  check_failures<T>(step.net_fn, step.cmd, step.request, minimum, short_status, on_failure, call);
}
