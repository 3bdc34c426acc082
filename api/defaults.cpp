// The maker's own commands for factory defaults and the debug level.
#include "lumipmi/api_defaults.h"

#include "core/bytes.hpp"
#include "core/connection.hpp"
#include "core/exchange.hpp"

using namespace lumi;

namespace {

constexpr uint16_t kDebugRoom = 16;  // bytes offered for the answer to the debug level commands

Status reset(uint8_t option) {
  Connection bmc;
  LUMI_TRY(bmc.open());
  uint8_t completed;  // the application learns only that the reset was accepted
  return kest_ipmi_reset_to_default(bmc.handle(), option, &completed);
}

}  // namespace

extern "C" uint32_t kest_ipmi_reset_to_default(IpmiHandle* handle, uint8_t option, uint8_t* completed) {
  if (handle == nullptr || completed == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::OemKest, 0x21, Privilege::Administrator);
  ex.u8(option);
  LUMI_TRY(ex.send(Reply::at_least(1).offering(1)));
  *completed = bits(ex.reply().u8(), 3, 0) == 1;
  return kOk;
}

extern "C" uint32_t kest_ipmi_set_debug_level(IpmiHandle* handle, uint8_t level) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::OemKest, 0xFE, Privilege::Administrator);
  ex.u8(level);
  return ex.send(Reply::at_least(0).offering(kDebugRoom));
}

extern "C" uint32_t kest_ipmi_get_debug_level(IpmiHandle* handle, uint8_t* level) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::OemKest, 0xFF, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(1).offering(kDebugRoom)));
  if (level != nullptr) *level = ex.reply().u8();
  return kOk;
}

extern "C" uint32_t IPMIResetConfiguration2Default(void) {
  return reset(IPMI_RESET_ALL);
}

extern "C" uint32_t IPMIResetConfiguration2DefaultExceptNW(void) {
  return reset(IPMI_RESET_ALL_BUT_NETWORK);
}

extern "C" uint32_t IPMISetDebugLevel(uint8_t level) {
  Connection bmc;
  LUMI_TRY(bmc.open());
  return kest_ipmi_set_debug_level(bmc.handle(), level);
}

extern "C" uint32_t IPMIGetDebugLevel(uint8_t* level) {
  Connection bmc;
  LUMI_TRY(bmc.open());
  return kest_ipmi_get_debug_level(bmc.handle(), level);
}

// Kept for callers that expect it; the BMC has no part in a graceful shutdown.
extern "C" uint32_t IPMIGracefulShutdown(void) {
  return kOk;
}
