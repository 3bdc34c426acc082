// The point in time by which an exchange has to be over.
#pragma once

#include <limits.h>
#include <stdint.h>
#include <time.h>

namespace lumi::driver {

inline int64_t monotonic_ns() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

class Deadline {
 public:
  /// The deadline `ms` milliseconds from now.
  explicit Deadline(uint32_t ms) : span_ms_(ms), at_ns_(monotonic_ns() + int64_t{ms} * 1'000'000) {}

  /// The whole time that was given, for messages.
  uint32_t span_ms() const { return span_ms_; }

  bool passed() const { return monotonic_ns() >= at_ns_; }

  /// Milliseconds left, rounded up so that poll() never returns before the deadline; 0 when it has passed.
  int poll_ms() const {
    const int64_t left = at_ns_ - monotonic_ns();
    if (left <= 0) return 0;
    const int64_t ms = (left + 999'999) / 1'000'000;
    return ms > INT_MAX ? INT_MAX : static_cast<int>(ms);
  }

  /// The same for pthread_cond_timedwait on the monotonic clock.
  timespec as_timespec() const {
    timespec at = {};
    at.tv_sec = static_cast<time_t>(at_ns_ / 1'000'000'000);
    at.tv_nsec = static_cast<long>(at_ns_ % 1'000'000'000);
    return at;
  }

 private:
  uint32_t span_ms_;
  int64_t at_ns_;
};

}  // namespace lumi::driver
