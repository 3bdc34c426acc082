/* Chassis commands (NetFn 00h). Power itself is ipmi_sim's. */
#include <string.h>

#include "module.h"

enum { kGetStatus = 0x01, kControl = 0x02, kIdentify = 0x04, kSetBootOptions = 0x08 };

enum capability { kFlags, kFru, kSdr, kSel, kManagement, kBridge, kCapabilities };

/* Intrusion, front panel lockout, diagnostic interrupt; all devices are the BMC. */
static unsigned char capabilities[kCapabilities] = {0x07, 0x20, 0x20, 0x20, 0x20, 0x20};

/* Get Chassis Capabilities (IPMI v2.0 rev 1.1, 28.1). */
static int get_capabilities(const struct sim_request* request, struct sim_reply* reply) {
  (void)request;
  sim_put(reply, capabilities, sizeof capabilities);
  return kCcOk;
}

/* Set Chassis Capabilities (28.7): of the flags only intrusion and lockout can be set; the bridge need not come. */
static int set_capabilities(const struct sim_request* request, struct sim_reply* reply) {
  (void)reply;
  const unsigned char fixed = capabilities[kFlags] & 0x0C;
  if (request->data[kFlags] > 0x03) return kCcInvalidField;
  memcpy(capabilities, request->data, request->length);
  capabilities[kFlags] |= fixed;
  return kCcOk;
}

enum restore_policy { kStayOff, kAsBefore, kPowerUp, kNoChange };
enum { kAllPolicies = 0x07 };

static unsigned char restore_policy = kAsBefore;

/* Set Power Restore Policy (28.8). */
static int set_restore_policy(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned char supported = kAllPolicies;
  if (request->data[0] > kNoChange) return kCcInvalidField;
  if (request->data[0] != kNoChange) restore_policy = request->data[0];
  sim_put(reply, &supported, 1);
  return kCcOk;
}

/* Chassis Identify (28.5): for some seconds, or until told otherwise. */
enum identify { kIdentifyOff, kIdentifyTimed, kIdentifyForced };
enum { kDefaultSeconds = 15 };

static enum identify identify;
static unsigned long long identify_until;

static enum identify identify_now(void) {
  if (identify == kIdentifyTimed && sim_now() >= identify_until) identify = kIdentifyOff;
  return identify;
}

static int chassis_identify(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned int seconds = request->length > 0 ? request->data[0] : kDefaultSeconds;
  const int code = sim_pass(request, reply); /* chassis-control hears of it */
  if (code != kCcOk) return code;
  reply->length = 0;
  identify_until = sim_now() + 1000ull * seconds;
  identify = seconds != 0 ? kIdentifyTimed : kIdentifyOff;
  if (request->length > 1 && (request->data[1] & 0x01) != 0) identify = kIdentifyForced;
  return kCcOk;
}

/* Set Front Panel Enables (28.6): standby, diagnostic interrupt, reset and power off buttons, all of them. */
enum { kButtons = 0x0F };

static unsigned char buttons_disabled;

static int set_front_panel_enables(const struct sim_request* request, struct sim_reply* reply) {
  (void)reply;
  if (request->data[0] > kButtons) return kCcInvalidField;
  buttons_disabled = request->data[0];
  return kCcOk;
}

/* Set Power Cycle Interval (28.9): nothing shows it. */
static int set_power_cycle_interval(const struct sim_request* request, struct sim_reply* reply) {
  (void)request;
  (void)reply;
  return kCcOk;
}

/* Get POH Counter (28.14): hours, beginning with a year. */
static int get_poh_counter(const struct sim_request* request, struct sim_reply* reply) {
  enum { kMinutesPerCount = 60, kHoursBefore = 8760, kMsPerHour = 3600 * 1000 };
  static unsigned long long started;
  (void)request;
  if (started == 0) started = sim_now();
  const unsigned int hours = kHoursBefore + (unsigned int)((sim_now() - started) / kMsPerHour);
  const unsigned char data[] = {kMinutesPerCount, (unsigned char)hours, (unsigned char)(hours >> 8),
                                (unsigned char)(hours >> 16), (unsigned char)(hours >> 24)};
  sim_put(reply, data, sizeof data);
  return kCcOk;
}

/* Get System Restart Cause (28.11). */
enum restart_cause { kCauseControl = 0x01, kCausePolicy = 0x07 };

static unsigned char restart[] = {kCausePolicy, kChannelIpmb}; /* cause and channel */

static int get_restart_cause(const struct sim_request* request, struct sim_reply* reply) {
  (void)request;
  sim_put(reply, restart, sizeof restart);
  return kCcOk;
}

/* Chassis Control (28.3). */
enum control { kDown, kUp, kCycle, kReset, kDiagnosticInterrupt, kSoftShutdown };

static unsigned char last_power_event;

static int control(const struct sim_request* request, unsigned char operation, struct sim_reply* reply) {
  enum { kOnByCommand = 0x10 };
  if (operation > kSoftShutdown) return kCcInvalidField;
  if (operation == kDiagnosticInterrupt) return kCcOk;
  const int code = sim_own(request, kNetFnChassis, kControl, &operation, 1, reply);
  if (code != kCcOk) return code;
  reply->length = 0;
  if (operation == kUp || operation == kCycle) last_power_event = kOnByCommand;
  if (operation == kUp || operation == kCycle || operation == kReset) {
    restart[0] = kCauseControl;
    restart[1] = request->msg->channel;
  }
  return kCcOk;
}

