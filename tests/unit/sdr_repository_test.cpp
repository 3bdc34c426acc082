#include <gtest/gtest.h>

#include "lumipmi/sdr_repository.h"
#include "support/scripted_driver.hpp"

namespace {

constexpr uint8_t kStorage = 0x0A;
constexpr uint32_t kShort = 0x200000C3;  // not 0x200000FF: these commands answer as the BMC would

TEST(sdr_repository, info_splits_the_support_byte) {
  const struct {
    uint8_t byte;
    uint32_t update;
    uint8_t overflow;
  } cases[] = {{0x22, 1, 0}, {0x4F, 2, 0}, {0xE0, 3, 1}, {0x9F, 0, 1}};
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(int{c.byte});
    Bytes data = {0x51, 0x36, 0x01, 0xFE, 0xFF, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, c.byte, 0xEE};
    ScriptedDriver bmc = {{.net_fn = kStorage, .cmd = 0x20, .reply = ok(data), .kind = 2}};
    Guarded<IpmiSdrRepositoryInfo> info;
    ASSERT_EQ(ipmi_storage_get_sdr_repository_info(handle, &info), 0u);
    EXPECT_EQ(info->version, 0x51);
    EXPECT_EQ(info->record_count, 0x0136);
    EXPECT_EQ(info->free_space, 0xFFFE);
    EXPECT_EQ(info->last_add_time, 0xF4F3F2F1u);
    EXPECT_EQ(info->last_erase_time, 0xF8F7F6F5u);
    EXPECT_EQ(info->update_support, c.update);
    EXPECT_EQ(info->overflow, c.overflow);
    EXPECT_EQ(info->operation_support, c.byte);
  }
  check_failures<IpmiSdrRepositoryInfo>(kStorage, 0x20, {}, 14, kShort, OnFailure::Zero,
                                        ipmi_storage_get_sdr_repository_info);
}

TEST(sdr_repository, reservation_is_zeroed_first_and_kept_as_it_stands) {
  TestHandle handle;
  ScriptedDriver bmc = {{.net_fn = kStorage, .cmd = 0x22, .reply = ok({0x34, 0x12, 0xEE}), .kind = 2},
                        {.net_fn = kStorage, .cmd = 0x22, .reply = {0xC1}},
                        {.net_fn = kStorage, .cmd = 0x22, .reply = ok({0x34})}};
  Guarded<uint16_t> reservation;
  EXPECT_EQ(ipmi_storage_reserve_sdr_repository(handle, &reservation), 0u);
  EXPECT_EQ(*reservation, 0x1234);
  EXPECT_EQ(ipmi_storage_reserve_sdr_repository(handle, &reservation), 0x200000C1u);
  EXPECT_EQ(*reservation, 0);
  *reservation = 0xA5A5;
  EXPECT_EQ(ipmi_storage_reserve_sdr_repository(handle, &reservation), kShort);
  EXPECT_EQ(*reservation, 0);
}

TEST(sdr_repository, entry_reads_a_piece) {
  const struct {
    const char* name;
    uint8_t count;
    Bytes reply;
    uint32_t status;
    uint16_t next;
    const char* out;
  } cases[] = {
      {"exactly", 5, ok({0x02, 0x01, 1, 2, 3, 4, 5}), 0, 0x0102, "01 02 03 04 05 a5"},
      {"more than asked for", 5, ok({0x02, 0x01, 1, 2, 3, 4, 5, 6, 7}), 0, 0x0102, "01 02 03 04 05 a5"},
      {"one byte short", 5, ok({0x02, 0x01, 1, 2, 3, 4}), kShort, 0xA5A5, "00 00 00 00 00 a5"},
      {"cancelled reservation", 5, {0xC5}, 0x200000C5, 0xA5A5, "00 00 00 00 00 a5"},
      {"nothing asked for", 0, ok({0x02, 0x01}), 0, 0x0102, "a5 a5 a5 a5 a5 a5"},
  };
  TestHandle handle;
  const uint16_t reservation = 0x1234;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedDriver bmc = {{.net_fn = kStorage,
                           .cmd = 0x23,
                           .request = {0x34, 0x12, 0x78, 0x56, 0xBC, c.count},
                           .reply = c.reply,
                           .kind = 2}};
    Guarded<uint16_t> next;
    Guarded<uint8_t[6]> out;
    EXPECT_EQ(ipmi_storage_get_sdr_entry(handle, &reservation, 0x5678, 0xFABC, &next, c.count, *out), c.status);
    EXPECT_EQ(*next, c.next);
    EXPECT_EQ(hex(*out, 6), c.out);
  }
}

TEST(sdr_repository, whole_records_never_fit) {
  TestHandle handle;
  const uint16_t reservation = 0;
  uint16_t next = 0xA5A5;
  Bytes out(256, 0xA5);
  ScriptedDriver bmc = {
      {.net_fn = kStorage, .cmd = 0x23, .request = {0, 0, 0, 0, 0, 0xFF}, .reply = ok(counting(254))}};
  EXPECT_EQ(ipmi_storage_get_sdr_entry(handle, &reservation, 0, 0, &next, 0xFF, out.data()), kShort);
  EXPECT_EQ(hex(out.data(), 255), hex(Bytes(255, 0)));
  EXPECT_EQ(out[255], 0xA5);
  EXPECT_EQ(ipmi_storage_get_sdr_entry(nullptr, &reservation, 0, 0, &next, 1, out.data()), 0x20000214u);
  EXPECT_EQ(ipmi_storage_get_sdr_entry(handle, &reservation, 0, 0, nullptr, 1, out.data()), 0x20000214u);
  EXPECT_EQ(ipmi_storage_get_sdr_entry(handle, &reservation, 0, 0, &next, 1, nullptr), 0x20000214u);
}

}  // namespace
