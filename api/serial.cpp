// Serial port settings, the serial mux, session counts, and serial over LAN.
#include "lumipmi/serial.h"

#include <cstring>

#include "api/channels.hpp"
#include "core/bytes.hpp"
#include "lumipmi/api_serial.h"
#include "lumipmi/sol.h"

using namespace lumi;

namespace {

/// Opens the connection and finds the channel.
Status open_channel(Connection& bmc, const ChannelKind& kind, uint8_t* channel) {
  LUMI_TRY(bmc.open());
  return find_channel(bmc.handle(), kind, channel);
}

/// Sets the serial mux, 0 only asks, and gives back what the BMC answers.
Status route(uint32_t* setting) {
  constexpr Status kWrongState = IPMI_STATUS_BMC_BASE + 0xD5;
  constexpr Status kIntoDriverRange = 0x534;
  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, kSerialChannel, &channel));
  uint8_t association[6] = {};
  LUMI_TRY(ipmi_get_system_serial_port_association(bmc.handle(), channel, association));
  // In the order of the request: the channel, the first byte of the association, the setting.
  const Status status = ipmi_set_serial_routing_mux(bmc.handle(), channel, association[0], setting);
  return status == kWrongState ? kWrongState + kIntoDriverRange : status;
}

}  // namespace

extern "C" uint32_t IPMIGetSerialConnectionMode(IPMISerialConnectionMode* mode) {
  if (mode == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, kSerialChannel, &channel));
  uint8_t basic = 0;
  uint8_t modes = 0;
  LUMI_TRY(ipmi_get_serial_connection_mode(bmc.handle(), channel, &basic, &modes));
  mode->basicMode = basic;
  mode->directConnect = bits(modes, 0, 0);
  mode->terminalMode = bits(modes, 1, 1);
  mode->pppMode = bits(modes, 2, 2);
  return kOk;
}

extern "C" uint32_t IPMISetSerialConnectionMode(const IPMISerialConnectionMode* mode) {
  if (mode == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, kSerialChannel, &channel));
  // 0 and 1 are meant; directConnect goes in as it is, other values give other bits.
  const uint8_t modes =
      static_cast<uint8_t>(mode->directConnect | (mode->terminalMode << 1 & 0x02) | (mode->pppMode << 2 & 0x04));
  return ipmi_set_serial_connection_mode(bmc.handle(), channel, mode->basicMode != 0, modes);
}

extern "C" uint32_t IPMIGetSerialConfiguration(IPMISerialConfig* config) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  std::memset(config, 0, sizeof *config);

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, kSerialChannel, &channel));
  uint8_t basic = 0;
  uint8_t modes = 0;
  LUMI_TRY(ipmi_get_serial_connection_mode(bmc.handle(), channel, &basic, &modes));
  config->directConnect = bits(modes, 0, 0);
  config->terminalMode = bits(modes, 1, 1);
  config->pppMode = bits(modes, 2, 2);

  IpmiSerialBasicConfig line = {};
  LUMI_TRY(ipmi_get_serial_basic_config(bmc.handle(), channel, &line));
  config->bitRate = static_cast<uint8_t>(line.bit_rate);
  config->flowControl = static_cast<uint8_t>(line.flow_control);

  IpmiSerialTerminalConfig terminal = {};
  LUMI_TRY(ipmi_get_serial_terminal_mode_config(bmc.handle(), channel, &terminal));
  config->lineEditing = static_cast<uint8_t>(terminal.line_editing);
  config->deleteControl = static_cast<uint8_t>(terminal.delete_control);
  config->echo = terminal.echo;
  config->handshake = terminal.handshake;
  config->outputNewline = static_cast<uint8_t>(terminal.output_newline);
  config->inputNewline = static_cast<uint8_t>(terminal.input_newline);

  uint8_t association[6] = {};
  LUMI_TRY(ipmi_get_system_serial_port_association(bmc.handle(), channel, association));
  config->portAssociation = association[1];
  return kOk;
}

