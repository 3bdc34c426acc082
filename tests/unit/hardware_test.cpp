// The hardware layer with a scripted broker: every frame byte for byte, and what is made of the answers.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "lumipmi/broker.h"
#include "lumipmi/lumipmi.h"
#include "support/guarded_bytes.hpp"
#include "support/scripted_driver.hpp"

namespace {

/// A frame that must come, and the broker's answer.
struct Turn {
  uint32_t function;
  uint32_t operation;
  Bytes data = {};
  uint32_t area = 0;  // the length that the broker is told of
  Bytes response = {};
  uint32_t result = 0;
  int data_length = -1;  // -1: as many as data
  int count = -1;        // that the broker tells; -1: as many as response
};

std::vector<Turn> g_script;
size_t g_turn = 0;

/// Fails the test when turns are left over.
class Broker {
 public:
  explicit Broker(std::vector<Turn> script) {
    g_script = std::move(script);
    g_turn = 0;
  }
  ~Broker() { EXPECT_EQ(g_turn, g_script.size()) << "frames that did not come"; }
  Broker(const Broker&) = delete;
  Broker& operator=(const Broker&) = delete;
};

Bytes le32(uint32_t value) {
  return {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value >> 16),
          static_cast<uint8_t>(value >> 24)};
}

Bytes frame_of(const Turn& turn) {
  Bytes frame = le32(turn.function);
  const auto add = [&frame](const Bytes& bytes) { frame.insert(frame.end(), bytes.begin(), bytes.end()); };
  add(le32(turn.operation));
  add(Bytes(8));
  Bytes data = turn.data;
  data.resize(16);
  add(data);
  add(le32(turn.data_length < 0 ? static_cast<uint32_t>(turn.data.size()) : static_cast<uint32_t>(turn.data_length)));
  return frame;
}

}  // namespace

extern "C" uint32_t tov_function_execute_DDS(const char* functionName, uint32_t* length, const void* frame,
                                             uint32_t callerLength, void* response, uint32_t responseSize) {
  EXPECT_STREQ(functionName, "ipmi_function_highway2OemCmds");
  EXPECT_EQ(*length, 36u);
  EXPECT_EQ(responseSize, 36u);
  if (g_turn >= g_script.size()) {
    ADD_FAILURE() << "a frame too many: " << hex(static_cast<const uint8_t*>(frame), 36);
    return 99;
  }
  const Turn& turn = g_script[g_turn++];
  EXPECT_EQ(hex(static_cast<const uint8_t*>(frame), 36), hex(frame_of(turn))) << "frame " << g_turn;
  EXPECT_EQ(callerLength, turn.area) << "frame " << g_turn;
  if (!turn.response.empty()) std::memcpy(response, turn.response.data(), turn.response.size());
  *length = turn.count < 0 ? static_cast<uint32_t>(turn.response.size()) : static_cast<uint32_t>(turn.count);
  return turn.result;
}

