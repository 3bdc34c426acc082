/* Channels, security keys and sessions (NetFn App), and the serial channel, which ipmi_sim does not have. */
#include <string.h>

#include "module.h"

enum { kChannelMask = 0x0F };

/* Get Channel Info (IPMI v2.0 rev 1.1, 22.24). */
static int get_channel_info(const struct sim_request* request, struct sim_reply* reply) {
  enum { kMediumSerial = 5, kProtocolIpmb = 1, kSingleSession = 0x40 };
  static const unsigned char serial[] = {kChannelSerial, kMediumSerial, kProtocolIpmb, kSingleSession, 0xF2, 0x1B,
                                         0x00,           0x00,          0x00};
  if ((request->data[0] & kChannelMask) != kChannelSerial) return sim_pass(request, reply);
  sim_put(reply, serial, sizeof serial);
  return kCcOk;
}

/* Set and Get Channel Access (22.22, 22.23): of the serial channel here, of others by ipmi_sim. */
enum access_copy { kDoNotChange, kStored, kActive, kReserved };
enum access_mode { kDisabled, kPreBoot, kAlways, kShared };
enum { kCallback = 1, kUser, kOperator, kAdministrator, kOem };

static unsigned char serial_access[kReserved][2] = {
    [kStored] = {kShared, kAdministrator},
    [kActive] = {kShared, kAdministrator},
};

static int set_channel_access(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned int flags_copy = request->data[1] >> 6, limit_copy = request->data[2] >> 6;
  const unsigned int mode = request->data[1] & 0x07, limit = request->data[2] & 0x0F;
  if ((request->data[0] & kChannelMask) != kChannelSerial) return sim_pass(request, reply);
  if (flags_copy == kReserved || limit_copy == kReserved) return kCcInvalidField;
  if (flags_copy != kDoNotChange && mode > kShared) return kCcInvalidField;
  if (limit_copy != kDoNotChange && (limit < kCallback || limit > kOem)) return kCcInvalidField;
  if (flags_copy != kDoNotChange) serial_access[flags_copy][0] = request->data[1] & 0x3F;
  if (limit_copy != kDoNotChange) serial_access[limit_copy][1] = (unsigned char)limit;
  return kCcOk;
}

static int get_channel_access(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned int copy = request->data[1] >> 6;
  if ((request->data[0] & kChannelMask) != kChannelSerial) return sim_pass(request, reply);
  if (copy != kStored && copy != kActive) return kCcInvalidField;
  sim_put(reply, serial_access[copy], sizeof serial_access[copy]);
  return kCcOk;
}

/* Get Channel Authentication Capabilities (22.13). Over LAN ipmi_sim answers before a session, and nothing in one. */
static int get_auth_capabilities(const struct sim_request* request, struct sim_reply* reply) {
  enum { kExtended = 0x80, kNone = 0x01, kAllTypes = 0x17 }; /* none, MD2, MD5, straight password */
  enum { kNamedUsers = 0x04, kAnonymousLogin = 0x01, kIpmi15 = 0x01, kIpmi20 = 0x02 };
  const unsigned int channel = sim_channel(request, request->data[0] & kChannelMask);
  const unsigned int privilege = request->data[1] & 0x0F;
  const int extended = (request->data[0] & kExtended) != 0;
  const int with_sessions = channel == kChannelLan || channel == kChannelSerial;
  if (privilege < kCallback || privilege > kOem) return kCcInvalidField;
  if (!with_sessions && channel != kChannelSystem) return kCcInvalidField;
  const unsigned char data[] = {
      (unsigned char)channel,
      (unsigned char)((with_sessions ? kAllTypes : kNone) | (extended ? kExtended : 0)),
      with_sessions ? kNamedUsers | kAnonymousLogin : kNamedUsers,
      extended ? kIpmi15 | kIpmi20 : 0,
      0,
      0,
      0,
      0,
  };
  sim_put(reply, data, sizeof data);
  return kCcOk;
}

