// Watchdog timer commands of NetFn App (IPMI v2.0 rev 1.1, 27).
#include "lumipmi/watchdog.h"

#include "core/exchange.hpp"

using namespace lumi;

extern "C" uint32_t ipmi_app_reset_watchdog_timer(IpmiHandle* handle) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  static constexpr CompletionMap kCodes[] = {{0x80, IPMI_STATUS_BMC_WATCHDOG_NOT_INITIALIZED}};
  return Exchange(handle, NetFn::App, 0x22, Privilege::Operator).send(Reply::none(), kCodes);
}

extern "C" uint32_t ipmi_app_set_watchdog_timer(IpmiHandle* handle, const IpmiWatchdogConfig* config) {
  if (handle == nullptr || config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x24, Privilege::Operator);
  // Values out of range spill into the neighbouring bits: part of the interface.
  ex.u8(static_cast<uint8_t>((config->dontLog & 1u) << 7 | (config->timerRunning & 3u) << 6 | config->timerUse));
  ex.u8(static_cast<uint8_t>(config->preTimeoutInterrupt << 4 | config->timeoutAction));
  ex.u8(config->preTimeoutInterval).u8(config->expirationFlags).le16(config->initialCountdown);
  return ex.send(Reply::none());
}

extern "C" uint32_t ipmi_app_get_watchdog_timer(IpmiHandle* handle, IpmiWatchdogConfig* config) {
  if (handle == nullptr || config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x25, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(8)));

  ByteReader reply = ex.reply();
  const uint8_t use = reply.u8();  // byte 1
  config->dontLog = bits(use, 7, 7);
  config->timerRunning = bits(use, 6, 6);
  config->timerUse = bits(use, 2, 0);
  const uint8_t actions = reply.u8();  // byte 2
  config->preTimeoutInterrupt = bits(actions, 6, 4);
  config->timeoutAction = bits(actions, 2, 0);
  config->preTimeoutInterval = reply.u8();  // byte 3
  config->expirationFlags = reply.u8();     // byte 4
  config->initialCountdown = reply.le16();  // bytes 5-6
  config->presentCountdown = reply.le16();  // bytes 7-8
  return kOk;
}
