// Recordings: exchanges as lines of text. record.cpp writes them, replay.cpp plays them; docs/recording.md has the
// format.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "drivers/transport.hpp"

namespace lumi::driver {

inline constexpr char kVersionLine[] = "lumipmi-recording 1";
inline constexpr size_t kMaxLine = 4096;         // with its end; any exchange fits
inline constexpr size_t kMaxRecordedData = 270;  // of a request: no transport carries more

/// The word for each cause of a failure, LUMIPMI_CAUSE_NO_DEVICE (1) first.
inline constexpr const char* kCauseWords[] = {"NO_DEVICE", "PERMISSION",    "BUSY",         "TIMEOUT", "REFUSED",
                                              "CLOSED",    "BAD_TRANSPORT", "BAD_ARGUMENT", "IO"};

/// Opens the recording that LUMIPMI_TRACE asks for, if it does. To be called once, and before the rest.
void start_recording();

/// When an exchange that will be recorded begins; 0 when there is no recording.
int64_t recorded_begin();

/// Adds an exchange that has just ended with `cause`; the text of a failure is the thread's last error.
void record(int64_t begin, const Request& request, Cause cause, const Answer& answer);

void stop_recording();

/// Frees what a replay link has read; null is harmless.
void free_recording(Recording* recording);

}  // namespace lumi::driver
