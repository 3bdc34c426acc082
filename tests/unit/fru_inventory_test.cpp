#include <gtest/gtest.h>

#include "lumipmi/fru_inventory.h"
#include "support/scripted_driver.hpp"

namespace {

constexpr uint8_t kStorage = 0x0A;
constexpr uint8_t kDevice = 7;

Step read_step(uint16_t offset, uint8_t count, Bytes reply) {
  return {.net_fn = kStorage,
          .cmd = 0x11,
          .request = {kDevice, static_cast<uint8_t>(offset), static_cast<uint8_t>(offset >> 8), count},
          .reply = std::move(reply),
          .kind = 2};
}

// Read FRU Data's answer: a count byte and that many bytes that tell their offsets apart.
Bytes read_reply(uint16_t offset, uint8_t count) {
  Bytes data = {count};
  const Bytes bytes = counting(count, static_cast<uint8_t>(offset));
  data.insert(data.end(), bytes.begin(), bytes.end());
  return ok(data);
}

TEST(fru_inventory, info) {
  TestHandle handle;
  for (const uint8_t access : Bytes{0xFE, 0x01}) {
    ScriptedDriver bmc = {
        {.net_fn = kStorage, .cmd = 0x10, .request = {kDevice}, .reply = ok({0x34, 0x12, access, 0xEE}), .kind = 2}};
    Guarded<IpmiFruInventoryInfo> info;
    ASSERT_EQ(ipmi_storage_get_fru_inventory_info(handle, kDevice, &info), 0u);
    EXPECT_EQ(info->area_size, 0x1234);
    EXPECT_EQ(info->access_by_words, access & 1u);
  }
  check_failures<IpmiFruInventoryInfo>(kStorage, 0x10, {kDevice}, 3, 0x200000FF, OnFailure::Untouched,
                                       [](IpmiHandle* handle_, IpmiFruInventoryInfo* out) {
                                         return ipmi_storage_get_fru_inventory_info(handle_, kDevice, out);
                                       });
}

TEST(fru_inventory, read) {
  const struct {
    const char* name;
    Bytes reply;
    uint32_t status;
    uint8_t count;
    const char* out;
  } cases[] = {
      {"all", ok({4, 1, 2, 3, 4}), 0, 4, "01 02 03 04 a5"},
      {"fewer", ok({2, 1, 2}), 0, 2, "01 02 a5 a5 a5"},
      {"none", ok({0}), 0, 0, "a5 a5 a5 a5 a5"},
      {"surplus behind the counted bytes", ok({2, 1, 2, 3, 4, 5}), 0, 2, "01 02 a5 a5 a5"},
      {"no bytes", ok({}), 0x200000FF, 4, "a5 a5 a5 a5 a5"},
      {"fewer than counted", ok({5, 1, 2, 3, 4}), 0x200000FF, 4, "a5 a5 a5 a5 a5"},
      {"more than asked for", ok({5, 1, 2, 3, 4, 5}), 0x20000212, 4, "a5 a5 a5 a5 a5"},
      {"busy", {0x81}, 0x2000011C, 4, "a5 a5 a5 a5 a5"},
      {"0x80 is nothing special", {0x80}, 0x20000080, 4, "a5 a5 a5 a5 a5"},
      {"out of range", {0xC9}, 0x200000C9, 4, "a5 a5 a5 a5 a5"},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedDriver bmc = {read_step(0x0102, 4, c.reply)};
    uint8_t count = 4;
    Guarded<uint8_t[5]> out;
    EXPECT_EQ(ipmi_storage_read_fru_data(handle, kDevice, 0x0102, &count, *out), c.status);
    EXPECT_EQ(count, c.count);
    EXPECT_EQ(hex(*out, 5), c.out);
  }
  uint8_t byte = 1;
  EXPECT_EQ(ipmi_storage_read_fru_data(nullptr, 0, 0, &byte, &byte), 0x20000214u);
  EXPECT_EQ(ipmi_storage_read_fru_data(handle, 0, 0, nullptr, &byte), 0x20000214u);
  EXPECT_EQ(ipmi_storage_read_fru_data(handle, 0, 0, &byte, nullptr), 0x20000214u);
}

// The request is what stands at data: a call that assembled it from its arguments would send 07 02 01 first.
TEST(fru_inventory, write_sends_the_callers_bytes_as_they_stand) {
  const struct {
    uint8_t count;
    Bytes reply;
    uint32_t status;
    uint8_t written;
  } cases[] = {
      {0, ok({0}), 0, 0},         {2, ok({1, 0xEE}), 0, 1},   {247, ok({247}), 0, 247},
      {2, ok({}), 0x200000FF, 2}, {2, {0x80}, 0x2000011B, 2}, {2, {0x81}, 0x2000011C, 2},
      {2, {0x82}, 0x20000082, 2}, {2, {0xBE}, 0x200000BE, 2}, {2, {0xC9}, 0x200000C9, 2},
  };
  TestHandle handle;
  const Bytes data = counting(251, 0x40);
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.reply));
    ScriptedDriver bmc = {{.net_fn = kStorage,
                           .cmd = 0x12,
                           .request = Bytes(data.begin(), data.begin() + c.count + 3),
                           .reply = c.reply,
                           .kind = 3}};
    uint8_t count = c.count;
    EXPECT_EQ(ipmi_storage_write_fru_data(handle, kDevice, 0x0102, &count, data.data()), c.status);
    EXPECT_EQ(count, c.written);
  }
  uint8_t count = 248;
  EXPECT_EQ(ipmi_storage_write_fru_data(handle, 0, 0, &count, data.data()), 0x20000212u);
  EXPECT_EQ(ipmi_storage_write_fru_data(nullptr, 0, 0, &count, data.data()), 0x20000214u);
  EXPECT_EQ(ipmi_storage_write_fru_data(handle, 0, 0, nullptr, data.data()), 0x20000214u);
  EXPECT_EQ(ipmi_storage_write_fru_data(handle, 0, 0, &count, nullptr), 0x20000214u);
}