/* Get Session Info (22.20) over the system interface, which has no session of its own. */
static int get_session_info(const struct sim_request* request, struct sim_reply* reply) {
  enum { kCurrent = 0x00, kByHandle = 0xFE, kById = 0xFF, kRmcpPlus = 0x10 };
  static const unsigned char from[] = {127, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0}; /* address, MAC, port */
  const unsigned char* data = request->data;
  const lanserv_data_t* lan = sim_lan(request->mc);
  const unsigned int wanted_length = data[0] == kByHandle ? 2 : data[0] == kById ? 5 : 1;
  const session_t* found = NULL;
  unsigned char active = 0;
  if (request->msg->channel != kChannelSystem) return sim_pass(request, reply);
  if (request->length != wanted_length) return kCcRequestLengthInvalid;
  for (int i = 1; lan != NULL && i <= MAX_SESSIONS; i++) {
    const session_t* session = &lan->sessions[i];
    if (!session->active || session->in_startup) continue;
    active++;
    if (data[0] == kByHandle ? session->handle == data[1]
        : data[0] == kById   ? session->sid == ipmi_get_uint32(request->data + 1)
                             : data[0] == active) {
      found = session;
    }
  }
  if (found == NULL && (data[0] == kByHandle || data[0] == kById)) return kCcNotPresent;
  const unsigned char counts[] = {found != NULL ? (unsigned char)found->handle : 0, MAX_SESSIONS, active};
  sim_put(reply, counts, sizeof counts);
  if (found == NULL) return kCcOk;
  const unsigned char session[] = {found->userid, found->priv,
                                   (unsigned char)(kChannelLan | (found->rmcpplus ? kRmcpPlus : 0))};
  sim_put(reply, session, sizeof session);
  sim_put(reply, from, sizeof from);
  return kCcOk;
}

/* Set Channel Security Keys (22.25): K_R and K_G of the LAN channel. Sessions use K_G when it is not null. */
enum key { kKr, kKg, kKeys };
enum key_operation { kReadKey, kSetKey, kLockKey };
enum { kKeySize = 20, kLocked = 1, kUnlocked = 2 };
enum { kCcKeyLocked = 0x80, kCcKeyTooShort = 0x81, kCcKeyTooLong = 0x82 };

static struct {
  unsigned char value[kKeySize];
  unsigned char status;
} keys[kKeys] = {
    [kKr] = {.value = "reference BMC K_R 01", .status = kUnlocked},
    [kKg] = {.status = kUnlocked},
};

static void use_kg(lmc_data_t* mc) {
  static const unsigned char null_key[kKeySize];
  lanserv_data_t* lan = sim_lan(mc);
  if (lan == NULL) return;
  lan->bmc_key = memcmp(keys[kKg].value, null_key, kKeySize) != 0 ? keys[kKg].value : NULL;
}

static int set_security_keys(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned int operation = request->data[1], key = request->data[2];
  if (sim_channel(request, request->data[0]) != kChannelLan) return kCcInvalidField;
  if (operation > kLockKey || key >= kKeys) return kCcInvalidField;
  if (operation != kSetKey && request->length != 3) return kCcRequestLengthInvalid;
  switch (operation) {
    case kSetKey:
      if (request->length < 3 + kKeySize) return kCcKeyTooShort;
      if (request->length > 3 + kKeySize) return kCcKeyTooLong;
      if (keys[key].status == kLocked) return kCcKeyLocked;
      memcpy(keys[key].value, request->data + 3, kKeySize);
      if (key == kKg) use_kg(request->mc);
      break;
    case kLockKey:
      keys[key].status = kLocked;
      break;
    default:
      break;
  }
  sim_put(reply, &keys[key].status, 1);
  if (operation == kReadKey && keys[key].status != kLocked) sim_put(reply, keys[key].value, kKeySize);
  return kCcOk;
}

const struct sim_command sim_channel_commands[] = {
    {kNetFnApp, 0x38, 2, 2, get_auth_capabilities},
    {kNetFnApp, 0x3D, 1, 5, get_session_info},
    {kNetFnApp, 0x40, 3, 3, set_channel_access},
    {kNetFnApp, 0x41, 2, 2, get_channel_access},
    {kNetFnApp, 0x42, 1, 1, get_channel_info},
    {kNetFnApp, 0x56, 3, 255, set_security_keys},
    {0, 0, 0, 0, NULL},
};
