/* Shows the network settings of the BMC, or gives it a static address.
 *
 *     cc network.c $(pkg-config --cflags --libs lumipmi) -o network
 *     ./network                                        shows
 *     ./network 192.0.2.20 255.255.255.0 192.0.2.1     sets address, mask and default gateway
 */
#include <arpa/inet.h>
#include <lumipmi/lumipmi.h>
#include <stdio.h>
#include <string.h>

static int failed(const char *what, uint32_t status) {
  fprintf(stderr, "%s: status 0x%08X: %s\n", what, (unsigned)status, get_ipmi_err_msg_string((int32_t)status));
  return 1;
}

static const char *source_name(uint8_t source) {
  static const char *const kNames[] = {"unspecified", "static", "DHCP", "BIOS", "other"};
  return source < sizeof kNames / sizeof *kNames ? kNames[source] : "reserved";
}

static void print_address(const char *what, const uint8_t *address) {
  char text[INET_ADDRSTRLEN];
  printf("%-16s %s\n", what, inet_ntop(AF_INET, address, text, sizeof text));
}

static int show(void) {
  IPMILanConfig config;
  uint8_t enabled, limit;
  uint32_t status = IPMIGetLanConfiguration(&config);
  if (status != 0) return failed("network settings", status);
  printf("%-16s %s\n", "Address from", source_name(config.ipSource));
  print_address("Address", config.ipAddress);
  print_address("Subnet mask", config.subnetMask);
  print_address("Gateway", config.defaultGateway);
  printf("%-16s %02x:%02x:%02x:%02x:%02x:%02x\n", "MAC address", config.macAddress[0], config.macAddress[1],
         config.macAddress[2], config.macAddress[3], config.macAddress[4], config.macAddress[5]);
  if (config.vlanEnable)
    printf("%-16s %u, priority %u\n", "VLAN", config.vlanId, config.vlanPriority);
  else
    printf("%-16s off\n", "VLAN");
  status = IPMIGetIPMIOverLANAccess(&enabled, &limit);
  if (status != 0) return failed("access", status);
  printf("%-16s %s, privilege limit %u\n", "IPMI over LAN", enabled ? "on" : "off", limit);
  return 0;
}

int main(int argc, char **argv) {
  IPMILanConfig config;
  uint32_t status;

  if (argc == 1) return show();
  memset(&config, 0, sizeof config);
  config.ipSource = IPMI_IP_SOURCE_STATIC;
  if (argc != 4 || inet_pton(AF_INET, argv[1], config.ipAddress) != 1 ||
      inet_pton(AF_INET, argv[2], config.subnetMask) != 1 || inet_pton(AF_INET, argv[3], config.defaultGateway) != 1) {
    fprintf(stderr, "usage: network [ADDRESS MASK GATEWAY]\n");
    return 1;
  }
  status = IPMISetLanConfiguration(&config, IPMI_LAN_CONFIG_SOURCE | IPMI_LAN_CONFIG_ADDRESS);
  if (status != 0) return failed("setting the address", status);
  return show();
}
