// The image of a FRU device in a block of its own.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "core/status.hpp"
#include "lumipmi/connection.h"

namespace lumi {

class FruImage {
 public:
  FruImage() = default;
  ~FruImage() { std::free(bytes_); }
  FruImage(const FruImage&) = delete;
  FruImage& operator=(const FruImage&) = delete;

  /// Once: the size of the device, then its bytes as far as areas reach.
  [[nodiscard]] Status read(IpmiHandle* handle, uint8_t fru_id);

  const uint8_t* bytes() const { return bytes_; }
  uint16_t length() const { return length_; }

 private:
  uint8_t* bytes_ = nullptr;
  uint16_t length_ = 0;
};

}  // namespace lumi
