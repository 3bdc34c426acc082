#include <gtest/gtest.h>

#include "lumipmi/sel.h"
#include "support/scripted_driver.hpp"

namespace {

constexpr uint8_t kStorage = 0x0A;
constexpr uint16_t kReservation = 0x1234;  // 34 12 in memory

// A whole record of a log of `last` records, answered to Get SEL Entry.
Bytes record(uint16_t id, uint16_t last) {
  const uint16_t next = id == last ? 0xFFFF : static_cast<uint16_t>(id + 1);
  Bytes data = {static_cast<uint8_t>(next), static_cast<uint8_t>(next >> 8)};
  const Bytes body = counting(16, static_cast<uint8_t>(id * 16));
  data.insert(data.end(), body.begin(), body.end());
  return ok(data);
}

Step read_record(uint16_t id, Bytes reply) {
  return {.net_fn = kStorage,
          .cmd = 0x43,
          .request = {0, 0, static_cast<uint8_t>(id), static_cast<uint8_t>(id >> 8), 0, 0xFF},
          .reply = std::move(reply),
          .kind = 2};
}

TEST(sel, info_and_allocation) {
  TestHandle handle;
  ScriptedDriver bmc = {
      {.net_fn = kStorage,
       .cmd = 0x40,
       .reply = ok({0x51, 0x02, 0x01, 0x04, 0x03, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC, 0xFA}),
       .kind = 2},
      {.net_fn = kStorage, .cmd = 0x40, .reply = ok({0x51, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x75, 0xEE}), .kind = 2},
      {.net_fn = kStorage, .cmd = 0x41, .reply = ok(counting(10)), .kind = 2}};
  Guarded<IpmiSelInfo> info;
  ASSERT_EQ(ipmi_storage_get_sel_info(handle, &info), 0u);
  EXPECT_EQ(info->version, 0x51);
  EXPECT_EQ(info->entries, 0x0102);
  EXPECT_EQ(info->free_space, 0x0304);
  EXPECT_EQ(info->last_add_time, 0xF8F7F6F5u);
  EXPECT_EQ(info->last_erase_time, 0xFCFBFAF9u);
  EXPECT_EQ(info->overflow, 1);
  EXPECT_EQ(info->operation_support, 0x0A);
  ASSERT_EQ(ipmi_storage_get_sel_info(handle, &info), 0u);
  EXPECT_EQ(info->overflow, 0);
  EXPECT_EQ(info->operation_support, 0x05);
  Guarded<IpmiSelAllocationInfo> allocation;
  ASSERT_EQ(ipmi_storage_get_sel_allocation_info(handle, &allocation), 0u);
  EXPECT_EQ(allocation->total_units, 0x0201);
  EXPECT_EQ(allocation->unit_size, 0x0403);
  EXPECT_EQ(allocation->free_units, 0x0605);
  EXPECT_EQ(allocation->largest_free_block, 0x0807);
  EXPECT_EQ(allocation->max_record_size, 9);
}

TEST(sel, reservation_travels_as_it_stands) {
  TestHandle handle;
  ScriptedDriver bmc = {
      {.net_fn = kStorage, .cmd = 0x42, .reply = ok({0x34, 0x12, 0xEE}), .kind = 2},
      {.net_fn = kStorage, .cmd = 0x46, .request = {0x34, 0x12, 0x78, 0x56}, .reply = ok({0x78, 0x57}), .kind = 3},
      {.net_fn = kStorage, .cmd = 0x47, .request = {0x34, 0x12, 'C', 'L', 'R', 0xAA}, .reply = ok({0xF1}), .kind = 3},
      {.net_fn = kStorage, .cmd = 0x47, .request = {0x34, 0x12, 'C', 'L', 'R', 0x00}, .reply = ok({0x10}), .kind = 3},
      {.net_fn = kStorage, .cmd = 0x47, .request = {0x34, 0x12, 'C', 'L', 'R', 0x00}, .reply = ok({0x03}), .kind = 3}};
  Guarded<uint16_t> reservation, deleted;
  ASSERT_EQ(ipmi_storage_reserve_sel(handle, &reservation), 0u);
  EXPECT_EQ(*reservation, kReservation);
  EXPECT_EQ(ipmi_storage_delete_sel_entry(handle, &reservation, 0x5678, &deleted), 0u);
  EXPECT_EQ(*deleted, 0x5778);
  Guarded<uint8_t> completed;
  EXPECT_EQ(ipmi_storage_clear_sel(handle, &reservation, IPMI_SEL_INITIATE_ERASE, &completed), 0u);
  EXPECT_EQ(*completed, 1) << "bits 3:0";
  EXPECT_EQ(ipmi_storage_clear_sel(handle, &reservation, IPMI_SEL_ERASURE_STATUS, &completed), 0u);
  EXPECT_EQ(*completed, 0);
  EXPECT_EQ(ipmi_storage_clear_sel(handle, &reservation, IPMI_SEL_ERASURE_STATUS, &completed), 0u);
  EXPECT_EQ(*completed, 0) << "1 and nothing else";
}

TEST(sel, add_and_clock) {
  TestHandle handle;
  const Bytes entry = counting(16, 0x40);
  ScriptedDriver bmc = {{.net_fn = kStorage, .cmd = 0x44, .request = entry, .reply = ok({0x0D, 0x01}), .kind = 3},
                        {.net_fn = kStorage, .cmd = 0x48, .reply = ok({0x84, 0xF4, 0x53, 0xE5}), .kind = 2},
                        {.net_fn = kStorage, .cmd = 0x49, .request = {0x78, 0x56, 0x34, 0x12}, .kind = 3},
                        {.net_fn = kStorage, .cmd = 0x49, .request = {0, 0, 0, 0}, .reply = {0, 1}, .kind = 3}};
  Guarded<uint16_t> id;
  EXPECT_EQ(ipmi_storage_add_sel_entry(handle, entry.data(), &id), 0u);
  EXPECT_EQ(*id, 0x010D);
  Guarded<uint64_t> time;
  EXPECT_EQ(ipmi_storage_get_sel_time(handle, &time), 0u);
  EXPECT_EQ(*time, 0xE553F484u) << "zero-extended";
  EXPECT_EQ(ipmi_storage_set_sel_time(handle, 0x12345678), 0u);
  EXPECT_EQ(ipmi_storage_set_sel_time(handle, 0), 0x20000000u) << "no data belong in the answer";
  EXPECT_EQ(ipmi_storage_set_sel_time(nullptr, 0), 0x20000214u);
}

// The answers to Add, Delete and Clear have room for exactly what they hold.
TEST(sel, long_answers_to_changes_are_refused) {
  TestHandle handle;
  const uint16_t reservation = 0;
  uint16_t id = 0xA5A5;
  uint8_t completed = 0xA5;
  ScriptedDriver bmc([](uint8_t, uint8_t cmd, const Bytes&) { return cmd == 0x47 ? ok({1, 2}) : ok({1, 2, 3}); });
  EXPECT_EQ(ipmi_storage_add_sel_entry(handle, counting(16).data(), &id), 0x20000000u);
  EXPECT_EQ(ipmi_storage_delete_sel_entry(handle, &reservation, 1, &id), 0x20000000u);
  EXPECT_EQ(ipmi_storage_clear_sel(handle, &reservation, 0xAA, &completed), 0x20000000u);
  EXPECT_EQ(id, 0xA5A5);
  EXPECT_EQ(completed, 0xA5);
}

TEST(sel, completion_codes_of_the_log) {
  const uint16_t reservation = kReservation;
  const struct {
    const char* name;
    std::function<uint32_t(IpmiHandle*)> call;
    uint32_t cc80;
    uint32_t cc81;
  } cases[] = {
      {"info",
       [](IpmiHandle* h) {
         IpmiSelInfo i;
         return ipmi_storage_get_sel_info(h, &i);
       },
       0x20000080, 0x2000011E},
      {"allocation",
       [](IpmiHandle* h) {
         IpmiSelAllocationInfo i;
         return ipmi_storage_get_sel_allocation_info(h, &i);
       },
       0x20000080, 0x20000081},
      {"reserve",
       [](IpmiHandle* h) {
         uint16_t r;
         return ipmi_storage_reserve_sel(h, &r);
       },
       0x20000080, 0x2000011E},
      {"get",
       [](IpmiHandle* h) {
         uint16_t n;
         IpmiSelEntry e;
         return ipmi_storage_get_sel_entry(h, 0, &n, &e);
       },
       0x20000080, 0x2000011E},
      {"add",
       [](IpmiHandle* h) {
         uint16_t n;
         return ipmi_storage_add_sel_entry(h, counting(16).data(), &n);
       },
       0x2000011D, 0x2000011E},
      {"delete",
       [&](IpmiHandle* h) {
         uint16_t n;
         return ipmi_storage_delete_sel_entry(h, &reservation, 1, &n);
       },
       0x2000011D, 0x2000011E},
      {"clear",
       [&](IpmiHandle* h) {
         uint8_t c;
         return ipmi_storage_clear_sel(h, &reservation, 0, &c);
       },
       0x20000080, 0x20000081},
      {"time",
       [](IpmiHandle* h) {
         uint64_t t;
         return ipmi_storage_get_sel_time(h, &t);
       },
       0x20000080, 0x20000081},
      {"set time", [](IpmiHandle* h) { return ipmi_storage_set_sel_time(h, 0); }, 0x20000080, 0x20000081},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    for (const auto& [completion, status] : {std::pair<uint8_t, uint32_t>{0x80, c.cc80},
                                             {0x81, c.cc81},
                                             {0x82, 0x20000082},
                                             {0xBE, 0x200000BE},
                                             {0xC5, 0x200000C5}}) {
      SCOPED_TRACE(std::string(c.name) + " " + std::to_string(completion));
      ScriptedDriver bmc([completion = completion](uint8_t, uint8_t, const Bytes&) { return Bytes{completion}; });
      EXPECT_EQ(c.call(handle), status);
    }
  }
}

TEST(sel, entry_data_reads_a_piece) {
  const struct {
    const char* name;
    Bytes data;
    uint8_t capacity;
    uint32_t status;
    uint16_t next;
    const char* out;
  } cases[] = {
      {"next id alone", {0x02, 0x01}, 0, 0, 0x0102, "a5 a5 a5 a5"},
      {"exactly the capacity", {0x02, 0x01, 7, 8, 9}, 3, 0, 0x0102, "07 08 09 a5"},
      {"more than the capacity", {0x02, 0x01, 7, 8, 9}, 2, 0x20000212, 0xA5A5, "a5 a5 a5 a5"},
      {"less than the capacity", {0x02, 0x01, 7}, 4, 0, 0x0102, "07 a5 a5 a5"},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedDriver bmc = {
        {.net_fn = kStorage, .cmd = 0x43, .request = {0xAB, 0xCD, 0x78, 0x56, 3, 5}, .reply = ok(c.data), .kind = 2}};
    const uint8_t reservation[] = {0xAB, 0xCD};
    Guarded<uint16_t> next;
    Guarded<uint8_t[4]> out;
    uint8_t capacity = c.capacity;
    EXPECT_EQ(ipmi_storage_get_sel_entry_data(handle, reservation, 0x5678, 3, 5, &next, &capacity, *out), c.status);
    EXPECT_EQ(*next, c.next);
    EXPECT_EQ(hex(*out, 4), c.out);
    EXPECT_EQ(capacity, c.capacity) << "never written back";
  }
  uint8_t byte = 0;
  uint16_t id = 0;
  ScriptedDriver silent(std::vector<Step>{});
  EXPECT_EQ(ipmi_storage_get_sel_entry_data(handle, nullptr, 0, 0, 0, &id, &byte, &byte), 0x20000214u);
  EXPECT_EQ(ipmi_storage_get_sel_entry_data(handle, &byte, 0, 0, 0, &id, nullptr, &byte), 0x20000214u);
  EXPECT_EQ(ipmi_storage_get_sel_entry_data(handle, &byte, 0, 0, 0, &id, &byte, nullptr), 0x20000214u);
}

TEST(sel, entry_is_read_whole_and_translated) {
  TestHandle handle;
  ScriptedDriver bmc = {read_record(0x0203, ok({0x04, 0x02, 0x03, 0x02, 0xE5, 1, 2, 3})),
                        read_record(0, ok(counting(2 + 20)))};
  Guarded<uint16_t> next;
  Guarded<IpmiSelEntry> entry;
  EXPECT_EQ(ipmi_storage_get_sel_entry(handle, 0x0203, &next, &entry), 0u);
  EXPECT_EQ(*next, 0x0204);
  EXPECT_EQ(entry->record_id, 0x0203);
  EXPECT_EQ(hex(entry->body.oem_bytes, 13), "01 02 03 00 00 00 00 00 00 00 00 00 00") << "bytes not sent are zero";
  EXPECT_EQ(ipmi_storage_get_sel_entry(handle, 0, &next, &entry), 0x20000212u) << "20 record bytes";
  EXPECT_EQ(*next, 0x0204);
  EXPECT_EQ(ipmi_storage_get_sel_entry(handle, 0, nullptr, &entry), 0x20000214u);
}

TEST(sel, raw_entries_iterate) {
  const struct {
    const char* name;
    uint16_t first;
    uint16_t slots;
    std::vector<uint16_t> ids;  // requested
    uint16_t count;
    uint16_t next;
  } cases[] = {
      {"more slots than records", 1, 10, {1, 2, 3}, 3, 0xFFFF},
      {"fewer slots than records", 1, 2, {1, 2}, 2, 3},
      {"from the middle", 3, 10, {3}, 1, 0xFFFF},
      {"no slots", 1, 0, {}, 0, 1},
      {"from the end", 0xFFFF, 10, {}, 0, 0xFFFF},
  };
  TestHandle handle;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<Step> steps;
    for (const uint16_t id : c.ids) steps.push_back(read_record(id, record(id, 3)));
    ScriptedDriver bmc(steps);
    Bytes buffer(c.slots * 16u + 1, 0xA5);
    uint16_t count = c.slots, next = 0xA5A5;
    EXPECT_EQ(ipmi_storage_get_raw_sel_entries(handle, c.first, &count, buffer.data(), &next), 0u);
    EXPECT_EQ(count, c.count);
    EXPECT_EQ(next, c.next);
    for (size_t i = 0; i < c.ids.size(); ++i)
      EXPECT_EQ(hex(&buffer[i * 16], 16), hex(counting(16, static_cast<uint8_t>(c.ids[i] * 16))));
    EXPECT_EQ(buffer[c.count * 16u], 0xA5);
  }
  // A failure in the middle leaves count and next id alone.
  ScriptedDriver bmc = {read_record(1, record(1, 3)), read_record(2, {0xCB})};
  Bytes buffer(160);
  uint16_t count = 10, next = 0xA5A5;
  EXPECT_EQ(ipmi_storage_get_raw_sel_entries(handle, 1, &count, buffer.data(), &next), 0x200000CBu);
  EXPECT_EQ(count, 10);
  EXPECT_EQ(next, 0xA5A5);
  EXPECT_EQ(ipmi_storage_get_raw_sel_entries(handle, 1, nullptr, buffer.data(), &next), 0x20000214u);
  EXPECT_EQ(ipmi_storage_get_raw_sel_entries(handle, 1, &count, nullptr, &next), 0x20000214u);
  EXPECT_EQ(ipmi_storage_get_raw_sel_entries(handle, 1, &count, buffer.data(), nullptr), 0x20000214u);
  EXPECT_EQ(ipmi_storage_get_raw_sel_entries(nullptr, 1, &count, buffer.data(), &next), 0x20000214u);
}

