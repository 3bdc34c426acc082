// Pauses and the wall clock.
#pragma once

#include <cstdint>

namespace lumi {

/// Pauses the calling thread with one nanosleep; a signal ends the pause early.
void sleep_ms(uint32_t milliseconds);

/// The wall-clock time in whole seconds since 1970-01-01 00:00:00 UTC.
int64_t seconds_now();

}  // namespace lumi
