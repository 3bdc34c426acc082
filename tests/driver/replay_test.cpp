// Recordings: written by the driver, played by "replay" and "replay-any".
#include <fcntl.h>
#include <regex.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "drivers/recording.hpp"
#include "tests/driver/fake_vm.hpp"
#include "tests/support/temp_dir.hpp"

namespace {

/// As a whole, an extended regular expression.
bool matches(const std::string& text, const std::string& pattern) {
  regex_t compiled = {};
  if (regcomp(&compiled, ("^(" + pattern + ")$").c_str(), REG_EXTENDED | REG_NOSUB) != 0) return false;
  const bool found = regexec(&compiled, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&compiled);
  return found;
}

const std::string kVersion = "lumipmi-recording 1\n";

std::string repeat(const std::string& text, int count) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

class ReplayTest : public DriverTest {
 protected:
  void TearDown() override {
    lumi::driver::stop_recording();
    unsetenv("LUMIPMI_TRACE");
    DriverTest::TearDown();
  }

  /// Exchanges go to a recording with these lines.
  void use(const std::string& kind, const std::string& lines) {
    file_ = temporary_.write("recording", lines);
    select(kind + ":" + file_);
  }

  static void select(const std::string& name) {
    ASSERT_EQ(lumipmi_driver_select(name.c_str()), 0) << lumipmi_driver_last_error();
    ASSERT_EQ(lumipmi_driver_transport(), name);
  }

  static void record_to(const std::string& file) {
    lumi::driver::stop_recording();
    setenv("LUMIPMI_TRACE", file.c_str(), 1);
    lumi::driver::start_recording();
  }

  static std::vector<std::string> lines_of(const std::string& file) {
    std::ifstream stream(file);
    std::vector<std::string> lines;
    for (std::string line; getline(stream, line);) lines.push_back(line);
    return lines;
  }

