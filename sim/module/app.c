/* Application commands (NetFn 06h) that ipmi_sim does not answer by itself. */
#include <string.h>

#include "module.h"

/* Cold Reset and Warm Reset (IPMI v2.0 rev 1.1, 20.2 and 20.3): accepted, and nothing ends. */
static void reset(lmc_data_t* mc, msg_t* msg, unsigned char* rdata, unsigned int* rdata_len, void* cb_data) {
  (void)mc;
  (void)cb_data;
  if (!sim_has_length(msg, 0, rdata, rdata_len)) return;
  sim_answer(kCcOk, rdata, rdata_len);
}

/* Get Self Test Results (20.4). */
static void get_self_test(lmc_data_t* mc, msg_t* msg, unsigned char* rdata, unsigned int* rdata_len, void* cb_data) {
  static const unsigned char passed[] = {0x55, 0x00};
  (void)mc;
  (void)cb_data;
  if (!sim_has_length(msg, 0, rdata, rdata_len)) return;
  sim_answer_data(passed, sizeof passed, rdata, rdata_len);
}

/* Manufacturing Test On (20.5). The standard leaves parameters to the device; this one has none. */
static void manufacturing_test(lmc_data_t* mc, msg_t* msg, unsigned char* rdata, unsigned int* rdata_len,
                               void* cb_data) {
  (void)mc;
  (void)cb_data;
  if (!sim_has_length(msg, 0, rdata, rdata_len)) return;
  sim_answer(kCcOk, rdata, rdata_len);
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

static void set_acpi_power_state(lmc_data_t* mc, msg_t* msg, unsigned char* rdata, unsigned int* rdata_len,
                                 void* cb_data) {
  unsigned char wanted[kPowerStates];
  (void)mc;
  (void)cb_data;
  if (!sim_has_length(msg, kPowerStates, rdata, rdata_len)) return;
  memcpy(wanted, power_state, sizeof wanted);
  for (int which = kSystem; which < kPowerStates; which++) {
    const unsigned char state = msg->data[which] & 0x7F;
    if ((msg->data[which] & kSetState) == 0 || state == kNoChange) continue;
    if (!is_state(which, state)) {
      sim_answer(kCcInvalidField, rdata, rdata_len);
      return;
    }
    wanted[which] = state;
  }
  memcpy(power_state, wanted, sizeof power_state); /* both or none */
  sim_answer(kCcOk, rdata, rdata_len);
}

static void get_acpi_power_state(lmc_data_t* mc, msg_t* msg, unsigned char* rdata, unsigned int* rdata_len,
                                 void* cb_data) {
  (void)mc;
  (void)cb_data;
  if (!sim_has_length(msg, 0, rdata, rdata_len)) return;
  sim_answer_data(power_state, sizeof power_state, rdata, rdata_len);
}

/* The GUID that ipmi_sim gives LAN clients: that of the first LAN channel which has one. */
static const unsigned char* find_guid(lmc_data_t* mc) {
  enum { kMediumLan = 4 };
  channel_t** channels = sim_sys->mc_get_channelset(mc);
  for (int i = 0; i < IPMI_MAX_CHANNELS; i++) {
    if (channels[i] == NULL || channels[i]->medium_type != kMediumLan) continue;
    const lanserv_data_t* lan = channels[i]->chan_info;
    if (lan != NULL && lan->guid != NULL) return lan->guid;
  }
  return NULL;
}

/* Get Device GUID (20.8) and Get System GUID (22.14): one and the same here. */
static void get_guid(lmc_data_t* mc, msg_t* msg, unsigned char* rdata, unsigned int* rdata_len, void* cb_data) {
  const unsigned char* guid = find_guid(mc);
  (void)cb_data;
  if (!sim_has_length(msg, 0, rdata, rdata_len)) return;
  if (guid == NULL) {
    sim_answer(kCcNotPresent, rdata, rdata_len);
    return;
  }
  sim_answer_data(guid, 16, rdata, rdata_len);
}

const struct sim_command sim_app_commands[] = {
    {kNetFnApp, 0x02, reset},
    {kNetFnApp, 0x03, reset},
    {kNetFnApp, 0x04, get_self_test},
    {kNetFnApp, 0x05, manufacturing_test},
    {kNetFnApp, 0x06, set_acpi_power_state},
    {kNetFnApp, 0x07, get_acpi_power_state},
    {kNetFnApp, 0x08, get_guid},
    {kNetFnApp, 0x37, get_guid},
    {0, 0, NULL},
};
