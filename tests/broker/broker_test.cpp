// The broker with a driver that this program defines. Nothing sleeps: nanosleep is this program's, too.
#include <gtest/gtest.h>
#include <time.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "lumipmi/broker.h"
#include "lumipmi/driver.h"

// The broker built with controller_table.inc.
extern "C" decltype(tov_function_execute_DDS) mapped_execute;

namespace {

using Bytes = std::vector<uint8_t>;

std::function<int32_t(const Bytes& request, Bytes& answer, uint32_t& length)> driver;
std::atomic<unsigned> sent;
std::atomic<int64_t> slept_ns;

}  // namespace

extern "C" int32_t IPMI_DoIPMICmd(uint8_t netFn, uint8_t cmd, const uint8_t* data, uint16_t dataLength,
                                  uint8_t* response, uint32_t* responseLength) {
  ++sent;
  Bytes request = {netFn, cmd};
  request.insert(request.end(), data, data + dataLength);
  Bytes answer;
  uint32_t length = 0xFFFFFFFF;
  const int32_t result = driver(request, answer, length);
  if (result != 0) return result;
  std::copy(answer.begin(), answer.end(), response);
  *responseLength = length == 0xFFFFFFFF ? static_cast<uint32_t>(answer.size()) : length;
  std::this_thread::yield();  // to whoever would overwrite the answer
  return 0;
}

extern "C" int nanosleep(const timespec* span, timespec*) {
  slept_ns += int64_t{span->tv_sec} * 1'000'000'000 + span->tv_nsec;
  return 0;
}

namespace {

constexpr uint8_t kFill = 0xA5;
constexpr size_t kRoom = 36;

struct Call {
  uint32_t function = 10;
  uint32_t operation = 0;
  Bytes data = {};
  uint32_t data_length = 0xFFFFFFFF;  // default: the size of data
  uint32_t frame_length = 36;
  uint32_t room = kRoom;
  const char* name = "ipmi_function_highway2OemCmds";
};

struct Outcome {
  uint32_t result;
  Bytes response;
  bool clean;  // nothing written behind the response
};

/// The frame lies at an odd address, and what is unused in it is not 0. The caller's own length is too small on
/// purpose.
Outcome execute(const Call& call, decltype(&tov_function_execute_DDS) broker = tov_function_execute_DDS) {
  uint8_t memory[1 + sizeof(IpmiHighwayFrame)];
  IpmiHighwayFrame frame;
  std::memset(&frame, 0xEE, sizeof frame);
  frame.function = call.function;
  frame.operation = call.operation;
  frame.dataLength = call.data_length == 0xFFFFFFFF ? static_cast<uint32_t>(call.data.size()) : call.data_length;
  std::copy(call.data.begin(), call.data.end(), frame.data);
  std::memcpy(memory + 1, &frame, sizeof frame);

  Bytes area(255 + 1, kFill);
  uint32_t length = call.frame_length;
  Outcome outcome = {};
  outcome.result = broker(call.name, &length, memory + 1, 1, area.data(), call.room);
  if (length > area.size()) return outcome;
  outcome.response = Bytes(area.begin(), area.begin() + length);
  outcome.clean = Bytes(area.begin() + length, area.end()) == Bytes(area.size() - length, kFill);
  return outcome;
}

void expect_failure(const Outcome& outcome, uint32_t result) {
  EXPECT_EQ(outcome.result, result);
  EXPECT_EQ(outcome.response, Bytes());
  EXPECT_TRUE(outcome.clean);
}

struct Translation {
  uint32_t function, operation;
  Bytes data, request;          // request: NetFn, command, data
  Bytes answer = {0, 1, 2, 3};  // completion code and data
  Bytes response = {1, 2, 3};
  uint32_t data_length = 0xFFFFFFFF;
};

class BrokerTest : public testing::Test {
 protected:
  BrokerTest() { answer_with({0}); }
  ~BrokerTest() override { driver = nullptr; }

  /// A BMC that gives the answers in turn and keeps to the last.
  void answers_in_turn(std::vector<Bytes> answers) {
    requests_.clear();
    sent = 0;
    slept_ns = 0;
    driver = [this, answers](const Bytes& request, Bytes& answer, uint32_t&) {
      requests_.push_back(request);
      answer = answers[std::min<size_t>(sent, answers.size()) - 1];
      return 0;
    };
  }
  void answer_with(const Bytes& answer) { answers_in_turn({answer}); }

  void expect_translations(const std::vector<Translation>& rows, decltype(&tov_function_execute_DDS) broker) {
    for (const Translation& row : rows) {
      SCOPED_TRACE(std::to_string(row.function) + "/" + std::to_string(row.operation));
      answer_with(row.answer);
      const Outcome outcome = execute({row.function, row.operation, row.data, row.data_length}, broker);
      EXPECT_EQ(outcome.result, 0u);
      EXPECT_EQ(requests_, std::vector<Bytes>{row.request});
      EXPECT_EQ(outcome.response, row.response);
      EXPECT_TRUE(outcome.clean);
    }
  }

