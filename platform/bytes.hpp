// Byte order, checksums and packed characters. Pointers are not checked.
#pragma once

#include <cstdint>

namespace lumi {

/// Numbers that stand least significant byte first ("le") or most significant byte first ("be").
uint16_t load_le16(const uint8_t* bytes);
uint16_t load_be16(const uint8_t* bytes);
void store_le16(uint16_t value, uint8_t* out);
void store_be16(uint16_t value, uint8_t* out);

/// Numbers of `count` bytes; 0 when count is 0 or negative. Of more than 4 bytes the least significant 4 count.
uint32_t load_le32(const uint8_t* bytes, int32_t count);
uint32_t load_be32(const uint8_t* bytes, int32_t count);

/// Store the low `count` bytes of a number: at most 4, none when count is 0 or negative.
void store_le32(uint32_t value, int32_t count, uint8_t* out);
void store_be32(uint32_t value, int32_t count, uint8_t* out);

/// The sum of `initial` and the bytes, modulo 256.
uint8_t byte_sum(const uint8_t* bytes, uint32_t length, uint8_t initial);

/// The byte that makes the bytes and itself sum to 0 modulo 256 (IPMI v2.0 rev 1.1, 13.8).
uint8_t zero_checksum(const uint8_t* bytes, uint32_t length);

/// Decodes BCD plus: 2 * in_length characters and a terminator. Returns 0, or -1 with out untouched when these are more
/// than out_size.
int32_t decode_bcd_plus(char* out, uint16_t out_size, const uint8_t* in, uint16_t in_length);

/// Decodes 6-bit packed ASCII into at most out_size characters and a terminator: out holds out_size + 1 bytes. Returns
/// 0, or -1 with out_size characters and no terminator when there are more.
int32_t decode_6bit_ascii(char* out, uint16_t out_size, const uint8_t* in, uint16_t in_length);

}  // namespace lumi