namespace {

constexpr uint32_t kInvalid = 4;

using Transfer = uint32_t (*)(const uint8_t*, int32_t, void*, uint32_t*);
using Query = uint32_t (*)(void*, uint32_t*);

uint32_t sys_info(const uint8_t* data, int32_t size, void* out, uint32_t* length) {
  return get_sys_info(data, static_cast<uint32_t>(size), out, length);
}
uint32_t sys_info_set(const uint8_t* data, int32_t size, void* out, uint32_t* length) {
  return set_sys_info(data, static_cast<uint32_t>(size), out, length);
}
uint32_t boot(const uint8_t* data, int32_t size, void* out, uint32_t* length) {
  return get_boot_options(data, static_cast<uint32_t>(size), out, length);
}

TEST(Hardware, RequestsOfTheCallers) {
  const struct {
    Transfer call;
    uint32_t function, operation;
  } rows[] = {{sys_info, 2, 0},
              {sys_info_set, 2, 1},
              {boot, 3, 0},
              {get_community_string, 5, 0},
              {get_serial_modem_conf, 7, 0},
              {get_sol_config, 8, 0},
              {IPMISetSerialModemConf_HW, 7, 1},
              {IPMISetIMCStatusRegister_HW, 9, 1},
              {IPMISELSetSELTime_HW, 11, 1},
              {IPMISELGetSELEntry_HW, 12, 0},
              {IPMISELAddEntry_HW, 12, 1},
              {IPMISDRGetSDR_HW, 16, 0},
              {IPMIFRUGetData_HW, 17, 0},
              {IPMIGetSensorReading_HW, 18, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.function) + "/" + std::to_string(row.operation));
    const Bytes data = counting(16);
    for (const size_t size : {size_t{16}, size_t{3}, size_t{0}}) {
      Broker broker({{row.function,
                      row.operation,
                      Bytes(data.begin(), data.begin() + static_cast<ptrdiff_t>(size)),
                      7,
                      {9, 8, 7}}});
      lumi::test::GuardedBytes out(7, 0xA5);
      uint32_t length = 7;
      EXPECT_EQ(row.call(data.data(), static_cast<int32_t>(size), out.data(), &length), 0u);
      EXPECT_EQ(length, 3u);
      EXPECT_EQ(hex(out.data(), 7), "09 08 07 a5 a5 a5 a5");
    }
    {  // more than the area holds; then a failure
      Broker broker(
          {{row.function, row.operation, {1}, 2, counting(36)}, {row.function, row.operation, {1}, 2, {9, 9}, 77}});
      lumi::test::GuardedBytes out(2, 0xA5);
      uint32_t length = 2;
      EXPECT_EQ(row.call(data.data(), 1, out.data(), &length), 0u);
      EXPECT_EQ(length, 36u);
      EXPECT_EQ(hex(out.data(), 2), "01 02");
      out.data()[0] = 0x55;
      length = 2;
      EXPECT_EQ(row.call(data.data(), 1, out.data(), &length), 77u);
      EXPECT_EQ(length, 2u);
      EXPECT_EQ(hex(out.data(), 2), "55 02");
    }
    Broker silent({});
    uint8_t out;
    uint32_t length = 1;
    for (const int32_t size : {17, -1}) EXPECT_EQ(row.call(data.data(), size, &out, &length), kInvalid);
    EXPECT_EQ(row.call(nullptr, 1, &out, &length), kInvalid);
    EXPECT_EQ(row.call(data.data(), 1, nullptr, &length), kInvalid);
    EXPECT_EQ(row.call(data.data(), 1, &out, nullptr), kInvalid);
  }
}

TEST(Hardware, RequestsWithoutData) {
  const struct {
    Query call;
    uint32_t function;
  } rows[] = {{get_chassis_status, 6},         {get_sel_reservation_id, 13}, {get_sdr_reservation_id, 15},
              {IPMISELGetSELInfo_HW, 10},      {IPMISELGetSELTime_HW, 11},   {IPMISELGetReservationID_HW, 13},
              {IPMISDRGetReservationID_HW, 15}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.function);
    Broker broker({{row.function, 0, {}, 5, {1, 2}}, {row.function, 0, {}, 5, {}, 3}});
    uint8_t out[5] = {};
    uint32_t length = 5;
    EXPECT_EQ(row.call(out, &length), 0u);
    EXPECT_EQ(length, 2u);
    EXPECT_EQ(out[1], 2);
    length = 5;
    EXPECT_EQ(row.call(out, &length), 3u);
    EXPECT_EQ(row.call(nullptr, &length), kInvalid);
    EXPECT_EQ(row.call(out, nullptr), kInvalid);
  }
  Broker broker({{6, 0, {}, 4, counting(6)}, {6, 0, {}, 4, {}, 77}});
  lumi::test::GuardedBytes status(4);
  uint32_t length = 100;  // the area holds 4
  EXPECT_EQ(IPMIGetChassisStatus_HW(status.data(), &length), 0u);
  EXPECT_EQ(length, 6u);
  EXPECT_EQ(IPMIGetChassisStatus_HW(status.data(), &length), 1u);
  EXPECT_EQ(IPMIGetChassisStatus_HW(nullptr, &length), kInvalid);
}

