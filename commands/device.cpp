// Device commands of NetFn App (IPMI v2.0 rev 1.1, 20 and 22.14).
#include "lumipmi/device.h"

#include "core/exchange.hpp"

using namespace lumi;

extern "C" uint32_t ipmi_app_get_device_id(IpmiHandle* handle, IpmiDeviceId* id) {
  if (handle == nullptr || id == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x01, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(11)));

  ByteReader reply = ex.reply();
  const bool with_aux = reply.left() > 14;
  id->deviceId = reply.u8();            // byte 1
  const uint8_t revision = reply.u8();  // byte 2
  id->providesSdrs = bits(revision, 7, 7);
  id->deviceRevision = bits(revision, 6, 0);
  const uint8_t firmware = reply.u8();  // byte 3
  id->deviceAvailable = bits(firmware, 7, 7);
  id->firmwareMajor = bits(firmware, 6, 0);
  id->firmwareMinor = reply.u8();        // byte 4, BCD
  id->ipmiVersion = reply.u8();          // byte 5, BCD, major version in the low nibble
  id->additionalSupport = reply.u8();    // byte 6
  id->manufacturerIdLow = reply.le16();  // bytes 7-9
  id->manufacturerIdHigh = reply.u8();
  id->productId = reply.le16();  // bytes 10-11
  id->auxPresent = with_aux;
  if (with_aux) reply.copy(id->auxFirmwareRevision);  // bytes 12-15, else left alone
  return kOk;
}

extern "C" uint32_t ipmi_app_cold_reset(IpmiHandle* handle) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  return Exchange(handle, NetFn::App, 0x02, Privilege::Administrator).send(Reply::none());
}

extern "C" uint32_t ipmi_app_warm_reset(IpmiHandle* handle) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  return Exchange(handle, NetFn::App, 0x03, Privilege::Administrator).send(Reply::none());
}

extern "C" uint32_t ipmi_app_get_self_test_results(IpmiHandle* handle, IpmiSelfTestResult* result) {
  if (handle == nullptr || result == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x04, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(2)));

  ByteReader reply = ex.reply();
  result->result = reply.u8();
  result->detail = reply.u8();
  return kOk;
}

extern "C" uint32_t ipmi_app_manufacturing_test_on(IpmiHandle* handle) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  return Exchange(handle, NetFn::App, 0x05, Privilege::Administrator).send(Reply::none());
}

extern "C" uint32_t ipmi_app_set_acpi_power_state(IpmiHandle* handle, const uint16_t* state) {
  if (handle == nullptr || state == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x06, Privilege::Administrator);
  ex.le16(*state);  // system power state, device power state
  return ex.send(Reply::none());
}

extern "C" uint32_t ipmi_app_get_acpi_power_state(IpmiHandle* handle, uint16_t* state) {
  if (handle == nullptr || state == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x07, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(2)));
  *state = ex.reply().le16();  // system power state, device power state
  return kOk;
}

static Status get_guid(IpmiHandle* handle, uint8_t cmd, uint8_t* guid) {
  if (handle == nullptr || guid == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, cmd, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(16)));
  ex.reply().copy(guid, 16);
  return kOk;
}

extern "C" uint32_t ipmi_app_get_device_guid(IpmiHandle* handle, uint8_t guid[16]) {
  return get_guid(handle, 0x08, guid);
}

extern "C" uint32_t ipmi_app_get_system_guid(IpmiHandle* handle, uint8_t guid[16]) {
  return get_guid(handle, 0x37, guid);
}
