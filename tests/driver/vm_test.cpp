// The VM transport against a scripted BMC.
#include <sys/wait.h>
#include <unistd.h>

#include <numeric>
#include <thread>

#include "tests/driver/fake_vm.hpp"

namespace {

constexpr int32_t kOk = LUMIPMI_CAUSE_NONE;

const Bytes kGreeting = hex("ff 01 a1 08 3f a1");
const Bytes kVersion = hex("ff 01 a1 00 a1");
const Bytes kGetDeviceId = hex("01 18 01 e6 a0");  // sequence 1
const Bytes kDeviceId = hex("00 20 81 02");
const Bytes kDeviceIdFrame = hex("01 1c 01 00 20 81 02 3f a0");

Bytes join(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

/// `count` bytes, none the same as its neighbours.
Bytes counting(size_t count, uint8_t first = 0) {
  Bytes bytes(count);
  std::iota(bytes.begin(), bytes.end(), first);
  return bytes;
}

/// One byte per segment.
Connection dribble(const Bytes& bytes) {
  Connection steps;
  for (const uint8_t byte : bytes) steps.insert(steps.end(), {send_bytes({byte}), pause_ms(1)});
  return steps;
}

Connection after_request(const Connection& steps) {
  Connection all = {expect(join({kGreeting, kGetDeviceId})), send_bytes(kVersion)};
  all.insert(all.end(), steps.begin(), steps.end());
  return all;
}

class VmTest : public DriverTest {
 protected:
  static void use(const FakeVm& bmc, uint32_t timeout_ms = kAmple) {
    ASSERT_EQ(lumipmi_driver_select(bmc.name().c_str()), 0) << lumipmi_driver_last_error();
    lumipmi_driver_set_timeout(timeout_ms);
  }
};

struct Case {
  const char* name;
  std::vector<Connection> connections;
  Request request = {};
  uint32_t timeout_ms = kAmple;
  int32_t cause = kOk;
  Bytes answer = kDeviceId;
  const char* words = "";
};

TEST_F(VmTest, OneExchange) {
  const Bytes special = hex("a0 a1 aa b0");
  const Bytes long_answer = counting(300);
  const Case cases[] = {
      {"greets and asks at once", {after_request({send_bytes(kDeviceIdFrame)})}},
      {"escapes data and checksum, carries the LUN",
       {{expect(join({kGreeting, hex("01 13 26 aa b0 aa b1 aa ba b0 2b a0")})),
         send_bytes(hex("01 14 26 00 aa b0 aa b1 aa ba b0 2a a0"))}},
       {.net_fn = 0x04, .cmd = 0x26, .data = special, .lun = 3},
       kAmple,
       kOk,
       join({{0x00}, special})},
      {"escapes the checksum",
       {{expect(join({kGreeting, hex("01 18 01 46 aa b0 a0")})), send_bytes(hex("01 1c 01 c1 80 aa b1 a0"))}},
       {.data = {0x46}},
       kAmple,
       kOk,
       hex("c1 80")},
      {"accepts needless escapes", {after_request({send_bytes(hex("aa 11 1c aa 11 00 20 81 02 3f a0"))})}},
      {"passes over control frames",
       {after_request({send_bytes(join({hex("02 a1 55 a1 a1 a0 08 3f 17 a1"), kDeviceIdFrame, hex("04 a1")}))})}},
      {"passes over damaged and short frames",
       {after_request({send_bytes(join({hex("01 1c 01 00 20 81 03 3f a0"), hex("01 1c 01 e2 a0"), hex("aa a0"),
                                        hex("01 1c 01 00 e2 aa a0"), kDeviceIdFrame}))})}},
      {"passes over answers to something else",
       {after_request({send_bytes(join({wire({2, 0x1C, 1, 0, 9}), wire({1, 0x18, 1, 0, 9}), wire({1, 0x1C, 2, 0, 9}),
                                        wire({1, 0x2C, 1, 0, 9}), kDeviceIdFrame, wire({1, 0x1C, 1, 0, 9})}))})}},
      {"puts segments together", {after_request(dribble(join({hex("04 a1"), kDeviceIdFrame})))}},
      {"takes 255 bytes",
       {after_request({send_bytes(wire(join({hex("01 1c 01"), counting(255)})))})},
       {},
       kAmple,
       kOk,
       counting(255)},
      {"cuts 256 bytes",
       {after_request({send_bytes(wire(join({hex("01 1c 01"), counting(256)})))})},
       {},
       kAmple,
       kOk,
       counting(255)},
      {"cuts 300 bytes",
       {after_request({send_bytes(wire(join({hex("01 1c 01"), long_answer})))})},
       {},
       kAmple,
       kOk,
       counting(255)},
      {"checks the sum of what it cuts",
       {after_request({send_bytes(join({hex("01 1c 01"), counting(90), counting(90), counting(90), hex("00 a0")})),
                       send_bytes(kDeviceIdFrame)})}},
      {"sends 255 bytes, the worst to escape",
       {{serve()}},
       {.data = Bytes(255, 0xAA)},
       kAmple,
       kOk,
       join({{0x00}, Bytes(254, 0xAA)})},
      {"refuses 256 bytes of data without sending",
       {},
       {.data = Bytes(256)},
       kAmple,
       LUMIPMI_CAUSE_BAD_ARGUMENT,
       {},
       "256 bytes"},
      {"comes back when turned away",
       {{hang_up()}, {hang_up()}, {expect_any(11), hang_up()}, {serve()}},
       {},
       kAmple,
       kOk,
       {0x00}},
      {"gives up when turned away all the time",
       {{hang_up()}, {hang_up()}},
       {},
       kShort,
       LUMIPMI_CAUSE_BUSY,
       {},
       "another program holds"},
      {"gives up when nobody speaks after a rejection",
       {{hang_up()}, kMute},
       {},
       kShort,
       LUMIPMI_CAUSE_BUSY,
       {},
       "another program holds"},
      {"does not repeat once the BMC has spoken",
       {after_request({hang_up()})},
       {},
       kAmple,
       LUMIPMI_CAUSE_CLOSED,
       {},
       "may have carried out netFn 0x06 command 0x01"},
      {"does not repeat after a rejection either",
       {{hang_up()}, {expect_any(11), send_bytes(kVersion), hang_up()}},
       {},
       kAmple,
       LUMIPMI_CAUSE_CLOSED,
       {},
       "closed before the answer"},
      {"does not repeat after half an answer",
       {after_request({send_bytes(hex("01 1c 01 00 20")), hang_up()})},
       {},
       kAmple,
       LUMIPMI_CAUSE_CLOSED,
       {},
       "closed before the answer"},
      {"times out on silence", {after_request({})}, {}, kShort, LUMIPMI_CAUSE_TIMEOUT, {}, "within 80 ms"},
      {"times out on chatter",
       {after_request({flood(hex("02 a1 01 1c 01 a0"))})},
       {},
       kShort,
       LUMIPMI_CAUSE_TIMEOUT,
       {},
       "within 80 ms"},
      {"times out on an endless frame",
       {after_request({flood(counting(100))})},
       {},
       kShort,
       LUMIPMI_CAUSE_TIMEOUT,
       {},
       "within 80 ms"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const FakeVm bmc(c.connections);
    use(bmc, c.timeout_ms);
    const Outcome outcome = exchange(c.request);
    if (c.cause == kOk)
      expect_answer(outcome, c.answer);
    else
      expect_failure(outcome, c.cause, c.words);
    if (c.timeout_ms == kShort) {
      EXPECT_GE(outcome.took.count(), kShort);
    }
  }
}

TEST_F(VmTest, NobodyListens) {
  ASSERT_EQ(lumipmi_driver_select(("vm:127.0.0.1:" + std::to_string(unused_port())).c_str()), 0);
  const Outcome outcome = exchange();
  expect_failure(outcome, LUMIPMI_CAUSE_REFUSED, "connection refused; start the BMC");
  EXPECT_LT(outcome.took.count(), kAmple / 2) << "a refusal is final";

  ASSERT_EQ(lumipmi_driver_select("vm:no-such-host.invalid:9002"), 0);
  expect_failure(exchange(), LUMIPMI_CAUSE_IO, "cannot look up the host");
}

TEST_F(VmTest, FindsTheHost) {
  {
    const FakeVm bmc({{serve()}});
    ASSERT_EQ(lumipmi_driver_select(bmc.name("localhost").c_str()), 0);
    expect_answer(exchange(), {0x00});
    EXPECT_EQ(lumipmi_driver_transport(), bmc.name("localhost"));
  }
  const FakeVm bmc({{serve()}}, AF_INET6);
  if (!bmc.listening()) GTEST_SKIP() << "no IPv6 here";
  ASSERT_EQ(lumipmi_driver_select(bmc.name("[::1]").c_str()), 0);
  expect_answer(exchange(), {0x00});
}

TEST_F(VmTest, EverySequenceNumberAndByte) {
  const FakeVm bmc({{serve()}});
  use(bmc);
  for (unsigned i = 0; i < 600; ++i) {
    const Bytes data = counting(i % 253, static_cast<uint8_t>(i));
    expect_answer(exchange({.net_fn = 0x2C, .cmd = static_cast<uint8_t>(i), .data = data}), join({{0x00}, data}));
  }
  EXPECT_EQ(bmc.accepted(), 1);
}

TEST_F(VmTest, LateAnswerIsNotTheNextOne) {
  // Given up on in the first exchange; its answer comes in the second.
  const FakeVm bmc({after_request(
      {expect(wire({2, 0x18, 1})), send_bytes(wire({1, 0x1C, 1, 0, 0x99})), send_bytes(wire({2, 0x1C, 1, 0, 0x20}))})});
  use(bmc, kShort);
  expect_failure(exchange(), LUMIPMI_CAUSE_TIMEOUT, "timed out");
  lumipmi_driver_set_timeout(kAmple);
  expect_answer(exchange(), {0x00, 0x20});
  EXPECT_EQ(bmc.accepted(), 1) << "a slow BMC keeps its connection";
}

TEST_F(VmTest, SpokenBetweenExchangesCountsAsSpoken) {
  // The version frame arrives after the first exchange has timed out; the second one's request may have been carried
  // out.
  const FakeVm bmc({{expect_any(11), pause_ms(kShort + 40), send_bytes(kVersion), expect_any(5), hang_up()}});
  use(bmc, kShort);
  expect_failure(exchange(), LUMIPMI_CAUSE_TIMEOUT, "timed out");
  lumipmi_driver_set_timeout(kAmple);
  usleep(100'000);
  expect_failure(exchange(), LUMIPMI_CAUSE_CLOSED, "may have carried out");
  EXPECT_EQ(bmc.accepted(), 1);
}

TEST_F(VmTest, WhatComesBetweenExchangesIsDropped) {
  // First half a control frame, then an answer with the number that comes next, ahead of its request.
  const FakeVm bmc(
      {{expect_any(11), send_bytes(kVersion), send_bytes(kDeviceIdFrame), send_bytes(hex("05")),
        expect(wire({2, 0x18, 1})), send_bytes(join({hex("a1"), wire({2, 0x1C, 1, 0, 0x20})})),
        send_bytes(wire({3, 0x1C, 1, 0, 0x99})), expect(wire({3, 0x18, 1})), send_bytes(wire({3, 0x1C, 1, 0, 0x30}))}});
  use(bmc);
  expect_answer(exchange(), kDeviceId);
  usleep(50'000);
  expect_answer(exchange(), {0x00, 0x20});
  usleep(50'000);
  expect_answer(exchange(), {0x00, 0x30});
}

TEST_F(VmTest, ConnectionThatEndedWhileIdleIsMadeAgain) {
  // It ends in the middle of a frame, which must not run into the next connection.
  const FakeVm bmc({{serve(1), send_bytes(hex("05 06")), hang_up()},
                    {expect(join({kGreeting, wire({2, 0x18, 1})})), send_bytes(wire({2, 0x1C, 1, 0, 0x20}))}});
  use(bmc);
  expect_answer(exchange(), {0x00});
  usleep(50'000);
  expect_answer(exchange(), {0x00, 0x20});
  EXPECT_EQ(bmc.accepted(), 2);
}

TEST_F(VmTest, CloseReconnectsAndMayBeRepeated) {
  const FakeVm bmc({{serve()}, {serve()}});
  use(bmc);
  lumipmi_driver_close();
  expect_answer(exchange(), {0x00});
  lumipmi_driver_close();
  lumipmi_driver_close();
  expect_answer(exchange(), {0x00});
}

TEST_F(VmTest, EveryThreadGetsItsOwnAnswer) {
  constexpr unsigned kThreads = 16;
  constexpr unsigned kRounds = 200;
  const FakeVm bmc({{serve()}});
  use(bmc);
  std::atomic<unsigned> good = 0;
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &good] {
      for (unsigned i = 0; i < kRounds; ++i) {
        const Bytes data = counting(1 + i % 40, static_cast<uint8_t>(t * 16 + i));
        const Outcome outcome = exchange({.cmd = static_cast<uint8_t>(t), .data = data});
        good += outcome.kept_contract && outcome.answer == join({{0x00}, data});
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, kThreads * kRounds);
  EXPECT_EQ(bmc.accepted(), 1);
}

TEST_F(VmTest, WaitingForATurnEndsAtTheDeadline) {
  constexpr unsigned kThreads = 6;
  const FakeVm bmc({kMute});
  use(bmc, 150);
  std::vector<Outcome> outcomes(kThreads);
  std::vector<std::thread> threads;
  for (Outcome& outcome : outcomes) threads.emplace_back([&outcome] { outcome = exchange(); });
  for (std::thread& thread : threads) thread.join();
  for (const Outcome& outcome : outcomes) {
    expect_failure(outcome, LUMIPMI_CAUSE_TIMEOUT, "within 150 ms");
    EXPECT_LT(outcome.took.count(), 450) << "one after the other would take up to 900 ms";
  }
}

TEST_F(VmTest, SelectingAndClosingDoNotDisturbOtherThreads) {
  const Connection serving = {serve()};
  const FakeVm first({serving});
  const FakeVm second({serving});
  use(first);
  std::atomic<bool> stop = false;
  std::atomic<unsigned> good = 0;
  std::atomic<unsigned> bad = 0;
  std::vector<std::thread> threads;
  for (uint8_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      while (!stop) {
        const Outcome outcome = exchange({.cmd = t, .data = {t}});
        ++(outcome.answer == Bytes{0x00, t} ? good : bad);
      }
    });
  }
  for (int i = 0; i < 40; ++i) {
    lumipmi_driver_select((i % 2 == 0 ? second : first).name().c_str());
    usleep(2000);
    lumipmi_driver_close();
    usleep(2000);
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
  lumipmi_driver_select("dev");
  EXPECT_GT(good, 40u);
  EXPECT_EQ(bad, 0u);
}

TEST_F(VmTest, ForkedChildMakesItsOwnConnection) {
  const FakeVm bmc({{serve(1)}, {serve(1)}});  // the first stays open while the child uses the second
  use(bmc);
  expect_answer(exchange(), {0x00});
  const pid_t child = fork();
  if (child == 0) _exit(exchange({.data = {0x07}}).answer == hex("00 07") ? 0 : 1);
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(bmc.accepted(), 2);
}

}  // namespace
