// The exported reader of INI-style files.
#include "lumipmi/profile.h"

#include <cstdio>
#include <cstring>

#include "platform/text.hpp"

namespace lumi {
namespace {

constexpr int kLineSize = 256;

/// Looks for the wanted key. Returns its value, the rest of a line held in `line`; null when there is none.
const char* find_value(std::FILE* file, const char* section, const char* key, char (&line)[kLineSize]) {
  bool in_section = section == nullptr;
  while (std::fgets(line, kLineSize, file) != nullptr) {
    switch (line[0]) {
      case ';':
      case '#':
        break;
      case '[': {
        if (in_section) return nullptr;  // the wanted section ends here
        char* bracket = std::strchr(line, ']');
        if (bracket == nullptr) break;
        *bracket = '\0';
        in_section = std::strcmp(line + 1, section) == 0;
        break;
      }
      default: {
        char* equals = in_section ? std::strchr(line, '=') : nullptr;
        if (equals == nullptr) break;
        *equals = '\0';
        if (std::strcmp(line, key) == 0) return equals + 1;
      }
    }
  }
  return nullptr;
}

}  // namespace
}  // namespace lumi

extern "C" uint32_t GetPrivateProfileString(const char* section, const char* key, const char* defaultValue, char* out,
                                            int32_t outSize, const char* path) {
  if (out == nullptr || outSize < 1) return 0;

  char line[lumi::kLineSize];
  const char* value = nullptr;
  std::FILE* file = path != nullptr ? std::fopen(path, "r") : nullptr;
  if (file != nullptr) {
    if (key != nullptr) value = lumi::find_value(file, section, key, line);
    std::fclose(file);
  }

  const auto size = static_cast<size_t>(outSize);
  if (value != nullptr) {
    lumi::copy_text(out, size, value);
    out[std::strcspn(out, "\n")] = '\0';
  } else {
    lumi::copy_text(out, size, defaultValue != nullptr ? defaultValue : "");
  }
  return static_cast<uint32_t>(std::strlen(out));
}
