#include "platform/text.hpp"

#include <cstring>

namespace lumi {

bool copy_text(char* dst, size_t size, const char* src) {
  if (size == 0) return false;
  const size_t length = strnlen(src, size);  // reads no further than the copy
  const bool fits = length < size;
  const size_t copied = fits ? length : size - 1;
  std::memcpy(dst, src, copied);
  dst[copied] = '\0';
  return fits;
}

bool append_text(char* dst, size_t size, const char* src) {
  const size_t used = strnlen(dst, size);
  return copy_text(dst + used, size - used, src);
}

}  // namespace lumi
