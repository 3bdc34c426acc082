// The exported time stamp functions.
#include <ctime>

#include "lumipmi/status.h"
#include "lumipmi/utility.h"

extern "C" uint32_t get_current_time(IpmiTimeval* out) {
  if (out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  out->seconds = now.tv_sec;
  out->microseconds = now.tv_nsec / 1000;
  return 0;
}

extern "C" uint32_t diff_time(const IpmiTimeval* later, const IpmiTimeval* earlier, IpmiTimeval* out) {
  if (later == nullptr || earlier == nullptr || out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  const bool borrow = later->microseconds < earlier->microseconds;
  if (later->seconds < earlier->seconds || (later->seconds == earlier->seconds && borrow)) {
    return IPMI_STATUS_APP_INVALID_PARAMETER;
  }
  // Unsigned, so that seconds or microseconds far out of range wrap around instead of overflowing.
  uint64_t seconds = static_cast<uint64_t>(later->seconds) - static_cast<uint64_t>(earlier->seconds);
  uint64_t microseconds = static_cast<uint64_t>(later->microseconds) - static_cast<uint64_t>(earlier->microseconds);
  if (borrow) {
    seconds -= 1;
    microseconds += 1000000;
  }
  out->seconds = static_cast<int64_t>(seconds);
  out->microseconds = static_cast<int64_t>(microseconds);
  return 0;
}