  std::vector<Bytes> requests_;
};

TEST_F(BrokerTest, CommandsOfThePairs) {
  const Bytes record = {0xFF, 0xFF, 2, 0, 0, 0, 0, 0x41, 0, 4, 1, 5, 0x6F, 1, 0xFF, 0xFF};
  Bytes add = {0x0A, 0x44};
  add.insert(add.end(), record.begin(), record.end());
  const Bytes none = {0}, zero = {0};
  expect_translations(
      {
          {1, 0, {0x01, 0x80}, {0x06, 0x41, 0x01, 0x80}},
          {1, 1, {0x01, 0x82, 0x84}, {0x06, 0x40, 0x01, 0x82, 0x84}, none, zero},
          {2, 0, {0x00, 0xD6, 0, 0}, {0x06, 0x59, 0x00, 0xD6, 0, 0}},
          {2, 1, {0xD6, 0x80, 0, 0, 0x0F}, {0x06, 0x58, 0xD6, 0x80, 0, 0, 0x0F}, none, zero},
          {3, 0, {5, 0, 0}, {0x00, 0x09, 5, 0, 0}},
          {3, 1, {5, 0x80, 0x18, 0, 0, 1}, {0x00, 0x08, 5, 0x80, 0x18, 0, 0, 1}, none, zero},
          {5, 0, {1, 0x10, 0, 0}, {0x0C, 0x02, 1, 0x10, 0, 0}},
          {6, 0, {}, {0x00, 0x01}},
          {6, 1, {2}, {0x00, 0x02, 2}, none, zero},
          {7, 0, {2, 0x33, 0, 0}, {0x0C, 0x11, 2, 0x33, 0, 0}},
          {7, 1, {2, 0x33, 1}, {0x0C, 0x10, 2, 0x33, 1}, none, zero},
          {8, 0, {1, 5, 0, 0}, {0x0C, 0x22, 1, 5, 0, 0}},
          {10, 0, {}, {0x0A, 0x40}},
          {11, 0, {}, {0x0A, 0x48}},
          {11, 1, {1, 2, 3, 4}, {0x0A, 0x49, 1, 2, 3, 4}, none, zero},
          {12, 0, {0, 0, 1, 0, 0, 0xFF}, {0x0A, 0x43, 0, 0, 1, 0, 0, 0xFF}},
          {12, 1, record, add, {0, 7, 0}, {7, 0}},  // 16 bytes fit; a set command with an answer of its own
          {13, 0, {}, {0x0A, 0x42}},
          {14, 1, {1, 0, 0x43, 0x4C, 0x52, 0xAA}, {0x0A, 0x47, 1, 0, 0x43, 0x4C, 0x52, 0xAA}, {0, 1}, {1}},
          {15, 0, {}, {0x0A, 0x22}},
          {16, 0, {0, 0, 1, 0, 0, 34}, {0x0A, 0x23, 0, 0, 1, 0, 0, 34}},
          {17, 0, {0, 8, 0, 16}, {0x0A, 0x11, 0, 8, 0, 16}},
          {18, 0, {0x11}, {0x04, 0x2D, 0x11}},
          {18, 0, {0x11}, {0x04, 0x2D, 0x11}, none, {}},  // only a set operation has the byte 0
      },
      tov_function_execute_DDS);
}

TEST_F(BrokerTest, TableOfAController) {
  expect_translations(
      {
          {0, 0, {}, {0x30, 0x20}},
          {0, 1, {1, 0, 0, 0, 2, 0, 0, 0}, {0x30, 0x21, 1, 0, 0, 0, 2, 0, 0, 0}, {0}, {0}, 0},
          {9, 1, {1, 2}, {0x32, 0x05, 1, 2}, {0}, {0}},
          {4, 0, {9}, {0x06, 0x01}},
          {6, 1, {2}, {0x3E, 0xFF, 2}, {0}, {0}},
          {6, 0, {}, {0x00, 0x01}},
      },
      mapped_execute);
  expect_failure(execute({.function = 9, .operation = 0}, mapped_execute), LUMIPMI_BROKER_NOT_SUPPORTED);
  expect_failure(execute({.function = 4, .operation = 1}, mapped_execute), LUMIPMI_BROKER_UNKNOWN_OPERATION);
}

TEST_F(BrokerTest, RefusesWithoutSending) {
  const struct {
    Call call;
    uint32_t result;
  } cases[] = {
      {{.name = "ipmi_function_highway2OemCmd"}, 0x11},
      {{.name = "ipmi_function_highway2OemCmds2"}, 0x11},
      {{.frame_length = 35}, 0x12},
      {{.frame_length = 37}, 0x12},
      {{.function = 4}, 0x13},
      {{.function = 10 + 256}, 0x13},
      {{.function = 5, .operation = 1}, 0x14},
      {{.function = 10, .operation = 256}, 0x14},
      {{.function = 0, .operation = 0}, 0x15},
      {{.function = 0, .operation = 1}, 0x15},
      {{.function = 9, .operation = 1}, 0x15},
      {{.data_length = 17}, 0x16},
      {{.data_length = 0x10000}, 0x16},  // not cut to the driver's 16 bits
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.call.function) + "/" + std::to_string(c.call.operation) + " " + c.call.name);
    expect_failure(execute(c.call), c.result);
  }

  const IpmiHighwayFrame frame = {10, 0, {}, {}, 0};
  uint8_t response[kRoom];
  for (int null = 0; null < 4; ++null) {
    uint32_t length = 36;
    EXPECT_EQ(tov_function_execute_DDS(null == 0 ? nullptr : LUMIPMI_HIGHWAY_FUNCTION, null == 1 ? nullptr : &length,
                                       null == 2 ? nullptr : &frame, 0, null == 3 ? nullptr : response, kRoom),
              0x10u);
    EXPECT_EQ(length, null == 1 ? 36u : 0u);
  }
  EXPECT_EQ(sent, 0u);
}

