// Event filters, alert policies and destinations, the community string, and immediate alerts.
#include "lumipmi/api_alerting.h"

#include <arpa/inet.h>

#include <cstdio>
#include <cstring>

#include "api/channels.hpp"
#include "lumipmi/api_identity.h"
#include "lumipmi/pef.h"
#include "platform/clock.hpp"
#include "platform/text.hpp"

using namespace lumi;

namespace {

constexpr size_t kCommunitySize = 18;

/// Opens the connection and reads a filter.
Status open_filter(Connection& bmc, uint8_t number, IpmiEventFilter& filter) {
  LUMI_TRY(bmc.open());
  filter.filter_number = number;
  return ipmi_get_event_filter(bmc.handle(), &filter);
}

/// Opens the connection and reads a policy.
Status open_policy(Connection& bmc, uint8_t entry, IpmiAlertPolicy& policy) {
  LUMI_TRY(bmc.open());
  policy.entry = entry;
  return ipmi_get_policy(bmc.handle(), &policy);
}

/// Opens the connection, reads a policy and the destination that it names.
Status open_destination(Connection& bmc, uint8_t entry, uint8_t& channel, IpmiLanDestination& destination) {
  IpmiAlertPolicy policy = {};
  LUMI_TRY(open_policy(bmc, entry, policy));
  channel = policy.channel;
  destination.selector = policy.destination;
  return ipmi_get_lan_destination(bmc.handle(), channel, &destination);
}

/// Opens the connection and finds a channel by its kind, 0 LAN or 1 serial.
Status open_channel(Connection& bmc, uint32_t kind, uint8_t* channel) {
  LUMI_TRY(bmc.open());
  return ipmi_get_channel_id(bmc.handle(), static_cast<int32_t>(kind), channel);
}

/// Asks for the outcome of an alert until it is there.
Status wait_for_alert(const Connection& bmc, IpmiAlertImmediate alert, int8_t seconds, uint32_t* result) {
  constexpr uint32_t kNoStatus = 0x00;
  constexpr uint32_t kInProgress = 0xFF;
  constexpr uint32_t kPauseMs = 50;
  alert.operation = IPMI_ALERT_STATUS;
  const int polls = (seconds * 5 & 0x3FFF) * 4 + 1;  // 20 a second
  for (int poll = 0; poll < polls; ++poll) {
    uint32_t status = 0;
    if (ipmi_se_alert_immediate(bmc.handle(), &alert, nullptr, &status) != kOk) continue;  // at once
    if (status != kNoStatus && status != kInProgress) {
      *result = status;
      return kOk;
    }
    sleep_ms(kPauseMs);
  }
  return IPMI_STATUS_APP_ALERT_TIMEOUT;
}

}  // namespace

