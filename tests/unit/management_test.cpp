// The management calls: good runs, every request of each failing in every way, threads, and what is particular to one.
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <thread>

#include "lumipmi/lumipmi.h"
#include "support/fake_libc.hpp"
#include "support/management_calls.hpp"

// Seen on the way: how many request locks are held, and the handle of a connection while it is made.
extern "C" int __real_pthread_mutex_lock(pthread_mutex_t*);
extern "C" int __real_pthread_mutex_unlock(pthread_mutex_t*);
extern "C" uint32_t __real_ipmi_connect(const IpmiConnectParams*, IpmiHandle**);

namespace {

std::atomic<int> g_locks_held = 0;
uint32_t g_version_level = 3;

}  // namespace

extern "C" int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
  ++g_locks_held;
  return __real_pthread_mutex_lock(mutex);
}
extern "C" int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
  --g_locks_held;
  return __real_pthread_mutex_unlock(mutex);
}
extern "C" uint32_t __wrap_ipmi_connect(const IpmiConnectParams* params, IpmiHandle** out) {
  const uint32_t status = __real_ipmi_connect(params, out);
  if (status == 0) (*out)->ipmiVersionLevel = g_version_level;
  return status;
}

namespace {

using lumi::test::FakeLibc;

constexpr uint32_t kInvalid = 0x20000214, kNoRoom = 0x20000212, kNotFound = 0x20000213;

std::string told(uint8_t net_fn, uint8_t cmd, const Bytes& request) {
  return hex({net_fn, cmd}) + " : " + hex(request);
}
std::string told(const Ask& ask) {
  return told(ask.net_fn, ask.cmd, ask.request);
}
Bytes good(const Ask& ask) {
  Bytes reply = ok(ask.data);
  reply[0] = ask.completion;
  return reply;
}

/// A way to fail: the reply (empty: the driver fails) and the status that the command makes of it.
struct Fault {
  std::string name;
  Bytes reply;
  uint32_t status;
};

std::vector<Fault> faults_of(const Ask& ask) {
  std::vector<Fault> faults = {{"driver failure", {}, 0x20000600}};
  for (const uint8_t code : Bytes{0xC1, 0xD4, 0x80, 0x81, 0x82, 0xFF}) {
    const auto own = ask.codes.find(code);
    faults.push_back(
        {"completion code " + hex({code}), {code, 1, 2, 3}, own != ask.codes.end() ? own->second : 0x20000000u + code});
  }
  if (ask.completion != 0) return faults;  // has no good answer to spoil
  const Bytes reply = good(ask);
  const auto cut = [&reply](size_t size) { return Bytes(reply.begin(), reply.begin() + static_cast<ptrdiff_t>(size)); };
  Bytes padded = reply;
  padded.push_back(0);
  faults.push_back({"a byte more", padded, ask.longer});
  padded.resize(255);
  faults.push_back({"254 bytes", padded, ask.longest});
  if (ask.least != 0) {
    faults.push_back({"no data", {0}, ask.no_data != 0 ? ask.no_data : ask.too_short});
    faults.push_back({"a byte less", cut(ask.least), ask.too_short});
  }
  return faults;
}

/// Runs a call whose k-th request fails, and checks what is sent.
uint32_t run_with(const ManagementCall& call, size_t k, const Fault& fault, Bytes& out) {
  size_t sent = 0;
  const Ask& failing = call.asks[k];
  const After after = fault.status == 0 && !failing.codes.contains(fault.reply[0]) ? After::GoesOn : failing.after;
  const bool searches_on = !fault.reply.empty() && std::ranges::count(failing.searches_on, fault.reply[0]) != 0;
  ScriptedDriver bmc([&](uint8_t net_fn, uint8_t cmd, const Bytes& request) {
    const size_t number = sent++;
    if (number > k && (after == After::NotFound || searches_on)) return Bytes{0xCB};
    const size_t expected = number > k && after == After::Repeats ? number - 1 : number;
    if (expected >= call.asks.size() || (number > k && after == After::Ends)) {
      ADD_FAILURE() << "sent after the failure: " << told(net_fn, cmd, request);
      return Bytes{0xCB};
    }
    EXPECT_EQ(told(net_fn, cmd, request), told(call.asks[expected]));
    return number == k ? fault.reply : good(call.asks[expected]);
  });
  const uint32_t status = call.run(out);
  if (after == After::GoesOn || after == After::Repeats) {
    EXPECT_EQ(sent, call.asks.size() + (after == After::Repeats ? 1 : 0));
  }
  switch (after) {
    case After::Ends:
      EXPECT_EQ(status, fault.status);
      break;
    case After::NotFound:
      // A code of the search's own, such as "no such user", may end it.
      EXPECT_EQ(status, failing.codes.contains(fault.reply.empty() ? 0 : fault.reply[0]) ? fault.status : kNotFound);
      break;
    default:
      EXPECT_EQ(status, 0u);
  }
  return status;
}

TEST(Management, GoodRuns) {
  for (const ManagementCall& call : management_calls()) {
    SCOPED_TRACE(call.name);
    std::vector<Step> steps;
    for (const Ask& ask : call.asks) steps.push_back({ask.net_fn, ask.cmd, ask.request, good(ask)});
    ScriptedDriver bmc(steps);
    Bytes out;
    EXPECT_EQ(call.run(out), 0u);
    EXPECT_EQ(hex(out), hex(call.out));
  }
}

TEST(Management, EveryRequestFailsInEveryWay) {
  FakeLibc libc;
  testing::internal::CaptureStdout();  // the library reports driver failures there
  for (const ManagementCall& call : management_calls()) {
    for (size_t k = 0; k < call.asks.size(); ++k) {
      for (const Fault& fault : faults_of(call.asks[k])) {
        SCOPED_TRACE(std::string(call.name) + ", request " + std::to_string(k) + " (" + told(call.asks[k]) + "), " +
                     fault.name);
        Bytes out;
        const int locks_held = g_locks_held;
        const uint32_t status = run_with(call, k, fault, out);
        EXPECT_EQ(g_locks_held, locks_held);
        EXPECT_EQ(libc.live_allocations(), 0u);
        if (status != 0 && call.all_or_nothing) {
          EXPECT_EQ(hex(out), hex(Bytes(out.size(), 0xA5))) << "outputs after a failure";
        }
      }
    }
  }
  const std::string shown = testing::internal::GetCapturedStdout();
  if (HasFailure()) std::fputs(shown.c_str(), stdout);
}

TEST(Management, AllocationsFail) {
  for (const ManagementCall& call : management_calls()) {
    if (std::strncmp(call.name, "IPMI", 4) != 0 || call.asks.empty()) continue;  // those that connect by themselves
    SCOPED_TRACE(call.name);
    ScriptedDriver silent(std::vector<Step>{});
    FakeLibc libc;
    libc.fail_allocation = 1;
    Bytes out;
    EXPECT_EQ(call.run(out), 0x20000211u);
    EXPECT_EQ(libc.allocations, 1);
  }
}

TEST(Management, ThreadsWithConnectionsOfTheirOwn) {
  constexpr int kThreads = 64;
  ScriptedDriver bmc(model_bmc);
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&wrong, i] {
      const auto& calls = management_calls();
      for (size_t n = 0; n < calls.size(); ++n) {
        const ManagementCall& call = calls[(n + static_cast<size_t>(i)) % calls.size()];
        Bytes out;
        if (call.run(out) != 0 || out != call.out) ++wrong;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST(Management, ThreadsShareAHandle) {
  constexpr int kThreads = 64, kRounds = 50;
  std::atomic<int> inside = 0, overlaps = 0, wrong = 0;
  ScriptedDriver bmc([&](uint8_t net_fn, uint8_t cmd, const Bytes& request) {
    if (++inside != 1) ++overlaps;
    const Bytes reply = model_bmc(net_fn, cmd, request);
    --inside;
    return reply;
  });
  TestHandle handle;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        uint8_t channel = 0;
        IPMIMacAddress mac = {};
        if (ipmi_get_channel_id(handle, round % 2, &channel) != 0 || channel != 1 + round % 2) ++wrong;
        if (ipmi_kest_get_mac_addr(handle, 1, &mac) != 0 || mac.bytes[5] != 1) ++wrong;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(overlaps, 0);
  EXPECT_EQ(wrong, 0);
}

TEST(Management, NullPointersSendNothing) {
  uint8_t u8;
  uint16_t u16;
  uint32_t u32;
  char text[32];
  IPMISecurityKey key = {};
  IPMIServiceInfo no_tag = {nullptr, 8};
  IPMISystemInfo no_texts = {};
  IPMIBMCInfo no_versions = {nullptr, 4, nullptr, 5};
  const std::vector<std::function<uint32_t()>> calls = {
      [&] { return IPMIGetFruInventoryInfo(0, nullptr); },
      [&] { return IPMIGetFruData(0, 0, nullptr, &u8); },
      [&] { return IPMIGetFruData(0, 0, &u16, nullptr); },
      [&] { return ipmi_get_kest_system_unit_tag(nullptr, text, 9); },
      [&] { return IPMIGetServiceInfo(nullptr); },
      [&] { return IPMIGetServiceInfo(&no_tag); },
      [&] { return IPMIGetSystemInfo(nullptr); },
      [&] { return IPMIGetSystemInfo(&no_texts); },
      [&] { return IPMIGetBMCInfo(nullptr); },
      [&] { return IPMIGetBMCInfo(&no_versions); },
      [&] { return IPMIGetBIOSVersion(nullptr, 9); },
      [&] { return ipmi_get_channel_id(nullptr, 0, &u8); },
      [&] { return IPMIGetLanConfiguration(nullptr); },
      [&] { return IPMISetLanConfiguration(nullptr, 0); },
      [&] { return IPMIGetIPMIOverLANAccess(nullptr, &u8); },
      [&] { return IPMIGetIPMIOverLANAccess(&u8, nullptr); },
      [&] { return IPMISetCurrentNICMacAddress(nullptr); },
      [&] { return IPMIGetBMCMacAddress(nullptr); },
      [&] { return kest_ipmi_reset_to_default(nullptr, 0xAA, &u8); },
      [&] { return kest_ipmi_set_debug_level(nullptr, 1); },
      [&] { return kest_ipmi_get_debug_level(nullptr, &u8); },
      [&] { return IPMIGetEnableEventFilters(1, nullptr); },
      [&] { return IPMIGetEventFilterEntry(1, nullptr); },
      [&] { return IPMIGetEventActions(1, nullptr); },
      [&] { return IPMIGetAlertPolicyEnable(1, nullptr); },
      [&] { return IPMIGetAlertDestinationIPAddr(1, 20, nullptr); },
      [&] { return IPMISetAlertDestinationIPAddr(1, nullptr); },
      [&] { return IPMIGetPETCommunityName(0, 20, nullptr); },
      [&] { return IPMISetPETCommunityName(0, nullptr); },
      [&] { return IPMIGetAlertEnable(nullptr); },
      [&] { return IPMIImmediateAlert(0, 1, 0, 0, 1, nullptr); },
      [&] { return IPMIGetChassisStatus(nullptr); },
      [&] { return IPMIGetSecurityKey(0, nullptr, &u32); },
      [&] { return IPMISetSecurityKey(0, &key, nullptr); },
      [&] { return IPMILockSecurityKey(0, nullptr); },
      [&] { return IPMIGetPayloadSupport(nullptr); },
      [&] { return IPMIGetPayloadAccess(1, nullptr); },
      [&] { return IPMISetPayloadAccess(1, 0, nullptr); },
      [&] { return IPMIGetNumberOfSDREntries(nullptr); },
      [&] { return IPMIGetSensorReading(1, nullptr); },
      [&] { return IPMIGetSensorReadingFactors(1, 1, nullptr); },
      [&] { return IPMIGetSensorThreshold(1, nullptr); },
      [&] { return IPMISetSensorThreshold(1, nullptr); },
      [&] { return IPMIGetSensorHysteresis(1, nullptr, &u8); },
      [&] { return IPMIGetSensorHysteresis(1, &u8, nullptr); },
      [&] { return IPMIGetSensorType(1, nullptr, &u8); },
      [&] { return IPMIGetSensorType(1, &u8, nullptr); },
      [&] { return IPMIGetSensorEventEnable(1, nullptr); },
      [&] { return IPMISetSensorEventEnable(1, nullptr); },
      [&] { return IPMISetSensorReading(1, nullptr); },
      [&] { return IPMIGetNumberOfSelEntries(nullptr); },
      [&] { return IPMIGetSel(0, nullptr, &u16); },
      [&] { return IPMIGetSel(0, &u8, nullptr); },
      [&] { return IPMIGetSelTime(nullptr); },
      [&] { return IPMIGetSerialConnectionMode(nullptr); },
      [&] { return IPMISetSerialConnectionMode(nullptr); },
      [&] { return IPMIGetSerialConfiguration(nullptr); },
      [&] { return IPMISetSerialConfiguration(nullptr); },
      [&] { return IPMIGetSerialChannelAccess(nullptr, &u8); },
      [&] { return IPMIGetSerialChannelAccess(&u8, nullptr); },
      [&] { return IPMIGetSerialMuxSetting(nullptr); },
      [&] { return IPMIGetSessionInfo(nullptr, &u8); },
      [&] { return IPMIGetSOLConfiguration(nullptr); },
      [&] { return IPMISetSOLConfiguration(nullptr); },
      [&] { return IPMIGetSOLOperatingPrivilege(nullptr); },
      [&] { return IPMIGetUserEnable(1, nullptr); },
      [&] { return IPMIGetUserAccess(1, 0, nullptr, &u8); },
      [&] { return IPMIGetUserAccess(1, 0, &u8, nullptr); },
      [&] { return IPMIGetUserName(1, 20, nullptr); },
      [&] { return IPMIAuthenticateUser(nullptr, "", &u8); },
      [&] { return IPMIAuthenticateUser("", nullptr, &u8); },
      [&] { return IPMIAuthenticateUser("", "", nullptr); },
      [&] { return IPMIGetWatchdogTimer(nullptr); },
      [&] { return IPMISetWatchdogTimer(nullptr, 0); },
  };
  ScriptedDriver silent(std::vector<Step>{});
  for (size_t i = 0; i < calls.size(); ++i) EXPECT_EQ(calls[i](), kInvalid) << "call " << i;
}

/// A call with the answers that the model does not give: keys are as told() tells them.
struct Case {
  const char* name;
  std::function<uint32_t()> call;
  uint32_t status;
  std::map<std::string, Bytes> answers;
  int requests = -1;  // -1: any number
};

void run_cases(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::map<std::string, int> asked;
    ScriptedDriver bmc([&](uint8_t net_fn, uint8_t cmd, const Bytes& request) {
      const std::string key = told(net_fn, cmd, request);
      ++asked[key];
      const auto own = c.answers.find(key);
      return own != c.answers.end() ? own->second : model_bmc(net_fn, cmd, request);
    });
    EXPECT_EQ(c.call(), c.status);
    for (const auto& [key, reply] : c.answers) EXPECT_TRUE(asked.contains(key)) << "never asked: " << key;
    if (c.requests >= 0) {
      EXPECT_EQ(bmc.sent(), static_cast<size_t>(c.requests));
    }
  }
}

const Bytes kAbsent = {0xCB};

TEST(Management, Identity) {
  char text[32] = {};
  uint8_t channel = 0;
  uint16_t count = 0;
  const auto tag = [&text](uint8_t capacity) {
    TestHandle handle;
    return ipmi_get_kest_system_unit_tag(handle, text, capacity);
  };
  run_cases({
      {"room for the tag and its terminator, and for all that came", [&] { return tag(7); }, 0, {}},
      {"the tag is as long as the room", [&] { return tag(6); }, kNoRoom, {}},
      {"the length byte is as much as the room",
       [&] { return tag(6); },
       kNoRoom,
       {{"06 59 : 00 c5 00 00", {0, 0x11, 6, 'x'}}}},
      {"more came than there is room for",
       [&] { return tag(7); },
       kNoRoom,
       {{"06 59 : 00 c5 00 00", {0, 0x11, 1, 'x', 0, 0, 0, 0, 0, 0}}}},
      {"a tag that fills its answer",
       [&] { return tag(255); },
       kNoRoom,
       {{"06 59 : 00 c5 00 00",
         [] {
           Bytes b(131, 'x');
           b[0] = 0, b[1] = 0x11, b[2] = 200;
           return b;
         }()}}},
      {"no count", [&] { return IPMIGetFruData(2, 0, &count, reinterpret_cast<uint8_t*>(text)); }, 0, {}, 0},
      {"no such kind",
       [&] {
         TestHandle handle;
         return ipmi_get_channel_id(handle, 2, &channel);
       },
       kNotFound,
       {},
       8},
      {"masks count the channels that answer",
       [&] {
         uint8_t lan = 0, serial = 0;
         const uint32_t status = IPMIGetChannelInfo(&lan, &serial);
         EXPECT_EQ(lan, 0x01);
         EXPECT_EQ(serial, 0x02);
         return status;
       },
       0,
       {{"06 42 : 00", kAbsent}},
       8},
  });
  EXPECT_EQ(channel, 0xFF);

  // A text whose room is too small is no failure; the asset tag's failure leaves what came before it.
  char small[4] = {'a', 'b', 'c', 'd'};
  IPMIBMCInfo versions = {small, 3, small, 4};
  Guarded<IPMISystemInfo> info;
  char texts[3][8] = {};
  info->systemInfoString = texts[0], info->unitTag = texts[1], info->assetTag = texts[2];
  info->systemInfoStringSize = info->unitTagSize = info->assetTagSize = 8;
  run_cases({{"small texts", [&] { return IPMIGetBMCInfo(&versions); }, 0, {}, 1},
             {"no asset tag",
              [&] { return IPMIGetSystemInfo(&info); },
              0x20000113,
              {{"06 59 : 00 c4 00 00", {0x80}}, {"06 59 : 00 d1 00 00", {0, 0x11, 0, 0, 1, 'm'}}}}});
  EXPECT_EQ(std::string(small, 4), "abcd");
  EXPECT_STREQ(texts[0], "m");
  EXPECT_STREQ(texts[1], "rack 7");
  EXPECT_STREQ(texts[2], "");
  EXPECT_EQ(info->oemInfoByte, 0x5A);
}

TEST(Management, Lan) {
  IPMILanConfig config = {};
  IPMIMacAddress mac;
  run_cases({
      {"LAN on channel 0 only",
       [&] { return IPMIGetLanConfiguration(&config); },
       kNotFound,
       {{"06 42 : 01", kAbsent}},
       7},
      {"no VLAN", [&] { return IPMIGetLanConfiguration(&config); }, 0x20000113, {{"0c 02 : 01 14 00 00", {0x80}}}},
      {"no gateway",
       [&] {
         EXPECT_EQ(config.macAddress[5], 1) << "the addresses of the case before stay";
         std::memset(&config, 0xA5, sizeof config);
         return IPMIGetLanConfiguration(&config);
       },
       0,
       {{"0c 02 : 01 0c 00 00", {0x80}}}},
      {"channel 16",
       [&] {
         TestHandle handle;
         return ipmi_kest_get_mac_addr(handle, 16, &mac);
       },
       kInvalid,
       {},
       0},
  });
  EXPECT_EQ(hex(config.defaultGateway, 4), "00 00 00 00");
  EXPECT_EQ(config.ipAddress[0], 192);

  // Before IPMI 2.0 there are no VLANs.
  g_version_level = 2;
  Bytes selectors;
  {
    ScriptedDriver bmc([&](uint8_t net_fn, uint8_t cmd, const Bytes& request) {
      if (net_fn == 0x0C) selectors.push_back(request[1]);
      return cmd == 0x01 ? Bytes{0} : model_bmc(net_fn, cmd, request);
    });
    EXPECT_EQ(IPMISetLanConfiguration(&config, 0x0F), 0u);
    EXPECT_EQ(hex(selectors), hex({4, 3, 6, 12, 5}));
    selectors.clear();
    EXPECT_EQ(IPMIGetLanConfiguration(&config), 0u);
    EXPECT_EQ(hex(selectors), hex({4, 3, 5, 6, 12, 13, 14, 15}));
  }
  g_version_level = 3;
  EXPECT_EQ(config.vlanId, 0);
}

TEST(Management, Alerting) {
  FakeLibc libc;
  char text[32];
  uint32_t result = 7;
  const auto destination = [](Bytes ip) {
    Bytes reply = {0, 0x11, 2, 0x00, 0x01};
    reply.insert(reply.end(), ip.begin(), ip.end());
    reply.insert(reply.end(), {2, 0, 0x5E, 0x10, 0, 9});
    return reply;
  };
  const Bytes other_format = {0, 0x11, 2, 0x10, 0, 1, 2, 3, 4, 0, 0, 0, 0, 0, 0};
  std::memset(text, 'x', sizeof text);
  run_cases({
      {"room for 6", [&] { return IPMIGetAlertDestinationIPAddr(2, 6, text); }, kNoRoom, {}, 0},
      {"no address", [&] { return IPMISetAlertDestinationIPAddr(2, "host"); }, kInvalid, {}, 0},
      {"three parts",
       [&] { return IPMISetAlertDestinationIPAddr(2, "1.2.3"); },
       0,
       {{"0c 01 : 01 12 02 80 1e 03", {0}}, {"0c 01 : 01 13 02 00 01 01 02 00 03 02 00 5e 10 00 09", {0}}}},
      {"broadcast",
       [&] { return IPMISetAlertDestinationIPAddr(2, "255.255.255.255"); },
       0,
       {{"0c 01 : 01 12 02 80 1e 03", {0}}, {"0c 01 : 01 13 02 00 01 ff ff ff ff 02 00 5e 10 00 09", {0}}}},
      {"no IPv4, set",
       [&] { return IPMISetAlertDestinationIPAddr(2, "1.2.3.4"); },
       0x200000C3,
       {{"0c 02 : 01 13 02 00", other_format}}},
      {"no room for a community",
       [&] { return IPMIGetPETCommunityName(0, 18, reinterpret_cast<uint8_t*>(text)); },
       kInvalid,
       {},
       0},
      {"19 characters", [&] { return IPMISetPETCommunityName(0, "1234567890123456789"); }, kInvalid, {}, 0},
      {"18 characters",
       [&] { return IPMISetPETCommunityName(0, "123456789012345678"); },
       0,
       {{"0c 01 : 01 10 31 32 33 34 35 36 37 38 39 30 31 32 33 34 35 36 37 00", {0}}}},
      {"a serial channel",
       [&] { return IPMISetPETCommunityName(1, ""); },
       0,
       {{"0c 01 : 02 10 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00", {0}}}},
      {"an alert without an end",
       [&] { return IPMIImmediateAlert(0, 2, 1, 5, 1, &result); },
       0x20000218,
       {{"04 16 : 01 42 85", {0, 0xFF}}},
       2 + 1 + 21},
      {"an alert without a status",
       [&] { return IPMIImmediateAlert(0, 2, 1, 5, 1, &result); },
       0x20000218,
       {{"04 16 : 01 42 85", {0, 0x00}}},
       2 + 1 + 21},
      {"an alert that nobody knows of",
       [&] { return IPMIImmediateAlert(0, 2, 0, 5, 1, &result); },
       0x20000218,
       {{"04 16 : 01 02 00", {0}}, {"04 16 : 01 42 00", {0xD5}}},
       2 + 1 + 21},
  });
  EXPECT_EQ(result, 7u);
  EXPECT_EQ(text[0], 'x');
  EXPECT_EQ(libc.sleeps_ms(), std::vector<int64_t>(2 * 21, 50)) << "only polls that were answered sleep";

  run_cases({{"a long address is cut",
              [&] { return IPMIGetAlertDestinationIPAddr(2, 7, text); },
              0,
              {{"0c 02 : 01 13 02 00", destination({100, 101, 102, 103})}}}});
  EXPECT_STREQ(text, "100.10");
  run_cases({{"no IPv4, get",
              [&] { return IPMIGetAlertDestinationIPAddr(2, 20, text); },
              0,
              {{"0c 02 : 01 13 02 00", other_format}}}});
  EXPECT_STREQ(text, "");
  Bytes community(20, 'c');
  community[0] = 0, community[1] = 0x11;
  run_cases({{"a community of 18",
              [&] { return IPMIGetPETCommunityName(0, 19, reinterpret_cast<uint8_t*>(text)); },
              0,
              {{"0c 02 : 01 10 00 00", community}}}});
  EXPECT_EQ(std::string(text), std::string(17, 'c'));
}

TEST(Management, KeysAndPayloads) {
  IPMISecurityKey key = {};
  uint32_t lock = 9;
  uint8_t support[8];
  run_cases({
      {"SOL version 2.0", [&] { return IPMIGetPayloadSupport(support); }, kNotFound, {{"06 4f : 01 01", {0, 0x20}}}},
      {"no SOL",
       [&] { return IPMIGetPayloadSupport(support); },
       kNotFound,
       {{"06 4e : 01", {0, 0x01, 0, 0, 0, 0, 0, 0, 0}}}},
      {"SOL on another LAN channel",
       [&] { return IPMIGetPayloadSupport(support); },
       0,
       {{"06 42 : 03", {0, 3, 4, 1, 0x80, 0, 0, 0, 0, 0}},
        {"06 4e : 01", {0xC1}},
        {"06 4e : 03", {0, 2, 0, 0, 0, 0, 0, 0, 0}},
        {"06 4f : 03 01", {0, 0x1F}}}},
      {"no such key", [&] { return IPMISetSecurityKey(2, &key, &lock); }, kInvalid, {}, 3},
      {"locked",
       [&] { return IPMISetSecurityKey(0, &key, &lock); },
       0x2000011F,
       {{"06 56 : 01 01 00" + std::string([] {
           std::string z;
           for (int i = 0; i < 20; ++i) z += " 00";
           return z;
         }()),
         {0x80}}}},
  });
  EXPECT_EQ(lock, 9u);
}

TEST(Management, Sel) {
  run_cases({
      {"an empty log", IPMIClearSel, 0, {{"0a 40 : ", {0, 0x51, 0, 0, 0, 1, 1, 2, 3, 4, 5, 6, 7, 8, 0x0B}}}, 1},
      {"without reservations",
       IPMIClearSel,
       0,
       {{"0a 40 : ", {0, 0x51, 1, 0, 0, 1, 1, 2, 3, 4, 5, 6, 7, 8, 0x0D}}, {"0a 47 : 00 00 43 4c 52 aa", {0, 1}}},
       2},
  });
}

TEST(Management, SerialAndSol) {
  Guarded<IPMISerialConfig> config;
  const IPMISerialConfig too_fast = {0, 11, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  const IPMISolConfig too_slow = {5, {12, 96}};
  Guarded<IPMISolConfig> sol;
  run_cases({
      {"no terminal mode",
       [&] { return IPMIGetSerialConfiguration(&config); },
       0x20000113,
       {{"0c 11 : 02 03 00 00", {0, 0x11, 0x81}}, {"0c 11 : 02 1d 00 00", {0x80}}}},
      {"a bit rate of 11", [&] { return IPMISetSerialConfiguration(&too_fast); }, kInvalid, {}, 3},
      {"a SOL bit rate of 5", [&] { return IPMISetSOLConfiguration(&too_slow); }, kInvalid, {}, 4},
      {"no SOL bit rate", [&] { return IPMIGetSOLConfiguration(&sol); }, 0x20000113, {{"0c 22 : 01 05 00 00", {0x80}}}},
      {"session counts to nowhere", [] { return IPMIGetSessionInfo(nullptr, nullptr); }, kInvalid, {}, 0},
      {"SOL state to nowhere", [] { return IPMIGetEnableSOL(nullptr); }, kInvalid, {}, 3},
  });
  EXPECT_EQ(hex(reinterpret_cast<uint8_t*>(&config), 12), "00 07 01 01 00 00 00 00 00 00 00 00");
  EXPECT_EQ(hex(reinterpret_cast<uint8_t*>(&sol), 3), "00 0c 60") << "the bit rate is written all the same";
}

TEST(Management, Users) {
  uint8_t enabled = 0xFF, id = 0;
  char name[17];
  const auto named = [](uint8_t user, const char* text) {
    Bytes reply(17);
    std::memcpy(reply.data() + 1, text, std::min<size_t>(16, std::strlen(text)));
    return std::pair<std::string, Bytes>("06 46 : " + hex({user}), reply);
  };
  const std::string test = " 70 77 00 00 00 00 00 00 00 00 00 00 00 00 00 00";
  const std::string long_test = test + " 00 00 00 00";
  const auto find = [&id](const char* text) { return IPMIAuthenticateUser(text, "pw", &id); };
  run_cases({
      {"16 is no room", [&] { return IPMIGetUserName(2, 16, name); }, kNoRoom, {}, 0},
      {"the 16th character is lost",
       [] { return IPMISetUserName(2, "1234567890123456"); },
       0,
       {{"06 45 : 02 31 32 33 34 35 36 37 38 39 30 31 32 33 34 35 00", {0}}}},
      {"no name",
       [] { return IPMISetUserName(2, nullptr); },
       0,
       {{"06 45 : 02 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00", {0}}}},
      {"no password",
       [] { return IPMISetUserPassword(2, nullptr); },
       0,
       {{"06 47 : 02 02 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00", {0}}}},
      {"operation 3",
       [] { return IPMISetUserEnable(2, 3); },
       0x20000126,
       {{"06 47 : 02 03 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00", {0x80}}}},
      {"no LAN channel, bit 0 set",
       [&] { return IPMIGetUserEnable(2, &enabled); },
       kNotFound,
       {{"06 42 : 01", kAbsent}},
       8},
      {"no LAN channel, bit 0 clear",
       [&] { return enabled = 0xFE, IPMIGetUserEnable(2, &enabled); },
       0,
       {{"06 42 : 01", kAbsent}}},
      {"disabled on the LAN channel: the serial one is asked",
       [&] { return enabled = 1, IPMIGetUserEnable(2, &enabled); },
       0,
       {{"06 44 : 01 02", {0, 0x3F, 0x84, 1, 0x14}}, {"06 44 : 02 02", {0, 0x3F, 0x44, 1, 0x14}}}},
      {"the second of that name",
       [&] { return find("admin"); },
       0,
       {named(3, ""),
        named(4, ""),
        named(5, "admin"),
        {"06 47 : 02 03" + test, {0x80}},
        {"06 47 : 05 03" + test, {0}}}},
      {"beyond the table", [&] { return find("nobody"); }, kNotFound, {{"06 46 : 03", {0xC9}}}, 3},
      {"... other words for it", [&] { return find("nobody"); }, kNotFound, {{"06 46 : 03", {0xCC}}}, 3},
      {"16 characters",
       [&] { return find("sixteen letters!"); },
       0,
       {named(3, "sixteen letters!"), {"06 47 : 03 03" + test, {0}}}},
      {"none of all", [&] { return find("nobody"); }, kNotFound,
       [&] {
         std::map<std::string, Bytes> all;
         for (uint8_t user = 3; user <= 64; ++user) all.insert(named(user & 0x3F, "x"));
         return all;
       }(),
       64},
      {"refused in the long form: its answer stands",
       [&] { return find("admin"); },
       0x20000080,
       {{"06 47 : 02 03" + test, {0x81}}, {"06 47 : 82 03" + long_test, {0x80}}}},
  });
  EXPECT_EQ(enabled, 1);
  EXPECT_EQ(id, 3);

  // stop timer 1 clears the bit that keeps a running timer running
  const IPMIWatchdogConfig timer = {1, 0, 0, 0, 0, 600, 0};
  run_cases({{"stop", [&] { return IPMISetWatchdogTimer(&timer, 1); }, 0, {{"06 24 : 81 00 07 00 58 02", {0}}}}});
}

// --- IPMIGetSDR: no handle, codes of its own

/// A repository with one record, whose reservations get lost as often as `losses` says.
struct Repository {
  Bytes record;
  int losses = 0;
  Bytes offsets = {}, sizes = {};
  uint8_t reservations = 0;

  Bytes answer(uint8_t net_fn, uint8_t cmd, const Bytes& request) {
    EXPECT_EQ(net_fn, 0x0A);
    if (cmd == 0x20) return {0xFF};  // not looked at
    if (cmd == 0x22) return {0, ++reservations, 0x80};
    EXPECT_EQ(hex({request[0], request[1], request[2], request[3]}), hex({reservations, 0x80, 0x34, 0x12}));
    if (losses > 0) return --losses, Bytes{0xC5};
    offsets.push_back(request[4]);
    sizes.push_back(request[5]);
    Bytes reply = {0, 0x78, 0x56};
    for (size_t i = request[4]; i < record.size() && i < request[4] + size_t{request[5]}; ++i)
      reply.push_back(record[i]);
    return reply;
  }
};

Bytes sdr(size_t size, size_t stray = 0) {
  Bytes record = counting(size + stray);
  record[4] = static_cast<uint8_t>(size - 5);
  return record;
}

TEST(Management, SdrIsReadInPieces) {
  const struct {
    size_t size, stray;
    Bytes pieces;
  } rows[] = {{10, 0, {22}},
              {10, 6, {22}},
              {22, 0, {22}},
              {23, 0, {22, 1}},
              {60, 0, {22, 22, 16}},
              {101, 0, {22, 22, 22, 22, 13}},
              {255, 0, {22, 22, 22, 22, 22, 22, 22, 22, 22, 22, 22, 13}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.size);
    Repository repository = {sdr(row.size, row.stray)};
    ScriptedDriver bmc([&](uint8_t n, uint8_t c, const Bytes& r) { return repository.answer(n, c, r); });
    uint32_t length = 0, next = 0;
    Guarded<uint8_t[64]> record;
    EXPECT_EQ(IPMIGetSDR(0x1234, &length, *record, &next), 0u);
    EXPECT_EQ(hex(repository.sizes), hex(row.pieces));
    EXPECT_EQ(length, row.size);
    EXPECT_EQ(next, 0x5678u);
    Bytes expected(repository.record.begin(), repository.record.begin() + static_cast<ptrdiff_t>(row.size));
    expected.resize(64);
    EXPECT_EQ(hex(*record, 64), hex(expected));
  }
}

TEST(Management, SdrReservationsGetLost) {
  for (const int losses : {1, 8, 9}) {
    SCOPED_TRACE(losses);
    FakeLibc libc;
    Repository repository = {sdr(30), losses};
    ScriptedDriver bmc([&](uint8_t n, uint8_t c, const Bytes& r) { return repository.answer(n, c, r); });
    uint32_t next = 0xA5;
    EXPECT_EQ(IPMIGetSDR(0x1234 - 0x10000, nullptr, nullptr, &next), losses == 9 ? 1u : 0u);
    EXPECT_EQ(next, losses == 9 ? 0xA5u : 0x5678u);
    std::vector<int64_t> waits;
    for (const timespec& sleep : libc.sleeps) waits.push_back(sleep.tv_sec * 1000000 + sleep.tv_nsec / 1000);
    const std::vector<int64_t> all = {31250, 62500, 125000, 250000, 500000, 1000000, 1000000, 2000000};
    EXPECT_EQ(waits, std::vector<int64_t>(all.begin(), all.begin() + std::min(losses, 8)));
  }
}

TEST(Management, SdrFailures) {
  const auto get = [](int32_t id, uint32_t* next) {
    uint32_t length;
    uint8_t record[64];
    return IPMIGetSDR(id, &length, record, next);
  };
  uint32_t next = 0xA5;
  {
    ScriptedDriver silent(std::vector<Step>{});
    EXPECT_EQ(get(65536, &next), 4u);
    EXPECT_EQ(get(0, nullptr), 4u);
  }
  const Step info = {0x0A, 0x20, {}, {0xC1}}, reserve = {0x0A, 0x22, {}, {0, 1, 2}};
  const Bytes request = {1, 2, 0, 0, 0, 22};
  Step no_driver = info;
  no_driver.driver_result = 1;
  Step odd_driver = info;
  odd_driver.driver_result = 2;  // only 1 is a failure
  const std::vector<std::vector<Step>> scripts = {
      {no_driver},
      {odd_driver, {0x0A, 0x22, {}, {0xD5}}},
      {info, {.net_fn = 0x0A, .cmd = 0x22, .driver_result = 1}},
      {info, reserve, {0x0A, 0x23, request, {0xCB}}},
      {info, reserve, {.net_fn = 0x0A, .cmd = 0x23, .request = request, .driver_result = 1}},
      {info, reserve, {0x0A, 0x23, request, {0xC5}}, {0x0A, 0x22, {}, {0xD5}}},
  };
  FakeLibc libc;
  for (const auto& script : scripts) {
    ScriptedDriver bmc(script);
    EXPECT_EQ(get(0, &next), 1u);
  }
  EXPECT_EQ(next, 0xA5u);
}

}  // namespace
