// The statuses that have a meaning of their own.
#pragma once

#include <cstdint>
#include <span>

namespace tool {

struct StatusText {
  uint32_t status;
  const char* name;     // may be empty
  const char* meaning;  // see StatusMeaning
  const char* advice;   // may be empty
};

/// In the order of their values.
std::span<const StatusText> known_statuses();

}  // namespace tool