TEST(Hardware, Frames) {
  const Turn turn = {3, 1, {1, 2}, 4, {5}};
  Broker broker({turn, {3, 1, {7}, 1, {}}});
  uint8_t out[4] = {};
  uint32_t length = 4;
  EXPECT_EQ(ipmi_send_highway_request(frame_of(turn).data(), out, &length), 0u);
  EXPECT_EQ(out[0], 5);
  const uint8_t data = 7;
  EXPECT_EQ(set_boot_options(&data, 1), 0u);
  EXPECT_EQ(set_boot_options(out, 17), kInvalid);
  EXPECT_EQ(set_boot_options(nullptr, 1), kInvalid);
  EXPECT_EQ(ipmi_send_highway_request(nullptr, out, &length), kInvalid);
  EXPECT_EQ(ipmi_send_highway_request(out, nullptr, &length), kInvalid);
  EXPECT_EQ(ipmi_send_highway_request(out, out, nullptr), kInvalid);
  EXPECT_EQ(_DEBUG_HW_CMDS(), 0u);
}

/// A call, its frames and its result.
struct Case {
  const char* what;
  std::function<uint32_t()> call;
  std::vector<Turn> turns;
  uint32_t result = 0;
};

void run_cases(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Broker broker(c.turns);
    EXPECT_EQ(c.call(), c.result);
  }
}

TEST(Hardware, ChannelAccess) {
  uint8_t access = 0, privilege = 0;
  run_cases({
      {"active", [&] { return get_channel_access(7, &access, &privilege); }, {{1, 0, {1, 0x80}, 5, {0x22, 0x34}}}},
      {"stored", [&] { return get_channel_access(0, &access, &privilege); }, {{1, 0, {1, 0x40}, 5, {}, 9}}, 9},
      {"set active",
       [] { return set_channel_access(1, 1); },
       {{1, 0, {1, 0x80}, 5, {0x22, 0x04}}, {1, 1, {1, 0x82, 0x84}, 1, {0}}}},
      {"set stored",
       [] { return set_channel_access(0, 0); },
       {{1, 0, {1, 0x80}, 5, {0xFF, 0xF4}}, {1, 1, {1, 0xC8, 0x44}, 1, {0}, 5}},
       5},
      {"unreadable", [] { return set_channel_access(1, 1); }, {{1, 0, {1, 0x80}, 5, {}, 6}}, 6},
      {"LAN access",
       [&] { return IPMISetIPMIOverLANAccess_HW(2); },
       {{1, 0, {1, 0x80}, 5, {0x00, 0x03}},
        {1, 1, {1, 0x82, 0x83}, 1},
        {1, 0, {1, 0x80}, 5, {0x02, 0x03}},
        {1, 1, {1, 0x42, 0x43}, 1}}},
      {"LAN access, refused",
       [&] { return IPMISetIPMIOverLANAccess_HW(0); },
       {{1, 0, {1, 0x80}, 5, {0x02, 0x04}}, {1, 1, {1, 0x80, 0x84}, 1, {}, 3}},
       3},
      {"null", [&] { return get_channel_access(1, nullptr, &privilege); }, {}, kInvalid},
      {"null, the second", [&] { return get_channel_access(1, &access, nullptr); }, {}, kInvalid},
      {"LAN access, null", [&] { return IPMIGetIPMIOverLANAccess_HW(nullptr, &privilege); }, {}, kInvalid},
      {"LAN access, null privilege", [&] { return IPMIGetIPMIOverLANAccess_HW(&access, nullptr); }, {}, kInvalid},
  });
  EXPECT_EQ(access, 0x22);
  EXPECT_EQ(privilege, 0x34);
  for (const auto& [first, enabled] : {std::pair<uint8_t, uint8_t>{0x3A, 1}, {0xF8, 0}}) {
    Broker broker({{1, 0, {1, 0x80}, 5, {first, 0x34}}});
    EXPECT_EQ(IPMIGetIPMIOverLANAccess_HW(&access, &privilege), 0u);
    EXPECT_EQ(access, enabled);
    EXPECT_EQ(privilege, 4);
  }
}

