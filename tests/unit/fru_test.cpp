#include "lumipmi/fru.h"

#include <gtest/gtest.h>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "lumipmi/status.h"
#include "support/fake_libc.hpp"
#include "support/fru_builder.hpp"
#include "support/guarded_bytes.hpp"
#include "support/scripted_driver.hpp"

namespace lumi::test {
namespace {

constexpr uint32_t kInvalidFormat = IPMI_STATUS_APP_INVALID_FORMAT;
constexpr uint32_t kInvalidParameter = IPMI_STATUS_APP_INVALID_PARAMETER;
constexpr uint32_t kInsufficient = IPMI_STATUS_APP_INSUFFICIENT_BUFFER;

/// A parsed image, released at the end. The image ends at a page that may not be read.
struct Parsed {
  explicit Parsed(const Bytes& image) : bytes(image) {
    std::memset(static_cast<void*>(&*info), 0xA5, sizeof *info);
    status = ipmi_parse_ipmi_fru_data(&info, static_cast<uint16_t>(image.size()), bytes.data());
  }
  ~Parsed() { release_fru(*info); }
  Parsed(const Parsed&) = delete;
  Parsed& operator=(const Parsed&) = delete;

  GuardedBytes bytes;
  Guarded<IpmiFruInfo> info;
  uint32_t status;
};

std::string show(const IpmiFruField& field) {
  return std::to_string(field.type_code) + "[" + hex(field.data, field.length) + "]";
}

std::string show(const IpmiFruField* custom, unsigned count) {
  std::string text = " custom";
  for (unsigned i = 0; i < count; ++i) text += " " + show(custom[i]);
  return text + "\n";
}

/// All of a record but the manufacturing time, which depends on the time zone.
std::string show(const IpmiFruInfo& i) {
  std::ostringstream out;
  out << "version " << +i.format_version << " at " << i.internal_use_offset << " " << i.chassis_offset << " "
      << i.board_offset << " " << i.product_offset << " " << i.multirecord_offset << " pad " << +i.pad << "\n"
      << "internal " << i.internal_use_length << " " << (i.internal_use_data != nullptr) << "\n"
      << "chassis " << +i.chassis_format_version << " " << +i.chassis_area_length << " " << i.chassis_type << " "
      << show(i.chassis_part_number) << " " << show(i.chassis_serial_number)
      << show(i.chassis_custom_fields, i.chassis_custom_count)  //
      << "board " << +i.board_format_version << " " << +i.board_area_length << " " << +i.board_language_code << " "
      << show(i.board_manufacturer) << " " << show(i.board_product_name) << " " << show(i.board_serial_number) << " "
      << show(i.board_part_number) << " " << show(i.board_fru_file_id)
      << show(i.board_custom_fields, i.board_custom_count)  //
      << "product " << +i.product_format_version << " " << +i.product_area_length << " " << +i.product_language_code
      << " " << show(i.product_manufacturer) << " " << show(i.product_name) << " " << show(i.product_part_number) << " "
      << show(i.product_version) << " " << show(i.product_serial_number) << " " << show(i.product_asset_tag) << " "
      << show(i.product_fru_file_id) << show(i.product_custom_fields, i.product_custom_count);
  return out.str();
}

std::string ascii(const IpmiFruField& field) {
  return std::string(field.data, field.data + field.length);
}

// Offsets of the full image, for tests that damage it.
constexpr size_t kChassis = 24, kBoard = 56, kProduct = 96, kMultirecord = 152;

TEST(FruParse, FillsEveryField) {
  const Bytes image = full_fru_image().build();
  const Parsed fru(image);
  EXPECT_EQ(fru.status, 0u);
  EXPECT_EQ(show(*const_cast<Parsed&>(fru).info),
            "version 1 at 8 24 56 96 152 pad 92\n"
            "internal 24 1\n"
            "chassis 1 4 23 3[43 48 2d 50 41 52 54] 1[12 34 bf] custom 0[de] 3[63 68 2d 63 75 73 74 6f 6d]\n"
            "board 1 5 25 3[4d 61 6b 65 72] 3[42 6f 61 72 64] 3[53 4e 2d 31] 2[a1 38 92] 3[]"
            " custom 3[62 31] 0[] 3[62 33]\n"
            "product 1 7 1 3[56 65 6e 64 6f 72] 3[50 72 6f 64 75 63 74] 3[4d 6f 64 65 6c 2d 39] 3[76 32] 1[98]"
            " 0[01 ff] 3[66 69 6c 65 2e 66 72 75] custom 3[70 31] 3[63 61 66 e9]\n");
}

TEST(FruParse, AreasThatAreAbsentLeaveNothing) {
  Parsed fru(FruImage{.pad = 7}.build());
  EXPECT_EQ(fru.status, 0u);
  IpmiFruInfo expected = {};
  expected.format_version = 1;
  expected.pad = 7;
  EXPECT_EQ(show(*fru.info), show(expected));
  EXPECT_EQ(fru.info->board_manufacturing_time, 0);
  EXPECT_EQ(fru.info->chassis_custom_fields, nullptr);
}

TEST(FruParse, JudgesFormatBytesAndChecksums) {
  const struct {
    size_t offset;
    uint8_t value;
    bool fix;
    uint32_t status;
  } cases[] = {
      {0, 0x11, true, 0},  // neither the high nibble nor bit 0 counts
      {0, 0xF0, true, 0},
      {0, 0x03, true, kInvalidFormat},
      {0, 0x05, true, kInvalidFormat},
      {0, 0x09, true, kInvalidFormat},
      {6, 0x5D, false, kInvalidFormat},
      {6, 0x5D, true, 0},
      {kChassis, 0xF0, true, 0},
      {kChassis, 0x02, true, kInvalidFormat},
      {kChassis + 31, 0x00, false, kInvalidFormat},  // the area's checksum itself
      {kBoard, 0xF1, true, 0},
      {kBoard, 0x04, true, kInvalidFormat},
      {kBoard + 39, 0x00, false, kInvalidFormat},
      {kProduct, 0x31, true, 0},
      {kProduct, 0x09, true, kInvalidFormat},
      {kProduct + 4, 0x00, false, kInvalidFormat},
      {kMultirecord, 0xEE, false, 0},  // not decoded
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("byte " + std::to_string(c.offset) + " = " + std::to_string(c.value));
    Bytes image = full_fru_image().build();
    image[c.offset] = c.value;
    if (c.fix) fix_fru_checksums(image);
    Parsed fru(image);
    EXPECT_EQ(fru.status, c.status);
    if (c.status == 0) {
      EXPECT_EQ(fru.info->product_format_version, 1);
    }
  }
}

TEST(FruParse, LengthByteZeroMeansNoChecksum) {
  FruImage description = full_fru_image();
  description.chassis->with_length = description.board->with_length = description.product->with_length = false;
  Parsed fru(description.build());
  EXPECT_EQ(fru.status, 0u);
  EXPECT_EQ(fru.info->chassis_area_length, 0);
  EXPECT_EQ(ascii(fru.info->board_custom_fields[2]), "b3");
  EXPECT_EQ(ascii(fru.info->product_custom_fields[0]), "p1");
}

TEST(FruParse, AreaLengthDoesNotBoundFields) {
  FruImage description = {.chassis = FruArea{{0x01}, {fru_text("twelve bytes"), fru_text("x")}, 1}};
  Bytes image = description.build();
  image[8 + 1] = 1;  // of 24 bytes only the first 8 are said to belong to the area
  image[8 + 7] = 0;
  image[8 + 7] = sumcheck(image.data() + 8, 8, 0);
  Parsed fru(image);
  EXPECT_EQ(fru.status, 0u);
  EXPECT_EQ(fru.info->chassis_part_number.length, 12);
  EXPECT_EQ(ascii(fru.info->chassis_serial_number), "x");
}

TEST(FruParse, EndMarkerAmongFixedFieldsIsAField) {
  Parsed fru(FruImage{.chassis = FruArea{{0x01}, {Bytes{0xC1, 'a'}, Bytes{0xC1, 'b'}, fru_text("cc")}}}.build());
  EXPECT_EQ(fru.status, 0u);
  EXPECT_EQ(ascii(fru.info->chassis_part_number), "a");
  EXPECT_EQ(ascii(fru.info->chassis_serial_number), "b");
  EXPECT_EQ(fru.info->chassis_custom_count, 1);
}

TEST(FruParse, CustomCountHasEightBits) {
  const struct {
    size_t fields;
    unsigned count;
  } cases[] = {{0, 0}, {1, 1}, {255, 255}, {256, 0}, {257, 1}, {300, 44}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.fields);
    FruArea area = {{0x00}, {}, 1, false};
    for (size_t i = 0; i < 7 + c.fields; ++i) area.fields.push_back(fru_text(i % 2 == 0 ? "even" : "odd"));
    Parsed fru(FruImage{.product = area}.build());
    EXPECT_EQ(fru.status, 0u);
    ASSERT_EQ(fru.info->product_custom_count, c.count);
    EXPECT_EQ(fru.info->product_custom_fields != nullptr, c.count != 0);
    for (unsigned i = 0; i < c.count; ++i)
      ASSERT_EQ(ascii(fru.info->product_custom_fields[i]), i % 2 == 0 ? "odd" : "even");
  }
}

TEST(FruParse, ManufacturingTimeCountsFromLocalMidnight) {
  constexpr int64_t kBase = 820454400;  // 1996-01-01 00:00:00 UTC
  const struct {
    const char* zone;
    int64_t base;
  } cases[] = {{"UTC0", kBase},
               {"JST-9", kBase - 9 * 3600},
               {"EST5EDT,M3.2.0,M11.1.0", kBase + 5 * 3600},
               {"AEST-10AEDT,M10.1.0,M4.1.0/3", kBase - 10 * 3600}};  // standard time, though it is summer there
  const char* before = std::getenv("TZ");
  const std::string zone_before = before == nullptr ? "" : before;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.zone);
    setenv("TZ", c.zone, 1);
    tzset();
    for (const uint32_t minutes : {0u, 1u, 0x010203u, 0xFFFFFFu}) {
      FruImage description = full_fru_image();
      for (size_t i = 0; i < 3; ++i) description.board->start[1 + i] = static_cast<uint8_t>(minutes >> 8 * i);
      Parsed fru(description.build());
      EXPECT_EQ(fru.info->board_manufacturing_time, c.base + int64_t{60} * minutes);
    }
  }
  before == nullptr ? unsetenv("TZ") : setenv("TZ", zone_before.c_str(), 1);
  tzset();
}

