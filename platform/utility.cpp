// The exported names of the byte order, checksum and packed character functions. The library itself calls the ones of
// namespace lumi.
#include "lumipmi/utility.h"

#include "lumipmi/status.h"
#include "platform/bytes.hpp"

extern "C" uint32_t host_bytes_to_uint32(const uint8_t* bytes, int32_t count) {
  return lumi::load_le32(bytes, count);
}

extern "C" uint16_t host_bytes_to_uint16(const uint8_t* bytes) {
  return lumi::load_le16(bytes);
}

extern "C" uint32_t network_bytes_to_uint32(const uint8_t* bytes, int32_t count) {
  return lumi::load_be32(bytes, count);
}

extern "C" uint16_t network_bytes_to_uint16(const uint8_t* bytes) {
  return lumi::load_be16(bytes);
}

extern "C" void uint32_to_host_bytes(uint32_t value, int32_t count, uint8_t* out) {
  lumi::store_le32(value, count, out);
}

extern "C" void uint16_to_host_bytes(uint16_t value, uint8_t* out) {
  lumi::store_le16(value, out);
}

extern "C" void uint32_to_network_bytes(uint32_t value, int32_t count, uint8_t* out) {
  lumi::store_be32(value, count, out);
}

extern "C" void uint16_to_network_bytes(uint16_t value, uint8_t* out) {
  lumi::store_be16(value, out);
}

extern "C" uint8_t get_check_sum(uint16_t length, const uint8_t* bytes, uint8_t initial) {
  if (bytes == nullptr) return initial;
  return lumi::byte_sum(bytes, length, initial);
}

extern "C" uint32_t rmcp_checksum(const uint8_t* bytes, uint32_t length, uint8_t* out) {
  if (bytes == nullptr || out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  *out = lumi::zero_checksum(bytes, length);
  return 0;
}

extern "C" int32_t decode_bcd_plus(char* out, uint16_t outSize, const uint8_t* in, uint16_t inLength) {
  return lumi::decode_bcd_plus(out, outSize, in, inLength);
}

extern "C" int32_t decode_6bit_ascii(char* out, uint16_t outSize, const uint8_t* in, uint16_t inLength) {
  return lumi::decode_6bit_ascii(out, outSize, in, inLength);
}
