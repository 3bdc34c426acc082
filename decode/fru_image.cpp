#include "decode/fru_image.hpp"

#include <cstring>

#include "core/bytes.hpp"
#include "lumipmi/fru.h"
#include "lumipmi/fru_inventory.h"

using namespace lumi;

namespace {

constexpr uint32_t kHeaderSize = 8;
constexpr uint32_t kMinimumPass = 256;

/// What the reader knows about the end of the image.
enum class Phase {
  Header,       // nothing
  PlainArea,    // the last area begins at the end mark
  MultiRecord,  // a multirecord area goes on at the end mark
  EndKnown,     // the image ends at the end mark
};

/// Finds the end of an image in the bytes fetched so far. It never looks at others: what is missing waits for the next
/// pass. The mark has 32 bits, in which the walk cannot come back to a record.
class ImageEnd {
 public:
  uint32_t mark() const { return mark_; }
  bool is_before(uint32_t fetched) const { return phase_ == Phase::EndKnown && mark_ < fetched; }

  void learn(const uint8_t* image, uint32_t fetched) {
    if (phase_ == Phase::Header && fetched >= kHeaderSize) start(image);
    // The length byte counts units of 8, yet it is added as it stands: this decides which requests a BMC sees, and the
    // passes of 256 bytes mostly fetch the area all the same.
    if (phase_ == Phase::PlainArea && fetched > mark_ + 1) {
      mark_ += image[mark_ + 1];
      phase_ = Phase::EndKnown;
    }
    while (phase_ == Phase::MultiRecord && fetched > mark_ + 2) {
      const uint8_t* record = image + mark_;
      mark_ += record[2] + 5u;  // the record and its header
      if (bits(record[1], 7, 7) != 0) phase_ = Phase::EndKnown;
    }
  }

 private:
  /// From the offsets of the internal use, chassis, board, product and multirecord areas.
  void start(const uint8_t* header) {
    uint8_t largest = 0;
    for (int i = 1; i <= 5; ++i)
      if (header[i] > largest) largest = header[i];
    mark_ = largest * 8u;
    if (header[1] == largest) {
      mark_ += 256;  // an internal use area has no length; nor has an image without areas
      phase_ = Phase::EndKnown;
    } else {
      phase_ = header[5] == largest ? Phase::MultiRecord : Phase::PlainArea;
    }
  }

  uint32_t mark_ = 0;
  Phase phase_ = Phase::Header;
};

}  // namespace

extern "C" uint32_t ipmi_storage_read_ipmi_fru_data(IpmiHandle* handle, uint8_t fruId, uint16_t* length,
                                                    uint8_t* buffer) {
  if (handle == nullptr || length == nullptr || buffer == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  const uint16_t size = *length;
  uint16_t fetched = 0;
  ImageEnd end;
  while (fetched < size && !end.is_before(fetched)) {
    uint32_t pass = end.mark() + 2 - fetched;  // the mark, or the record header at it, is still to come
    if (pass < kMinimumPass) pass = kMinimumPass;
    if (pass > static_cast<uint32_t>(size - fetched)) pass = static_cast<uint32_t>(size - fetched);

    uint16_t count = static_cast<uint16_t>(pass);
    LUMI_TRY(ipmi_storage_read_fru_data_2(handle, fruId, fetched, &count, buffer));
    fetched = static_cast<uint16_t>(fetched + count);
    end.learn(buffer, fetched);
  }
  *length = fetched;
  return kOk;
}

Status FruImage::read(IpmiHandle* handle, uint8_t fru_id) {
  IpmiFruInventoryInfo inventory;
  LUMI_TRY(ipmi_storage_get_fru_inventory_info(handle, fru_id, &inventory));
  length_ = inventory.area_size;
  bytes_ = static_cast<uint8_t*>(std::malloc(length_ != 0 ? length_ : 1u));  // malloc(0) may be null
  if (bytes_ == nullptr) return IPMI_STATUS_APP_NOT_ENOUGH_MEMORY;
  return ipmi_storage_read_ipmi_fru_data(handle, fru_id, &length_, bytes_);
}

extern "C" uint32_t ipmi_get_fru_info(IpmiHandle* handle, uint8_t fruId, IpmiFruInfo* info) {
  if (handle == nullptr || info == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(info, 0, sizeof *info);  // callers release the record after any failure

  FruImage image;
  LUMI_TRY(image.read(handle, fruId));
  return ipmi_parse_ipmi_fru_data(info, image.length(), image.bytes());
}
