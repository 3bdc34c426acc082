#include "tools/text.hpp"

#include <cmath>
#include <ctime>

namespace tool {

namespace {

/// Length of the well-formed UTF-8 sequence at the front of the text; 0 when there is none.
size_t sequence_length(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const uint8_t first = byte(0);
  if (first < 0x80) return 1;
  const size_t length = first >= 0xC2 && first <= 0xDF ? 2 : first >= 0xE0 && first <= 0xEF ? 3 : 4;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  for (size_t i = 1; i < length; ++i)
    if ((byte(i) & 0xC0) != 0x80) return 0;
  const uint8_t second = byte(1);  // overlong forms, surrogates, and what lies beyond U+10FFFF
  if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) || (first == 0xF0 && second < 0x90) ||
      (first == 0xF4 && second > 0x8F))
    return 0;
  return length;
}

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const size_t length = sequence_length(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string from_latin1(std::string_view text) {
  std::string result;
  for (const char character : text) {
    const auto byte = static_cast<uint8_t>(character);
    if (byte < 0x80) {
      result += character;
    } else {
      result += static_cast<char>(0xC0 | byte >> 6);
      result += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return result;
}

/// Control characters would move a terminal's cursor, or worse: U+0000 to U+001F, U+007F, and U+0080 to U+009F, which
/// UTF-8 writes as C2 80 to C2 9F.
std::string escape_controls(std::string_view text) {
  std::string result;
  for (size_t i = 0; i < text.size(); ++i) {
    uint8_t byte = static_cast<uint8_t>(text[i]);
    const bool c1 = byte == 0xC2 && static_cast<uint8_t>(text[i + 1]) < 0xA0;
    if (c1) byte = static_cast<uint8_t>(text[++i]);
    if (c1 || byte < 0x20 || byte == 0x7F)
      result += "\\x" + hex_number(byte).substr(2);
    else
      result += text[i];
  }
  return result;
}

}  // namespace

std::string hex_number(uint64_t value, int width) {
  char text[32];
  std::snprintf(text, sizeof text, "0x%0*llX", width, static_cast<unsigned long long>(value));
  return text;
}

std::string hex_bytes(std::span<const uint8_t> bytes, std::string_view separator) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string result;
  for (const uint8_t byte : bytes) {
    if (!result.empty()) result += separator;
    result += kDigits[byte >> 4];
    result += kDigits[byte & 0x0F];
  }
  return result;
}

std::string guid_text(std::span<const uint8_t, 16> guid) {
  const std::vector<uint8_t> backwards(guid.rbegin(), guid.rend());
  std::string text = hex_bytes(backwards, "");
  for (const size_t at : {8u, 13u, 18u, 23u}) text.insert(at, "-");
  return text;
}

std::string to_utf8(std::string_view text) {
  return escape_controls(is_utf8(text) ? std::string(text) : from_latin1(text));
}

std::string to_utf8(std::span<const uint8_t> bytes) {
  return to_utf8(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

size_t display_width(std::string_view text) {
  size_t width = 0;
  for (const char character : text)
    if ((static_cast<uint8_t>(character) & 0xC0) != 0x80) ++width;
  return width;
}

std::string number(double value, int digits) {
  if (std::isnan(value)) return "not a number";
  if (std::isinf(value)) return value < 0 ? "-infinite" : "infinite";
  if (value == 0) return "0";
  const double magnitude = std::fabs(value);
  char text[64];
  if (magnitude < 1e-6 || magnitude >= 1e15) {
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    return text;
  }
  // Digits in front of the point are never rounded away: a fan turns at 12345 rpm, not at 12350.
  const int before_point = static_cast<int>(std::floor(std::log10(magnitude))) + 1;
  const int decimals = before_point < digits ? digits - before_point : 0;
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  std::string result = text;
  if (decimals > 0) {
    result.erase(result.find_last_not_of('0') + 1);
    if (result.back() == '.') result.pop_back();
  }
  return result == "-0" ? "0" : result;
}

std::string iso_time(int64_t seconds) {
  const time_t time = seconds;
  struct tm parts = {};
  if (localtime_r(&time, &parts) == nullptr) return std::to_string(seconds) + " s";
  char text[64];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S%z", &parts);
  std::string result = text;
  result.insert(result.size() - 2, ":");  // +0000 to +00:00
  return result;
}

Cell time_cell(uint32_t seconds) {
  constexpr uint32_t kUnspecified = 0xFFFFFFFF;
  constexpr uint32_t kLastSinceStart = 0x20000000;
  if (seconds == kUnspecified)
    return Cell("unspecified", Json{{"iso", nullptr}, {"seconds", seconds}}, Severity::Faint);
  if (seconds <= kLastSinceStart)
    return Cell("pre-init +" + std::to_string(seconds) + " s", Json{{"iso", nullptr}, {"seconds", seconds}});
  const std::string iso = iso_time(seconds);
  return Cell(iso, Json{{"iso", iso}, {"seconds", seconds}});
}

}  // namespace tool
