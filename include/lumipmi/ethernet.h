/** @file ethernet.h
 *  The controller's own Ethernet interfaces, and the MAC addresses of its neighbours.
 *
 *  IPv4 addresses and masks are in network byte order, as in struct in_addr. Both calls ask the kernel each time and
 *  keep nothing; they are safe from any thread and look at the calling thread's network namespace. */
#ifndef LUMIPMI_ETHERNET_H
#define LUMIPMI_ETHERNET_H

#include <stdint.h>

#include "lumipmi/export.h"

/** Bits of IpmiEthernetInterface.flags; the others are 0. */
enum {
  IPMI_ETHERNET_UP = 0x01,      /**< switched on by the administrator */
  IPMI_ETHERNET_RUNNING = 0x02, /**< up and with a link */
  IPMI_ETHERNET_LOOPBACK = 0x04 /**< leads back to this host */
};

/** A network interface, 40 bytes. Its first IPv4 address counts; further ones and aliases (eth0:1) are left out. */
typedef struct IpmiEthernetInterface {
  char name[16];      /**< terminated, such as "eth0" */
  uint32_t index;     /**< the kernel's number of the interface, from 1 */
  uint32_t address;   /**< IPv4, 0 without one */
  uint32_t netmask;   /**< of that address; 0 without one */
  uint32_t broadcast; /**< of that address; 0 without one and where there is no broadcast */
  uint8_t mac[6];     /**< 0 for anything but Ethernet, the loopback interface included */
  uint16_t flags;     /**< IPMI_ETHERNET_* */
} IpmiEthernetInterface;

LUMI_BEGIN_DECLS

/**
 * Lists the network interfaces, in the kernel's order: all kinds, loopback included, whether or not they are up or have
 * an address.
 * @param[out]    interfaces  Receives *count records, which are written only on success. May be null when *count is 0.
 * @param[in,out] count       In: records that interfaces has room for. Out: records filled; on
 *                            IPMI_STATUS_APP_INSUFFICIENT_BUFFER those needed; untouched on any other failure.
 * @returns
 * - 0: the records are filled.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: count is null, or interfaces is null and *count is not 0.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: there are more interfaces than records. By the next call there may be more
 *   again.
 * - IPMI_STATUS_APP_ERROR: the kernel gave no list or no socket; errno tells why.
 */
LUMI_API uint32_t GetEthernetInterface(IpmiEthernetInterface *interfaces, uint32_t *count);

/**
 * Finds the MAC address of an IPv4 host on a directly attached network.
 *
 * An address of this host gives its interface's MAC at once, which is six zeros for loopback addresses. Otherwise the
 * kernel's ARP table is read (SIOCGARP). Without an entry there, up to three ARP requests go out, each waited for about
 * a second, and the first valid answer ends the wait. This takes the privilege for packet sockets (CAP_NET_RAW) and
 * leaves the kernel's table as it is. Without the privilege up to three empty UDP datagrams to the destination's
 * discard port (9) make the kernel resolve the address instead, and its table is read until the entry is there.
 *
 * @param[in]     destination  Host to resolve.
 * @param[in]     source       Address of this host: its interface is asked, and the request carries it. 0: the
 *                             interface and the address that the kernel's routes give.
 * @param[out]    mac          Receives 6 bytes, in the order of the wire; untouched on failure.
 * @param[in,out] length       In: size of mac in bytes. Out: 6, on success and on IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
 *                             untouched on any other failure.
 * @returns
 * - 0: mac is filled.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: mac or length is null.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: *length is less than 6.
 * - IPMI_STATUS_APP_INVALID_IP_ADDRESS: destination is 0, a broadcast or a multicast address, or source is no address
 *   of this host.
 * - IPMI_STATUS_APP_UNSUPPORT_OPERATION: the interface is none that does ARP over Ethernet.
 * - IPMI_STATUS_APP_NOT_FOUND: the host did not answer, after about 3 seconds; at once when the interface is down, or
 *   with source 0 when no route leads to the destination or only one through a gateway.
 * - IPMI_STATUS_APP_ERROR: a socket could not be made or used; errno tells why.
 */
LUMI_API uint32_t SendARP(uint32_t destination, uint32_t source, void *mac, uint32_t *length);

LUMI_END_DECLS

#endif
