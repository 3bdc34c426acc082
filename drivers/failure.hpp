// The last failure of each thread.
#pragma once

#include "lumipmi/driver.h"

namespace lumi::driver {

using Cause = lumipmi_cause;

/// Records why the present call fails, as a sentence that names the thing, what is wrong and what to do. Returns
/// `cause`.
[[gnu::format(printf, 2, 3)]] Cause fail(Cause cause, const char* format, ...);

/// Records a success.
void succeed();

}  // namespace lumi::driver
