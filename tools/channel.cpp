// lumipmi channel: what channels the BMC has, and who may use them.
#include "tools/secret.hpp"
#include "tools/settings.hpp"
#include "tools/text.hpp"
#include "tools/words.hpp"

namespace tool {

namespace {

constexpr uint8_t kLastChannel = 15;
constexpr uint8_t kThisChannel = 14;
constexpr uint32_t kSystemInterface = 12;

// IPMI v2.0 rev 1.1, tables 6-2 and 6-3; 22.22 and 22.24
constexpr Word kMediums[] = {{0x01, "IPMB"},      {0x02, "ICMB 1.0"},      {0x03, "ICMB 0.9"},
                             {0x04, "LAN"},       {0x05, "serial/modem"},  {0x06, "other LAN"},
                             {0x07, "PCI SMBus"}, {0x08, "SMBus 1.0/1.1"}, {0x09, "SMBus 2.0"},
                             {0x0A, "USB 1.x"},   {0x0B, "USB 2.x"},       {kSystemInterface, "system interface"}};
constexpr Word kProtocols[] = {{0x01, "IPMB-1.0"}, {0x02, "ICMB-1.0"}, {0x04, "IPMI-SMBus"}, {0x05, "KCS"},
                               {0x06, "SMIC"},     {0x07, "BT-10"},    {0x08, "BT-15"},      {0x09, "TMode"},
                               {0x1C, "OEM 1"},    {0x1D, "OEM 2"},    {0x1E, "OEM 3"},      {0x1F, "OEM 4"}};
constexpr Word kSessions[] = {{0, "none"}, {1, "single"}, {2, "multiple"}, {3, "by connection"}};
constexpr Word kModes[] = {{0, "disabled"}, {1, "pre-boot"}, {2, "always"}, {3, "shared"}};
constexpr uint32_t kIpmiForum = 7154;  // IANA enterprise number

// Table 13-16
constexpr Word kPayloads[] = {{0, "IPMI message"}, {1, "SOL"}, {2, "OEM explicit"}};
constexpr unsigned kFirstOemPayload = 0x20;
constexpr unsigned kLastOemPayload = 0x27;

// 22.13
constexpr Bit kConnections[] = {{0, "IPMI 1.5"}, {1, "IPMI 2.0"}};
constexpr Bit kLogins[] = {{2, "users with names"}, {1, "users without a name"}, {0, "anonymous login"}};

// 22.25
constexpr Word kKeys[] = {{0, "K_R"}, {1, "K_G"}};

Cell medium_cell(uint32_t medium) {
  return word_cell(kMediums, medium, medium >= 0x60 ? "OEM medium" : "reserved value");
}

Cell vendor_cell(const IpmiChannelInfo& info) {
  const uint32_t vendor = info.vendorIdLow | static_cast<uint32_t>(info.vendorIdHigh) << 16;
  return Cell(vendor == kIpmiForum ? "IPMI forum" : "enterprise " + std::to_string(vendor), vendor);
}

/// Which interrupt the system interface uses (22.24).
std::string interrupt_text(uint8_t type) {
  if (type <= 0x0F) return "IRQ " + std::to_string(type);
  if (type <= 0x13) return std::string("PCI ") + static_cast<char>('A' + type - 0x10);
  if (type == 0x14) return "SMI";
  if (type == 0x15) return "SCI";
  if (type >= 0x20 && type <= 0x5F) return "system interrupt " + std::to_string(type - 0x20);
  if (type == 0x60) return "assigned by ACPI or Plug and Play";
  if (type == 0xFF) return "none";
  return "reserved value " + hex_number(type);
}

IpmiChannelInfo read_info(Session& session, uint8_t channel) {
  IpmiChannelInfo info = {};
  session.check(ipmi_app_get_channel_info(session.handle(), channel, &info), "Get Channel Info");
  return info;
}

// Listing ------------------------------------------------------------------------------------------------------------

/// Completion codes for a channel that there is not.
bool is_absent(const Session& session) {
  constexpr uint8_t kCodes[] = {0xC9, 0xCB, 0xCC};  // out of range, not present, invalid field
  for (const uint8_t code : kCodes)
    if (session.last().answered && session.last().completion == code) return true;
  return false;
}

void list(Session& session, Document& document) {
  Table table{"channels",
              "",
              {{"channel", "Channel", true},
               {"medium", "Medium"},
               {"protocol", "Protocol"},
               {"sessions", "Sessions"},
               {"active_sessions", "Active", true},
               {"vendor", "Protocol vendor"},
               {"aux", "Auxiliary", true},
               {"in_use", "In use"}},
              {}};
  IpmiChannelInfo own = {};
  own.channelNumber = kThisChannel;
  const uint32_t asked = ipmi_app_get_channel_info(session.handle(), kThisChannel, &own);
  if (!is_absent(session)) session.check(asked, "Get Channel Info");
  for (uint8_t channel = 0; channel <= kLastChannel; ++channel) {
    if (channel == kThisChannel) continue;  // another name of one of the others
    IpmiChannelInfo info = {};
    const uint32_t status = ipmi_app_get_channel_info(session.handle(), channel, &info);
    if (status != 0 && is_absent(session)) continue;
    if (status != 0) {
      document.problem("channel " + std::to_string(channel), session.describe(status, "Get Channel Info"));
      if (session.fatal(status)) break;
      continue;
    }
    table.rows.push_back({channel_cell(channel), medium_cell(info.mediumType), word_cell(kProtocols, info.protocolType),
                          word_cell(kSessions, info.sessionSupport), count_cell(info.activeSessions), vendor_cell(info),
                          Cell(hex_number(info.auxInfo, 4), info.auxInfo), yes_no(channel == own.channelNumber)});
  }
  document.sections.push_back(std::move(table));
}

// One channel --------------------------------------------------------------------------------------------------------

/// Settings of a channel: those that count now, and those that count after a start of the BMC.
struct Copy {
  uint8_t select;  // as ipmi_app_get_channel_access_info() takes it
  uint32_t type;   // as ipmi_app_set_channel_access() does
  const char* key;
  const char* title;
};
constexpr Copy kStored = {0, IPMI_CHANNEL_ACCESS_NON_VOLATILE, "stored", "Access, stored"};
constexpr Copy kActive = {1, IPMI_CHANNEL_ACCESS_VOLATILE, "active", "Access, active"};

class View {
 public:
  View(Session& session, Document& document, uint8_t channel)
      : session_(session), parts_(session, document), document_(document), channel_(channel) {}