TEST(Hardware, MakersSystemInformation) {
  const Bytes video = {0x00, 0xD6, 0, 0}, nics = {0x00, 0xCE, 0, 0};
  uint8_t value = 0xA5;
  const struct {
    Bytes response;
    uint8_t enabled;
  } videos[] = {{{0x11, 0x80, 0, 0, 0x0F}, 1}, {{0x11, 0x01, 0, 0, 0}, 0}, {{0x11, 0x01}, 0xA5}, {counting(6), 0xA5}};
  for (const auto& row : videos) {
    value = 0xA5;
    run_cases({{"video", [&] { return IPMIGetLocalServerVideo_HW(&value); }, {{2, 0, video, 5, row.response}}}});
    EXPECT_EQ(value, row.enabled);
  }
  const struct {
    Bytes response;
    uint8_t count;
  } ports[] = {{{0x11, 0, 0xF5, 0}, 2}, {{0x11, 0, 0x0F, 0}, 4}, {{0x11, 0, 0xF0, 0}, 0}, {{0x11, 0, 0x0F}, 0xA5}};
  for (const auto& row : ports) {
    value = 0xA5;
    run_cases({{"ports", [&] { return IPMIGetNicCapabilities(&value); }, {{2, 0, nics, 4, row.response}}}});
    EXPECT_EQ(value, row.count);
  }
  run_cases({
      {"on", [] { return IPMISetLocalServerVideo_HW(1); }, {{2, 1, {0xD6, 0x80, 0, 0, 0x0F}, 1, {0}}}},
      {"off", [] { return IPMISetLocalServerVideo_HW(0); }, {{2, 1, {0xD6, 0x01, 0, 0, 0}, 1, {}, 8}}, 8},
      {"neither", [] { return IPMISetLocalServerVideo_HW(2); }, {{2, 1, {0xD6, 0x01, 0, 0, 0}, 1}}},
  });
}

Bytes block(const Bytes& head, const std::string& text) {
  Bytes bytes = head;
  bytes.insert(bytes.end(), text.begin(), text.end());
  return bytes;
}

TEST(Hardware, UnitTag) {
  const struct {
    Bytes response;
    uint32_t result;
    const char* text;
    int count;
  } rows[] = {{block({0x11, 7}, "chassis"), 0, "chassi", -1},
              {block({0x11, 7}, "chassis"), 2, nullptr, 8},
              {block({0x11, 8}, "12345678"), 0, "1234567", -1},
              {block({0x11, 9}, "123456789"), 2, nullptr, -1},  // does not reach us whole
              {block({0x11, 40}, std::string(34, 'x')), 2, nullptr, 60},
              {block({0x11, 4}, std::string("a\0bc", 4)), 0, "a", -1},
              {{0x11, 0}, 0, "", -1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.response[1]);
    Broker broker({{.function = 2,
                    .operation = 0,
                    .data = {0, 0xC5, 0, 0},
                    .area = 10,
                    .response = row.response,
                    .count = row.count}});
    Guarded<IpmiHwText> tag;
    EXPECT_EQ(IPMIGetOEMUnitTag_HW(&tag), row.result);
    if (row.result != 0) {
      EXPECT_TRUE(tag.untouched());
    } else {
      EXPECT_STREQ(tag->text, row.text);
      EXPECT_EQ(tag->length, row.response[1] == 0 ? 0xA5 : row.response[1]);
    }
  }
  IpmiHwText tag;
  run_cases({{"failure", [&] { return IPMIGetOEMUnitTag_HW(&tag); }, {{2, 0, {0, 0xC5, 0, 0}, 10, {}, 55}}, 1}});
}

TEST(Hardware, HostName) {
  const std::string name = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ+-*/";
  const auto turns = [&name](size_t total) {
    std::vector<Turn> script = {
        {2, 0, {0, 2, 0, 0}, 19, block({0x11, 0, 0, static_cast<uint8_t>(total)}, name.substr(0, 14))}};
    const size_t shown = std::min<size_t>(total, 62);
    for (size_t place = 14; place < shown; place += 16) {
      const auto number = static_cast<uint8_t>((place + 2) / 16);
      script.push_back({2, 0, {0, 2, number, 0}, 19, block({0x11, number}, name.substr(place, 16))});
    }
    return script;
  };
  for (const size_t total : std::initializer_list<size_t>{0, 1, 14, 15, 30, 31, 46, 62, 63, 66}) {
    SCOPED_TRACE(total);
    Broker broker(turns(total));
    Guarded<IpmiHwText> text;
    EXPECT_EQ(IPMIGetOEMHostName_HW(&text), 0u);
    EXPECT_EQ(std::string(text->text), name.substr(0, std::min<size_t>(total, 62)));
    EXPECT_EQ(text->length, total);
  }
  IpmiHwText text;
  auto cut = turns(20), refused = turns(20), short_first = turns(20);
  cut[1].count = 2 + 5;  // of 6 bytes
  refused[1].result = 9;
  short_first[0].count = 3 + 14;
  short_first.resize(1);
  const auto call = [&] { return IPMIGetOEMHostName_HW(&text); };
  run_cases({{"a short block", call, cut, 2},
             {"a refused block", call, refused, 1},
             {"a short first block", call, short_first, 2},
             {"null", [] { return IPMIGetOEMHostName_HW(nullptr); }, {}, kInvalid}});
}

