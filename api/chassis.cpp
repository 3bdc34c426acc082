// Chassis power, channel security keys and payload access.
#include "lumipmi/chassis.h"

#include <cstring>

#include "api/channels.hpp"
#include "core/bytes.hpp"
#include "lumipmi/api_chassis.h"
#include "lumipmi/payload.h"
#include "platform/bytes.hpp"

using namespace lumi;

namespace {

/// Opens the connection and finds the channel that carries serial over LAN.
Status open_sol(Connection& bmc, uint8_t* channel) {
  LUMI_TRY(bmc.open());
  return find_channel(bmc.handle(), kSolChannel, channel);
}

Status handle_key(IpmiChannelKey& key) {
  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_sol(bmc, &channel));
  return ipmi_app_set_channel_security_keys(bmc.handle(), channel, &key);
}

}  // namespace

extern "C" uint32_t IPMIGetChassisStatus(uint8_t* powerState) {
  if (powerState == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  IpmiChassisStatus status = {};
  LUMI_TRY(ipmi_chassis_get_chassis_status(bmc.handle(), &status));
  *powerState = status.power_state;
  return kOk;
}

extern "C" uint32_t IPMIChassisControl(uint32_t control) {
  Connection bmc;
  LUMI_TRY(bmc.open());
  return ipmi_chassis_control(bmc.handle(), static_cast<uint8_t>(control));
}

extern "C" uint32_t IPMIGetSecurityKey(uint32_t keyId, IPMISecurityKey* key, uint32_t* lockStatus) {
  if (key == nullptr || lockStatus == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  IpmiChannelKey record = {IPMI_CHANNEL_KEY_READ, keyId, {}, 0};
  const Status status = handle_key(record);
  if (status == kOk) {
    std::memcpy(key->bytes, record.key, sizeof key->bytes);
    *lockStatus = record.lockStatus;
  }
  explicit_bzero(record.key, sizeof record.key);
  return status;
}

extern "C" uint32_t IPMISetSecurityKey(uint32_t keyId, const IPMISecurityKey* key, uint32_t* lockStatus) {
  if (key == nullptr || lockStatus == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  IpmiChannelKey record = {IPMI_CHANNEL_KEY_SET, keyId, {}, 0};
  std::memcpy(record.key, key->bytes, sizeof record.key);
  const Status status = handle_key(record);
  if (status == kOk) *lockStatus = record.lockStatus;
  explicit_bzero(record.key, sizeof record.key);
  return status;
}

extern "C" uint32_t IPMILockSecurityKey(uint32_t keyId, uint32_t* lockStatus) {
  if (lockStatus == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  IpmiChannelKey record = {IPMI_CHANNEL_KEY_LOCK, keyId, {}, 0};
  LUMI_TRY(handle_key(record));
  *lockStatus = record.lockStatus;
  return kOk;
}

extern "C" uint32_t IPMIGetPayloadSupport(uint8_t support[8]) {
  if (support == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_sol(bmc, &channel));
  return ipmi_app_get_payload_support(bmc.handle(), channel, support);
}

extern "C" uint32_t IPMIGetPayloadAccess(uint8_t userId, uint32_t* accessMask) {
  if (accessMask == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_sol(bmc, &channel));
  const uint8_t selector[2] = {channel, userId};
  uint8_t access[4];
  LUMI_TRY(ipmi_app_get_payload_access(bmc.handle(), selector, access));
  *accessMask = load_le32(access, sizeof access);
  return kOk;
}

extern "C" uint32_t IPMISetPayloadAccess(uint8_t userId, uint8_t operation, const uint32_t* accessMask) {
  if (accessMask == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_sol(bmc, &channel));
  const uint8_t selector[2] = {channel, userId};
  const uint32_t mask = *accessMask;
  const IpmiPayloadAccessLimits limits = {static_cast<uint8_t>(mask), static_cast<uint8_t>(mask >> 8),
                                          static_cast<uint16_t>(mask >> 16)};
  return ipmi_app_set_payload_access(bmc.handle(), selector, operation, &limits);
}
