/* LAN, serial/modem and SOL (NetFn 0Ch), and SOL from before IPMI 2.0 (NetFn 34h). */
#include <string.h>

#include "module.h"

enum { kSetLan = 0x01, kGetLan = 0x02, kSetSerial = 0x10, kGetSerial = 0x11, kSetSol = 0x21, kGetSol = 0x22 };

/* LAN parameters that ipmi_sim lacks: IPMI v2.0 rev 1.1, table 23-4. Destination 0 is the volatile one. */
enum { kDestinations = 4 };

struct lan {
  unsigned char rmcp_port[2];
  unsigned char secondary_rmcp_port[2];
  unsigned char arp_control;
  unsigned char arp_interval;
  unsigned char destinations;
  unsigned char destination_type[1 + kDestinations][3];
  unsigned char destination_address[1 + kDestinations][12];
  unsigned char destination_vlan[1 + kDestinations][3];
  unsigned char bad_password[6];
};

static const struct lan lan_initial = {
    .rmcp_port = {0x6F, 0x02},
    .secondary_rmcp_port = {0x98, 0x02},
    .arp_control = 0x03,
    .arp_interval = 0x04, /* 2 s */
    .destinations = kDestinations,
    /* PET, acknowledged; seconds, retries */
    .destination_type = {{0x00, 0, 0}, {0x80, 5, 3}, {0x00, 3, 1}},
    /* IPv4, gateway, address and MAC */
    .destination_address = {{0},
                            {0x00, 0, 192, 0, 2, 50, 0x02, 0x00, 0x5E, 0x10, 0x00, 0x50},
                            {0x00, 1, 192, 0, 2, 51, 0x02, 0x00, 0x5E, 0x10, 0x00, 0x51}},
    .destination_vlan = {{0}, {0x10, 0x64, 0x60}},        /* destination 1: VLAN 100, priority 3 */
    .bad_password = {0x01, 0x03, 0x06, 0x00, 0x1E, 0x00}, /* 3 in 60 s lock a user for 300 s */
};
static struct lan lan;

static const struct sim_parameter lan_parameters[] = {
    {8, 0, 2, kPlain, offsetof(struct lan, rmcp_port)},
    {9, 0, 2, kPlain, offsetof(struct lan, secondary_rmcp_port)},
    {10, 0, 1, kPlain, offsetof(struct lan, arp_control)},
    {11, 0, 1, kPlain, offsetof(struct lan, arp_interval)},
    {17, 0, 1, kReadOnly, offsetof(struct lan, destinations)},
    {18, 1 + kDestinations, 3, kPlain, offsetof(struct lan, destination_type)},
    {19, 1 + kDestinations, 12, kPlain, offsetof(struct lan, destination_address)},
    {25, 1 + kDestinations, 3, kPlain, offsetof(struct lan, destination_vlan)},
    {26, 0, 6, kPlain, offsetof(struct lan, bad_password)},
};

const struct sim_family sim_lan_family = {lan_parameters, COUNT_OF(lan_parameters), &lan_initial, &lan, sizeof lan};

/* Serial/modem parameters: table 25-4. */
struct serial {
  unsigned char progress;
  unsigned char auth_support;
  unsigned char auth_enables[5];
  unsigned char connection_mode;
  unsigned char inactivity;
  unsigned char termination;
  unsigned char messaging[2];
  unsigned char terminal_mode[2];
  unsigned char port_association[3];
};

static const struct serial serial_initial = {
    .auth_support = 0x17,
    .auth_enables = {0x17, 0x17, 0x17, 0x16, 0x00},
    .connection_mode = 0x87,             /* direct connect; basic, PPP and terminal mode */
    .inactivity = 0x02,                  /* 60 s */
    .termination = 0x03,                 /* on inactivity and on loss of DCD */
    .messaging = {0x60, 0x0A},           /* RTS/CTS, DTR hang-up, 115.2 kbit/s */
    .terminal_mode = {0x63, 0x11},       /* line editing, echo, handshake; CR-LF out, CR in */
    .port_association = {1, 0x21, 0x81}, /* connector 1; port 1 of kind 2; system port 1, and shared */
};
static struct serial serial;

static const struct sim_parameter serial_parameters[] = {
    {0, 0, 1, kProgress, offsetof(struct serial, progress)},
    {1, 0, 1, kReadOnly, offsetof(struct serial, auth_support)},
    {2, 0, 5, kPlain, offsetof(struct serial, auth_enables)},
    {3, 0, 1, kPlain, offsetof(struct serial, connection_mode)},
    {4, 0, 1, kPlain, offsetof(struct serial, inactivity)},
    {6, 0, 1, kPlain, offsetof(struct serial, termination)},
    {7, 0, 2, kPlain, offsetof(struct serial, messaging)},
    {29, 0, 2, kPlain, offsetof(struct serial, terminal_mode)},
    {51, 0, 3, kPlain, offsetof(struct serial, port_association)},
};

