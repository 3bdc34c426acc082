#include "support/management_calls.hpp"

#include <algorithm>
#include <cstring>

#include "lumipmi/lumipmi.h"

namespace {

// --- what the commands make of answers

constexpr uint32_t kTooLong = 0x20000000, kNoRoom = 0x20000212, kC3 = 0x200000C3, kFF = 0x200000FF;
const Completions kGetCodes = {{0x80, 0x20000113}};
const Completions kSetCodes = {{0x80, 0x2000010F}, {0x81, 0x20000110}, {0x82, 0x20000111}};
const Completions kGetAccessCodes = {{0x82, 0x20000124}};
const Completions kKeyCodes = {{0x80, 0x2000011F}, {0x81, 0x20000120}, {0x82, 0x20000121}};
const Completions kErasing = {{0x81, 0x2000011E}};

Bytes join(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/// A command that answers with data, of which `least` bytes have to come.
Ask query(uint8_t net_fn, uint8_t cmd, const Bytes& request, const Bytes& data, size_t least, uint32_t too_short = kFF,
          const Completions& codes = {}) {
  return {.net_fn = net_fn,
          .cmd = cmd,
          .request = request,
          .data = data,
          .least = least,
          .too_short = too_short,
          .codes = codes};
}

/// A command that answers without data.
Ask order(uint8_t net_fn, uint8_t cmd, const Bytes& request, const Completions& codes = {}) {
  return {.net_fn = net_fn,
          .cmd = cmd,
          .request = request,
          .data = {},
          .longer = kTooLong,
          .longest = kTooLong,
          .codes = codes};
}

Ask then(After after, Ask ask) {
  ask.after = after;
  return ask;
}

/// A configuration parameter, whose accessor has room for its data and no more.
Ask parameter(uint8_t net_fn, uint8_t cmd, const Bytes& request, const Bytes& data) {
  Ask ask = query(net_fn, cmd, request, join({0x11}, data), 1 + data.size(), kFF, kGetCodes);
  ask.longer = ask.longest = kNoRoom;
  return ask;
}

Ask lan_get(uint8_t selector, const Bytes& data) {
  return parameter(0x0C, 0x02, {1, selector, 0, 0}, data);
}
Ask lan_set(uint8_t selector, const Bytes& data) {
  return order(0x0C, 0x01, join({1, selector}, data), kSetCodes);
}
Ask serial_get(uint8_t selector, const Bytes& data) {
  return parameter(0x0C, 0x11, {2, selector, 0, 0}, data);
}
Ask serial_set(uint8_t selector, const Bytes& data) {
  return order(0x0C, 0x10, join({2, selector}, data), kSetCodes);
}
Ask sol_get(uint8_t selector, const Bytes& data) {
  return parameter(0x0C, 0x22, {1, selector, 0, 0}, data);
}
Ask sol_set(uint8_t selector, const Bytes& data) {
  return order(0x0C, 0x21, join({1, selector}, data), kSetCodes);
}
/// PEF table entries: room for 40 bytes, and those that do not come are zero.
Ask pef_get(uint8_t selector, uint8_t entry, const Bytes& data) {
  Ask ask = query(0x04, 0x13, {selector, entry, 0}, join({0x11}, data), 2, kC3, kGetCodes);
  ask.longest = kNoRoom;
  return ask;
}
Ask pef_set(uint8_t selector, const Bytes& data) {
  return order(0x04, 0x12, join({selector}, data), kSetCodes);
}
/// System information with so much room behind the revision.
Ask info_get(uint8_t selector, const Bytes& data, uint32_t longer = 0) {
  Ask ask = query(0x06, 0x59, {0, selector, 0, 0}, join({0x11}, data), 1, kFF, kGetCodes);
  ask.longer = longer;
  ask.longest = kNoRoom;
  return ask;
}

Ask channel(uint8_t number, uint8_t medium, After after) {
  return then(after, query(0x06, 0x42, {number}, {number, medium, 1, 0x80, 0xF2, 0x1B, 0, 0, 0}, 7));
}
Ask no_channel(uint8_t number) {
  Ask ask = query(0x06, 0x42, {number}, {}, 0);
  ask.completion = 0xCB;
  ask.after = After::GoesOn;
  return ask;
}

// The channels of the model: 0 is an IPMB, 1 a LAN with SOL, 2 a serial one.
const std::vector<Ask> kLan = {channel(1, 4, After::NotFound)};
const std::vector<Ask> kSerial = {channel(1, 4, After::GoesOn), channel(2, 5, After::NotFound)};
const std::vector<Ask> kLanKind = {channel(0, 1, After::GoesOn), channel(1, 4, After::NotFound)};
const std::vector<Ask> kSerialKind = {channel(0, 1, After::GoesOn), channel(1, 4, After::GoesOn),
                                      channel(2, 5, After::NotFound)};
const Bytes kSupport = {0x03, 0, 1, 2, 3, 4, 5, 6};
const std::vector<Ask> kSol = {channel(1, 4, After::NotFound),
                               then(After::NotFound, query(0x06, 0x4E, {1}, kSupport, 8)),
                               then(After::NotFound, query(0x06, 0x4F, {1, 1}, {0x10}, 1))};

std::vector<Ask> operator+(std::vector<Ask> first, const std::vector<Ask>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Ask access_get(uint8_t number, uint8_t settings, uint8_t flags, uint8_t limit) {
  return query(0x06, 0x41, {number, settings}, {flags, limit}, 2, kFF, kGetAccessCodes);
}
Ask access_set(uint8_t number, uint8_t flags, uint8_t limit) {
  return order(0x06, 0x40, {number, flags, limit}, {{0x82, 0x20000124}, {0x83, 0x20000125}});
}

/// The string block of a system information parameter: set selector, encoding, length, text, padding.
Bytes text_block(const std::string& text) {
  Bytes block(17);
  block[2] = static_cast<uint8_t>(text.size());
  std::copy(text.begin(), text.end(), block.begin() + 3);
  return block;
}
/// A tag: length byte and text.
Bytes tag(const std::string& text) {
  return join({static_cast<uint8_t>(text.size())}, Bytes(text.begin(), text.end()));
}

Ask text_get(uint8_t selector, const std::string& text) {
  Ask ask = info_get(selector, text_block(text));
  ask.longer = kNoRoom;
  return ask;
}

// --- calls with their outputs between guard bytes

template <typename T>
void append(Bytes& out, Guarded<T>& value) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(&value);
  out.insert(out.end(), bytes, bytes + sizeof(T));
}

using Run = std::function<uint32_t(Bytes&)>;

template <typename A>
Run out(std::function<uint32_t(A*)> call) {
  return [call](Bytes& out) {
    Guarded<A> a;
    const uint32_t status = call(&a);
    append(out, a);
    return status;
  };
}

template <typename A, typename B>
Run out(std::function<uint32_t(A*, B*)> call) {
  return [call](Bytes& out) {
    Guarded<A> a;
    Guarded<B> b;
    const uint32_t status = call(&a, &b);
    append(out, a);
    append(out, b);
    return status;
  };
}

Run act(std::function<uint32_t()> call) {
  return [call](Bytes&) { return call(); };
}

using U8 = uint8_t;
using U16 = uint16_t;
using U32 = uint32_t;
template <size_t N>
struct Room {
  uint8_t bytes[N];
  char* text() { return reinterpret_cast<char*>(bytes); }
};

/// N bytes: the text, a terminator, and what an output holds at first.
template <size_t N>
Bytes padded(const std::string& text, uint8_t rest = 0xA5) {
  Bytes bytes(N, rest);
  std::copy(text.begin(), text.end(), bytes.begin());
  bytes[text.size()] = 0;
  return bytes;
}

// --- the data of the model

const Bytes kFilter = {3, 0xC0, 0x7F, 0x2A, 0x3F, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
const Bytes kPolicy = {2, 0x5B, 0x12, 0x85};  // policy 5, enabled, type 3, channel 1, destination 2, string 85h
const Ask kGetFilter = pef_get(6, 3, kFilter);
const Ask kGetPolicy = pef_get(9, 2, kPolicy);
const Ask kDestinationType = lan_get(18, {2, 0x80, 30, 3});
const Ask kDestinationAddress = lan_get(19, {2, 0x00, 0x01, 192, 0, 2, 77, 2, 0, 0x5E, 0x10, 0, 9});

/// Destinations are read with room for any answer, and name what is too short for them themselves.
Ask destination(Ask ask) {
  ask.request[2] = 2;  // set selector
  ask.too_short = kC3;
  ask.no_data = kFF;
  ask.longer = ask.longest = 0;
  return ask;
}

const std::vector<Ask> kGetDestination = {kGetPolicy, destination(kDestinationType), destination(kDestinationAddress)};

const std::vector<Ask> kAddresses = {
    lan_get(4, {1}),
    lan_get(3, {192, 0, 2, 10}),
    lan_get(5, {2, 0, 0x5E, 0x10, 0, 1}),
    lan_get(6, {255, 255, 255, 0}),
    then(After::GoesOn, lan_get(12, {192, 0, 2, 1})),
    then(After::GoesOn, lan_get(13, {2, 0, 0x5E, 0x10, 0, 2})),
    then(After::GoesOn, lan_get(14, {192, 0, 2, 2})),
    then(After::GoesOn, lan_get(15, {2, 0, 0x5E, 0x10, 0, 3})),
};

const Bytes kKey = counting(20, 0x31);
const IPMISecurityKey kNewKey = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20}};

Ask key(uint8_t operation, const Bytes& more, const Bytes& data) {
  Ask ask = query(0x06, 0x56, join({1, operation, 1}, more), data, 1, kFF, kKeyCodes);
  if (operation == 0) ask.longer = ask.longest = kNoRoom;
  return ask;
}

const Ask kUserAccess = query(0x06, 0x44, {1, 2}, {0x3F, 0x44, 0x01, 0x14}, 4, kC3);
const Ask kSerialUserAccess = query(0x06, 0x44, {2, 2}, {0x3F, 0x84, 0x01, 0x73}, 4, kC3);
Bytes user_name(const std::string& name) {
  Bytes bytes(name.begin(), name.end());
  bytes.resize(16);
  return bytes;
}
Ask name_get(uint8_t user, const std::string& name) {
  return query(0x06, 0x46, {user}, user_name(name), 16, kC3);
}
Ask password(uint8_t user, uint8_t operation, const std::string& text, const Completions& codes = {}) {
  return order(0x06, 0x47, join({user, operation}, user_name(text)), codes);
}

const Ask kWatchdog = query(0x06, 0x25, {}, {0x84, 0x23, 0x07, 0x3E, 0x58, 0x02, 0x2C, 0x01}, 8);
const IPMIWatchdogConfig kTimer = {1, 1, 2, 0x02, 0, 0x1234, 0};

const Ask kSdrInfo = query(0x0A, 0x20, {}, {0x51, 54, 0, 0, 1, 1, 2, 3, 4, 5, 6, 7, 8, 0x02}, 14, kC3);
const Ask kSelInfo = query(0x0A, 0x40, {}, {0x51, 12, 0, 0, 1, 1, 2, 3, 4, 5, 6, 7, 8, 0x0B}, 14, kFF, kErasing);

Ask sensor(uint8_t cmd, const Bytes& request, const Bytes& data, size_t least) {
  return query(0x04, cmd, join({7}, request), data, least, kC3);
}

const Ask kModem = serial_get(3, {0x86});
const Ask kLine = serial_get(7, {0x60, 0x07});
const Ask kTerminal = serial_get(29, {0x2B, 0x31});
const Ask kAssociation = serial_get(51, {0x21, 0x53, 0x04});
const IPMISerialConfig kSerialConfig = {0, 10, 2, 0, 0, 0, 1, 1, 0, 1, 3, 2};
const Ask kSolAuthentication = sol_get(2, {0xC3});
const Ask kAlertStatus = query(0x04, 0x16, {1, 0x42, 0x85}, {0x02}, 1, kC3);

Ask route(uint8_t setting, uint8_t answer) {
  return query(0x0C, 0x1C, {2, 0x21, setting}, {answer}, 1, kFF, {{0xD5, 0x20000609}});
}

IPMILanConfig network() {
  IPMILanConfig config = {};
  config.ipSource = 1;
  std::memcpy(config.ipAddress, "\x0A\x00\x00\x05", 4);
  std::memcpy(config.subnetMask, "\xFF\xFF\x00\x00", 4);
  std::memcpy(config.defaultGateway, "\x0A\x00\x00\x01", 4);
  std::memcpy(config.macAddress, "\x02\x00\x5E\x10\x00\x07", 6);
  config.vlanEnable = 1;
  config.vlanId = 0x123;
  config.vlanPriority = 5;
  return config;
}

/// IPMIGetSystemInfo() and IPMIGetServiceInfo() with their texts guarded.
uint32_t system_info(Bytes& out) {
  Guarded<Room<16>> text, unit, asset;
  Guarded<IPMISystemInfo> info;
  info->systemInfoString = text->text(), info->systemInfoStringSize = 16;
  info->unitTag = unit->text(), info->unitTagSize = 16;
  info->assetTag = asset->text(), info->assetTagSize = 16;
  const uint32_t status = IPMIGetSystemInfo(&info);
  append(out, text);
  append(out, unit);
  append(out, asset);
  out.push_back(info->oemInfoByte);
  return status;
}

uint32_t service_info(Bytes& out) {
  Guarded<Room<16>> unit;
  IPMIServiceInfo info = {unit->text(), 16};
  const uint32_t status = IPMIGetServiceInfo(&info);
  append(out, unit);
  return status;
}

uint32_t bmc_info(Bytes& out) {
  Guarded<Room<4>> ipmi;
  Guarded<Room<5>> firmware;
  IPMIBMCInfo info = {ipmi->text(), 4, firmware->text(), 5};
  const uint32_t status = IPMIGetBMCInfo(&info);
  append(out, ipmi);
  append(out, firmware);
  return status;
}

uint32_t fru_data(Bytes& out) {
  Guarded<Room<24>> buffer;  // the last 4 bytes are read, to their places
  uint16_t count = 4;
  const uint32_t status = IPMIGetFruData(2, 20, &count, buffer->bytes);
  append(out, buffer);
  return status;
}

Bytes le(uint32_t value) {
  return {static_cast<U8>(value), static_cast<U8>(value >> 8), static_cast<U8>(value >> 16),
          static_cast<U8>(value >> 24)};
}

std::vector<ManagementCall> identity_calls() {
  using Text = Room<16>;
  const auto name = [](uint32_t (*call)(char*, uint32_t)) {
    return out<Text>([call](Text* t) { return call(t->text(), sizeof *t); });
  };
  const auto kind = [](int32_t number) {
    return out<U8>([number](U8* id) {
      TestHandle handle;
      return ipmi_get_channel_id(handle, number, id);
    });
  };
  const Ask unit = info_get(0xC5, tag("rack 7"));
  const Ask info_byte = info_get(0xCA, {0x5A});
  return {
      {"IPMIGetFruInventoryInfo",
       out<U16>([](U16* size) { return IPMIGetFruInventoryInfo(2, size); }),
       {query(0x0A, 0x10, {2}, {0x00, 0x02, 0x00}, 3)},
       {0x00, 0x02}},
      {"IPMIGetFruData",
       fru_data,
       {query(0x0A, 0x11, {2, 20, 0, 4}, {4, 1, 2, 3, 4}, 1, kFF, {{0x81, 0x2000011C}})},
       join(Bytes(20, 0xA5), {1, 2, 3, 4}),
       false},
      {"IPMIGetServiceInfo", service_info, {unit}, padded<16>("rack 7")},
      {"IPMIGetSystemInfo",
       system_info,
       {text_get(0xD1, "blade"), info_byte, unit, info_get(0xC4, tag("A-17"))},
       join(join(padded<16>("blade"), padded<16>("rack 7")), join(padded<16>("A-17"), {0x5A})),
       false},
      {"IPMIGetBMCInfo",
       bmc_info,
       {query(0x06, 0x01, {}, {0x20, 0x81, 0x81, 0x23, 0x02, 0xBF, 0x57, 1, 0, 0x34, 0x12}, 11)},
       join(padded<4>("2.0"), padded<5>("1.23"))},
      {"IPMIGetChannelInfo",
       out<U8, U8>([](U8* lan, U8* serial) { return IPMIGetChannelInfo(lan, serial); }),
       {channel(0, 1, After::GoesOn), channel(1, 4, After::GoesOn), channel(2, 5, After::GoesOn), no_channel(3),
        no_channel(4), no_channel(5), no_channel(6), no_channel(7)},
       {0x02, 0x04},
       false},
      {"IPMIGetBIOSVersion", name(IPMIGetBIOSVersion), {text_get(1, "1.2.3")}, padded<16>("1.2.3")},
      {"IPMIGetHostSystemName", name(IPMIGetHostSystemName), {text_get(2, "node17")}, padded<16>("node17")},
      {"IPMIGetOSName", name(IPMIGetOSName), {text_get(4, "Debian")}, padded<16>("Debian")},
      {"ipmi_get_channel_id LAN", kind(0), kLanKind, {1}, false},
      {"ipmi_get_channel_id serial", kind(1), kSerialKind, {2}, false},
  };
}

std::vector<ManagementCall> lan_calls() {
  const std::vector<Ask> vlan = {lan_get(20, {0x23, 0x81}), lan_get(21, {5})};
  const auto set = [](uint8_t flags) {
    return act([flags] {
      const IPMILanConfig config = network();
      return IPMISetLanConfiguration(&config, flags);
    });
  };
  const std::vector<Ask> source = {lan_set(4, {1})};
  const std::vector<Ask> address = {lan_set(3, {10, 0, 0, 5}), lan_set(6, {255, 255, 0, 0}),
                                    lan_set(12, {10, 0, 0, 1})};
  const std::vector<Ask> mac = {lan_set(5, {2, 0, 0x5E, 0x10, 0, 7})};
  const std::vector<Ask> set_vlan = {lan_set(20, {0x23, 0x81}), lan_set(21, {5})};
  const Ask mac_get = query(0x0C, 0x02, {1, 5, 0, 0}, {0x11, 2, 0, 0x5E, 0x10, 0, 1}, 7, kFF, kGetCodes);
  return {
      {"IPMIGetLanConfiguration",
       out<IPMILanConfig>(IPMIGetLanConfiguration),
       kLan + kAddresses + vlan,
       {1, 192, 0, 2, 10, 255, 255, 255, 0, 192, 0, 2, 1, 2, 0, 0x5E, 0x10, 0, 1, 1, 0x23, 0x01, 5, 0},
       false},
      {"IPMISetLanConfiguration 00", set(0xF0), kLan},
      {"IPMISetLanConfiguration 01", set(0x01), kLan + source},
      {"IPMISetLanConfiguration 02", set(0x02), kLan + address},
      {"IPMISetLanConfiguration 04", set(0x04), kLan + mac},
      {"IPMISetLanConfiguration 08", set(0x08), kLan + set_vlan},
      {"IPMISetLanConfiguration 0F", set(0x0F), kLan + source + address + mac + set_vlan},
      {"IPMIGetIPMIOverLANAccess",
       out<U8, U8>(IPMIGetIPMIOverLANAccess),
       kLan + std::vector{access_get(1, 0x80, 0x3A, 4)},
       {1, 4}},
      {"IPMISetIPMIOverLANAccess", act([] { return IPMISetIPMIOverLANAccess(0, 3); }),
       kLan + std::vector{access_get(1, 0x80, 0x3A, 4), access_set(1, 0xB8, 0x83), access_get(1, 0x40, 0x02, 2),
                          access_set(1, 0x40, 0x43)}},
      {"IPMISetCurrentNICMacAddress", act([] { return IPMISetCurrentNICMacAddress(network().macAddress); }),
       kLan + mac},
      {"ipmi_kest_get_mac_addr",
       out<IPMIMacAddress>([](IPMIMacAddress* m) {
         TestHandle handle;
         return ipmi_kest_get_mac_addr(handle, 1, m);
       }),
       {mac_get},
       {2, 0, 0x5E, 0x10, 0, 1}},
      {"IPMIGetBMCMacAddress",
       out<IPMIMacAddress>(IPMIGetBMCMacAddress),
       kLan + std::vector{mac_get},
       {2, 0, 0x5E, 0x10, 0, 1}},
  };
}

std::vector<ManagementCall> defaults_calls() {
  Ask reset = query(0x30, 0x21, {0xAA}, {0xF1}, 1);
  reset.longer = reset.longest = kTooLong;
  Ask keep_network = reset;
  keep_network.request = {0xDD};
  Ask set_level = query(0x30, 0xFE, {9}, {}, 0);
  Ask get_level = query(0x30, 0xFF, {}, {9}, 1);
  set_level.longest = get_level.longest = kTooLong;
  return {
      {"kest_ipmi_reset_to_default",
       out<U8>([](U8* completed) {
         TestHandle handle;
         return kest_ipmi_reset_to_default(handle, 0xAA, completed);
       }),
       {reset},
       {1}},
      {"IPMIResetConfiguration2Default", act(IPMIResetConfiguration2Default), {reset}},
      {"IPMIResetConfiguration2DefaultExceptNW", act(IPMIResetConfiguration2DefaultExceptNW), {keep_network}},
      {"IPMISetDebugLevel", act([] { return IPMISetDebugLevel(9); }), {set_level}},
      {"IPMIGetDebugLevel", out<U8>(IPMIGetDebugLevel), {get_level}, {9}},
      {"IPMIGracefulShutdown", act(IPMIGracefulShutdown), {}},
  };
}

std::vector<ManagementCall> alerting_calls() {
  using Text = Room<19>;
  const auto filter_set = [](size_t place, uint8_t value) {
    Bytes entry = kFilter;
    entry[3] &= 0x0F;  // the group control selector is lost
    entry[place] = value;
    return pef_set(6, entry);
  };
  Bytes disabled = kPolicy;
  disabled[1] = 0x53;
  Ask community = lan_get(16, padded<18>("public", 0));
  community.least = 1;
  const Ask initiate = query(0x04, 0x16, {1, 0x02, 0x85}, {}, 0);
  return {
      {"IPMIGetEnableEventFilters",
       out<U8>([](U8* on) { return IPMIGetEnableEventFilters(3, on); }),
       {kGetFilter},
       {1}},
      {"IPMISetEnableEventFilters",
       act([] { return IPMISetEnableEventFilters(3, 0); }),
       {kGetFilter, filter_set(1, 0x40)}},
      {"IPMIGetEventFilterEntry",
       out<IPMIEventFilterEntry>([](IPMIEventFilterEntry* entry) { return IPMIGetEventFilterEntry(3, entry); }),
       {kGetFilter},
       Bytes(kFilter.begin() + 1, kFilter.end())},
      {"IPMIGetEventActions",
       out<U8>([](U8* actions) { return IPMIGetEventActions(3, actions); }),
       {kGetFilter},
       {0x7F}},
      {"IPMISetEventActions", act([] { return IPMISetEventActions(3, 0x02); }), {kGetFilter, filter_set(2, 0x02)}},
      {"IPMIGetAlertPolicyEnable", out<U8>([](U8* on) { return IPMIGetAlertPolicyEnable(2, on); }), {kGetPolicy}, {1}},
      {"IPMISetAlertPolicyEnable",
       act([] { return IPMISetAlertPolicyEnable(2, 0); }),
       {kGetPolicy, pef_set(9, disabled)}},
      {"IPMIGetAlertDestinationIPAddr",
       out<Text>([](Text* t) { return IPMIGetAlertDestinationIPAddr(2, sizeof *t, t->text()); }), kGetDestination,
       padded<19>("192.0.2.77", 0), false},
      {"IPMISetAlertDestinationIPAddr", act([] { return IPMISetAlertDestinationIPAddr(2, "10.1.2.3"); }),
       kGetDestination + std::vector{lan_set(18, {2, 0x80, 30, 3}),
                                     lan_set(19, {2, 0x00, 0x01, 10, 1, 2, 3, 2, 0, 0x5E, 0x10, 0, 9})}},
      {"IPMIGetPETCommunityName", out<Text>([](Text* t) { return IPMIGetPETCommunityName(0, sizeof *t, t->bytes); }),
       kLanKind + std::vector{community}, padded<19>("public", 0), false},
      {"IPMISetPETCommunityName", act([] { return IPMISetPETCommunityName(0, "secret"); }),
       kLanKind + std::vector{lan_set(16, padded<18>("secret", 0))}},
      {"IPMIGetAlertEnable", out<U8>(IPMIGetAlertEnable), kLanKind + std::vector{access_get(1, 0x80, 0x3A, 4)}, {0}},
      {"IPMISetAlertEnable", act([] { return IPMISetAlertEnable(1); }),
       kLanKind + std::vector{access_get(1, 0x80, 0x3A, 4), access_set(1, 0x9A, 0x84), access_get(1, 0x40, 0x02, 2),
                              access_set(1, 0x42, 0x42)}},
      {"IPMIImmediateAlert", out<U32>([](U32* result) { return IPMIImmediateAlert(0, 2, 1, 5, 1, result); }),
       kLanKind + std::vector{initiate, then(After::Repeats, kAlertStatus)}, le(2)},
      {"IPMIImmediateAlert without waiting", act([] { return IPMIImmediateAlert(0, 2, 1, 5, 0, nullptr); }),
       kLanKind + std::vector{initiate}},
  };
}

std::vector<ManagementCall> chassis_calls() {
  return {
      {"IPMIGetChassisStatus", out<U8>(IPMIGetChassisStatus), {query(0x00, 0x01, {}, {0x21, 0, 0}, 3)}, {0x01}},
      {"IPMIChassisControl", act([] { return IPMIChassisControl(3); }), {order(0x00, 0x02, {3})}},
      {"IPMIGetSecurityKey", out<IPMISecurityKey, U32>([](IPMISecurityKey* k, U32* lock) {
         return IPMIGetSecurityKey(IPMI_KEY_KG, k, lock);
       }),
       kSol + std::vector{key(0, {}, join({0x02}, kKey))}, join(kKey, le(2))},
      {"IPMISetSecurityKey", out<U32>([](U32* lock) { return IPMISetSecurityKey(IPMI_KEY_KG, &kNewKey, lock); }),
       kSol + std::vector{key(1, counting(20), {0x02})}, le(2)},
      {"IPMILockSecurityKey", out<U32>([](U32* lock) { return IPMILockSecurityKey(IPMI_KEY_KG, lock); }),
       kSol + std::vector{key(2, {}, {0x01})}, le(1)},
      {"IPMIGetPayloadSupport", out<Room<8>>([](Room<8>* support) { return IPMIGetPayloadSupport(support->bytes); }),
       kSol + std::vector{query(0x06, 0x4E, {1}, kSupport, 8)}, kSupport},
      {"IPMIGetPayloadAccess", out<U32>([](U32* mask) { return IPMIGetPayloadAccess(2, mask); }),
       kSol + std::vector{query(0x06, 0x4D, {1, 2}, {0x02, 0x10, 0x20, 0x30}, 4)}, le(0x30201002)},
      {"IPMISetPayloadAccess", act([] {
         const uint32_t mask = 0x30201002;
         return IPMISetPayloadAccess(2, IPMI_PAYLOAD_ACCESS_DISABLE, &mask);
       }),
       kSol + std::vector{order(0x06, 0x4C, {1, 0x42, 0x02, 0x10, 0x20, 0x30})}},
  };
}

std::vector<ManagementCall> sensor_calls() {
  static const IPMISensorThresholds thresholds = {{0x05, 1, 2, 3, 4, 5, 6}};
  static const IPMISensorEventEnable events = {0xD0, 0x04030201};
  static const IPMISensorReadingSet setting = {0x51, 0x42, {1, 2, 3, 4}};
  const Bytes record = counting(16, 0x60);
  Ask erase = query(0x0A, 0x47, {0x34, 0x12, 'C', 'L', 'R', 0xAA}, {0x00}, 1);
  erase.longer = erase.longest = kTooLong;
  Ask entry = query(0x0A, 0x43, {0, 0, 0x12, 0x00, 0, 0xFF}, join({0x13, 0x00}, record), 2, kFF, kErasing);
  entry.longer = entry.longest = kNoRoom;
  return {
      {"IPMIGetNumberOfSDREntries", out<U16>(IPMIGetNumberOfSDREntries), {kSdrInfo}, {54, 0}},
      {"IPMIGetSensorReading",
       out<U32>([](U32* reading) { return IPMIGetSensorReading(7, reading); }),
       {sensor(0x2D, {}, {0x17, 0xC0, 0x05, 0x80}, 2)},
       {0x17, 0xC0, 0x05, 0x80}},
      {"IPMIGetSensorReadingFactors",
       out<IpmiSensorReadingFactors>(
           [](IpmiSensorReadingFactors* factors) { return IPMIGetSensorReadingFactors(7, 0x40, factors); }),
       {sensor(0x23, {0x40}, {0x60, 0x05, 0x02, 0x00, 0xE4, 0x10, 0xE0}, 7)},
       {0x60, 2, 100, 0, 0, 0, 5, 0, 0x00, 0xFF, 0xFE, 0},
       true},
      {"IPMIGetSensorThreshold",
       out<IPMISensorThresholds>([](IPMISensorThresholds* t) { return IPMIGetSensorThreshold(7, t); }),
       {sensor(0x27, {}, {0x3F, 1, 2, 3, 4, 5, 6}, 7)},
       {0x3F, 1, 2, 3, 4, 5, 6}},
      {"IPMISetSensorThreshold",
       act([] { return IPMISetSensorThreshold(7, &thresholds); }),
       {order(0x04, 0x26, {7, 0x05, 1, 2, 3, 4, 5, 6})}},
      {"IPMIGetSensorHysteresis",
       out<U8, U8>([](U8* up, U8* down) { return IPMIGetSensorHysteresis(7, up, down); }),
       {sensor(0x25, {0xFF}, {2, 3}, 2)},
       {2, 3}},
      {"IPMIGetSensorType",
       out<U8, U8>([](U8* type, U8* event) { return IPMIGetSensorType(7, type, event); }),
       {sensor(0x2F, {}, {0x01, 0x6F}, 2)},
       {0x01, 0x6F}},
      {"IPMIGetSensorEventEnable",
       out<IPMISensorEventEnable>([](IPMISensorEventEnable* e) { return IPMIGetSensorEventEnable(7, e); }),
       {sensor(0x29, {}, {0xFF, 1, 2, 3, 4}, 1)},
       {0xC0, 1, 2, 3, 4}},
      {"IPMISetSensorEventEnable",
       act([] { return IPMISetSensorEventEnable(7, &events); }),
       {order(0x04, 0x28, {7, 0xD0, 1, 2, 3, 4})}},
      {"IPMISetSensorReading",
       act([] { return IPMISetSensorReading(7, &setting); }),
       {query(0x04, 0x30, {7, 0x51, 0x42, 1, 2, 3, 4}, {}, 0)}},
      {"IPMIGetNumberOfSelEntries", out<U16>(IPMIGetNumberOfSelEntries), {kSelInfo}, {12, 0}},
      {"IPMIGetSel",
       out<Room<16>, U16>([](Room<16>* r, U16* next) { return IPMIGetSel(0x12, r->bytes, next); }),
       {entry},
       join(record, {0x13, 0x00})},
      {"IPMIClearSel", act(IPMIClearSel), {kSelInfo, query(0x0A, 0x42, {}, {0x34, 0x12}, 2, kFF, {{0x81, 0}}), erase}},
      {"IPMIGetSelTime",
       out<uint64_t>(IPMIGetSelTime),
       {query(0x0A, 0x48, {}, {1, 2, 3, 4}, 4)},
       {1, 2, 3, 4, 0, 0, 0, 0}},
  };
}

std::vector<ManagementCall> serial_calls() {
  static const IPMISerialConnectionMode modes = {1, 1, 0, 1};
  static const IPMISolConfig sol = {9, {12, 96}};
  const Ask rate = sol_get(5, {0x0A});
  return {
      {"IPMIGetSerialConnectionMode",
       out<IPMISerialConnectionMode>(IPMIGetSerialConnectionMode),
       kSerial + std::vector{kModem},
       {1, 0, 1, 1}},
      {"IPMISetSerialConnectionMode", act([] { return IPMISetSerialConnectionMode(&modes); }),
       kSerial + std::vector{serial_set(3, {0x85})}},
      {"IPMIGetSerialConfiguration",
       out<IPMISerialConfig>(IPMIGetSerialConfiguration),
       kSerial + std::vector{kModem, kLine, kTerminal, kAssociation},
       {3, 7, 1, 0, 1, 1, 1, 2, 1, 1, 3, 1},
       false},
      {"IPMISetSerialConfiguration", act([] { return IPMISetSerialConfiguration(&kSerialConfig); }),
       kSerial +
           std::vector{kLine, serial_set(7, {0xA0, 0x0A}), serial_set(29, {0x25, 0x32}), serial_set(29, {0x65, 0x32})}},
      {"IPMIGetSerialChannelAccess",
       out<U8, U8>(IPMIGetSerialChannelAccess),
       kSerial + std::vector{access_get(2, 0x40, 0x38, 3)},
       {0, 3}},
      {"IPMISetSerialChannelAccess", act([] { return IPMISetSerialChannelAccess(1, 4); }),
       kSerial + std::vector{access_get(2, 0x80, 0x02, 2), access_set(2, 0x82, 0x84), access_get(2, 0x40, 0x38, 3),
                             access_set(2, 0x7A, 0x44)}},
      {"IPMIGetSerialMuxSetting",
       out<U8>(IPMIGetSerialMuxSetting),
       kSerial + std::vector{kAssociation, route(0, 0xF6)},
       {6}},
      {"IPMISetSerialMuxSetting", act([] { return IPMISetSerialMuxSetting(3); }),
       kSerial + std::vector{kAssociation, route(3, 0x03)}},
      {"IPMIGetSessionInfo", out<U8, U8>(IPMIGetSessionInfo), {query(0x06, 0x3D, {1}, {0x01, 0xC5, 0xC2}, 3)}, {5, 2}},
      {"IPMIGetEnableSOL", out<U8>(IPMIGetEnableSOL), kSol + std::vector{sol_get(1, {0xFF})}, {1}},
      {"IPMISetEnableSOL", act([] { return IPMISetEnableSOL(1); }), kSol + std::vector{sol_set(1, {1})}},
      {"IPMIGetSOLConfiguration",
       out<IPMISolConfig>(IPMIGetSOLConfiguration),
       kSol + std::vector{sol_get(3, {12, 96}), rate},
       {10, 12, 96},
       false},
      {"IPMISetSOLConfiguration", act([] { return IPMISetSOLConfiguration(&sol); }),
       kSol + std::vector{sol_set(3, {12, 96}), sol_set(5, {9}), sol_set(6, {9})}},
      {"IPMIGetSOLOperatingPrivilege",
       out<U8>(IPMIGetSOLOperatingPrivilege),
       kSol + std::vector{kSolAuthentication},
       {3}},
      {"IPMISetSOLOperatingPrivilege", act([] { return IPMISetSOLOperatingPrivilege(4); }),
       kSol + std::vector{kSolAuthentication, sol_set(2, {0xC4})}},
  };
}

std::vector<ManagementCall> user_calls() {
  using Name = Room<17>;
  const uint32_t kNotFound = 0x20000213;
  Ask other = name_get(1, "root"), wanted = name_get(2, "admin");
  other.codes = wanted.codes = {{0xCC, kNotFound}, {0xC9, kNotFound}};
  // A wrong password lets the search go on, and a wrong size the test: CBh is what the model says to both.
  Ask test = password(2, 3, "pw", {{0x80, 0x200000CB}, {0x81, 0x200000CB}});
  test.searches_on = {0x80, 0x81};
  return {
      {"IPMIGetUserEnable",
       out<U8>([](U8* on) { return IPMIGetUserEnable(2, on); }),
       kLanKind + std::vector{kUserAccess},
       {1}},
      {"IPMISetUserEnable", act([] { return IPMISetUserEnable(2, 1); }), {order(0x06, 0x47, {2, 1})}},
      {"IPMIGetUserAccess",
       out<U8, U8>([](U8* on, U8* limit) { return IPMIGetUserAccess(2, 1, on, limit); }),
       kSerialKind + std::vector{kSerialUserAccess},
       {1, 3}},
      {"IPMISetUserAccess", act([] { return IPMISetUserAccess(2, 1, 1, 0x14); }),
       kSerialKind + std::vector{kSerialUserAccess, order(0x06, 0x43, {0xF2, 2, 4, 0})}},
      {"IPMIGetUserName",
       out<Name>([](Name* n) { return IPMIGetUserName(2, sizeof *n, n->text()); }),
       {name_get(2, "admin")},
       padded<17>("admin")},
      {"IPMISetUserName",
       act([] { return IPMISetUserName(2, "operator"); }),
       {order(0x06, 0x45, join({2}, user_name("operator")))}},
      {"IPMISetUserPassword", act([] { return IPMISetUserPassword(2, "secret"); }), {password(2, 2, "secret")}},
      {"IPMIAuthenticateUser",
       out<U8>([](U8* id) { return IPMIAuthenticateUser("admin", "pw", id); }),
       {other, wanted, test},
       {2}},
      {"IPMIGetWatchdogTimer",
       out<IPMIWatchdogConfig>(IPMIGetWatchdogTimer),
       {kWatchdog},
       join(join(le(4), le(2)), join(le(3), {0x3E, 0xA5, 0x58, 0x02, 0x2C, 0x01, 0xA5, 0xA5}))},
      {"IPMISetWatchdogTimer",
       act([] { return IPMISetWatchdogTimer(&kTimer, 0); }),
       {kWatchdog, order(0x06, 0x24, {0xC1, 0x12, 0x07, 0x02, 0x34, 0x12})}},
      {"IPMIResetWatchdogTimer", act(IPMIResetWatchdogTimer), {order(0x06, 0x22, {}, {{0x80, 0x2000011A}})}},
  };
}

using Key = std::pair<std::pair<uint8_t, uint8_t>, Bytes>;

std::map<Key, Bytes> answers() {
  std::map<Key, Bytes> result;
  for (const ManagementCall& call : management_calls()) {
    for (const Ask& ask : call.asks) {
      const Bytes reply = join({ask.completion}, ask.data);
      const auto [known, is_new] = result.insert({{{ask.net_fn, ask.cmd}, ask.request}, reply});
      if (!is_new && known->second != reply) ADD_FAILURE() << call.name << ": two answers to " << hex(ask.request);
    }
  }
  return result;
}

}  // namespace

const std::vector<ManagementCall>& management_calls() {
  static const std::vector<ManagementCall> calls = [] {
    std::vector<ManagementCall> all;
    for (const auto& family : {identity_calls(), lan_calls(), defaults_calls(), alerting_calls(), chassis_calls(),
                               sensor_calls(), serial_calls(), user_calls()})
      all.insert(all.end(), family.begin(), family.end());
    return all;
  }();
  return calls;
}

Bytes model_bmc(uint8_t net_fn, uint8_t cmd, const Bytes& request) {
  static const std::map<Key, Bytes> known = answers();
  const auto found = known.find({{net_fn, cmd}, request});
  return found == known.end() ? Bytes{0xCB} : found->second;
}
