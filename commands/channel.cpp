// Channel and session commands of NetFn App (IPMI v2.0 rev 1.1, 22.13 and 22.20 to 22.25).
#include "lumipmi/channel.h"

#include <cstring>

#include "core/exchange.hpp"
#include "core/handle.hpp"

using namespace lumi;

namespace {

constexpr uint32_t kMaxKeyId = 1;
constexpr uint8_t kThisChannel = 0x0E;
constexpr uint8_t kExtendedCapabilities = 0x80;
constexpr uint8_t kUserLevel = 2;

constexpr CompletionMap kGetAccessCodes[] = {{0x82, IPMI_STATUS_BMC_CHANNEL_ACCESS_UNSUPPORTED}};
constexpr CompletionMap kSetAccessCodes[] = {{0x82, IPMI_STATUS_BMC_CHANNEL_ACCESS_UNSUPPORTED},
                                             {0x83, IPMI_STATUS_BMC_CHANNEL_ACCESS_MODE_UNSUPPORTED}};
constexpr CompletionMap kKeyCodes[] = {{0x80, IPMI_STATUS_BMC_KEY_LOCKED},
                                       {0x81, IPMI_STATUS_BMC_KEY_TOO_SHORT},
                                       {0x82, IPMI_STATUS_BMC_KEY_TOO_LONG},
                                       {0x83, IPMI_STATUS_BMC_KEY_UNACCEPTABLE},
                                       {0x84, IPMI_STATUS_BMC_KEY_NOT_USED}};

}  // namespace

extern "C" uint32_t ipmi_app_get_channel_authentication_capabilities(IpmiHandle* handle, uint8_t out[10]) {
  if (handle == nullptr || out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x38, Privilege::User);
  ex.u8(handle->ipmiVersionLevel == kIpmi20 ? kExtendedCapabilities | kThisChannel : kThisChannel).u8(kUserLevel);
  LUMI_TRY(ex.send(Reply::at_least(8)));

  ByteReader reply = ex.reply();
  out[IPMI_AUTH_CAPS_CHANNEL] = reply.u8();  // byte 1
  const uint8_t types = reply.u8();          // byte 2
  const uint8_t status = reply.u8();         // byte 3
  const uint8_t extended = reply.u8();       // byte 4
  const bool is_extended = bits(types, 7, 7);
  out[IPMI_AUTH_CAPS_CONNECTIONS] = is_extended ? bits(extended, 1, 0) : 0;
  out[IPMI_AUTH_CAPS_KG_OR_TYPES] = is_extended ? bits(status, 5, 5) : bits(types, 5, 0);
  out[IPMI_AUTH_CAPS_PER_MESSAGE_OFF] = bits(status, 4, 4);
  out[IPMI_AUTH_CAPS_NAMED_USERS] = bits(status, 2, 2);
  out[IPMI_AUTH_CAPS_LOGIN] = bits(status, 2, 0);
  reply.copy(out + IPMI_AUTH_CAPS_OEM_ID_LOW, 4);  // bytes 5-8
  return kOk;
}

extern "C" uint32_t ipmi_app_get_session_info(IpmiHandle* handle, const IpmiSessionQuery* query, uint8_t out[3]) {
  if (handle == nullptr || query == nullptr || out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x3D, Privilege::User);
  ex.u8(query->sessionIndex);
  if (query->sessionIndex == IPMI_SESSION_BY_HANDLE) ex.u8(static_cast<uint8_t>(query->sessionHandleOrId));
  if (query->sessionIndex == IPMI_SESSION_BY_ID) ex.le32(query->sessionHandleOrId);
  LUMI_TRY(ex.send(Reply::at_least(3)));

  ByteReader reply = ex.reply();
  out[0] = reply.u8();              // byte 1, session handle
  out[1] = bits(reply.u8(), 5, 0);  // byte 2, possible active sessions
  out[2] = bits(reply.u8(), 5, 0);  // byte 3, currently active sessions
  return kOk;
}

