/* Sensor commands (NetFn 04h) that ipmi_sim does not answer by itself. */
#include "module.h"

/* ipmi_sim's own handlers, by command. */
extern cmd_handler_f sensor_event_netfn_handlers[256];

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
static int sensor_exists(lmc_data_t* mc, const msg_t* msg) {
  enum { kGetSensorType = 0x2F };
  unsigned char answer[kAnswerRoom] = {0};
  unsigned int length = sizeof answer;
  msg_t probe = *msg;
  probe.cmd = kGetSensorType;
  probe.len = 1; /* the sensor number */
  sensor_event_netfn_handlers[kGetSensorType](mc, &probe, answer, &length, NULL);
  return answer[0] == kCcOk;
}

/* Get Sensor Reading Factors (IPMI v2.0 rev 1.1, 35.5). */
static void get_reading_factors(lmc_data_t* mc, msg_t* msg, unsigned char* rdata, unsigned int* rdata_len,
                                void* cb_data) {
  (void)cb_data;
  if (!sim_has_length(msg, 2, rdata, rdata_len)) return;
  if (msg->data[0] != kImonSensor || msg->rs_lun != kImonLun) {
    sim_answer(sensor_exists(mc, msg) ? kCcIllegalForSensor : kCcNotPresent, rdata, rdata_len);
    return;
  }
  const unsigned char reading = msg->data[1];
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
  sim_answer_data(data, sizeof data, rdata, rdata_len);
}

const struct sim_command sim_sensor_commands[] = {
    {kNetFnSensorEvent, 0x23, get_reading_factors},
    {0, 0, NULL},
};
