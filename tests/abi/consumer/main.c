/* What an application does first: who is the BMC? Without one the status says so. */
#include <lumipmi/lumipmi.h>
#include <stdio.h>

int main(void) {
  const IpmiConnectParams params = {1, -1, -1, 0};
  IpmiHandle* handle;
  IpmiDeviceId id;
  uint32_t status = ipmi_connect(&params, &handle);
  if (status != 0) return 1;
  status = ipmi_app_get_device_id(handle, &id);
  ipmi_disconnect(handle);
  if (status != 0) {
    fprintf(stderr, "%s", get_ipmi_err_msg_string((int32_t)status));
    return status == IPMI_STATUS_DRIVER_ERROR ? 3 : 1;
  }
  printf("device %u\n", id.deviceId);
  return 0;
}
