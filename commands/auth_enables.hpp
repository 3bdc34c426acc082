// The authentication type enables of a channel, the same parameter for LAN and serial/modem.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/bytes.hpp"
#include "lumipmi/lan.h"

namespace lumi {

constexpr size_t kAuthEnablesSize = 5;  // Callback, User, Operator, Administrator, OEM

inline void unpack_auth_enables(const uint8_t (&data)[kAuthEnablesSize], IpmiLanAuthEnables* enables) {
  uint8_t masked[kAuthEnablesSize];
  for (size_t i = 0; i < kAuthEnablesSize; ++i) masked[i] = bits(data[i], 4, 0);
  std::memcpy(&enables->levels, masked, sizeof enables->levels);  // four bytes in memory, whatever the byte order
  enables->oem = masked[4];
}

/// Not masked, unlike the other way round: part of the interface, the only way to enable the OEM type, bit 5.
inline void pack_auth_enables(const IpmiLanAuthEnables& enables, uint8_t (&data)[kAuthEnablesSize]) {
  std::memcpy(data, &enables.levels, sizeof enables.levels);
  data[4] = enables.oem;
}

}  // namespace lumi
