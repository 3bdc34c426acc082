// System info parameters of NetFn App (IPMI v2.0 rev 1.1, 22.14a and 22.14b).
#include "lumipmi/system_info.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "commands/config_family.hpp"
#include "platform/text.hpp"

using namespace lumi;

namespace {

constexpr ConfigFamily kSystemInfo = {};

constexpr size_t kStringHead = 2;  // encoding and length, in front of the string in its first block
constexpr size_t kBlockSize = 16;

}  // namespace

extern "C" uint32_t ipmi_app_set_system_info(IpmiHandle* handle, uint8_t parameter, uint16_t length,
                                             const uint8_t* data) {
  if (handle == nullptr || data == nullptr || length == 0) return IPMI_STATUS_APP_INVALID_PARAMETER;
  LUMI_TRY(kSystemInfo.check_set(length));

  Exchange ex(handle, NetFn::App, 0x58, Privilege::Administrator);
  ex.u8(parameter);
  return kSystemInfo.set(ex, length, data);
}

extern "C" uint32_t ipmi_app_get_system_info(IpmiHandle* handle, uint8_t parameter, uint8_t setSelector,
                                             uint8_t blockSelector, uint8_t* revision, uint16_t* length,
                                             uint8_t* data) {
  if (handle == nullptr || revision == nullptr || length == nullptr || data == nullptr)
    return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x59, Privilege::User);
  ex.u8(0).u8(parameter).u8(setSelector).u8(blockSelector);  // 0: the parameter, not its revision alone
  return kSystemInfo.get(ex, revision, length, data);
}

extern "C" uint32_t ipmi_get_system_info_multi_blocks_string(IpmiHandle* handle, uint8_t parameter, uint8_t* out,
                                                             uint16_t outSize) {
  if (handle == nullptr || out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(out, 0, outSize);

  size_t left = 0;  // of the string, once the first block told its length
  for (uint8_t set = 0;; ++set) {
    uint8_t revision;
    uint8_t reply[1 + kBlockSize] = {};  // the set selector, which is not compared, and the block
    uint16_t length = sizeof reply;
    LUMI_TRY(ipmi_app_get_system_info(handle, parameter, set, 0, &revision, &length, reply));
    const uint8_t* block = reply + 1;
    size_t taken;
    if (set == 0) {
      left = block[1];
      if (left + 1 >= outSize) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
      taken = std::min(left, kBlockSize - kStringHead);
      std::memcpy(out, block, kStringHead + taken);
      out += kStringHead + taken;
    } else {
      taken = std::min(left, kBlockSize);
      std::memcpy(out, block, taken);
      out += taken;
    }
    left -= taken;
    if (left == 0) return kOk;
  }
}

extern "C" uint32_t ipmi_get_system_info_string(IpmiHandle* handle, uint8_t parameter, char* text, uint16_t textSize) {
  if (handle == nullptr || text == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint8_t string[256];
  LUMI_TRY(ipmi_get_system_info_multi_blocks_string(handle, parameter, string, sizeof string));
  const uint8_t encoding = bits(string[0], 3, 0);
  const uint8_t length = string[1];
  if (encoding == IPMI_SYSTEM_INFO_LATIN1) {
    if (length >= textSize) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
    char terminated[sizeof string] = {};  // the string itself fills its buffer when it is as long as can be
    std::memcpy(terminated, string + kStringHead, length);
    copy_text(text, textSize, terminated);
  } else if (encoding == IPMI_SYSTEM_INFO_UNICODE) {
    // The bytes become wide characters as they lie, four at a time on Linux: part of the interface. Two-byte
    // characters, which the standard has in mind, come out wrong; converting them would change what callers get.
    wchar_t wide[sizeof string / sizeof(wchar_t) + 1] = {};
    std::memcpy(wide, string + kStringHead, sizeof string - kStringHead);
    (void)std::wcstombs(text, wide, textSize);  // a character that has no conversion is not reported
  }
  return kOk;  // nothing is written for other encodings, UTF-8 among them: part of the interface too
}

// The standard numbers the operating system names 3 and 4; 4 and 5 are part of the interface.
extern "C" uint32_t ipmi_get_sysinfo_system_firmware_version(IpmiHandle* handle, char* text, uint16_t textSize) {
  return ipmi_get_system_info_string(handle, 1, text, textSize);
}

extern "C" uint32_t ipmi_get_sysinfo_system_name(IpmiHandle* handle, char* text, uint16_t textSize) {
  return ipmi_get_system_info_string(handle, 2, text, textSize);
}

extern "C" uint32_t ipmi_get_sysinfo_primary_operating_system_name(IpmiHandle* handle, char* text, uint16_t textSize) {
  return ipmi_get_system_info_string(handle, 4, text, textSize);
}

extern "C" uint32_t ipmi_get_sysinfo_present_operating_system_name(IpmiHandle* handle, char* text, uint16_t textSize) {
  return ipmi_get_system_info_string(handle, 5, text, textSize);
}
