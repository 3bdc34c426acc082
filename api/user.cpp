// Users, passwords and the watchdog timer.
#include "lumipmi/user.h"

#include <cstring>

#include "core/connection.hpp"
#include "lumipmi/api_identity.h"
#include "lumipmi/api_user.h"
#include "lumipmi/watchdog.h"
#include "platform/text.hpp"

using namespace lumi;

namespace {

constexpr size_t kNameSize = 16;
constexpr size_t kPasswordArea = 21;  // 20 characters and a terminator
constexpr uint8_t kEnabled = 0x40;    // IpmiUserAccessInfo::enableStatus

/// A copy of a password that does not outlive the call.
struct Password {
  explicit Password(const char* text) { (void)copy_text(area, sizeof area, text); }
  ~Password() { explicit_bzero(area, sizeof area); }
  Password(const Password&) = delete;
  Password& operator=(const Password&) = delete;

  char area[kPasswordArea] = {};
};

/// The access of a user on the first channel of the kind.
Status read_access(IpmiHandle* bmc, uint8_t user_id, uint32_t channel_kind, uint8_t (&selector)[2],
                   IpmiUserAccessInfo& access) {
  LUMI_TRY(ipmi_get_channel_id(bmc, static_cast<int32_t>(channel_kind), &selector[0]));
  selector[1] = user_id;
  return ipmi_app_get_user_access(bmc, selector, &access);
}

Status read_enabled(IpmiHandle* bmc, uint8_t user_id, uint32_t channel_kind, uint8_t* enabled) {
  uint8_t selector[2];
  IpmiUserAccessInfo access = {};
  LUMI_TRY(read_access(bmc, user_id, channel_kind, selector, access));
  *enabled = access.enableStatus == kEnabled;
  return kOk;
}

/// The user of that name whose password the BMC accepts.
Status find_user(IpmiHandle* bmc, const char* name, const char* password, uint8_t* user_id) {
  constexpr uint8_t kLastUser = 64;
  for (uint8_t id = 1; id <= kLastUser; ++id) {
    uint8_t stored[kNameSize] = {};
    LUMI_TRY(ipmi_app_get_user_name(bmc, id, stored));
    if (std::strncmp(name, reinterpret_cast<const char*>(stored), kNameSize) != 0) continue;

    const Status status = ipmi_app_set_user_password(bmc, id, IPMI_PASSWORD_TEST, password);
    if (status == IPMI_STATUS_BMC_PASSWORD_MISMATCH || status == IPMI_STATUS_BMC_PASSWORD_SIZE)
      continue;  // another user may carry the same name
    if (status == kOk) *user_id = id;
    return status;
  }
  return IPMI_STATUS_APP_NOT_FOUND;
}

}  // namespace

