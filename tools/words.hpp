// Words that several commands share.
#pragma once

#include "tools/settings.hpp"

namespace tool {

// IPMI v2.0 rev 1.1, 6.8
inline constexpr Word kPrivileges[] = {{1, "callback"}, {2, "user"}, {3, "operator"}, {4, "administrator"}, {5, "oem"}};

// 22.13, and the LAN and serial/modem parameters 1 and 2
inline constexpr Bit kAuthTypes[] = {{0, "none"}, {1, "md2"}, {2, "md5"}, {4, "password"}, {5, "oem"}};

// 22.25
inline constexpr Word kKeyLocks[] = {{0, "not lockable"}, {1, "locked"}, {2, "unlocked"}};

}  // namespace tool
