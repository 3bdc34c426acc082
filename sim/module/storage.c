/* Storage commands (NetFn 0Ah). */
#include <string.h>

#include "module.h"

/* Clear SDR Repository (IPMI v2.0 rev 1.1, 33.13). ipmi_sim ends when it is asked how far it is; it is always done. */
static int clear_sdr_repository(const struct sim_request* request, struct sim_reply* reply) {
  enum { kGetStatus = 0x00, kErase = 0xAA };
  static const unsigned char clear[] = {'C', 'L', 'R'};
  const unsigned char operation = request->data[5], erased = 0x01;
  if (memcmp(request->data + 2, clear, sizeof clear) != 0) return kCcInvalidField;
  if (operation == kErase) return sim_pass(request, reply);
  if (operation != kGetStatus) return kCcInvalidField;
  sim_put(reply, &erased, 1);
  return kCcOk;
}

const struct sim_command sim_storage_commands[] = {
    {kNetFnStorage, 0x27, 6, 6, clear_sdr_repository},
    {0, 0, 0, 0, NULL},
};
