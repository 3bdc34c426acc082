/* A program that has functions of its own under exported names: the library goes on using its own. The driver and the
 * broker are the program's. */
#include <stdio.h>

#include "lumipmi/broker.h"
#include "lumipmi/connection.h"
#include "lumipmi/device.h"
#include "lumipmi/driver.h"
#include "lumipmi/fru.h"
#include "lumipmi/hardware.h"
#include "lumipmi/sdr.h"

void Sleep(uint32_t milliseconds);
int32_t lock_file(const char* path);
uint16_t host_bytes_to_uint16(const uint8_t* bytes);
uint32_t host_bytes_to_uint32(const uint8_t* bytes, int32_t count);
int32_t decode_bcd_plus(char* out, uint16_t outSize, const uint8_t* in, uint16_t inLength);

static int called;
void Sleep(uint32_t milliseconds) {
  called += (int)milliseconds + 1;
}
int32_t lock_file(const char* path) {
  return called += path != NULL, 0;
}
uint16_t host_bytes_to_uint16(const uint8_t* bytes) {
  return called += 1, bytes[0];
}
uint32_t host_bytes_to_uint32(const uint8_t* bytes, int32_t count) {
  return called += 1, bytes[count - 1];
}
int32_t decode_bcd_plus(char* out, uint16_t outSize, const uint8_t* in, uint16_t inLength) {
  return called += 1, out[0] = '\0', outSize + inLength + in[0];
}

static int sent;
int32_t IPMI_DoIPMICmd(uint8_t netFn, uint8_t cmd, const uint8_t* data, uint16_t dataLength, uint8_t* response,
                       uint32_t* responseLength) {
  (void)netFn, (void)cmd, (void)data, (void)dataLength;
  response[0] = ++sent == 1 ? 0xC0 : 0xD5; /* busy once: the library sleeps */
  *responseLength = 1;
  return 0;
}

static int executed;
uint32_t tov_function_execute_DDS(const char* functionName, uint32_t* length, const void* frame, uint32_t callerLength,
                                  void* response, uint32_t responseSize) {
  (void)functionName, (void)frame, (void)callerLength, (void)response, (void)responseSize;
  ++executed;
  *length = 0;
  return 77;
}

int main(void) {
  const IpmiConnectParams params = {1, -1, 0, 0};
  IpmiHandle* handle;
  if (ipmi_connect(&params, &handle) != 0) return 1;
  IpmiDeviceId id;
  const uint32_t status = ipmi_app_get_device_id(handle, &id);
  ipmi_disconnect(handle);

  uint8_t digits[] = {0x12, 0x34};
  const IpmiFruField field = {IPMI_FIELD_BCD_PLUS, sizeof digits, digits};
  char text[64];
  const uint32_t rendered = ipmi_hlp_get_fru_field(text, sizeof text, &field, 25);

  const uint8_t record[16] = {0x34, 0x12, 0x51, 0x10, 11};
  IpmiSdrInfo info;
  const uint32_t decoded = ipmi_hlp_format_sdr_record(sizeof record, record, &info);

  uint8_t reservation[2];
  uint32_t length = sizeof reservation;
  const uint32_t broker = get_sel_reservation_id(reservation, &length);

  printf("status %#x, text %s, record %#x, broker %u, own functions called %d\n", status, text, info.record_id, broker,
         called);
  return !(status == 0x200000D5u && sent == 2 && rendered == 0 && text[3] == '4' && decoded == 0 &&
           info.record_id == 0x1234 && broker == 77 && executed == 1 && called == 0);
}
