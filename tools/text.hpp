// Small texts: hex, times, UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "tools/output.hpp"

namespace tool {

/// "0x0A"; width in digits.
std::string hex_number(uint64_t value, int width = 2);
/// "0a 43 ff"
std::string hex_bytes(std::span<const uint8_t> bytes, std::string_view separator = " ");

/// The BMC sends a GUID with its least significant byte first (IPMI v2.0 rev 1.1, 20.8), so the usual text of RFC 4122
/// is all sixteen bytes backwards. Many BMCs send the order of SMBIOS or of RFC 4122 itself; ipmitool 1.8.19 picks the
/// order in which the version digit makes sense, and can print another text for this reason. Nothing is guessed here:
/// JSON has the bytes as received beside the text.
std::string guid_text(std::span<const uint8_t, 16> guid);

/// Valid UTF-8 from any bytes: valid UTF-8 stays (control characters escaped as \x0A); otherwise the bytes are taken
/// as Latin-1. Ends at nothing: NUL is escaped too.
std::string to_utf8(std::span<const uint8_t> bytes);
std::string to_utf8(std::string_view text);

/// The display width of UTF-8 text in columns (one per code point is enough).
size_t display_width(std::string_view text);

/// A number without noise: "23", "12.06", "1.609"; at most `digits` significant digits, no exponent for usual sizes.
std::string number(double value, int digits = 4);

/// ISO 8601 with zone: "2023-11-14T22:13:20+00:00" in the process's time zone.
std::string iso_time(int64_t seconds);
/// A time for people in ISO 8601 with zone; JSON: {"iso": ..., "seconds": ...}. IPMI's special values: 0xFFFFFFFF is
/// "unspecified" (null in JSON besides the raw seconds), values up to 0x20000000 count from the start of the
/// controller: "pre-init +15 s" (IPMI v2.0 rev 1.1, 37.1).
Cell time_cell(uint32_t seconds);

}  // namespace tool