  lumi::test::TempDir temporary_;
  std::string file_;
};

TEST_F(ReplayTest, ReadsWhatPeopleWrite) {
  use("replay", kVersion +
                    "# a comment\r\n\n  \t\r\n   # another\n"
                    "0.000001+0.000002 06.0 01 > < 00 20 81\n"
                    "1.5+0.2\t3e.3 ff  >  a0 AF \t<\t C1 \r\n"  //
                    + kVersion +
                    "12345678901234567890.0+0.0 0a.0 10 > 00 < 00 \n"
                    "2.0+0.1 06.0 01 > ! TIMEOUT  slow\\x5c \xC3\xA4\\x0a#1 \n"
                    "2.0+0.1 06.0 02 >" +
                    repeat(" 55", 270) + " < " + repeat("00 ", 255) + "\n");
  expect_answer(exchange(), hex("00 20 81"));
  expect_answer(exchange({0x3E, 0xFF, hex("a0 af"), 3}), hex("c1"));
  expect_answer(exchange({0x0A, 0x10, {0}}), {0});
  const Outcome slow = exchange();
  expect_failure(slow, LUMIPMI_CAUSE_TIMEOUT, "");
  EXPECT_EQ(slow.error, " slow\\ \xC3\xA4\n#1 ") << "exactly the text of the failure, but for one blank in front";
  expect_answer(exchange({0x06, 0x02, Bytes(270, 0x55)}), Bytes(255, 0));
}

TEST_F(ReplayTest, Damage) {
  const std::string good = "0.1+0.1 06.0 01 > < 00\n";
  const std::string head = "0.1+0.1 06.0 01 > ";
  const struct {
    std::string lines;
    unsigned line;
    const char* words;
  } cases[] = {
      {"", 1, "the file is empty"},
      {"lumipmi-recording 1", 1, "cut off in this line"},
      {"\n" + kVersion, 1, "not a recording"},
      {"# hm\n" + kVersion, 1, "not a recording"},
      {good, 1, "not a recording"},
      {"lumipmi-recording 2\n", 1, "another version"},
      {"lumipmi-recording 10\n", 1, "another version"},
      {kVersion + good + "lumipmi-recording 1 x\n", 3, "another version"},
      {kVersion + good + head + "< 00", 3, "cut off in this line"},
      {kVersion + good + "# no e", 3, "cut off in this line"},
      {kVersion + "#" + std::string(4094, 'x') + "\n" + good + "x\n", 4, "the time"},
      {kVersion + "#" + std::string(4095, 'x') + "\n", 2, "longer than 4095"},
      {kVersion + "0.1 06.0 01 > < 00\n", 2, "the time"},
      {kVersion + "0.1+.1 06.0 01 > < 00\n", 2, "the time"},
      {kVersion + "0.1+0.1" + std::string(1, '\0') + "06.0 01 > < 00\n", 2, "the time"},
      {kVersion + "0.1+0.1 07.0 01 > < 00\n", 2, "no network function"},
      {kVersion + "0.1+0.1 40.0 01 > < 00\n", 2, "no network function"},
      {kVersion + "0.1+0.1 6.0 01 > < 00\n", 2, "no network function"},
      {kVersion + "0.1+0.1 06.4 01 > < 00\n", 2, "no network function"},
      {kVersion + "0.1+0.1 06.00 01 > < 00\n", 2, "no network function"},
      {kVersion + "0.1+0.1 06.0 001 > < 00\n", 2, "no network function"},
      {kVersion + "0.1+0.1 06.0 01 < 00\n", 2, "\">\" is missing"},
      {kVersion + "0.1+0.1 06.0 01\n", 2, "\">\" is missing"},
      {kVersion + head + "\n", 2, "neither \"<\" nor \"!\""},
      {kVersion + head + "0g < 00\n", 2, "neither \"<\" nor \"!\""},
      {kVersion + head + "0102 < 00\n", 2, "neither \"<\" nor \"!\""},
      {kVersion + head + repeat("00 ", 271) + "< 00\n", 2, "more than 270"},
      {kVersion + head + "<\n", 2, "no completion code"},
      {kVersion + head + "<00\n", 2, "no blank after"},
      {kVersion + head + "< 00 2\n", 2, "something else than bytes"},
      {kVersion + head + "< 00 20 # fine\n", 2, "something else than bytes"},
      {kVersion + head + "< " + repeat("00 ", 256) + "\n", 2, "more than 255"},
      {kVersion + head + "! NONE text\n", 2, "none of the known ones"},
      {kVersion + head + "! IOU text\n", 2, "none of the known ones"},
      {kVersion + head + "! IO\n", 2, "text of the failure is missing"},
      {kVersion + head + "! IO a\\n\n", 2, "backslash"},
      {kVersion + head + "! IO a\\x0\n", 2, "backslash"},
      {kVersion + head + "! IO a\\x00\n", 2, "NUL"},
      {kVersion + head + "! IO " + std::string(640, 'x') + "\n", 2, "too long"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.lines.substr(0, 60) + "... " + c.words);
    for (const char* kind : {"replay", "replay-any"}) {
      use(kind, c.lines);
      const Outcome outcome = exchange();
      expect_failure(outcome, LUMIPMI_CAUSE_BAD_TRANSPORT, file_ + ":" + std::to_string(c.line) + ": ");
      expect_failure(outcome, LUMIPMI_CAUSE_BAD_TRANSPORT, c.words);
    }
  }
}

TEST_F(ReplayTest, Unreadable) {
  ASSERT_EQ(mkfifo(temporary_.file("pipe").c_str(), 0600), 0);
  select("replay:" + temporary_.file("missing"));
  expect_failure(exchange(), LUMIPMI_CAUSE_NO_DEVICE, temporary_.file("missing") + ": no such file");
  select("replay:" + temporary_.path());
  expect_failure(exchange(), LUMIPMI_CAUSE_IO, "not a regular file");
  select("replay:" + temporary_.file("pipe"));
  expect_failure(exchange(), LUMIPMI_CAUSE_IO, "not a regular file");
  if (geteuid() != 0) {
    use("replay", kVersion);
    ASSERT_EQ(chmod(file_.c_str(), 0), 0);
    expect_failure(exchange(), LUMIPMI_CAUSE_PERMISSION, file_ + ": permission denied");
  }
}

TEST_F(ReplayTest, InOrder) {
  use("replay", kVersion +
                    "0.1+0.1 04.1 2d > 11 22 < 00\n"
                    "0.2+0.1 04.1 2d > 11 22 < c0\n");
  const struct {
    Request request;
    const char* words;
  } others[] = {
      {{0x06, 0x2D, hex("11 22"), 1}, ":2: expected netFn 0x04 LUN 1 command 0x2D, but netFn 0x06 LUN 1 command 0x2D"},
      {{0x04, 0x2E, hex("11 22"), 1}, "but netFn 0x04 LUN 1 command 0x2E came"},
      {{0x04, 0x2D, hex("11 22"), 0}, "but netFn 0x04 LUN 0 command 0x2D came"},
      {{0x04, 0x2D, hex("11"), 1}, ":2: expected netFn 0x04 command 0x2D with 2 bytes of data, but 1 came"},
      {{0x04, 0x2D, hex("11 22 33"), 1}, "with 2 bytes of data, but 3 came"},
      {{0x04, 0x2D, hex("11 33"), 1}, ":2: expected netFn 0x04 command 0x2D with 0x22 as data byte 2, but 0x33 came"},
  };
  for (const auto& other : others) expect_failure(exchange(other.request), LUMIPMI_CAUSE_IO, other.words);
  expect_failure(exchange({0x04, 0x2D, Bytes(271), 1}), LUMIPMI_CAUSE_BAD_ARGUMENT, "271 bytes of request data");

  const Request right = {0x04, 0x2D, hex("11 22"), 1};
  expect_answer(exchange(right), {0x00});  // what did not fit has not moved the recording on
  expect_failure(exchange(), LUMIPMI_CAUSE_IO, file_ + ":3: expected");
  expect_answer(exchange(right), {0xC0});
  expect_failure(exchange(right), LUMIPMI_CAUSE_IO, file_ + ": the recording is at its end after 2 exchanges");

  lumipmi_driver_close();  // and again from the first line
  expect_answer(exchange(right), {0x00});
  const pid_t child = fork();
  if (child == 0) _exit(exchange(right).answer == Bytes{0x00} ? 0 : 1);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0) << "a child starts at the first line";
  expect_answer(exchange(right), {0xC0});
}

