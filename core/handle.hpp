// The layout of the block behind an IpmiHandle: the fields, the work area, the request lock.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <cstdint>

#include "lumipmi/connection.h"

namespace lumi {

constexpr size_t kWorkAreaSize = 4096;
/// Where interface types 2 and 4 keep the SOL version in the work area. Nothing else of it is read.
constexpr size_t kSolVersionOffset = 4 * sizeof(uint32_t);
constexpr uint8_t kBmcAddress = 0x20;
constexpr uint8_t kMaxChannel = 15;

/// Values of IpmiHandle::ipmiVersionLevel.
constexpr uint32_t kIpmi15 = 2;
constexpr uint32_t kIpmi20 = 3;

static_assert((sizeof(IpmiHandle) + kWorkAreaSize) % alignof(pthread_mutex_t) == 0);

/// The lock that is held during an exchange. It lies behind the work area, wherever that is.
inline pthread_mutex_t* request_lock(const IpmiHandle& handle) {
  return reinterpret_cast<pthread_mutex_t*>(handle.workArea + kWorkAreaSize);
}

}  // namespace lumi
