// What the targets share. Each target is built twice: with libFuzzer, and with saved.cpp for the ordinary tests.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t max_size);

namespace lumi::fuzz {

/// Ends the program, which makes a finding of the input.
inline void require(bool condition) {
  if (!condition) std::abort();
}

/// A mutation that mostly gets right checksums, or few would be looked at behind them.
inline size_t mutate(uint8_t* data, size_t size, size_t max_size, unsigned seed, void (*fix_checksums)(Bytes& image)) {
  size = LLVMFuzzerMutate(data, size, max_size);
  if (seed % 8 == 0) return size;
  Bytes image(data, data + size);
  fix_checksums(image);
  std::copy(image.begin(), image.end(), data);
  return size;
}

/// The library reports some failures on standard output.
inline void discard_standard_output() {
  require(std::freopen("/dev/null", "w", stdout) != nullptr);
}

/// An input, taken front to back; 0 and nothing where it is used up.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : at_(data), end_(data + size) {}

  size_t left() const { return static_cast<size_t>(end_ - at_); }
  uint8_t u8() { return at_ == end_ ? uint8_t{0} : *at_++; }
  uint16_t le16() {
    const uint8_t low = u8();
    return static_cast<uint16_t>(low | u8() << 8);
  }
  Bytes take(size_t count) {
    const uint8_t* start = at_;
    at_ += std::min(count, left());
    return Bytes(start, at_);
  }
  Bytes rest() { return take(left()); }
  /// Up to the next newline, which is taken, too.
  std::string line() {
    const uint8_t* start = at_;
    at_ = std::find(at_, end_, '\n');
    std::string text(start, at_);
    if (at_ != end_) ++at_;
    return text;
  }

 private:
  const uint8_t* at_;
  const uint8_t* end_;
};

}  // namespace lumi::fuzz
