/* With the stand-in preloaded: the driver, the clock, sleeping and randomness are those of the preloaded library. */
#include <dlfcn.h>
#include <inttypes.h>
#include <stdio.h>

#include "lumipmi/broker.h"
#include "lumipmi/lumipmi.h"

static uint64_t counter(const char* name, int wide) {
  const void* address = dlsym(RTLD_DEFAULT, name);
  if (address == NULL) return UINT64_MAX;
  return wide ? *(const uint64_t*)address : *(const unsigned*)address;
}

int main(void) {
  const IpmiConnectParams params = {1, -1, -1, 0};
  IpmiHandle* handle;
  if (ipmi_connect(&params, &handle) != 0) return 1;
  IpmiDeviceId id;
  const uint32_t status = ipmi_app_get_device_id(handle, &id);
  ipmi_disconnect(handle);

  /* Randomness of all ones: pauses of 1500 ms in a period, 1000 ms behind it. Eight sends fit into each of the five
   * periods: sends at 0, 1.5, ... 10.5 s, of which the last one begins at whole second 10 of the period. */
  const uint64_t sent = counter("stand_in_sent", 0), opened = counter("stand_in_opened", 0),
                 closed = counter("stand_in_closed", 0), slept = counter("stand_in_slept_ms", 1);
  printf("status %#" PRIx32 ", sent %" PRIu64 ", opened %" PRIu64 ", closed %" PRIu64 ", slept %" PRIu64 " ms\n",
         status, sent, opened, closed, slept);
  const int as_expected = status == IPMI_STATUS_NODE_BUSY_TIMEOUT && sent == 40 && opened == 45 && closed == opened &&
                          slept == 40 * 1500 + 5 * 1000;

  /* Our broker, too, finds the preloaded driver. */
  uint8_t reservation[2];
  uint32_t length = sizeof reservation;
  const uint32_t broker = get_sel_reservation_id(reservation, &length);
  printf("broker %#" PRIx32 ", sent %" PRIu64 "\n", broker, counter("stand_in_sent", 0) - sent);
  return !(as_expected && broker == LUMIPMI_BROKER_COMPLETION + 0xC0 && counter("stand_in_sent", 0) == sent + 11);
}
