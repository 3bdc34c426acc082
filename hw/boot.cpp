// Boot options of the hardware layer: boot devices by codes of its own.
#include <algorithm>
#include <cstring>

#include "hw/highway.hpp"
#include "lumipmi/hardware.h"

using namespace lumi::hw;

namespace {

constexpr uint8_t kFlagClearing = 3;
constexpr uint8_t kBootFlags = 5;

// Flags of parameter 5, its first byte
constexpr uint8_t kValid = 0x80;
constexpr uint8_t kPersistent = 0x40;
constexpr uint8_t kOtherFlags = 0x3F;

/// A boot device: the selector (IPMI v2.0 rev 1.1, table 28-14, parameter 5, data 2) and the instance.
struct Device {
  uint8_t selector;
  uint8_t instance;
};

// Codes 0 to 15 are the selectors; these are the codes behind them.
constexpr uint8_t kFirstSpecial = 16;
constexpr Device kSpecial[] = {{15, 0x1F}, {6, 1}, {6, 2}, {6, 3}, {6, 4}, {11, 0}, {11, 1}};  // 16 to 22
constexpr uint8_t kLastCode = kFirstSpecial + sizeof kSpecial / sizeof kSpecial[0] - 1;

Device device_of(uint8_t code) {
  return code < kFirstSpecial ? Device{code, 0} : kSpecial[code - kFirstSpecial];
}

/// The code of a device; its selector when there is none.
uint8_t code_of(const Device& device) {
  for (size_t i = 0; i < sizeof kSpecial / sizeof kSpecial[0]; ++i)
    if (kSpecial[i].selector == device.selector && kSpecial[i].instance == device.instance)
      return static_cast<uint8_t>(kFirstSpecial + i);
  return device.selector;
}

/// Parameter 5 as read.
struct BootFlags {
  uint8_t flags;
  Device device;
};

Result read(uint8_t parameter, Response& response) {
  const uint8_t data[] = {parameter, 0x00, 0x00};
  return send(kGetBootOptions, data, 10, response);
}

Result read(BootFlags& boot) {
  Response response;
  LUMI_HW_TRY(read(kBootFlags, response));
  boot.flags = response.bytes[2];
  // Bits 7 and 6 of the device byte, which belong to other settings, are not masked off: part of the interface.
  boot.device = {static_cast<uint8_t>(response.bytes[3] >> 2), response.bytes[6]};
  return kOk;
}

Result write_flags(uint8_t flags, uint8_t code) {
  if (code > kLastCode) return kInvalid;
  const Device device = device_of(code);
  const uint8_t data[] = {kBootFlags, flags, static_cast<uint8_t>(device.selector << 2), 0, 0, device.instance};
  Response response;
  return send(kSetBootOptions, data, 1, response);
}

Result write_clearing(uint8_t value) {
  const uint8_t data[] = {kFlagClearing, value};
  Response response;
  return send(kSetBootOptions, data, 1, response);
}

/// Whether the time-out clears the valid flag.
Result enable_flags(bool enable) {
  return write_clearing(enable ? 0x08 : 0x00);
}

}  // namespace

extern "C" uint32_t IPMIGetBootOptions_HW(uint8_t parameter, uint8_t response[10]) {
  if (response == nullptr) return kInvalid;
  Response answer;
  LUMI_HW_TRY(read(parameter, answer));
  std::memcpy(response, answer.bytes, std::min<size_t>(answer.count, 10));
  return kOk;
}

extern "C" uint32_t IPMISetBootOptions_HW(int8_t parameter, uint8_t flags, uint8_t device) {
  switch (parameter) {
    case kBootFlags:
      return write_flags(flags, device);
    case kFlagClearing:
      return write_clearing(flags);
    default:
      return kOk;  // nothing is sent
  }
}

extern "C" uint32_t IPMIBootFlagEnable_HW(int8_t enable) {
  return enable_flags(enable != 0);
}

extern "C" uint32_t IPMIGetBootDevice_HW(uint8_t* device) {
  if (device == nullptr) return kInvalid;
  BootFlags boot;
  LUMI_HW_TRY(read(boot));
  const uint8_t code = code_of(boot.device);
  if (code >= kFirstSpecial && boot.device.selector != 11) *device = code;  // only these are mapped back
  return kOk;
}

extern "C" uint32_t IPMIGetBootOnceEnable_HW(uint8_t* enabled) {
  if (enabled == nullptr) return kInvalid;
  BootFlags boot;
  LUMI_HW_TRY(read(boot));
  *enabled = (boot.flags & (kValid | kPersistent)) == kValid;
  return kOk;
}

extern "C" uint32_t IPMISetBootDevice_HW(uint8_t device) {
  BootFlags boot;
  LUMI_HW_TRY(read(boot));
  const uint8_t base = boot.flags & kOtherFlags;
  const bool persistent = (boot.flags & (kValid | kPersistent)) == (kValid | kPersistent);
  if (!persistent && device == 0) {
    LUMI_HW_TRY(write_flags(base, 0));
    return enable_flags(false);
  }
  LUMI_HW_TRY(write_flags(static_cast<uint8_t>(base | kValid | (persistent ? kPersistent : 0)), device));
  return enable_flags(true);
}

extern "C" uint32_t IPMISetBootOnceEnable_HW(uint8_t enable) {
  BootFlags boot;
  LUMI_HW_TRY(read(boot));
  const uint8_t base = boot.flags & kOtherFlags;
  if (enable == 1 && boot.device.selector == 0) {
    LUMI_HW_TRY(write_flags(base, 0));
    return enable_flags(false);
  }
  LUMI_HW_TRY(write_flags(static_cast<uint8_t>(base | kValid | (enable != 0 ? 0 : kPersistent)), code_of(boot.device)));
  return enable_flags(true);
}
