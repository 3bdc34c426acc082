// Checked reading and writing of wire bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace lumi {

/// A field as the standard prints it: bits(byte, 7, 5) is byte[7:5].
constexpr uint8_t bits(uint8_t byte, int high, int low) {
  return static_cast<uint8_t>((byte >> low) & ((1u << (high - low + 1)) - 1));
}

/// Reads front to back. Past the end it yields 0 and stays not-ok.
class ByteReader {
 public:
  constexpr ByteReader(const uint8_t* data, size_t size) : data_(data), left_(size) {}

  constexpr size_t left() const { return left_; }
  constexpr bool ok() const { return ok_; }

  constexpr uint8_t u8() {
    if (!take(1)) return 0;
    return data_[-1];
  }
  constexpr uint16_t le16() { return static_cast<uint16_t>(little_endian(2)); }
  constexpr uint32_t le24() { return little_endian(3); }
  constexpr uint32_t le32() { return little_endian(4); }
  constexpr uint16_t be16() {
    if (!take(2)) return 0;
    return static_cast<uint16_t>(data_[-2] << 8 | data_[-1]);
  }

  /// Copies exactly size bytes, or none.
  void copy(void* out, size_t size) {
    if (take(size) && size != 0) std::memcpy(out, data_ - size, size);
  }
  template <size_t N>
  void copy(uint8_t (&out)[N]) {
    copy(out, N);
  }
  constexpr void skip(size_t size) { take(size); }
  /// The next size bytes as a reader of their own; empty and not-ok when there are fewer.
  constexpr ByteReader sub(size_t size) {
    if (take(size)) return ByteReader(data_ - size, size);
    ByteReader none(data_, 0);
    none.ok_ = false;
    return none;
  }

 private:
  constexpr bool take(size_t size) {
    if (!ok_ || size > left_) {
      ok_ = false;
      left_ = 0;
      return false;
    }
    data_ += size;
    left_ -= size;
    return true;
  }
  constexpr uint32_t little_endian(size_t size) {
    if (!take(size)) return 0;
    uint32_t value = 0;
    for (size_t i = 1; i <= size; ++i) value = value << 8 | *(data_ - i);
    return value;
  }

  const uint8_t* data_;
  size_t left_;
  bool ok_ = true;
};

/// Appends to a fixed array. What does not fit changes nothing, and the writer stays not-ok.
template <size_t N>
class ByteWriter {
 public:
  bool ok() const { return ok_; }
  size_t size() const { return size_; }
  const uint8_t* data() const { return data_; }

  void bytes(const void* from, size_t size) {
    if (!ok_ || size > N - size_) {
      ok_ = false;
      return;
    }
    if (size != 0) std::memcpy(data_ + size_, from, size);
    size_ += size;
  }
  void u8(uint8_t value) { bytes(&value, 1); }
  void le16(uint16_t value) {
    const uint8_t wire[] = {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8)};
    bytes(wire, sizeof wire);
  }
  void le32(uint32_t value) {
    const uint8_t wire[] = {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
                            static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 24)};
    bytes(wire, sizeof wire);
  }

 private:
  uint8_t data_[N];  // only the first size_ bytes are set
  size_t size_ = 0;
  bool ok_ = true;
};

}  // namespace lumi
