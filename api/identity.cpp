// Who the managed system is: inventory size and bytes, tags, versions, channels, names.
#include "lumipmi/api_identity.h"

#include <cstdio>
#include <cstring>

#include "api/channels.hpp"
#include "core/bytes.hpp"
#include "lumipmi/device.h"
#include "lumipmi/fru_inventory.h"
#include "lumipmi/system_info.h"
#include "platform/text.hpp"

using namespace lumi;

namespace {

// The maker's own system information parameters
constexpr uint8_t kAssetTag = 0xC4;
constexpr uint8_t kUnitTag = 0xC5;
constexpr uint8_t kInfoByte = 0xCA;
constexpr uint8_t kInfoString = 0xD1;

/// A tag is a length byte and a string.
Status get_tag(IpmiHandle* handle, uint8_t parameter, char* text, uint8_t capacity) {
  constexpr uint16_t kRoom = 128;
  uint8_t data[kRoom + 1] = {};  // the last byte stays 0: the string always ends
  uint8_t revision;
  uint16_t length = kRoom;
  LUMI_TRY(ipmi_app_get_system_info(handle, parameter, 0, 0, &revision, &length, data));
  if (data[0] >= capacity || length > capacity) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
  (void)copy_text(text, capacity, reinterpret_cast<const char*>(data + 1));  // ends at the first NUL
  return kOk;
}

using GetName = uint32_t (*)(IpmiHandle*, char*, uint16_t);

Status get_name(GetName get, char* name, uint32_t capacity) {
  if (name == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  return get(bmc.handle(), name, static_cast<uint16_t>(capacity));
}

}  // namespace

extern "C" uint32_t IPMIGetFruInventoryInfo(uint8_t fruId, uint16_t* areaSize) {
  if (areaSize == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  IpmiFruInventoryInfo info = {};
  LUMI_TRY(ipmi_storage_get_fru_inventory_info(bmc.handle(), fruId, &info));
  *areaSize = info.area_size;
  return kOk;
}

extern "C" uint32_t IPMIGetFruData(uint8_t fruId, uint16_t offset, uint16_t* count, uint8_t* buffer) {
  if (count == nullptr || buffer == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  return ipmi_storage_read_fru_data_2(bmc.handle(), fruId, offset, count, buffer);
}

extern "C" uint32_t ipmi_get_kest_system_unit_tag(IpmiHandle* handle, char* text, uint8_t capacity) {
  if (handle == nullptr || text == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  return get_tag(handle, kUnitTag, text, capacity);
}

extern "C" uint32_t IPMIGetServiceInfo(IPMIServiceInfo* info) {
  if (info == nullptr || info->unitTag == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  return ipmi_get_kest_system_unit_tag(bmc.handle(), info->unitTag, info->unitTagSize);
}

extern "C" uint32_t IPMIGetSystemInfo(IPMISystemInfo* info) {
  if (info == nullptr || info->systemInfoString == nullptr || info->unitTag == nullptr || info->assetTag == nullptr)
    return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  LUMI_TRY(ipmi_get_system_info_string(bmc.handle(), kInfoString, info->systemInfoString, info->systemInfoStringSize));
  uint8_t data[10] = {};
  uint8_t revision;
  uint16_t length = sizeof data;
  LUMI_TRY(ipmi_app_get_system_info(bmc.handle(), kInfoByte, 0, 0, &revision, &length, data));
  info->oemInfoByte = data[0];  // stays when a later step fails
  LUMI_TRY(ipmi_get_kest_system_unit_tag(bmc.handle(), info->unitTag, info->unitTagSize));
  return get_tag(bmc.handle(), kAssetTag, info->assetTag, info->assetTagSize);
}

extern "C" uint32_t IPMIGetBMCInfo(IPMIBMCInfo* info) {
  if (info == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  const bool wants_ipmi = info->ipmiVersionSize > 3;
  const bool wants_firmware = info->firmwareVersionSize > 4;
  if ((wants_ipmi && info->ipmiVersion == nullptr) || (wants_firmware && info->firmwareVersion == nullptr))
    return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  IpmiDeviceId id = {};
  LUMI_TRY(ipmi_app_get_device_id(bmc.handle(), &id));
  if (wants_ipmi)
    std::snprintf(info->ipmiVersion, info->ipmiVersionSize, "%u.%1u", id.ipmiVersion & 0x0Fu,
                  unsigned{id.ipmiVersion} >> 4);
  if (wants_firmware)
    std::snprintf(info->firmwareVersion, info->firmwareVersionSize, "%u.%1u%1u", unsigned{id.firmwareMajor},
                  unsigned{id.firmwareMinor} >> 4, id.firmwareMinor & 0x0Fu);
  return kOk;
}

extern "C" uint32_t IPMIGetChannelInfo(uint8_t* lanMask, uint8_t* serialMask) {
  Connection bmc;
  LUMI_TRY(bmc.open());
  // The bits number the channels that answer, not the channel numbers: applications count them that way.
  uint8_t bit = 0x01;
  uint8_t lan = 0;
  uint8_t serial = 0;
  for (uint8_t channel = 0; channel <= 7; ++channel) {
    IpmiChannelInfo info = {};
    if (ipmi_app_get_channel_info(bmc.handle(), channel, &info) != kOk) continue;
    if (info.mediumType == kMediumLan) lan |= bit;
    if (info.mediumType == kMediumSerial) serial |= bit;
    bit = static_cast<uint8_t>(bit << 1);
  }
  if (lanMask != nullptr) *lanMask = lan;
  if (serialMask != nullptr) *serialMask = serial;
  return kOk;
}

extern "C" uint32_t IPMIGetBIOSVersion(char* version, uint32_t capacity) {
  return get_name(ipmi_get_sysinfo_system_firmware_version, version, capacity);
}

extern "C" uint32_t IPMIGetHostSystemName(char* name, uint32_t capacity) {
  return get_name(ipmi_get_sysinfo_system_name, name, capacity);
}

extern "C" uint32_t IPMIGetOSName(char* name, uint32_t capacity) {
  return get_name(ipmi_get_sysinfo_primary_operating_system_name, name, capacity);
}
