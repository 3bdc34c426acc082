// A FRU image with the maker's block: its records are read, and the image is parsed. The functions for single records
// trust what they are given, so that they are not called here.
#include <cstring>
#include <memory>

#include "fuzz.hpp"
#include "lumipmi/oem_fru.h"
#include "lumipmi/status.h"
#include "support/fru_builder.hpp"
#include "support/guarded_bytes.hpp"

using lumi::fuzz::require;

namespace {

constexpr size_t kSummed = 13;    // in the block: index of its last byte with a checksum
constexpr size_t kChecksum = 14;  // not looked at by anybody else

/// Changes one of these bytes so that they sum to 0.
void fix_sum(uint8_t* bytes, size_t size, size_t place) {
  uint8_t sum = 0;
  for (size_t i = 0; i < size; ++i) sum = static_cast<uint8_t>(sum + bytes[i]);
  bytes[place] = static_cast<uint8_t>(bytes[place] - sum);
}

/// Gives the block a right checksum, and its records, as far as they lie in the image.
void fix_block(Bytes& image) {
  if (image.size() < 8) return;
  const size_t start = image[1] * size_t{8};
  if (start + 16 > image.size()) return;
  uint8_t* block = image.data() + start;
  const size_t left = image.size() - start;
  for (size_t place = 16; place + 3 <= left && (place - 16) / 3 < block[15]; place += 3) {
    const size_t record = block[place + 1] + block[place + 2] * size_t{256};
    if (record + 4 <= image.size() && image[record + 1] >= 4 && record + image[record + 1] <= image.size())
      fix_sum(image.data() + record, image[record + 1], 3);
  }
  if (block[kSummed] >= kChecksum && block[kSummed] < left) fix_sum(block, block[kSummed] + 1u, kChecksum);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > UINT16_MAX) return 0;
  lumi::test::GuardedBytes image(Bytes(data, data + size));
  const auto length = static_cast<uint16_t>(size);

  // From two fillings: every byte of the records is written, whatever becomes of the image.
  lumi::test::GuardedBytes first(sizeof(IpmiKestFruRecords), 0x00), second(sizeof(IpmiKestFruRecords), 0xA5);
  const uint32_t status =
      ipmi_get_kest_fru_internal_info(reinterpret_cast<IpmiKestFruRecords*>(first.data()), length, image.data());
  require(status == 0 || status == IPMI_STATUS_APP_OEM_FRU);
  require(ipmi_get_kest_fru_internal_info(reinterpret_cast<IpmiKestFruRecords*>(second.data()), length, image.data()) ==
          status);
  require(first.content() == second.content());

  IpmiFruInfo info;
  const uint32_t parsed = ipmi_parse_ipmi_fru_data(&info, length, image.data());
  require(parsed == 0 || parsed == IPMI_STATUS_APP_INVALID_FORMAT);
  lumi::test::release_fru(info);
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned seed) {
  return lumi::fuzz::mutate(data, size, max_size, seed, [](Bytes& image) {
    fix_block(image);
    lumi::test::fix_fru_checksums(image);
  });
}
