// Bit rates of the serial port and of SOL.
#pragma once

#include "tools/settings.hpp"
#include "tools/text.hpp"

namespace tool {

// IPMI v2.0 rev 1.1, tables 25-4 and 26-5
inline constexpr Word kBitRates[] = {{IPMI_BIT_RATE_9600, "9600"},
                                     {IPMI_BIT_RATE_19200, "19200"},
                                     {IPMI_BIT_RATE_38400, "38400"},
                                     {IPMI_BIT_RATE_57600, "57600"},
                                     {IPMI_BIT_RATE_115200, "115200"}};

inline Cell bit_rate_cell(uint32_t rate) {
  for (const Word& word : kBitRates)
    if (word.value == rate) return Cell(std::string(word.text) + " bit/s", std::stoul(word.text));
  return Cell("reserved value " + hex_number(rate), nullptr, Severity::Warning);
}

}  // namespace tool
