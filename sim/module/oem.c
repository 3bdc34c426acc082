/* The maker's own commands (NetFn 30h). */
#include "module.h"

/* Set mux: both bytes are kept, and answered. */
static int set_mux(const struct sim_request* request, struct sim_reply* reply) {
  sim_put(reply, request->data, 2);
  return kCcOk;
}

/* Reset to default: all parameters of this module, or all but those of LAN. Done at once. */
static int reset_to_default(const struct sim_request* request, struct sim_reply* reply) {
  enum { kAll = 0xAA, kAllButNetwork = 0xDD };
  const unsigned char completed = 0x01;
  if (request->data[0] != kAll && request->data[0] != kAllButNetwork) return kCcInvalidField;
  sim_reset_parameters(request->data[0] == kAll);
  sim_put(reply, &completed, 1);
  return kCcOk;
}

static unsigned char debug_level = 0x03;

static int set_debug_level(const struct sim_request* request, struct sim_reply* reply) {
  (void)reply;
  debug_level = request->data[0];
  return kCcOk;
}

static int get_debug_level(const struct sim_request* request, struct sim_reply* reply) {
  (void)request;
  sim_put(reply, &debug_level, 1);
  return kCcOk;
}

const struct sim_command sim_oem_commands[] = {
    {kNetFnOem, 0x20, 2, 2, set_mux},
    {kNetFnOem, 0x21, 1, 1, reset_to_default},
    {kNetFnOem, 0xFE, 1, 1, set_debug_level},
    {kNetFnOem, 0xFF, 0, 0, get_debug_level},
    {0, 0, 0, 0, NULL},
};
