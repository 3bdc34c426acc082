#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "core/bytes.hpp"
#include "core/status.hpp"
#include "lumipmi/fru.h"
#include "platform/bytes.hpp"
#include "platform/text.hpp"

using namespace lumi;

namespace {

constexpr uint8_t kEnglish = 25;  // so is 0
constexpr uint8_t kMaxFieldLength = 63;
constexpr uint8_t kWideOutput = 0x01;
constexpr size_t kScratchSize = 256;
static_assert(sizeof(wchar_t) == 4, "wide texts have 4-byte units");

// The renderers below get a cleared dst of size >= 1 bytes.

/// "%02X " for each byte, the last one too.
Status render_binary(char* dst, size_t size, const uint8_t* data, size_t length) {
  constexpr char kHex[] = "0123456789ABCDEF";
  for (size_t i = 0; i < 3 * length; ++i) {
    if (i == size - 1) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
    const uint8_t byte = data[i / 3];
    dst[i] = i % 3 == 0 ? kHex[byte >> 4] : i % 3 == 1 ? kHex[byte & 0x0F] : ' ';
  }
  return kOk;
}

/// As many characters as dst holds, the terminator not included: a text that fills dst ends at its size.
Status render_6bit_ascii(char* dst, size_t size, const uint8_t* data, uint8_t length) {
  char text[UINT8_MAX * 8 / 6 + 1];
  (void)decode_6bit_ascii(text, sizeof text - 1, data, length);  // cannot fail: room for any field
  const size_t characters = std::strlen(text);
  std::memcpy(dst, text, characters < size ? characters : size);
  return characters < size ? kOk : IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
}

/// The bytes as they are, NUL bytes included.
Status render_text(char* dst, size_t size, const uint8_t* data, size_t length) {
  const bool fits = length < size;
  std::memcpy(dst, data, fits ? length : size - 1);
  return fits ? kOk : IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
}

/// Each byte is a code point, written in the encoding of the current locale.
Status render_latin1(char* dst, size_t size, const uint8_t* data, size_t length) {
  std::mbstate_t state = {};  // as wctomb(), without the state that threads would share
  size_t used = 0;
  for (size_t i = 0; i < length; ++i) {
    if (used == size - 1) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
    char character[MB_LEN_MAX];
    const size_t count = std::wcrtomb(character, static_cast<wchar_t>(data[i]), &state);
    if (count == static_cast<size_t>(-1)) return IPMI_STATUS_APP_ERROR;
    if (count > size - 1 - used) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
    std::memcpy(dst + used, character, count);
    used += count;
  }
  return kOk;
}

/// Converts the terminated wide text at data, which need not be aligned.
Status narrow_wide_text(char (&scratch)[kScratchSize], const uint8_t* data) {
  wchar_t text[kScratchSize - 1];
  for (size_t i = 0; i < kScratchSize - 1; ++i) {
    std::memcpy(&text[i], data + i * sizeof(wchar_t), sizeof(wchar_t));
    if (text[i] != L'\0') continue;
    const size_t size = std::wcstombs(scratch, text, kScratchSize - 1);
    return size == static_cast<size_t>(-1) ? IPMI_STATUS_APP_ERROR : kOk;
  }
  return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
}

Status decode_to_scratch(char (&scratch)[kScratchSize], uint32_t type_code, const uint8_t* data, uint8_t length) {
  int32_t result = 0;
  switch (type_code) {
    case IPMI_FIELD_BINARY:
      return narrow_wide_text(scratch, data);  // not bytes: callers hand over wide texts of their own as type 0
    case IPMI_FIELD_BCD_PLUS:
      result = decode_bcd_plus(scratch, kScratchSize - 1, data, length);
      break;
    case IPMI_FIELD_6BIT_ASCII:
      result = decode_6bit_ascii(scratch, kScratchSize - 1, data, length);
      break;
    case IPMI_FIELD_TEXT:
      std::memcpy(scratch, data, length);
      break;
    default:
      return IPMI_STATUS_APP_INVALID_FORMAT;
  }
  return result == 0 ? kOk : IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
}

}  // namespace

extern "C" uint32_t ipmi_hlp_get_fru_field(char* dst, uint16_t dstSize, const IpmiFruField* field,
                                           uint8_t languageCode) {
  if (dst == nullptr || dstSize == 0) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(dst, 0, dstSize);
  if (field == nullptr || field->length == 0) return kOk;
  if (field->data == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  const uint8_t* data = field->data;
  const uint8_t length = field->length;
  switch (field->type_code) {
    case IPMI_FIELD_BINARY:
      return render_binary(dst, dstSize, data, length);
    case IPMI_FIELD_BCD_PLUS:
      return decode_bcd_plus(dst, dstSize, data, length) == 0 ? kOk : IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
    case IPMI_FIELD_6BIT_ASCII:
      return render_6bit_ascii(dst, dstSize, data, length);
    case IPMI_FIELD_TEXT:
      if (languageCode == 0 || languageCode == kEnglish) return render_text(dst, dstSize, data, length);
      return render_latin1(dst, dstSize, data, length);
    default:
      return IPMI_STATUS_APP_INVALID_FORMAT;
  }
}

extern "C" uint32_t ipmi_hlp_decode_type_length(uint32_t typeCode, uint8_t length, const uint8_t* data, uint8_t flags,
                                                uint16_t dstSize, void* dst) {
  if (length > kMaxFieldLength || dst == nullptr || data == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  char scratch[kScratchSize] = {};
  LUMI_TRY(decode_to_scratch(scratch, typeCode, data, length));

  const size_t characters = std::strlen(scratch);
  if ((flags & kWideOutput) == 0) {
    // One byte more than text and terminator need: part of the interface, as buffers are sized by it.
    if (dstSize <= characters + 1) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
    copy_text(static_cast<char*>(dst), dstSize, scratch);
    return kOk;
  }
  if (dstSize < (characters + 1) * sizeof(wchar_t)) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
  wchar_t wide[kScratchSize];  // dst need not be aligned
  const size_t units = std::mbstowcs(wide, scratch, kScratchSize);
  if (units == static_cast<size_t>(-1)) return IPMI_STATUS_APP_ERROR;
  std::memcpy(dst, wide, (units + 1) * sizeof(wchar_t));
  return kOk;
}
