// Damaged records: 100 000 of them, the same on every run.
#include <gtest/gtest.h>

#include <random>

#include "support/scripted_driver.hpp"
#include "support/sdr_builder.hpp"

namespace {

TEST(SdrMutation, DecodesAsTheModelAndStaysInsideTheRecord) {
  std::mt19937 random(0x5D12);
  const auto below = [&random](size_t limit) { return random() % limit; };
  const std::vector<Bytes> seeds = lumi::test::sdr_seeds();
  for (int round = 0; round < 100000; ++round) {
    Bytes record = seeds[below(seeds.size())];
    if (below(8) == 0) record[3] = seeds[below(seeds.size())][3];  // read as another type
    if (below(4) == 0) record.resize(below(record.size() + 1));    // cut
    if (below(8) == 0) record.resize(record.size() + below(80), static_cast<uint8_t>(random()));
    if (below(4) == 0 && record.size() > 4) record[4] = static_cast<uint8_t>(below(record.size() + 2));
    for (size_t changes = below(6); changes > 0 && record.size() > 5; --changes) {
      uint8_t& byte = record[5 + below(record.size() - 5)];
      byte = static_cast<uint8_t>(below(2) == 0 ? byte ^ 1u << below(8) : random());
    }
    ASSERT_EQ(lumi::test::sdr_faults(record.data(), record.size()), "") << "round " << round << ": " << hex(record);
  }
}

}  // namespace
