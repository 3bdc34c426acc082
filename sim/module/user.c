/* User names and passwords (NetFn App). The users are ipmi_sim's. */
#include <string.h>

#include "module.h"

enum { kUserMask = 0x3F, kFixedUser = 1, kNameSize = 16 };

/* Get User Name (IPMI v2.0 rev 1.1, 22.29): that of user 1 is null, ipmi_sim refuses to say so. */
static int get_user_name(const struct sim_request* request, struct sim_reply* reply) {
  static const unsigned char no_name[kNameSize];
  if ((request->data[0] & kUserMask) != kFixedUser) return sim_pass(request, reply);
  sim_put(reply, no_name, sizeof no_name);
  return kCcOk;
}

/* Set User Password (22.30): ipmi_sim keeps 16 bytes of 20, and every test passes. */
enum password_operation { kDisable, kEnable, kSet, kTest };
enum { kShortPassword = 16, kLongPassword = 20, kLongForm = 0x80 };
enum { kCcPasswordWrong = 0x80, kCcPasswordSizeWrong = 0x81 };

static unsigned char is_long[MAX_USERS + 1]; /* the size that the password was set with */

static int set_user_password(const struct sim_request* request, struct sim_reply* reply) {
  const unsigned int number = request->data[0] & kUserMask;
  const int long_form = (request->data[0] & kLongForm) != 0;
  const unsigned int size = long_form ? kLongPassword : kShortPassword;
  const unsigned int operation = request->data[1];
  const unsigned char* password = request->data + 2;
  user_t* user = &sim_sys->mc_get_users(request->mc)[number];
  if (number == 0 || operation > kTest) return kCcInvalidField;
  if (operation == kDisable || operation == kEnable) return sim_pass(request, reply);
  if (request->length != 2 + size) return kCcRequestLengthInvalid;
  if (operation == kTest) {
    if (long_form != is_long[number]) return kCcPasswordSizeWrong;
    return memcmp(user->pw, password, size) == 0 ? kCcOk : kCcPasswordWrong;
  }
  const int code = sim_pass(request, reply);
  if (code != kCcOk) return code;
  memset(user->pw, 0, sizeof user->pw);
  memcpy(user->pw, password, size);
  is_long[number] = (unsigned char)long_form;
  return kCcOk;
}

const struct sim_command sim_user_commands[] = {
    {kNetFnApp, 0x46, 1, 1, get_user_name},
    {kNetFnApp, 0x47, 2, 2 + kLongPassword, set_user_password},
    {0, 0, 0, 0, NULL},
};
