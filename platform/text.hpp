// Bounded copies of terminated text.
#pragma once

#include <cstddef>

namespace lumi {

/// Copies a text into a buffer of `size` bytes, cut to size - 1 characters and always terminated; size 0 writes
/// nothing. Source and destination must not overlap. Returns whether the whole text fitted.
bool copy_text(char* dst, size_t size, const char* src);

/// Appends a text to the terminated text in a buffer of `size` bytes, cut and terminated as by copy_text. A buffer
/// without a terminator is left as it is. Returns whether the whole text fitted.
bool append_text(char* dst, size_t size, const char* src);

}  // namespace lumi
