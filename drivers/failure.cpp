#include "drivers/failure.hpp"

#include <stdarg.h>
#include <stdio.h>

namespace lumi::driver {

static thread_local Cause t_cause = LUMIPMI_CAUSE_NONE;
static thread_local char t_text[kFailureText] = "";

Cause fail(Cause cause, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(t_text, sizeof t_text, format, arguments);
  va_end(arguments);
  t_cause = cause;
  return cause;
}

void succeed() {
  t_cause = LUMIPMI_CAUSE_NONE;
  t_text[0] = '\0';
}

const char* failure_text() {
  return t_text;
}

}  // namespace lumi::driver

extern "C" int32_t lumipmi_driver_last_cause(void) {
  return lumi::driver::t_cause;
}

extern "C" const char* lumipmi_driver_last_error(void) {
  return lumi::driver::t_text;
}
