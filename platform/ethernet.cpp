// The exported Ethernet helpers: the interfaces of this host, and ARP.
#include "lumipmi/ethernet.h"

#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/if_ether.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "lumipmi/status.h"
#include "platform/text.hpp"

namespace lumi {
namespace {

constexpr uint32_t kMacLength = 6;
constexpr size_t kMaxAddresses = 128;  // of this host, 5 KiB of stack
constexpr int kAttempts = 3;
constexpr int64_t kAnswerTime = 1000;  // ms for each attempt
constexpr int64_t kPollTime = 20;      // ms between two looks at the kernel's table
constexpr uint16_t kDiscardPort = 9;

/// A descriptor that is closed at the end of its scope.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    const int error = errno;  // what the caller may look at
    if (fd_ >= 0) close(fd_);
    errno = error;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  bool valid() const { return fd_ >= 0; }
  int get() const { return fd_; }

 private:
  int fd_;
};

/// The interface that a request leaves by.
struct Link {
  char name[IFNAMSIZ];
  int index;
  uint32_t address;  // sender of the request
  uint8_t mac[kMacLength];
};

/// What a failed system call means for the caller.
uint32_t failure() {
  switch (errno) {
    case EACCES:  // a broadcast address
    case EADDRNOTAVAIL:
      return IPMI_STATUS_APP_INVALID_IP_ADDRESS;
    case EHOSTUNREACH:
    case ENETDOWN:
    case ENETUNREACH:
    case ENODEV:
    case ENXIO:
      return IPMI_STATUS_APP_NOT_FOUND;
    default:
      return IPMI_STATUS_APP_ERROR;
  }
}

int udp_socket() {
  return socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

sockaddr_in endpoint(uint32_t address, uint16_t port) {
  sockaddr_in result = {};
  result.sin_family = AF_INET;
  result.sin_addr.s_addr = address;
  result.sin_port = htons(port);
  return result;
}

uint32_t address_of(const sockaddr& from) {
  sockaddr_in address;
  static_assert(sizeof address == sizeof from);
  std::memcpy(&address, &from, sizeof address);
  return address.sin_addr.s_addr;
}

int64_t monotonic_ms() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

// --- Interfaces

/// Asks one thing about an interface; what is not known leaves the rest of `request` 0.
bool query(int fd, unsigned long what, const char* name, ifreq& request) {
  request = {};
  copy_text(request.ifr_name, sizeof request.ifr_name, name);
  return ioctl(fd, what, &request) == 0;
}

uint32_t query_address(int fd, unsigned long what, const char* name) {
  ifreq request;
  return query(fd, what, name, request) ? address_of(request.ifr_addr) : 0;
}

/// Reads the MAC address; zeros, and false, for an interface that is not Ethernet.
bool query_mac(int fd, const char* name, uint8_t (&mac)[kMacLength]) {
  std::memset(mac, 0, kMacLength);
  ifreq request;
  if (!query(fd, SIOCGIFHWADDR, name, request) || request.ifr_hwaddr.sa_family != ARPHRD_ETHER) return false;
  std::memcpy(mac, request.ifr_hwaddr.sa_data, kMacLength);
  return true;
}

/// Returns whether the interface is still there.
bool describe(int fd, const char* name, uint32_t index, IpmiEthernetInterface& out) {
  ifreq request;
  if (!query(fd, SIOCGIFFLAGS, name, request)) return false;
  out = {};
  if ((request.ifr_flags & IFF_UP) != 0) out.flags |= IPMI_ETHERNET_UP;
  if ((request.ifr_flags & IFF_RUNNING) != 0) out.flags |= IPMI_ETHERNET_RUNNING;
  if ((request.ifr_flags & IFF_LOOPBACK) != 0) out.flags |= IPMI_ETHERNET_LOOPBACK;
  copy_text(out.name, sizeof out.name, name);
  out.index = index;
  out.address = query_address(fd, SIOCGIFADDR, name);
  out.netmask = query_address(fd, SIOCGIFNETMASK, name);
  out.broadcast = query_address(fd, SIOCGIFBRDADDR, name);
  (void)query_mac(fd, name, out.mac);
  return true;
}

uint32_t list_interfaces(IpmiEthernetInterface* interfaces, uint32_t* count) {
  const Descriptor control(udp_socket());
  if (!control.valid()) return IPMI_STATUS_APP_ERROR;
  struct if_nameindex* const names = if_nameindex();  // SIOCGIFCONF leaves out interfaces without an address
  if (names == nullptr) return IPMI_STATUS_APP_ERROR;
  uint32_t needed = 0;
  while (names[needed].if_index != 0) ++needed;
  const bool fits = needed <= *count;
  uint32_t filled = 0;
  for (uint32_t i = 0; fits && i < needed; ++i) {
    if (describe(control.get(), names[i].if_name, names[i].if_index, interfaces[filled])) ++filled;
  }
  if_freenameindex(names);
  *count = fits ? filled : needed;
  return fits ? 0 : IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
}

/// Finds the interface that has an address, secondary and alias addresses included.
bool find_interface(int fd, uint32_t address, char (&name)[IFNAMSIZ]) {
  ifreq requests[kMaxAddresses];
  ifconf list = {};
  list.ifc_len = sizeof requests;
  list.ifc_req = requests;
  if (ioctl(fd, SIOCGIFCONF, &list) != 0) return false;
  const size_t count = static_cast<size_t>(list.ifc_len) / sizeof requests[0];
  for (size_t i = 0; i < std::min(count, kMaxAddresses); ++i) {
    if (address_of(requests[i].ifr_addr) != address) continue;
    copy_text(name, sizeof name, requests[i].ifr_name);
    name[std::strcspn(name, ":")] = '\0';  // eth0:1 is an alias on eth0
    return true;
  }
  return false;
}

// --- ARP

bool is_host(uint32_t address) {
  return address != INADDR_ANY && address != INADDR_BROADCAST && !IN_MULTICAST(ntohl(address));
}

bool is_loopback(uint32_t address) {
  return ntohl(address) >> IN_CLASSA_NSHIFT == IN_LOOPBACKNET;
}

/// Finds the address that the kernel sends from to a destination on a directly attached network.
uint32_t find_source(uint32_t destination, uint32_t* source) {
  const Descriptor probe(udp_socket());
  const int on = 1;  // no gateways
  if (!probe.valid() || setsockopt(probe.get(), SOL_SOCKET, SO_DONTROUTE, &on, sizeof on) != 0)
    return IPMI_STATUS_APP_ERROR;
  const sockaddr_in peer = endpoint(destination, kDiscardPort);
  const bool routed = connect(probe.get(), reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0;
  if (!routed && (*source == 0 || errno == EACCES)) return failure();
  if (*source != 0) return 0;
  sockaddr_in local = {};
  socklen_t size = sizeof local;
  if (getsockname(probe.get(), reinterpret_cast<sockaddr*>(&local), &size) != 0) return failure();
  *source = local.sin_addr.s_addr;
  return 0;
}

/// Fills the link of an interface that can do ARP now.
uint32_t open_link(int control, Link& link) {
  ifreq request;
  if (!query(control, SIOCGIFFLAGS, link.name, request)) return failure();
  if ((request.ifr_flags & IFF_NOARP) != 0 || !query_mac(control, link.name, link.mac))
    return IPMI_STATUS_APP_UNSUPPORT_OPERATION;
  if ((request.ifr_flags & IFF_UP) == 0) return IPMI_STATUS_APP_NOT_FOUND;
  if (!query(control, SIOCGIFINDEX, link.name, request)) return failure();
  link.index = request.ifr_ifindex;
  return 0;
}

/// Reads the kernel's ARP table.
bool look_up(int control, const Link& link, uint32_t destination, uint8_t (&mac)[kMacLength]) {
  arpreq request = {};
  const sockaddr_in peer = endpoint(destination, 0);
  std::memcpy(&request.arp_pa, &peer, sizeof peer);
  copy_text(request.arp_dev, sizeof request.arp_dev, link.name);
  if (ioctl(control, SIOCGARP, &request) != 0 || (request.arp_flags & ATF_COM) == 0) return false;
  std::memcpy(mac, request.arp_ha.sa_data, kMacLength);
  return true;
}

/// Waits until a descriptor (-1: none) is readable or a time has come. Returns whether it is readable.
bool wait_until(int fd, int64_t deadline) {
  const int64_t left = std::max<int64_t>(deadline - monotonic_ms(), 0);
  timeval timeout = {};
  timeout.tv_sec = left / 1000;
  timeout.tv_usec = left % 1000 * 1000;
  fd_set readable;
  FD_ZERO(&readable);
  if (fd >= 0) FD_SET(fd, &readable);
  return select(fd + 1, &readable, nullptr, nullptr, &timeout) > 0;
}

/// A packet socket that receives the ARP of one interface; -1 when there is none to be had, or none that select takes.
int arp_socket(const Link& link) {
  const int fd = socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) return -1;
  sockaddr_ll local = {};
  local.sll_family = AF_PACKET;
  local.sll_protocol = htons(ETH_P_ARP);
  local.sll_ifindex = link.index;
  if (fd < FD_SETSIZE && bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0) return fd;
  close(fd);
  return -1;
}

bool send_request(int fd, const Link& link, uint32_t destination) {
  ether_arp request = {};
  request.ea_hdr.ar_hrd = htons(ARPHRD_ETHER);
  request.ea_hdr.ar_pro = htons(ETH_P_IP);
  request.ea_hdr.ar_hln = kMacLength;
  request.ea_hdr.ar_pln = sizeof destination;
  request.ea_hdr.ar_op = htons(ARPOP_REQUEST);
  std::memcpy(request.arp_sha, link.mac, kMacLength);
  std::memcpy(request.arp_spa, &link.address, sizeof link.address);
  std::memcpy(request.arp_tpa, &destination, sizeof destination);
  sockaddr_ll everybody = {};
  everybody.sll_family = AF_PACKET;
  everybody.sll_protocol = htons(ETH_P_ARP);
  everybody.sll_ifindex = link.index;
  everybody.sll_halen = kMacLength;
  std::memset(everybody.sll_addr, 0xFF, kMacLength);
  return sendto(fd, &request, sizeof request, 0, reinterpret_cast<const sockaddr*>(&everybody), sizeof everybody) >= 0;
}

/// Takes one packet; returns whether it is the destination's answer.
bool receive_reply(int fd, uint32_t destination, uint8_t (&mac)[kMacLength]) {
  ether_arp reply;
  const ssize_t size = recvfrom(fd, &reply, sizeof reply, 0, nullptr, nullptr);  // cuts off the padding
  if (size != ssize_t{sizeof reply}) return false;
  if (reply.ea_hdr.ar_hrd != htons(ARPHRD_ETHER) || reply.ea_hdr.ar_pro != htons(ETH_P_IP) ||
      reply.ea_hdr.ar_hln != kMacLength || reply.ea_hdr.ar_pln != sizeof destination ||
      reply.ea_hdr.ar_op != htons(ARPOP_REPLY) || std::memcmp(reply.arp_spa, &destination, sizeof destination) != 0)
    return false;
  constexpr uint8_t kNone[kMacLength] = {};
  if ((reply.arp_sha[0] & 1) != 0 || std::memcmp(reply.arp_sha, kNone, kMacLength) == 0) return false;  // no station's
  std::memcpy(mac, reply.arp_sha, kMacLength);
  return true;
}

uint32_t ask_on_link(int fd, const Link& link, uint32_t destination, uint8_t (&mac)[kMacLength]) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (!send_request(fd, link, destination) && errno != ENOBUFS && errno != EAGAIN) return failure();
    for (const int64_t deadline = monotonic_ms() + kAnswerTime; monotonic_ms() < deadline;) {
      if (wait_until(fd, deadline) && receive_reply(fd, destination, mac)) return 0;
    }
  }
  return IPMI_STATUS_APP_NOT_FOUND;
}