const struct sim_family sim_serial_family = {serial_parameters, COUNT_OF(serial_parameters), &serial_initial, &serial,
                                             sizeof serial};

/* SOL parameters that ipmi_sim lacks: table 26-5. */
struct sol {
  unsigned char authentication;
  unsigned char characters[2];
  unsigned char retry[2];
  unsigned char channel;
  unsigned char port[2];
};

static const struct sol sol_initial = {
    .authentication = 0xC4,     /* encryption and authentication forced, administrator */
    .characters = {0x0C, 0x60}, /* 60 ms, 96 characters */
    .retry = {0x07, 0x32},      /* 7 times, 500 ms */
    .channel = kChannelLan,
    .port = {0x6F, 0x02},
};
static struct sol sol;

static const struct sim_parameter sol_parameters[] = {
    {2, 0, 1, kPlain, offsetof(struct sol, authentication)}, {3, 0, 2, kPlain, offsetof(struct sol, characters)},
    {4, 0, 2, kPlain, offsetof(struct sol, retry)},          {7, 0, 1, kReadOnly, offsetof(struct sol, channel)},
    {8, 0, 2, kPlain, offsetof(struct sol, port)},
};

const struct sim_family sim_sol_family = {sol_parameters, COUNT_OF(sol_parameters), &sol_initial, &sol, sizeof sol};

/* What the three have in common: a channel byte and a selector come first. */
struct port {
  const struct sim_family* family;
  unsigned char channel;
  unsigned char has_own; /* ipmi_sim answers what the family does not have, */
  unsigned char set;     /* by these commands */
  unsigned char get;
};

static const struct port lan_port = {&sim_lan_family, kChannelLan, 1, kSetLan, kGetLan};
static const struct port serial_port = {&sim_serial_family, kChannelSerial, 0, kSetSerial, kGetSerial};
static const struct port sol_port = {&sim_sol_family, kChannelLan, 1, kSetSol, kGetSol};

static int set_of(const struct port* port, const struct sim_request* request, struct sim_reply* reply) {
  const unsigned char selector = request->data[1];
  if (sim_channel(request, request->data[0]) != port->channel) return kCcNotPresent;
  if (port->has_own && sim_parameter(port->family, selector) == NULL) {
    request->data[0] = port->channel;
    const int code = sim_own(request, kNetFnTransport, port->set, request->data, request->length, reply);
    reply->length = 0;
    return code;
  }
  return sim_set_parameter(port->family, selector, request->data + 2, request->length - 2);
}

static int get_of(const struct port* port, const struct sim_request* request, struct sim_reply* reply) {
  const unsigned char flags = request->data[0] & 0xF0;
  unsigned char get[] = {port->channel, request->data[1], request->data[2], request->data[3]};
  if (sim_channel(request, request->data[0] & 0x0F) != port->channel) return kCcNotPresent;
  if (port->has_own && sim_parameter(port->family, get[1]) == NULL) {
    const int code = sim_own(request, kNetFnTransport, port->get, get, sizeof get, reply);
    if (code == kCcOk && (flags & kRevisionOnly) != 0) reply->length = 1;
    return code;
  }
  get[0] |= flags;
  return sim_get_parameter(port->family, get, reply);
}

static int set_lan(const struct sim_request* request, struct sim_reply* reply) {
  return set_of(&lan_port, request, reply);
}

static int get_lan(const struct sim_request* request, struct sim_reply* reply) {
  return get_of(&lan_port, request, reply);
}

static int set_serial(const struct sim_request* request, struct sim_reply* reply) {
  return set_of(&serial_port, request, reply);
}

static int get_serial(const struct sim_request* request, struct sim_reply* reply) {
  return get_of(&serial_port, request, reply);
}

static int set_sol(const struct sim_request* request, struct sim_reply* reply) {
  return sim_sys->sol_present ? set_of(&sol_port, request, reply) : kCcInvalidCommand;
}

static int get_sol(const struct sim_request* request, struct sim_reply* reply) {
  return sim_sys->sol_present ? get_of(&sol_port, request, reply) : kCcInvalidCommand;
}

/* Get IP/UDP/RMCP Statistics (23.4). Clearing comes after the answer. */
static int get_statistics(const struct sim_request* request, struct sim_reply* reply) {
  enum { kCounters = 9, kClear = 0x01 };
  /* IP packets, header errors, address errors, fragments, sent; UDP packets; RMCP packets; proxy UDP packets, dropped
   */
  static unsigned int counters[kCounters] = {1234, 1, 2, 3, 1180, 1190, 1150, 4, 5};
  if (sim_channel(request, request->data[0]) != kChannelLan) return kCcNotPresent;
  for (int i = 0; i < kCounters; i++) {
    const unsigned char counter[] = {(unsigned char)counters[i], (unsigned char)(counters[i] >> 8)};
    sim_put(reply, counter, sizeof counter);
  }
  if ((request->data[1] & kClear) != 0) memset(counters, 0, sizeof counters);
  return kCcOk;
}