  void info(const IpmiChannelInfo& info) {
    Record record{"channel", "Channel", {}};
    record.add("channel", "Number", channel_cell(channel_));
    record.add("medium", "Medium", medium_cell(info.mediumType));
    record.add("protocol", "Protocol", word_cell(kProtocols, info.protocolType));
    record.add("vendor", "Protocol vendor", vendor_cell(info));
    record.add("sessions", "Sessions", word_cell(kSessions, info.sessionSupport));
    record.add("active_sessions", "Active sessions", count_cell(info.activeSessions));
    record.add("aux", "Auxiliary information", Cell(hex_number(info.auxInfo, 4), info.auxInfo));
    if (info.mediumType == kSystemInterface || channel_ == kLastChannel) {
      record.add("sms_interrupt", "SMS interrupt", interrupt_text(static_cast<uint8_t>(info.auxInfo & 0xFF)));
      record.add("event_interrupt", "Event buffer interrupt", interrupt_text(static_cast<uint8_t>(info.auxInfo >> 8)));
    }
    record.add("payloads", "Payloads", payloads());
    document_.sections.push_back(std::move(record));
  }

  void access() {
    access(kActive);
    access(kStored);
  }

 private:
  void access(const Copy& copy) {
    IpmiChannelAccess access = {};
    Cell missing;
    bool without_sessions = false;
    const bool known = parts_.ask(
                           "Get Channel Access",
                           [&](IpmiHandle* bmc) {
                             const uint32_t status =
                                 ipmi_app_get_channel_access_info(bmc, channel_, copy.select, &access);
                             without_sessions = status == IPMI_STATUS_BMC_CHANNEL_ACCESS_UNSUPPORTED;
                             return without_sessions ? 0 : status;
                           },
                           missing, copy.title) &&
                       !without_sessions;
    if (without_sessions) missing = Cell("not supported", nullptr, Severity::Faint);
    Record record{copy.key, copy.title, {}};
    const auto add = [&](const char* key, const char* label, const Cell& cell) {
      record.add(key, label, known ? cell : missing);
    };
    add("mode", "Mode", word_cell(kModes, access.accessMode));
    add("privilege", "Privilege limit", word_cell(kPrivileges, access.privilegeLimit));
    add("alerting", "Alerting", yes_no(access.alertingDisabled == 0));
    add("per_message_auth", "Per-message authentication", yes_no(access.perMessageAuthDisabled == 0));
    add("user_level_auth", "User-level authentication", yes_no(access.userLevelAuthDisabled == 0));
    document_.sections.push_back(std::move(record));
  }

