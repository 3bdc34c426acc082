// Platform event filtering of NetFn Sensor/Event (IPMI v2.0 rev 1.1, 30), and the LAN parameters of alerting.
#include "lumipmi/pef.h"

#include <cstring>

#include "commands/config_family.hpp"
#include "lumipmi/lan.h"
#include "platform/text.hpp"

using namespace lumi;

namespace {

constexpr ConfigFamily kPef = {.min_reply = 2,
                               .short_reply = IPMI_STATUS_BMC_RESPOSE_UNAVAILABE,
                               .revision = Revision::BeforeData,
                               .max_set = 249};

constexpr uint16_t kCommunitySize = 18;

// Reads a parameter of at most N bytes; those that do not come are zero.
template <size_t N>
Status pef_get(IpmiHandle* handle, uint8_t selector, uint8_t set_selector, uint8_t (&data)[N]) {
  uint8_t revision;
  uint16_t length = N;
  return ipmi_se_get_pef_config(handle, selector, set_selector, 0, &revision, &length, data);
}

Status get_count(IpmiHandle* handle, uint8_t selector, uint8_t* count) {
  if (handle == nullptr || count == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[1];
  LUMI_TRY(pef_get(handle, selector, 0, data));
  *count = bits(data[0], 6, 0);
  return kOk;
}

// Reads a LAN parameter of one destination.
Status destination_get(IpmiHandle* handle, uint8_t channel, uint8_t selector, uint8_t destination, uint16_t minimum,
                       uint8_t (&data)[255]) {
  uint8_t revision;
  uint16_t length = sizeof data;
  LUMI_TRY(ipmi_transport_get_lan_config(handle, channel, selector, destination, 0, &revision, &length, data));
  return length < minimum ? IPMI_STATUS_BMC_RESPOSE_UNAVAILABE : kOk;
}

}  // namespace

extern "C" uint32_t ipmi_se_set_pef_config(IpmiHandle* handle, uint8_t selector, uint16_t length, const void* data) {
  if (handle == nullptr || data == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  LUMI_TRY(kPef.check_set(length));

  Exchange ex(handle, NetFn::SensorEvent, 0x12, Privilege::Administrator);
  ex.u8(bits(selector, 6, 0));
  return kPef.set(ex, length, data);
}

extern "C" uint32_t ipmi_se_get_pef_config(IpmiHandle* handle, uint8_t selector, uint8_t set_selector,
                                           uint8_t block_selector, uint8_t* revision, uint16_t* length, uint8_t* data) {
  if (handle == nullptr || revision == nullptr || length == nullptr || data == nullptr)
    return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(data, 0, *length);

  Exchange ex(handle, NetFn::SensorEvent, 0x13, Privilege::Operator);
  ex.u8(bits(selector, 6, 0)).u8(set_selector).u8(block_selector);
  return kPef.get(ex, revision, length, data);
}

extern "C" uint32_t ipmi_se_alert_immediate(IpmiHandle* handle, const IpmiAlertImmediate* request,
                                            const IpmiAlertEvent* event, uint32_t* status) {
  if (handle == nullptr || request == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  const bool wants_status = request->operation == IPMI_ALERT_STATUS;
  if (wants_status && status == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::SensorEvent, 0x16, Privilege::Administrator);
  ex.u8(request->channel);
  ex.u8(static_cast<uint8_t>((request->destination & 0x0Fu) | request->operation << 6));
  ex.u8((request->send_string & 1) != 0 ? request->string_selector | 0x80 : 0);
  if (event != nullptr) {
    ex.bytes(event->source, sizeof event->source);
    ex.u8(static_cast<uint8_t>(bits(event->event_type, 6, 0) | (event->event_dir & 1) << 7));
    ex.bytes(event->event_data12, sizeof event->event_data12);
    ex.u8(event->event_data3);
  }
  LUMI_TRY(ex.send(Reply::at_least(wants_status ? 1 : 0, IPMI_STATUS_BMC_RESPOSE_UNAVAILABE)));
  if (wants_status) *status = ex.reply().u8();
  return kOk;
}

extern "C" uint32_t ipmi_get_event_filter_count(IpmiHandle* handle, uint8_t* count) {
  return get_count(handle, IPMI_PEF_EVENT_FILTER_COUNT, count);
}

extern "C" uint32_t ipmi_get_event_filter(IpmiHandle* handle, IpmiEventFilter* filter) {
  if (handle == nullptr || filter == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint8_t data[40];  // more than an entry has; byte 1 is the filter number
  LUMI_TRY(pef_get(handle, IPMI_PEF_EVENT_FILTER, filter->filter_number, data));
  filter->enable = bits(data[1], 7, 7);
  filter->filter_type = bits(data[1], 6, 5);
  filter->action = bits(data[2], 6, 0);
  filter->group_control = bits(data[3], 6, 4);
  filter->policy_number = bits(data[3], 3, 0);
  filter->severity = bits(data[4], 5, 0);
  std::memcpy(filter->source, data + 5, sizeof filter->source);
  std::memcpy(filter->criteria, data + 9, sizeof filter->criteria);
  return kOk;
}

extern "C" uint32_t ipmi_set_event_filter(IpmiHandle* handle, const IpmiEventFilter* filter) {
  if (handle == nullptr || filter == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint8_t data[21];
  data[0] = bits(filter->filter_number, 6, 0);
  data[1] = static_cast<uint8_t>((filter->filter_type & 3) << 5 | (filter->enable & 1) << 7);
  data[2] = bits(filter->action, 6, 0);
  data[3] = bits(filter->policy_number, 3, 0);  // without group_control: part of the interface, an entry gets 0
  data[4] = static_cast<uint8_t>(filter->severity & 0x3F);
  std::memcpy(data + 5, filter->source, sizeof filter->source);
  std::memcpy(data + 9, filter->criteria, sizeof filter->criteria);
  return ipmi_se_set_pef_config(handle, IPMI_PEF_EVENT_FILTER, sizeof data, data);
}

extern "C" uint32_t ipmi_get_policy_count(IpmiHandle* handle, uint8_t* count) {
  return get_count(handle, IPMI_PEF_ALERT_POLICY_COUNT, count);
}

extern "C" uint32_t ipmi_get_policy(IpmiHandle* handle, IpmiAlertPolicy* policy) {
  if (handle == nullptr || policy == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint8_t data[40];  // more than an entry has; byte 1 is the entry's number
  LUMI_TRY(pef_get(handle, IPMI_PEF_ALERT_POLICY, policy->entry, data));
  policy->policy_number = bits(data[1], 7, 4);
  policy->enabled = bits(data[1], 3, 3);
  policy->policy_type = bits(data[1], 2, 0);
  policy->channel = bits(data[2], 7, 4);
  policy->destination = bits(data[2], 3, 0);
  policy->fixed_string = bits(data[3], 7, 7) == 0;
  policy->string_selector = bits(data[3], 6, 0);
  return kOk;
}

extern "C" uint32_t ipmi_set_policy(IpmiHandle* handle, const IpmiAlertPolicy* policy) {
  if (handle == nullptr || policy == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  const uint8_t data[4] = {bits(policy->entry, 6, 0),
                           static_cast<uint8_t>((policy->policy_type & 7) | (policy->policy_number & 0x0Fu) << 4 |
                                                (policy->enabled != 0 ? 0x08u : 0)),
                           static_cast<uint8_t>((policy->destination & 0x0F) | (policy->channel & 0x0F) << 4),
                           static_cast<uint8_t>((policy->fixed_string & 1) != 0 ? policy->string_selector & 0x7F
                                                                                : policy->string_selector | 0x80)};
  return ipmi_se_set_pef_config(handle, IPMI_PEF_ALERT_POLICY, sizeof data, data);
}

extern "C" uint32_t ipmi_set_community_string(IpmiHandle* handle, uint8_t channel, const char* text) {
  if (handle == nullptr || text == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  char data[kCommunitySize] = {};
  copy_text(data, sizeof data, text);
  return ipmi_transport_set_lan_config(handle, channel, IPMI_LAN_COMMUNITY_STRING, sizeof data, data);
}

extern "C" uint32_t ipmi_get_community_string(IpmiHandle* handle, uint8_t channel, uint8_t text[24]) {
  if (handle == nullptr || text == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(text, 0, 24);

  uint8_t data[255], revision;
  uint16_t length = sizeof data;
  LUMI_TRY(ipmi_transport_get_lan_config(handle, channel, IPMI_LAN_COMMUNITY_STRING, 0, 0, &revision, &length, data));
  if (length > kCommunitySize) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
  std::memcpy(text, data, length);
  return kOk;
}

extern "C" uint32_t ipmi_get_lan_destination_count(IpmiHandle* handle, uint8_t channel, uint8_t* count) {
  if (handle == nullptr || count == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint8_t data = 0, revision;
  uint16_t length = sizeof data;
  LUMI_TRY(ipmi_transport_get_lan_config(handle, channel, IPMI_LAN_DESTINATION_COUNT, 0, 0, &revision, &length, &data));
  *count = bits(data, 3, 0);
  return kOk;
}

extern "C" uint32_t ipmi_set_lan_destination(IpmiHandle* handle, uint8_t channel,
                                             const IpmiLanDestination* destination) {
  if (handle == nullptr || destination == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  const uint8_t type[4] = {bits(destination->selector, 3, 0),
                           // Two bits of the type, though three are read: part of the interface.
                           static_cast<uint8_t>((destination->type & 3) | (destination->acknowledge & 1u) << 7),
                           destination->ack_timeout, bits(destination->retries, 2, 0)};
  LUMI_TRY(ipmi_transport_set_lan_config(handle, channel, IPMI_LAN_DESTINATION_TYPE, sizeof type, type));

  uint8_t address[13] = {};
  address[0] = bits(destination->selector, 3, 0);
  address[1] = static_cast<uint8_t>((destination->address_format & 0x0F) << 4);
  if (destination->address_format == 0) {
    address[2] = (destination->use_default_gateway & 1) == 0;  // 1 is the backup gateway
    std::memcpy(address + 3, destination->ip_address, sizeof destination->ip_address);
    std::memcpy(address + 7, destination->mac_address, sizeof destination->mac_address);
  }
  return ipmi_transport_set_lan_config(handle, channel, IPMI_LAN_DESTINATION_ADDRESS, sizeof address, address);
}

extern "C" uint32_t ipmi_get_lan_destination(IpmiHandle* handle, uint8_t channel, IpmiLanDestination* destination) {
  if (handle == nullptr || destination == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint8_t type[255], address[255];
  LUMI_TRY(destination_get(handle, channel, IPMI_LAN_DESTINATION_TYPE, destination->selector, 4, type));
  LUMI_TRY(destination_get(handle, channel, IPMI_LAN_DESTINATION_ADDRESS, destination->selector, 13, address));
  destination->acknowledge = bits(type[1], 7, 7);
  destination->type = bits(type[1], 2, 0);
  destination->ack_timeout = type[2];
  destination->retries = bits(type[3], 2, 0);
  destination->address_format = bits(address[1], 7, 4);
  if (destination->address_format != 0) return kOk;  // no IPv4 address
  destination->use_default_gateway = bits(address[2], 0, 0) == 0;
  std::memcpy(destination->ip_address, address + 3, sizeof destination->ip_address);
  std::memcpy(destination->mac_address, address + 7, sizeof destination->mac_address);
  return kOk;
}
