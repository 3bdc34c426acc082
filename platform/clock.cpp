#include "platform/clock.hpp"

#include <ctime>

namespace lumi {

void sleep_ms(uint32_t milliseconds) {
  timespec request = {};
  request.tv_sec = milliseconds / 1000;
  request.tv_nsec = milliseconds % 1000 * 1000000;
  nanosleep(&request, nullptr);
}

void sleep_us(uint32_t microseconds) {
  timespec request = {};
  request.tv_sec = microseconds / 1000000;
  request.tv_nsec = microseconds % 1000000 * 1000;
  nanosleep(&request, nullptr);
}

int64_t seconds_now() {
  return time(nullptr);
}

}  // namespace lumi
