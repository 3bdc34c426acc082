// A stand-in for the C library calls whose results a test wants to choose: the clock, sleeping, "/dev/urandom", memory,
// the system log, flock and dlopen. The unit test program is linked with --wrap for each of these names, so the library
// under test calls the functions of fake_libc.cpp. They act on the FakeLibc object that is alive; without one, and for
// everything it does not speak of, they are the real functions.
//
// The names to wrap: nanosleep time clock_gettime open read close malloc calloc free syslog vsyslog flock dlopen
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <deque>
#include <optional>
#include <ostream>
#include <string>
#include <unordered_set>
#include <vector>

namespace lumi::test {

struct LogLine {
  int priority;
  std::string text;
  bool operator==(const LogLine&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const LogLine& line) {
  return out << '<' << line.priority << '>' << line.text;
}

/// Make one at the start of a test, before anything it is to see. At most one lives at a time. The settings below may
/// be changed at any time but not while another thread is inside the library.
class FakeLibc {
 public:
  FakeLibc();
  ~FakeLibc();
  FakeLibc(const FakeLibc&) = delete;
  FakeLibc& operator=(const FakeLibc&) = delete;

  // The clock behind time() and clock_gettime(CLOCK_REALTIME), in time since the epoch. It stands still but for
  // nanosleep, which returns at once and moves it on, and for what the test adds.
  std::chrono::nanoseconds now = std::chrono::seconds(1'700'000'000);
  std::chrono::nanoseconds step_per_time_call{0};  // added after each time(), so that a loop without pauses ends
  bool interrupt_sleeps = false;                   // nanosleep fails with EINTR half-way
  std::vector<timespec> sleeps;                    // what nanosleep was asked for
  std::vector<int64_t> sleeps_ms() const;          // the same in whole milliseconds

  // "/dev/urandom"
  bool urandom_fails = false;            // open fails with ENOENT
  std::deque<uint32_t> urandom;          // what the next reads give, in the machine's byte order; 0 when empty
  size_t urandom_read_limit = SIZE_MAX;  // bytes that one read gives at most: fewer than asked for is a short read
  int urandom_opens = 0;                 // calls of open, failed ones included
  int urandom_closes = 0;

  // malloc, calloc and free
  int fail_allocation = 0;  // 1 fails the next allocation, 2 the one after it, and so on; counted down to 0
  int allocations = 0;      // allocations asked for, failed ones included
  size_t live_allocations() const { return live_blocks.size(); }

  // The system log: what syslog and vsyslog were given, formatted.
  std::vector<LogLine> log;

  // flock
  struct Flock {
    int fd;
    int operation;
  };
  std::optional<int> flock_result;  // without one flock is the real function
  std::vector<Flock> flocks;

  // dlopen is recorded and then the real function.
  struct Dlopen {
    std::string file;
    int flags;
  };
  std::vector<Dlopen> dlopens;

  // Kept by the functions of fake_libc.cpp.
  std::unordered_set<int> open_urandoms;
  std::unordered_set<void*> live_blocks;
};

}  // namespace lumi::test
