/*
 * The fault switch and long answers: everything between a channel and the command handlers.
 *
 *   fault NETFN CMD COUNT CC        answer the next COUNT matching requests with this completion code
 *   fault NETFN CMD COUNT drop      do not answer them at all
 *   fault NETFN CMD COUNT short N   answer them, but with at most N bytes after the completion code
 *   fault list                      what is left
 *   fault off                       forget everything
 *
 * NETFN and CMD are numbers, FFh stands for any. Only "short" lets the command run.
 */
#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include "module.h"

enum { kAny = 0xFF, kMaxFaults = 16, kLongAnswerRoom = 250, kSystemInterface = 15 };

enum effect { kComplete, kDrop, kShorten };

struct fault {
  unsigned int netfn;
  unsigned int cmd;
  unsigned int left;
  enum effect effect;
  unsigned int value; /* completion code, or most bytes after it */
};

/* In the order of the commands; the first that matches acts. None has 0 left. */
static struct fault faults[kMaxFaults];
static unsigned int fault_count;

static int (*send_without_faults)(channel_t* chan, msg_t* msg);
static int long_answers_on;

/* ipmi_sim's dispatcher; not in a header, but exported. */
extern void ipmi_emu_handle_msg(emu_data_t* emu, lmc_data_t* mc, msg_t* msg, unsigned char* rdata,
                                unsigned int* rdata_len);

static int matches(const struct fault* fault, const msg_t* msg) {
  return (fault->netfn == kAny || fault->netfn == msg->netfn) && (fault->cmd == kAny || fault->cmd == msg->cmd);
}

/* Uses up one count of the first fault that matches; the last one removes it. */
static int take_fault(const msg_t* msg, struct fault* taken) {
  for (unsigned int i = 0; i < fault_count; i++) {
    if (!matches(&faults[i], msg)) continue;
    *taken = faults[i];
    if (--faults[i].left == 0) {
      fault_count--;
      memmove(&faults[i], &faults[i + 1], (fault_count - i) * sizeof faults[0]);
    }
    return 1;
  }
  return 0;
}

/* Lets the command run with a buffer of our own and sends at most `limit` bytes of the answer. */
static void run_and_answer(channel_t* chan, msg_t* msg, unsigned int room, unsigned int limit) {
  unsigned char answer[kLongAnswerRoom] = {0};
  unsigned int length = room;
  void* const* user_data = chan->oem.user_data; /* the emulator is the second of its pointers */
  ipmi_emu_handle_msg(user_data[1], chan->mc, msg, answer, &length);
  if (length > room) length = room;
  if (length > limit) length = limit;
  ipmi_handle_smi_rsp(chan, msg, answer, (int)length);
}

static int send_with_faults(channel_t* chan, msg_t* msg) {
  /* Not for LAN: 250 bytes are more than an IPMI v1.5 packet can hold. */
  const int is_long = long_answers_on && msg->channel == kSystemInterface;
  const unsigned int room = is_long ? kLongAnswerRoom : kAnswerRoom;
  struct fault fault;
  if (!take_fault(msg, &fault)) {
    if (!is_long) return send_without_faults(chan, msg);
    run_and_answer(chan, msg, room, room);
    return 0;
  }
  switch (fault.effect) {
    case kComplete: {
      unsigned char code = (unsigned char)fault.value;
      ipmi_handle_smi_rsp(chan, msg, &code, 1);
      break;
    }
    case kShorten:
      run_and_answer(chan, msg, room, 1 + fault.value);
      break;
    case kDrop:
      chan->free(chan, msg);
      break;
  }
  return 0;
}

static void list_faults(emu_out_t* out) {
  static const char* const effects[] = {[kComplete] = "completion code", [kDrop] = "drop", [kShorten] = "short"};
  for (unsigned int i = 0; i < fault_count; i++) {
    const struct fault* fault = &faults[i];
    out->eprintf(out, "%2.2x %2.2x: %u more, %s", fault->netfn, fault->cmd, fault->left, effects[fault->effect]);
    if (fault->effect != kDrop) out->eprintf(out, " %2.2x", fault->value);
    out->eprintf(out, "\n");
  }
}

static int refuse(emu_out_t* out, const char* why) {
  out->eprintf(out, "**fault: %s\n", why);
  return EINVAL;
}

static const char* next_word(char** toks) {
  return mystrtok(NULL, " \t\r\n", toks);
}

static int is_number(const char* word, unsigned long most, unsigned int* value) {
  char* end;
  unsigned long parsed;
  if (word == NULL || *word < '0' || *word > '9') return 0;
  errno = 0;
  parsed = strtoul(word, &end, 0);
  if (*end != '\0' || errno != 0 || parsed > most) return 0;
  *value = (unsigned int)parsed;
  return 1;
}

static int is_word(const char* word, const char* wanted) {
  return word != NULL && strcmp(word, wanted) == 0;
}

static int fault_command(emu_out_t* out, emu_data_t* emu, lmc_data_t* mc, char** toks) {
  struct fault fault;
  const char* word = next_word(toks);
  (void)emu;
  (void)mc;
  if (is_word(word, "off")) {
    fault_count = 0;
    return 0;
  }
  if (is_word(word, "list")) {
    list_faults(out);
    return 0;
  }
  if (!is_number(word, 0xFF, &fault.netfn)) return refuse(out, "NETFN is a number up to 0xff, or use off, list");
  if (!is_number(next_word(toks), 0xFF, &fault.cmd)) return refuse(out, "CMD is a number up to 0xff");
  if (!is_number(next_word(toks), 1000000, &fault.left) || fault.left == 0)
    return refuse(out, "COUNT is a number from 1 to 1000000");
  word = next_word(toks);
  if (is_word(word, "drop")) {
    fault.effect = kDrop;
    fault.value = 0;
  } else if (is_word(word, "short")) {
    fault.effect = kShorten;
    if (!is_number(next_word(toks), kLongAnswerRoom, &fault.value)) return refuse(out, "short takes a number of bytes");
  } else {
    fault.effect = kComplete;
    if (!is_number(word, 0xFF, &fault.value)) return refuse(out, "say a completion code, drop or short N");
  }
  if (next_word(toks) != NULL) return refuse(out, "too many words");
  if (fault_count == kMaxFaults) return refuse(out, "too many faults");
  faults[fault_count++] = fault;
  return 0;
}

int sim_install_faults(sys_data_t* sys, int long_answers) {
  long_answers_on = long_answers;
  send_without_faults = sys->csmi_send;
  sys->csmi_send = send_with_faults;
  return ipmi_emu_add_cmd("fault", NOMC, fault_command);
}
