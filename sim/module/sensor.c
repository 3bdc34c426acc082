/* Sensor commands (NetFn 04h) that ipmi_sim does not answer by itself. */
#include "module.h"

/*
 * Conversion of the non-linear sensor "Imon Nonlin": amperes = (M x + B * 10^b_exp) * 10^r_exp, with
 * its own factors in each range of readings. `exact` is the reading byte that stands for the range
 * in the walk through the table: a reading gets the factors of the nearest one, the higher of two.
 *
 *   reading    0 .. 63    64 .. 127    128 .. 191    192 .. 255
 *   amperes    0 .. 0.63  0.64 .. 3.79  3.80 .. 19.55  20 .. 51.5
 */
struct factors {
  unsigned char first;
  unsigned char exact;
  int m;         /* 10 bits, signed */
  int tolerance; /* 6 bits, in half counts */
  int b;         /* 10 bits, signed */
  int accuracy;  /* 10 bits, in 1/100 percent times 10^accuracy_exp */
  int accuracy_exp;
  int r_exp; /* 4 bits, signed */
  int b_exp; /* 4 bits, signed */
};

static const struct factors imon_factors[] = {
    {.first = 0x00, .exact = 0x20, .m = 1, .tolerance = 1, .b = 0, .accuracy = 50, .accuracy_exp = 0, .r_exp = -2},
    {.first = 0x40, .exact = 0x60, .m = 5, .tolerance = 2, .b = -256, .accuracy = 100, .r_exp = -2, .b_exp = 0},
    {.first = 0x80, .exact = 0xA0, .m = 25, .tolerance = 4, .b = -282, .accuracy = 300, .r_exp = -2, .b_exp = 1},
    {.first = 0xC0,
     .exact = 0xE0,
     .m = 500,
     .tolerance = 33,
     .b = -76,
     .accuracy = 75,
     .accuracy_exp = 1,
     .r_exp = -3,
     .b_exp = 3},
};

enum { kImonSensor = 26, kImonLun = 0, kImonRanges = sizeof imon_factors / sizeof imon_factors[0] };

static unsigned char low_byte(int value) {
  return (unsigned char)(value & 0xFF);
}

/* Bits 9:8 of a 10-bit number as bits 7:6, over the six bits of another field. */
static unsigned char high_bits_over(int value, int low_field) {
  return (unsigned char)(((value >> 8) & 0x03) << 6 | (low_field & 0x3F));
}

static unsigned char two_nibbles(int high, int low) {
  return (unsigned char)((high & 0x0F) << 4 | (low & 0x0F));
}

/* Get Sensor Type knows every sensor, event-only ones too. */
static int sensor_exists(const struct sim_request* request) {
  enum { kGetSensorType = 0x2F };
  struct sim_reply reply = {.length = 0};
  return sim_own(request, kNetFnSensorEvent, kGetSensorType, request->data, 1, &reply) == kCcOk;
}

/* Get Sensor Reading Factors (IPMI v2.0 rev 1.1, 35.5). */
static int get_reading_factors(const struct sim_request* request, struct sim_reply* reply) {
  if (request->data[0] != kImonSensor || request->msg->rs_lun != kImonLun) {
    return sensor_exists(request) ? kCcIllegalForSensor : kCcNotPresent;
  }
  const unsigned char reading = request->data[1];
  int range = kImonRanges - 1;
  while (reading < imon_factors[range].first) range--;
  const struct factors* f = &imon_factors[range];
  /* First the exact byte of this range, from there on the exact byte of the next, around the table. */
  const unsigned char next = reading != f->exact ? f->exact : imon_factors[(range + 1) % kImonRanges].exact;
  const unsigned char data[] = {
      next,
      low_byte(f->m),
      high_bits_over(f->m, f->tolerance),
      low_byte(f->b),
      high_bits_over(f->b, f->accuracy),
      (unsigned char)((f->accuracy >> 6 & 0x0F) << 4 | (f->accuracy_exp & 0x03) << 2),
      two_nibbles(f->r_exp, f->b_exp),
  };
  sim_put(reply, data, sizeof data);
  return kCcOk;
}

/* Set Sensor Event Enable (35.10): ipmi_sim does it, but does not always say so. */
static int set_event_enable(const struct sim_request* request, struct sim_reply* reply) {
  const int code = sim_pass(request, reply);
  reply->length = 0;
  return code;
}

/* Alert Immediate (30.7): an alert takes a moment, one at a time, and always ends well. */
static int alert_immediate(const struct sim_request* request, struct sim_reply* reply) {
  enum { kInitiate, kStatus, kClearStatus };
  enum { kNoStatus = 0x00, kNormalEnd = 0x01, kInProgress = 0xFF };
  enum { kShort = 3, kWithEvent = 11, kLastDestination = 4, kDurationMs = 200, kCcAlertInProgress = 0x81 };
  static unsigned long long ends; /* 0: none, or its status was cleared */
  const unsigned int channel = sim_channel(request, request->data[0]);
  const unsigned int operation = request->data[1] >> 6;
  const int in_progress = ends != 0 && sim_now() < ends;
  if (request->length != kShort && request->length != kWithEvent) return kCcRequestLengthInvalid;
  if (channel != kChannelLan && channel != kChannelSerial) return kCcInvalidField;
  if ((request->data[1] & 0x0F) > kLastDestination) return kCcInvalidField;
  const unsigned char status = ends == 0 ? kNoStatus : in_progress ? kInProgress : kNormalEnd;
  switch (operation) {
    case kInitiate:
      if (in_progress) return kCcAlertInProgress;
      ends = sim_now() + kDurationMs;
      return kCcOk;
    case kStatus:
      sim_put(reply, &status, 1);
      return kCcOk;
    case kClearStatus:
      if (!in_progress) ends = 0;
      return kCcOk;
    default:
      return kCcInvalidField;
  }
}

/* Set Sensor Reading and Event Status (35.17): of what it can set, the reading. */
static int set_reading(const struct sim_request* request, struct sim_reply* reply) {
  enum { kOperation = 1, kReading = 2, kReadingMask = 0x03, kWriteReading = 0x01, kNoEvent = 0 };
  const unsigned int what = request->data[kOperation] & kReadingMask;
  (void)reply;
  if (!sensor_exists(request)) return kCcNotPresent;
  if (what > kWriteReading) return kCcInvalidField;
  if (what == kWriteReading && ipmi_mc_sensor_set_value(request->mc, request->msg->rs_lun, request->data[0],
                                                        request->data[kReading], kNoEvent) != 0) {
    return kCcIllegalForSensor;
  }
  return kCcOk;
}

const struct sim_command sim_sensor_commands[] = {
    {kNetFnSensorEvent, 0x16, 3, 11, alert_immediate},
    {kNetFnSensorEvent, 0x23, 2, 2, get_reading_factors},
    {kNetFnSensorEvent, 0x28, 2, 6, set_event_enable},
    {kNetFnSensorEvent, 0x30, 3, 10, set_reading},
    {0, 0, 0, 0, NULL},
};