TEST(FruParse, InternalUseCopyIsAsLongAsTheNextOffset) {
  const struct {
    Bytes offsets;  // header bytes 1 to 5
    size_t image;
    size_t length;
  } cases[] = {
      {{1, 2, 0, 0, 0}, 64, 16},  // not the 8 bytes between the two
      {{1, 0, 3, 0, 0}, 64, 24}, {{1, 0, 0, 4, 0}, 64, 32}, {{1, 0, 0, 0, 5}, 64, 40},
      {{1, 5, 4, 3, 2}, 64, 16}, {{2, 1, 0, 0, 0}, 64, 64},  // an area before it does not count
      {{1, 1, 0, 0, 0}, 64, 64}, {{1, 0, 0, 0, 0}, 64, 64}, {{1, 0, 0, 0, 9}, 64, 64},
      {{7, 0, 0, 0, 0}, 60, 60}, {{8, 0, 0, 0, 0}, 64, 64}, {{255, 0, 0, 0, 0}, 64, 64},  // all of it beyond the image
      {{20, 0, 0, 0, 30}, 8, 8},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(hex(c.offsets));
    Bytes image(c.image);
    std::copy(c.offsets.begin(), c.offsets.end(), image.begin() + 1);
    for (size_t i = 8; i < image.size(); ++i) image[i] = i % 8 < 2 ? 0 : static_cast<uint8_t>(0x80 + i);
    // any area here has a length of 0, no long fields, and the end marker behind it
    const bool areas = c.offsets[1] + c.offsets[2] + c.offsets[3] != 0;
    if (areas) std::fill(image.begin() + 16, image.end(), uint8_t{0});
    if (areas) image.back() = 0xC1;
    if (areas && c.offsets[1] == 1) std::fill(image.begin() + 8, image.end() - 1, uint8_t{0});
    fix_fru_checksums(image);

    Parsed fru(image);
    ASSERT_EQ(fru.status, 0u);
    ASSERT_EQ(fru.info->internal_use_length, c.length);
    Bytes expected = image;
    expected.resize(c.offsets[0] * size_t{8} + c.length);  // zeros behind the image
    expected.erase(expected.begin(), expected.begin() + c.offsets[0] * 8);
    EXPECT_EQ(hex(fru.info->internal_use_data, c.length), hex(expected));
  }
}

