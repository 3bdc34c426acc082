// What is measured: the operations of the library and of its peers, as data that library.cpp and count.cpp share.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench {

struct Operation {
  const char* row;      // what is done: operations of one row are compared
  const char* library;  // who does it: lumipmi, freeipmi, openipmi
  void (*run)();
  uint32_t records = 0;         // records that one run goes through; 0: figures are for the whole run
  void (*prepare)() = nullptr;  // before each run, and not measured
};

/// Ours and the peers', row by row. Prepares what they work on, and ends the program when an operation fails.
std::vector<Operation> operations();

/// Runs an operation of ours and keeps its requests, which replay() then makes once more. 0 for a peer's, which has no
/// such driver, and for walks, whose requests are all alike.
size_t requests_of(const Operation& operation);

std::vector<Operation> freeipmi_operations();
std::vector<Operation> openipmi_operations();

/// 512 bytes: chassis, board and product area with their custom fields.
const std::vector<uint8_t>& fru_image();

/// Factors of the reading that is converted: 23.15 for the linear one.
constexpr int16_t kM = 5;
constexpr int16_t kB = 200;
constexpr int8_t kBExponent = 1;
constexpr int8_t kResultExponent = -2;
constexpr uint8_t kRaw = 63;
/// Adds the conversions of a library, one a linearization.
void add_readings(std::vector<Operation>& all, const char* library, const std::array<void (*)(), 12>& convert);

/// A discrete reading: a processor that is present and throttled.
constexpr uint8_t kSensorType = 0x07;
constexpr uint16_t kStates = 0x0480;

/// Where results go that nobody reads, so that no compiler leaves a computation out.
extern volatile double sink;

[[noreturn]] void fail(const char* what);
inline void expect(bool condition, const char* what) {
  if (!condition) fail(what);
}

}  // namespace bench
