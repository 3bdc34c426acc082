#include "lumipmi/trace.h"

#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "support/fake_libc.hpp"

namespace {

using lumi::test::FakeLibc;

/// Runs a function in a process of its own and returns its text: the trace level cannot be lowered again.
std::string in_child(const std::function<std::string()>& function) {
  int pipe_ends[2];
  if (pipe(pipe_ends) != 0) return "no pipe";
  std::fflush(stdout);  // or the child might write it as well
  const pid_t child = fork();
  if (child == 0) {
    const std::string text = function();
    _exit(write(pipe_ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
  }
  close(pipe_ends[1]);
  std::string text;
  char buffer[512];
  for (ssize_t count = 1; count > 0;) {
    count = read(pipe_ends[0], buffer, sizeof buffer);
    if (count > 0) text.append(buffer, static_cast<size_t>(count));
  }
  close(pipe_ends[0]);
  int status = 0;
  if (waitpid(child, &status, 0) != child || status != 0) text += " (child failed)";
  return text;
}

TEST(trace, levels_enable_messages_and_latch_at_2) {
  const struct {
    std::vector<uint32_t> set;
    const char* logged;  // "level/priority" of the messages that reach the log
  } cases[] = {
      {{}, "0/7"},
      {{1}, "0/7 1/3"},
      {{2}, "0/7 1/3 2/4"},
      {{3, 0}, "0/7 1/3 2/4 3/5"},  // 3 stays
      {{2, 4}, "0/7 1/3 2/4"},      // 2 stays
      {{1, 4}, "0/7 1/3 2/4 3/5 4/6"},
      {{1, 0}, "0/7"},
      {{0, 1, 0, 5, 1}, "0/7 1/3 2/4 3/5 4/6 5/7"},
      {{0x80000000}, "0/7 1/3 2/4 3/5 4/6 5/7 2147483648/7"},  // unsigned
      {{UINT32_MAX, 0}, "0/7 1/3 2/4 3/5 4/6 5/7 2147483648/7 4294967295/7"},
  };
  for (const auto& c : cases) {
    const std::string logged = in_child([&] {
      for (const uint32_t level : c.set) SetTraceLevel(level);
      FakeLibc libc;
      std::string text;
      for (const uint32_t level : {0u, 1u, 2u, 3u, 4u, 5u, 0x80000000u, UINT32_MAX}) {
        const std::string message = std::to_string(level);
        TraceMsg(message.c_str(), level);
        TraceMsgWithData(level, "%u", level);
        if (libc.log.empty()) continue;
        if (libc.log.size() != 2 || libc.log[0] != libc.log[1]) return "the two functions differ at " + message;
        text += (text.empty() ? "" : " ") + libc.log[0].text + "/" + std::to_string(libc.log[0].priority);
        libc.log.clear();
      }
      return text;
    });
    EXPECT_EQ(logged, c.logged) << "after " << testing::PrintToString(c.set);
  }
}

TEST(trace, converts_levels_to_priorities) {
  EXPECT_EQ(ConvertToSyslogPriority(1), LOG_ERR);
  EXPECT_EQ(ConvertToSyslogPriority(2), LOG_WARNING);
  EXPECT_EQ(ConvertToSyslogPriority(3), LOG_NOTICE);
  EXPECT_EQ(ConvertToSyslogPriority(4), LOG_INFO);
  for (const int32_t level : {0, 5, 6, -1, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(ConvertToSyslogPriority(level), LOG_DEBUG) << level;
  }
}

TEST(trace, takes_the_message_as_format_with_its_length_modulo_256) {
  const struct {
    std::string message;
    std::string text;
  } cases[] = {
      {"plain", "plain"},
      {"length %d", "length 9"},
      {"100%%", "100%"},
      {std::string(253, 'x') + "%d", std::string(253, 'x') + "255"},
      {std::string(254, 'x') + "%d", std::string(254, 'x') + "0"},
      {std::string(298, 'x') + "%d", std::string(298, 'x') + "44"},
  };
  FakeLibc libc;
  for (const auto& c : cases) {
    TraceMsg(c.message.c_str(), 0);
    ASSERT_EQ(libc.log.size(), 1u);
    EXPECT_EQ(libc.log[0].text, c.text);
    libc.log.clear();
  }
  TraceMsgWithData(0, "%s:%d:%c", "fan", -5, '!');
  ASSERT_EQ(libc.log.size(), 1u);
  EXPECT_EQ(libc.log[0].text, "fan:-5:!");
}

TEST(trace, null_messages_are_not_logged) {
  FakeLibc libc;
  TraceMsg(nullptr, 0);
  const char* volatile no_format = nullptr;  // hidden from the compiler's own check
  TraceMsgWithData(0, no_format, 1);
  EXPECT_TRUE(libc.log.empty());
}

TEST(print_byte_code, prints_its_own_layout) {
  // Eight bytes and the extra space that follows them.
  const std::string first = "00 01 02 03 04 05 06 07  ", second = "08 09 0a 0b 0c 0d 0e 0f  ",
                    third = "f0 f1 f2 f3 f4 f5 f6 f7  ";
  const struct {
    int32_t count;
    int32_t per_line;
    std::string printed;
  } cases[] = {
      {-1, 8, "\n"},
      {0, 8, "\n"},
      {1, 8, "00 \n\n"},
      {7, 8, "00 01 02 03 04 05 06 \n\n"},
      {8, 8, first + "\n\n\n"},
      {8, 16, first + "\n\n"},
      {9, 8, first + "\n08 \n\n"},
      {16, 16, first + second + "\n\n\n"},
      {16, 0, first + second + "\n\n"},
      {24, 24, first + second + third + "\n\n"},
      {24, 16, first + second + "\n" + third + "\n"},
      {24, 0, first + second + third + "\n"},
      {4, 3, "00 01 02 \n03 \n\n"},
      {4, -3, "00 01 02 \n03 \n\n"},
      {2, -1, "00 \n01 \n\n\n"},
      {2, INT32_MIN, "00 01 \n\n"},
      {10, 5, "00 01 02 03 04 \n05 06 07  08 09 \n\n\n"},
  };
  uint8_t bytes[24];
  for (int i = 0; i < 24; ++i) bytes[i] = static_cast<uint8_t>(i < 16 ? i : i + 0xE0);
  for (const auto& c : cases) {
    testing::internal::CaptureStdout();
    print_byte_code(c.count, bytes, c.per_line);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.printed) << c.count << " bytes, " << c.per_line << " per line";
  }
  testing::internal::CaptureStdout();
  print_byte_code(8, nullptr, 8);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
