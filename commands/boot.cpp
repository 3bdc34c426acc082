// System boot options of NetFn Chassis (IPMI v2.0 rev 1.1, 28.12 and 28.13).
#include "lumipmi/boot.h"

#include "commands/config_family.hpp"

using namespace lumi;

namespace {

constexpr ConfigFamily kBootOptions = {.prefix = 2,  // version, and valid bit with selector
                                       .min_reply = 3,
                                       .revision = Revision::None,
                                       .room = Room::CallersOnly,
                                       .max_set = 249};

Status get_byte(IpmiHandle* handle, uint8_t selector, uint32_t* value) {
  if (handle == nullptr || value == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data = 0;
  uint16_t length = sizeof data;
  LUMI_TRY(ipmi_chassis_get_system_boot_options(handle, selector, 0, 0, &length, &data));
  *value = data;
  return kOk;
}

}  // namespace

extern "C" uint32_t ipmi_chassis_set_system_boot_options(IpmiHandle* handle, uint8_t mark_invalid, uint8_t selector,
                                                         uint16_t length, const void* data) {
  if (handle == nullptr || data == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  LUMI_TRY(kBootOptions.check_set(length));

  Exchange ex(handle, NetFn::Chassis, 0x08, Privilege::Operator);
  ex.u8(static_cast<uint8_t>(selector | (mark_invalid & 1) << 7));
  return kBootOptions.set(ex, length, data);
}

extern "C" uint32_t ipmi_chassis_get_system_boot_options(IpmiHandle* handle, uint8_t selector, uint8_t set_selector,
                                                         uint8_t block_selector, uint16_t* length, uint8_t* data) {
  if (handle == nullptr || length == nullptr || data == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Chassis, 0x09, Privilege::Operator);
  ex.u8(selector).u8(set_selector).u8(block_selector);
  return kBootOptions.get(ex, nullptr, length, data);
}

extern "C" uint32_t ipmi_set_boot_flag_valid_bit_clearing(IpmiHandle* handle, uint8_t value) {
  return ipmi_chassis_set_system_boot_options(handle, 0, IPMI_BOOT_FLAG_VALID_BIT_CLEARING, 1, &value);
}

extern "C" uint32_t ipmi_get_boot_flag_valid_bit_clearing(IpmiHandle* handle, uint32_t* value) {
  return get_byte(handle, IPMI_BOOT_FLAG_VALID_BIT_CLEARING, value);
}

extern "C" uint32_t ipmi_set_boot_flags(IpmiHandle* handle, const IpmiBootFlags* flags) {
  if (handle == nullptr || flags == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  // Fields are not cut to their width: what exceeds it spills into the higher bits of the byte. Part of the interface,
  // each width as it stands; a narrower one would change what callers that rely on it send.
  const uint8_t data[5] = {
      static_cast<uint8_t>((flags->valid & 1u) << 7 | (flags->persistent & 3u) << 6 | flags->boot_type << 5),
      static_cast<uint8_t>((flags->cmos_clear & 1u) << 7 | (flags->lock_keyboard & 3u) << 6 | flags->boot_device << 2 |
                           (flags->screen_blank & 0x7Fu) << 1 | flags->lock_reset_button),
      static_cast<uint8_t>((flags->lock_power_button & 1u) << 7 | flags->firmware_verbosity << 5 |
                           (flags->force_progress_traps & 0xFu) << 4 | (flags->password_bypass & 0x1Fu) << 3 |
                           (flags->lock_sleep_button & 0x3Fu) << 2 | flags->console_redirection),
      static_cast<uint8_t>((flags->bios_mux_override & 7u) | (flags->bios_shared_mode_override & 0x1Fu) << 3),
      0  // device instance
  };
  return ipmi_chassis_set_system_boot_options(handle, 0, IPMI_BOOT_FLAGS, sizeof data, data);
}

extern "C" uint32_t ipmi_get_boot_flags(IpmiHandle* handle, IpmiBootFlags* flags) {
  if (handle == nullptr || flags == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint8_t data[5];  // the fifth, the device instance, need not come
  uint16_t length = sizeof data;
  LUMI_TRY(ipmi_chassis_get_system_boot_options(handle, IPMI_BOOT_FLAGS, 0, 0, &length, data));
  if (length < 4) return IPMI_STATUS_BMC_UNSPECIFIED;
  flags->valid = bits(data[0], 7, 7);
  flags->persistent = bits(data[0], 6, 6);
  flags->boot_type = bits(data[0], 5, 5);
  flags->cmos_clear = bits(data[1], 7, 7);
  flags->lock_keyboard = bits(data[1], 6, 6);
  flags->boot_device = bits(data[1], 5, 2);
  flags->screen_blank = bits(data[1], 1, 1);
  flags->lock_reset_button = bits(data[1], 0, 0);
  flags->lock_power_button = bits(data[2], 7, 7);
  flags->firmware_verbosity = bits(data[2], 6, 5);
  flags->force_progress_traps = bits(data[2], 4, 4);
  flags->password_bypass = bits(data[2], 3, 3);
  flags->lock_sleep_button = bits(data[2], 2, 2);
  flags->console_redirection = bits(data[2], 1, 0);
  flags->bios_shared_mode_override = bits(data[3], 3, 3);
  flags->bios_mux_override = bits(data[3], 2, 0);
  return kOk;
}

extern "C" uint32_t ipmi_set_kest_bios_mux(IpmiHandle* handle, uint8_t value) {
  return ipmi_chassis_set_system_boot_options(handle, 0, IPMI_BOOT_KEST_BIOS_MUX, 1, &value);
}

extern "C" uint32_t ipmi_get_kest_bios_mux(IpmiHandle* handle, uint32_t* value) {
  return get_byte(handle, IPMI_BOOT_KEST_BIOS_MUX, value);
}
