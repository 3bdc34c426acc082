/* A driver that is preloaded: a BMC with device ID 0x99 that implements little, and whose driver fails now and then. */
#include <stdint.h>
#include <string.h>

#include "lumipmi/export.h"

LUMI_API int IPMI_DoIPMICmd(uint8_t netFn, uint8_t cmd, const uint8_t* data, uint16_t dataLength, uint8_t* response,
                            uint32_t* responseLength);

int IPMI_DoIPMICmd(uint8_t netFn, uint8_t cmd, const uint8_t* data, uint16_t dataLength, uint8_t* response,
                   uint32_t* responseLength) {
  static const uint8_t kDeviceId[] = {0x00, 0x99, 0x81, 0x02, 0x15, 0x51, 0x00, 0x40, 0x42, 0x0f, 0x34, 0x12};
  (void)netFn;
  (void)data;
  (void)dataLength;
  switch (cmd) {
    case 0x01: /* Get Device ID */
      memcpy(response, kDeviceId, sizeof kDeviceId);
      *responseLength = sizeof kDeviceId;
      return 0;
    case 0x02: /* an answer without a completion code */
      *responseLength = 0;
      return 0;
    case 0x04: /* Get Self Test Results */
      return -77;
    default:
      response[0] = 0xC1;
      *responseLength = 1;
      return 0;
  }
}