TEST(FruParse, EveryTruncationIsAFormatError) {
  for (const bool with_length : {true, false}) {
    FruImage description = full_fru_image();
    description.chassis->with_length = description.board->with_length = description.product->with_length = with_length;
    const Bytes image = description.build();
    size_t end = kMultirecord;  // the product area's last byte is needed
    if (!with_length)
      for (end = kMultirecord; image[end - 1] != 0xC1;) --end;  // its end marker is
    for (size_t size = 0; size <= image.size(); ++size) {
      SCOPED_TRACE(size);
      EXPECT_EQ(Parsed(Bytes(image.begin(), image.begin() + static_cast<long>(size))).status,
                size < end ? kInvalidFormat : 0u);
    }
  }
}

TEST(FruParse, FixedBytesMustLieInTheImage) {
  const struct {
    size_t header_byte;
    size_t fixed;
  } cases[] = {{2, 3}, {3, 6}, {4, 3}};
  for (const auto& c : cases)
    for (size_t present = 0; present <= c.fixed; ++present) {
      SCOPED_TRACE(std::to_string(c.header_byte) + ", " + std::to_string(present));
      Bytes image(8 + present, 0x01);
      std::fill_n(image.begin(), 8, uint8_t{0});
      image[c.header_byte] = 1;
      if (present > 1) image[9] = 0;  // no length, no checksum
      fix_fru_checksums(image);
      Parsed fru(image);
      EXPECT_EQ(fru.status, kInvalidFormat);  // at least for want of fields
      IpmiFruInfo& info = *fru.info;
      EXPECT_EQ(info.chassis_format_version + info.board_format_version + info.product_format_version,
                present == c.fixed ? 1 : 0);
      EXPECT_EQ(info.board_manufacturing_time != 0, c.header_byte == 3 && present == 6);
    }
}

TEST(FruParse, NullPointersLeaveTheRecord) {
  Guarded<IpmiFruInfo> info;
  EXPECT_EQ(ipmi_parse_ipmi_fru_data(&info, 8, nullptr), kInvalidParameter);
  EXPECT_TRUE(info.untouched());
  const uint8_t image[8] = {};
  EXPECT_EQ(ipmi_parse_ipmi_fru_data(nullptr, 8, image), kInvalidParameter);
  ipmi_free_fru_info(nullptr);
}

TEST(FruParse, FailureKeepsWhatWasDecodedBefore) {
  Bytes image = full_fru_image().build();
  image[kProduct + 55] ^= 1;
  Parsed bad_product(image);
  EXPECT_EQ(bad_product.status, kInvalidFormat);
  EXPECT_EQ(ascii(bad_product.info->chassis_custom_fields[1]), "ch-custom");
  EXPECT_EQ(bad_product.info->board_custom_count, 3);
  EXPECT_EQ(bad_product.info->product_area_length, 0);
  EXPECT_EQ(bad_product.info->internal_use_data, nullptr);

  image = full_fru_image().build();
  image.resize(kProduct + 9);  // "Vendor" is cut
  image[kProduct + 1] = 0;
  Parsed cut(image);
  EXPECT_EQ(cut.status, kInvalidFormat);
  EXPECT_EQ(cut.info->product_language_code, 1);
  EXPECT_EQ(show(cut.info->product_manufacturer), "0[]");
}

/// Parses the full image with allocation `failing` refused.
struct ParsedWithout {
  explicit ParsedWithout(int failing) {
    libc.fail_allocation = failing;
    const Bytes image = full_fru_image().build();
    status = ipmi_parse_ipmi_fru_data(&info, static_cast<uint16_t>(image.size()), image.data());
    libc.fail_allocation = 0;
  }
  FakeLibc libc;
  IpmiFruInfo info = {};
  uint32_t status;
};

// In the order of the areas: two fields, the array and two custom fields; five fields of which one is empty, the array
// and three custom fields of which one is empty; seven fields, the array and two custom fields; internal use.
constexpr int kChassisArray = 3, kBoardArray = 10, kProductArray = 20, kAllocations = 23;