TEST(Hardware, Power) {
  Guarded<uint8_t[28]> record;
  uint32_t count = 9;
  uint8_t on = 9, out = 9;
  const uint8_t reset = 3;
  run_cases({
      {"server power", [&] { return IPMIGetServerPower_HW(*record); }, {{0, 0, {}, 36, counting(36)}}},
      {"set server power",
       [] { return IPMISetServerPower_HW(0x1234, 0x56789ABC); },
       {{.function = 0,
         .operation = 1,
         .data = {0x34, 0x12, 0, 0, 0xBC, 0x9A, 0x78, 0x56},
         .area = 1,
         .data_length = 0}}},
      {"power state",
       [&] { return IPMIGetPowerState_HW(&count, nullptr, nullptr, &on); },
       {{6, 0, {}, 4, {0x61, 0, 0x40, 0}}}},
      {"power state, refused",
       [&] { return IPMIGetPowerState_HW(&count, nullptr, nullptr, &out); },
       {{6, 0, {}, 4, {}, 77}},
       1},
      {"state, no count", [&] { return IPMIGetPowerState_HW(nullptr, nullptr, nullptr, &on); }, {}, kInvalid},
      {"state to nowhere", [&] { return IPMIGetPowerState_HW(&count, nullptr, nullptr, nullptr); }, {}, kInvalid},
      {"no count", [&] { return IPMISetPowerState_HW(nullptr, nullptr, &reset, &out); }, {}, kInvalid},
      {"no control", [&] { return count = 1, IPMISetPowerState_HW(&count, nullptr, nullptr, &out); }, {}, kInvalid},
      {"no out", [&] { return count = 1, IPMISetPowerState_HW(&count, nullptr, &reset, nullptr); }, {}, kInvalid},
      {"count of 4", [&] { return count = 4, IPMISetPowerState_HW(&count, nullptr, &reset, &out); }, {}, kInvalid},
      {"reset", [&] { return count = 1, IPMISetPowerState_HW(&count, nullptr, &reset, &out); }, {{6, 1, {3}, 2, {0}}}},
      {"two bytes",
       [&] { return count = 1, IPMISetPowerState_HW(&count, nullptr, &reset, &on); },
       {{6, 1, {3}, 2, {0, 0}}},
       2},
      {"refused",
       [&] { return count = 1, IPMISetPowerState_HW(&count, nullptr, &reset, &on); },
       {{6, 1, {3}, 2, {}, 77}},
       1},
      {"control", [&] { return count = 2, set_chassis_control(&reset, 1, &on, &count); }, {{6, 1, {3}, 2, {}, 8}}, 8},
      {"control of 17", [&] { return set_chassis_control(&reset, 17, &on, &count); }, {}, kInvalid},
  });
  EXPECT_EQ(hex(*record, 28), hex(counting(28)));
  EXPECT_EQ(on, 1);
  EXPECT_EQ(out, 0);
  run_cases({{"no record", [&] { return IPMIGetServerPower_HW(*record); }, {{0, 0, {}, 36, {}, 5}}, 5}});
  EXPECT_TRUE(record.zero());
}

