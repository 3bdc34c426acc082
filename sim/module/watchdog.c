/* The watchdog timer (NetFn App; IPMI v2.0 rev 1.1, 27). It is ipmi_sim's, which does not tell whether and how long it
 * still runs, and does not note that it ran out when there is nothing to do then. */
#include "module.h"

enum { kResetTimer = 0x22, kSetTimer = 0x24, kGetTimer = 0x25 };

/* The bytes of both set and get; the present countdown follows in the latter. */
enum settings { kUse, kActions, kPreTimeout, kExpired, kCountdown, kCountdownHigh, kSettings };
enum { kRunning = 0x40, kUseMask = 0x07, kMsPerCount = 100 };

static unsigned long long started; /* 0: not since it was set */
static unsigned int countdown;
static unsigned char use;
static unsigned char expired; /* a bit for each use */

/* Counts that are left; notes when there are none. */
static unsigned int time_left(void) {
  if (started == 0) return countdown;
  const unsigned long long gone = (sim_now() - started) / kMsPerCount;
  if (gone < countdown) return countdown - (unsigned int)gone;
  expired |= (unsigned char)(1u << use);
  return 0;
}

static int reset_timer(const struct sim_request* request, struct sim_reply* reply) {
  const int code = sim_pass(request, reply);
  reply->length = 0;
  (void)time_left();
  if (code == kCcOk) started = sim_now();
  return code;
}

/* With its bit 6 a running timer goes on, with the new countdown. */
static int set_timer(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned char* data = request->data;
  const int code = sim_pass(request, reply);
  reply->length = 0;
  if (code != kCcOk) return code;
  const int goes_on = started != 0 && time_left() != 0 && (data[kUse] & kRunning) != 0;
  started = goes_on ? sim_now() : 0;
  countdown = ipmi_get_uint16(request->data + kCountdown);
  use = data[kUse] & kUseMask;
  expired &= (unsigned char)~data[kExpired];
  return kCcOk;
}

static int get_timer(const struct sim_request* request, struct sim_reply* reply) {
  const int code = sim_pass(request, reply);
  if (code != kCcOk || reply->length != kSettings) return code;
  const unsigned int left = time_left();
  const unsigned char present[] = {(unsigned char)left, (unsigned char)(left >> 8)};
  reply->data[kUse] &= (unsigned char)~kRunning;
  if (started != 0 && left != 0) reply->data[kUse] |= kRunning;
  reply->data[kExpired] |= expired;
  sim_put(reply, present, sizeof present);
  return kCcOk;
}

const struct sim_command sim_watchdog_commands[] = {
    {kNetFnApp, kResetTimer, 0, 0, reset_timer},
    {kNetFnApp, kSetTimer, kSettings, kSettings, set_timer},
    {kNetFnApp, kGetTimer, 0, 0, get_timer},
    {0, 0, 0, 0, NULL},
};