TEST_F(BrokerTest, CompletionCodes) {
  for (uint32_t code = 1; code <= 0xFF; ++code) {
    if (code == 0xC0) continue;
    SCOPED_TRACE(code);
    answer_with({static_cast<uint8_t>(code), 1, 2});
    expect_failure(execute({}), 0x100 + code);
    EXPECT_EQ(sent, 1u);
  }
}

TEST_F(BrokerTest, NodeBusy) {
  answers_in_turn({{0xC0}, {0xC0, 9, 9, 9}, {0, 7}});
  const Outcome outcome = execute({.data = {1, 2}});
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.response, Bytes{7});
  EXPECT_EQ(requests_, std::vector<Bytes>(3, {0x0A, 0x40, 1, 2}));
  EXPECT_GT(slept_ns, 0);

  answers_in_turn({{0xC0}, {0xD5}});
  expect_failure(execute({}), 0x1D5);
  answer_with({0xC0});
  expect_failure(execute({}), 0x1C0);
  EXPECT_EQ(sent, 11u);
  EXPECT_EQ(slept_ns, 500'000'000);
}

TEST_F(BrokerTest, DriverFailures) {
  const struct {
    int32_t result;
    uint32_t length;
  } cases[] = {{1, 1}, {-1, 1}, {0, 0}, {0, 256}, {0, 0xFFFFFFFE}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.result) + ", " + std::to_string(c.length));
    driver = [&c](const Bytes&, Bytes& answer, uint32_t& length) {
      answer = {0, 1};
      length = c.length;
      return c.result;
    };
    expect_failure(execute({}), LUMIPMI_BROKER_DRIVER_ERROR);
  }
}

TEST_F(BrokerTest, RoomForTheAnswer) {
  const struct {
    uint32_t operation, room;
    size_t answer;  // with the completion code
    bool fits;
  } cases[] = {
      {0, 36, 37, true}, {0, 36, 38, false}, {0, 36, 255, false}, {0, 254, 255, true}, {0, 0, 1, true},
      {0, 0, 2, false},  {1, 0, 1, false},   {1, 1, 1, true},     {1, 1, 2, true},     {1, 1, 3, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.room) + ", " + std::to_string(c.answer));
    Bytes answer(c.answer);
    for (size_t i = 0; i < c.answer; ++i) answer[i] = static_cast<uint8_t>(i);
    answer_with(answer);
    const Outcome outcome = execute({.function = 11, .operation = c.operation, .room = c.room});
    if (!c.fits) {
      expect_failure(outcome, LUMIPMI_BROKER_ANSWER_TOO_LONG);
      continue;
    }
    EXPECT_EQ(outcome.result, 0u);
    EXPECT_TRUE(outcome.clean);
    if (c.answer > 1) answer.erase(answer.begin());
    EXPECT_EQ(outcome.response, c.answer == 1 && c.operation == 0 ? Bytes() : answer);
  }
}

// Each thread reads sensors of its own, and each answer names the sensor; every seventh of its calls finds the BMC
// busy.
TEST_F(BrokerTest, Threads) {
  driver = [](const Bytes& request, Bytes& answer, uint32_t&) {
    thread_local unsigned calls = 0;  // counted together, threads in step could find it busy for ever
    answer = ++calls % 7 == 0 ? Bytes{0xC0} : Bytes{0, request[2], static_cast<uint8_t>(~request[2])};
    return 0;
  };
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (uint8_t t = 0; t < 8; ++t)
    threads.emplace_back([t, &wrong] {
      for (uint8_t i = 0; i < 200; ++i) {
        const uint8_t sensor = static_cast<uint8_t>(8 * i + t);
        const Outcome outcome = execute({.function = 18, .data = {sensor}});
        if (outcome.result != 0 || outcome.response != Bytes{sensor, static_cast<uint8_t>(~sensor)}) ++wrong;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
