// Payload commands of NetFn App (IPMI v2.0 rev 1.1, 24).
#include "lumipmi/payload.h"

#include "core/exchange.hpp"

using namespace lumi;

namespace {

constexpr CompletionMap kActivateCodes[] = {{0x80, IPMI_STATUS_BMC_PAYLOAD_ALREADY_ACTIVE},
                                            {0x81, IPMI_STATUS_BMC_PAYLOAD_DISABLED},
                                            {0x82, IPMI_STATUS_BMC_PAYLOAD_ACTIVATION_LIMIT},
                                            {0x83, IPMI_STATUS_BMC_PAYLOAD_ENCRYPTION_UNSUPPORTED},
                                            {0x84, IPMI_STATUS_BMC_PAYLOAD_ENCRYPTION_REQUIRED}};
constexpr CompletionMap kDeactivateCodes[] = {{0x80, IPMI_STATUS_BMC_PAYLOAD_ALREADY_INACTIVE},
                                              {0x81, IPMI_STATUS_BMC_PAYLOAD_DISABLED}};

uint8_t type_bits(int64_t payload_type) {
  return static_cast<uint8_t>(payload_type & 0x3F);
}

}  // namespace

extern "C" uint32_t ipmi_app_activate_payload(IpmiHandle* handle, const IpmiPayloadActivation* activation,
                                              IpmiPayloadActivationResult* result) {
  if (handle == nullptr || activation == nullptr || result == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x48, Privilege::User);
  ex.u8(type_bits(activation->payloadType)).u8(bits(activation->payloadInstance, 3, 0));
  if (activation->payloadType == IPMI_PAYLOAD_SOL) {
    const IpmiPayloadSolOptions& sol = activation->options.sol;
    // The fields overlap: part of the interface. Test mode covers what stands above and below it.
    ex.u8(static_cast<uint8_t>((sol.encrypt & 1u) << 7 | (sol.authenticate & 3u) << 6 | (sol.testMode & 0x7Fu) << 1 |
                               (sol.serialAlertBehavior & 3) << 2));
    ex.u8(0).u8(0).u8(0);
  } else {
    ex.bytes(activation->options.auxBytes, sizeof activation->options.auxBytes);
  }
  LUMI_TRY(ex.send(Reply::at_least(12), kActivateCodes));

  ByteReader reply = ex.reply();
  result->auxData = reply.le32();              // bytes 1-4
  result->inboundPayloadSize = reply.le16();   // bytes 5-6
  result->outboundPayloadSize = reply.le16();  // bytes 7-8
  result->payloadUdpPort = reply.le16();       // bytes 9-10
  result->payloadVlan = reply.le16();          // bytes 11-12
  return kOk;
}

extern "C" uint32_t ipmi_app_deactivate_payload(IpmiHandle* handle, const IpmiPayloadDeactivation* deactivation) {
  if (handle == nullptr || deactivation == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x49, Privilege::User);
  ex.u8(type_bits(deactivation->payloadType)).u8(bits(deactivation->payloadInstance, 3, 0));
  ex.bytes(deactivation->auxBytes, sizeof deactivation->auxBytes);
  return ex.send(Reply::none(), kDeactivateCodes);
}

extern "C" uint32_t ipmi_app_get_payload_status(IpmiHandle* handle, int32_t payload_type, uint8_t out[3]) {
  if (handle == nullptr || out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x4A, Privilege::User);
  ex.u8(type_bits(payload_type));
  LUMI_TRY(ex.send(Reply::at_least(3)));

  ByteReader reply = ex.reply();
  out[0] = bits(reply.u8(), 3, 0);  // byte 1, instance capacity
  reply.copy(out + 1, 2);           // bytes 2-3, instances 1 to 16
  return kOk;
}

extern "C" uint32_t ipmi_app_get_payload_instance_info(IpmiHandle* handle, int32_t payload_type, uint8_t instance,
                                                       uint8_t out[12]) {
  if (handle == nullptr || out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x4B, Privilege::User);
  ex.u8(type_bits(payload_type)).u8(bits(instance, 3, 0));
  LUMI_TRY(ex.send(Reply::at_least(12)));
  ex.reply().copy(out, 12);  // bytes 1-12
  return kOk;
}

extern "C" uint32_t ipmi_app_set_payload_access(IpmiHandle* handle, const uint8_t selector[2], uint32_t operation,
                                                const IpmiPayloadAccessLimits* limits) {
  if (handle == nullptr || selector == nullptr || limits == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x4C, Privilege::Administrator);
  ex.u8(bits(selector[0], 3, 0)).u8(static_cast<uint8_t>((selector[1] & 0x3F) | operation << 6));
  ex.u8(limits->payloadEnables1).u8(limits->payloadEnables2).le16(limits->oemPayloadEnables);
  return ex.send(Reply::none());
}

extern "C" uint32_t ipmi_app_get_payload_access(IpmiHandle* handle, const uint8_t selector[2], uint8_t out[4]) {
  if (handle == nullptr || selector == nullptr || out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x4D, Privilege::Operator);
  ex.u8(bits(selector[0], 3, 0)).u8(bits(selector[1], 5, 0));
  LUMI_TRY(ex.send(Reply::at_least(4)));
  ex.reply().copy(out, 4);  // bytes 1-4
  return kOk;
}

extern "C" uint32_t ipmi_app_get_payload_support(IpmiHandle* handle, uint8_t channel, uint8_t out[8]) {
  if (handle == nullptr || out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x4E, Privilege::User);
  ex.u8(bits(channel, 3, 0));
  LUMI_TRY(ex.send(Reply::at_least(8)));
  ex.reply().copy(out, 8);  // bytes 1-8
  return kOk;
}

extern "C" uint32_t ipmi_app_get_payload_version(IpmiHandle* handle, uint8_t channel, int32_t payload_type,
                                                 uint8_t* version) {
  if (handle == nullptr || version == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x4F, Privilege::User);
  ex.u8(bits(channel, 3, 0)).u8(type_bits(payload_type));
  LUMI_TRY(ex.send(Reply::at_least(1)));
  *version = ex.reply().u8();  // byte 1
  return kOk;
}