extern "C" uint32_t IPMISetSerialConfiguration(const IPMISerialConfig* config) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, kSerialChannel, &channel));
  IpmiSerialBasicConfig line = {};
  LUMI_TRY(ipmi_get_serial_basic_config(bmc.handle(), channel, &line));
  line.bit_rate = config->bitRate;
  line.flow_control = config->flowControl;
  LUMI_TRY(ipmi_set_serial_basic_config(bmc.handle(), channel, &line));

  IpmiSerialTerminalConfig terminal = {0,
                                       config->lineEditing,
                                       config->deleteControl,
                                       config->echo,
                                       config->handshake,
                                       config->outputNewline,
                                       config->inputNewline};
  LUMI_TRY(ipmi_set_serial_terminal_mode_config(bmc.handle(), channel, &terminal));
  terminal.reserved_mode = 1;  // BMCs take the settings for both values
  LUMI_TRY(ipmi_set_serial_terminal_mode_config(bmc.handle(), channel, &terminal));
  return kOk;  // connection mode and port association have calls of their own
}

extern "C" uint32_t IPMIGetSerialChannelAccess(uint8_t* enabled, uint8_t* privilegeLimit) {
  if (enabled == nullptr || privilegeLimit == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, kSerialChannel, &channel));
  return get_access(bmc.handle(), channel, kStoredSettings, enabled, privilegeLimit);  // LAN: the active ones
}

extern "C" uint32_t IPMISetSerialChannelAccess(uint8_t enable, uint8_t privilegeLimit) {
  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, kSerialChannel, &channel));
  return set_access(bmc.handle(), channel, enable, privilegeLimit);
}

extern "C" uint32_t IPMIGetSerialMuxSetting(uint8_t* setting) {
  if (setting == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint32_t value = 0;
  LUMI_TRY(route(&value));
  *setting = static_cast<uint8_t>(value);
  return kOk;
}

extern "C" uint32_t IPMISetSerialMuxSetting(uint8_t setting) {
  uint32_t value = setting;
  return route(&value);
}

extern "C" uint32_t IPMIGetSessionInfo(uint8_t* possible, uint8_t* active) {
  Connection bmc;
  LUMI_TRY(bmc.open());
  if (possible == nullptr || active == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  const IpmiSessionQuery query = {static_cast<uint8_t>(bmc.handle()->params.interfaceType == 1 ? 1 : 0), 0};
  uint8_t info[3];
  LUMI_TRY(ipmi_app_get_session_info(bmc.handle(), &query, info));
  *possible = info[1];
  *active = info[2];
  return kOk;
}

extern "C" uint32_t IPMIGetEnableSOL(uint8_t* enabled) {
  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, kSolChannel, &channel));
  return ipmi_get_sol_enabled_status(bmc.handle(), channel, enabled);
}

extern "C" uint32_t IPMISetEnableSOL(uint8_t enable) {
  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, kSolChannel, &channel));
  return ipmi_enable_sol(bmc.handle(), channel, enable);
}

extern "C" uint32_t IPMIGetSOLConfiguration(IPMISolConfig* config) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, kSolChannel, &channel));
  uint8_t accumulate[2] = {};
  LUMI_TRY(ipmi_get_sol_char_config(bmc.handle(), channel, accumulate));
  std::memcpy(config->accumulateSettings, accumulate, sizeof accumulate);
  uint32_t rate = 0;
  const Status status = ipmi_get_sol_non_volatile(bmc.handle(), channel, &rate);
  config->solBitRate = static_cast<uint8_t>(rate);  // written whatever the status: 0 on failure
  return status;
}

extern "C" uint32_t IPMISetSOLConfiguration(const IPMISolConfig* config) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, kSolChannel, &channel));
  LUMI_TRY(ipmi_set_sol_char_config(bmc.handle(), channel, config->accumulateSettings));
  LUMI_TRY(ipmi_set_sol_non_volatile(bmc.handle(), channel, config->solBitRate));
  return ipmi_set_sol_volatile(bmc.handle(), channel, config->solBitRate);
}

extern "C" uint32_t IPMIGetSOLOperatingPrivilege(uint8_t* privilege) {
  if (privilege == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, kSolChannel, &channel));
  IpmiSolConfig sol = {};
  LUMI_TRY(ipmi_get_sol_authentication(bmc.handle(), channel, &sol));
  *privilege = static_cast<uint8_t>(sol.privilege_level);
  return kOk;
}

extern "C" uint32_t IPMISetSOLOperatingPrivilege(uint8_t privilege) {
  Connection bmc;
  uint8_t channel;
  LUMI_TRY(open_channel(bmc, kSolChannel, &channel));
  IpmiSolConfig sol = {};
  LUMI_TRY(ipmi_get_sol_authentication(bmc.handle(), channel, &sol));
  sol.privilege_level = privilege;
  return ipmi_set_sol_authentication(bmc.handle(), channel, &sol);
}