TEST(Hardware, Configuration) {
  Guarded<uint8_t[20]> community;
  Guarded<uint8_t[5]> serial;
  Guarded<IpmiHwSolConfig> sol;
  run_cases({
      {"community",
       [&] { return IPMIGetCommunityString_HW(*community); },
       {{5, 0, {1, 0x10, 0, 0}, 19, block({0x11}, "public")}}},
      {"serial", [&] { return IPMIGetSerialModemConf_HW(*serial); }, {{7, 0, {2, 0x33, 0, 0}, 5, {0x11, 1, 0x53}}}},
      {"serial, refused", [&] { return IPMIGetSerialModemConf_HW(*serial); }, {{7, 0, {2, 0x33, 0, 0}, 5, {}, 6}}, 6},
      {"SOL",
       [&] { return IPMIGetSOLConfig_HW(&sol); },
       {{8, 0, {1, 1, 0, 0}, 5, {0x11, 0xFF}},
        {8, 0, {1, 5, 0, 0}, 5, {0x11, 0xFA}},
        {8, 0, {1, 2, 0, 0}, 5, {0x11, 0xF4}}}},
      {"SOL, refused",
       [&] { return IPMIGetSOLConfig_HW(&sol); },
       {{8, 0, {1, 1, 0, 0}, 5, {0x11, 0xFE}}, {8, 0, {1, 5, 0, 0}, 5, {}, 6}},
       1},
      {"community, refused",
       [&] { return IPMIGetCommunityString_HW(*community); },
       {{5, 0, {1, 0x10, 0, 0}, 19, {}, 6}},
       1},
  });
  EXPECT_EQ(hex(*community, 20), hex(block({}, std::string("public", 6) + std::string(14, '\0'))));
  EXPECT_EQ(hex(*serial, 5), "11 01 53 a5 a5");
  EXPECT_EQ(sol->bitRate, 10);
  EXPECT_EQ(sol->privilege, 4u);
  EXPECT_EQ(sol->enabled, 0);
}

TEST(Hardware, BootOptions) {
  // code, device byte, instance
  const struct {
    uint8_t code, device, instance;
    bool read_back;
  } devices[] = {{0, 0x00, 0, false},  {1, 0x04, 0, false}, {15, 0x3C, 0, false}, {16, 0x3C, 0x1F, true},
                 {17, 0x18, 1, true},  {18, 0x18, 2, true}, {19, 0x18, 3, true},  {20, 0x18, 4, true},
                 {21, 0x2C, 0, false}, {22, 0x2C, 1, false}};
  for (const auto& row : devices) {
    SCOPED_TRACE(row.code);
    uint8_t device = 0xA5;
    run_cases({
        {"set",
         [&] { return IPMISetBootOptions_HW(5, 0x80, row.code); },
         {{3, 1, {5, 0x80, row.device, 0, 0, row.instance}, 1, {0}}}},
        {"get",
         [&] { return IPMIGetBootDevice_HW(&device); },
         {{3, 0, {5, 0, 0}, 10, {1, 5, 0x80, row.device, 0, 0, row.instance}}}},
        // what is there becomes valid for all boots: every code is found
        {"for all boots",
         [&] { return IPMISetBootOnceEnable_HW(0); },
         {{3, 0, {5, 0, 0}, 10, {1, 5, 0xBF, row.device, 0, 0, row.instance}},
          {3, 1, {5, 0xFF, row.device, 0, 0, row.instance}, 1},
          {3, 1, {3, 0x08}, 1}}},
    });
    EXPECT_EQ(device, row.read_back ? row.code : 0xA5);
  }
  const auto flags = [](uint8_t first, uint8_t device) {
    return Turn{3, 0, {5, 0, 0}, 10, {1, 5, first, device, 0, 0, 0}};
  };
  const Turn enable = {3, 1, {3, 0x08}, 1}, disable = {3, 1, {3, 0x00}, 1};
  const auto write = [](uint8_t first, uint8_t device, uint32_t result = 0) {
    return Turn{3, 1, {5, first, device, 0, 0, 0}, 1, {0}, result};
  };
  uint8_t once = 9, options[10];
  std::memset(options, 0xA5, sizeof options);
  run_cases({
      {"code 23", [] { return IPMISetBootOptions_HW(5, 0x80, 23); }, {}, kInvalid},
      {"parameter 3", [] { return IPMISetBootOptions_HW(3, 0x55, 99); }, {{3, 1, {3, 0x55}, 1}}},
      {"parameter 4", [] { return IPMISetBootOptions_HW(4, 1, 1); }, {}},
      {"enable", [] { return IPMIBootFlagEnable_HW(-1); }, {enable}},
      {"disable", [] { return IPMIBootFlagEnable_HW(0); }, {disable}},
      {"device for the next boot", [] { return IPMISetBootDevice_HW(1); }, {flags(0x2A, 0), write(0xAA, 4), enable}},
      {"valid, not for all", [] { return IPMISetBootDevice_HW(1); }, {flags(0x80, 0), write(0x80, 4), enable}},
      {"for all, but not valid", [] { return IPMISetBootDevice_HW(1); }, {flags(0x40, 0), write(0x80, 4), enable}},
      {"device for all boots", [] { return IPMISetBootDevice_HW(1); }, {flags(0xC1, 0), write(0xC1, 4), enable}},
      {"no device", [] { return IPMISetBootDevice_HW(0); }, {flags(0xAA, 4), write(0x2A, 0), disable}},
      {"no device for all boots", [] { return IPMISetBootDevice_HW(0); }, {flags(0xC0, 4), write(0xC0, 0), enable}},
      {"no such device", [] { return IPMISetBootDevice_HW(23); }, {flags(0, 0)}, kInvalid},
      {"flags refused", [] { return IPMISetBootDevice_HW(1); }, {flags(0, 0), write(0x80, 4, 6)}, 6},
      {"once", [] { return IPMISetBootOnceEnable_HW(1); }, {flags(0xE1, 0x08), write(0xA1, 0x08), enable}},
      {"once without a device", [] { return IPMISetBootOnceEnable_HW(1); }, {flags(0xE1, 0), write(0x21, 0), disable}},
      {"twice without a device", [] { return IPMISetBootOnceEnable_HW(2); }, {flags(0xE1, 0), write(0xA1, 0), enable}},
      {"bits 7 and 6 of the device stay in", [] { return IPMISetBootOnceEnable_HW(1); }, {flags(0x80, 0x84)}, kInvalid},
      {"is it once?", [&] { return IPMIGetBootOnceEnable_HW(&once); }, {flags(0xBF, 0)}},
      {"options", [&] { return IPMIGetBootOptions_HW(7, options); }, {{3, 0, {7, 0, 0}, 10, {1, 7, 3}}}},
  });
  EXPECT_EQ(once, 1);
  EXPECT_EQ(hex(options, 4), "01 07 03 a5");
  for (const uint8_t first : Bytes{0xC0, 0x40, 0x00}) {
    run_cases({{"not once", [&] { return IPMIGetBootOnceEnable_HW(&once); }, {flags(first, 0)}}});
    EXPECT_EQ(once, 0);
  }
}

