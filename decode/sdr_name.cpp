// Names of the sensors that share a record.
#include <cstring>
#include <cwchar>

#include "core/status.hpp"
#include "lumipmi/sdr.h"

using namespace lumi;

extern "C" uint32_t ipmi_hlp_get_share_sdr_string(int8_t shareCount, int8_t modifierType, uint8_t modifierOffset,
                                                  uint8_t memberIndex, const wchar_t* baseName, uint16_t outSize,
                                                  wchar_t* out) {
  if (out != nullptr) std::memset(out, 0, outSize);
  if (baseName == nullptr || out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  const size_t capacity = outSize / sizeof(wchar_t);
  const size_t name_length = wcsnlen(baseName, capacity);  // reads no further than could fit
  const int value = modifierOffset + memberIndex;

  wchar_t suffix[8] = {};
  size_t suffix_length = 0;
  if (shareCount == 1) {
    if (name_length >= capacity) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
  } else if (modifierType != 0) {
    if (name_length + 2 >= capacity) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;  // also for one letter
    // The two letters after Z are BA, not AA: part of the interface.
    if (value / 26 != 0) suffix[suffix_length++] = static_cast<wchar_t>(L'A' + value / 26);
    suffix[suffix_length++] = static_cast<wchar_t>(L'A' + value % 26);
  } else {
    const int printed = std::swprintf(suffix, sizeof suffix / sizeof suffix[0], L" %d", value);
    suffix_length = static_cast<size_t>(printed);
    // Not the status of the other two, as part of the interface.
    if (printed < 0 || name_length + suffix_length >= capacity) return IPMI_STATUS_APP_ERROR;
  }
  std::wmemcpy(out, baseName, name_length);
  std::wmemcpy(out + name_length, suffix, suffix_length);  // the terminator is there already
  return kOk;
}
