// A settings file: the first two lines of the input are section and key ("-" for none), the rest is the file. What is
// read is held against a reader of its own, line by line.
#include <optional>

#include "fuzz.hpp"
#include "lumipmi/profile.h"
#include "memory_file.hpp"
#include "support/guarded_bytes.hpp"

using lumi::fuzz::require;

namespace {

constexpr size_t kPiece = 255;  // characters that are read at a time
constexpr char kDefault[] = "default";
constexpr int32_t kRooms[] = {1, 2, 7, 8, 64, 256, 1000};

/// What stands in the file under a section (none: in front of all sections) and a key. A NUL ends its line.
std::optional<std::string> value_of(const Bytes& file, const std::optional<std::string>& section,
                                    const std::string& key) {
  bool searching = !section;
  for (auto at = file.begin(); at != file.end();) {
    const auto room = file.end() - at < static_cast<ptrdiff_t>(kPiece) ? file.end() : at + kPiece;
    auto end = std::find(at, room, '\n');
    if (end != room) ++end;
    const std::string line(at, std::find(at, end, '\0'));
    at = end;
    if (line[0] == ';' || line[0] == '#') continue;
    if (line[0] == '[') {
      if (searching) return std::nullopt;
      const size_t bracket = line.find(']');
      if (bracket != std::string::npos) searching = line.substr(1, bracket - 1) == *section;
      continue;
    }
    const size_t equals = line.find('=');
    if (!searching || equals == std::string::npos || line.substr(0, equals) != key) continue;
    return line.substr(equals + 1);
  }
  return std::nullopt;
}

/// An empty line is a section or a key of no characters.
std::optional<std::string> name_of(std::string line) {
  if (line == "-") return std::nullopt;
  return std::string(line.c_str());  // arguments end with their first NUL
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const lumi::fuzz::MemoryFile memory;
  lumi::fuzz::Input input(data, size);
  const std::optional<std::string> section = name_of(input.line());
  const std::optional<std::string> key = name_of(input.line());
  const Bytes content = input.rest();
  memory.write(content);

  const std::optional<std::string> value = key ? value_of(content, section, *key) : std::nullopt;
  for (const int32_t room : kRooms) {
    // The newline of a value goes after the value was cut, and takes a place.
    std::string expected = value.value_or(kDefault).substr(0, static_cast<size_t>(room) - 1);
    if (value) expected = expected.substr(0, expected.find('\n'));
    lumi::test::GuardedBytes out(static_cast<size_t>(room), 0xA5);
    const uint32_t length = GetPrivateProfileString(section ? section->c_str() : nullptr, key ? key->c_str() : nullptr,
                                                    kDefault, out.text(), room, memory.path().c_str());
    require(length == expected.size() && out.text() == expected);
  }
  return 0;
}
