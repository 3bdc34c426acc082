// Calls the Ethernet helpers and prints what they give, as JSON.
//   ethernet_probe list
//   ethernet_probe arp DESTINATION SOURCE [DESCRIPTORS]     with that many more files open
#include <arpa/inet.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "lumipmi/ethernet.h"

namespace {

std::string dotted(uint32_t address) {
  return inet_ntoa({address});
}

std::string hex(const uint8_t* mac) {
  char text[18];
  std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
  return text;
}

int lowest_free_descriptor() {
  const int fd = dup(0);
  close(fd);
  return fd;
}

void list() {
  std::vector<IpmiEthernetInterface> interfaces(32);
  auto count = static_cast<uint32_t>(interfaces.size());
  const int before = lowest_free_descriptor();
  const uint32_t status = GetEthernetInterface(interfaces.data(), &count);
  std::printf("{\"status\": %u, \"leaked\": %d, \"list\": [", status, lowest_free_descriptor() - before);
  for (uint32_t i = 0; i < count; ++i) {
    const IpmiEthernetInterface& it = interfaces[i];
    std::printf("%s[\"%s\", %u, \"%s\", \"%s\", \"%s\", \"%s\", %u]", i == 0 ? "" : ", ", it.name, it.index,
                hex(it.mac).c_str(), dotted(it.address).c_str(), dotted(it.netmask).c_str(),
                dotted(it.broadcast).c_str(), it.flags);
  }
  std::puts("]}");
}

void arp(const char* destination, const char* source, int descriptors) {
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
  while (descriptors-- > 0) (void)dup(0);
  const int before = lowest_free_descriptor();
  const int packets = socket(AF_PACKET, SOCK_DGRAM, 0);
  close(packets);
  uint8_t mac[6] = {};
  uint32_t length = 6;
  const auto start = std::chrono::steady_clock::now();
  const uint32_t status = SendARP(inet_addr(destination), inet_addr(source), mac, &length);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  std::printf("{\"status\": %u, \"mac\": \"%s\", \"seconds\": %.3f, \"leaked\": %d, \"privileged\": %s}\n", status,
              hex(mac).c_str(), took.count(), lowest_free_descriptor() - before, packets >= 0 ? "true" : "false");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 4) {
    arp(argv[2], argv[3], argc > 4 ? std::atoi(argv[4]) : 0);
  } else {
    list();
  }
}
