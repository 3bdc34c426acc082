/* Payloads (NetFn App). A LAN session has ipmi_sim's; the system interface has a model of one SOL instance. */
#include <string.h>

#include "module.h"

enum payload { kIpmi = 0x00, kSol = 0x01, kSessionSetup = 0x10, kLastSessionSetup = 0x15 };
enum { kTypeMask = 0x3F, kInstance = 1, kInstances = 1 };
enum { kCcAlreadyActive = 0x80, kCcAlreadyInactive = 0x80, kCcDisabled = 0x81, kCcNoSuchPayload = 0x80 };

static int is_local(const struct sim_request* request) {
  return request->msg->channel == kChannelSystem;
}

static int channel_exists(unsigned int channel) {
  return channel == kChannelIpmb || channel == kChannelLan || channel == kChannelSerial || channel == kChannelSystem;
}

static int has_payload(unsigned int channel, unsigned int type) {
  if (!channel_exists(channel)) return 0;
  if (type == kIpmi) return 1;
  if (channel != kChannelLan) return 0;
  return (type == kSol && sim_sys->sol_present) || (type >= kSessionSetup && type <= kLastSessionSetup);
}

/* SOL parameter 1, which ipmi_sim keeps. */
static int sol_is_enabled(const struct sim_request* request) {
  enum { kGetSol = 0x22, kSolEnable = 1 };
  unsigned char get[] = {kChannelLan, kSolEnable, 0, 0};
  struct sim_reply reply = {.length = 0};
  return sim_own(request, kNetFnTransport, kGetSol, get, sizeof get, &reply) == kCcOk && reply.length > 1 &&
         (reply.data[1] & 0x01) != 0;
}

static int sol_is_active;

/* What the next two ask of a request over the system interface: SOL, instance 1. */
static int check_instance(const struct sim_request* request) {
  if ((request->data[0] & kTypeMask) != kSol || !sim_sys->sol_present) return kCcInvalidField;
  return (request->data[1] & 0x0F) == kInstance ? kCcOk : kCcInvalidField;
}

/* Activate Payload (IPMI v2.0 rev 1.1, 24.1). */
static int activate_payload(const struct sim_request* request, struct sim_reply* reply) {
  static const unsigned char activated[] = {0x00, 0x00, 0x00, 0x00,  /* no test mode */
                                            0x00, 0x01, 0x00, 0x01,  /* 256 bytes in and out */
                                            0x6F, 0x02, 0xFF, 0xFF}; /* port 623, no VLAN */
  if (!is_local(request)) return sim_pass(request, reply);
  const int code = check_instance(request);
  if (code != kCcOk) return code;
  if (!sol_is_enabled(request)) return kCcDisabled;
  if (sol_is_active) return kCcAlreadyActive;
  sol_is_active = 1;
  sim_put(reply, activated, sizeof activated);
  return kCcOk;
}

/* Deactivate Payload (24.2). */
static int deactivate_payload(const struct sim_request* request, struct sim_reply* reply) {
  if (!is_local(request)) return sim_pass(request, reply);
  const int code = check_instance(request);
  if (code != kCcOk) return code;
  if (!sol_is_active) return kCcAlreadyInactive;
  sol_is_active = 0;
  return kCcOk;
}

/* Get Payload Activation Status (24.4). */
static int get_payload_status(const struct sim_request* request, struct sim_reply* reply) {
  if (!is_local(request)) return sim_pass(request, reply);
  if ((request->data[0] & kTypeMask) != kSol || !sim_sys->sol_present) return kCcInvalidField;
  const unsigned char data[] = {kInstances, (unsigned char)sol_is_active, 0};
  sim_put(reply, data, sizeof data);
  return kCcOk;
}

/* Get Payload Instance Info (24.5): who activated it, and the number of the serial port. */
static int get_payload_instance(const struct sim_request* request, struct sim_reply* reply) {
  if (!is_local(request)) return sim_pass(request, reply);
  const int code = check_instance(request);
  if (code != kCcOk) return code;
  const unsigned char active = (unsigned char)sol_is_active;
  const unsigned char data[12] = {active, 0, 0, 0, active};
  sim_put(reply, data, sizeof data);
  return kCcOk;
}

/* Set and Get User Payload Access (24.6, 24.7): SOL for the users of lan.conf.in with a name, at first. */
enum { kAccessBytes = 4, kSolAllowed = 0x02 };
enum { kEnable = 0, kDisable = 1 };

static unsigned char payload_access[kChannelSerial + 1][MAX_USERS + 1][kAccessBytes] = {
    [kChannelLan] = {[2] = {kSolAllowed}, [3] = {kSolAllowed}, [4] = {kSolAllowed}},
};

/* NULL for user 0 and for a channel without sessions. */
static unsigned char* access_of(const struct sim_request* request) {
  const unsigned int channel = sim_channel(request, request->data[0]);
  const unsigned int user = request->data[1] & 0x3F;
  if ((channel != kChannelLan && channel != kChannelSerial) || user == 0) return NULL;
  return payload_access[channel][user];
}

static int set_payload_access(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned int operation = request->data[1] >> 6;
  unsigned char* access = access_of(request);
  (void)reply;
  if (access == NULL || operation > kDisable) return kCcInvalidField;
  for (int i = 0; i < kAccessBytes; i++) {
    const unsigned char named = request->data[2 + i];
    access[i] = (unsigned char)(operation == kEnable ? access[i] | named : access[i] & ~named);
  }
  return kCcOk;
}

static int get_payload_access(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned char* access = access_of(request);
  if (access == NULL || request->data[1] > 0x3F) return kCcInvalidField;
  sim_put(reply, access, kAccessBytes);
  return kCcOk;
}

/* Get Channel Payload Support (24.8). */
static int get_payload_support(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned int channel = sim_channel(request, request->data[0]);
  unsigned char types[8] = {0};
  if (!channel_exists(channel)) return kCcInvalidField;
  for (unsigned int type = kIpmi; type <= kLastSessionSetup; type++) {
    if (has_payload(channel, type)) types[type / 8] |= (unsigned char)(1u << type % 8);
  }
  sim_put(reply, types, sizeof types);
  return kCcOk;
}

/* Get Channel Payload Version (24.9): 1.0. */
static int get_payload_version(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned char version = 0x10;
  const unsigned int channel = sim_channel(request, request->data[0]);
  if (!channel_exists(channel)) return kCcInvalidField;
  if (!has_payload(channel, request->data[1])) return kCcNoSuchPayload;
  sim_put(reply, &version, 1);
  return kCcOk;
}

const struct sim_command sim_payload_commands[] = {
    {kNetFnApp, 0x48, 6, 6, activate_payload},
    {kNetFnApp, 0x49, 6, 6, deactivate_payload},
    {kNetFnApp, 0x4A, 1, 1, get_payload_status},
    {kNetFnApp, 0x4B, 2, 2, get_payload_instance},
    {kNetFnApp, 0x4C, 2 + kAccessBytes, 2 + kAccessBytes, set_payload_access},
    {kNetFnApp, 0x4D, 2, 2, get_payload_access},
    {kNetFnApp, 0x4E, 1, 1, get_payload_support},
    {kNetFnApp, 0x4F, 2, 2, get_payload_version},
    {0, 0, 0, 0, NULL},
};