TEST(sel, translates_system_events) {
  const uint8_t raw[16] = {0x34, 0x12, 0x02, 0x81, 0x82, 0x83, 0x84, 0x41,
                           0xD6, 0x04, 0x0C, 0x44, 0xEF, 0xA0, 0xA1, 0xA2};
  Guarded<IpmiSelEntry> entry;
  ipmi_translate_sel_raw_data_to_entry(raw, &entry);
  EXPECT_EQ(entry->record_id, 0x1234);
  EXPECT_EQ(entry->record_type, 0x02);
  const IpmiSelSystemEvent& event = entry->body.system;
  EXPECT_EQ(event.timestamp, 0x84838281u);
  EXPECT_EQ(event.generator_id_type, 1u);
  EXPECT_EQ(event.generator_id, 0x41) << "bit 0 kept";
  EXPECT_EQ(event.generator_lun, 2);
  EXPECT_EQ(event.generator_channel, 0x0D);
  EXPECT_EQ(event.evm_rev, 0x04);
  EXPECT_EQ(event.sensor_type, 0x0C);
  EXPECT_EQ(event.sensor_number, 0x44);
  EXPECT_EQ(event.event_dir, 1);
  EXPECT_EQ(event.event_type, 0x6F);
  EXPECT_EQ(hex(event.event_data, 3), "a0 a1 a2");
  uint8_t asserted[16] = {0, 0, 0x02};
  asserted[7] = 0x20;
  asserted[12] = 0x6F;
  ipmi_translate_sel_raw_data_to_entry(asserted, &entry);
  EXPECT_EQ(entry->body.system.event_dir, 0);
  EXPECT_EQ(entry->body.system.event_type, 0x6F);
  EXPECT_EQ(entry->body.system.generator_id_type, 0u);
}

