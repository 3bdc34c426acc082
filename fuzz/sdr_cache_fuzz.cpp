// A file of the tool's SDR cache: what is accepted is what would be written, byte by byte.
#include "fuzz.hpp"
#include "tools/sdr_cache.hpp"

using lumi::fuzz::require;

namespace {

constexpr size_t kChecksum = 4;

/// Not with the code that is tested.
uint32_t crc32_of(const uint8_t* data, size_t size) {
  uint32_t crc = 0;
  for (size_t i = 0; i < 8 * size; ++i) {
    const bool bit = (data[i / 8] >> i % 8 & 1) != 0;
    crc = crc >> 1 ^ (((crc & 1) != 0) != (bit != (i < 32)) ? 0xEDB88320 : 0);
  }
  return ~crc;
}

void fix_checksum(Bytes& image) {
  if (image.size() < 2 * kChecksum) return;
  const size_t end = image.size() - kChecksum;
  const uint32_t crc = crc32_of(image.data(), end);
  for (size_t i = 0; i < kChecksum; ++i) image[end + i] = static_cast<uint8_t>(crc >> 8 * i);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::optional<tool::SdrImage> image = tool::unpack({data, size});
  if (!image) return 0;
  Bytes bytes(data, data + size);
  require(tool::pack(*image) == bytes);
  Bytes fixed = bytes;
  fix_checksum(fixed);
  require(fixed == bytes);
  for (const tool::SdrImage::Entry& entry : image->records) require(entry.raw.size() == 5u + entry.raw[4]);

  // Neither cut off nor with a flipped bit.
  require(!tool::unpack({data, size - 1}));
  const size_t bit = (size * 31 + data[size - 1]) % (8 * size);
  bytes[bit / 8] = static_cast<uint8_t>(bytes[bit / 8] ^ 1u << bit % 8);
  require(!tool::unpack(bytes));
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned seed) {
  return lumi::fuzz::mutate(data, size, max_size, seed, fix_checksum);
}
