/* Entry points of the ipmi_sim module, its options, and the way of a request to its command and back. */
#include "module.h"

#include <errno.h>
#include <string.h>
#include <sys/time.h>

#define SIM_EXPORT __attribute__((visibility("default")))

SIM_EXPORT int ipmi_sim_module_print_version(sys_data_t* sys, const char* options);
SIM_EXPORT int ipmi_sim_module_init(sys_data_t* sys, const char* options);

sys_data_t* sim_sys;

static const struct sim_command* const families[] = {
    sim_app_commands,       sim_channel_commands, sim_chassis_commands,  sim_oem_commands,
    sim_payload_commands,   sim_sensor_commands,  sim_storage_commands,  sim_sysinfo_commands,
    sim_transport_commands, sim_user_commands,    sim_watchdog_commands,
};

static int long_answers;

static const struct option {
  const char* name;
  int* flag;
} options_known[] = {
    {"long", &long_answers},
};

/* ipmi_sim's own handlers by command, and a copy from before those of this module replace some. */
extern cmd_handler_f chassis_netfn_handlers[256];
extern cmd_handler_f sensor_event_netfn_handlers[256];
extern cmd_handler_f app_netfn_handlers[256];
extern cmd_handler_f storage_netfn_handlers[256];
extern cmd_handler_f transport_netfn_handlers[256];

static struct {
  enum sim_netfn netfn;
  cmd_handler_f* from;
  cmd_handler_f handlers[256];
} own[] = {
    {.netfn = kNetFnChassis, .from = chassis_netfn_handlers},
    {.netfn = kNetFnSensorEvent, .from = sensor_event_netfn_handlers},
    {.netfn = kNetFnApp, .from = app_netfn_handlers},
    {.netfn = kNetFnStorage, .from = storage_netfn_handlers},
    {.netfn = kNetFnTransport, .from = transport_netfn_handlers},
};

void sim_put(struct sim_reply* reply, const void* data, unsigned int length) {
  const unsigned int room = (unsigned int)sizeof reply->data - reply->length;
  if (length > room) length = room;
  memcpy(reply->data + reply->length, data, length);
  reply->length += length;
}

int sim_own(const struct sim_request* request, enum sim_netfn netfn, unsigned char cmd, unsigned char* data,
            unsigned int length, struct sim_reply* reply) {
  unsigned char answer[kAnswerRoom] = {kCcOk};
  unsigned int answered = sizeof answer;
  cmd_handler_f handler = NULL;
  for (size_t i = 0; i < COUNT_OF(own); i++) {
    if (own[i].netfn == netfn) handler = own[i].handlers[cmd];
  }
  if (handler == NULL) return kCcInvalidCommand;
  msg_t probe = *request->msg;
  probe.netfn = (unsigned char)netfn;
  probe.cmd = cmd;
  probe.data = data;
  probe.len = length;
  handler(request->mc, &probe, answer, &answered, NULL);
  if (answered >= sizeof answer) answered = 1;
  reply->length = 0;
  if (answered > 1) sim_put(reply, answer + 1, answered - 1);
  return answer[0];
}

int sim_pass(const struct sim_request* request, struct sim_reply* reply) {
  return sim_own(request, request->msg->netfn, request->msg->cmd, request->data, request->length, reply);
}

unsigned long long sim_now(void) {
  struct timeval now = {0};
  sim_sys->get_monotonic_time(sim_sys, &now);
  return (unsigned long long)now.tv_sec * 1000 + (unsigned long long)now.tv_usec / 1000;
}

unsigned int sim_channel(const struct sim_request* request, unsigned int channel) {
  return channel == kChannelThis ? request->msg->channel : channel;
}

lanserv_data_t* sim_lan(lmc_data_t* mc) {
  const channel_t* channel = sim_sys->mc_get_channelset(mc)[kChannelLan];
  return channel != NULL ? channel->chan_info : NULL;
}

/* Every command of the module comes here first; its row is the callback data. */
static void run(lmc_data_t* mc, msg_t* msg, unsigned char* rdata, unsigned int* rdata_len, void* cb_data) {
  const struct sim_command* command = cb_data;
  const struct sim_request request = {.mc = mc, .msg = msg, .data = msg->data, .length = msg->len};
  struct sim_reply reply = {.length = 0};
  int code = kCcRequestLengthInvalid;
  if (msg->len >= command->shortest && msg->len <= command->longest) code = command->handler(&request, &reply);
  if (code != kCcOk) reply.length = 0;
  rdata[0] = (unsigned char)code;
  memcpy(rdata + 1, reply.data, reply.length);
  *rdata_len = 1 + reply.length;
}

/* Options are words separated by blanks or commas. */
static int parse_options(sys_data_t* sys, const char* text) {
  static const char separators[] = " ,";
  while (*(text += strspn(text, separators)) != '\0') {
    const size_t length = strcspn(text, separators);
    const struct option* known = NULL;
    for (size_t i = 0; i < COUNT_OF(options_known); i++) {
      const char* name = options_known[i].name;
      if (strlen(name) == length && memcmp(name, text, length) == 0) known = &options_known[i];
    }
    if (known == NULL) {
      sys->log(sys, SETUP_ERROR, NULL, "lumipmi-sim: error: unknown option \"%.*s\" (known: long)\n", (int)length,
               text);
      return EINVAL;
    }
    *known->flag = 1;
    text += length;
  }
  return 0;
}

int ipmi_sim_module_print_version(sys_data_t* sys, const char* options) {
  (void)sys;
  (void)options;
  return 0;
}

int ipmi_sim_module_init(sys_data_t* sys, const char* options) {
  sim_sys = sys;
  int error = parse_options(sys, options == NULL ? "" : options);
  if (error == 0) error = sim_install_faults(sys, long_answers);
  sim_reset_parameters(1);
  for (size_t i = 0; i < COUNT_OF(own); i++) memcpy(own[i].handlers, own[i].from, sizeof own[i].handlers);
  for (size_t f = 0; f < COUNT_OF(families); f++) {
    for (const struct sim_command* command = families[f]; error == 0 && command->handler != NULL; command++) {
      /* The callback data are only read. */
      error = ipmi_emu_register_cmd_handler(command->netfn, command->cmd, run, (void*)command);
    }
  }
  return error;
}
