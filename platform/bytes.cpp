#include "platform/bytes.hpp"

#include <algorithm>

namespace lumi {

namespace {

// How many of `count` bytes a 32-bit number takes.
int32_t number_size(int32_t count) {
  return std::clamp<int32_t>(count, 0, sizeof(uint32_t));
}

}  // namespace

uint16_t load_le16(const uint8_t* bytes) {
  return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}

uint16_t load_be16(const uint8_t* bytes) {
  return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
}

void store_le16(uint16_t value, uint8_t* out) {
  out[0] = static_cast<uint8_t>(value);
  out[1] = static_cast<uint8_t>(value >> 8);
}

void store_be16(uint16_t value, uint8_t* out) {
  out[0] = static_cast<uint8_t>(value >> 8);
  out[1] = static_cast<uint8_t>(value);
}

uint32_t load_le32(const uint8_t* bytes, int32_t count) {
  uint32_t value = 0;
  for (int32_t i = number_size(count) - 1; i >= 0; --i) value = value << 8 | bytes[i];
  return value;
}

uint32_t load_be32(const uint8_t* bytes, int32_t count) {
  uint32_t value = 0;
  for (int32_t i = count - number_size(count); i < count; ++i) value = value << 8 | bytes[i];
  return value;
}

void store_le32(uint32_t value, int32_t count, uint8_t* out) {
  const int32_t size = number_size(count);
  for (int32_t i = 0; i < size; ++i) {
    out[i] = static_cast<uint8_t>(value);
    value >>= 8;
  }
}

void store_be32(uint32_t value, int32_t count, uint8_t* out) {
  for (int32_t i = number_size(count) - 1; i >= 0; --i) {
    out[i] = static_cast<uint8_t>(value);
    value >>= 8;
  }
}

uint8_t byte_sum(const uint8_t* bytes, uint32_t length, uint8_t initial) {
  uint8_t sum = initial;
  for (uint32_t i = 0; i < length; ++i) sum = static_cast<uint8_t>(sum + bytes[i]);
  return sum;
}

uint8_t zero_checksum(const uint8_t* bytes, uint32_t length) {
  return static_cast<uint8_t>(-byte_sum(bytes, length, 0));
}

int32_t decode_bcd_plus(char* out, uint16_t out_size, const uint8_t* in, uint16_t in_length) {
  static constexpr char kAlphabet[] = "0123456789 -.:,_";  // IPMI v2.0 rev 1.1, 43.15
  if (2 * in_length >= out_size) return -1;
  for (uint16_t i = 0; i < in_length; ++i) {
    *out++ = kAlphabet[in[i] >> 4];
    *out++ = kAlphabet[in[i] & 0x0F];
  }
  *out = '\0';
  return 0;
}

int32_t decode_6bit_ascii(char* out, uint16_t out_size, const uint8_t* in, uint16_t in_length) {
  // Whole characters only: bits left over at the end are not one.
  const uint32_t available = 8u * in_length / 6;
  const uint32_t count = std::min<uint32_t>(available, out_size);
  for (uint32_t i = 0; i < count; ++i) {
    const uint8_t* group = in + i / 4 * 3;  // four characters in three bytes, least significant bits first
    int value = 0;
    switch (i % 4) {
      case 0:
        value = group[0] & 0x3F;
        break;
      case 1:
        value = (group[1] & 0x0F) << 2 | group[0] >> 6;
        break;
      case 2:
        value = (group[2] & 0x03) << 4 | group[1] >> 4;
        break;
      case 3:
        value = group[2] >> 2;
        break;
    }
    out[i] = static_cast<char>(0x20 + value);
  }
  // The caller keeps the cut text but must terminate it: the interface says so, and a terminator here would stand in
  // the byte behind a buffer of out_size.
  if (count < available) return -1;
  out[count] = '\0';
  return 0;
}

}  // namespace lumi
