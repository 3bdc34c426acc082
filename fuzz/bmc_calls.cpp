#include "bmc_calls.hpp"

#include <cstring>

#include "lumipmi/broker.h"
#include "lumipmi/lumipmi.h"
#include "support/fru_builder.hpp"
#include "support/guarded_bytes.hpp"
#include "support/management_calls.hpp"

namespace lumi::fuzz {

namespace {

using test::GuardedBytes;
using U8 = uint8_t;
using U16 = uint16_t;
using U32 = uint32_t;

constexpr uint8_t kFill = 0xA5;  // of guarded records
// Keeps the "not enabled" of the first channel when the second one cannot tell.
constexpr char kAsksTwice[] = "IPMIGetUserEnable";

std::vector<BmcCall> management() {
  std::vector<BmcCall> calls;
  for (const ManagementCall& call : management_calls()) {
    calls.push_back({call.name, [&call](Input&) {
                       Bytes out;
                       const uint32_t status = call.run(out);
                       const bool whole = call.all_or_nothing && std::strcmp(call.name, kAsksTwice) != 0;
                       if (status != 0 && whole) require(out == Bytes(out.size(), kFill));
                     }});
  }
  return calls;
}

// --- whole records

void fru_info(Input& arguments) {
  Guarded<IpmiFruInfo> info;
  (void)ipmi_get_fru_info(TestHandle(), arguments.u8(), &info);
  test::release_fru(*info);
}

void maker_fru_info(Input& arguments) {
  Guarded<IpmiKestFruInfo> info;
  (void)ipmi_get_kest_fru_info(TestHandle(), arguments.u8(), &info->fru);
  test::release_fru(info->fru);
}

void fru_image(Input& arguments) {
  uint16_t length = arguments.le16() % 4096;
  const uint16_t room = length;
  GuardedBytes buffer(room);
  if (ipmi_storage_read_ipmi_fru_data(TestHandle(), 0, &length, buffer.data()) == 0) require(length <= room);
}

void sdr_record(Input& arguments) {
  uint16_t size = arguments.le16() % 300;
  Guarded<uint16_t> reservation, next;
  GuardedBytes record(size);
  (void)ipmi_get_sdr_record(TestHandle(), &reservation, 0, &next, &size, record.data());
}

void sdr_without_handle(Input& arguments) {
  struct Record {
    uint8_t bytes[64];
  };
  Guarded<uint32_t> length, next;
  Guarded<Record> record;
  const int32_t id = arguments.le16();
  if (IPMIGetSDR(id, &length, record->bytes, &next) != IPMI_SDR_READ)
    require(length.untouched() && next.untouched() && record.untouched());
}

void raw_sel_entries(Input& arguments) {
  uint16_t count = arguments.u8() % 8;
  const uint16_t slots = count;
  uint16_t next = 0;
  GuardedBytes buffer(slots * 16u);
  if (ipmi_storage_get_raw_sel_entries(TestHandle(), 0, &count, buffer.data(), &next) == 0) require(count <= slots);
}

void sel_entry(Input&) {
  Guarded<uint16_t> next;
  Guarded<IpmiSelEntry> entry;
  if (ipmi_storage_get_sel_entry(TestHandle(), 0, &next, &entry) != 0) require(next.untouched() && entry.untouched());
}

void raw_command(Input& arguments) {
  GuardedBytes data(arguments.take(arguments.u8()));
  const uint8_t room = arguments.u8();
  GuardedBytes answer(room);
  const IpmiRawCommand command = {0x20, 0, 0x06, 0x01, static_cast<uint8_t>(data.size()), data.data()};
  IpmiRawResponse response = {0, room, answer.data()};
  if (IPMISendRawIPMICommand(&command, &response) == 0) require(response.dataLength <= room);
}

const std::vector<BmcCall> kRecords = {
    {"ipmi_get_fru_info", fru_info},
    {"ipmi_get_kest_fru_info", maker_fru_info},
    {"ipmi_storage_read_ipmi_fru_data", fru_image},
    {"FRU device: ipmi_get_fru_info", fru_info, true},
    {"FRU device: ipmi_get_kest_fru_info", maker_fru_info, true},
    {"FRU device: ipmi_storage_read_ipmi_fru_data", fru_image, true},
    {"ipmi_get_sdr_record", sdr_record},
    {"IPMIGetSDR", sdr_without_handle},
    {"ipmi_storage_get_raw_sel_entries", raw_sel_entries},
    {"ipmi_storage_get_sel_entry", sel_entry},
    {"IPMISendRawIPMICommand", raw_command},
};

// --- the hardware layer

/// Request data as long as the input says and an area as large as it says.
template <typename Length>
std::function<void(Input&)> transfer(uint32_t (*call)(const uint8_t*, Length, void*, uint32_t*)) {
  return [call](Input& arguments) {
    const uint8_t count = arguments.u8() % 20;
    Bytes bytes = arguments.take(count);
    bytes.resize(std::max<size_t>(count, 1));  // some take the first byte whatever the length
    GuardedBytes data(bytes);
    uint32_t length = arguments.u8() % 40;
    GuardedBytes area(length, kFill);
    const std::string before = area.content();
    if (call(data.data(), static_cast<Length>(count), area.data(), &length) != 0) require(area.content() == before);
  };
}

std::function<void(Input&)> transfer(uint32_t (*call)(void*, uint32_t*), uint32_t least = 0) {
  return [call, least](Input& arguments) {
    uint32_t length = arguments.u8() % 40;
    GuardedBytes area(std::max(length, least), kFill);
    const std::string before = area.content();
    if (call(area.data(), &length) != 0) require(area.content() == before);
  };
}

template <size_t N>
std::function<void(Input&)> fixed(uint32_t (*call)(uint8_t*)) {
  return [call](Input&) { (void)call(GuardedBytes(N).data()); };
}

template <typename A>
std::function<void(Input&)> out(uint32_t (*call)(A*)) {
  return [call](Input&) {
    Guarded<A> a;
    (void)call(&a);
  };
}

std::function<void(Input&)> set(uint32_t (*call)(uint8_t)) {
  return [call](Input& arguments) { (void)call(arguments.u8()); };
}

void hardware_text(uint32_t (*call)(IpmiHwText*)) {
  Guarded<IpmiHwText> text;
  if (call(&text) == 0) require(std::memchr(text->text, 0, sizeof text->text) != nullptr);
}

void frame(Input& arguments) {
  Bytes bytes = arguments.take(sizeof(IpmiHighwayFrame));
  bytes.resize(sizeof(IpmiHighwayFrame));
  GuardedBytes request(bytes);
  uint32_t length = arguments.u8() % 40;
  GuardedBytes area(length);
  (void)ipmi_send_highway_request(request.data(), area.data(), &length);
}

void broker(Input& arguments) {
  GuardedBytes request(arguments.take(arguments.u8() % 40));
  GuardedBytes area(arguments.u8());
  auto length = static_cast<uint32_t>(request.size());
  if (tov_function_execute_DDS(LUMIPMI_HIGHWAY_FUNCTION, &length, request.data(), arguments.u8(), area.data(),
                               static_cast<uint32_t>(area.size())) != 0)
    require(length == 0);
  require(length <= area.size());
}

std::vector<BmcCall> hardware() {
  return {
      {"ipmi_send_highway_request", frame},
      {"tov_function_execute_DDS", broker},
      {"get_sys_info", transfer(get_sys_info)},
      {"set_sys_info", transfer(set_sys_info)},
      {"get_boot_options", transfer(get_boot_options)},
      {"set_boot_options",
       [](Input& arguments) {
         GuardedBytes data(arguments.take(arguments.u8() % 20));
         (void)set_boot_options(data.data(), static_cast<uint32_t>(data.size()));
       }},
      {"get_community_string", transfer(get_community_string)},
      {"get_serial_modem_conf", transfer(get_serial_modem_conf)},
      {"get_sol_config", transfer(get_sol_config)},
      {"get_chassis_status", transfer(get_chassis_status)},
      {"get_sel_reservation_id", transfer(get_sel_reservation_id)},
      {"get_sdr_reservation_id", transfer(get_sdr_reservation_id)},
      {"set_chassis_control", transfer(set_chassis_control)},
      {"get_channel_access",
       [](Input& arguments) {
         Guarded<U8> access, privilege;
         if (get_channel_access(arguments.u8(), &access, &privilege) != 0)
           require(access.untouched() && privilege.untouched());
       }},
      {"set_channel_access",
       [](Input& arguments) {
         const uint8_t flags = arguments.u8();
         (void)set_channel_access(flags & 1, flags & 2);
       }},
      {"IPMISetSerialModemConf_HW", transfer(IPMISetSerialModemConf_HW)},
      {"IPMISetIMCStatusRegister_HW", transfer(IPMISetIMCStatusRegister_HW)},
      {"IPMISELSetSELTime_HW", transfer(IPMISELSetSELTime_HW)},
      {"IPMISELGetSELEntry_HW", transfer(IPMISELGetSELEntry_HW)},
      {"IPMISELAddEntry_HW", transfer(IPMISELAddEntry_HW)},
      {"IPMISDRGetSDR_HW", transfer(IPMISDRGetSDR_HW)},
      {"IPMIFRUGetData_HW", transfer(IPMIFRUGetData_HW)},
      {"IPMIGetSensorReading_HW", transfer(IPMIGetSensorReading_HW)},
      {"IPMISELClear_HW", transfer(IPMISELClear_HW)},
      {"IPMISELGetSELInfo_HW", transfer(IPMISELGetSELInfo_HW)},
      {"IPMISELGetSELTime_HW", transfer(IPMISELGetSELTime_HW)},
      {"IPMISELGetReservationID_HW", transfer(IPMISELGetReservationID_HW)},
      {"IPMISDRGetReservationID_HW", transfer(IPMISDRGetReservationID_HW)},
      {"IPMIGetChassisStatus_HW", transfer(IPMIGetChassisStatus_HW, 4)},
      {"IPMIGetIPMIOverLANAccess_HW",
       [](Input&) {
         Guarded<U8> enabled, privilege;
         if (IPMIGetIPMIOverLANAccess_HW(&enabled, &privilege) != 0)
           require(enabled.untouched() && privilege.untouched());
       }},
      {"IPMISetIPMIOverLANAccess_HW", set(IPMISetIPMIOverLANAccess_HW)},
      {"IPMIGetLocalServerVideo_HW", out<U8>(IPMIGetLocalServerVideo_HW)},
      {"IPMISetLocalServerVideo_HW", set(IPMISetLocalServerVideo_HW)},
      {"IPMIGetNicCapabilities", out<U8>(IPMIGetNicCapabilities)},
      {"IPMIGetOEMUnitTag_HW", [](Input&) { hardware_text(IPMIGetOEMUnitTag_HW); }},
      {"IPMIGetOEMHostName_HW", [](Input&) { hardware_text(IPMIGetOEMHostName_HW); }},
      {"IPMIGetServerPower_HW", fixed<28>(IPMIGetServerPower_HW)},
      {"IPMISetServerPower_HW",
       [](Input& arguments) {
         const uint16_t value = arguments.le16();
         (void)IPMISetServerPower_HW(value, arguments.le16());
       }},
      {"IPMIGetPowerState_HW",
       [](Input&) {
         Guarded<U32> count;
         Guarded<U8> on;
         (void)IPMIGetPowerState_HW(&count, nullptr, nullptr, &on);
       }},
      {"IPMISetPowerState_HW",
       [](Input& arguments) {
         uint32_t count = 1;
         const uint8_t control = arguments.u8();
         Guarded<U8> result;
         (void)IPMISetPowerState_HW(&count, nullptr, &control, &result);
       }},
      {"IPMIGetCommunityString_HW", fixed<20>(IPMIGetCommunityString_HW)},
      {"IPMIGetSerialModemConf_HW", fixed<5>(IPMIGetSerialModemConf_HW)},
      {"IPMIGetSOLConfig_HW", out<IpmiHwSolConfig>(IPMIGetSOLConfig_HW)},
      {"IPMIGetBootOptions_HW",
       [](Input& arguments) { (void)IPMIGetBootOptions_HW(arguments.u8(), GuardedBytes(10).data()); }},
      {"IPMISetBootOptions_HW",
       [](Input& arguments) {
         const auto parameter = static_cast<int8_t>(arguments.u8());
         const uint8_t flags = arguments.u8();
         (void)IPMISetBootOptions_HW(parameter, flags, arguments.u8());
       }},
      {"IPMIBootFlagEnable_HW", [](Input& arguments) { (void)IPMIBootFlagEnable_HW(arguments.u8() & 1); }},
      {"IPMIGetBootDevice_HW", out<U8>(IPMIGetBootDevice_HW)},
      {"IPMISetBootDevice_HW", set(IPMISetBootDevice_HW)},
      {"IPMIGetBootOnceEnable_HW", out<U8>(IPMIGetBootOnceEnable_HW)},
      {"IPMISetBootOnceEnable_HW", set(IPMISetBootOnceEnable_HW)},
  };
}

}  // namespace

const std::vector<BmcCall>& bmc_calls() {
  static const std::vector<BmcCall> calls = [] {
    std::vector<BmcCall> all;
    for (const auto& family : {management(), kRecords, hardware()}) all.insert(all.end(), family.begin(), family.end());
    return all;
  }();
  return calls;
}

}  // namespace lumi::fuzz