TEST(sel, translates_oem_records) {
  for (const uint8_t type : Bytes{0xC0, 0xC5, 0xDF}) {
    Bytes raw = counting(16, 0x80);
    raw[2] = type;
    Guarded<IpmiSelEntry> entry;
    ipmi_translate_sel_raw_data_to_entry(raw.data(), &entry);
    EXPECT_EQ(entry->body.oem_timestamped.timestamp, 0x86858483u) << int{type};
    EXPECT_EQ(hex(entry->body.oem_timestamped.manufacturer_id, 3), "87 88 89");
    EXPECT_EQ(hex(entry->body.oem_timestamped.oem_data, 6), "8a 8b 8c 8d 8e 8f");
  }
  for (const uint8_t type : Bytes{0x00, 0x01, 0x03, 0xBF, 0xE0, 0xFF}) {
    Bytes raw = counting(16, 0x80);
    raw[2] = type;
    Guarded<IpmiSelEntry> entry;
    ipmi_translate_sel_raw_data_to_entry(raw.data(), &entry);
    EXPECT_EQ(entry->record_type, type);
    EXPECT_EQ(hex(entry->body.oem_bytes, 13), hex(counting(13, 0x83))) << int{type};
  }
}

TEST(sel, failures_leave_the_output_alone) {
  constexpr uint32_t kShort = 0x200000FF;
  static const uint16_t reservation = kReservation;
  check_failures<IpmiSelInfo>(kStorage, 0x40, {}, 14, kShort, OnFailure::Untouched, ipmi_storage_get_sel_info);
  check_failures<IpmiSelAllocationInfo>(kStorage, 0x41, {}, 9, kShort, OnFailure::Untouched,
                                        ipmi_storage_get_sel_allocation_info);
  check_failures<uint16_t>(kStorage, 0x42, {}, 2, kShort, OnFailure::Untouched, ipmi_storage_reserve_sel);
  check_failures<IpmiSelEntry>(kStorage, 0x43, {0, 0, 2, 1, 0, 0xFF}, 2, kShort, OnFailure::Untouched,
                               [](IpmiHandle* handle, IpmiSelEntry* out) {
                                 uint16_t next;
                                 return ipmi_storage_get_sel_entry(handle, 0x0102, &next, out);
                               });
  check_failures<uint16_t>(
      kStorage, 0x44, counting(16), 2, kShort, OnFailure::Untouched,
      [](IpmiHandle* handle, uint16_t* out) { return ipmi_storage_add_sel_entry(handle, counting(16).data(), out); });
  check_failures<uint16_t>(kStorage, 0x46, {0x34, 0x12, 2, 1}, 2, kShort, OnFailure::Untouched,
                           [](IpmiHandle* handle, uint16_t* out) {
                             return ipmi_storage_delete_sel_entry(handle, &reservation, 0x0102, out);
                           });
  check_failures<uint8_t>(
      kStorage, 0x47, {0x34, 0x12, 'C', 'L', 'R', 0}, 1, kShort, OnFailure::Untouched,
      [](IpmiHandle* handle, uint8_t* out) { return ipmi_storage_clear_sel(handle, &reservation, 0, out); });
  check_failures<uint64_t>(kStorage, 0x48, {}, 4, kShort, OnFailure::Untouched, ipmi_storage_get_sel_time);
  TestHandle handle;
  uint16_t id;
  uint8_t byte;
  EXPECT_EQ(ipmi_storage_add_sel_entry(handle, nullptr, &id), 0x20000214u);
  EXPECT_EQ(ipmi_storage_delete_sel_entry(handle, nullptr, 1, &id), 0x20000214u);
  EXPECT_EQ(ipmi_storage_clear_sel(handle, nullptr, 0, &byte), 0x20000214u);
}

}  // namespace
