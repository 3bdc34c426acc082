/* Entry points of the ipmi_sim module, its options, and the registration of its commands. */
#include "module.h"

#include <errno.h>
#include <string.h>

#define SIM_EXPORT __attribute__((visibility("default")))

SIM_EXPORT int ipmi_sim_module_print_version(sys_data_t* sys, const char* options);
SIM_EXPORT int ipmi_sim_module_init(sys_data_t* sys, const char* options);

sys_data_t* sim_sys;

static const struct sim_command* const families[] = {
    sim_app_commands,
    sim_sensor_commands,
};

static int long_answers;

static const struct option {
  const char* name;
  int* flag;
} options_known[] = {
    {"long", &long_answers},
};

#define COUNT_OF(array) (sizeof(array) / sizeof((array)[0]))

void sim_answer(enum sim_completion code, unsigned char* rdata, unsigned int* rdata_len) {
  rdata[0] = (unsigned char)code;
  *rdata_len = 1;
}

void sim_answer_data(const unsigned char* data, unsigned int length, unsigned char* rdata, unsigned int* rdata_len) {
  rdata[0] = kCcOk;
  memcpy(rdata + 1, data, length);
  *rdata_len = 1 + length;
}

int sim_has_length(const msg_t* msg, unsigned int length, unsigned char* rdata, unsigned int* rdata_len) {
  if (msg->len == length) return 1;
  sim_answer(kCcRequestLengthInvalid, rdata, rdata_len);
  return 0;
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
  for (size_t f = 0; f < COUNT_OF(families); f++) {
    for (const struct sim_command* command = families[f]; error == 0 && command->handler != NULL; command++) {
      error = ipmi_emu_register_cmd_handler(command->netfn, command->cmd, command->handler, NULL);
    }
  }
  return error;
}