TEST_F(ReplayTest, ByContent) {
  use("replay-any", kVersion +
                        "0.1+0.1 06.0 01 > < 01\n"
                        "0.2+0.1 06.0 01 > 07 < 02\n"
                        "0.3+0.1 06.0 01 > ! BUSY for now\n"
                        "0.4+0.1 06.1 01 > < 04\n"
                        "0.5+0.1 06.0 01 > < 05\n");
  expect_answer(exchange({.data = {7}}), {2});
  expect_answer(exchange(), {1});
  expect_answer(exchange({.lun = 1}), {4});
  expect_failure(exchange(), LUMIPMI_CAUSE_BUSY, "for now");
  for (int i = 0; i < 3; ++i) expect_answer(exchange(), {5});  // the last answer stays
  expect_answer(exchange({.data = {7}}), {2});
  for (const Request& other : {Request{.net_fn = 0x0A}, {.cmd = 2}, {.data = {8}}, {.data = {7, 0}}, {.lun = 2}})
    expect_failure(exchange(other), LUMIPMI_CAUSE_IO, "in the recording");
}

/// What a run of the driver said, without what differs from run to run.
struct Told {
  Bytes answer;
  int32_t cause;
  std::string error;
  bool operator==(const Told&) const = default;
};

TEST_F(ReplayTest, WhatWasRecorded) {
  const Request requests[] = {
      {}, {0x3E, 0xFF, hex("a0 a1 aa 0a 0d 5c"), 3}, {.data = Bytes(255, 0x42)}, {.data = Bytes(300)}, {.cmd = 0x26}};
  const auto run = [&requests] {
    std::vector<Told> told;
    for (const Request& request : requests) {
      lumipmi_driver_set_timeout(request.cmd == 0x26 ? kShort : kAmple);
      const Outcome outcome = exchange(request);
      told.push_back({outcome.answer, outcome.cause, outcome.error});
    }
    lumipmi_driver_select("dev:/no\nsuch\\device");  // a text that could tear a line apart
    const Outcome outcome = exchange();
    told.push_back({outcome.answer, outcome.cause, outcome.error});
    return told;
  };
  const std::string file = temporary_.file("trace");
  record_to(file);
  std::vector<Told> live;
  {
    const FakeVm bmc({{serve(3)}});  // and then silence
    select(bmc.name());
    live = run();
  }
  lumi::driver::stop_recording();
  exchange();  // no longer recorded
  EXPECT_EQ(live[0].answer, Bytes{0x00});
  EXPECT_EQ(live[2].answer.size(), 255u) << "cut";
  EXPECT_EQ(live[3].cause, LUMIPMI_CAUSE_BAD_ARGUMENT);
  EXPECT_EQ(live[5].cause, LUMIPMI_CAUSE_NO_DEVICE);

  struct stat status = {};
  ASSERT_EQ(stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
  const std::string time = R"([0-9]+\.[0-9]{6}\+[0-9]+\.[0-9]{6} )";
  const std::string expected[] = {
      "lumipmi-recording 1",
      "# [0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}Z, process " + std::to_string(getpid()),
      time + R"(06\.0 01 > < 00)",
      time + R"(3e\.3 ff > a0 a1 aa 0a 0d 5c < 00 a0 a1 aa 0a 0d 5c)",
      time + R"(06\.0 01 >( 42){255} < 00( 42){254})",
      "# not to be replayed: 300 bytes of data, " + time + R"(06\.0 01 > ! BAD_ARGUMENT .*)",
      time + R"(06\.0 26 > ! TIMEOUT vm:127.*)",
      time + R"(06\.0 01 > ! NO_DEVICE /no\\x0asuch\\x5cdevice: no such device.*)",
  };
  const std::vector<std::string> lines = lines_of(file);
  ASSERT_EQ(lines.size(), std::size(expected));
  for (size_t i = 0; i < lines.size(); ++i) EXPECT_TRUE(matches(lines[i], expected[i])) << lines[i];

  for (const char* kind : {"replay:", "replay-any:"}) {
    SCOPED_TRACE(kind);
    select(kind + file);
    for (size_t i = 0; i < live.size(); ++i) {
      const Outcome outcome = exchange(i < std::size(requests) ? requests[i] : Request());
      if (i == 3) {  // too long for a recording: refused by the replay itself
        expect_failure(outcome, live[i].cause, "300 bytes");
        continue;
      }
      EXPECT_EQ(Told({outcome.answer, outcome.cause, outcome.error}), live[i]) << i;
    }
  }
}

TEST_F(ReplayTest, SharedByThreadsAndProcesses) {
  constexpr int kThreads = 4, kEach = 100;
  std::string lines = kVersion;
  for (int thread = 0; thread < kThreads; ++thread)
    lines += "0.1+0.1 0" + std::to_string(2 * thread) + ".0 01 > < 00 0" + std::to_string(thread) + "\n";
  use("replay-any", lines);
  const std::string trace = temporary_.file("trace");

  // Two children that each record on their own, and one that inherits a recording from here.
  record_to(trace);
  std::vector<pid_t> children;
  for (const bool own : {true, true, false}) {
    const pid_t child = fork();
    if (child == 0) {
      if (own) record_to(trace);
      std::atomic<int> wrong = 0;
      std::vector<std::thread> threads;
      for (uint8_t thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([thread, &wrong] {
          for (int i = 0; i < kEach; ++i)
            wrong += exchange({.net_fn = static_cast<uint8_t>(2 * thread)}).answer != Bytes{0x00, thread};
        });
      for (std::thread& thread : threads) thread.join();
      _exit(wrong == 0 ? 0 : 1);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << "wrong answers";
  }
  EXPECT_EQ(lines_of(trace).size(), 3u * kThreads * kEach + 3 * 2);
  select("replay-any:" + trace);
  expect_answer(exchange({.net_fn = 0x06}), {0x00, 3});  // every line is whole
}

TEST_F(ReplayTest, NothingToWriteTo) {
  use("replay-any", kVersion + "0.1+0.1 06.0 01 > < 00\n");
  ASSERT_EQ(mkfifo(temporary_.file("pipe").c_str(), 0600), 0);
  temporary_.write("diary", "Dear diary,\nlumipmi-recording 1\n");
  temporary_.write("short", "lumi");
  const struct {
    std::string file;
    const char* words;
  } cases[] = {
      {temporary_.file("no/file"), "No such file or directory"},
      {temporary_.path(), "Is a directory"},
      {temporary_.file("pipe"), "not a regular file"},
      {temporary_.file("diary"), "the file has something else in it"},
      {temporary_.file("short"), "the file has something else in it"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    testing::internal::CaptureStderr();
    record_to(c.file);
    for (int i = 0; i < 2; ++i) expect_answer(exchange(), {0x00});
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find("LUMIPMI_TRACE: " + c.file + ": " + c.words), std::string::npos) << said;
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
  }
  EXPECT_EQ(lines_of(temporary_.file("diary")).size(), 2u);
}

TEST_F(ReplayTest, EndsInTheMiddle) {
  use("replay-any", kVersion + "0.1+0.1 06.0 01 > < 00\n");
  const std::string trace = temporary_.file("trace"), other = temporary_.file("other");

  // The file may not grow beyond the middle of the second exchange.
  record_to(trace);
  expect_answer(exchange(), {0x00});
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  rlimit small = before;
  small.rlim_cur = std::filesystem::file_size(trace) + 10;
  const auto handler = signal(SIGXFSZ, SIG_IGN);
  testing::internal::CaptureStderr();
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  for (int i = 0; i < 2; ++i) expect_answer(exchange(), {0x00});
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  signal(SIGXFSZ, handler);
  expect_answer(exchange(), {0x00});
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "liblumipmi-driver: LUMIPMI_TRACE: the file is full; exchanges are not recorded\n");
  select("replay:" + trace);
  expect_failure(exchange(), LUMIPMI_CAUSE_BAD_TRANSPORT, trace + ":4: the file is cut off");

  // The program closes our file, and its own gets the number.
  select("replay-any:" + file_);
  std::filesystem::remove(trace);
  record_to(trace);
  int fd = 3;
  for (; fd < 1024; ++fd) {
    struct stat ours = {}, open_file = {};
    ASSERT_EQ(stat(trace.c_str(), &ours), 0);
    if (fstat(fd, &open_file) == 0 && open_file.st_ino == ours.st_ino) break;
  }
  close(fd);
  ASSERT_EQ(open(other.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), fd);
  testing::internal::CaptureStderr();
  for (int i = 0; i < 2; ++i) expect_answer(exchange(), {0x00});
  EXPECT_NE(testing::internal::GetCapturedStderr().find("the program closed the file"), std::string::npos);
  EXPECT_EQ(std::filesystem::file_size(other), 0u);
  lumi::driver::stop_recording();
  EXPECT_EQ(close(fd), 0) << "still the program's";
}

}  // namespace
