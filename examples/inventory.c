/* Who is this system? Versions, names, unit tag, power state, and what a FRU device tells about its product.
 *
 *     cc inventory.c $(pkg-config --cflags --libs lumipmi) -o inventory && ./inventory [FRU_DEVICE]
 */
#include <lumipmi/lumipmi.h>
#include <stdio.h>
#include <stdlib.h>

/* One line of the inventory, or why there is none. */
static int line(const char *what, uint32_t status, const char *text) {
  if (status == 0) {
    printf("%-18s %s\n", what, text);
    return 0;
  }
  fprintf(stderr, "%s: status 0x%08X: %s\n", what, (unsigned)status, get_ipmi_err_msg_string((int32_t)status));
  return 1;
}

static int print_field(const char *what, const IpmiFruField *field, uint8_t language) {
  char text[128]; /* room for the longest field */
  return line(what, ipmi_hlp_get_fru_field(text, sizeof text, field, language), text);
}

static int print_product(uint8_t fru_id) {
  const IpmiConnectParams params = {1, -1, -1, 0}; /* system interface, default retries */
  IpmiHandle *handle;
  IpmiFruInfo fru;
  int failures;

  uint32_t status = ipmi_connect(&params, &handle);
  if (status != 0) return line("Connection", status, "");
  status = ipmi_get_fru_info(handle, fru_id, &fru);
  if (status == 0) {
    failures = print_field("Manufacturer", &fru.product_manufacturer, fru.product_language_code);
    failures += print_field("Product", &fru.product_name, fru.product_language_code);
    failures += print_field("Serial number", &fru.product_serial_number, fru.product_language_code);
  } else {
    failures = line("FRU device", status, "");
  }
  ipmi_free_fru_info(&fru); /* also after a failure */
  ipmi_disconnect(handle);
  return failures;
}

int main(int argc, char **argv) {
  char ipmi[8], firmware[8], name[64], unit[64];
  IPMIServiceInfo service;
  IPMIBMCInfo bmc;
  uint8_t power = 0;
  uint32_t status;
  int failures = 0;

  service.unitTag = unit;
  service.unitTagSize = sizeof unit;
  bmc.ipmiVersion = ipmi;
  bmc.ipmiVersionSize = sizeof ipmi;
  bmc.firmwareVersion = firmware;
  bmc.firmwareVersionSize = sizeof firmware;

  IPMIInitializeLibrary();
  failures += line("IPMI version", IPMIGetBMCInfo(&bmc), ipmi);
  failures += line("BMC firmware", IPMIGetBMCInfo(&bmc), firmware);
  failures += line("BIOS", IPMIGetBIOSVersion(name, sizeof name), name);
  failures += line("Host name", IPMIGetHostSystemName(name, sizeof name), name);
  failures += line("Operating system", IPMIGetOSName(name, sizeof name), name);
  failures += line("Unit tag", IPMIGetServiceInfo(&service), unit);
  status = IPMIGetChassisStatus(&power);
  failures += line("Power", status, (power & 1) != 0 ? "on" : "off");
  failures += print_product((uint8_t)(argc > 1 ? atoi(argv[1]) : 0));
  IPMICleanupLibrary();
  return failures == 0 ? 0 : 1;
}
