/*
 * What the files of the ipmi_sim module share.
 *
 * The module adds commands to ipmi_sim and sits between its channels and its command handlers.
 * To add a command: write a handler, put it into the table of its NetFn; a new NetFn is a new
 * file with a table that module.c lists. A parameter of a configuration command is a member of
 * its family's struct and a row of its table.
 */
#ifndef LUMIPMI_SIM_MODULE_H
#define LUMIPMI_SIM_MODULE_H

#include <stddef.h>

/* ipmi_sim's interface to modules; serv.h has to be first. */
#include <OpenIPMI/serv.h>

#include <OpenIPMI/mcserv.h>

#define COUNT_OF(array) (sizeof(array) / sizeof((array)[0]))

enum sim_netfn {
  kNetFnChassis = 0x00,
  kNetFnSensorEvent = 0x04,
  kNetFnApp = 0x06,
  kNetFnStorage = 0x0A,
  kNetFnTransport = 0x0C,
  kNetFnOem = 0x30,
  kNetFnOemSol = 0x34,
};

/* Completion codes: IPMI v2.0 rev 1.1, table 5-2. Those from 80h on belong to a command. */
enum sim_completion {
  kCcOk = 0x00,
  kCcInvalidCommand = 0xC1,
  kCcReservationCanceled = 0xC5,
  kCcRequestLengthInvalid = 0xC7,
  kCcNotPresent = 0xCB,
  kCcInvalidField = 0xCC,
  kCcIllegalForSensor = 0xCD,
};

/* Channels: IPMB, LAN, the serial port and the system interface. */
enum sim_channel {
  kChannelIpmb = 0,
  kChannelLan = 1,
  kChannelSerial = 2,
  kChannelThis = 14, /* the one that the request came by */
  kChannelSystem = 15,
};

/* The buffer that ipmi_sim gives a handler for its answer, completion code included. */
enum { kAnswerRoom = 36 };

struct sim_request {
  lmc_data_t* mc;
  msg_t* msg;
  unsigned char* data;
  unsigned int length; /* within the limits of the command's row */
};

struct sim_reply {
  unsigned char data[kAnswerRoom - 1]; /* what follows completion code 00 */
  unsigned int length;                 /* 0 at first */
};

/* Returns the completion code. The reply's data are dropped unless that is 00. */
typedef int sim_handler(const struct sim_request* request, struct sim_reply* reply);

struct sim_command {
  unsigned char netfn;
  unsigned char cmd;
  unsigned char shortest; /* fewer request bytes than this, or more than longest, get C7h */
  unsigned char longest;
  sim_handler* handler;
};

/* Each ends with a row that has no handler. */
extern const struct sim_command sim_app_commands[];
extern const struct sim_command sim_channel_commands[];
extern const struct sim_command sim_chassis_commands[];
extern const struct sim_command sim_oem_commands[];
extern const struct sim_command sim_payload_commands[];
extern const struct sim_command sim_sensor_commands[];
extern const struct sim_command sim_storage_commands[];
extern const struct sim_command sim_sysinfo_commands[];
extern const struct sim_command sim_transport_commands[];
extern const struct sim_command sim_user_commands[];
extern const struct sim_command sim_watchdog_commands[];

/* The simulated system, from module initialisation on. */
extern sys_data_t* sim_sys;

/* Adds these bytes to a reply; those that find no room are dropped. */
void sim_put(struct sim_reply* reply, const void* data, unsigned int length);

/* Lets ipmi_sim's own handler answer a command; C1h when it has none. A handler that forgets to say
 * how long its answer is says a completion code and nothing else. */
int sim_own(const struct sim_request* request, enum sim_netfn netfn, unsigned char cmd, unsigned char* data,
            unsigned int length, struct sim_reply* reply);

/* The same for the request as it came. */
int sim_pass(const struct sim_request* request, struct sim_reply* reply);

/* Milliseconds since some moment in the past. */
unsigned long long sim_now(void);

/* A channel number of a request, with kChannelThis replaced by what it means. */
unsigned int sim_channel(const struct sim_request* request, unsigned int channel);

/* The LAN channel; NULL when there is none. */
lanserv_data_t* sim_lan(lmc_data_t* mc);

/* Configuration parameters: boot options, system information, LAN, serial and SOL. */

enum sim_parameter_kind {
  kPlain,
  kReadOnly,
  kProgress, /* set in progress: begin and end */
  kCounted,  /* a length byte and at most length - 1 bytes behind it */
  kPartial,  /* fewer bytes than length change only the first ones */
  kMasked,   /* two bytes: those bits of the second change that the first one names; the first reads 0 */
};

struct sim_parameter {
  unsigned char selector;
  unsigned char sets;   /* number of sets, counted from 0; 0: no set selector */
  unsigned char length; /* data bytes, without the set selector */
  unsigned char kind;   /* enum sim_parameter_kind */
  size_t offset;        /* of the first byte in the family's struct */
};

struct sim_family {
  const struct sim_parameter* parameters;
  size_t count;
  const void* initial; /* the values at start, */
  void* values;        /* and those of now, */
  size_t size;         /* each this long */
};

extern const struct sim_family sim_boot_family;
extern const struct sim_family sim_lan_family;
extern const struct sim_family sim_serial_family;
extern const struct sim_family sim_sol_family;
extern const struct sim_family sim_sysinfo_family;

/* NULL when the family does not have it. */
const struct sim_parameter* sim_parameter(const struct sim_family* family, unsigned int selector);

/* Both return the completion code: 80h for an unknown parameter, 81h for set in progress twice, 82h for
 * one that cannot be written. */
int sim_set_parameter(const struct sim_family* family, unsigned int selector, const unsigned char* data,
                      unsigned int length);
int sim_read_parameter(const struct sim_family* family, unsigned int selector, unsigned int set,
                       struct sim_reply* reply);

/* What most families have in common: the get's four bytes, the first with the bit kRevisionOnly, then selector, set
 * and block; the reply begins with the revision. */
int sim_get_parameter(const struct sim_family* family, const unsigned char* get, struct sim_reply* reply);

/* Gives all families their initial values, LAN only if told so. */
void sim_reset_parameters(int lan_too);

enum { kCcParameterUnsupported = 0x80, kCcSetInProgress = 0x81, kCcReadOnly = 0x82 };

enum { kParameterRevision = 0x11, kRevisionOnly = 0x80 };

/* Puts the fault switch between the channels and the command handlers, and adds the emulator
 * command "fault". long_answers lifts the limit of 36 bytes for the system interface. */
int sim_install_faults(sys_data_t* sys, int long_answers);

#endif