TEST(Hardware, SelClear) {
  const uint8_t erase = 0xAA, ask = 0, wrong = 0xAB;
  uint8_t out = 0;
  uint32_t length = 1;
  const Turn reserve = {13, 0, {}, 2, {0x34, 0x12}};
  run_cases({
      {"erase",
       [&] { return IPMISELClear_HW(&erase, 1, &out, &length); },
       {reserve, {14, 1, {0x34, 0x12, 0x43, 0x4C, 0x52, 0xAA}, 1, {0x01}}}},
      {"16 bytes",
       [&] { return IPMISELClear_HW(&erase, 16, &out, &length); },
       {reserve, {14, 1, {0x34, 0x12, 0x43, 0x4C, 0x52, 0xAA}, 1, {0x01}}}},
      {"status",
       [&] { return IPMISELClear_HW(&ask, 0, &out, &length); },
       {reserve, {14, 1, {0x34, 0x12, 0x43, 0x4C, 0x52, 0x00}, 1, {}, 3}},
       3},
      {"no reservation", [&] { return IPMISELClear_HW(&erase, 1, &out, &length); }, {{13, 0, {}, 2, {}, 6}}, 6},
      {"another action", [&] { return IPMISELClear_HW(&wrong, 1, &out, &length); }, {}, kInvalid},
      {"17 bytes", [&] { return IPMISELClear_HW(&erase, 17, &out, &length); }, {}, kInvalid},
      {"null", [&] { return IPMISELClear_HW(nullptr, 1, &out, &length); }, {}, kInvalid},
  });
  EXPECT_EQ(out, 1);
}

}  // namespace
