// Chassis commands of NetFn Chassis (IPMI v2.0 rev 1.1, 28), except for boot options.
#include "lumipmi/chassis.h"

#include "core/exchange.hpp"
#include "core/handle.hpp"

using namespace lumi;

extern "C" uint32_t ipmi_chassis_get_chassis_capabilities(IpmiHandle* handle, uint8_t caps[6]) {
  if (handle == nullptr || caps == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Chassis, 0x00, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(5)));

  ByteReader reply = ex.reply();
  reply.copy(caps, 5);                                                            // bytes 1-5
  caps[IPMI_CHASSIS_CAPS_BRIDGE] = reply.left() != 0 ? reply.u8() : kBmcAddress;  // byte 6
  return kOk;
}

extern "C" uint32_t ipmi_chassis_get_chassis_status(IpmiHandle* handle, IpmiChassisStatus* status) {
  if (handle == nullptr || status == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Chassis, 0x01, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(3)));

  ByteReader reply = ex.reply();
  const uint8_t power = reply.u8();  // byte 1
  status->power_restore_policy = bits(power, 6, 5);
  status->power_state = bits(power, 4, 0);
  status->last_power_event = reply.u8();    // byte 2
  status->misc_chassis_state = reply.u8();  // byte 3
  const uint8_t front_panel = reply.u8();   // byte 4, 0 when it did not come
  status->front_panel_disable_allowed = bits(front_panel, 7, 4);
  status->front_panel_disabled = bits(front_panel, 3, 0);
  return kOk;
}

extern "C" uint32_t ipmi_chassis_control(IpmiHandle* handle, uint8_t control) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  return Exchange(handle, NetFn::Chassis, 0x02, Privilege::Operator).u8(control).send(Reply::none());
}

extern "C" uint32_t ipmi_chassis_reset(IpmiHandle* handle) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  return Exchange(handle, NetFn::Chassis, 0x03, Privilege::Operator).send(Reply::none());
}

extern "C" uint32_t ipmi_chassis_identify(IpmiHandle* handle, const IpmiChassisIdentify* identify) {
  if (handle == nullptr || identify == nullptr || identify->length > 2) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Chassis, 0x04, Privilege::Operator);
  if (identify->length > 0) ex.u8(identify->interval);
  if (identify->length > 1) ex.u8(identify->force_on);
  return ex.send(Reply::none());
}

extern "C" uint32_t ipmi_chassis_set_chassis_capabilities(IpmiHandle* handle, const uint8_t caps[6]) {
  if (handle == nullptr || caps == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Chassis, 0x05, Privilege::Administrator);
  ex.u8(bits(caps[IPMI_CHASSIS_CAPS_FLAGS], 1, 0));
  ex.bytes(caps + IPMI_CHASSIS_CAPS_FRU, 4);  // FRU, SDR, SEL and system management device
  if (caps[IPMI_CHASSIS_CAPS_BRIDGE] != 0) ex.u8(caps[IPMI_CHASSIS_CAPS_BRIDGE]);
  return ex.send(Reply::none());
}

extern "C" uint32_t ipmi_chassis_set_power_restore_policy(IpmiHandle* handle, uint8_t policy) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  // The BMC answers with the policies that it supports: there is room for them, and nobody reads them.
  return Exchange(handle, NetFn::Chassis, 0x06, Privilege::Operator).u8(policy).send(Reply::at_least(0));
}

extern "C" uint32_t ipmi_chassis_get_system_restart_cause(IpmiHandle* handle, IpmiRestartCause* cause) {
  if (handle == nullptr || cause == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Chassis, 0x07, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(2)));

  ByteReader reply = ex.reply();
  cause->restart_cause = bits(reply.u8(), 3, 0);  // byte 1
  cause->channel = reply.u8();                    // byte 2
  return kOk;
}

extern "C" uint32_t ipmi_chassis_set_front_panel_enables(IpmiHandle* handle, uint8_t disables) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  return Exchange(handle, NetFn::Chassis, 0x0A, Privilege::Administrator).u8(bits(disables, 3, 0)).send(Reply::none());
}

extern "C" uint32_t ipmi_chassis_set_power_cycle_interval(IpmiHandle* handle, uint8_t seconds) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  return Exchange(handle, NetFn::Chassis, 0x0B, Privilege::Administrator).u8(seconds).send(Reply::none());
}

extern "C" uint32_t ipmi_chassis_get_poh_counter(IpmiHandle* handle, IpmiPohCounter* counter) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Chassis, 0x0F, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(5)));

  ByteReader reply = ex.reply();
  counter->minutes_per_count = reply.u8();  // byte 1
  counter->counter = reply.le32();          // bytes 2-5
  return kOk;
}
