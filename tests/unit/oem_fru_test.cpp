// The maker's records in FRU images: good ones, damaged ones, and ones that lead out of the image.
#include <cstdlib>
#include <cstring>
#include <functional>

#include "lumipmi/lumipmi.h"
#include "support/fake_libc.hpp"
#include "support/guarded_bytes.hpp"
#include "support/scripted_driver.hpp"

namespace {

using lumi::test::GuardedBytes;

constexpr uint32_t kDamaged = 0x2000021C, kInvalid = 0x20000214;

uint8_t sum(const Bytes& bytes) {
  uint8_t total = 0;
  for (const uint8_t byte : bytes) total = static_cast<uint8_t>(total + byte);
  return total;
}

/// A record: a byte of its own, the length, two more bytes and the data; the first of them makes the sum 0.
Bytes record(const Bytes& data) {
  Bytes bytes = {0, static_cast<uint8_t>(4 + data.size()), 7, 0};
  bytes.insert(bytes.end(), data.begin(), data.end());
  bytes[0] = static_cast<uint8_t>(-sum(bytes));
  return bytes;
}

Bytes with_count(const Bytes& data) {
  Bytes bytes = {static_cast<uint8_t>(data.size())};
  bytes.insert(bytes.end(), data.begin(), data.end());
  return bytes;
}

/// An item of the BIOS information block, its check byte included.
Bytes item(uint8_t type, const Bytes& data) {
  Bytes bytes = {type, static_cast<uint8_t>(data.size())};
  bytes.insert(bytes.end(), data.begin(), data.end());
  bytes.push_back(sum(data));
  return bytes;
}

Bytes bib(const std::vector<Bytes>& items, int total_change = 0) {
  Bytes bytes = {0, 0, 7, 0, 0, 0};
  for (const Bytes& i : items) bytes.insert(bytes.end(), i.begin(), i.end());
  const int total = static_cast<int>(bytes.size()) + total_change;
  bytes[4] = static_cast<uint8_t>(total & 0xFF);
  bytes[5] = static_cast<uint8_t>(total >> 8);
  return bytes;
}

struct Entry {
  uint8_t type;
  Bytes record;
};

/// A FRU image with nothing but an internal use area at byte 8 that holds the block, and the records behind it.
Bytes image(const std::vector<Entry>& entries) {
  Bytes bytes = {0x01, 0x01, 0, 0, 0, 0, 0, 0xFE};
  Bytes block = {0x01, 'K', 'E', 'S', 'T', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, static_cast<uint8_t>(entries.size())};
  size_t place = bytes.size() + block.size() + entries.size() * 3;
  for (const Entry& entry : entries) {
    block.insert(block.end(), {entry.type, static_cast<uint8_t>(place), static_cast<uint8_t>(place >> 8)});
    place += entry.record.size();
  }
  block[13] = static_cast<uint8_t>(block.size() - 1);
  block[14] = static_cast<uint8_t>(-sum(block));
  bytes.insert(bytes.end(), block.begin(), block.end());
  for (const Entry& entry : entries) bytes.insert(bytes.end(), entry.record.begin(), entry.record.end());
  return bytes;
}

uint32_t read(const Bytes& bytes, IpmiKestFruRecords* records) {
  GuardedBytes guarded(bytes);
  return ipmi_get_kest_fru_internal_info(records, static_cast<uint16_t>(bytes.size()), guarded.data());
}

const Bytes kName = {'D', 'e', 'b', 'i', 'a', 'n'};
const std::vector<Bytes> kItems = {item(0, counting(3)), item(0xF0, counting(2)), item(1, counting(7, 11)),
                                   item(2, counting(10, 21)), item(3, counting(2, 31))};

std::vector<Entry> all_records() {
  return {{0x0B, record([] {
             Bytes b = with_count(kName);
             b.push_back(0);
             return b;
           }())},
          {0x0C, record(with_count({0x21, 0x43}))},
          {0x0D, record(counting(12))},
          {0x77, {1, 2, 3}},
          {0x0E, record({0x34, 0x12, 5, 6})},
          {0xC3, bib(kItems)},
          {0xC4, record(counting(12, 0x41))}};
}

TEST(OemFru, AllRecords) {
  Guarded<IpmiKestFruRecords> records;
  EXPECT_EQ(read(image(all_records()), &records), 0u);
  EXPECT_EQ(hex(records->biosBlocks[0], 5), "01 02 03 00 00");
  EXPECT_EQ(hex(records->biosBlocks[1], 8), "0b 0c 0d 0e 0f 10 11 00");
  EXPECT_EQ(hex(records->biosBlocks[2], 11), "15 16 17 18 19 1a 1b 1c 1d 1e 00");
  EXPECT_EQ(hex(records->biosBlocks[3], 3), "1f 20 00");
  EXPECT_STREQ(reinterpret_cast<char*>(records->osName), "Debian");
  EXPECT_EQ(records->cpldCount, 2);
  EXPECT_EQ(hex(records->cpldRevisions, 3), "21 43 00");
  EXPECT_EQ(hex(records->systemMac[0], 12), hex(counting(12)));
  EXPECT_EQ(hex(records->pcbaTest, 4), "34 12 05 06");
  EXPECT_EQ(hex(records->boardSpecific[0], 12), hex(counting(12, 0x41)));
}

TEST(OemFru, DamagedBlocks) {
  const Bytes good = image({{0x0B, record(with_count({'x', 0}))}});
  const auto change = [&good](size_t place, uint8_t value, bool sum_again) {
    Bytes bytes = good;
    if (sum_again) bytes[8 + 14] = static_cast<uint8_t>(bytes[8 + 14] + bytes[place] - value);
    bytes[place] = value;
    return bytes;
  };
  const struct {
    const char* what;
    Bytes image;
    uint32_t status;
  } rows[] = {
      {"good", good, 0},
      {"the high half of the format", change(8, 0xF1, true), 0},
      {"format 2", change(8, 2, true), kDamaged},
      {"signature", change(9 + 3, 'R', true), kDamaged},
      {"signature goes on", change(9 + 4, 'S', true), kDamaged},
      {"sum", change(8 + 14, static_cast<uint8_t>(good[8 + 14] + 1), false), kDamaged},
      {"summed beyond the image", change(8 + 13, 0xFF, false), kDamaged},
      {"no entries", change(8 + 15, 0, true), kDamaged},
      {"no internal use area", change(1, 0, false), kDamaged},
      {"area beyond the image", change(1, 200, false), kDamaged},
      {"a byte", {0x01}, kDamaged},
      {"nothing", {}, kDamaged},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    Guarded<IpmiKestFruRecords> records;
    EXPECT_EQ(read(row.image, &records), row.status);
    EXPECT_EQ(records.zero(), row.status != 0);
  }
  // summed exactly to the end of the image, and a byte further
  Bytes exact(good.begin(), good.begin() + 8 + 19);
  exact[8 + 16] = 0x77;
  exact[8 + 14] = static_cast<uint8_t>(exact[8 + 14] + 0x0B - 0x77);
  Guarded<IpmiKestFruRecords> records;
  EXPECT_EQ(read(exact, &records), kDamaged) << "no known type";
  EXPECT_EQ(ipmi_get_kest_fru_internal_info(nullptr, 8, exact.data()), kInvalid);
  EXPECT_EQ(ipmi_get_kest_fru_internal_info(&records, 8, nullptr), kInvalid);
}

TEST(OemFru, DamagedRecords) {
  const auto os_name = [](size_t length, size_t count) {
    Bytes data(length, 'n');
    data[0] = static_cast<uint8_t>(count);
    return record(data);
  };
  const auto spoiled = [](Bytes bytes) { return ++bytes.back(), bytes; };
  const auto unsummed = [](Bytes bytes) { return bytes[1] = 0, bytes; };
  const struct {
    const char* what;
    Entry entry;
    uint32_t status;
  } rows[] = {
      {"name of 64", {0x0B, os_name(70, 64)}, 0},
      {"name of 65", {0x0B, os_name(70, 65)}, kDamaged},
      {"name up to the last byte but one", {0x0B, os_name(6, 5)}, 0},
      {"name that leaves its record", {0x0B, os_name(6, 6)}, kDamaged},
      {"name, wrong sum", {0x0B, spoiled(os_name(6, 3))}, kDamaged},
      {"name, length 0", {0x0B, unsummed(os_name(6, 3))}, kDamaged},
      {"name, length 4", {0x0B, record({})}, kDamaged},
      {"CPLD, wrong sum", {0x0C, spoiled(record({1, 2}))}, kDamaged},
      {"CPLD, length 0: not summed", {0x0C, unsummed(spoiled(record({1, 2})))}, 0},
      {"CPLD, more than the image has", {0x0C, record({3, 2})}, kDamaged},
      {"MAC, wrong sum", {0x0D, spoiled(record(counting(12)))}, kDamaged},
      {"MAC, shorter than its field", {0x0D, record(counting(11))}, kDamaged},
      {"PCBA, length 0", {0x0E, unsummed(record({1, 2, 3, 4}))}, 0},
      {"PCBA, wrong sum behind a byte 0", {0x0E, {1, 8, 0, 1, 1, 2, 3, 4}}, kDamaged},
      {"board, wrong sum", {0xC4, spoiled(record(counting(12)))}, kDamaged},
      {"length beyond the image",
       {0x0D,
        [] {
          Bytes b = record(counting(12));
          b[1] = 200;
          return b;
        }()},
       kDamaged},
      {"a header and no more", {0x0D, {0, 0}}, kDamaged},
      {"half a header", {0x0D, {0}}, kDamaged},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    Guarded<IpmiKestFruRecords> records;
    EXPECT_EQ(read(image({row.entry}), &records), row.status);
    EXPECT_EQ(records.zero(), row.status != 0);
  }
}

TEST(OemFru, TheLastKnownRecordDecides) {
  const Entry good = {0x0E, record({1, 2, 3, 4})}, bad = {0x0D, record({1})}, unknown = {0x0F, {1, 2, 3}};
  Guarded<IpmiKestFruRecords> records;
  EXPECT_EQ(read(image({bad, good}), &records), 0u);
  EXPECT_EQ(read(image({good, bad}), &records), kDamaged);
  EXPECT_EQ(records->pcbaTest[0], 1) << "read all the same";
  EXPECT_EQ(read(image({good, unknown}), &records), 0u);
  EXPECT_EQ(read(image({unknown}), &records), kDamaged);

  Bytes cut = image({good, good});
  cut[8 + 15] = 200;  // entries that the image does not have; the sum ends before them
  cut[8 + 13] = 15;
  cut[8 + 14] = 0;
  cut[8 + 14] = static_cast<uint8_t>(-sum(Bytes(cut.begin() + 8, cut.begin() + 24)));
  EXPECT_EQ(read(cut, &records), kDamaged);
  Bytes outside = image({good, good});
  outside[8 + 16 + 4] = 0xFF, outside[8 + 16 + 5] = 0xFF;
  outside[8 + 14] = 0;
  outside[8 + 14] = static_cast<uint8_t>(-sum(Bytes(outside.begin() + 8, outside.begin() + 8 + 22)));
  EXPECT_EQ(read(outside, &records), kDamaged);
}

// More revisions than the field holds run into the fields behind it, and end with the record.
TEST(OemFru, CpldRevisionsEndWithTheRecord) {
  const struct {
    size_t count, mac, board;  // revisions, and how many of them are in the fields behind
  } rows[] = {{64, 0, 0}, {65, 1, 0}, {76, 12, 0}, {92, 12, 12}, {200, 12, 12}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.count);
    Guarded<IpmiKestFruRecords> records;
    EXPECT_EQ(read(image({{0x0C, record(with_count(Bytes(row.count, 0xCC)))}}), &records), 0u);
    EXPECT_EQ(records->cpldCount, row.count);
    EXPECT_EQ(records->cpldRevisions[63], 0xCC);
    const auto filled = [](const uint8_t* bytes) {
      size_t n = 0;
      while (n < 12 && bytes[n] == 0xCC) ++n;
      return n;
    };
    EXPECT_EQ(filled(records->systemMac[0]), row.mac);
    EXPECT_EQ(filled(records->boardSpecific[0]), row.board);
  }
}