extern "C" uint32_t ipmi_app_set_channel_access(IpmiHandle* handle, uint8_t channel, const IpmiChannelAccess* access) {
  if (handle == nullptr || access == nullptr || channel > kMaxChannel) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x40, Privilege::Administrator);
  ex.u8(channel);
  // The flags are wider than their bits and reach into their neighbours: part of the interface.
  ex.u8(static_cast<uint8_t>((access->alertingDisabled & 7u) << 5 | (access->perMessageAuthDisabled & 0x0Fu) << 4 |
                             (access->userLevelAuthDisabled & 0x1Fu) << 3 | (access->accessMode & 7) |
                             access->accessType << 6));
  ex.u8(static_cast<uint8_t>((access->privilegeLimit & 0x0F) | access->privilegeAccessType << 6));
  return ex.send(Reply::none(), kSetAccessCodes);
}

extern "C" uint32_t ipmi_app_get_channel_access_info(IpmiHandle* handle, uint8_t channel, uint8_t volatile_select,
                                                     IpmiChannelAccess* access) {
  if (handle == nullptr || access == nullptr || channel > kMaxChannel) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x41, Privilege::User);
  ex.u8(channel).u8(bits(volatile_select, 0, 0) ? 0x80 : 0x40);
  LUMI_TRY(ex.send(Reply::at_least(2), kGetAccessCodes));

  ByteReader reply = ex.reply();
  access->accessType = volatile_select + 1u;
  const uint8_t flags = reply.u8();  // byte 1
  access->alertingDisabled = bits(flags, 5, 5);
  access->perMessageAuthDisabled = bits(flags, 4, 4);
  access->userLevelAuthDisabled = bits(flags, 3, 3);
  access->accessMode = bits(flags, 2, 0);
  access->privilegeAccessType = volatile_select + 1u;
  access->privilegeLimit = bits(reply.u8(), 3, 0);  // byte 2
  return kOk;
}

extern "C" uint32_t ipmi_app_get_channel_info(IpmiHandle* handle, uint8_t channel, IpmiChannelInfo* info) {
  if (handle == nullptr || info == nullptr || channel > kMaxChannel) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x42, Privilege::User);
  ex.u8(channel);
  LUMI_TRY(ex.send(Reply::at_least(7)));

  ByteReader reply = ex.reply();
  info->channelNumber = bits(reply.u8(), 3, 0);  // byte 1
  info->mediumType = bits(reply.u8(), 6, 0);     // byte 2
  info->protocolType = bits(reply.u8(), 4, 0);   // byte 3
  const uint8_t sessions = reply.u8();           // byte 4
  info->sessionSupport = bits(sessions, 7, 6);
  info->activeSessions = bits(sessions, 5, 0);
  info->vendorIdLow = reply.le16();  // bytes 5-7
  info->vendorIdHigh = reply.u8();
  info->auxInfo = reply.le16();  // bytes 8-9, 0 unless both came
  return kOk;
}

extern "C" uint32_t ipmi_app_set_channel_security_keys(IpmiHandle* handle, uint8_t channel, IpmiChannelKey* key) {
  if (handle == nullptr || key == nullptr || channel > kMaxChannel || key->operation > IPMI_CHANNEL_KEY_LOCK ||
      key->keyId > kMaxKeyId)
    return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x56, Privilege::Administrator);
  ex.u8(channel).u8(static_cast<uint8_t>(key->operation)).u8(static_cast<uint8_t>(key->keyId));
  if (key->operation == IPMI_CHANNEL_KEY_SET) ex.bytes(key->key, sizeof key->key);
  LUMI_TRY(ex.send(Reply::at_least(1), kKeyCodes));

  ByteReader reply = ex.reply();
  key->lockStatus = bits(reply.u8(), 1, 0);  // byte 1
  if (key->operation != IPMI_CHANNEL_KEY_READ) return kOk;
  if (reply.left() > sizeof key->key) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
  std::memset(key->key, 0, sizeof key->key);
  reply.copy(key->key, reply.left());  // bytes 2-21, as many as came
  return kOk;
}
