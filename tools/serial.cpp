// lumipmi serial: the serial port that the BMC shares with the system.
#include <array>
#include <cstring>
#include <functional>

#include "tools/bit_rate.hpp"
#include "tools/text.hpp"
#include "tools/words.hpp"

namespace tool {

namespace {

// IPMI v2.0 rev 1.1, table 25-4
constexpr Word kConnections[] = {{1, "direct"}, {0, "modem"}};
constexpr Bit kModes[] = {{0, "basic"}, {1, "ppp"}, {2, "terminal"}};
constexpr Word kFlowControls[] = {{0, "none"}, {1, "rts-cts"}, {2, "xon-xoff"}};
constexpr Word kDeleteControls[] = {{0, "del"}, {1, "bksp-sp-bksp"}};
constexpr Word kOutputNewlines[] = {{0, "none"}, {1, "cr-lf"}, {2, "null"}, {3, "cr"}, {4, "lf-cr"}, {5, "lf"}};
constexpr Word kInputNewlines[] = {{1, "cr"}, {2, "null"}};

// Parameter 29: a write changes the settings in use or the stored ones.
constexpr uint32_t kTerminalOperations[] = {0, 1};

struct Level {
  const char* key;
  const char* option;
  const char* label;
};
constexpr Level kLevels[] = {{"auth_callback", "--auth-callback", "Authentication, callback"},
                             {"auth_user", "--auth-user", "Authentication, user"},
                             {"auth_operator", "--auth-operator", "Authentication, operator"},
                             {"auth_admin", "--auth-admin", "Authentication, administrator"},
                             {"auth_oem", "--auth-oem", "Authentication, OEM"}};
constexpr size_t kLevelCount = std::size(kLevels);

// 25.3
enum : uint8_t { kMuxStatus = 0, kRequestSystem = 1, kRequestBmc = 2, kForceSystem = 3, kForceBmc = 4 };
constexpr Word kMuxSides[] = {{0, "system"}, {1, "bmc"}};

constexpr char kGet[] = "Get Serial/Modem Configuration";
constexpr char kSet[] = "Set Serial/Modem Configuration";
constexpr char kMux[] = "Set Serial/Modem Mux";

// --- Parameters ---

/// The system's side of the port (parameter 51). The library reads the channel in the high nibble and takes it as a
/// number, so that every port that is read is turned into what can be written.
using Association = std::array<uint8_t, 6>;

uint32_t get_association(IpmiHandle* bmc, uint8_t channel, Association& association) {
  const uint32_t status = ipmi_get_system_serial_port_association(bmc, channel, association.data());
  if (status == 0) association[2] = static_cast<uint8_t>(association[2] >> 4);
  return status;
}

/// Authentication types for each level. The typed calls of the library drop the bit of the OEM type, and writing back
/// what they read would take it away.
uint32_t get_auth_types(IpmiHandle* bmc, uint8_t channel, uint8_t selector, uint8_t* types, uint16_t count) {
  uint8_t revision = 0;
  uint16_t length = count;
  const uint32_t status = ipmi_transport_get_serial_config(bmc, channel, selector, 0, 0, &revision, &length, types);
  return status == 0 && length < count ? static_cast<uint32_t>(IPMI_STATUS_BMC_UNSPECIFIED) : status;
}

Record mux_record(const IpmiSerialMuxStatus& status) {
  Record record{"mux", "Mux", {}};
  record.add("side", "Port belongs to", word_cell(kMuxSides, status.setting));
  // What the record calls set_to_bmc, bit 7 of the answer, is this in 25.3; bit 0 is the mux itself.
  record.add("system_blocked", "Requests for the system are blocked", yes_no(status.set_to_bmc != 0));
  record.add("bmc_blocked", "Requests for the BMC are blocked", yes_no(status.to_bmc_blocked != 0));
  record.add("alert_in_progress", "Alert in progress", yes_no(status.alert_in_progress != 0));
  record.add("messaging_active", "Messaging active", yes_no(status.messaging_active != 0));
  return record;
}

void show(Context& context, Document& document, uint8_t channel) {
  Parts parts(context.session, document);
  Cell missing;
  bool known = false;
  Record record{"serial", "", {}};
  const auto ask = [&](const char* part, auto request) { known = parts.ask(kGet, request, missing, part); };
  const auto add = [&](const char* key, const char* label, const Cell& cell) {
    record.add(key, label, known ? cell : missing);
  };
  record.add("channel", "Channel", channel_cell(channel));

  uint8_t direct = 0;
  uint8_t modes = 0;
  ask("connection mode",
      [&](IpmiHandle* bmc) { return ipmi_get_serial_connection_mode(bmc, channel, &direct, &modes); });
  add("connection", "Connection", word_cell(kConnections, direct));
  add("modes", "Connection modes", bits_cell(kModes, modes));

  IpmiSerialBasicConfig basic = {};
  ask("messaging settings", [&](IpmiHandle* bmc) { return ipmi_get_serial_basic_config(bmc, channel, &basic); });
  add("bit_rate", "Bit rate", bit_rate_cell(basic.bit_rate));
  add("flow_control", "Flow control", word_cell(kFlowControls, basic.flow_control));
  add("dtr_hangup", "DTR hang-up", yes_no(basic.dtr_hangup != 0));

  IpmiSerialTerminalConfig terminal = {};
  ask("terminal mode", [&](IpmiHandle* bmc) { return ipmi_get_serial_terminal_mode_config(bmc, channel, &terminal); });
  add("line_editing", "Terminal: line editing", yes_no(terminal.line_editing != 0));
  add("echo", "Terminal: echo", yes_no(terminal.echo != 0));
  add("handshake", "Terminal: handshake", yes_no(terminal.handshake != 0));
  add("delete_control", "Terminal: delete sends", word_cell(kDeleteControls, terminal.delete_control));
  add("output_newline", "Terminal: newline sent", word_cell(kOutputNewlines, terminal.output_newline));
  add("input_newline", "Terminal: newline received", word_cell(kInputNewlines, terminal.input_newline));

  uint8_t types[kLevelCount] = {};
  ask("authentication types",
      [&](IpmiHandle* bmc) { return get_auth_types(bmc, channel, IPMI_SERIAL_AUTH_TYPE_SUPPORT, types, 1); });
  add("auth_supported", "Authentication supported", bits_cell(kAuthTypes, types[0], "no type"));
  ask("authentication enables",
      [&](IpmiHandle* bmc) { return get_auth_types(bmc, channel, IPMI_SERIAL_AUTH_TYPE_ENABLES, types, kLevelCount); });
  for (size_t i = 0; i < kLevelCount; ++i)
    add(kLevels[i].key, kLevels[i].label, bits_cell(kAuthTypes, types[i], "no type"));

  Association port = {};
  ask("port association", [&](IpmiHandle* bmc) { return get_association(bmc, channel, port); });
  add("port_entry", "Port: association entry", count_cell(port[0]));
  add("port_connector", "Port: connector", count_cell(port[1]));
  add("port_channel", "Port: IPMI channel", count_cell(port[2]));
  add("port_controller", "Port: channel of the serial controller", count_cell(port[3]));
  add("port_sol", "Port: used for SOL", yes_no(port[4] != 0));
  add("port_sharing", "Port: shared with the BMC", yes_no(port[5] != 0));
  document.sections.push_back(std::move(record));

  IpmiSerialMuxStatus status = {};
  if (parts.ask(
          kMux, [&](IpmiHandle* bmc) { return ipmi_set_serial_mux(bmc, channel, kMuxStatus, &status); }, missing))
    document.sections.push_back(mux_record(status));
  else
    document.sections.push_back(Record{"mux", "Mux", {{"side", "Port belongs to", missing}}});
}

/// What a change sends, when all of it is found to be possible and the user agrees.
using Writes = std::vector<std::function<void()>>;

struct Options {
  std::optional<uint32_t> channel, connection, modes, bit_rate, flow_control, dtr_hangup, line_editing, echo, handshake,
      delete_control, output_newline, input_newline, connector, port_channel, controller, port_sol, port_sharing;
  std::optional<uint32_t> auth[kLevelCount];
};

/// A value that the BMC holds and the library does not write has to be given anew.
void require_writable(uint32_t value, std::span<const Word> words, const std::string& option) {
  for (const Word& word : words)
    if (word.value == value) return;
  throw Failure(Exit::Usage, "the BMC holds the reserved value " + hex_number(value) + " for " + option,
                "Give " + option + " as well.");
}

/// Goes on when nothing is taken away, or the user agrees to it.
void require_loss(const Context& context, const std::string& what, std::span<const Bit> bits, uint32_t before,
                  uint32_t after) {
  const uint32_t lost = before & ~after;
  if (lost != 0) require_consent(context, "Disable " + what + " " + joined(bits_of(bits, lost)) + "?");
}

void set_connection(Context& context, uint8_t channel, const Options& options, Writes& writes) {
  if (!options.connection && !options.modes) return;
  Session& session = context.session;
  uint8_t direct = 0;
  uint8_t modes = 0;
  session.check(ipmi_get_serial_connection_mode(session.handle(), channel, &direct, &modes), kGet);
  require_loss(context, "the connection mode", kModes, modes, options.modes.value_or(modes));
  change(direct, options.connection);
  change(modes, options.modes);
  writes.push_back([&session, channel, direct, modes] {
    session.check(ipmi_set_serial_connection_mode(session.handle(), channel, direct, modes), kSet);
  });
}

void set_basic(Session& session, uint8_t channel, const Options& options, Writes& writes) {
  if (!options.bit_rate && !options.flow_control && !options.dtr_hangup) return;
  IpmiSerialBasicConfig config = {};
  session.check(ipmi_get_serial_basic_config(session.handle(), channel, &config), kGet);
  config.bit_rate = options.bit_rate.value_or(config.bit_rate);
  config.flow_control = options.flow_control.value_or(config.flow_control);
  change(config.dtr_hangup, options.dtr_hangup);
  require_writable(config.bit_rate, kBitRates, "--bit-rate");
  require_writable(config.flow_control, kFlowControls, "--flow-control");
  writes.push_back([&session, channel, config] {
    session.check(ipmi_set_serial_basic_config(session.handle(), channel, &config), kSet);
  });
}

void set_terminal(Session& session, uint8_t channel, const Options& options, Writes& writes) {
  if (!options.line_editing && !options.echo && !options.handshake && !options.delete_control &&
      !options.output_newline && !options.input_newline)
    return;
  IpmiSerialTerminalConfig config = {};
  session.check(ipmi_get_serial_terminal_mode_config(session.handle(), channel, &config), kGet);
  config.line_editing = options.line_editing.value_or(config.line_editing);
  change(config.echo, options.echo);
  change(config.handshake, options.handshake);
  config.delete_control = options.delete_control.value_or(config.delete_control);
  config.output_newline = options.output_newline.value_or(config.output_newline);
  config.input_newline = options.input_newline.value_or(config.input_newline);
  require_writable(config.delete_control, kDeleteControls, "--delete-control");
  require_writable(config.output_newline, kOutputNewlines, "--output-newline");
  require_writable(config.input_newline, kInputNewlines, "--input-newline");
  for (const uint32_t operation : kTerminalOperations) {
    config.reserved_mode = operation;
    writes.push_back([&session, channel, config] {
      session.check(ipmi_set_serial_terminal_mode_config(session.handle(), channel, &config), kSet);
    });
  }
}

void set_auth(Context& context, uint8_t channel, const Options& options, Writes& writes) {
  Session& session = context.session;
  uint8_t types[kLevelCount] = {};
  bool changes = false;
  for (const std::optional<uint32_t>& level : options.auth) changes = changes || level;
  if (!changes) return;
  session.check(get_auth_types(session.handle(), channel, IPMI_SERIAL_AUTH_TYPE_ENABLES, types, kLevelCount), kGet);
  for (size_t i = 0; i < kLevelCount; ++i) {
    require_loss(context, "for " + std::string(kLevels[i].option) + " the authentication types", kAuthTypes, types[i],
                 options.auth[i].value_or(types[i]));
    change(types[i], options.auth[i]);
  }
  IpmiLanAuthEnables enables = {};
  std::memcpy(&enables.levels, types, sizeof enables.levels);
  enables.oem = types[kLevelCount - 1];
  writes.push_back([&session, channel, enables] {
    session.check(ipmi_set_serial_authentication_type_enables(session.handle(), channel, &enables), kSet);
  });
}

void set_association(Session& session, uint8_t channel, const Options& options, Writes& writes) {
  if (!options.connector && !options.port_channel && !options.controller && !options.port_sol && !options.port_sharing)
    return;
  Association port = {};
  session.check(get_association(session.handle(), channel, port), kGet);
  change(port[1], options.connector);
  change(port[2], options.port_channel);
  change(port[3], options.controller);
  change(port[4], options.port_sol);
  change(port[5], options.port_sharing);
  writes.push_back([&session, channel, port] {
    session.check(ipmi_set_system_serial_port_association(session.handle(), channel, port.data()), kSet);
  });
}

void set(Context& context, Document& document, const Options& options) {
  const uint8_t channel = channel_of(context.session, options.channel, Medium::Serial);
  Writes writes;
  set_connection(context, channel, options, writes);
  set_basic(context.session, channel, options, writes);
  set_terminal(context.session, channel, options, writes);
  set_auth(context, channel, options, writes);
  set_association(context.session, channel, options, writes);
  for (const std::function<void()>& write : writes) write();
  show(context, document, channel);
}

// --- Mux ---

struct MuxOptions {
  std::optional<uint32_t> channel, side;
  bool force = false;
};

void mux(Context& context, Document& document, const MuxOptions& options) {
  Session& session = context.session;
  const uint8_t channel = channel_of(session, options.channel, Medium::Serial);
  bool accepted = true;
  IpmiSerialMuxStatus status = {};
  if (options.side) {
    const bool to_bmc = *options.side != 0;
    require_consent(context, std::string("Switch the serial port to the ") + (to_bmc ? "BMC" : "system") +
                                 "? Whoever uses it on the other side is cut off.");
    const uint8_t setting =
        options.force ? (to_bmc ? kForceBmc : kForceSystem) : (to_bmc ? kRequestBmc : kRequestSystem);
    session.check(ipmi_set_serial_mux(session.handle(), channel, setting, &status), kMux);
    accepted = status.request_accepted != 0;
  }
  session.check(ipmi_set_serial_mux(session.handle(), channel, kMuxStatus, &status), kMux);
  document.sections.push_back(mux_record(status));
  if (!accepted)
    throw Failure(Exit::Refused, "the BMC did not accept the request to switch the serial port",
                  options.force ? "" : "--force switches it all the same.");
}

}  // namespace

void add_serial(CLI::App& app, Context& context) {
  const auto options = std::make_shared<Options>();
  CLI::App* serial = app.add_subcommand("serial", "Serial port of the BMC");
  serial->require_subcommand(0, 1);
  CLI::App* list = serial->add_subcommand("show", "Show its configuration and who owns it (the default)");
  for (CLI::App* command : {serial, list}) {
    add_channel(command, options->channel, Medium::Serial);
    runs(context, command, [options, &context](Document& document) {
      show(context, document, channel_of(context.session, options->channel, Medium::Serial));
    });
  }

  constexpr uint32_t kLastNibble = 0x0F;
  CLI::App* command = serial->add_subcommand("set", "Change the configuration; what is not given stays");
  add_channel(command, options->channel, Medium::Serial);
  add_word(command, "--connection", options->connection, kConnections, "What the port is connected to");
  add_bits(command, "--modes", options->modes, kModes, "Connection modes");
  add_word(command, "--bit-rate", options->bit_rate, kBitRates, "Bit rate");
  add_word(command, "--flow-control", options->flow_control, kFlowControls, "Flow control");
  add_switch(command, "--dtr-hangup", options->dtr_hangup, "Whether dropping DTR hangs up the modem");
  add_switch(command, "--line-editing", options->line_editing, "Terminal mode: line editing");
  add_switch(command, "--echo", options->echo, "Terminal mode: echo");
  add_switch(command, "--handshake", options->handshake, "Terminal mode: handshake");
  add_word(command, "--delete-control", options->delete_control, kDeleteControls, "Terminal mode: what delete sends");
  add_word(command, "--output-newline", options->output_newline, kOutputNewlines, "Terminal mode: newline sent");
  add_word(command, "--input-newline", options->input_newline, kInputNewlines, "Terminal mode: newline received");
  for (size_t i = 0; i < kLevelCount; ++i)
    add_bits(command, kLevels[i].option, options->auth[i], kAuthTypes,
             "Authentication types of level " + std::string(kLevels[i].option).substr(7), "off");
  add_number(command, "--port-connector", options->connector, 0, kLastNibble, "System's port: its connector");
  add_number(command, "--port-channel", options->port_channel, 0, kLastNibble, "System's port: its IPMI channel");
  add_number(command, "--port-controller", options->controller, 0, kLastNibble,
             "System's port: channel of its serial controller");
  add_switch(command, "--port-sol", options->port_sol, "System's port: used for SOL");
  add_switch(command, "--port-sharing", options->port_sharing, "System's port: shared with the BMC");
  runs(context, command, [options, &context](Document& document) { set(context, document, *options); });

  const auto switching = std::make_shared<MuxOptions>();
  CLI::App* mux_command =
      serial->add_subcommand("mux", "Show to whom the port belongs, or switch it, which asks first");
  add_word(mux_command, "side", switching->side, kMuxSides, "Who gets it");
  add_channel(mux_command, switching->channel, Medium::Serial);
  mux_command->add_flag("--force", switching->force, "Switch it even when the BMC blocks requests");
  runs(context, mux_command, [switching, &context](Document& document) { mux(context, document, *switching); });
}

}  // namespace tool
