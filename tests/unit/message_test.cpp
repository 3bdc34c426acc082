// Texts of states and events: bounds, the bit walk, and the limits of the text that is put together.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "lumipmi/lumipmi.h"
#include "support/fake_libc.hpp"
#include "support/guarded_bytes.hpp"
#include "support/scripted_driver.hpp"

namespace {

using lumi::test::GuardedBytes;

const char* const kNames[15] = {"zero", "one", "two", "three", nullptr, "five", "six", "seven", "eight", "nine"};

TEST(Message, Text) {
  EXPECT_EQ(ipmi_hlp_get_msg_by_id("Asserted", nullptr, 0, nullptr), 0x20000213u);

  GuardedBytes four(4, 0xA5);
  EXPECT_EQ(ipmi_hlp_get_msg("Asserted", nullptr, 4, four.text()), four.text());
  EXPECT_EQ(four.content(), std::string("Ass\0", 4));
  char* end = nullptr;
  GuardedBytes eight(8, 0xA5);
  ipmi_hlp_get_msg2("on", nullptr, 8, eight.text(), &end);
  EXPECT_EQ(end, eight.text() + 2);
  EXPECT_EQ(eight.content(), std::string("on\0\xA5\xA5\xA5\xA5\0", 8)) << "the last byte, too, becomes NUL";

  GuardedBytes id(9, 0xA5);
  EXPECT_STREQ(ipmi_hlp_get_msg_id("Non-A 1\xE9", 9, id.text()), "Non_A_1_");
  EXPECT_STREQ(ipmi_hlp_get_msg_id("Z[a`{@/:", 9, id.text()), "Z_a_____");
  EXPECT_STREQ(ipmi_hlp_get_msg_id("9z0123456", 9, id.text()), "9z012345");
  GuardedBytes nothing(0);
  ipmi_hlp_get_msg("x", nullptr, 0, nothing.text());
  ipmi_hlp_get_msg_id("x", 0, nothing.text());
}

TEST(Message, NullPointers) {
  Guarded<char[8]> text;
  Guarded<wchar_t[2]> wide;
  char* end = *text;
  EXPECT_EQ(ipmi_hlp_get_msg_id(nullptr, 8, *text), *text);
  EXPECT_EQ(ipmi_hlp_get_msg_id("x", 8, nullptr), nullptr);
  EXPECT_EQ(ipmi_hlp_get_msg(nullptr, nullptr, 8, *text), *text);
  EXPECT_EQ(ipmi_hlp_get_msg2("x", nullptr, 8, nullptr, &end), nullptr);
  EXPECT_EQ(ipmi_hlp_get_wmsg(nullptr, nullptr, 2, *wide), *wide);
  EXPECT_EQ(ipmi_hlp_get_wmsg("x", nullptr, 2, nullptr), nullptr);
  EXPECT_EQ(ipmi_hlp_get_wmsg("x", nullptr, 0, *wide), *wide);
  EXPECT_EQ(end, *text);
  EXPECT_TRUE(text.untouched() && wide.untouched());
  EXPECT_STREQ(ipmi_hlp_get_msg2("x", nullptr, 8, *text, nullptr), "x");
}

TEST(Message, WideText) {
  GuardedBytes room(4 * sizeof(wchar_t), 0xA5);
  auto* wide = reinterpret_cast<wchar_t*>(room.data());
  EXPECT_EQ(std::wstring(ipmi_hlp_get_wmsg("Asserted", nullptr, 4, wide)), L"Ass");
  lumi::test::FakeLibc libc;
  libc.fail_allocation = 1;
  EXPECT_EQ(std::wstring(ipmi_hlp_get_wmsg("other", nullptr, 4, wide)), L"Ass") << "untouched without memory";
  EXPECT_EQ(std::wstring(ipmi_hlp_get_wmsg("two", nullptr, 4, wide)), L"two");
  EXPECT_EQ(libc.live_allocations(), 0u);
}

TEST(Message, Bits) {
  constexpr int32_t kAll = 15;
  const struct {
    const char* what;
    Bytes bits;
    int32_t keys;  // 0: none
    uint8_t flags;
    const char* first;
    const char* every;
  } rows[] = {
      {"no keys", {0x0A}, 0, 0, "State 1 Asserted", "State 1 Asserted; State 3 Asserted"},
      {"other flags do nothing", {0x04, 0x02}, 0, 0xFE, "State 2 Asserted", "State 2 Asserted; State 9 Asserted"},
      {"reversed", {0x00, 0x80}, 0, 1, "State 7 Asserted", "State 7 Asserted"},
      {"reversed, of three", {0x01, 0x02, 0x04}, 0, 1, "State 2 Asserted", "State 2 Asserted; State 9 Asserted"},
      {"bit 15", {0x00, 0x80}, 0, 0, "nothing", "nothing"},
      {"bit 14, the last", {0x00, 0xC0, 0xFF}, 0, 0, "State 14 Asserted", "State 14 Asserted"},
      {"keys", {0x03}, kAll, 0, "zero", "zero; one"},
      {"two keys", {0x07}, 2, 0, "zero", "zero; one"},
      {"bits beyond the keys", {0x04}, 2, 0, "nothing", "nothing"},
      {"a bit without a key ends its byte, not the walk", {0x20, 0x01}, kAll, 0, "eight", "eight"},
      {"... also when it is not set", {0x28, 0x03}, kAll, 0, "three", "three; eight; nine"},
      {"no bits", {0x00}, kAll, 0, "nothing", "nothing"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const GuardedBytes bits(row.bits);
    auto* data = const_cast<GuardedBytes&>(bits).data();
    const auto count = static_cast<int32_t>(row.bits.size());
    const char* const* keys = row.keys == 0 ? nullptr : kNames;
    Guarded<char[64]> text;
    EXPECT_EQ(ipmi_hlp_get_msg_by_bits(nullptr, data, count, row.keys, keys, row.flags, "nothing", *text, 64), 0u);
    EXPECT_STREQ(*text, row.first);
    EXPECT_EQ(ipmi_hlp_gen_every_msg_by_bits(nullptr, data, count, static_cast<uint32_t>(row.keys), keys, row.flags,
                                             "nothing", "; ", *text, 64),
              0u);
    EXPECT_STREQ(*text, row.every);
  }
}

TEST(Message, BitsWithoutSense) {
  const uint8_t bits = 0x03;
  Guarded<char[8]> text;
  EXPECT_EQ(ipmi_hlp_get_msg_by_bits(nullptr, nullptr, 1, 0, nullptr, 0, "x", *text, 8), 0x20000214u);
  EXPECT_EQ(ipmi_hlp_get_msg_by_bits(nullptr, &bits, 1, 0, nullptr, 0, nullptr, *text, 8), 0x20000214u);
  EXPECT_EQ(ipmi_hlp_get_msg_by_bits(nullptr, &bits, 1, 0, nullptr, 0, "x", nullptr, 8), 0x20000214u);
  EXPECT_EQ(ipmi_hlp_gen_every_msg_by_bits(nullptr, nullptr, 1, 0, nullptr, 0, "x", "", *text, 8), 0x20000214u);
  EXPECT_EQ(ipmi_hlp_gen_every_msg_by_bits(nullptr, &bits, 1, 0, nullptr, 0, nullptr, "", *text, 8), 0x20000214u);
  EXPECT_EQ(ipmi_hlp_gen_every_msg_by_bits(nullptr, &bits, 1, 0, nullptr, 0, "x", nullptr, *text, 8), 0x20000214u);
  EXPECT_EQ(ipmi_hlp_gen_every_msg_by_bits(nullptr, &bits, 1, 0, nullptr, 0, "x", "", nullptr, 8), 0x20000214u);
  EXPECT_TRUE(text.untouched());
  EXPECT_EQ(ipmi_hlp_get_msg_by_bits(nullptr, &bits, 1, 0, nullptr, 0, "x", *text, 0), 0u);
  EXPECT_EQ(ipmi_hlp_get_msg_by_bits(nullptr, &bits, 1, 0, nullptr, 0, "x", *text, -1), 0u);
  EXPECT_TRUE(text.untouched());
  EXPECT_EQ(ipmi_hlp_get_msg_by_bits(nullptr, &bits, -1, 0, nullptr, 0, "none", *text, 8), 0u);
  EXPECT_EQ(std::string(*text, 8), std::string("none\0\0\0\0", 8)) << "cleared to its end";
  EXPECT_EQ(ipmi_hlp_gen_every_msg_by_bits(nullptr, &bits, 1, 0, nullptr, 0, "x", " ", *text, 8), 0u);
  EXPECT_STREQ(*text, "State 0") << "cut";
}

TEST(Message, Overflow) {
  const std::string fits(1023, 'f'), too_long(1024, 't'), half(512, 'h'), rest(510, 'r'), one_more(511, 'm');
  const struct {
    const char* what;
    std::vector<std::string> keys;
    std::string first, every;            // texts
    std::string first_said, every_said;  // on standard output
  } rows[] = {
      {"1023 bytes", {fits}, fits, fits, "", ""},
      {"1024 bytes", {too_long}, "nothing", "nothing", "string overflow", "string overflow."},
      {"just fits", {half, rest}, half, half + "+" + rest, "", ""},
      {"a byte too many", {half, one_more, "x"}, half, half + "++x", "", "string overflow."},
      {"no room for the separator", {fits, "x"}, fits, fits, "", "string overflowstring overflow."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    std::vector<const char*> keys;
    for (const std::string& key : row.keys) keys.push_back(key.c_str());
    const uint8_t bits = 0xFF;
    char text[1200];
    testing::internal::CaptureStdout();
    ipmi_hlp_get_msg_by_bits(nullptr, &bits, 1, static_cast<int32_t>(keys.size()), keys.data(), 0, "nothing", text,
                             sizeof text);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), row.first_said);
    EXPECT_EQ(text, row.first);
    testing::internal::CaptureStdout();
    ipmi_hlp_gen_every_msg_by_bits(nullptr, &bits, 1, static_cast<uint32_t>(keys.size()), keys.data(), 0, "nothing",
                                   "+", text, sizeof text);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), row.every_said);
    EXPECT_EQ(text, row.every);
  }
}

}  // namespace