  Cell payloads() {
    uint8_t support[8] = {};
    return parts_.cell(
        "Get Channel Payload Support",
        [&](IpmiHandle* bmc) { return ipmi_app_get_payload_support(bmc, channel_, support); },
        [&] {
          std::vector<std::string> texts;
          Json machine = Json::array();
          for (const Word& payload : kPayloads)
            if ((support[0] >> payload.value & 1) != 0) texts.push_back(payload.text + version(payload.value, machine));
          for (unsigned type = kFirstOemPayload; type <= kLastOemPayload; ++type)
            if ((support[type / 8] >> type % 8 & 1) != 0)
              texts.push_back("OEM " + hex_number(type) + version(type, machine));
          return Cell(texts.empty() ? "none" : joined(texts), machine);
        });
  }

  /// " 1.0", or nothing when the BMC does not tell.
  std::string version(uint32_t type, Json& machine) {
    uint8_t version = 0;
    const uint32_t status =
        ipmi_app_get_payload_version(session_.handle(), channel_, static_cast<int32_t>(type), &version);
    const std::string text =
        status == 0 ? std::to_string(version >> 4) + "." + std::to_string(version & 0x0F) : std::string();
    machine.push_back({{"type", type}, {"version", status == 0 ? Json(text) : Json()}});
    return text.empty() ? text : " " + text;
  }

  Session& session_;
  Parts parts_;
  Document& document_;
  const uint8_t channel_;
};

void show(Context& context, Document& document, uint8_t given) {
  const IpmiChannelInfo info = read_info(context.session, given);
  View view(context.session, document, info.channelNumber);
  view.info(info);
  view.access();
}

// Access -------------------------------------------------------------------------------------------------------------

struct Options {
  std::optional<uint32_t> channel, mode, privilege, alerting, per_message_auth, user_level_auth;
  bool active = false, stored = false;
  bool show_keys = false;

