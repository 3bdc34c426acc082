// Every management call once, on the BMC that LUMIPMI_DRIVER names; what is set is what was read. Prints what fails.
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "lumipmi/lumipmi.h"

namespace {

struct Call {
  const char* name;
  std::function<uint32_t()> run;
};

template <typename T>
uint32_t with_handle(T call) {
  const IpmiConnectParams params = {1, -1, -1, 0};
  IpmiHandle* handle = nullptr;
  uint32_t status = ipmi_connect(&params, &handle);
  if (status != 0) return status;
  status = call(handle);
  ipmi_disconnect(handle);
  return status;
}

// What get calls read, for the set calls.
uint8_t a, b, bytes[1024];
uint16_t word;
uint32_t number;
char text[256];
IPMILanConfig lan;
IPMIMacAddress mac;
IPMISecurityKey key;
IPMISensorThresholds thresholds;
IPMISensorEventEnable events;
IPMISerialConnectionMode modes;
IPMISerialConfig serial;
IPMISolConfig sol;
IPMIWatchdogConfig watchdog;
IPMIEventFilterEntry entry;
IpmiSensorReadingFactors factors;
IpmiKestFruInfo inventory;
constexpr uint8_t kUser = 5, kSensor = 1, kNonLinearSensor = 26;

uint32_t service_info() {
  IPMIServiceInfo info = {text, 255};
  return IPMIGetServiceInfo(&info);
}
uint32_t system_info() {
  char texts[3][64];
  IPMISystemInfo info = {};
  info.systemInfoString = texts[0], info.unitTag = texts[1], info.assetTag = texts[2];
  info.systemInfoStringSize = info.unitTagSize = info.assetTagSize = sizeof texts[0];
  return IPMIGetSystemInfo(&info);
}
uint32_t bmc_info() {
  IPMIBMCInfo info = {text, 8, text + 8, 8};
  return IPMIGetBMCInfo(&info);
}
uint32_t set_reading() {
  const IPMISensorReadingSet setting = {0x01, 24, {}};  // the reading, and no states
  return IPMISetSensorReading(kSensor, &setting);
}
uint32_t fru_records() {
  const uint32_t status = with_handle([](IpmiHandle* h) { return ipmi_get_kest_fru_info(h, 4, &inventory.fru); });
  ipmi_free_fru_info(&inventory.fru);
  return status;
}
uint32_t authenticate() {
  const uint32_t status = IPMIAuthenticateUser("admin", "admin-pw", &a);
  return status == 0 && a != 2 ? 1 : status;
}

const Call kCalls[] = {
    {"IPMIGetFruInventoryInfo", [] { return IPMIGetFruInventoryInfo(0, &word); }},
    {"IPMIGetFruData", [] { return word = 100, IPMIGetFruData(0, 8, &word, bytes); }},
    {"IPMIGetServiceInfo", service_info},
    {"IPMIGetSystemInfo", system_info},
    {"IPMIGetBMCInfo", bmc_info},
    {"IPMIGetChannelInfo", [] { return IPMIGetChannelInfo(&a, &b); }},
    {"IPMIGetBIOSVersion", [] { return IPMIGetBIOSVersion(text, sizeof text); }},
    {"IPMIGetHostSystemName", [] { return IPMIGetHostSystemName(text, sizeof text); }},
    {"IPMIGetOSName", [] { return IPMIGetOSName(text, sizeof text); }},
    {"ipmi_get_channel_id", [] { return with_handle([](IpmiHandle* h) { return ipmi_get_channel_id(h, 1, &a); }); }},
    {"IPMIGetLanConfiguration", [] { return IPMIGetLanConfiguration(&lan); }},
    {"IPMISetLanConfiguration", [] { return IPMISetLanConfiguration(&lan, 0x0F); }},
    {"IPMIGetIPMIOverLANAccess", [] { return IPMIGetIPMIOverLANAccess(&a, &b); }},
    {"IPMISetIPMIOverLANAccess", [] { return IPMISetIPMIOverLANAccess(1, b); }},
    {"IPMIGetBMCMacAddress", [] { return IPMIGetBMCMacAddress(&mac); }},
    {"IPMISetCurrentNICMacAddress", [] { return IPMISetCurrentNICMacAddress(mac.bytes); }},
    {"IPMIGetDebugLevel", [] { return IPMIGetDebugLevel(&a); }},
    {"IPMISetDebugLevel", [] { return IPMISetDebugLevel(a); }},
    {"IPMIResetConfiguration2DefaultExceptNW", IPMIResetConfiguration2DefaultExceptNW},
    {"IPMIResetConfiguration2Default", IPMIResetConfiguration2Default},
    {"IPMIGracefulShutdown", IPMIGracefulShutdown},
    {"IPMIGetEnableEventFilters", [] { return IPMIGetEnableEventFilters(1, &a); }},
    {"IPMISetEnableEventFilters", [] { return IPMISetEnableEventFilters(1, a); }},
    {"IPMIGetEventFilterEntry", [] { return IPMIGetEventFilterEntry(1, &entry); }},
    {"IPMIGetEventActions", [] { return IPMIGetEventActions(1, &a); }},
    {"IPMISetEventActions", [] { return IPMISetEventActions(1, a); }},
    {"IPMIGetAlertPolicyEnable", [] { return IPMIGetAlertPolicyEnable(1, &a); }},
    {"IPMISetAlertPolicyEnable", [] { return IPMISetAlertPolicyEnable(1, a); }},
    {"IPMIGetAlertDestinationIPAddr", [] { return IPMIGetAlertDestinationIPAddr(1, 16, text); }},
    {"IPMISetAlertDestinationIPAddr", [] { return IPMISetAlertDestinationIPAddr(1, text); }},
    {"IPMIGetPETCommunityName", [] { return IPMIGetPETCommunityName(0, 19, reinterpret_cast<uint8_t*>(text)); }},
    {"IPMISetPETCommunityName", [] { return IPMISetPETCommunityName(0, text); }},
    {"IPMIGetAlertEnable", [] { return IPMIGetAlertEnable(&a); }},
    {"IPMISetAlertEnable", [] { return IPMISetAlertEnable(a); }},
    {"IPMIImmediateAlert", [] { return IPMIImmediateAlert(0, 1, 0, 0, 1, &number); }},
    {"IPMIGetChassisStatus", [] { return IPMIGetChassisStatus(&a); }},
    {"IPMIChassisControl", [] { return IPMIChassisControl(IPMI_CHASSIS_HARD_RESET); }},
    {"IPMIGetSecurityKey", [] { return IPMIGetSecurityKey(IPMI_KEY_KR, &key, &number); }},
    {"IPMISetSecurityKey", [] { return IPMISetSecurityKey(IPMI_KEY_KR, &key, &number); }},
    {"IPMILockSecurityKey", [] { return IPMILockSecurityKey(IPMI_KEY_KR, &number); }},
    {"IPMIGetPayloadSupport", [] { return IPMIGetPayloadSupport(bytes); }},
    {"IPMIGetPayloadAccess", [] { return IPMIGetPayloadAccess(kUser, &number); }},
    {"IPMISetPayloadAccess", [] { return IPMISetPayloadAccess(kUser, IPMI_PAYLOAD_ACCESS_ENABLE, &number); }},
    {"IPMIGetNumberOfSDREntries", [] { return IPMIGetNumberOfSDREntries(&word); }},
    {"IPMIGetSDR", [] { return IPMIGetSDR(0, &number, bytes, &number); }},
    {"IPMIGetSensorReading", [] { return IPMIGetSensorReading(kSensor, &number); }},
    {"IPMIGetSensorReadingFactors", [] { return IPMIGetSensorReadingFactors(kNonLinearSensor, 0x40, &factors); }},
    {"IPMIGetSensorThreshold", [] { return IPMIGetSensorThreshold(kSensor, &thresholds); }},
    {"IPMISetSensorThreshold", [] { return IPMISetSensorThreshold(kSensor, &thresholds); }},
    {"IPMIGetSensorHysteresis", [] { return IPMIGetSensorHysteresis(kSensor, &a, &b); }},
    {"IPMIGetSensorType", [] { return IPMIGetSensorType(kSensor, &a, &b); }},
    {"IPMIGetSensorEventEnable", [] { return IPMIGetSensorEventEnable(kSensor, &events); }},
    {"IPMISetSensorEventEnable", [] { return events.flags |= 0x10, IPMISetSensorEventEnable(kSensor, &events); }},
    {"IPMISetSensorReading", set_reading},
    {"IPMIGetNumberOfSelEntries", [] { return IPMIGetNumberOfSelEntries(&word); }},
    {"IPMIGetSel", [] { return IPMIGetSel(0, bytes, &word); }},
    {"IPMIGetSelTime", [] { return IPMIGetSelTime(reinterpret_cast<uint64_t*>(bytes)); }},
    {"IPMIClearSel", IPMIClearSel},
    {"IPMIGetSerialConnectionMode", [] { return IPMIGetSerialConnectionMode(&modes); }},
    {"IPMISetSerialConnectionMode", [] { return IPMISetSerialConnectionMode(&modes); }},
    {"IPMIGetSerialConfiguration", [] { return IPMIGetSerialConfiguration(&serial); }},
    {"IPMISetSerialConfiguration", [] { return IPMISetSerialConfiguration(&serial); }},
    {"IPMIGetSerialChannelAccess", [] { return IPMIGetSerialChannelAccess(&a, &b); }},
    {"IPMISetSerialChannelAccess", [] { return IPMISetSerialChannelAccess(a, b); }},
    {"IPMIGetSerialMuxSetting", [] { return IPMIGetSerialMuxSetting(&a); }},
    {"IPMISetSerialMuxSetting", [] { return IPMISetSerialMuxSetting(a); }},
    {"IPMIGetSessionInfo", [] { return IPMIGetSessionInfo(&a, &b); }},
    {"IPMIGetEnableSOL", [] { return IPMIGetEnableSOL(&a); }},
    {"IPMISetEnableSOL", [] { return IPMISetEnableSOL(a); }},
    {"IPMIGetSOLConfiguration", [] { return IPMIGetSOLConfiguration(&sol); }},
    {"IPMISetSOLConfiguration", [] { return IPMISetSOLConfiguration(&sol); }},
    {"IPMIGetSOLOperatingPrivilege", [] { return IPMIGetSOLOperatingPrivilege(&a); }},
    {"IPMISetSOLOperatingPrivilege", [] { return IPMISetSOLOperatingPrivilege(a); }},
    {"IPMIGetUserEnable", [] { return IPMIGetUserEnable(2, &a); }},
    {"IPMISetUserEnable", [] { return IPMISetUserEnable(kUser, 0); }},
    {"IPMIGetUserAccess", [] { return IPMIGetUserAccess(kUser, IPMI_CHANNEL_KIND_LAN, &a, &b); }},
    {"IPMISetUserAccess", [] { return IPMISetUserAccess(kUser, IPMI_CHANNEL_KIND_LAN, a, b); }},
    {"IPMIGetUserName", [] { return IPMIGetUserName(kUser, 17, text); }},
    {"IPMISetUserName", [] { return IPMISetUserName(kUser, text); }},
    {"IPMISetUserPassword", [] { return IPMISetUserPassword(kUser, "guest-pw"); }},
    {"IPMIAuthenticateUser", authenticate},
    {"IPMIGetWatchdogTimer", [] { return IPMIGetWatchdogTimer(&watchdog); }},
    {"IPMISetWatchdogTimer", [] { return IPMISetWatchdogTimer(&watchdog, 1); }},
    {"IPMIResetWatchdogTimer", IPMIResetWatchdogTimer},
    {"ipmi_get_kest_fru_info", fru_records},
};

}  // namespace

int main() {
  int failures = 0;
  for (const Call& call : kCalls) {
    const uint32_t status = call.run();
    if (status == 0) continue;
    std::printf("%s: 0x%08X\n", call.name, static_cast<unsigned>(status));
    ++failures;
  }
  std::printf("%zu calls, %d failures\n", sizeof kCalls / sizeof *kCalls, failures);
  return failures == 0 ? 0 : 1;
}
