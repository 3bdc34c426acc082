// Connections and the dispatcher: the busy-retry protocol, what comes back, what is left behind.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>

#include "lumipmi/lumipmi.h"
#include "support/fake_libc.hpp"
#include "support/scripted_driver.hpp"

namespace {

using lumi::test::FakeLibc;

constexpr uint32_t kAll = 0xFFFFFFFF;  // the longest pause

struct Outcome {
  uint32_t status;
  uint8_t completion;
  uint16_t length;
  Bytes data;
};

// Sends Get Device ID with room for `capacity` data bytes; the outputs are pre-filled with 0xA5.
Outcome send(IpmiHandle* handle, uint16_t capacity = 255) {
  Bytes buffer(capacity + 2u, 0xA5);
  const IpmiRequest request = {2, 0, 0x20, 0, 0x06, 0x01, 0, nullptr};
  IpmiResponse response = {0xA5, capacity, buffer.data()};
  const uint32_t status = ipmi_send_request(&request, &response, handle);
  EXPECT_EQ(buffer[capacity], 0xA5) << "written behind the capacity";
  buffer.resize(capacity);
  return {status, response.completionCode, response.dataLength, buffer};
}

// A BMC that answers node busy `times` times and then completion code 0x00 with three bytes.
auto busy(int times) {
  return [times](uint8_t, uint8_t, const Bytes&) mutable { return times-- > 0 ? Bytes{0xC0} : Bytes{0, 1, 2, 3}; };
}

TEST(connect, makes_one_block_with_the_defaults) {
  FakeLibc libc;
  const IpmiConnectParams params = {7, -2, 3, 0x5A};
  IpmiHandle* handle = nullptr;
  ASSERT_EQ(ipmi_connect(&params, &handle), 0u);
  EXPECT_EQ(libc.allocations, 1);
  EXPECT_EQ(std::memcmp(&handle->params, &params, sizeof params), 0);
  EXPECT_EQ(handle->bmcAddress, 0x20);
  EXPECT_EQ(handle->ipmiVersionLevel, 3u);
  std::memset(handle->workArea, 0xFF, 4096);  // the caller's: the lock lies behind it
  pthread_mutex_t* lock = reinterpret_cast<pthread_mutex_t*>(handle->workArea + 4096);
  EXPECT_EQ(pthread_mutex_trylock(lock), 0);
  EXPECT_EQ(pthread_mutex_trylock(lock), EBUSY);
  EXPECT_EQ(pthread_mutex_unlock(lock), 0);
  EXPECT_EQ(ipmi_disconnect(handle), 0u);
  EXPECT_EQ(libc.live_allocations(), 0u);
}

TEST(connect, refuses_null_pointers_and_survives_lack_of_memory) {
  FakeLibc libc;
  const IpmiConnectParams params = {1, -1, -1, 0};
  IpmiHandle* const before = reinterpret_cast<IpmiHandle*>(0x10);
  IpmiHandle* handle = before;
  EXPECT_EQ(ipmi_connect(nullptr, &handle), 0x20000214u);
  EXPECT_EQ(handle, before);
  EXPECT_EQ(ipmi_connect(&params, nullptr), 0x20000214u);
  EXPECT_EQ(libc.allocations, 0);
  libc.fail_allocation = 1;
  EXPECT_EQ(ipmi_connect(&params, &handle), 0x20000211u);
  EXPECT_EQ(handle, nullptr);
}

TEST(connect, library_starts_and_stops) {
  EXPECT_EQ(IPMIInitializeLibrary(), 0u);
  EXPECT_EQ(ipmi_init_devicelib(), 0u);
  EXPECT_EQ(IPMICleanupLibrary(), 0u);
  EXPECT_EQ(ipmi_cleanup_devicelib(), 0u);
}

TEST(dispatch, delivers_what_fits) {
  const struct {
    const char* name;
    Bytes reply;
    uint16_t capacity;
    uint32_t status;
    uint8_t completion;
    uint16_t length;
  } cases[] = {
      {"exactly the capacity", {0, 1, 2, 3}, 3, 0, 0, 3},
      {"more than the capacity", {0, 1, 2, 3}, 2, 0x20000000, 0, 0},
      {"no data", {0}, 0, 0, 0, 0},
      {"no data, room for some", {0}, 9, 0, 0, 0},
      {"data where none is expected", {0, 1}, 0, 0x20000000, 0, 0},
      {"refused, with data", {0xC1, 1, 2, 3}, 255, 0x200000C1, 0xC1, 0},
      {"the longest", ok(counting(254)), 255, 0, 0, 254},
      {"the longest, one byte short of room", ok(counting(254)), 253, 0x20000000, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    TestHandle handle;
    ScriptedDriver bmc = {{.net_fn = 0x06, .cmd = 0x01, .reply = c.reply, .length_in = 255}};
    const Outcome out = send(handle, c.capacity);
    EXPECT_EQ(out.status, c.status);
    EXPECT_EQ(out.completion, c.completion);
    EXPECT_EQ(out.length, c.length);
    Bytes expected(c.reply.begin() + 1, c.reply.begin() + 1 + c.length);
    expected.resize(c.capacity, 0xA5);  // nothing else was written
    EXPECT_EQ(hex(out.data), hex(expected));
  }
}

TEST(dispatch, counts_data_that_have_no_buffer) {
  TestHandle handle;
  ScriptedDriver bmc = {{.net_fn = 0x06, .cmd = 0x01, .reply = {0, 1, 2, 3}}};
  const IpmiRequest request = {2, 0, 0x20, 0, 0x06, 0x01, 0, nullptr};
  IpmiResponse response = {0, 255, nullptr};
  EXPECT_EQ(ipmi_send_request(&request, &response, handle), 0u);
  EXPECT_EQ(response.dataLength, 3);
}

TEST(dispatch, reports_a_failed_exchange_and_releases_the_lock) {
  TestHandle handle;
  ScriptedDriver bmc = {{.net_fn = 0x06, .cmd = 0x01, .driver_result = -17}, {.net_fn = 0x06, .cmd = 0x01}};
  testing::internal::CaptureStdout();
  const Outcome out = send(handle);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nZEPH:Error Code : -17");
  EXPECT_EQ(out.status, 0x20000600u);
  EXPECT_EQ(out.completion, 0xA5) << "the response record is not touched";
  EXPECT_EQ(out.length, 255);
  EXPECT_EQ(send(handle).status, 0u);
}

TEST(dispatch, refuses_lengths_that_no_driver_can_mean) {
  for (const uint32_t length : {0u, 256u, 0x10001u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(length);
    TestHandle handle;
    ScriptedDriver bmc = {{.net_fn = 0x06, .cmd = 0x01, .reply = {0, 1}, .length_reported = length}};
    const Outcome out = send(handle);
    EXPECT_EQ(out.status, 0x20000600u);
    EXPECT_EQ(out.completion, 0xA5);
  }
}

TEST(dispatch, retries_while_busy_with_the_length_that_the_busy_answer_left) {
  FakeLibc libc;
  libc.urandom = {0, kAll, 0x7FFFFFFF};
  TestHandle handle;
  ScriptedDriver bmc = {{.net_fn = 0x06, .cmd = 0x01, .reply = {0xC0, 9, 9}, .length_in = 255},
                        {.net_fn = 0x06, .cmd = 0x01, .reply = {0xC0}, .length_in = 3},
                        {.net_fn = 0x06, .cmd = 0x01, .reply = {0xC0}, .length_in = 1},
                        {.net_fn = 0x06, .cmd = 0x01, .reply = {0, 7}, .length_in = 1}};
  const Outcome out = send(handle);
  EXPECT_EQ(out.status, 0u);
  EXPECT_EQ(out.length, 1);
  EXPECT_EQ(out.data[0], 7);
  EXPECT_EQ(libc.sleeps_ms(), (std::vector<int64_t>{500, 1500, 1000}));
  EXPECT_EQ(libc.urandom_opens, 3);
  EXPECT_EQ(libc.urandom_closes, 3);
}

TEST(dispatch, gives_up_after_the_retry_periods) {
  const struct {
    int8_t retry_count;
    int periods;
  } cases[] = {{-1, 5}, {0, 1}, {1, 2}, {127, 128}};
  for (const auto& c : cases) {
    SCOPED_TRACE(int{c.retry_count});
    FakeLibc libc;
    // Pauses of 500 ms: sends at 0, 0.5, ... 10.5 s of a period, no pause behind it.
    TestHandle handle(c.retry_count);
    ScriptedDriver bmc(busy(1 << 20));
    const Outcome out = send(handle);
    EXPECT_EQ(out.status, 0x20000607u);
    EXPECT_EQ(out.completion, 0xA5);
    EXPECT_EQ(bmc.sent(), size_t(22 * c.periods));
    EXPECT_EQ(libc.urandom_opens, 23 * c.periods);
    EXPECT_EQ(libc.urandom_closes, 23 * c.periods);
  }
}

TEST(dispatch, pauses_behind_each_period_and_starts_the_next_one_afresh) {
  FakeLibc libc;
  for (int i = 0; i < 8; ++i) libc.urandom.push_back(kAll);  // seven pauses of 1.5 s reach 10.5 s: eight sends
  libc.urandom.push_back(kAll);                              // 1 s behind the period
  TestHandle handle(1);
  ScriptedDriver bmc(busy(9));
  EXPECT_EQ(send(handle).status, 0u);
  EXPECT_EQ(bmc.sent(), 10u);
  EXPECT_EQ(libc.sleeps_ms(), (std::vector<int64_t>{1500, 1500, 1500, 1500, 1500, 1500, 1500, 1500, 1000, 500}));
}

TEST(dispatch, retries_without_a_pause_when_there_is_no_randomness) {
  FakeLibc libc;
  libc.urandom_fails = true;
  libc.step_per_time_call = std::chrono::seconds(1);
  TestHandle handle(0);
  ScriptedDriver bmc(busy(1 << 20));
  EXPECT_EQ(send(handle).status, 0x20000607u);
  EXPECT_EQ(bmc.sent(), 10u);  // at 1, 2, ... 10 s: the period's start took a second too
  EXPECT_TRUE(libc.sleeps.empty());
  EXPECT_EQ(libc.urandom_opens, 11);
}

TEST(dispatch, takes_a_short_read_of_randomness_as_zero_filled) {
  FakeLibc libc;
  libc.urandom = {kAll};
  libc.urandom_read_limit = 2;  // 0x0000FFFF
  TestHandle handle;
  ScriptedDriver bmc(busy(1));
  EXPECT_EQ(send(handle).status, 0u);
  EXPECT_EQ(libc.sleeps_ms(), (std::vector<int64_t>{500 + 0xFFFF * 500 / 2147483647}));
}

TEST(dispatch, sends_nothing_without_a_retry_period) {
  for (const int8_t retry_count : {int8_t{-2}, int8_t{-3}, int8_t{-128}}) {
    TestHandle handle(retry_count);
    ScriptedDriver silent(std::vector<Step>{});
    const Outcome small = send(handle, 253);
    EXPECT_EQ(small.status, 0x20000000u);
    EXPECT_EQ(small.length, 0);
    const Outcome large = send(handle, 254);
    EXPECT_EQ(large.status, 0u);
    EXPECT_EQ(large.completion, 0);
    EXPECT_EQ(large.length, 254);
    EXPECT_EQ(hex(large.data), hex(Bytes(254, 0)));
  }
}

TEST(dispatch, serves_threads_that_share_a_handle_one_after_the_other) {
  TestHandle handle;
  std::atomic<int> inside = 0;
  std::atomic<bool> overlapped = false;
  ScriptedDriver bmc([&](uint8_t, uint8_t, const Bytes&) {
    if (inside.fetch_add(1) != 0) overlapped = true;
    std::this_thread::yield();
    inside.fetch_sub(1);
    return Bytes{0, 1};
  });
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 100; ++i) EXPECT_EQ(send(handle).status, 0u);
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_FALSE(overlapped);
}

TEST(raw_command, passes_bytes_through_on_a_connection_of_its_own) {
  FakeLibc libc;
  ScriptedDriver bmc = {
      {.net_fn = 0x2C, .cmd = 0x3E, .request = {5, 6}, .reply = {0, 7, 8, 9}, .kind = 4, .address = 0x24, .lun = 1}};
  const Bytes data = {5, 6};
  Bytes buffer(4, 0xA5);
  const IpmiRawCommand command = {0x24, 1, 0x2C, 0x3E, 2, data.data()};
  IpmiRawResponse response = {0xA5, 3, buffer.data()};
  EXPECT_EQ(IPMISendRawIPMICommand(&command, &response), 0u);
  EXPECT_EQ(response.completionCode, 0);
  EXPECT_EQ(response.dataLength, 3);
  EXPECT_EQ(hex(buffer), "07 08 09 a5");
  EXPECT_EQ(libc.live_allocations(), 0u);
}

TEST(raw_command, copies_the_outcome_back_and_disconnects_whatever_happened) {
  const struct {
    Step step;
    uint8_t capacity;
    uint32_t status;
    uint8_t completion;
    uint8_t length;
  } cases[] = {
      {{.net_fn = 6, .cmd = 1, .reply = {0xC7, 1}}, 9, 0x200000C7, 0xC7, 0},
      {{.net_fn = 6, .cmd = 1, .reply = {0, 1, 2}}, 1, 0x20000000, 0, 0},
      {{.net_fn = 6, .cmd = 1, .driver_result = 1}, 9, 0x20000600, 0, 9},
      {{.net_fn = 6, .cmd = 1, .reply = ok(counting(254))}, 255, 0, 0, 254},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.status);
    FakeLibc libc;
    ScriptedDriver bmc = {c.step};
    Bytes buffer(255);
    const IpmiRawCommand command = {0x20, 0, 6, 1, 0, nullptr};
    IpmiRawResponse response = {0xA5, c.capacity, buffer.data()};
    testing::internal::CaptureStdout();
    EXPECT_EQ(IPMISendRawIPMICommand(&command, &response), c.status);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(response.completionCode, c.completion);
    EXPECT_EQ(response.dataLength, c.length);
    EXPECT_EQ(libc.live_allocations(), 0u);
  }
}

TEST(raw_command, limits_the_request_to_250_bytes) {
  FakeLibc libc;
  const Bytes data = counting(251);
  IpmiRawCommand command = {0x20, 0, 6, 1, 250, data.data()};
  IpmiRawResponse response = {0xA5, 0, nullptr};
  {
    ScriptedDriver bmc = {{.net_fn = 6, .cmd = 1, .request = counting(250)}};
    EXPECT_EQ(IPMISendRawIPMICommand(&command, &response), 0u);
  }
  ScriptedDriver silent(std::vector<Step>{});
  libc.allocations = 0;
  command.dataLength = 251;
  response.completionCode = 0xA5;
  EXPECT_EQ(IPMISendRawIPMICommand(&command, &response), 0x20000214u);
  EXPECT_EQ(IPMISendRawIPMICommand(nullptr, &response), 0x20000214u);
  EXPECT_EQ(response.completionCode, 0xA5);
  EXPECT_EQ(libc.allocations, 0) << "no connection was made";
  libc.fail_allocation = 1;
  command.dataLength = 1;
  EXPECT_EQ(IPMISendRawIPMICommand(&command, &response), 0x20000211u);
}

}  // namespace