  bool changes_access() const { return mode || alerting || per_message_auth || user_level_auth; }
};

/// Only what is given is written: the flags and the privilege limit have a selector of their own each (22.22).
void write_access(Session& session, uint8_t channel, const Copy& copy, const Options& options) {
  IpmiChannelAccess access = {};
  session.check(ipmi_app_get_channel_access_info(session.handle(), channel, copy.select, &access),
                "Get Channel Access");
  access.accessType = options.changes_access() ? copy.type : uint32_t{IPMI_CHANNEL_ACCESS_KEEP};
  access.privilegeAccessType = options.privilege ? copy.type : uint32_t{IPMI_CHANNEL_ACCESS_KEEP};
  access.accessMode = options.mode.value_or(access.accessMode);
  access.privilegeLimit = options.privilege.value_or(access.privilegeLimit);
  const auto disable = [](const std::optional<uint32_t>& enable, uint8_t& disabled) {
    if (enable) disabled = *enable == 0 ? 1 : 0;
  };
  disable(options.alerting, access.alertingDisabled);
  disable(options.per_message_auth, access.perMessageAuthDisabled);
  disable(options.user_level_auth, access.userLevelAuthDisabled);
  session.check(ipmi_app_set_channel_access(session.handle(), channel, &access),
                std::string("Set Channel Access, ") + copy.key);
}

void set_access(Context& context, Document& document, const Options& options) {
  const uint8_t channel = read_info(context.session, static_cast<uint8_t>(*options.channel)).channelNumber;
  const bool both = options.active == options.stored;
  if (options.changes_access() || options.privilege) {
    require_consent(context, "Change the access to channel " + std::to_string(channel) +
                                 "? Users, you among them, may be locked out.");
    if (both || options.stored) write_access(context.session, channel, kStored, options);
    if (both || options.active) write_access(context.session, channel, kActive, options);
  }
  View(context.session, document, channel).access();
}

// Keys and authentication --------------------------------------------------------------------------------------------

void keys(Context& context, Document& document, const Options& options) {
  const uint8_t channel = channel_of(context.session, options.channel, Medium::Lan);
  Table table{"keys", "", {{"key", "Key"}, {"lock", "Lock"}, {"value", options.show_keys ? "Value" : ""}}, {}};
  Parts parts(context.session, document);
  for (const Word& word : kKeys) {
    IpmiChannelKey key = {};
    key.operation = IPMI_CHANNEL_KEY_READ;
    key.keyId = word.value;
    bool used = true;
    Cell missing;
    Cell value;
    bool known = false;
    {
      const SecretScope secret(context.session);
      known = parts.ask(
          "Set Channel Security Keys",
          [&](IpmiHandle* bmc) {
            const uint32_t status = ipmi_app_set_channel_security_keys(bmc, channel, &key);
            used = status != IPMI_STATUS_BMC_KEY_NOT_USED;
            return used ? status : 0;
          },
          missing, word.text);
      if (known && used && options.show_keys) value = Cell(hex_bytes(key.key));
      explicit_bzero(key.key, sizeof key.key);
    }
    Cell lock = known ? word_cell(kKeyLocks, key.lockStatus) : missing;
    if (!used) lock = Cell("not used", nullptr, Severity::Faint);
    table.rows.push_back({word.text, lock, value});
  }
  document.sections.push_back(std::move(table));
}

void auth_caps(Context& context, Document& document, const Options&) {
  Session& session = context.session;
  IpmiChannelAuthCaps caps = {};
  session.check(ipmi_app_get_channel_authentication_capabilities(session.handle(), caps),
                "Get Channel Authentication Capabilities");
  // The record has no room for these two beside the extended capabilities.
  const uint8_t types = session.last().reply[1];
  const uint8_t status = session.last().reply[2];
  const bool extended = (types & 0x80) != 0;
  Record record{"authentication", "", {}};
  record.add("channel", "Channel", channel_cell(caps[IPMI_AUTH_CAPS_CHANNEL]));
  record.add("connections", "Connections",
             extended ? bits_cell(kConnections, caps[IPMI_AUTH_CAPS_CONNECTIONS]) : Cell("IPMI 1.5", Json{"IPMI 1.5"}));
  record.add("types", "Authentication types", bits_cell(kAuthTypes, types & 0x3F, "no type"));
  if (extended) record.add("kg_is_set", "K_G is set", yes_no(caps[IPMI_AUTH_CAPS_KG_OR_TYPES] != 0));
  record.add("per_message_auth", "Per-message authentication", yes_no(caps[IPMI_AUTH_CAPS_PER_MESSAGE_OFF] == 0));
  record.add("user_level_auth", "User-level authentication", yes_no((status & 0x08) == 0));
  record.add("logins", "Login", bits_cell(kLogins, caps[IPMI_AUTH_CAPS_LOGIN]));
  const uint32_t oem = caps[IPMI_AUTH_CAPS_OEM_ID_LOW] | caps[IPMI_AUTH_CAPS_OEM_ID_MIDDLE] * 256u |
                       static_cast<uint32_t>(caps[IPMI_AUTH_CAPS_OEM_ID_HIGH]) << 16;
  record.add("oem_id", "OEM type of",
             oem == 0 ? Cell("none", nullptr) : Cell("enterprise " + std::to_string(oem), oem));
  record.add("oem_data", "OEM data", Cell(hex_number(caps[IPMI_AUTH_CAPS_OEM_DATA]), caps[IPMI_AUTH_CAPS_OEM_DATA]));
  document.sections.push_back(std::move(record));
}

void add_access(CLI::App* command, Options& options) {
  add_word(command, "--mode", options.mode, kModes, "When the channel can be used");
  add_word(command, "--privilege", options.privilege, kPrivileges, "The highest privilege level on it");
  add_switch(command, "--alerting", options.alerting, "PEF alerts");
  add_switch(command, "--per-message-auth", options.per_message_auth, "Authenticate every message");
  add_switch(command, "--user-level-auth", options.user_level_auth, "Authenticate messages of User level");
  command->add_flag("--volatile", options.active, "Change the active settings only");
  command->add_flag("--permanent", options.stored, "Change only what counts after a start of the BMC");
}

}  // namespace

void add_channel(CLI::App& app, Context& context) {
  const auto options = std::make_shared<Options>();
  CLI::App* channel = app.add_subcommand("channel", "Channels of the BMC");
  channel->require_subcommand(0, 1);
  const auto add = [&](const char* name, const char* help, const std::function<void(Document&)>& run) {
    CLI::App* command = channel->add_subcommand(name, help);
    runs(context, command, run);
    return command;
  };
  const auto add_id = [&](CLI::App* command) {
    return add_number(command, "N", options->channel, 0, kLastChannel, "The channel; 14 is the one in use");
  };
  const auto run_list = [&context](Document& document) { list(context.session, document); };
  runs(context, channel, run_list);
  add("list", "List them, and which of them is in use (the default)", run_list);
  add_id(add("info", "Show a channel: medium, protocol, payloads, and the access to it, active and stored",
             [&context, options](Document& document) {
               show(context, document, static_cast<uint8_t>(*options->channel));
             }))
      ->required();
  CLI::App* access = add("access", "Show or change the access to a channel, which asks first; what is not given stays",
                         [&context, options](Document& document) { set_access(context, document, *options); });
  add_id(access)->required();
  add_access(access, *options);
  CLI::App* keys_command =
      add("keys", "Show whether the keys of a channel are locked; without N of the first LAN channel",
          [&context, options](Document& document) { keys(context, document, *options); });
  add_id(keys_command);
  keys_command->add_flag("--show", options->show_keys, "Show the keys themselves, too");
  add("auth-caps", "Show how to log in through the channel in use",
      [&context, options](Document& document) { auth_caps(context, document, *options); });
}

}  // namespace tool
