/** @file trace.h
 *  Diagnostics of applications: messages to the system log behind a process-wide trace level, and byte dumps.
 *
 *  A message of level L is logged when the trace level is at least L (unsigned). Levels 1 (most severe) to 4 map to the
 *  syslog priorities LOG_ERR, LOG_WARNING, LOG_NOTICE and LOG_INFO; every other level maps to LOG_DEBUG. The level is 0
 *  at start, when only messages of level 0 are logged. Nothing calls openlog: the process's own settings apply. */
#ifndef LUMIPMI_TRACE_H
#define LUMIPMI_TRACE_H

#include <stdint.h>

#include "lumipmi/export.h"

LUMI_BEGIN_DECLS

/**
 * Sets the trace level. As soon as it is 2 or more, later calls change nothing for the life of the process.
 * @param[in] level  New trace level.
 */
LUMI_API void SetTraceLevel(uint32_t level);

/**
 * Converts a trace level to the priority its messages are logged with.
 * @param[in] level  Trace level.
 * @returns level + 2 for the levels 1 to 4 (3 LOG_ERR to 6 LOG_INFO), 7 (LOG_DEBUG) for every other value.
 */
LUMI_API int32_t ConvertToSyslogPriority(int32_t level);

/**
 * Logs a message when its level is enabled. The message is handed to syslog as the format, with one int argument: the
 * length of the message modulo 256. So "%%" is needed for a percent sign, and a message must hold no conversion but
 * one for that argument; use TraceMsgWithData with "%s" for texts of other origin.
 * @param[in] message  Terminated message and format; null logs nothing.
 * @param[in] level    Trace level of the message. Note the order: TraceMsgWithData takes its level first.
 */
LUMI_API void TraceMsg(const char *message, uint32_t level);

/**
 * Formats and logs a message when its level is enabled.
 * @param[in] level   Trace level of the message. Note the order: TraceMsg takes its level last.
 * @param[in] format  printf-style format of the arguments that follow; null logs nothing.
 */
LUMI_API void TraceMsgWithData(uint32_t level, const char *format, ...) __attribute__((format(printf, 2, 3)));

/**
 * Prints bytes to standard output: two lower-case hex digits and a space each, one more space after every eighth byte,
 * a newline after every perLine bytes, a newline at the end, and another one unless count is a multiple of 24.
 * @param[in] count    Number of bytes; 0 or less prints one newline.
 * @param[in] bytes    The bytes; null prints nothing at all.
 * @param[in] perLine  Bytes in a line; the sign does not matter, and 0 never breaks the line.
 */
LUMI_API void print_byte_code(int32_t count, const uint8_t *bytes, int32_t perLine);

LUMI_END_DECLS

#endif
