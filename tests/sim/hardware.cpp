// Every function of the hardware layer once, through our broker, on the BMC that LUMIPMI_DRIVER names; each result is
// compared with what the other layers say. Prints what fails. The broker is compiled in, with broker_table.inc.
#include <array>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

#include "lumipmi/broker.h"
#include "lumipmi/lumipmi.h"

namespace {

int g_checks = 0;
int g_failures = 0;

void check(bool right, const char* what, uint32_t result = 0) {
  ++g_checks;
  if (right) return;
  std::printf("%s (result 0x%X)\n", what, static_cast<unsigned>(result));
  ++g_failures;
}

void succeeds(uint32_t result, const char* what) {
  check(result == 0, what, result);
}

/// A function with request data: its response is what the command answers over a connection, byte for byte.
void agrees(const char* what, uint32_t (*call)(const uint8_t*, int32_t, void*, uint32_t*), uint8_t net_fn, uint8_t cmd,
            const std::string& data, bool same = true) {
  uint8_t mine[36] = {}, theirs[255] = {};
  uint32_t length = sizeof mine;
  succeeds(call(reinterpret_cast<const uint8_t*>(data.data()), static_cast<int32_t>(data.size()), mine, &length), what);
  IpmiRawCommand command = {
      0x20, 0, net_fn, cmd, static_cast<uint8_t>(data.size()), reinterpret_cast<const uint8_t*>(data.data())};
  IpmiRawResponse answer = {0, 255, theirs};
  if (!same) return;
  check(IPMISendRawIPMICommand(&command, &answer) == 0 && answer.dataLength == length &&
            std::memcmp(mine, theirs, length) == 0,
        what);
}

void agrees(const char* what, uint32_t (*call)(void*, uint32_t*), uint8_t net_fn, uint8_t cmd, uint32_t size,
            bool same = true) {
  uint8_t mine[36] = {}, theirs[255] = {};
  uint32_t length = sizeof mine;
  succeeds(call(mine, &length), what);
  check(length == size, what, length);
  IpmiRawCommand command = {0x20, 0, net_fn, cmd, 0, nullptr};
  IpmiRawResponse answer = {0, 255, theirs};
  if (same) check(IPMISendRawIPMICommand(&command, &answer) == 0 && std::memcmp(mine, theirs, size) == 0, what);
}

std::string bytes(std::initializer_list<int> values) {
  std::string data;
  for (const int value : values) data += static_cast<char>(value);
  return data;
}

void access_and_settings() {
  uint8_t enabled = 9, privilege = 9, mine = 9, limit = 9;
  succeeds(IPMIGetIPMIOverLANAccess_HW(&mine, &limit), "IPMIGetIPMIOverLANAccess_HW");
  succeeds(IPMIGetIPMIOverLANAccess(&enabled, &privilege), "IPMIGetIPMIOverLANAccess");
  check(mine == enabled && limit == privilege, "LAN access differs");
  succeeds(IPMISetIPMIOverLANAccess_HW(1), "IPMISetIPMIOverLANAccess_HW");
  for (const uint8_t on : std::array<uint8_t, 2>{0, 1}) {
    succeeds(IPMISetLocalServerVideo_HW(on), "IPMISetLocalServerVideo_HW");
    succeeds(IPMIGetLocalServerVideo_HW(&mine), "IPMIGetLocalServerVideo_HW");
    check(mine == on, "local video differs");
  }
  succeeds(IPMIGetNicCapabilities(&mine), "IPMIGetNicCapabilities");
  check(mine == 2, "network ports");

  IpmiHwText text = {};
  char name[256] = {};
  succeeds(IPMIGetOEMHostName_HW(&text), "IPMIGetOEMHostName_HW");
  succeeds(IPMIGetHostSystemName(name, sizeof name), "IPMIGetHostSystemName");
  check(std::strcmp(text.text, name) == 0 && text.length == std::strlen(name), "host name differs");
  IPMIServiceInfo service = {name, 255};
  succeeds(IPMIGetOEMUnitTag_HW(&text), "IPMIGetOEMUnitTag_HW");
  succeeds(IPMIGetServiceInfo(&service), "IPMIGetServiceInfo");
  check(text.length == std::strlen(name) && std::strncmp(text.text, name, text.length - 1u) == 0 &&
            std::strlen(text.text) == text.length - 1u,
        "unit tag differs");
  uint8_t community[20], other[20];
  succeeds(IPMIGetCommunityString_HW(community), "IPMIGetCommunityString_HW");
  succeeds(IPMIGetPETCommunityName(0, sizeof other, other), "IPMIGetPETCommunityName");
  check(std::strncmp(reinterpret_cast<char*>(community), reinterpret_cast<char*>(other), 17) == 0, "community differs");

  IpmiHwSolConfig sol = {};
  IPMISolConfig sol_other = {};
  succeeds(IPMIGetSOLConfig_HW(&sol), "IPMIGetSOLConfig_HW");
  succeeds(IPMIGetSOLConfiguration(&sol_other), "IPMIGetSOLConfiguration");
  succeeds(IPMIGetSOLOperatingPrivilege(&privilege), "IPMIGetSOLOperatingPrivilege");
  succeeds(IPMIGetEnableSOL(&enabled), "IPMIGetEnableSOL");
  check(sol.bitRate == sol_other.solBitRate && sol.privilege == privilege && sol.enabled == enabled, "SOL differs");
  uint8_t serial[5] = {};
  succeeds(IPMIGetSerialModemConf_HW(serial), "IPMIGetSerialModemConf_HW");
  IPMISerialConfig config = {};
  succeeds(IPMIGetSerialConfiguration(&config), "IPMIGetSerialConfiguration");
  check((serial[2] & 0x0F) == config.portAssociation, "port association differs");
}

void power() {
  uint32_t count = 0;
  uint8_t on = 9, state = 9, out = 9, record[28];
  const uint8_t down = IPMI_CHASSIS_POWER_DOWN, up = IPMI_CHASSIS_POWER_UP;
  for (const uint8_t* control : {&down, &up}) {
    count = 1;
    succeeds(IPMISetPowerState_HW(&count, nullptr, control, &out), "IPMISetPowerState_HW");
    check(count == 0 && out == 0, "power control");
    succeeds(IPMIGetPowerState_HW(&count, nullptr, nullptr, &on), "IPMIGetPowerState_HW");
    succeeds(IPMIGetChassisStatus(&state), "IPMIGetChassisStatus");
    check(on == (state & 1) && on == (control == &up) && count == 4, "power state differs");
  }
  succeeds(IPMIGetServerPower_HW(record), "IPMIGetServerPower_HW");
  check((record[0] & 1) == on, "server power differs");
  succeeds(IPMISetServerPower_HW(0x1234, 0), "IPMISetServerPower_HW");
  agrees("IPMIGetChassisStatus_HW", IPMIGetChassisStatus_HW, 0x00, 0x01, 4);
}

/// The boot flags as the command layer has them.
IpmiBootFlags flags() {
  const IpmiConnectParams params = {1, -1, -1, 0};
  IpmiBootFlags result = {};
  IpmiHandle* handle = nullptr;
  if (ipmi_connect(&params, &handle) != 0) return result;
  succeeds(ipmi_get_boot_flags(handle, &result), "ipmi_get_boot_flags");
  ipmi_disconnect(handle);
  return result;
}

void boot() {
  uint8_t device = 0xA5, once = 9, option[10] = {};
  for (const uint8_t code : std::array<uint8_t, 6>{1, 2, 5, 18, 16, 22}) {
    succeeds(IPMISetBootDevice_HW(code), "IPMISetBootDevice_HW");
    device = 0xA5;
    succeeds(IPMIGetBootDevice_HW(&device), "IPMIGetBootDevice_HW");
    check(device == (code >= 16 && code <= 20 ? code : 0xA5), "boot device code");
    succeeds(IPMIGetBootOptions_HW(5, option), "IPMIGetBootOptions_HW");
    check(flags().boot_device == (option[3] >> 2 & 0x0Fu), "boot device differs");
  }
  for (const uint8_t wanted : std::array<uint8_t, 2>{0, 1}) {
    succeeds(IPMISetBootOnceEnable_HW(wanted), "IPMISetBootOnceEnable_HW");
    succeeds(IPMIGetBootOnceEnable_HW(&once), "IPMIGetBootOnceEnable_HW");
    const IpmiBootFlags now = flags();
    check(once == wanted && now.valid == 1 && now.persistent == !wanted, "boot once differs");
  }
  succeeds(IPMIBootFlagEnable_HW(1), "IPMIBootFlagEnable_HW");
  succeeds(IPMISetBootOptions_HW(5, 0x80, 2), "IPMISetBootOptions_HW");
}

void logs_and_sensors() {
  agrees("IPMISELGetSELInfo_HW", IPMISELGetSELInfo_HW, 0x0A, 0x40, 14);
  agrees("IPMISELGetSELEntry_HW", IPMISELGetSELEntry_HW, 0x0A, 0x43, bytes({0, 0, 0, 0, 0, 0xFF}));
  agrees("IPMIFRUGetData_HW", IPMIFRUGetData_HW, 0x0A, 0x11, bytes({0, 8, 0, 16}));
  agrees("IPMIGetSensorReading_HW", IPMIGetSensorReading_HW, 0x04, 0x2D, bytes({1}));
  agrees("IPMISDRGetSDR_HW", IPMISDRGetSDR_HW, 0x0A, 0x23, bytes({0, 0, 0, 0, 0, 16}));
  agrees("IPMISDRGetReservationID_HW", IPMISDRGetReservationID_HW, 0x0A, 0x22, 2, false);
  agrees("IPMISELGetReservationID_HW", IPMISELGetReservationID_HW, 0x0A, 0x42, 2, false);
  agrees("IPMISELSetSELTime_HW", IPMISELSetSELTime_HW, 0x0A, 0x49, bytes({0, 0, 0, 0x60}), false);
  uint8_t time[4] = {};
  uint32_t length = sizeof time;
  uint64_t other = 0;
  succeeds(IPMISELGetSELTime_HW(time, &length), "IPMISELGetSELTime_HW");
  succeeds(IPMIGetSelTime(&other), "IPMIGetSelTime");
  check(time[3] == 0x60 && other >> 24 == 0x60, "time of the log differs");
  uint16_t before = 0, after = 0;
  succeeds(IPMIGetNumberOfSelEntries(&before), "IPMIGetNumberOfSelEntries");
  agrees("IPMISELAddEntry_HW", IPMISELAddEntry_HW, 0x0A, 0x44,
         bytes({0, 0, 2, 0, 0, 0, 0, 0x20, 0, 4, 1, 1, 1, 0x57, 0, 0}), false);
  succeeds(IPMIGetNumberOfSelEntries(&after), "IPMIGetNumberOfSelEntries");
  check(after == before + 1, "the event was not added");
  const uint8_t erase = 0xAA, ask = 0x00;
  uint8_t progress = 9;
  for (const uint8_t* action : {&erase, &ask}) {
    length = 1;
    const uint32_t result = IPMISELClear_HW(action, 1, &progress, &length);
    check(result == 0 && length == 1, "IPMISELClear_HW", result);
  }
  succeeds(IPMIGetNumberOfSelEntries(&after), "IPMIGetNumberOfSelEntries");
  check(after == 0, "the log was not cleared");
}

void others() {
  agrees("IPMISetIMCStatusRegister_HW", IPMISetIMCStatusRegister_HW, 0x30, 0x20, bytes({1, 2}));
  agrees("IPMISetSerialModemConf_HW", IPMISetSerialModemConf_HW, 0x0C, 0x10, bytes({2, 3, 0x87}), false);
  uint8_t out[36];
  uint32_t length = sizeof out;
  const uint8_t whole[] = {0, 0, 0, 64};  // more than the broker's room: refused by the BMC or by the broker
  check(IPMIFRUGetData_HW(whole, sizeof whole, out, &length) >= LUMIPMI_BROKER_BAD_ARGUMENT, "an answer too long");
}

}  // namespace

int main() {
  access_and_settings();
  power();
  boot();
  logs_and_sensors();
  others();
  std::printf("%d checks, %d failures\n", g_checks, g_failures);
  return g_failures == 0 ? 0 : 1;
}