extern "C" uint32_t IPMIGetUserEnable(uint8_t userId, uint8_t* enabled) {
  if (enabled == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  const Status lan = read_enabled(bmc.handle(), userId, IPMI_CHANNEL_KIND_LAN, enabled);
  // After a failure the caller's own byte decides whether the serial channel is asked: part of the interface.
  if ((*enabled & 1) != 0) return lan;
  return read_enabled(bmc.handle(), userId, IPMI_CHANNEL_KIND_SERIAL, enabled);
}

extern "C" uint32_t IPMISetUserEnable(uint8_t userId, uint8_t enable) {
  Connection bmc;
  LUMI_TRY(bmc.open());
  constexpr char kNoPassword[kPasswordArea] = {};
  return ipmi_app_set_user_password(bmc.handle(), userId, enable, kNoPassword);  // the operation, as given
}

extern "C" uint32_t IPMIGetUserAccess(uint8_t userId, uint32_t channelKind, uint8_t* messagingEnabled,
                                      uint8_t* privilegeLimit) {
  if (messagingEnabled == nullptr || privilegeLimit == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  uint8_t selector[2];
  IpmiUserAccessInfo access = {};
  LUMI_TRY(read_access(bmc.handle(), userId, channelKind, selector, access));
  *messagingEnabled = access.ipmiMessagingEnabled;
  *privilegeLimit = static_cast<uint8_t>(access.privilegeLimit);
  return kOk;
}

extern "C" uint32_t IPMISetUserAccess(uint8_t userId, uint32_t channelKind, uint8_t messagingEnable,
                                      uint8_t privilegeLimit) {
  Connection bmc;
  LUMI_TRY(bmc.open());
  uint8_t selector[2];
  IpmiUserAccessInfo access = {};
  LUMI_TRY(read_access(bmc.handle(), userId, channelKind, selector, access));
  const IpmiUserAccessSetting setting = {access.callbackOnly, access.linkAuthEnabled, messagingEnable,
                                         privilegeLimit & 0x0Fu, 0};
  return ipmi_app_set_user_access(bmc.handle(), selector, &setting);
}

extern "C" uint32_t IPMIGetUserName(uint8_t userId, uint8_t capacity, char* name) {
  if (name == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  if (capacity <= kNameSize) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  uint8_t stored[kNameSize + 1] = {};
  LUMI_TRY(ipmi_app_get_user_name(bmc.handle(), userId, stored));
  (void)copy_text(name, capacity, reinterpret_cast<const char*>(stored));  // fits
  return kOk;
}

extern "C" uint32_t IPMISetUserName(uint8_t userId, const char* name) {
  Connection bmc;
  LUMI_TRY(bmc.open());
  char field[kNameSize] = {};
  if (name != nullptr) (void)copy_text(field, sizeof field, name);  // 15 characters at most: the 16th is lost
  return ipmi_app_set_user_name(bmc.handle(), userId, field);
}

extern "C" uint32_t IPMISetUserPassword(uint8_t userId, const char* password) {
  Connection bmc;
  LUMI_TRY(bmc.open());
  const Password copy(password != nullptr ? password : "");
  return ipmi_app_set_user_password(bmc.handle(), userId, IPMI_PASSWORD_SET, copy.area);
}

extern "C" uint32_t IPMIAuthenticateUser(const char* name, const char* password, uint8_t* userId) {
  if (name == nullptr || password == nullptr || userId == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  const Password copy(password);
  switch (const Status status = find_user(bmc.handle(), name, copy.area, userId); status) {
    case IPMI_STATUS_BMC_INVLAID_DATA_IN_REQUEST:  // what BMCs say about users beyond their table
    case IPMI_STATUS_BMC_PARAMETER_OUT_OF_RANGE:
      return IPMI_STATUS_APP_NOT_FOUND;
    default:
      return status;
  }
}

extern "C" uint32_t IPMIGetWatchdogTimer(IPMIWatchdogConfig* config) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  IpmiWatchdogConfig timer = {};
  LUMI_TRY(ipmi_app_get_watchdog_timer(bmc.handle(), &timer));
  config->timerUse = timer.timerUse;
  config->preTimeoutInterrupt = timer.preTimeoutInterrupt;
  config->timeoutAction = timer.timeoutAction;
  config->expirationFlags = timer.expirationFlags;
  config->initialCountdown = timer.initialCountdown;
  config->presentCountdown = timer.presentCountdown;
  return kOk;
}

extern "C" uint32_t IPMISetWatchdogTimer(const IPMIWatchdogConfig* config, int8_t stopTimer) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  IpmiWatchdogConfig timer = {};  // keeps "don't log" and the pre-timeout interval
  LUMI_TRY(ipmi_app_get_watchdog_timer(bmc.handle(), &timer));
  timer.timerUse = config->timerUse;
  timer.preTimeoutInterrupt = config->preTimeoutInterrupt;
  timer.timeoutAction = config->timeoutAction;
  timer.expirationFlags = config->expirationFlags;
  timer.initialCountdown = config->initialCountdown;
  timer.timerRunning = static_cast<uint8_t>(stopTimer ^ 1);  // 1 leaves a running timer running
  return ipmi_app_set_watchdog_timer(bmc.handle(), &timer);
}

extern "C" uint32_t IPMIResetWatchdogTimer(void) {
  Connection bmc;
  LUMI_TRY(bmc.open());
  return ipmi_app_reset_watchdog_timer(bmc.handle());
}