TEST(fru_inventory, chunked_read) {
  const struct {
    const char* name;
    uint16_t offset;
    uint16_t count;
    std::vector<Step> steps;
    uint32_t status;
    uint16_t read;
  } cases[] = {
      {"nothing", 5, 0, {}, 0, 0},
      {"three chunks",
       0,
       40,
       {read_step(0, 16, read_reply(0, 16)), read_step(16, 16, read_reply(16, 16)),
        read_step(32, 8, read_reply(32, 8))},
       0,
       40},
      {"indexed by the device's offset", 100, 10, {read_step(100, 10, read_reply(100, 10))}, 0, 10},
      {"short answers", 0, 20, {read_step(0, 16, read_reply(0, 5)), read_step(5, 15, read_reply(5, 15))}, 0, 20},
      {"an empty answer is asked again",
       0,
       4,
       {read_step(0, 4, read_reply(0, 0)), read_step(0, 4, read_reply(0, 4))},
       0,
       4},
      {"end of the area",
       8,
       40,
       {read_step(8, 16, read_reply(8, 16)), read_step(24, 16, read_reply(24, 16)), read_step(40, 8, {0xC9})},
       0x200000C9,
       32},
      {"another failure", 0, 40, {read_step(0, 16, read_reply(0, 16)), read_step(16, 16, {0xC8})}, 0x200000C8, 40},
      {"busy", 0, 4, {read_step(0, 4, {0x81})}, 0x2000011C, 4},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedDriver bmc(c.steps);
    Bytes buffer(c.offset + size_t{c.count} + 1, 0xA5);
    uint16_t count = c.count;
    EXPECT_EQ(ipmi_storage_read_fru_data_2(handle, kDevice, c.offset, &count, buffer.data()), c.status);
    EXPECT_EQ(count, c.read);
    if (c.status != 0 && c.status != 0x200000C9) continue;
    Bytes expected(buffer.size(), 0xA5);
    for (size_t i = c.offset; i < c.offset + size_t{c.read}; ++i) expected[i] = static_cast<uint8_t>(i);
    EXPECT_EQ(hex(buffer), hex(expected));
  }
  uint8_t byte;
  uint16_t count = 1;
  EXPECT_EQ(ipmi_storage_read_fru_data_2(nullptr, 0, 0, &count, &byte), 0x20000214u);
  EXPECT_EQ(ipmi_storage_read_fru_data_2(handle, 0, 0, nullptr, &byte), 0x20000214u);
  EXPECT_EQ(ipmi_storage_read_fru_data_2(handle, 0, 0, &count, nullptr), 0x20000214u);
}

TEST(fru_inventory, chunked_transfers_end_when_nothing_ever_moves) {
  TestHandle handle;
  ScriptedDriver bmc([](uint8_t, uint8_t, const Bytes&) { return ok({0}); });
  Bytes buffer(64);
  uint16_t count = 40;
  EXPECT_EQ(ipmi_storage_read_fru_data_2(handle, kDevice, 0, &count, buffer.data()), 0x200000FFu);
  EXPECT_EQ(ipmi_storage_write_fru_2(handle, kDevice, 0, &count, buffer.data()), 0x200000FFu);
  EXPECT_EQ(count, 40);
}

// Each chunk sends its count + 3 bytes from the position; the position then moves backwards.
TEST(fru_inventory, chunked_write_moves_backwards) {
  const Bytes data = counting(200);
  const auto write_step = [&data](size_t position, size_t chunk, Bytes reply) {
    const auto begin = data.begin() + static_cast<std::ptrdiff_t>(position);
    return Step{.net_fn = kStorage,
                .cmd = 0x12,
                .request = Bytes(begin, begin + static_cast<std::ptrdiff_t>(chunk + 3)),
                .reply = std::move(reply),
                .kind = 3};
  };
  const struct {
    const char* name;
    uint16_t offset;
    uint16_t count;
    std::vector<Step> steps;
    uint32_t status;
    uint16_t result;
  } cases[] = {
      {"nothing", 5, 0, {}, 0, 0},
      {"two chunks", 100, 20, {write_step(100, 16, ok({16})), write_step(84, 4, ok({4}))}, 0, 65516},
      {"short answers", 100, 20, {write_step(100, 16, ok({6})), write_step(94, 14, ok({14}))}, 0, 65516},
      {"end of the area", 100, 40, {write_step(100, 16, ok({16})), write_step(84, 16, {0xC9})}, 0x200000C9, 65520},
      {"another failure", 100, 40, {write_step(100, 16, ok({16})), write_step(84, 16, {0x80})}, 0x2000011B, 40},
      {"more written than sent", 100, 4, {write_step(100, 4, ok({9}))}, 0, 65527},
      {"below the first byte nothing is sent", 10, 40, {write_step(10, 16, ok({16}))}, 0x200000C9, 65520},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedDriver bmc(c.steps);
    uint16_t count = c.count;
    EXPECT_EQ(ipmi_storage_write_fru_2(handle, kDevice, c.offset, &count, data.data()), c.status);
    EXPECT_EQ(count, c.result);
  }
}

}  // namespace
