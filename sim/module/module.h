/*
 * What the files of the ipmi_sim module share.
 *
 * The module adds commands to ipmi_sim and sits between its channels and its command handlers.
 * To add a command: write a handler, put it into the table of its NetFn; a new NetFn is a new
 * file with a table that module.c lists.
 */
#ifndef LUMIPMI_SIM_MODULE_H
#define LUMIPMI_SIM_MODULE_H

#include <stddef.h>

/* ipmi_sim's interface to modules; serv.h has to be first. */
#include <OpenIPMI/serv.h>

#include <OpenIPMI/mcserv.h>

enum sim_netfn {
  kNetFnSensorEvent = 0x04,
  kNetFnApp = 0x06,
};

/* Completion codes: IPMI v2.0 rev 1.1, table 5-2. */
enum sim_completion {
  kCcOk = 0x00,
  kCcInvalidCommand = 0xC1,
  kCcRequestLengthInvalid = 0xC7,
  kCcNotPresent = 0xCB,
  kCcInvalidField = 0xCC,
  kCcIllegalForSensor = 0xCD,
};

/* The buffer that ipmi_sim gives a handler for its answer, completion code included. */
enum { kAnswerRoom = 36 };

struct sim_command {
  unsigned char netfn;
  unsigned char cmd;
  cmd_handler_f handler;
};

/* Each ends with a row that has no handler. */
extern const struct sim_command sim_app_commands[];
extern const struct sim_command sim_sensor_commands[];

/* The simulated system, from module initialisation on. */
extern sys_data_t* sim_sys;

/* Answers with a completion code and nothing else. */
void sim_answer(enum sim_completion code, unsigned char* rdata, unsigned int* rdata_len);

/* Answers completion code 00 and these bytes; at most kAnswerRoom - 1 of them. */
void sim_answer_data(const unsigned char* data, unsigned int length, unsigned char* rdata, unsigned int* rdata_len);

/* Whether the request carries exactly this many data bytes; answers C7 if not. */
int sim_has_length(const msg_t* msg, unsigned int length, unsigned char* rdata, unsigned int* rdata_len);

/* Puts the fault switch between the channels and the command handlers, and adds the emulator
 * command "fault". long_answers lifts the limit of 36 bytes for the system interface. */
int sim_install_faults(sys_data_t* sys, int long_answers);

#endif
