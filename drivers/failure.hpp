// The last failure of each thread.
#pragma once

#include <stddef.h>

#include "lumipmi/driver.h"

namespace lumi::driver {

using Cause = lumipmi_cause;

inline constexpr size_t kFailureText = 640;  // characters kept, with the end

/// Records why the present call fails, as a sentence that names the thing, what is wrong and what to do. Returns
/// `cause`.
[[gnu::format(printf, 2, 3)]] Cause fail(Cause cause, const char* format, ...);

/// Records a success.
void succeed();

/// The text of the thread's last failure.
const char* failure_text();

}  // namespace lumi::driver