/// Makes the kernel resolve the address, and watches its table.
uint32_t ask_kernel(int control, const Link& link, uint32_t destination, uint8_t (&mac)[kMacLength]) {
  const Descriptor sender(udp_socket());
  const sockaddr_in local = endpoint(link.address, 0);
  const sockaddr_in peer = endpoint(destination, kDiscardPort);
  const uint32_t index = htonl(static_cast<uint32_t>(link.index));
  if (!sender.valid()) return IPMI_STATUS_APP_ERROR;
  if (bind(sender.get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0 ||
      setsockopt(sender.get(), IPPROTO_IP, IP_UNICAST_IF, &index, sizeof index) != 0)
    return failure();
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const ssize_t sent = sendto(sender.get(), nullptr, 0, MSG_DONTROUTE | MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&peer), sizeof peer);
    if (sent < 0 && errno != ENOBUFS && errno != EAGAIN) return failure();
    for (const int64_t deadline = monotonic_ms() + kAnswerTime; monotonic_ms() < deadline;) {
      if (look_up(control, link, destination, mac)) return 0;
      (void)wait_until(-1, std::min(deadline, monotonic_ms() + kPollTime));
    }
  }
  return IPMI_STATUS_APP_NOT_FOUND;
}

uint32_t resolve(uint32_t destination, uint32_t source, uint8_t (&mac)[kMacLength]) {
  if (!is_host(destination)) return IPMI_STATUS_APP_INVALID_IP_ADDRESS;
  const Descriptor control(udp_socket());
  if (!control.valid()) return IPMI_STATUS_APP_ERROR;
  Link link = {};
  if (source != 0 && !find_interface(control.get(), source, link.name)) return IPMI_STATUS_APP_INVALID_IP_ADDRESS;
  if (is_loopback(destination)) return 0;  // `mac` is zeros
  if (find_interface(control.get(), destination, link.name)) {
    (void)query_mac(control.get(), link.name, mac);
    return 0;
  }

  link.address = source;
  if (const uint32_t status = find_source(destination, &link.address)) return status;
  if (!find_interface(control.get(), link.address, link.name)) return IPMI_STATUS_APP_NOT_FOUND;
  if (const uint32_t status = open_link(control.get(), link)) return status;
  if (look_up(control.get(), link, destination, mac)) return 0;
  const Descriptor packets(arp_socket(link));
  if (!packets.valid()) return ask_kernel(control.get(), link, destination, mac);
  return ask_on_link(packets.get(), link, destination, mac);
}

}  // namespace
}  // namespace lumi

extern "C" uint32_t GetEthernetInterface(IpmiEthernetInterface* interfaces, uint32_t* count) {
  if (count == nullptr || (interfaces == nullptr && *count != 0)) return IPMI_STATUS_APP_INVALID_PARAMETER;
  return lumi::list_interfaces(interfaces, count);
}

extern "C" uint32_t SendARP(uint32_t destination, uint32_t source, void* mac, uint32_t* length) {
  if (mac == nullptr || length == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  const bool fits = *length >= lumi::kMacLength;
  uint8_t found[lumi::kMacLength] = {};
  const uint32_t status =
      fits ? lumi::resolve(destination, source, found) : uint32_t{IPMI_STATUS_APP_INSUFFICIENT_BUFFER};
  if (status == 0) std::memcpy(mac, found, sizeof found);
  if (status == 0 || !fits) *length = lumi::kMacLength;
  return status;
}
