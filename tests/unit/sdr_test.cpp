#include "lumipmi/sdr.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cwchar>
#include <map>

#include "lumipmi/status.h"
#include "support/guarded_bytes.hpp"
#include "support/scripted_driver.hpp"
#include "support/sdr_builder.hpp"

using namespace lumi::test;

namespace {

IpmiSdrInfo decode(const Bytes& record, uint32_t expected_status = 0) {
  IpmiSdrInfo info;
  std::memset(static_cast<void*>(&info), 0xA5, sizeof info);
  EXPECT_EQ(ipmi_hlp_format_sdr_record(static_cast<uint16_t>(record.size()), record.data(), &info), expected_status);
  return info;
}

std::string faults(const Bytes& record) {
  return sdr_faults(record.data(), record.size());
}

// One record of each type with values worked out by hand, so that the table of the builder is held to something too.
struct Literal {
  Bytes record;
  std::map<std::string, int32_t> fields;
};

const Literal kLiterals[] = {
    {{0x34, 0x12, 0x51, 0x01, 0x2F, 0xB1, 0x92, 0x5C, 0x07, 0x8B,  // header, owner, LUN and channel, number, entity
      0x2A, 0x56, 0x01, 0x01,                                      // initialization, capabilities, types
      0x95, 0x5A, 0x27, 0x36, 0xD1, 0xE6,                          // masks
      0xAD, 0x12, 0x06, 0x87,                                      // units, linearization
      0x34, 0x6A, 0x12, 0x95, 0xA4, 0x7E,                          // M, B, accuracy, exponents
      0xFD, 0x80, 0x7F, 0xFE, 0x81, 0x01,                          // readings
      0xF1, 0xE2, 0xD3, 0x94, 0x85, 0x76,                          // thresholds
      0x19, 0x2B, 0xEE, 0xEF, 0x3D, 0xC4, 'F',  'a',  'n',  '7'},
     {{"owner_is_software_id", 1},
      {"owner_id", 0xB0},
      {"owner_lun", 2},
      {"sensor_number", 0x5C},
      {"channel_number", 9},
      {"entity_is_logical", 1},
      {"entity.id", 7},
      {"entity.instance", 0x0B},
      {"init_scanning", 0},
      {"init_events", 1},
      {"init_thresholds", 0},
      {"init_hysteresis", 1},
      {"init_sensor_type", 0},
      {"events_enabled", 1},
      {"scanning_enabled", 0},
      {"ignore_if_entity_absent", 0},
      {"auto_rearm", 1},
      {"hysteresis_supported", 1},
      {"threshold_access", 1},
      {"event_message_control", 2},
      {"sensor_type", 1},
      {"event_reading_type", 1},
      {"assertion_mask", 0xA95},
      {"deassertion_mask", 0x627},
      {"threshold_comparison_mask", 0x1D},  // 101b and 011b
      {"readable_threshold_mask", 0x11},
      {"settable_threshold_mask", 0x26},
      {"analog_data_format", 2},
      {"rate_unit", 5},
      {"modifier_unit_use", 2},
      {"percentage", 1},
      {"base_unit", 0x12},
      {"modifier_unit", 6},
      {"linearization", 7},
      {"tolerance", 0x2A},
      {"m", 0x134},
      {"b", -494},
      {"precision", 0x295},
      {"precision_exponent", 1},
      {"result_exponent", 7},
      {"b_exponent", -2},
      {"analog_flags", 5},
      {"nominal_reading", -128},
      {"normal_maximum", 127},
      {"normal_minimum", -2},
      {"sensor_maximum", -127},
      {"sensor_minimum", 1},
      {"upper_non_recoverable", 0xF1},
      {"upper_critical", 0xE2},
      {"upper_non_critical", 0xD3},
      {"lower_non_recoverable", 0x94},
      {"lower_critical", 0x85},
      {"lower_non_critical", 0x76},
      {"positive_hysteresis", 0x19},
      {"negative_hysteresis", 0x2B},
      {"oem", 0x3D},
      {"id_string_type", 3},
      {"id_string_length", 4}}},
    {{0x02, 0x00, 0x51, 0x02, 0x1E, 0x2C, 0x6D, 0x81, 0x1D, 0x61,  // header, owner, LUNs and channel, number, entity
      0x55, 0xA9, 0x0C, 0x6F,                                      // initialization, capabilities, types
      0x95, 0x5A, 0x27, 0x36, 0xD1, 0xE6,                          // masks
      0x52, 0x03, 0x04, 0x69, 0xA3, 0x21, 0x43, 0xEC, 0xED, 0xEE,  // units, sharing, hysteresis
      0x99, 0x83, 'D',  'I',  'M'},
     {{"owner_is_software_id", 0},
      {"owner_id", 0x2C},
      {"owner_lun", 1},
      {"fru_owner_lun", 3},
      {"channel_number", 6},
      {"sensor_number", 0x81},
      {"entity.id", 0x1D},
      {"entity_is_logical", 0},
      {"entity.instance", 0x61},
      {"init_scanning", 1},
      {"init_events", 0},
      {"init_thresholds", 1},
      {"init_hysteresis", 0},
      {"init_sensor_type", 1},
      {"events_enabled", 0},
      {"scanning_enabled", 1},
      {"ignore_if_entity_absent", 1},
      {"auto_rearm", 0},
      {"hysteresis_supported", 1},
      {"threshold_access", 2},
      {"event_message_control", 1},
      {"sensor_type", 0x0C},
      {"event_reading_type", 0x6F},
      {"assertion_mask", 0xA95},
      {"deassertion_mask", 0x627},
      {"reading_mask", 0x66D1},
      {"rate_unit", 2},
      {"modifier_unit_use", 1},
      {"percentage", 0},
      {"base_unit", 3},
      {"modifier_unit", 4},
      {"direction", 1},
      {"id_string_modifier_type", 2},
      {"share_count", 9},
      {"entity_instance_increments", 1},
      {"id_string_modifier_offset", 0x23},
      {"positive_hysteresis", 0x21},
      {"negative_hysteresis", 0x43},
      {"oem", 0x99},
      {"id_string_type", 2},
      {"id_string_length", 3}}},
    {{0x03, 0x00, 0x51, 0x03, 0x0E, 0x41, 0x98, 0x72, 0x22, 0x83,  // header, owner, LUNs and channel, number, entity
      0x12, 0x6F, 0x9A, 0x45, 0xEE, 0x77, 0xC2, 'E', 'v'},
     {{"owner_is_software_id", 1},
      {"owner_id", 0x40},
      {"owner_lun", 0},
      {"fru_owner_lun", 2},
      {"channel_number", 9},
      {"sensor_number", 0x72},
      {"entity.id", 0x22},
      {"entity_is_logical", 1},
      {"entity.instance", 3},
      {"sensor_type", 0x12},
      {"event_reading_type", 0x6F},
      {"direction", 2},
      {"id_string_modifier_type", 3},  // byte 12 says 1
      {"share_count", 0x0A},
      {"entity_instance_increments", 0},
      {"id_string_modifier_offset", 0x45},
      {"oem", 0x77},
      {"id_string_length", 2}}},
    {{0x08, 0x00, 0x51, 0x08, 0x0B, 0x17, 0x02, 0xA0, 0x81, 0x12, 0x93, 0x24, 0xA5, 0x36, 0xB7, 0x48},
     {{"container.id", 0x17},
      {"container.instance", 2},
      {"list_is_range", 1},
      {"record_is_linked", 0},
      {"container_is_dynamic", 1},
      {"entries[0].id", 0x81},
      {"entries[0].instance", 0x12},
      {"entries[1].id", 0x93},
      {"entries[1].instance", 0x24},
      {"entries[2].id", 0xA5},
      {"entries[2].instance", 0x36},
      {"entries[3].id", 0xB7},
      {"entries[3].instance", 0x48}}},
    {{0x09, 0x00, 0x51, 0x09, 0x15, 0x17, 0x02, 0x2C, 0x70, 0x40, 0x20, 0x11, 0x81,
      0x12, 0x22, 0x13, 0x93, 0x24, 0x24, 0x15, 0xA5, 0x36, 0x26, 0x17, 0xB7, 0x48},
     {{"container.id", 0x17},
      {"container.instance", 2},
      {"container_device_address", 0x2C},
      {"container_device_channel", 0x70},
      {"list_is_range", 0},
      {"record_is_linked", 1},
      {"container_is_dynamic", 0},
      {"entries[0].device_address", 0x20},
      {"entries[0].device_channel", 0x11},
      {"entries[0].entity.id", 0x81},
      {"entries[0].entity.instance", 0x12},
      {"entries[1].device_address", 0x22},
      {"entries[1].device_channel", 0x13},
      {"entries[1].entity.id", 0x93},
      {"entries[1].entity.instance", 0x24},
      {"entries[2].device_address", 0x24},
      {"entries[2].device_channel", 0x15},
      {"entries[2].entity.id", 0xA5},
      {"entries[2].entity.instance", 0x36},
      {"entries[3].device_address", 0x26},
      {"entries[3].device_channel", 0x17},
      {"entries[3].entity.id", 0xB7},
      {"entries[3].entity.instance", 0x48}}},
    {{0x11, 0x00, 0x51, 0x11, 0x0D, 0x21, 0x53, 0x95, 0x7F, 0xEE, 0x10, 0x02, 0x07, 0x61, 0x5D, 0xC2, 'M', 'B'},
     {{"device_access_address", 0x20},
      {"is_logical", 1},
      {"fru_device_id", 0x53},
      {"access_lun", 2},
      {"private_bus_id", 5},
      {"channel_number", 7},
      {"device_type", 0x10},
      {"device_type_modifier", 2},
      {"entity.id", 7},
      {"entity.instance", 0x61},
      {"oem", 0x5D},
      {"id_string_type", 3},
      {"id_string_length", 2}}},
    {{0x12, 0x00, 0x51, 0x11, 0x0B, 0x20, 0xA3, 0x6A, 0x0F, 0xEE, 0x10, 0x02, 0x07, 0x61, 0x5D, 0x00},
     {{"is_logical", 0}, {"fru_device_id", 0x51}, {"access_lun", 1}, {"private_bus_id", 2}, {"channel_number", 0}}},
    {{0x13, 0x00, 0x51, 0x12, 0x0C, 0x2D, 0xF6, 0xB9, 0xBF, 0xEA, 0xEB, 0xEC, 0x06, 0x62, 0x7E, 0x81, 'B'},
     {{"device_slave_address", 0x2C},
      {"channel_number", 6},
      {"power_state_notification", 5},
      {"global_initialization", 9},
      {"device_capabilities", 0xBF},
      {"entity.id", 6},
      {"entity.instance", 0x62},
      {"oem", 0x7E},
      {"id_string_type", 2},
      {"id_string_length", 1}}},
    {{0x14, 0x15, 0x01, 0xC0, 0x03, 0x57, 0x01, 0x00},
     {{"body_length", 3}, {"head[0]", 0x14}, {"head[1]", 0x15}, {"head[2]", 0x01}, {"head[3]", 0xC0}}},
};

TEST(SdrFormat, RecordsByHand) {
  for (const Literal& c : kLiterals) {
    SCOPED_TRACE(hex(c.record));
    const IpmiSdrInfo info = decode(c.record);
    EXPECT_EQ(info.record_id, c.record[0] + 256 * c.record[1]);
    EXPECT_EQ(info.record_type, c.record[3]);
    for (const auto& [name, value] : c.fields) EXPECT_EQ(sdr_field(info, name), value) << name;
    EXPECT_EQ(faults(c.record), "");
  }
  EXPECT_EQ(decode(kLiterals[0].record).sdr_version, 0x15);
  EXPECT_STREQ(reinterpret_cast<const char*>(decode(kLiterals[0].record).body.full.id_string), "Fan7");
  EXPECT_STREQ(reinterpret_cast<const char*>(decode(kLiterals[1].record).body.compact.id_string), "DIM");
  EXPECT_STREQ(reinterpret_cast<const char*>(decode(kLiterals[2].record).body.event_only.id_string), "Ev");
  EXPECT_STREQ(reinterpret_cast<const char*>(decode(kLiterals[5].record).body.fru_locator.id_string), "MB");
  EXPECT_STREQ(reinterpret_cast<const char*>(decode(kLiterals[7].record).body.mc_locator.id_string), "B");
  EXPECT_EQ(hex(decode(kLiterals[8].record).body.raw.body, 4), "57 01 00 00");
}

// Every bit of every record alone, and every bit missing: a wrong mask, shift or byte changes another field.
TEST(SdrFormat, EveryBitOfEveryRecord) {
  for (const Bytes& seed : sdr_seeds()) {
    const size_t text_at = sdr_layout(seed[3]).text_at;
    for (const uint8_t ground : Bytes{0x00, 0xFF})
      for (const uint8_t event_reading_type : Bytes{0x01, 0x6F})
        for (size_t bit = 5 * 8; bit < seed.size() * 8; ++bit) {
          Bytes record = seed;
          std::fill(record.begin() + 5, record.end(), ground);
          if (text_at != 0) record[text_at - 1] = seed[text_at - 1];
          if (seed[3] == IPMI_SDR_FULL_SENSOR) record[13] = event_reading_type;
          record[bit / 8] = static_cast<uint8_t>(record[bit / 8] ^ 1 << bit % 8);
          ASSERT_EQ(faults(record), "") << "bit " << bit % 8 << " of byte " << bit / 8 << " in " << hex(record);
        }
  }
}

TEST(SdrFormat, EveryLengthOfEveryRecord) {
  for (const Bytes& seed : sdr_seeds())
    for (size_t size = 0; size <= seed.size(); ++size)
      for (const uint8_t body_length : {seed[4], uint8_t{0}}) {  // 0: only the length given counts
        Bytes record = seed;
        record[4] = body_length;
        EXPECT_EQ(sdr_faults(record.data(), size), "") << size << " bytes of " << hex(record);
      }
}

TEST(SdrFormat, MinimumLengths) {
  const std::map<uint8_t, uint16_t> minimum = {{0x01, 48}, {0x02, 32}, {0x03, 17}, {0x08, 16},
                                               {0x09, 26}, {0x11, 16}, {0x12, 16}};
  for (int type = 0; type < 256; ++type) {
    Bytes record(64);
    record[2] = 0x51;
    record[3] = static_cast<uint8_t>(type);
    const auto at = minimum.find(static_cast<uint8_t>(type));
    const uint16_t shortest = at == minimum.end() ? 5 : at->second;
    for (uint16_t length = 0; length <= 64; ++length) {
      IpmiSdrInfo info = {};
      const uint32_t expected = length < 5          ? IPMI_STATUS_APP_INVALID_PARAMETER
                                : length < shortest ? IPMI_STATUS_APP_INVALID_FORMAT
                                                    : 0;
      ASSERT_EQ(ipmi_hlp_format_sdr_record(length, record.data(), &info), expected)
          << "type " << type << ", " << length << " bytes";
      ASSERT_EQ(info.record_type, length < 5 ? 0 : type);  // the header is filled before the length is judged
    }
  }
}

TEST(SdrFormat, BodyLengthIsHeldAgainstTheWholeLength) {
  Bytes record = SdrBuilder(IPMI_SDR_OEM).body({1, 2, 3}).bytes();  // 8 bytes
  record[4] = 8;
  EXPECT_EQ(decode(record).body.raw.body_length, 8);
  EXPECT_EQ(faults(record), "");  // the 5 bytes beyond read as zero
  record[4] = 9;
  IpmiSdrInfo info;
  std::memset(static_cast<void*>(&info), 0xA5, sizeof info);
  EXPECT_EQ(ipmi_hlp_format_sdr_record(8, record.data(), &info), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(info.record_type, 0xA5);
}

TEST(SdrFormat, NullPointers) {
  const Bytes record = SdrBuilder(0x0A).bytes();
  IpmiSdrInfo info;
  EXPECT_EQ(ipmi_hlp_format_sdr_record(5, nullptr, &info), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(ipmi_hlp_format_sdr_record(5, record.data(), nullptr), IPMI_STATUS_APP_INVALID_PARAMETER);
}

TEST(SdrFormat, Versions) {
  for (int version = 0; version < 256; ++version) {
    const Bytes record = SdrBuilder(IPMI_SDR_ENTITY_ASSOCIATION)
                             .byte(0, 0xCD)
                             .byte(1, 0xAB)
                             .byte(2, static_cast<uint8_t>(version))
                             .set("container.id", 7)
                             .bytes();
    const bool known = version == 0x51 || version == 0x01;
    const IpmiSdrInfo info = decode(record, known ? 0 : IPMI_STATUS_APP_UNSUPPORT_SDR_VERSION);
    EXPECT_EQ(info.record_id, 0xABCD);
    EXPECT_EQ(info.sdr_version, version % 16 * 16 + version / 16);
    EXPECT_EQ(info.record_type, 0x08);
    EXPECT_EQ(info.body.association.container.id, known ? 7u : 0u);
  }
}

TEST(SdrFormat, OtherTypesHaveTheirHeaderOnly) {
  for (int type = 0; type < 256; ++type) {
    if (!sdr_layout(static_cast<uint8_t>(type)).fields.empty()) continue;
    Bytes record(40, 0xFF);
    record[2] = 0x01;
    record[3] = static_cast<uint8_t>(type);
    record[4] = 35;
    EXPECT_EQ(faults(record), "");  // everything behind the header is zero
  }
}

TEST(SdrFormat, MasksOfAnotherSensorThanAThresholdSensor) {
  SdrBuilder sensor(IPMI_SDR_FULL_SENSOR);
  sensor.set("threshold_comparison_mask", 0x2D)
      .set("settable_threshold_mask", 0x3F)
      .set("readable_threshold_mask", 0x3F);
  for (int code = 0; code < 256; ++code) {
    const IpmiSdrFullSensor full = decode(sensor.set("event_reading_type", code).bytes()).body.full;
    EXPECT_EQ(full.threshold_comparison_mask, 0x2D);
    EXPECT_EQ(full.settable_threshold_mask, code == 1 ? 0x3F : 0) << code;
    EXPECT_EQ(full.readable_threshold_mask, code == 1 ? 0x3F : 0) << code;
  }
}

TEST(SdrFormat, ReadingsByAnalogDataFormat) {
  const std::map<int, int> expected = {{0, 0x80}, {1, -127}, {2, -128}, {3, 0x80}};
  for (const auto& [format, reading] : expected) {
    const Bytes record = SdrBuilder(IPMI_SDR_FULL_SENSOR)
                             .set("analog_data_format", format)
                             .set("sensor_maximum", 0x80)
                             .set("upper_critical", 0x80)
                             .bytes();
    EXPECT_EQ(decode(record).body.full.sensor_maximum, reading);
    EXPECT_EQ(decode(record).body.full.upper_critical, 0x80);  // raw in every format
  }
}

TEST(SdrFormat, EventOnlyStringType) {
  const Bytes record = SdrBuilder(IPMI_SDR_EVENT_ONLY).text("Event").byte(12, 0x10).byte(16, 0xC5).bytes();
  const IpmiSdrEventOnly event = decode(record).body.event_only;
  EXPECT_EQ(event.id_string_modifier_type, 3);
  EXPECT_EQ(event.id_string_type, 0);
  EXPECT_EQ(event.id_string_length, 5);
}

TEST(SdrFormat, IdStringLengths) {
  for (const SdrLayout& layout : sdr_layouts()) {
    if (layout.text_at == 0) continue;
    for (uint8_t length = 0; length < 32; ++length) {
      Bytes record = SdrBuilder(layout.type).text(std::string(length, 'x')).bytes();
      const bool fits = length <= (layout.type == IPMI_SDR_FULL_SENSOR ? 16 : 30);
      const IpmiSdrInfo info = decode(record, fits ? 0 : IPMI_STATUS_APP_INVALID_FORMAT);
      EXPECT_EQ(sdr_field(info, "id_string_length"), length);  // filled before it is judged
      const uint8_t* text = reinterpret_cast<const uint8_t*>(&info) + layout.text_offset;
      EXPECT_EQ(std::count(text, text + layout.text_room, 'x'), fits ? length : 0);
      EXPECT_EQ(faults(record), "");

      record.resize(layout.minimum);  // a string that was not given is zero
      record[4] = 0;
      EXPECT_EQ(faults(record), "");
    }
  }
}

TEST(SdrFormat, BodiesThatAreKeptRaw) {
  for (const uint8_t type : Bytes{0x10, 0x13, 0x14, 0xC0})
    for (const int size : {0, 1, 54, 55, 56, 63, 64, 65, 255}) {
      SCOPED_TRACE(size);
      const Bytes body = counting(static_cast<size_t>(size));
      const Bytes record = SdrBuilder(type).body(body).byte(0, 0x77).bytes();
      const IpmiSdrRaw raw = decode(record, size > 64 ? IPMI_STATUS_APP_INSUFFICIENT_BUFFER : 0).body.raw;
      EXPECT_EQ(raw.body_length, size);
      EXPECT_EQ(hex(raw.head, 4), hex(record.data(), 4));
      Bytes expected = size <= 55 ? body : Bytes();  // 56 to 64 succeed and copy nothing
      expected.resize(55);
      EXPECT_EQ(hex(raw.body, 55), hex(expected));
    }
}

// A BMC with one record, whose pieces are checked against the list of offsets and counts.
struct Piece {
  uint8_t offset;
  uint8_t count;
};

std::vector<Step> pieces_of(const Bytes& record, const std::vector<Piece>& pieces) {
  std::vector<Step> steps;
  uint8_t next = 0x10;
  for (const Piece& piece : pieces) {
    Bytes reply = {0x00, next++, 0xAB};  // another next record each time
    reply.insert(reply.end(), record.begin() + piece.offset, record.begin() + piece.offset + piece.count);
    steps.push_back(
        {.net_fn = 0x0A, .cmd = 0x23, .request = {0x34, 0x12, 0x78, 0x56, piece.offset, piece.count}, .reply = reply});
  }
  return steps;
}

std::vector<Piece> expected_pieces(size_t body) {
  std::vector<Piece> pieces = {{0, 5}};
  size_t offset = 5;
  do {
    const size_t count = std::min<size_t>(16, 5 + body - offset);
    pieces.push_back({static_cast<uint8_t>(offset), static_cast<uint8_t>(count)});
    offset += count;
  } while (offset < 5 + body);
  return pieces;
}

class SdrFetch : public testing::Test {
 protected:
  uint32_t fetch(GuardedBytes& buffer) {
    size = static_cast<uint16_t>(buffer.size());
    return ipmi_get_sdr_record(handle, &reservation, 0x5678, &next, &size, buffer.data());
  }

  TestHandle handle;
  uint16_t reservation = 0x1234;
  uint16_t next = 0xA5A5;
  uint16_t size = 0;
};

TEST_F(SdrFetch, WholeRecordsInPiecesOf16) {
  for (const size_t body : {0u, 1u, 15u, 16u, 17u, 31u, 32u, 33u, 59u, 240u, 241u, 254u, 255u}) {
    SCOPED_TRACE(body);
    Bytes record = counting(5 + body, 0x60);
    record[4] = static_cast<uint8_t>(body);
    const std::vector<Piece> pieces = expected_pieces(body);
    for (const size_t spare : {0u, 1u, 100u}) {
      ScriptedDriver bmc(pieces_of(record, pieces));
      GuardedBytes buffer(record.size() + spare, 0xA5);
      EXPECT_EQ(fetch(buffer), 0u);
      EXPECT_EQ(size, 5 + body);
      EXPECT_EQ(next, 0xAB10 + pieces.size() - 1);  // of the last piece
      EXPECT_EQ(hex(buffer.data(), record.size()), hex(record));
      EXPECT_EQ(hex(buffer.data() + record.size(), spare), hex(Bytes(spare)));
    }
  }
}

TEST_F(SdrFetch, ARecordWithoutABodyIsAskedForNothingOnce) {
  const Bytes record = {1, 2, 3, 4, 0};
  ScriptedDriver bmc(pieces_of(record, {{0, 5}, {5, 0}}));
  GuardedBytes buffer(5);
  EXPECT_EQ(fetch(buffer), 0u);
  EXPECT_EQ(next, 0xAB11);
}

TEST_F(SdrFetch, TooSmallABufferLearnsTheSize) {
  for (const size_t room : {0u, 4u, 5u, 10u, 63u}) {
    Bytes record = counting(64);
    record[4] = 59;
    ScriptedDriver bmc(pieces_of(record, {{0, 5}}));
    GuardedBytes buffer(room, 0xA5);
    EXPECT_EQ(fetch(buffer), IPMI_STATUS_APP_INSUFFICIENT_BUFFER);
    EXPECT_EQ(size, 64);
    EXPECT_EQ(next, 0xA5A5);
    EXPECT_EQ(hex(buffer.data(), room), hex(Bytes(room)));
  }
}

TEST_F(SdrFetch, StopsAtTheFirstFailure) {
  struct Failure {
    Bytes reply;
    uint32_t status;
  };
  Bytes record = counting(40);
  record[4] = 35;
  const std::vector<Piece> pieces = expected_pieces(35);
  for (size_t failing = 0; failing < pieces.size(); ++failing)
    for (const Failure& failure : {Failure{{0xC5}, 0x200000C5u}, Failure{{0x00, 0x01}, 0x200000C3u}}) {
      std::vector<Step> steps = pieces_of(record, pieces);
      steps.resize(failing + 1);
      steps[failing].reply = failure.reply;
      ScriptedDriver bmc(steps);
      GuardedBytes buffer(40, 0xA5);
      EXPECT_EQ(fetch(buffer), failure.status);
      EXPECT_EQ(next, 0xA5A5);
      EXPECT_EQ(size, 40);
      Bytes expected(record.begin(), record.begin() + pieces[failing].offset);  // what came before
      expected.resize(40);
      EXPECT_EQ(hex(buffer.data(), 40), hex(expected));
    }
}

TEST_F(SdrFetch, NullPointers) {
  ScriptedDriver silent(std::vector<Step>{});
  uint8_t buffer[8] = {0xA5};
  size = sizeof buffer;
  EXPECT_EQ(ipmi_get_sdr_record(nullptr, &reservation, 1, &next, &size, buffer), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(ipmi_get_sdr_record(handle, &reservation, 1, nullptr, &size, buffer), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(ipmi_get_sdr_record(handle, &reservation, 1, &next, nullptr, buffer), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(ipmi_get_sdr_record(handle, &reservation, 1, &next, &size, nullptr), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(buffer[0], 0xA5);
}

// The name that comes out of a buffer of that many bytes, which ends at a page of its own when it is whole units.
std::wstring name(int share_count, int modifier, int offset, int member, const wchar_t* base, size_t bytes,
                  uint32_t expected_status = 0) {
  GuardedBytes buffer(bytes, 0xA5);
  std::vector<wchar_t> aligned(bytes / sizeof(wchar_t) + 1, L'~');
  wchar_t* out = bytes % sizeof(wchar_t) == 0 ? reinterpret_cast<wchar_t*>(buffer.data()) : aligned.data();
  EXPECT_EQ(ipmi_hlp_get_share_sdr_string(static_cast<int8_t>(share_count), static_cast<int8_t>(modifier),
                                          static_cast<uint8_t>(offset), static_cast<uint8_t>(member), base,
                                          static_cast<uint16_t>(bytes), out),
            expected_status);
  return bytes < sizeof(wchar_t) ? std::wstring() : std::wstring(out);
}

TEST(SdrName, Suffixes) {
  struct Case {
    int share_count, modifier, offset, member;
    const wchar_t* expected;
  };
  const Case cases[] = {
      {1, 1, 3, 4, L"CPU"},         {1, 0, 3, 4, L"CPU"},         {2, 1, 0, 0, L"CPUA"},   {2, 1, 20, 5, L"CPUZ"},
      {2, 1, 26, 0, L"CPUBA"},      {2, 1, 0, 27, L"CPUBB"},      {2, 1, 30, 0, L"CPUBE"}, {2, 1, 127, 15, L"CPUFM"},
      {2, 1, 255, 255, L"CPUTQ"},   {2, 2, 0, 1, L"CPUB"},        {2, -1, 0, 1, L"CPUB"},  {0, 1, 0, 1, L"CPUB"},
      {-1, 1, 0, 1, L"CPUB"},       {2, 0, 3, 4, L"CPU 7"},       {0, 0, 0, 0, L"CPU 0"},  {-128, 0, 9, 1, L"CPU 10"},
      {15, 0, 127, 14, L"CPU 141"}, {2, 0, 255, 255, L"CPU 510"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(name(c.share_count, c.modifier, c.offset, c.member, L"CPU", 64), c.expected) << c.expected;
  EXPECT_EQ(name(2, 1, 0, 0, L"", 64), L"A");
  EXPECT_EQ(name(2, 0, 0, 5, L"\u6e29\U0001F321", 64), L"\u6e29\U0001F321 5");
}

TEST(SdrName, Room) {
  constexpr uint32_t kSmall = IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
  struct Case {
    const char* what;
    int share_count, modifier, member;
    size_t units;  // the fewest that do; the name has 3
    uint32_t too_small;
  };
  const Case cases[] = {
      {"alone", 1, 1, 0, 4, kSmall},
      {"one letter takes the room of two", 2, 1, 0, 6, kSmall},
      {"two letters", 2, 1, 26, 6, kSmall},
      {"one digit", 2, 0, 9, 6, IPMI_STATUS_APP_ERROR},
      {"two digits", 2, 0, 10, 7, IPMI_STATUS_APP_ERROR},
      {"three digits", 2, 0, 100, 8, IPMI_STATUS_APP_ERROR},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    for (size_t bytes = 0; bytes < 4 * c.units; ++bytes)
      EXPECT_EQ(name(c.share_count, c.modifier, 0, c.member, L"CPU", bytes, c.too_small), L"") << bytes;
    EXPECT_EQ(name(c.share_count, c.modifier, 0, c.member, L"CPU", 4 * c.units).substr(0, 3), L"CPU");
    EXPECT_EQ(name(c.share_count, c.modifier, 0, c.member, L"CPU", 4 * c.units + 3).substr(0, 3), L"CPU");
  }
}

TEST(SdrName, ClearsTheWholeOutputFirst) {
  wchar_t out[8];
  for (const wchar_t* base : {L"AB", static_cast<const wchar_t*>(nullptr)}) {
    std::wmemset(out, L'~', 8);
    EXPECT_EQ(ipmi_hlp_get_share_sdr_string(1, 0, 0, 0, base, 7 * sizeof(wchar_t), out),
              base ? 0 : IPMI_STATUS_APP_INVALID_PARAMETER);
    EXPECT_EQ(std::wstring(out + 2, 6), std::wstring(5, L'\0') + L'~');
    EXPECT_EQ(out[0], base ? L'A' : L'\0');
  }
  EXPECT_EQ(ipmi_hlp_get_share_sdr_string(1, 0, 0, 0, L"AB", 32, nullptr), IPMI_STATUS_APP_INVALID_PARAMETER);
}

}  // namespace
