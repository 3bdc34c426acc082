/* Application commands (NetFn 06h) that ipmi_sim does not answer by itself. */
#include <string.h>

#include "module.h"

/* Cold Reset and Warm Reset (IPMI v2.0 rev 1.1, 20.2 and 20.3): accepted, and nothing ends. */
static int reset(const struct sim_request* request, struct sim_reply* reply) {
  (void)request;
  (void)reply;
  return kCcOk;
}

/* Get Self Test Results (20.4). */
static int get_self_test(const struct sim_request* request, struct sim_reply* reply) {
  static const unsigned char passed[] = {0x55, 0x00};
  (void)request;
  sim_put(reply, passed, sizeof passed);
  return kCcOk;
}

/* Manufacturing Test On (20.5). The standard leaves parameters to the device; this one has none. */
static int manufacturing_test(const struct sim_request* request, struct sim_reply* reply) {
  (void)request;
  (void)reply;
  return kCcOk;
}

/* ACPI power states (20.6, 20.7): the system's, then the device's. */
enum { kSystem, kDevice, kPowerStates };
enum { kSetState = 0x80, kNoChange = 0x7F };

static unsigned char power_state[kPowerStates]; /* S0/G0 working, D0 */

/* Values that can be kept: S0 to S5, S4/S5, G3, sleeping, G1, override; D0 to D3. */
static const struct {
  unsigned char last;
  unsigned char others[3]; /* legacy on, legacy off, unknown */
} states_known[kPowerStates] = {
    [kSystem] = {0x0A, {0x20, 0x21, 0x2A}},
    [kDevice] = {0x03, {0x2A, 0x2A, 0x2A}},
};

static int is_state(int which, unsigned char state) {
  return state <= states_known[which].last ||
         memchr(states_known[which].others, state, sizeof states_known[which].others) != NULL;
}

static int set_acpi_power_state(const struct sim_request* request, struct sim_reply* reply) {
  unsigned char wanted[kPowerStates];
  (void)reply;
  memcpy(wanted, power_state, sizeof wanted);
  for (int which = kSystem; which < kPowerStates; which++) {
    const unsigned char state = request->data[which] & 0x7F;
    if ((request->data[which] & kSetState) == 0 || state == kNoChange) continue;
    if (!is_state(which, state)) return kCcInvalidField;
    wanted[which] = state;
  }
  memcpy(power_state, wanted, sizeof power_state); /* both or none */
  return kCcOk;
}

static int get_acpi_power_state(const struct sim_request* request, struct sim_reply* reply) {
  (void)request;
  sim_put(reply, power_state, sizeof power_state);
  return kCcOk;
}

/* Get Device GUID (20.8) and Get System GUID (22.14): one and the same here, that of the LAN channel. */
static int get_guid(const struct sim_request* request, struct sim_reply* reply) {
  const lanserv_data_t* lan = sim_lan(request->mc);
  if (lan == NULL || lan->guid == NULL) return kCcNotPresent;
  sim_put(reply, lan->guid, 16);
  return kCcOk;
}

const struct sim_command sim_app_commands[] = {
    {kNetFnApp, 0x02, 0, 0, reset},
    {kNetFnApp, 0x03, 0, 0, reset},
    {kNetFnApp, 0x04, 0, 0, get_self_test},
    {kNetFnApp, 0x05, 0, 0, manufacturing_test},
    {kNetFnApp, 0x06, kPowerStates, kPowerStates, set_acpi_power_state},
    {kNetFnApp, 0x07, 0, 0, get_acpi_power_state},
    {kNetFnApp, 0x08, 0, 0, get_guid},
    {kNetFnApp, 0x37, 0, 0, get_guid},
    {0, 0, 0, 0, NULL},
};
