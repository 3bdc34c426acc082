// One exchange as a value, with the checks that hold for every exchange.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "lumipmi/driver.h"

using Bytes = std::vector<uint8_t>;

/// "06 01 ff" as bytes.
inline Bytes hex(const std::string& text) {
  Bytes bytes;
  for (size_t i = 0; i < text.size(); i += 3)
    bytes.push_back(static_cast<uint8_t>(stoi(text.substr(i, 2), nullptr, 16)));
  return bytes;
}

struct Request {
  uint8_t net_fn = 0x06;
  uint8_t cmd = 0x01;
  Bytes data = {};
  uint8_t lun = 0;
};

struct Outcome {
  int32_t result;
  Bytes answer;
  int32_t cause;
  std::string error;
  bool kept_contract;  // wrote nothing beyond the answer, and nothing at all when it failed
  std::chrono::milliseconds took;
};

/// Runs one exchange; callable from any thread.
inline Outcome exchange(const Request& request = {}) {
  constexpr uint8_t kFilling = 0x5A;
  constexpr uint32_t kLengthFilling = 0xDEADBEEF;  // the length is an output: no value in it may matter
  Bytes response(LUMIPMI_DRIVER_MAX_RESPONSE + 1, kFilling);
  uint32_t length = kLengthFilling;

  const auto start = std::chrono::steady_clock::now();
  Outcome outcome = {};
  outcome.result = lumipmi_driver_exchange(request.lun, request.net_fn, request.cmd, request.data.data(),
                                           static_cast<uint16_t>(request.data.size()), response.data(), &length);
  outcome.took = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
  outcome.cause = lumipmi_driver_last_cause();
  outcome.error = lumipmi_driver_last_error();

  if (outcome.result != 0) {
    outcome.kept_contract = outcome.result == 1 && length == kLengthFilling && !outcome.error.empty() &&
                            outcome.cause != LUMIPMI_CAUSE_NONE && response == Bytes(response.size(), kFilling);
    return outcome;
  }
  outcome.kept_contract = length >= 1 && length <= LUMIPMI_DRIVER_MAX_RESPONSE && outcome.error.empty() &&
                          outcome.cause == LUMIPMI_CAUSE_NONE;
  for (size_t i = length; i < response.size(); ++i) outcome.kept_contract &= response[i] == kFilling;
  outcome.answer.assign(response.begin(), response.begin() + (outcome.kept_contract ? length : 0));
  return outcome;
}

inline void expect_answer(const Outcome& outcome, const Bytes& answer) {
  EXPECT_EQ(outcome.result, 0) << outcome.error;
  EXPECT_EQ(outcome.answer, answer);
  EXPECT_TRUE(outcome.kept_contract);
}

inline void expect_failure(const Outcome& outcome, int32_t cause, const std::string& words) {
  EXPECT_EQ(outcome.result, 1);
  EXPECT_EQ(outcome.cause, cause) << outcome.error;
  EXPECT_NE(outcome.error.find(words), std::string::npos) << outcome.error << " lacks " << words;
  EXPECT_TRUE(outcome.kept_contract);
}

constexpr uint32_t kAmple = 10'000;  // for what must succeed, however loaded the machine
constexpr uint32_t kShort = 80;      // for what must time out

/// Starts from a closed driver without environment and leaves one.
class DriverTest : public ::testing::Test {
 protected:
  void SetUp() override { reset(); }
  void TearDown() override { reset(); }

 private:
  static void reset() {
    unsetenv("LUMIPMI_DRIVER");
    unsetenv("LUMIPMI_TIMEOUT_MS");
    lumipmi_driver_select("dev");
    lumipmi_driver_set_timeout(kAmple);
  }
};