static int chassis_control(const struct sim_request* request, struct sim_reply* reply) {
  return control(request, request->data[0], reply);
}

/* Chassis Reset (28.4). */
static int chassis_reset(const struct sim_request* request, struct sim_reply* reply) {
  return control(request, kReset, reply);
}

/* Get Chassis Status (28.2). */
static int get_status(const struct sim_request* request, struct sim_reply* reply) {
  enum { kPowerBits = 0x1F, kIdentifyKnown = 0x40, kLockoutActive = 0x02 };
  const int code = sim_pass(request, reply);
  if (code != kCcOk) return code;
  const unsigned char data[] = {
      (unsigned char)((reply->data[0] & kPowerBits) | restore_policy << 5),
      last_power_event,
      (unsigned char)(kIdentifyKnown | identify_now() << 4 | (buttons_disabled != 0 ? kLockoutActive : 0)),
      (unsigned char)(kButtons << 4 | buttons_disabled),
  };
  reply->length = 0;
  sim_put(reply, data, sizeof data);
  return kCcOk;
}

/* System boot options (28.12 to 28.14). */
enum { kBootVersion = 0x01, kMarkInvalid = 0x80, kBootSelector = 0x7F, kBootFlags = 5, kMailboxBlocks = 5 };

struct boot {
  unsigned char progress;
  unsigned char partition;
  unsigned char partition_scan;
  unsigned char flag_clearing;
  unsigned char acknowledge[2];
  unsigned char flags[5];
  unsigned char initiator[9];
  unsigned char mailbox[kMailboxBlocks][16];
  unsigned char oem_mux;
};

static const struct boot boot_initial = {
    .partition = 0x01,
    .partition_scan = 0x01,
    .flag_clearing = 0x08,                   /* not by the time-out of 60 s */
    .acknowledge = {0x00, 0x01},             /* handled by the BIOS */
    .flags = {0x80, 0x08, 0x00, 0x00, 0x00}, /* valid for the next start, from disk */
    .initiator = {kChannelLan, 0, 0, 0, 0, 0x84, 0xF4, 0x53, 0x65},
    .mailbox = {{0x40, 0x42, 0x0F, 'm', 'a', 'i', 'l'}},
    .oem_mux = 0x01,
};
static struct boot boot;
static unsigned char boot_invalid[kBootSelector + 1];

static const struct sim_parameter boot_parameters[] = {
    {0, 0, 1, kProgress, offsetof(struct boot, progress)},
    {1, 0, 1, kPlain, offsetof(struct boot, partition)},
    {2, 0, 1, kPlain, offsetof(struct boot, partition_scan)},
    {3, 0, 1, kPlain, offsetof(struct boot, flag_clearing)},
    {4, 0, 2, kMasked, offsetof(struct boot, acknowledge)},
    {5, 0, 5, kPlain, offsetof(struct boot, flags)},
    {6, 0, 9, kPlain, offsetof(struct boot, initiator)},
    {7, kMailboxBlocks, 16, kPartial, offsetof(struct boot, mailbox)},
    {0x60, 0, 1, kPlain, offsetof(struct boot, oem_mux)},
};

const struct sim_family sim_boot_family = {boot_parameters, COUNT_OF(boot_parameters), &boot_initial, &boot,
                                           sizeof boot};

/* Set System Boot Options: a selector alone changes only whether the parameter is valid. */
static int set_boot_options(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned int selector = request->data[0] & kBootSelector;
  if (sim_parameter(&sim_boot_family, selector) == NULL) return kCcParameterUnsupported;
  if (request->length > 1) {
    const int code = sim_set_parameter(&sim_boot_family, selector, request->data + 1, request->length - 1);
    if (code != kCcOk) return code;
  }
  boot_invalid[selector] = request->data[0] & kMarkInvalid;
  if (selector == kBootFlags && request->length > 1) {
    /* ipmi_sim knows a few boot devices and tells chassis-control; that it does not know others is no fault. */
    (void)sim_pass(request, reply);
    reply->length = 0;
  }
  return kCcOk;
}

static int get_boot_options(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned int selector = request->data[0];
  if (selector > kBootSelector) return kCcInvalidField;
  const unsigned char head[] = {kBootVersion, (unsigned char)(selector | boot_invalid[selector])};
  sim_put(reply, head, sizeof head);
  return sim_read_parameter(&sim_boot_family, selector, request->data[1], reply);
}

const struct sim_command sim_chassis_commands[] = {
    {kNetFnChassis, 0x00, 0, 0, get_capabilities},
    {kNetFnChassis, kGetStatus, 0, 0, get_status},
    {kNetFnChassis, kControl, 1, 1, chassis_control},
    {kNetFnChassis, 0x03, 0, 0, chassis_reset},
    {kNetFnChassis, kIdentify, 0, 2, chassis_identify},
    {kNetFnChassis, 0x05, kBridge, kCapabilities, set_capabilities},
    {kNetFnChassis, 0x06, 1, 1, set_restore_policy},
    {kNetFnChassis, 0x07, 0, 0, get_restart_cause},
    {kNetFnChassis, kSetBootOptions, 1, 17 + 1, set_boot_options},
    {kNetFnChassis, 0x09, 3, 3, get_boot_options},
    {kNetFnChassis, 0x0A, 1, 1, set_front_panel_enables},
    {kNetFnChassis, 0x0B, 1, 1, set_power_cycle_interval},
    {kNetFnChassis, 0x0F, 0, 0, get_poh_counter},
    {0, 0, 0, 0, NULL},
};