TEST(OemFru, BiosInformationBlock) {
  const auto spoiled = [](Bytes bytes) { return ++bytes.back(), bytes; };
  const Bytes a = item(0, {1, 2, 3}), b = item(0, {4, 5, 6}), end = item(0xFF, {});
  const struct {
    const char* what;
    Bytes block;
    const char* item0;
  } rows[] = {
      {"the later one of a type", bib({a, b}), "04 05 06"},
      {"a wrong check byte", bib({a, spoiled(b)}), "01 02 03"},
      {"the end mark", bib({a, end, b}), "01 02 03"},
      {"type 4 is passed over", bib({item(4, {9}), a}), "01 02 03"},
      {"four are enough", bib({a, a, a, a, b}), "01 02 03"},
      {"the first whatever the total length", bib({a}, -9), "01 02 03"},
      {"the next only below the total length less 2", bib({a, b}, -4), "01 02 03"},
      {"... and then", bib({a, b}, -3), "04 05 06"},
      {"length 0 is not summed, its bytes are what follows", bib({{0, 0, 9}, {1, 0, 0}}), "09 01 00"},
      {"a total length beyond the image", bib({a}, 500), "01 02 03"},
      {"not even its total length", {0, 0, 7, 0, 9}, "00 00 00"},
      {"an item that leaves the image", bib({a, {0, 200, 1}}, 500), "01 02 03"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    Guarded<IpmiKestFruRecords> records;
    EXPECT_EQ(read(image({{0xC3, row.block}}), &records), 0u);
    EXPECT_EQ(hex(records->biosBlocks[0], 3), row.item0);
  }
}

// The functions on single records trust them, but never write beyond the result.
TEST(OemFru, SingleRecords) {
  Guarded<IpmiKestFruRecords> records;
  std::memset(&records, 0, sizeof *records);
  using Function = uint32_t (*)(IpmiKestFruRecords*, const uint8_t*);
  const struct {
    Function read;
    Bytes record;
  } rows[] = {{get_kest_fru_system_os_name, record({1, 'x', 0})},
              {get_kest_fru_cpld_revisions, record(with_count(Bytes(250, 0xCC)))},
              {get_kest_fru_system_mac_address, record(counting(12))},
              {get_kest_fru_pcba_test_record, record(counting(4))},
              {get_kest_fru_bib_info, bib(kItems)},
              {get_kest_fru_board_specific_info, record(counting(12))}};
  for (const auto& row : rows) {
    EXPECT_EQ(row.read(&records, row.record.data()), 0u);
    EXPECT_EQ(row.read(nullptr, row.record.data()), kInvalid);
    EXPECT_EQ(row.read(&records, nullptr), kInvalid);
  }
  EXPECT_EQ(records->boardSpecific[1][5], 12);
}

TEST(OemFru, FromTheDevice) {
  const Bytes good = image(all_records());
  const Bytes foreign = {0x01, 0x01, 0, 0, 0, 0, 0, 0xFE, 0x01, 'O', 'T', 'H', 'E', 'R', 0, 0};
  const struct {
    Bytes image;
    uint32_t status;
  } rows[] = {{good, 0}, {foreign, kDamaged}};
  for (const auto& row : rows) {
    lumi::test::FakeLibc libc;
    ScriptedDriver bmc([&row](uint8_t, uint8_t cmd, const Bytes& request) {
      const size_t size = row.image.size();
      if (cmd == 0x10) return ok({static_cast<uint8_t>(size), static_cast<uint8_t>(size >> 8), 0});
      const size_t offset = request[1] + request[2] * 256u, count = std::min<size_t>(request[3], size - offset);
      Bytes reply = {0, static_cast<uint8_t>(count)};
      reply.insert(reply.end(), row.image.begin() + static_cast<ptrdiff_t>(offset),
                   row.image.begin() + static_cast<ptrdiff_t>(offset + count));
      return reply;
    });
    TestHandle handle;
    Guarded<IpmiKestFruInfo> info;
    EXPECT_EQ(ipmi_get_kest_fru_info(handle, 1, &info->fru), row.status);
    EXPECT_EQ(info->fru.internal_use_offset, 8);
    EXPECT_EQ(info->records.cpldCount, row.status == 0 ? 2 : 0);
    ipmi_free_fru_info(&info->fru);
    EXPECT_EQ(libc.live_allocations(), 1u) << "the handle";
    EXPECT_EQ(ipmi_get_kest_fru_info(nullptr, 1, &info->fru), kInvalid);
    EXPECT_EQ(ipmi_get_kest_fru_info(handle, 1, nullptr), kInvalid);
  }
  TestHandle handle;
  ScriptedDriver bmc([](uint8_t, uint8_t, const Bytes&) { return Bytes{0xCB}; });
  Guarded<IpmiKestFruInfo> info;
  EXPECT_EQ(ipmi_get_kest_fru_info(handle, 1, &info->fru), 0x200000CBu);
  EXPECT_EQ(info->records.cpldCount, 0xA5) << "the records are untouched";
}

}  // namespace
