#include "lumipmi/pef.h"

#include <gtest/gtest.h>

#include "support/config_cases.hpp"

namespace {

constexpr uint8_t kSensorEvent = 0x04;
constexpr uint8_t kTransport = 0x0C;
constexpr uint8_t kChannel = 6;

Step pef_step(uint8_t selector, uint8_t set, Bytes data) {
  data.insert(data.begin(), 0x11);  // revision
  return {.net_fn = kSensorEvent, .cmd = 0x13, .request = {selector, set, 0}, .reply = ok(data), .kind = 3};
}

Step lan_step(uint8_t selector, uint8_t set, Bytes data) {
  data.insert(data.begin(), 0x11);  // revision
  return {.net_fn = kTransport, .cmd = 0x02, .request = {kChannel, selector, set, 0}, .reply = ok(data), .kind = 3};
}

// A parameter to set: the data, and zeros up to size.
Bytes lan_request(uint8_t selector, size_t size, const Bytes& data) {
  Bytes request(2 + size);
  request[0] = kChannel;
  request[1] = selector;
  std::copy(data.begin(), data.end(), request.begin() + 2);
  return request;
}

TEST(pef, counts) {
  TestHandle handle;
  ScriptedDriver bmc = {pef_step(5, 0, {0xFE}), pef_step(8, 0, {0xC1}), lan_step(17, 0, {0xF9}), lan_step(17, 0, {})};
  Guarded<uint8_t> count;
  EXPECT_EQ(ipmi_get_event_filter_count(handle, &count), 0u);
  EXPECT_EQ(*count, 0x7E);
  EXPECT_EQ(ipmi_get_policy_count(handle, &count), 0u);
  EXPECT_EQ(*count, 0x41);
  EXPECT_EQ(ipmi_get_lan_destination_count(handle, kChannel, &count), 0u);
  EXPECT_EQ(*count, 9);
  EXPECT_EQ(ipmi_get_lan_destination_count(handle, kChannel, &count), 0u);
  EXPECT_EQ(*count, 0) << "the revision alone";
}

TEST(pef, event_filter_is_read) {
  const struct {
    const char* name;
    Bytes data;
    std::vector<uint32_t> fields;
    const char* source;
    const char* criteria;
  } cases[] = {
      {"whole",
       {0x33, 0xA5, 0xFE, 0xB4, 0xD5, 0x41, 0x42, 0x43, 0x44, 0x51, 0x52,
        0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0x5B, 0x5C},
       {0xA5, 1, 1, 0x7E, 3, 4, 0x15},
       "41 42 43 44",
       "51 52 53 54 55 56 57 58 59 5a 5b 5c"},
      {"other bits, and more than an entry",
       {0, 0x5F, 0x81, 0xCB, 0x2A, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x66, 0x77, 0x88},
       {0xA5, 0, 2, 1, 4, 11, 0x2A},
       "00 00 00 00",
       "00 00 00 00 00 00 00 00 00 00 00 66"},
      {"bytes that do not come are zero",
       {0x33, 0x80, 1, 2, 3, 4},
       {0xA5, 1, 0, 1, 0, 2, 3},
       "04 00 00 00",
       "00 00 00 00 00 00 00 00 00 00 00 00"},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedDriver bmc = {pef_step(6, 0xA5, c.data)};
    Guarded<IpmiEventFilter> f;  // filled with a5: the filter number is sent whole, and stays
    EXPECT_EQ(ipmi_get_event_filter(handle, &f), 0u);
    EXPECT_EQ(c.fields, (std::vector<uint32_t>{f->filter_number, f->enable, f->filter_type, f->action, f->group_control,
                                               f->policy_number, f->severity}));
    EXPECT_EQ(hex(f->source, 4), c.source);
    EXPECT_EQ(hex(f->criteria, 12), c.criteria);
  }
}

TEST(pef, policy_is_read) {
  const struct {
    Bytes data;
    std::vector<uint32_t> fields;
  } cases[] = {
      {{0x33, 0x5D, 0x6A, 0x85}, {0xA5, 5, 1, 5, 6, 10, 0, 5}},
      {{0x33, 0xA2, 0x95, 0x7A, 0xEE}, {0xA5, 10, 0, 2, 9, 5, 1, 0x7A}},
      {{0x33, 0x18}, {0xA5, 1, 1, 0, 0, 0, 1, 0}},  // bytes that do not come are zero
  };
  TestHandle handle;
  for (const auto& c : cases) {
    ScriptedDriver bmc = {pef_step(9, 0xA5, c.data)};
    Guarded<IpmiAlertPolicy> p;
    EXPECT_EQ(ipmi_get_policy(handle, &p), 0u);
    EXPECT_EQ(c.fields, (std::vector<uint32_t>{p->entry, p->policy_number, p->enabled, p->policy_type, p->channel,
                                               p->destination, p->fixed_string, p->string_selector}));
  }
}

TEST(pef, entries_are_written) {
  const auto filter = [](IpmiEventFilter f) { return [=](IpmiHandle* h) { return ipmi_set_event_filter(h, &f); }; };
  const auto policy = [](IpmiAlertPolicy p) { return [=](IpmiHandle* h) { return ipmi_set_policy(h, &p); }; };
  const Bytes zeros(16);
  const auto plain_filter = [&](Bytes head) {
    head.insert(head.begin(), 6);
    head.insert(head.end(), zeros.begin(), zeros.end());
    return head;
  };
  check_writes(
      kSensorEvent, 0x12, 4,
      {{"filter",
        {{6, 0x12, 0xC0, 0x41, 0x03, 0x10, 1, 2, 3, 4, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22}},
        filter({0x12, 1, 2, 0x41, 5, 3, 0x10, {1, 2, 3, 4}, {11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22}})},
       // group_control never goes back: part of the interface.
       {"group control alone", {plain_filter({0, 0, 0, 0, 0})}, filter({0, 0, 0, 0, 7, 0, 0, {}, {}})},
       {"wide values",
        {plain_filter({0x7F, 0xE0, 0x7F, 0x0F, 0x3F})},
        filter({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFFFFFFFF, {}, {}})},
       {"enable 2", {plain_filter({0, 0, 0, 0, 0})}, filter({0, 2, 4, 0x80, 0, 0x10, 0x40, {}, {}})},
       {"policy", {{9, 0x12, 0x5D, 0x6A, 0x85}}, policy({0x12, 5, 1, 5, 6, 10, 0, 5})},
       {"policy, fixed string", {{9, 0x12, 0xA2, 0x95, 0x7A}}, policy({0x12, 10, 0, 2, 9, 5, 1, 0xFA})},
       {"policy, wide values",
        {{9, 0x7F, 0xFF, 0xFF, 0x7F}},
        policy({0xFF, 0xFF, 0xFF, 0xFFFFFFFF, 0xFF, 0xFF, 0xFF, 0xFF})},
       {"policy, type 8", {{9, 0, 0, 0, 0}}, policy({0, 0, 0, 8, 0, 0, 1, 0})},
       {"policy, enabled 2 and fixed string 2", {{9, 0, 0x08, 0, 0x82}}, policy({0, 0, 2, 8, 0x10, 0x10, 2, 2})}});
  check_invalid({[](IpmiHandle* h) { return ipmi_set_event_filter(h, nullptr); },
                 [](IpmiHandle* h) { return ipmi_set_policy(h, nullptr); }});
}

TEST(pef, alert_immediate) {
  const IpmiAlertEvent event = {{0x41, 0x42, 0x43, 0x44}, 0, 0xEF, {0x51, 0x52}, 0x53};
  const IpmiAlertEvent deassertion = {{0x41, 0x42, 0x43, 0x44}, 0xFF, 0x6F, {0x51, 0x52}, 0x53};
  const IpmiAlertEvent other = {{0x41, 0x42, 0x43, 0x44}, 0xFE, 0x01, {0x51, 0x52}, 0x53};
  const struct {
    const char* name;
    IpmiAlertImmediate alert;
    const IpmiAlertEvent* event;
    Bytes request;
    Bytes reply;
    uint32_t status;
    uint32_t out;
  } cases[] = {
      {"initiate", {6, 0, 3, 0, 0x55}, nullptr, {6, 0x03, 0x00}, ok({}), 0, 0xA5A5A5A5},
      {"an answer that nobody reads", {6, 0, 3, 0, 0}, nullptr, {6, 0x03, 0x00}, ok({1, 2}), 0, 0xA5A5A5A5},
      {"with a string", {0xF6, 0, 0xFF, 0xFF, 0x56}, nullptr, {0xF6, 0x0F, 0xD6}, ok({}), 0, 0xA5A5A5A5},
      {"string flag 2", {6, 0, 0, 2, 0x55}, nullptr, {6, 0x00, 0x00}, ok({}), 0, 0xA5A5A5A5},
      {"status", {6, 1, 3, 0, 0}, nullptr, {6, 0x43, 0x00}, ok({0xE2, 0xEE}), 0, 0xE2},
      {"status, empty answer", {6, 1, 3, 0, 0}, nullptr, {6, 0x43, 0x00}, ok({}), 0x200000C3, 0xA5A5A5A5},
      {"clear", {6, 2, 3, 0, 0}, nullptr, {6, 0x83, 0x00}, ok({}), 0, 0xA5A5A5A5},
      {"wide operation", {6, 0xFFFFFFFD, 3, 0, 0}, nullptr, {6, 0x43, 0x00}, ok({1}), 0, 0xA5A5A5A5},
      {"refused", {6, 1, 3, 0, 0}, nullptr, {6, 0x43, 0x00}, {0x81}, 0x20000081, 0xA5A5A5A5},
      {"event",
       {6, 0, 3, 0, 0},
       &event,
       {6, 3, 0, 0x41, 0x42, 0x43, 0x44, 0x6F, 0x51, 0x52, 0x53},
       ok({}),
       0,
       0xA5A5A5A5},
      {"deassertion",
       {6, 0, 3, 0, 0},
       &deassertion,
       {6, 3, 0, 0x41, 0x42, 0x43, 0x44, 0xEF, 0x51, 0x52, 0x53},
       ok({}),
       0,
       0xA5A5A5A5},
      {"direction 0xfe",
       {6, 0, 3, 0, 0},
       &other,
       {6, 3, 0, 0x41, 0x42, 0x43, 0x44, 0x01, 0x51, 0x52, 0x53},
       ok({}),
       0,
       0xA5A5A5A5},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedDriver bmc = {{.net_fn = kSensorEvent, .cmd = 0x16, .request = c.request, .reply = c.reply, .kind = 4}};
    Guarded<uint32_t> status;
    EXPECT_EQ(ipmi_se_alert_immediate(handle, &c.alert, c.event, &status), c.status);
    EXPECT_EQ(*status, c.out);
  }
  check_invalid({[](IpmiHandle* h) { return ipmi_se_alert_immediate(h, nullptr, nullptr, nullptr); },
                 [](IpmiHandle* h) {
                   const IpmiAlertImmediate alert = {0, 1, 0, 0, 0};
                   return ipmi_se_alert_immediate(h, &alert, nullptr, nullptr);
                 },
                 [&](IpmiHandle*) { return ipmi_se_alert_immediate(nullptr, &cases[0].alert, nullptr, nullptr); }});
  ScriptedDriver bmc = {{.net_fn = kSensorEvent, .cmd = 0x16, .request = {6, 0x83, 0x00}}};
  EXPECT_EQ(ipmi_se_alert_immediate(handle, &cases[6].alert, nullptr, nullptr), 0u) << "clear needs no status";
}

TEST(pef, community_string) {
  TestHandle handle;
  const struct {
    Bytes data;
    uint32_t status;
    std::string text;
  } cases[] = {{{'p', 'u', 'b'}, 0, "pub"},
               {Bytes(18, 'x'), 0, std::string(18, 'x')},
               {Bytes(19, 'x'), 0x20000212, ""},
               {Bytes(253, 'x'), 0x20000212, ""},
               {{}, 0, ""}};
  for (const auto& c : cases) {
    ScriptedDriver bmc = {lan_step(16, 0, c.data)};
    Guarded<uint8_t[24]> text;
    EXPECT_EQ(ipmi_get_community_string(handle, kChannel, *text), c.status);
    Bytes expected(c.text.begin(), c.text.end());
    expected.resize(24);
    EXPECT_EQ(hex(*text, 24), hex(expected));
  }
  {
    ScriptedDriver bmc = {
        {.net_fn = kTransport, .cmd = 0x02, .request = {kChannel, 16, 0, 0}, .reply = {0x80}, .kind = 3}};
    Guarded<uint8_t[24]> text;
    EXPECT_EQ(ipmi_get_community_string(handle, kChannel, *text), 0x20000113u);
    EXPECT_TRUE(text.zero()) << "cleared first";
  }
  const auto request = [](const std::string& text) { return lan_request(16, 18, Bytes(text.begin(), text.end())); };
  const auto write = [](std::string text) {
    return [=](IpmiHandle* h) { return ipmi_set_community_string(h, kChannel, text.c_str()); };
  };
  check_writes(kTransport, 0x01, 4,
               {{"short", {request("public")}, write("public")},
                {"empty", {request("")}, write("")},
                {"17", {request(std::string(17, 'a'))}, write(std::string(17, 'a'))},
                {"18 are cut to 17", {request(std::string(17, 'a'))}, write(std::string(18, 'a'))},
                {"30 are cut to 17", {request("abcdefghijklmnopq")}, write("abcdefghijklmnopqrstuvwxyz0123")}});
  check_invalid({[](IpmiHandle* h) { return ipmi_set_community_string(h, kChannel, nullptr); },
                 [](IpmiHandle* h) { return ipmi_get_community_string(h, kChannel, nullptr); }});
}

std::vector<uint32_t> fields(const IpmiLanDestination& d) {
  return {d.selector, d.acknowledge, d.type, d.ack_timeout, d.retries, d.address_format, d.use_default_gateway};
}

TEST(pef, lan_destination_is_read) {
  const struct {
    const char* name;
    Bytes type;
    Bytes address;
    uint32_t status;
    std::vector<uint32_t> fields;
    const char* ip;
    const char* mac;
  } cases[] = {
      {"default gateway",
       {3, 0xFE, 0xF7, 0xFD},
       {3, 0x0F, 0xFE, 1, 2, 3, 4, 11, 12, 13, 14, 15, 16},
       0,
       {3, 1, 6, 0xF7, 5, 0, 1},
       "01 02 03 04",
       "0b 0c 0d 0e 0f 10"},
      {"backup gateway, more bytes",
       {3, 0x79, 2, 0x0A, 9},
       {3, 0, 1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11},
       0,
       {3, 0, 1, 2, 2, 0, 0},
       "01 02 03 04",
       "05 06 07 08 09 0a"},
      {"another format keeps the rest",
       {3, 0x02, 2, 3},
       {3, 0xF0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10},
       0,
       {3, 0, 2, 2, 3, 15, 0xA5},
       "a5 a5 a5 a5",
       "a5 a5 a5 a5 a5 a5"},
      {"short type",
       {3, 0x02, 2},
       {},
       0x200000C3,
       {3, 0xA5, 0xA5A5A5A5, 0xA5, 0xA5, 0xA5A5A5A5, 0xA5},
       "a5 a5 a5 a5",
       "a5 a5 a5 a5 a5 a5"},
      {"short address",
       {3, 0x02, 2, 3},
       {3, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9},
       0x200000C3,
       {3, 0xA5, 0xA5A5A5A5, 0xA5, 0xA5, 0xA5A5A5A5, 0xA5},
       "a5 a5 a5 a5",
       "a5 a5 a5 a5 a5 a5"},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<Step> steps = {lan_step(18, 3, c.type)};
    if (!c.address.empty()) steps.push_back(lan_step(19, 3, c.address));
    ScriptedDriver bmc(steps);
    Guarded<IpmiLanDestination> destination;
    destination->selector = 3;
    EXPECT_EQ(ipmi_get_lan_destination(handle, kChannel, &destination), c.status);
    EXPECT_EQ(fields(*destination), c.fields);
    EXPECT_EQ(hex(destination->ip_address, 4), c.ip);
    EXPECT_EQ(hex(destination->mac_address, 6), c.mac);
  }
  check_invalid({[](IpmiHandle* h) { return ipmi_get_lan_destination(h, kChannel, nullptr); },
                 [](IpmiHandle*) {
                   IpmiLanDestination destination = {};
                   return ipmi_get_lan_destination(nullptr, kChannel, &destination);
                 }});
}

// The type is written narrower than it is read: part of the interface.
TEST(pef, lan_destination_is_written) {
  const auto write = [](IpmiLanDestination d) {
    return [=](IpmiHandle* h) { return ipmi_set_lan_destination(h, kChannel, &d); };
  };
  const auto type = [](const Bytes& data) { return lan_request(18, 4, data); };
  const auto address = [](const Bytes& data) { return lan_request(19, 13, data); };
  check_writes(kTransport, 0x01, 4,
               {{"default gateway",
                 {type({3, 0x81, 7, 5}), address({3, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10})},
                 write({3, 1, 1, 7, 5, 0, 1, {1, 2, 3, 4}, {5, 6, 7, 8, 9, 10}})},
                {"backup gateway",
                 {type({3, 0x00, 7, 5}), address({3, 0, 1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10})},
                 write({3, 0, 0, 7, 5, 0, 0, {1, 2, 3, 4}, {5, 6, 7, 8, 9, 10}})},
                {"type 6 becomes 2, flags of 2 are 0",
                 {type({3, 0x02, 7, 5}), address({3, 0, 1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10})},
                 write({3, 2, 6, 7, 5, 0, 2, {1, 2, 3, 4}, {5, 6, 7, 8, 9, 10}})},
                {"another format",
                 {type({3, 0x03, 7, 5}), address({3, 0x10})},
                 write({3, 0, 3, 7, 5, 1, 0, {1, 2, 3, 4}, {5, 6, 7, 8, 9, 10}})},
                {"a format beyond its width is not 0, but sent as 0",
                 {type({3, 0, 0, 0}), address({3, 0x00})},
                 write({3, 0, 0, 0, 0, 0x10, 0, {1, 2, 3, 4}, {5, 6, 7, 8, 9, 10}})},
                {"wide values",
                 {type({0x0F, 0x83, 0xFF, 7}), address({0x0F, 0xF0})},
                 write({0xFF, 0xFF, 0xFFFFFFFF, 0xFF, 0xFF, 0xFFFFFFFF, 0xFF, {1, 2, 3, 4}, {5, 6, 7, 8, 9, 10}})}});
  check_invalid({[](IpmiHandle* h) { return ipmi_set_lan_destination(h, kChannel, nullptr); }});
}

}  // namespace
