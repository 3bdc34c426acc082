// A BMC that costs next to nothing: the driver and the broker of the bench programs answer from a table.
#pragma once

#include <cstddef>
#include <cstdint>

namespace bench {

/// Records in the event log and in the SDR repository.
void set_log_size(uint32_t records);
void set_repository_size(uint32_t records);

/// A full sensor record of 64 bytes, which is also every record of the repository; an event record.
extern const uint8_t kSensorRecord[64];
extern const uint8_t kEvent[16];

/// Keeps the calls of the driver and the broker from now on, until replay() or the next record().
void record();
/// The calls kept.
size_t recorded();
/// Makes the calls that were kept once more, without the library: what a measure of the library includes and cannot
/// influence.
void replay();

}  // namespace bench