extern "C" uint32_t IPMIGetEnableEventFilters(uint8_t filterNumber, uint8_t* enabled) {
  if (enabled == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  IpmiEventFilter filter = {};
  LUMI_TRY(open_filter(bmc, filterNumber, filter));
  *enabled = filter.enable;
  return kOk;
}

extern "C" uint32_t IPMISetEnableEventFilters(uint8_t filterNumber, uint8_t enable) {
  Connection bmc;
  IpmiEventFilter filter = {};
  LUMI_TRY(open_filter(bmc, filterNumber, filter));
  filter.enable = enable;
  return ipmi_set_event_filter(bmc.handle(), &filter);
}

extern "C" uint32_t IPMIGetEventFilterEntry(uint8_t filterNumber, IPMIEventFilterEntry* entry) {
  if (entry == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  LUMI_TRY(bmc.open());
  uint8_t data[40] = {};
  uint8_t revision;
  uint16_t length = sizeof data;
  LUMI_TRY(ipmi_se_get_pef_config(bmc.handle(), IPMI_PEF_EVENT_FILTER, filterNumber, 0, &revision, &length, data));
  std::memcpy(entry->data, data + 1, sizeof entry->data);  // data[0] is the set selector
  return kOk;
}

extern "C" uint32_t IPMIGetEventActions(uint8_t filterNumber, uint8_t* actions) {
  if (actions == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  IpmiEventFilter filter = {};
  LUMI_TRY(open_filter(bmc, filterNumber, filter));
  *actions = filter.action;
  return kOk;
}

extern "C" uint32_t IPMISetEventActions(uint8_t filterNumber, uint8_t actions) {
  Connection bmc;
  IpmiEventFilter filter = {};
  LUMI_TRY(open_filter(bmc, filterNumber, filter));
  filter.action = actions;
  return ipmi_set_event_filter(bmc.handle(), &filter);
}

extern "C" uint32_t IPMIGetAlertPolicyEnable(uint8_t policyEntry, uint8_t* enabled) {
  if (enabled == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  IpmiAlertPolicy policy = {};
  LUMI_TRY(open_policy(bmc, policyEntry, policy));
  *enabled = policy.enabled != 0;
  return kOk;
}

extern "C" uint32_t IPMISetAlertPolicyEnable(uint8_t policyEntry, uint8_t enable) {
  Connection bmc;
  IpmiAlertPolicy policy = {};
  LUMI_TRY(open_policy(bmc, policyEntry, policy));
  policy.enabled = enable;
  return ipmi_set_policy(bmc.handle(), &policy);
}

extern "C" uint32_t IPMIGetAlertDestinationIPAddr(uint8_t policyEntry, uint8_t capacity, char* text) {
  constexpr uint8_t kLeastCapacity = 7;
  if (text == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  if (capacity < kLeastCapacity) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
  std::memset(text, 0, capacity);

  Connection bmc;
  uint8_t channel;
  IpmiLanDestination destination = {};
  LUMI_TRY(open_destination(bmc, policyEntry, channel, destination));
  if (destination.address_format != 0) return kOk;  // no IPv4 address: an empty text
  const uint8_t* ip = destination.ip_address;
  std::snprintf(text, capacity, "%d.%d.%d.%d", ip[0], ip[1], ip[2], ip[3]);
  return kOk;
}

extern "C" uint32_t IPMISetAlertDestinationIPAddr(uint8_t policyEntry, const char* text) {
  if (text == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  const in_addr_t address = inet_addr(text);  // in network order; its error value is the broadcast address
  if (address == INADDR_NONE && std::strcmp(text, "255.255.255.255") != 0) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  IpmiLanDestination destination = {};
  LUMI_TRY(open_destination(bmc, policyEntry, channel, destination));
  if (destination.address_format != 0) return IPMI_STATUS_BMC_RESPOSE_UNAVAILABE;
  std::memcpy(destination.ip_address, &address, sizeof destination.ip_address);
  return ipmi_set_lan_destination(bmc.handle(), channel, &destination);
}

extern "C" uint32_t IPMIGetPETCommunityName(uint32_t channelKind, uint8_t capacity, uint8_t* text) {
  if (text == nullptr || capacity <= kCommunitySize) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(text, 0, capacity);

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, channelKind, &channel));
  uint8_t community[24] = {};  // the command clears 24 bytes
  LUMI_TRY(ipmi_get_community_string(bmc.handle(), channel, community));
  // The 18th character is cut: applications rely on the terminator in their 19 bytes.
  (void)copy_text(reinterpret_cast<char*>(text), kCommunitySize, reinterpret_cast<const char*>(community));
  return kOk;
}

extern "C" uint32_t IPMISetPETCommunityName(uint32_t channelKind, const char* text) {
  if (text == nullptr || strnlen(text, kCommunitySize + 1) > kCommunitySize) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, channelKind, &channel));
  char community[kCommunitySize] = {};
  (void)copy_text(community, sizeof community, text);  // an 18th character is accepted, and cut as by the get call
  return ipmi_set_community_string(bmc.handle(), channel, community);
}

extern "C" uint32_t IPMIGetAlertEnable(uint8_t* enabled) {
  if (enabled == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, IPMI_CHANNEL_KIND_LAN, &channel));
  IpmiChannelAccess access = {};
  LUMI_TRY(ipmi_app_get_channel_access_info(bmc.handle(), channel, kActiveSettings, &access));
  *enabled = access.alertingDisabled == 0;
  return kOk;
}

extern "C" uint32_t IPMISetAlertEnable(uint8_t enable) {
  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, IPMI_CHANNEL_KIND_LAN, &channel));
  return change_access(bmc.handle(), channel,
                       [enable](IpmiChannelAccess& access) { access.alertingDisabled = enable ^ 1; });
}

extern "C" uint32_t IPMIImmediateAlert(uint32_t channelKind, uint8_t destination, uint8_t sendString,
                                       uint8_t stringSelector, int8_t timeoutSeconds, uint32_t* alertStatus) {
  if (alertStatus == nullptr && timeoutSeconds > 0) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, channelKind, &channel));
  const IpmiAlertImmediate alert = {channel, IPMI_ALERT_INITIATE, destination, static_cast<uint8_t>(sendString & 1),
                                    stringSelector};
  LUMI_TRY(ipmi_se_alert_immediate(bmc.handle(), &alert, nullptr, nullptr));
  if (timeoutSeconds <= 0) return kOk;  // only initiated
  return wait_for_alert(bmc, alert, timeoutSeconds, alertStatus);
}
