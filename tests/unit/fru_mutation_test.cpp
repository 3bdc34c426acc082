// Damaged FRU images through parser, formatters and release: whatever the bytes, nothing outside of the image is read
// and nothing outside of the output written. The sanitizers see to that; the checks here are on what comes out.
#include <gtest/gtest.h>

#include <memory>

#include "lumipmi/fru.h"
#include "lumipmi/status.h"
#include "support/fru_builder.hpp"

namespace lumi::test {
namespace {

constexpr int kRuns = 100'000;

/// xorshift64: the same images in every run.
class Random {
 public:
  uint32_t below(size_t limit) {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return static_cast<uint32_t>((state_ >> 32) % limit);
  }
  bool one_in(uint32_t n) { return below(n) == 0; }

 private:
  uint64_t state_ = 0x9E3779B97F4A7C15;
};

Bytes mutate(Bytes image, Random& random) {
  for (uint32_t flips = random.below(6); flips != 0; --flips) {
    uint8_t& byte = image[random.below(image.size())];
    byte =
        random.one_in(2) ? static_cast<uint8_t>(byte ^ 1u << random.below(8)) : static_cast<uint8_t>(random.below(256));
  }
  if (random.one_in(8)) image[1 + random.below(5)] = static_cast<uint8_t>(random.below(image.size() / 8 + 2));
  if (random.one_in(4)) image.resize(random.below(image.size() + 1));
  if (!random.one_in(8)) fix_fru_checksums(image);
  return image;
}

void render(const IpmiFruField& field, Random& random) {
  const auto size = static_cast<uint16_t>(1 + random.below(random.one_in(4) ? 8 : 200));
  const std::unique_ptr<char[]> dst(new char[size]);  // of exactly that size
  const auto language = static_cast<uint8_t>(random.one_in(2) ? 25 : random.below(256));
  const uint32_t status = ipmi_hlp_get_fru_field(dst.get(), size, &field, language);
  EXPECT_TRUE(status == 0 || status == IPMI_STATUS_APP_INSUFFICIENT_BUFFER || status == IPMI_STATUS_APP_ERROR);
  EXPECT_TRUE(status != 0 || std::char_traits<char>::length(dst.get()) < size);

  if (field.length == 0 || field.type_code == IPMI_FIELD_BINARY) return;
  const auto flags = static_cast<uint8_t>(random.below(2));
  (void)ipmi_hlp_decode_type_length(field.type_code, field.length, field.data, flags, size, dst.get());
}

TEST(FruMutation, NothingLeavesImageOrOutput) {
  FruImage without_lengths = full_fru_image();
  without_lengths.chassis->with_length = without_lengths.board->with_length = without_lengths.product->with_length =
      false;
  FruImage small = {.board = FruArea{{0, 1, 2, 3}, std::vector<Bytes>(5, fru_text("x"))}};
  const Bytes seeds[] = {full_fru_image().build(), without_lengths.build(), small.build()};
  Random random;
  int parsed = 0;
  for (int run = 0; run < kRuns; ++run) {
    const Bytes image = mutate(seeds[run % 3], random);
    const std::unique_ptr<uint8_t[]> exact(new uint8_t[image.size()]);
    std::copy(image.begin(), image.end(), exact.get());

    IpmiFruInfo info;
    const uint32_t status = ipmi_parse_ipmi_fru_data(&info, static_cast<uint16_t>(image.size()), exact.get());
    ASSERT_TRUE(status == 0 || status == IPMI_STATUS_APP_INVALID_FORMAT) << status;
    if (status == 0) ++parsed;
    for (const IpmiFruField* field : fru_fields(info)) {
      ASSERT_EQ(field->data == nullptr, field->length == 0);
      render(*field, random);
    }
    release_fru(info);
  }
  EXPECT_GT(parsed, kRuns / 3);  // else the mutations are too coarse to reach the fields
  EXPECT_LT(parsed, kRuns);
}

}  // namespace
}  // namespace lumi::test
