// Serial/modem configuration of NetFn Transport (IPMI v2.0 rev 1.1, 25), and the muxes of the serial port.
#include "lumipmi/serial.h"

#include "commands/auth_enables.hpp"
#include "commands/config_family.hpp"

using namespace lumi;

namespace {

constexpr ConfigFamily kSerial = {.last_set_code = 0x83};

constexpr ChannelParameterGet<ipmi_transport_get_serial_config> serial_get;
constexpr ChannelParameterSet<ipmi_transport_set_serial_config> serial_set;

}  // namespace

extern "C" uint32_t ipmi_transport_set_serial_config(IpmiHandle* handle, uint8_t channel, uint8_t selector,
                                                     uint16_t length, const void* data) {
  if (handle == nullptr || data == nullptr || length == 0 || channel > kMaxChannel)
    return IPMI_STATUS_APP_INVALID_PARAMETER;
  LUMI_TRY(kSerial.check_set(length));

  Exchange ex(handle, NetFn::Transport, 0x10, Privilege::Administrator);
  ex.u8(channel).u8(selector);
  return kSerial.set(ex, length, data);
}

extern "C" uint32_t ipmi_transport_get_serial_config(IpmiHandle* handle, uint8_t channel, uint8_t selector,
                                                     uint8_t set_selector, uint8_t block_selector, uint8_t* revision,
                                                     uint16_t* length, uint8_t* data) {
  if (handle == nullptr || revision == nullptr || length == nullptr || data == nullptr || channel > kMaxChannel)
    return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Transport, 0x11, Privilege::Operator);
  ex.u8(channel).u8(selector).u8(set_selector).u8(block_selector);
  return kSerial.get(ex, revision, length, data);
}

