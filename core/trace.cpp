// The exported diagnostics. The library itself traces nothing.
#include "lumipmi/trace.h"

#include <syslog.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace lumi {
namespace {

// Atomic only so that setting the level while another thread traces is harmless; nothing is ordered by it.
std::atomic<uint32_t> trace_level = 0;

bool enabled(uint32_t level) {
  return trace_level.load(std::memory_order_relaxed) >= level;
}

int32_t syslog_priority(int32_t level) {
  return level >= 1 && level <= 4 ? level + 2 : LOG_DEBUG;
}

}  // namespace
}  // namespace lumi

extern "C" void SetTraceLevel(uint32_t level) {
  // A latch, and meant to be one: once raised to 2 or more, the level stays for the life of the process. Without it any
  // later call could silence a process that was started with tracing on.
  if (lumi::trace_level.load(std::memory_order_relaxed) > 1) return;
  lumi::trace_level.store(level, std::memory_order_relaxed);
}

extern "C" int32_t ConvertToSyslogPriority(int32_t level) {
  return lumi::syslog_priority(level);
}

// The formats below come from the caller by contract, so the compiler cannot check them here.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

extern "C" void TraceMsg(const char* message, uint32_t level) {
  if (message == nullptr || !lumi::enabled(level)) return;
  // The message itself is the format and the low byte of its length the one argument. Logging it through "%s" would
  // change what callers see: "%%" is logged as "%", and "%d" shows the length.
  syslog(lumi::syslog_priority(static_cast<int32_t>(level)), message, static_cast<int>(std::strlen(message) % 256));
}

extern "C" void TraceMsgWithData(uint32_t level, const char* format, ...) {
  if (format == nullptr || !lumi::enabled(level)) return;
  va_list arguments;
  va_start(arguments, format);
  vsyslog(lumi::syslog_priority(static_cast<int32_t>(level)), format, arguments);
  va_end(arguments);
}

#pragma GCC diagnostic pop

extern "C" void print_byte_code(int32_t count, const uint8_t* bytes, int32_t perLine) {
  if (bytes == nullptr) return;
  if (count <= 0) {
    std::putchar('\n');
    return;
  }
  for (int32_t i = 0; i < count; ++i) {
    const int64_t printed = int64_t{i} + 1;
    std::printf("%02x ", static_cast<unsigned>(bytes[i]));
    if (printed % 8 == 0) std::putchar(' ');
    if (perLine != 0 && printed % perLine == 0) std::putchar('\n');
  }
  std::putchar('\n');
  // 24 counts whatever perLine is; the number of newlines at the end is part of the output's fixed form.
  if (count % 24 != 0) std::putchar('\n');
}