/* Set Serial/Modem Mux (25.3). Requests can be blocked, forcing cannot. */
enum mux_setting {
  kMuxStatus,
  kRequestSystem,
  kRequestBmc,
  kForceSystem,
  kForceBmc,
  kBlockSystem,
  kAllowSystem,
  kBlockBmc,
  kAllowBmc
};

static int set_serial_mux(const struct sim_request* request, struct sim_reply* reply) {
  enum { kToBmc = 0x01, kAccepted = 0x02, kBmcBlocked = 0x40, kSystemBlocked = 0x80 };
  static unsigned char mux; /* all but accepted; the system has the port at first */
  int accepted = 1;
  if (sim_channel(request, request->data[0]) != kChannelSerial) return kCcNotPresent;
  switch (request->data[1]) {
    case kMuxStatus:
      break;
    case kRequestSystem:
      accepted = (mux & kSystemBlocked) == 0;
      if (accepted) mux &= (unsigned char)~kToBmc;
      break;
    case kRequestBmc:
      accepted = (mux & kBmcBlocked) == 0;
      if (accepted) mux |= kToBmc;
      break;
    case kForceSystem:
      mux &= (unsigned char)~kToBmc;
      break;
    case kForceBmc:
      mux |= kToBmc;
      break;
    case kBlockSystem:
      mux |= kSystemBlocked;
      break;
    case kAllowSystem:
      mux &= (unsigned char)~kSystemBlocked;
      break;
    case kBlockBmc:
      mux |= kBmcBlocked;
      break;
    case kAllowBmc:
      mux &= (unsigned char)~kBmcBlocked;
      break;
    default:
      return kCcInvalidField;
  }
  const unsigned char status = mux | (accepted ? kAccepted : 0);
  sim_put(reply, &status, 1);
  return kCcOk;
}

/* Set Serial Routing Mux (25.13): channel, connector, setting; setting 0 only asks. */
static int set_routing_mux(const struct sim_request* request, struct sim_reply* reply) {
  static unsigned char routing = 0x01;
  const unsigned char setting = request->data[2];
  if (sim_channel(request, request->data[0]) != kChannelSerial) return kCcNotPresent;
  if (setting > 0x0F) return kCcInvalidField;
  if (setting != 0) routing = setting;
  sim_put(reply, &routing, 1);
  return kCcOk;
}

/* SOL from before IPMI 2.0: the same parameters, with channel 0. */
static int set_old_sol(const struct sim_request* request, struct sim_reply* reply) {
  if (request->data[0] != 0) return kCcInvalidField;
  request->data[0] = kChannelLan;
  return set_sol(request, reply);
}

static int get_old_sol(const struct sim_request* request, struct sim_reply* reply) {
  if ((request->data[0] & ~kRevisionOnly) != 0) return kCcInvalidField;
  request->data[0] |= kChannelLan;
  return get_sol(request, reply);
}

/* Whether it is active, and the byte that came with it. */
static unsigned char old_sol[2];

static int activate_old_sol(const struct sim_request* request, struct sim_reply* reply) {
  enum { kActive = 0x80 };
  old_sol[0] = request->data[0] & 0x01;
  old_sol[1] = request->data[1];
  const unsigned char data[] = {old_sol[0] ? kActive | 0x01 : 0x00, 0x01, 0x40, 0x20};
  sim_put(reply, data, sizeof data);
  return kCcOk;
}

static int get_old_sol_status(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned char data[5] = {old_sol[0], old_sol[1]};
  (void)request;
  sim_put(reply, data, sizeof data);
  return kCcOk;
}

const struct sim_command sim_transport_commands[] = {
    {kNetFnTransport, kSetLan, 3, 255, set_lan},     {kNetFnTransport, kGetLan, 4, 4, get_lan},
    {kNetFnTransport, 0x04, 2, 2, get_statistics},   {kNetFnTransport, kSetSerial, 3, 255, set_serial},
    {kNetFnTransport, kGetSerial, 4, 4, get_serial}, {kNetFnTransport, 0x12, 2, 2, set_serial_mux},
    {kNetFnTransport, 0x1C, 3, 3, set_routing_mux},  {kNetFnTransport, kSetSol, 3, 255, set_sol},
    {kNetFnTransport, kGetSol, 4, 4, get_sol},       {kNetFnOemSol, 0x01, 5, 5, activate_old_sol},
    {kNetFnOemSol, 0x03, 3, 255, set_old_sol},       {kNetFnOemSol, 0x04, 4, 4, get_old_sol},
    {kNetFnOemSol, 0x05, 0, 0, get_old_sol_status},  {0, 0, 0, 0, NULL},
};
