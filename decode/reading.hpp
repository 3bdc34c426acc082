// Widening of raw sensor fields, for the decoder of full sensor records and the reading factors command.
#pragma once

#include <cstdint>

#include "core/bytes.hpp"

namespace lumi {

/// Analog data formats of a sensor; others are kept as they are.
enum AnalogFormat : int32_t { kUnsigned = 0, kOnesComplement = 1, kTwosComplement = 2 };

constexpr uint32_t low_bits(int count) {
  return count < 32 ? (1u << count) - 1 : 0xFFFFFFFF;
}

/// What ipmi_hlp_get_signed_data() does.
constexpr int32_t signed_data(int32_t format, uint32_t value, uint8_t width) {
  if (format == kUnsigned) return static_cast<int32_t>(value & low_bits(width));
  const int sign = width <= 1 ? 0 : width - 1;
  const bool negative = sign < 32 && (value >> sign & 1) != 0;
  // Only a negative value is cut to its width: the bits above a positive one stay, which is part of the interface.
  if (negative && format == kOnesComplement) return -static_cast<int32_t>(~value & low_bits(sign));
  if (negative && format == kTwosComplement) return static_cast<int32_t>(value | ~low_bits(sign));
  return static_cast<int32_t>(value);
}

/// A 10-bit two's complement number: bits 9:8 are byte[7:6] of high.
inline int16_t signed_10bit(uint8_t low, uint8_t high) {
  return static_cast<int16_t>(signed_data(kTwosComplement, bits(high, 7, 6) * 256u + low, 10));
}

/// A 4-bit two's complement number.
inline int8_t signed_4bit(uint8_t nibble) {
  return static_cast<int8_t>(signed_data(kTwosComplement, nibble, 4));
}

/// Unpacks the 6 bytes of M, tolerance, B, accuracy and exponents, which stand alike in a full sensor record and in
/// the reply to Get Sensor Reading Factors.
template <typename Record>
void unpack_factors(ByteReader factors, Record& out) {
  const uint8_t m_low = factors.u8();
  const uint8_t m_high = factors.u8();
  const uint8_t b_low = factors.u8();
  const uint8_t b_high = factors.u8();
  const uint8_t accuracy = factors.u8();
  const uint8_t exponents = factors.u8();
  out.m = signed_10bit(m_low, m_high);
  out.tolerance = bits(m_high, 5, 0);
  out.b = signed_10bit(b_low, b_high);
  out.precision = static_cast<uint16_t>(bits(accuracy, 7, 4) << 6 | bits(b_high, 5, 0));
  out.precision_exponent = bits(accuracy, 3, 2);
  out.result_exponent = signed_4bit(bits(exponents, 7, 4));
  out.b_exponent = signed_4bit(bits(exponents, 3, 0));
}

}  // namespace lumi