TEST(FruParse, EveryAllocationMayFail) {
  for (int failing = 1; failing <= kAllocations; ++failing) {
    SCOPED_TRACE(failing);
    ParsedWithout fru(failing);
    EXPECT_EQ(fru.status, IPMI_STATUS_APP_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(fru.libc.allocations, failing);
    const bool board_custom_failed = failing >= kBoardArray && failing < kBoardArray + 3;
    const bool product_custom_failed = failing >= kProductArray && failing < kProductArray + 3;
    EXPECT_EQ(fru.info.chassis_custom_count, failing > kChassisArray ? 2 : 0);
    EXPECT_EQ(fru.info.board_custom_count, failing > kBoardArray && !board_custom_failed ? 3 : 0);
    EXPECT_EQ(fru.info.product_custom_count, failing > kProductArray && !product_custom_failed ? 2 : 0);
    EXPECT_EQ(fru.info.chassis_custom_fields != nullptr, fru.info.chassis_custom_count != 0);
    EXPECT_EQ(fru.info.board_custom_fields != nullptr, fru.info.board_custom_count != 0);
    EXPECT_EQ(fru.info.product_custom_fields != nullptr, fru.info.product_custom_count != 0);
    EXPECT_EQ(fru.info.internal_use_length, 0);
    for (const IpmiFruField* field : fru_fields(fru.info)) EXPECT_EQ(field->data == nullptr, field->length == 0);
    release_fru(fru.info);
    EXPECT_EQ(fru.libc.live_allocations(), 0u);
  }
  ParsedWithout whole(0);
  EXPECT_EQ(whole.status, 0u);
  EXPECT_EQ(whole.libc.allocations, kAllocations);
  release_fru(whole.info);
}

TEST(FruFree, KeepsArraysAndPointers) {
  ParsedWithout fru(0);
  const IpmiFruInfo before = fru.info;
  const std::vector<const IpmiFruField*> fields = fru_fields(fru.info);
  std::vector<const uint8_t*> data;
  for (const IpmiFruField* field : fields) data.push_back(field->data);

  ipmi_free_fru_info(&fru.info);
  EXPECT_EQ(fru.libc.live_allocations(), 3u);  // the arrays are the caller's
  EXPECT_EQ(fru.info.internal_use_data, nullptr);
  EXPECT_EQ(fru.info.internal_use_length, before.internal_use_length);
  EXPECT_EQ(fru_fields(fru.info), fields);  // a second call would free the same blocks again
  for (size_t i = 0; i < fields.size(); ++i) EXPECT_EQ(fields[i]->data, data[i]);
  for (void* array : {before.chassis_custom_fields, before.board_custom_fields, before.product_custom_fields}) {
    EXPECT_EQ(fru.libc.live_blocks.count(array), 1u);
    std::free(array);
  }
}

TEST(FruFree, LooksAtTheInternalUseLength) {
  FakeLibc libc;
  IpmiFruInfo info = {};
  uint8_t block = 0;
  info.internal_use_data = &block;  // length 0: not the record's
  ipmi_free_fru_info(&info);
  EXPECT_EQ(info.internal_use_data, &block);
}

TEST(Sumcheck, SubtractsModulo256) {
  const uint8_t bytes[] = {0x20, 0x18, 0xC8, 0x01};
  EXPECT_EQ(sumcheck(bytes, 2, 0x00), 0xC8);
  EXPECT_EQ(sumcheck(bytes, 3, 0x07), 0x07);
  EXPECT_EQ(sumcheck(bytes, 4, 0x00), 0xFF);
  EXPECT_EQ(sumcheck(nullptr, 0, 0x5A), 0x5A);
  GuardedBytes many(65535);
  many.data()[65534] = 0x41;
  EXPECT_EQ(sumcheck(many.data(), -1, 0x00), 0xBF);  // the length is unsigned
}

// ---------------------------------------------------------------------------------------------------- rendering

/// The character encoding of a test.
class Locale {
 public:
  explicit Locale(const char* name) : before_(std::setlocale(LC_CTYPE, nullptr)) {
    EXPECT_NE(std::setlocale(LC_CTYPE, name), nullptr);
  }
  ~Locale() { std::setlocale(LC_CTYPE, before_.c_str()); }

 private:
  std::string before_;
};

const Bytes kAbcd = {0xA1, 0x38, 0x92};  // 6-bit ASCII
constexpr uint8_t kGerman = 0x0A;

TEST(FruText, RendersFields) {
  Locale utf8("C.UTF-8");
  const struct {
    uint8_t type;
    Bytes data;
    uint8_t language;
    uint16_t size;
    uint32_t status;
    std::string text;
  } cases[] = {
      {0, {0x01, 0x02, 0x03, 0x04}, 0, 13, 0, "01 02 03 04 "},
      {0, {0x01, 0x02, 0x03, 0x04}, 0, 12, kInsufficient, "01 02 03 04"},
      {0, {0xAB, 0xCD}, 0, 6, kInsufficient, "AB CD"},
      {0, {0xAB, 0xCD}, 0, 5, kInsufficient, "AB C"},
      {0, {0xAB}, 0, 1, kInsufficient, ""},
      {0, {0x0F, 0xF0}, kGerman, 20, 0, "0F F0 "},
      {1, {0x12, 0xAF}, 0, 5, 0, "12 _"},
      {1, {0x12, 0xAF}, 0, 4, kInsufficient, ""},
      {2, kAbcd, 0, 6, 0, "ABCD"},
      {2, kAbcd, 0, 5, 0, "ABCD"},
      {2, kAbcd, 0, 4, kInsufficient, "ABCD"},  // no terminator, as when cut
      {2, kAbcd, 0, 3, kInsufficient, "ABC"},
      {2, kAbcd, 0, 1, kInsufficient, "A"},
      {3, {'A', 0xE9, 'Z'}, 0, 4, 0, "A\xE9Z"},
      {3, {'A', 0xE9, 'Z'}, 25, 9, 0, "A\xE9Z"},
      {3, {'A', 0xE9, 'B'}, 25, 3, kInsufficient, "A\xE9"},
      {3, {'A'}, 0, 1, kInsufficient, ""},
      {3, {'A', 0x00, 'B'}, 0, 4, 0, std::string("A\0B", 3)},
      {3, {'A', 0xE9}, kGerman, 4, 0, "A\xC3\xA9"},
      {3, {'A', 0xE9}, kGerman, 3, kInsufficient, "A"},
      {3, {0xE9, 'A'}, kGerman, 3, kInsufficient, "\xC3\xA9"},
      {3, {'A', 'B', 'C'}, 1, 4, 0, "ABC"},
      {3, {'A', 'B', 'C'}, 24, 3, kInsufficient, "AB"},
      {3, {'A', 0x00, 'B'}, 26, 4, 0, std::string("A\0B", 3)},
      {3, {'A'}, 255, 2, 0, "A"},
      {3, {'A'}, 255, 1, kInsufficient, ""},
      {3, {}, kGerman, 1, 0, ""},
      {0, {}, 0, 1, 0, ""},
      {4, {'A'}, 0, 9, kInvalidFormat, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("type " + std::to_string(c.type) + " " + hex(c.data) + " language " + std::to_string(c.language) +
                 " into " + std::to_string(c.size));
    GuardedBytes data(c.data);
    const IpmiFruField field = {c.type, static_cast<uint8_t>(c.data.size()), data.data()};
    GuardedBytes dst(c.size, 0xEE);
    EXPECT_EQ(ipmi_hlp_get_fru_field(dst.text(), c.size, &field, c.language), c.status);
    std::string expected = c.text;
    expected.resize(c.size);
    EXPECT_EQ(dst.content(), expected);
  }
}

TEST(FruText, LongestFieldsFitTheDocumentedSizes) {
  const struct {
    uint8_t type;
    uint16_t size;
    size_t length;
  } cases[] = {{0, 190, 189}, {1, 127, 126}, {2, 85, 84}, {3, 64, 63}};
  GuardedBytes data(63, 0x11);
  for (const auto& c : cases) {
    SCOPED_TRACE(+c.type);
    const IpmiFruField field = {c.type, 63, data.data()};
    for (const uint8_t language : {uint8_t{0}, kGerman}) {
      GuardedBytes dst(c.size, 0xEE);
      EXPECT_EQ(ipmi_hlp_get_fru_field(dst.text(), c.size, &field, language), 0u);
      EXPECT_EQ(std::strlen(dst.text()), c.length);
      GuardedBytes small(c.size - size_t{1}, 0xEE);
      EXPECT_EQ(ipmi_hlp_get_fru_field(small.text(), static_cast<uint16_t>(c.size - 1), &field, language),
                kInsufficient);
    }
  }
  GuardedBytes long_data(255, 0xFF);  // longer than any field of an image
  for (uint8_t type = 0; type <= 3; ++type) {
    const IpmiFruField field = {type, 255, long_data.data()};
    GuardedBytes dst(766);
    EXPECT_EQ(ipmi_hlp_get_fru_field(dst.text(), 766, &field, 0), 0u);
  }
}

TEST(FruText, RefusesWhatItCannotRender) {
  char dst[8] = "before";
  uint8_t bytes[] = {'A', 0xE9, 'B'};
  const IpmiFruField field = {3, 3, bytes};
  EXPECT_EQ(ipmi_hlp_get_fru_field(nullptr, sizeof dst, &field, 0), kInvalidParameter);
  EXPECT_EQ(ipmi_hlp_get_fru_field(dst, 0, &field, 0), kInvalidParameter);
  EXPECT_STREQ(dst, "before");
  EXPECT_EQ(ipmi_hlp_get_fru_field(dst, sizeof dst, nullptr, 0), 0u);
  EXPECT_EQ(std::string(dst, sizeof dst), std::string(8, '\0'));
  const IpmiFruField without_data = {3, 3, nullptr};
  EXPECT_EQ(ipmi_hlp_get_fru_field(dst, sizeof dst, &without_data, 0), kInvalidParameter);
  Locale ascii_only("C");
  EXPECT_EQ(ipmi_hlp_get_fru_field(dst, sizeof dst, &field, kGerman), IPMI_STATUS_APP_ERROR);
  EXPECT_STREQ(dst, "A");
  EXPECT_EQ(ipmi_hlp_get_fru_field(dst, 2, &field, kGerman), kInsufficient);  // full before it is converted
}

Bytes wide(std::u32string_view text) {
  Bytes bytes;
  for (const char32_t unit : text)
    for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<uint8_t>(unit >> 8 * i));
  return bytes;
}

std::string narrow(std::string text) {
  return text + '\0';
}

std::string wide_text(std::u32string_view text) {
  const Bytes bytes = wide(text);
  return std::string(bytes.begin(), bytes.end()) + std::string(4, '\0');
}

TEST(TypeLength, DecodesIntoNarrowOrWideText) {
  Locale utf8("C.UTF-8");
  const std::u32string_view hi(U"Hi\0", 3);
  const std::u32string long_text = std::u32string(254, U'x') + U'\0';
  const std::u32string too_long = std::u32string(255, U'x');  // not terminated: nothing behind it is read
  const std::u32string accents = std::u32string(200, U'\u00E9') + U'\0';
  std::string accents_cut;
  for (int i = 0; i < 127; ++i) accents_cut += "\u00E9";
  const struct {
    uint32_t type;
    uint8_t length;
    Bytes data;
    uint8_t flags;
    uint16_t size;
    uint32_t status;
    std::string written;
  } cases[] = {
      {3, 2, {'A', 'B'}, 0, 4, 0, narrow("AB")},
      {3, 2, {'A', 'B'}, 0, 3, kInsufficient, ""},  // text and terminator alone are not enough
      {3, 2, {'A', 'B'}, 0xFE, 4, 0, narrow("AB")},
      {3, 3, {'A', 0, 'B'}, 0, 3, 0, narrow("A")},
      {3, 0, {}, 0, 2, 0, narrow("")},
      {3, 0, {}, 0, 1, kInsufficient, ""},
      {3, 0, {}, 0, 0, kInsufficient, ""},
      {3, 63, Bytes(63, 'x'), 0, 65, 0, narrow(std::string(63, 'x'))},
      {3, 64, Bytes(64, 'x'), 0, 255, kInvalidParameter, ""},
      {3, 2, {'A', 'B'}, 1, 12, 0, wide_text(U"AB")},
      {3, 2, {'A', 'B'}, 1, 11, kInsufficient, ""},
      {3, 2, {'A', 'B'}, 0xFF, 99, 0, wide_text(U"AB")},
      {3, 3, {'A', 0xC3, 0xA9}, 1, 16, 0, wide_text(U"A\u00E9")},
      {3, 3, {'A', 0xC3, 0xA9}, 1, 15, kInsufficient, ""},  // counted in bytes of the narrow text
      {3, 2, {'A', 0xE9}, 1, 99, IPMI_STATUS_APP_ERROR, ""},
      {3, 0, {}, 1, 4, 0, wide_text(U"")},
      {3, 0, {}, 1, 3, kInsufficient, ""},
      {1, 2, {0x12, 0xAF}, 0, 6, 0, narrow("12 _")},
      {1, 2, {0x12, 0xAF}, 0, 5, kInsufficient, ""},
      {1, 2, {0x12, 0xAF}, 1, 20, 0, wide_text(U"12 _")},
      {1, 63, Bytes(63, 0xDE), 0, 128, 0, narrow([] {
         std::string text;
         for (int i = 0; i < 63; ++i) text += ":,";
         return text;
       }())},
      {2, 3, kAbcd, 0, 6, 0, narrow("ABCD")},
      {2, 63, Bytes(63, 0xFF), 1, 85 * 4, 0, wide_text(std::u32string(84, U'_'))},
      {2, 63, Bytes(63, 0xFF), 0, 85, kInsufficient, ""},
      {0, 0, wide(hi), 0, 4, 0, narrow("Hi")},  // a wide text; its length counts, not the one given
      {0, 63, wide(hi), 0, 4, 0, narrow("Hi")},
      {0, 64, wide(hi), 0, 4, kInvalidParameter, ""},
      {0, 0, wide(hi), 1, 12, 0, wide_text(U"Hi")},
      {0, 0, wide(long_text), 0, 256, 0, narrow(std::string(254, 'x'))},
      {0, 0, wide(long_text), 0, 255, kInsufficient, ""},
      {0, 0, wide(too_long), 0, 512, kInsufficient, ""},
      {0, 0, wide(accents), 0, 512, 0, narrow(accents_cut)},
      {0, 0, wide({U"\xD800\0", 2}), 0, 512, IPMI_STATUS_APP_ERROR, ""},
      {4, 2, {'A', 'B'}, 0, 9, kInvalidFormat, ""},
      {0x103, 2, {'A', 'B'}, 0, 9, kInvalidFormat, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("type " + std::to_string(c.type) + " " + hex(c.data) + " flags " + std::to_string(c.flags) + " into " +
                 std::to_string(c.size));
    for (const size_t shift : {size_t{0}, size_t{1}}) {  // wide units at any address
      GuardedBytes data(c.data);
      Bytes misaligned(shift);
      misaligned.insert(misaligned.end(), c.data.begin(), c.data.end());
      GuardedBytes dst(c.size + shift, 0xEE);
      const uint8_t* from = shift == 0 ? data.data() : misaligned.data() + shift;
      EXPECT_EQ(
          ipmi_hlp_decode_type_length(c.type, c.length, from, c.flags, c.size, dst.data() + (dst.size() - c.size)),
          c.status);
      std::string expected = c.written;
      expected.resize(c.size, '\xEE');  // untouched on failure and behind the terminator
      EXPECT_EQ(dst.content().substr(shift), expected);
    }
  }
  char dst[8];
  EXPECT_EQ(ipmi_hlp_decode_type_length(4, 0, nullptr, 0, sizeof dst, dst), kInvalidParameter);
  EXPECT_EQ(ipmi_hlp_decode_type_length(3, 0, kAbcd.data(), 0, sizeof dst, nullptr), kInvalidParameter);
}

// ------------------------------------------------------------------------------------------------------ reading

using Reads = std::vector<std::pair<unsigned, unsigned>>;  // offset and count of each request

/// A FRU device 5 behind the BMC.
struct Device {
  Bytes content;
  unsigned fails_at = UINT32_MAX;  // completion code 0x81 for requests beyond
  Reads reads = {};

  Bytes answer(const Bytes& request) {
    EXPECT_EQ(request.size(), 4u);
    EXPECT_EQ(request[0], 5);
    const unsigned offset = request[1] + request[2] * 256u, count = request[3];
    reads.emplace_back(offset, count);
    if (offset >= fails_at) return {0x81};
    if (offset + count > content.size()) return {0xC9};
    Bytes reply = {0x00, request[3]};
    reply.insert(reply.end(), content.begin() + offset, content.begin() + offset + count);
    return reply;
  }
};

/// The requests that passes of these sizes are made of.
Reads requests_of(const std::vector<unsigned>& passes) {
  Reads reads;
  unsigned offset = 0;
  for (const unsigned pass : passes)
    for (unsigned left = pass; left != 0;) {
      const unsigned count = left < 16 ? left : 16;
      reads.emplace_back(offset, count);
      offset += count;
      left -= count;
    }
  return reads;
}

struct ReadResult {
  uint32_t status;
  uint16_t length;
  Bytes buffer;
};

ReadResult read_image(Device& device, uint16_t size) {
  TestHandle handle;
  ScriptedDriver bmc([&device](uint8_t net_fn, uint8_t cmd, const Bytes& request) {
    EXPECT_EQ(net_fn, 0x0A);
    EXPECT_EQ(cmd, 0x11);
    return device.answer(request);
  });
  GuardedBytes buffer(size, 0xEE);
  ReadResult result = {0, size, {}};
  result.status = ipmi_storage_read_ipmi_fru_data(handle, 5, &result.length, buffer.data());
  result.buffer.assign(buffer.data(), buffer.data() + size);
  return result;
}

/// A device of `size` bytes: the header's offsets, and bytes set here and there.
Bytes device_bytes(size_t size, const Bytes& offsets, const std::vector<std::pair<size_t, Bytes>>& patches) {
  Bytes bytes(size);
  std::copy(offsets.begin(), offsets.end(), bytes.begin() + 1);
  for (const auto& [at, patch] : patches) std::copy(patch.begin(), patch.end(), bytes.begin() + static_cast<long>(at));
  return bytes;
}

TEST(FruRead, FetchesAsFarAsTheImageSays) {
  const struct {
    const char* what;
    Bytes offsets;
    std::vector<std::pair<size_t, Bytes>> patches;
    uint16_t size;  // of the device and of the buffer
    std::vector<unsigned> passes;
  } cases[] = {
      {"no areas", {}, {}, 4096, {256, 256}},
      {"no areas, buffer full", {}, {}, 300, {256, 44}},
      {"internal use last", {2, 1, 0, 0, 0}, {}, 4096, {256, 256}},
      {"internal use last and far", {255, 1, 0, 0, 0}, {}, 4096, {256, 2042}},
      {"internal use ties with an area", {30, 30, 0, 0, 0}, {}, 4096, {256, 256}},
      {"internal use ties with multirecord", {30, 0, 0, 0, 30}, {}, 4096, {256, 256}},
      {"chassis last", {0, 30, 2, 3, 4}, {{241, {1}}}, 4096, {256}},
      {"board last", {1, 2, 30, 3, 4}, {{241, {1}}}, 4096, {256}},
      {"product last", {1, 2, 3, 30, 4}, {{241, {1}}}, 4096, {256}},
      {"length byte 2 is 2 bytes, not 16", {0, 0, 0, 30, 0}, {{241, {2}}}, 4096, {256}},
      {"ends in the last byte fetched", {0, 0, 0, 30, 0}, {{241, {15}}}, 4096, {256}},
      {"ends behind it", {0, 0, 0, 30, 0}, {{241, {16}}}, 4096, {256, 256}},
      {"area begins where the pass ended", {0, 0, 0, 32, 0}, {{257, {1}}}, 4096, {256, 256}},
      {"far area, ends in the last byte fetched", {0, 0, 254, 0, 0}, {{2033, {1}}}, 4096, {256, 1778}},
      {"far area, ends behind it", {0, 0, 254, 0, 0}, {{2033, {2}}}, 4096, {256, 1778, 256}},
      {"far area, buffer ends in its length byte", {0, 0, 254, 0, 0}, {}, 2033, {256, 1777}},
      {"area beyond the buffer", {0, 0, 254, 0, 0}, {}, 100, {100}},
      {"multirecord, one record", {0, 0, 0, 1, 2}, {{16, {0xC0, 0x82, 9}}}, 4096, {256}},
      {"multirecord ties with a plain area", {0, 0, 0, 31, 31}, {{248, {0x00, 0x80, 3}}}, 4096, {256, 256}},
      {"record ends in the last byte fetched", {0, 0, 0, 0, 2}, {{16, {0xC0, 0x80, 234}}}, 4096, {256}},
      {"record ends behind it", {0, 0, 0, 0, 2}, {{16, {0xC0, 0x80, 235}}}, 4096, {256, 256}},
      {"only bit 7 ends the list",
       {0, 0, 0, 0, 2},
       {{16, {0xC0, 0x7F, 10}}, {31, {0xC0, 0x80, 255}}},
       4096,
       {256, 256}},
      {"records over several passes",
       {0, 0, 0, 0, 1},
       {{8, {1, 2, 250}}, {263, {1, 2, 250}}, {518, {1, 2, 250}}, {773, {1, 2, 250}}, {1028, {1, 0x82, 250}}},
       1284,
       {256, 256, 256, 256, 256, 4}},
      {"record header cut by the pass", {0, 0, 0, 0, 31}, {{248, {1, 2, 1}}, {254, {1, 0x82, 9}}}, 4096, {256, 256}},
      {"record header ends the pass",
       {0, 0, 0, 0, 1},
       {{8, {1, 2, 240}}, {253, {1, 2, 255}}, {513, {1, 0x82, 9}}},
       4096,
       {256, 259, 256}},
      {"far list: its first header needs one more pass",
       {0, 0, 0, 0, 255},
       {{2040, {1, 0x82, 10}}},
       4096,
       {256, 1786, 256}},
      {"list without an end", {0, 0, 0, 0, 1}, {}, 1000, {256, 256, 256, 232}},
      {"an empty buffer", {}, {}, 0, {}},
      {"less than the offsets", {1, 2, 3, 4, 5}, {}, 3, {3}},
      {"less than a header", {1, 2, 3, 4, 5}, {}, 7, {7}},
      {"only a header", {1, 2, 3, 4, 5}, {}, 8, {8}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Device device = {device_bytes(c.size < 8 ? 8 : c.size, c.offsets, c.patches)};
    const ReadResult result = read_image(device, c.size);
    EXPECT_EQ(result.status, 0u);
    EXPECT_EQ(device.reads, requests_of(c.passes));
    unsigned fetched = 0;
    for (const unsigned pass : c.passes) fetched += pass;
    EXPECT_EQ(result.length, fetched);
    for (size_t i = 0; i < result.buffer.size(); ++i)
      ASSERT_EQ(result.buffer[i], i < fetched ? device.content[i] : 0xEE) << i;
  }
}

TEST(FruRead, WalkEndsAtTheEndOfAddressSpace) {
  // Empty records up to 65532, where one begins that ends beyond 65535. Sent back to the start it would go on for ever.
  Device device = {device_bytes(65535, {0, 0, 0, 0, 1}, {{8, {0, 0, 4}}, {65532, {0, 0, 251}}})};
  const ReadResult result = read_image(device, 65535);
  EXPECT_EQ(result.status, 0u);
  EXPECT_EQ(result.length, 65535);
  EXPECT_EQ(device.reads.size(), 4096u);
}

TEST(FruRead, FailureLeavesTheLength) {
  Device short_device = {device_bytes(300, {0, 0, 0, 32, 0}, {})};
  ReadResult result = read_image(short_device, 4096);
  EXPECT_EQ(result.status, IPMI_STATUS_BMC_PARAMETER_OUT_OF_RANGE);
  EXPECT_EQ(result.length, 4096);
  EXPECT_EQ(result.buffer[4], 32);
  EXPECT_EQ(result.buffer[288], 0xEE);

  Device busy = {device_bytes(4096, {}, {}), 0};
  result = read_image(busy, 4096);
  EXPECT_EQ(result.status, IPMI_STATUS_BMC_FRU_DEVICE_BUSY);
  EXPECT_EQ(result.length, 4096);
  EXPECT_EQ(busy.reads, (Reads{{0, 16}}));
}

TEST(FruRead, RefusesNullPointers) {
  ScriptedDriver silent(std::vector<Step>{});
  TestHandle handle;
  uint16_t length = 8;
  uint8_t buffer[8];
  EXPECT_EQ(ipmi_storage_read_ipmi_fru_data(nullptr, 5, &length, buffer), kInvalidParameter);
  EXPECT_EQ(ipmi_storage_read_ipmi_fru_data(handle, 5, nullptr, buffer), kInvalidParameter);
  EXPECT_EQ(ipmi_storage_read_ipmi_fru_data(handle, 5, &length, nullptr), kInvalidParameter);
  IpmiFruInfo info;
  EXPECT_EQ(ipmi_get_fru_info(nullptr, 5, &info), kInvalidParameter);
  EXPECT_EQ(ipmi_get_fru_info(handle, 5, nullptr), kInvalidParameter);
}

// --------------------------------------------------------------------------------------------------- whole devices

/// ipmi_get_fru_info for a device that tells its size truly or not. Checks that nothing stays allocated.
void get_fru_info(Device device, unsigned size, int failing, const std::function<void(uint32_t, IpmiFruInfo&)>& check) {
  TestHandle handle;
  FakeLibc libc;
  ScriptedDriver bmc([&](uint8_t, uint8_t cmd, const Bytes& request) -> Bytes {
    if (cmd == 0x11) return device.answer(request);
    EXPECT_EQ(cmd, 0x10);
    EXPECT_EQ(hex(request), "05");
    if (size > 65535) return {0xD4};
    return {0x00, static_cast<uint8_t>(size), static_cast<uint8_t>(size >> 8), 0x00};
  });
  Guarded<IpmiFruInfo> info;
  libc.fail_allocation = failing;
  const uint32_t status = ipmi_get_fru_info(handle, 5, &info);
  libc.fail_allocation = 0;
  check(status, *info);
  release_fru(*info);
  EXPECT_EQ(libc.live_allocations(), 0u);
}

TEST(FruGet, ReadsAndParses) {
  const Device device = {full_fru_image().build()};
  get_fru_info(device, static_cast<unsigned>(device.content.size()), 0, [](uint32_t status, IpmiFruInfo& info) {
    EXPECT_EQ(status, 0u);
    Parsed direct(full_fru_image().build());
    EXPECT_EQ(show(info), show(*direct.info));
  });
}

TEST(FruGet, ParsesOnlyWhatWasFetched) {
  Bytes content(4096, 0x5A);
  const Bytes header = FruImage{.internal_use = Bytes(8, 0x5A)}.build();
  std::copy(header.begin(), header.end(), content.begin());
  get_fru_info({content}, 4096, 0, [](uint32_t status, IpmiFruInfo& info) {
    EXPECT_EQ(status, 0u);
    EXPECT_EQ(info.internal_use_length, 512);  // two passes
  });
}

TEST(FruGet, FailsWithAnEmptyRecord) {
  const Device device = {full_fru_image().build()};
  Device damaged = device;
  damaged.content[7] ^= 1;
  Device busy = device;
  busy.fails_at = 32;
  const struct {
    const char* what;
    Device device;
    unsigned size;
    int failing;
    uint32_t status;
  } cases[] = {
      {"size unknown", device, 65536, 0, IPMI_STATUS_BMC_INSUFFICIENT_PRIVILEGE},
      {"no memory for the image", device, 100, 1, IPMI_STATUS_APP_NOT_ENOUGH_MEMORY},
      {"read fails", busy, 100, 0, IPMI_STATUS_BMC_FRU_DEVICE_BUSY},
      {"smaller than it says", device, 4096, 0, IPMI_STATUS_BMC_PARAMETER_OUT_OF_RANGE},
      {"not an image", damaged, 100, 0, kInvalidFormat},
      {"no bytes", device, 0, 0, kInvalidFormat},
      {"less than a header", device, 7, 0, kInvalidFormat},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    get_fru_info(c.device, c.size, c.failing, [&](uint32_t status, IpmiFruInfo& info) {
      EXPECT_EQ(status, c.status);
      EXPECT_EQ(show(info), show(IpmiFruInfo{}));
    });
  }
  get_fru_info(device, 100, 2, [](uint32_t status, IpmiFruInfo& info) {
    EXPECT_EQ(status, IPMI_STATUS_APP_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(info.chassis_type, 0x17u);
  });
}

}  // namespace
}  // namespace lumi::test
