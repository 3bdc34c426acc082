// Pauses and the wall clock.
#pragma once

#include <cstdint>

namespace lumi {

/// Pause the calling thread with one nanosleep; a signal ends the pause early.
void sleep_ms(uint32_t milliseconds);
void sleep_us(uint32_t microseconds);

/// The wall-clock time in whole seconds since 1970-01-01 00:00:00 UTC.
int64_t seconds_now();

}  // namespace lumi
