// User commands of NetFn App (IPMI v2.0 rev 1.1, 22.26 to 22.30).
#include "lumipmi/user.h"

#include <cstring>

#include "core/exchange.hpp"
#include "platform/text.hpp"

using namespace lumi;

namespace {

constexpr size_t kNameSize = 16;
constexpr size_t kShortPassword = 16;
constexpr size_t kLongPassword = 20;
constexpr uint8_t kLongForm = 0x80;
constexpr uint8_t kNoMatch = 0x80;
constexpr uint8_t kWrongSize = 0x81;

constexpr Reply at_least(uint16_t minimum) {
  return Reply::at_least(minimum, IPMI_STATUS_BMC_RESPOSE_UNAVAILABE);
}

// The password field is sent whole or its first 16 bytes. Completion codes are not mapped.
Status send_password(Exchange& ex, uint8_t user_id, int32_t operation, const char (&field)[kLongPassword],
                     bool long_form) {
  ex.u8(static_cast<uint8_t>(bits(user_id, 5, 0) | (long_form ? kLongForm : 0)));
  ex.u8(static_cast<uint8_t>(operation & 3));
  ex.bytes(field, long_form ? kLongPassword : kShortPassword);
  return ex.send(Reply::none());
}

}  // namespace

extern "C" uint32_t ipmi_app_set_user_access(IpmiHandle* handle, const uint8_t selector[2],
                                             const IpmiUserAccessSetting* setting) {
  if (handle == nullptr || selector == nullptr || setting == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x43, Privilege::Administrator);
  // 0xB0 and the overlapping flags are part of the interface: a change always takes effect (bit 7), always enables link
  // authentication and IPMI messaging (bits 5 and 4), and three different fields reach "callback only" (bit 6).
  ex.u8(static_cast<uint8_t>((selector[0] & 0x0F) | (setting->callbackOnly & 3) << 6 |
                             (setting->linkAuthEnabled & 7) << 5 | (setting->ipmiMessagingEnabled & 0x0F) << 4 | 0xB0));
  ex.u8(bits(selector[1], 5, 0));
  ex.u8(static_cast<uint8_t>(setting->privilegeLimit & 0x0F));
  ex.u8(bits(setting->sessionLimit, 3, 0));
  return ex.send(Reply::none());
}

extern "C" uint32_t ipmi_app_get_user_access(IpmiHandle* handle, const uint8_t selector[2], IpmiUserAccessInfo* info) {
  if (handle == nullptr || selector == nullptr || info == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(info, 0, sizeof *info);

  Exchange ex(handle, NetFn::App, 0x44, Privilege::Operator);
  ex.u8(bits(selector[0], 3, 0)).u8(bits(selector[1], 5, 0));
  LUMI_TRY(ex.send(at_least(4)));

  ByteReader reply = ex.reply();
  info->maxUserIds = bits(reply.u8(), 5, 0);  // byte 1
  const uint8_t enabled = reply.u8();         // byte 2
  info->enabledUserCount = bits(enabled, 5, 0);
  info->enableStatus = enabled & 0xC0;            // left in place: 0x40 enabled, 0x80 disabled
  info->fixedNameCount = bits(reply.u8(), 5, 0);  // byte 3
  const uint8_t access = reply.u8();              // byte 4
  info->callbackOnly = bits(access, 6, 6);
  info->linkAuthEnabled = bits(access, 5, 5);
  info->ipmiMessagingEnabled = bits(access, 4, 4);
  info->privilegeLimit = bits(access, 3, 0);
  return kOk;
}

extern "C" uint32_t ipmi_app_set_user_name(IpmiHandle* handle, uint8_t user_id, const char* name) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  char field[kNameSize] = {};
  copy_text(field, sizeof field, name);  // 15 characters at most: the field always ends in NUL
  Exchange ex(handle, NetFn::App, 0x45, Privilege::Administrator);
  ex.u8(bits(user_id, 5, 0)).bytes(field, sizeof field);
  return ex.send(Reply::none());
}

extern "C" uint32_t ipmi_app_get_user_name(IpmiHandle* handle, uint8_t user_id, uint8_t name[16]) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(name, 0, kNameSize);

  Exchange ex(handle, NetFn::App, 0x46, Privilege::Operator);
  ex.u8(bits(user_id, 5, 0));
  LUMI_TRY(ex.send(at_least(kNameSize)));
  ex.reply().copy(name, kNameSize);  // bytes 1-16
  return kOk;
}

extern "C" uint32_t ipmi_app_set_user_password(IpmiHandle* handle, uint8_t user_id, int32_t operation,
                                               const char* password) {
  const bool with_password = operation == IPMI_PASSWORD_SET || operation == IPMI_PASSWORD_TEST;
  if (handle == nullptr || (with_password && password == nullptr)) return IPMI_STATUS_APP_INVALID_PARAMETER;
  if (operation < IPMI_PASSWORD_DISABLE_USER || operation > IPMI_PASSWORD_TEST)
    return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::App, 0x47, Privilege::Administrator);
  if (!with_password) {
    ex.u8(bits(user_id, 5, 0)).u8(static_cast<uint8_t>(operation));
    return ex.send(Reply::none());
  }
  char field[kLongPassword] = {};
  copy_text(field, sizeof field, password);  // 19 characters at most, also in the 20-byte form
  const bool long_form = std::strlen(field) > kShortPassword;
  const Status status = send_password(ex, user_id, operation, field, long_form);
  if (operation == IPMI_PASSWORD_SET) return status;

  if (ex.completion() == kNoMatch) return IPMI_STATUS_BMC_PASSWORD_MISMATCH;
  if (ex.completion() != kWrongSize) return status;
  if (long_form) return IPMI_STATUS_BMC_PASSWORD_SIZE;
  Exchange again(handle, NetFn::App, 0x47, Privilege::Administrator);
  return send_password(again, user_id, operation, field, true);  // once, and whatever the BMC says now stands
}
