// The status that every call returns, and the one way to pass it on.
#pragma once

#include <cstdint>

#include "lumipmi/status.h"

namespace lumi {

/// 0 or one of the codes of lumipmi/status.h.
using Status = uint32_t;

constexpr Status kOk = 0;

/// Returns the status of an expression unless it is 0.
#define LUMI_TRY(expression)                                                              \
  do {                                                                                    \
    if (const ::lumi::Status lumi_status = (expression); lumi_status) return lumi_status; \
  } while (false)

}  // namespace lumi