extern "C" uint32_t ipmi_get_serial_authentication_type_support(IpmiHandle* handle, uint8_t channel, uint8_t* types) {
  if (types == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[1] = {};
  LUMI_TRY(serial_get(handle, channel, IPMI_SERIAL_AUTH_TYPE_SUPPORT, data));
  *types = bits(data[0], 4, 0);
  return kOk;
}

extern "C" uint32_t ipmi_set_serial_authentication_type_enables(IpmiHandle* handle, uint8_t channel,
                                                                const IpmiLanAuthEnables* enables) {
  if (enables == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[kAuthEnablesSize];
  pack_auth_enables(*enables, data);
  return serial_set(handle, channel, IPMI_SERIAL_AUTH_TYPE_ENABLES, data);
}

extern "C" uint32_t ipmi_get_serial_authentication_type_enables(IpmiHandle* handle, uint8_t channel,
                                                                IpmiLanAuthEnables* enables) {
  if (enables == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[kAuthEnablesSize] = {};
  LUMI_TRY(serial_get(handle, channel, IPMI_SERIAL_AUTH_TYPE_ENABLES, data));
  unpack_auth_enables(data, enables);
  return kOk;
}

extern "C" uint32_t ipmi_set_serial_connection_mode(IpmiHandle* handle, uint8_t channel, uint8_t flag, uint8_t mode) {
  if (mode > 7) return IPMI_STATUS_APP_INVALID_PARAMETER;
  const uint8_t data[1] = {static_cast<uint8_t>(mode | flag << 7)};
  return serial_set(handle, channel, IPMI_SERIAL_CONNECTION_MODE, data);
}

extern "C" uint32_t ipmi_get_serial_connection_mode(IpmiHandle* handle, uint8_t channel, uint8_t* flag, uint8_t* mode) {
  if (flag == nullptr || mode == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[1] = {};
  LUMI_TRY(serial_get(handle, channel, IPMI_SERIAL_CONNECTION_MODE, data));
  *flag = bits(data[0], 7, 7);
  *mode = bits(data[0], 2, 0);
  return kOk;
}

extern "C" uint32_t ipmi_set_serial_basic_config(IpmiHandle* handle, uint8_t channel,
                                                 const IpmiSerialBasicConfig* config) {
  if (config == nullptr || config->bit_rate < IPMI_BIT_RATE_9600 || config->bit_rate > IPMI_BIT_RATE_115200 ||
      config->flow_control > 2)
    return IPMI_STATUS_APP_INVALID_PARAMETER;
  // DTR hang-up is three bits wide and spills into the flow control: part of the interface.
  const uint8_t data[2] = {static_cast<uint8_t>((config->dtr_hangup & 7u) << 5 | config->flow_control << 6),
                           static_cast<uint8_t>(config->bit_rate)};
  return serial_set(handle, channel, IPMI_SERIAL_BASIC_CONFIG, data);
}

extern "C" uint32_t ipmi_get_serial_basic_config(IpmiHandle* handle, uint8_t channel, IpmiSerialBasicConfig* config) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[2] = {};
  LUMI_TRY(serial_get(handle, channel, IPMI_SERIAL_BASIC_CONFIG, data));
  config->flow_control = bits(data[0], 7, 6);
  config->bit_rate = bits(data[1], 3, 0);
  config->dtr_hangup = bits(data[0], 5, 5);
  return kOk;
}

extern "C" uint32_t ipmi_set_serial_terminal_mode_config(IpmiHandle* handle, uint8_t channel,
                                                         const IpmiSerialTerminalConfig* config) {
  if (config == nullptr || config->reserved_mode > 2 || config->delete_control > 1 || config->output_newline > 5 ||
      config->input_newline > 2)
    return IPMI_STATUS_APP_INVALID_PARAMETER;
  // The flags are wider than their bit and spill into what stands above: part of the interface.
  const uint8_t data[2] = {
      static_cast<uint8_t>(config->reserved_mode << 6 | (config->line_editing & 7) << 5 | config->delete_control << 2 |
                           (config->echo & 0x7Fu) << 1 | config->handshake),
      static_cast<uint8_t>(config->output_newline << 4 | config->input_newline)};
  return serial_set(handle, channel, IPMI_SERIAL_TERMINAL_MODE, data);
}

extern "C" uint32_t ipmi_get_serial_terminal_mode_config(IpmiHandle* handle, uint8_t channel,
                                                         IpmiSerialTerminalConfig* config) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[2] = {};
  LUMI_TRY(serial_get(handle, channel, IPMI_SERIAL_TERMINAL_MODE, data));
  config->reserved_mode = 1;  // whatever bits 7:6 say: part of the interface, so that writing back what was read sets 1
  config->line_editing = bits(data[0], 5, 5);
  config->delete_control = bits(data[0], 3, 2);
  config->echo = bits(data[0], 1, 1);
  config->handshake = bits(data[0], 0, 0);
  config->output_newline = bits(data[1], 7, 4);
  config->input_newline = bits(data[1], 3, 0);
  return kOk;
}

extern "C" uint32_t ipmi_set_system_serial_port_association(IpmiHandle* handle, uint8_t channel,
                                                            const uint8_t association[6]) {
  if (association == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  // [2] is a value here and left in place by the getter: part of the interface, as are the widths.
  const uint8_t data[3] = {
      association[0],  //
      static_cast<uint8_t>((association[2] & 0x0F) << 4 | association[1]),
      static_cast<uint8_t>((association[5] & 1) << 7 | (association[4] & 3) << 6 | association[3])};
  return serial_set(handle, channel, IPMI_SERIAL_PORT_ASSOCIATION, data);
}

extern "C" uint32_t ipmi_get_system_serial_port_association(IpmiHandle* handle, uint8_t channel,
                                                            uint8_t association[6]) {
  if (association == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[3] = {};
  LUMI_TRY(serial_get(handle, channel, IPMI_SERIAL_PORT_ASSOCIATION, data));
  association[0] = data[0];
  association[1] = bits(data[1], 3, 0);
  association[2] = data[1] & 0xF0;  // in place: part of the interface, the setter takes it shifted right by 4
  association[3] = bits(data[2], 3, 0);
  association[4] = bits(data[2], 6, 6);
  association[5] = bits(data[2], 7, 7);
  return kOk;
}

extern "C" uint32_t ipmi_set_serial_mux(IpmiHandle* handle, uint8_t channel, uint8_t setting,
                                        IpmiSerialMuxStatus* status) {
  if (handle == nullptr || status == nullptr || channel > kMaxChannel) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Transport, 0x12, Privilege::Administrator);
  ex.u8(channel).u8(setting);
  LUMI_TRY(ex.send(Reply::at_least(1)));

  const uint8_t flags = ex.reply().u8();
  status->set_to_bmc = bits(flags, 7, 7);
  status->to_bmc_blocked = bits(flags, 6, 6);
  status->alert_in_progress = bits(flags, 3, 3);
  status->messaging_active = bits(flags, 2, 2);
  status->request_accepted = bits(flags, 1, 1);
  status->setting = bits(flags, 0, 0);
  return kOk;
}

extern "C" uint32_t ipmi_set_serial_routing_mux(IpmiHandle* handle, uint8_t channel, uint8_t setting, uint32_t* value) {
  if (handle == nullptr || value == nullptr || channel > kMaxChannel) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::Transport, 0x1C, Privilege::Administrator);
  ex.u8(channel).u8(setting).u8(static_cast<uint8_t>(*value));
  LUMI_TRY(ex.send(Reply::at_least(1)));
  *value = bits(ex.reply().u8(), 3, 0);
  return kOk;
}

extern "C" uint32_t ipmi_kest_set_mux(IpmiHandle* handle, uint8_t a, uint8_t b, uint32_t out[2]) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::OemKest, 0x20, Privilege::Administrator);
  ex.u8(a).u8(b);
  LUMI_TRY(ex.send(Reply::at_least(out != nullptr ? 2 : 0)));
  if (out == nullptr) return kOk;

  ByteReader reply = ex.reply();
  out[0] = reply.u8();
  out[1] = reply.u8();
  return kOk;
}
