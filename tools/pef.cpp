// lumipmi pef: platform event filtering, and the alerts that it sends.
#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

#include "tools/address.hpp"
#include "tools/events.hpp"
#include "tools/names.hpp"
#include "tools/settings.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

// IPMI v2.0 rev 1.1, table 30-6, parameters that concern all filters.
enum : uint8_t { kControl = 1, kGlobalActions = 2, kStartupDelay = 3, kAlertStartupDelay = 4 };
enum : uint8_t { kEnabled = 0x01, kEventMessages = 0x02, kStartupDelayOn = 0x04, kAlertStartupDelayOn = 0x08 };

// Table 17-2
constexpr uint8_t kAny = 0xFF;
constexpr uint16_t kAnyOffset = 0xFFFF;
constexpr Bit kActions[] = {{0, "alert"}, {1, "power-off"}, {2, "reset"},        {3, "power-cycle"},
                            {4, "oem"},   {5, "interrupt"}, {6, "group-control"}};
constexpr uint32_t kStoppingActions = 1u << 1 | 1u << 2 | 1u << 3 | 1u << 5;
constexpr Word kFilterTypes[] = {{0, "software"}, {2, "manufacturer"}};
constexpr Word kSeverities[] = {{0x00, "unspecified"},  {0x01, "monitor"},  {0x02, "information"},    {0x04, "ok"},
                                {0x08, "non-critical"}, {0x10, "critical"}, {0x20, "non-recoverable"}};
constexpr uint32_t kManufacturer = 2;

// 17.11: whether an entry sends its alert, and which one comes next, when the alert of an earlier entry got through
constexpr Word kPolicyTypes[] = {
    {0, "always"}, {1, "next-if-sent"}, {2, "stop-if-sent"}, {3, "next-channel-if-sent"}, {4, "next-type-if-sent"}};

// Table 23-4, parameter 18
constexpr Word kDestinationTypes[] = {{0, "pet"}, {6, "oem1"}, {7, "oem2"}};

// 30.7
constexpr Word kAlertStates[] = {{0x00, "no status"},
                                 {0x01, "sent"},
                                 {0x02, "call retries failed"},
                                 {0x03, "not acknowledged in time"},
                                 {0xFF, "in progress"}};
constexpr Word kAlertRefusals[] = {{0x81, "another alert is in progress"},
                                   {0x82, "an IPMI session is active on the channel"},
                                   {0x83, "the BMC takes no event with an alert"}};

constexpr char kGet[] = "Get PEF Configuration Parameters";
constexpr char kSet[] = "Set PEF Configuration Parameters";
constexpr char kGetLan[] = "Get LAN Configuration Parameters";
constexpr char kSetLan[] = "Set LAN Configuration Parameters";

constexpr uint32_t kLastEntry = 0x7F;
constexpr uint32_t kLastNibble = 0x0F;

/// The row of an entry, or why it could not be read.
template <typename Request, typename Cells>
void add_entry(Parts& parts, Table& table, const char* command, const std::string& what, uint8_t number,
               const Request& request, const Cells& cells) {
  Cell missing;
  if (parts.ask(command, request, missing, what + " " + std::to_string(number))) {
    table.rows.push_back(cells());
    return;
  }
  std::vector<Cell> row(table.columns.size());
  row[0] = count_cell(number);
  row[1] = missing;
  table.rows.push_back(std::move(row));
}

/// Entries are numbered from 1.
void require_entry(uint8_t number, uint8_t count, const std::string& what) {
  if (number > count)
    throw Failure(Exit::Usage,
                  "there is no " + what + " " + std::to_string(number) + "; the BMC has " + std::to_string(count));
}

/// What is missing of a short entry the library takes for zero. Here an entry is whole or not read, so that nobody
/// sees, or writes back, what the BMC does not hold.
uint32_t if_whole(const Session& session, uint32_t status, size_t size) {
  return status == 0 && session.last().reply.size() < 1 + size ? static_cast<uint32_t>(IPMI_STATUS_BMC_UNSPECIFIED)
                                                               : status;
}

// --- All filters together ---

uint32_t get_byte(IpmiHandle* bmc, uint8_t selector, uint8_t& value) {
  uint8_t revision = 0;
  uint16_t length = 1;
  return ipmi_se_get_pef_config(bmc, selector, 0, 0, &revision, &length, &value);
}

Record control_record(Parts& parts) {
  Record record{"pef", "Platform event filtering", {}};
  uint8_t control = 0;
  Cell missing;
  const bool known = parts.ask(
      kGet, [&](IpmiHandle* bmc) { return get_byte(bmc, kControl, control); }, missing, "PEF control");
  const auto add_flag = [&](const char* key, const char* label, uint8_t bit) {
    record.add(key, label, known ? yes_no((control & bit) != 0) : missing);
  };
  const auto add_byte = [&](const char* key, const char* label, uint8_t selector, auto show) {
    uint8_t value = 0;
    record.add(key, label,
               parts.cell(
                   kGet, [&](IpmiHandle* bmc) { return get_byte(bmc, selector, value); }, [&] { return show(value); },
                   std::string("PEF parameter ") + std::to_string(selector)));
  };
  const auto seconds = [](uint8_t value) { return amount(value, "s"); };
  add_flag("enabled", "Enabled", kEnabled);
  add_flag("event_messages", "Actions are logged", kEventMessages);
  add_byte("actions", "Actions allowed", kGlobalActions, [](uint8_t value) { return bits_cell(kActions, value); });
  add_flag("startup_delay_enabled", "Startup delay in use", kStartupDelayOn);
  add_byte("startup_delay_seconds", "Startup delay", kStartupDelay, seconds);
  add_flag("alert_startup_delay_enabled", "Alert startup delay in use", kAlertStartupDelayOn);
  add_byte("alert_startup_delay_seconds", "Alert startup delay", kAlertStartupDelay, seconds);
  return record;
}

struct ControlOptions {
  std::optional<uint32_t> enable, event_messages, actions;
};

void set_control(Context& context, Document& document, const ControlOptions& options) {
  Session& session = context.session;
  uint8_t control = 0;
  uint8_t actions = 0;
  session.check(get_byte(session.handle(), kControl, control), kGet);
  session.check(get_byte(session.handle(), kGlobalActions, actions), kGet);
  const auto set_bit = [](uint8_t& value, uint8_t bit, const std::optional<uint32_t>& option) {
    if (option) value = static_cast<uint8_t>(*option != 0 ? value | bit : value & ~bit);
  };
  set_bit(control, kEnabled, options.enable);
  set_bit(control, kEventMessages, options.event_messages);
  change(actions, options.actions);
  if ((control & kEnabled) != 0 && (actions & kStoppingActions) != 0 && (options.enable || options.actions))
    require_consent(context, "Enable event filtering with actions that can stop the system (" +
                                 joined(bits_of(kActions, actions & kStoppingActions)) + ")?");
  if (options.actions)
    session.check(ipmi_se_set_pef_config(session.handle(), kGlobalActions, sizeof actions, &actions), kSet);
  if (options.enable || options.event_messages)
    session.check(ipmi_se_set_pef_config(session.handle(), kControl, sizeof control, &control), kSet);
  Parts parts(session, document);
  document.sections.push_back(control_record(parts));
}

// --- Event filters ---

/// A field that a filter compares.
Cell match_cell(uint8_t value, const std::string& name) {
  const std::string text = value == kAny ? "any" : name;
  return Cell(text, Json{{"value", value}, {"text", text}});
}

/// Without a channel and LUN in the text those are 0, as they are for most.
Cell generator_cell(const IpmiEventFilter& filter) {
  const uint8_t id = filter.source[0];
  const uint8_t place = filter.source[1];
  std::string text = id == kAny ? "any" : owner_name(id);
  if (place == kAny)
    text += id == kAny ? "" : ", any channel and LUN";
  else if (place != 0 || id == kAny)
    text += ", channel " + std::to_string(place >> 4) + ", LUN " + std::to_string(place & 3);
  return Cell(text, Json{{"value", id}, {"channel_lun", place}, {"text", text}});
}

const std::vector<Column>& filter_columns() {
  static const std::vector<Column> columns = {
      {"number", "Filter", true}, {"enabled", "Enabled"},   {"type", "Set by"},    {"actions", "Actions"},
      {"policy", "Policy", true}, {"severity", "Severity"}, {"generator", "From"}, {"sensor_type", "Sensor type"},
      {"sensor", "Sensor", true}, {"trigger", "Trigger"}};
  return columns;
}

std::vector<Cell> filter_cells(const IpmiEventFilter& filter) {
  std::vector<Cell> cells = {count_cell(filter.filter_number),
                             yes_no(filter.enable != 0),
                             word_cell(kFilterTypes, filter.filter_type),
                             bits_cell(kActions, filter.action),
                             count_cell(filter.policy_number),
                             word_cell(kSeverities, filter.severity),
                             generator_cell(filter),
                             match_cell(filter.source[2], sensor_type_name(filter.source[2])),
                             match_cell(filter.source[3], std::to_string(filter.source[3])),
                             match_cell(filter.criteria[0], event_type_name(filter.criteria[0]))};
  if (filter.enable == 0)
    for (Cell& cell : cells) cell.severity = Severity::Faint;
  return cells;
}

Cell offsets_cell(const IpmiEventFilter& filter) {
  const auto mask = static_cast<uint16_t>(filter.criteria[1] | filter.criteria[2] << 8);
  const auto bits = static_cast<uint16_t>(mask & 0x7FFF);
  Json numbers = Json::array();
  for (unsigned offset = 0; offset < 15; ++offset)
    if ((bits >> offset & 1) != 0) numbers.push_back(offset);
  if (bits == (kAnyOffset & 0x7FFF)) return Cell("any", numbers);
  std::vector<std::string> texts;
  for (const StateText& state : states_of(filter.source[2], filter.criteria[0], bits)) texts.push_back(state.text);
  return Cell(texts.empty() ? "none" : joined(texts), numbers);
}

/// The comparison of an event data byte (17.8). Masks without any bit leave nothing to compare.
Cell data_cell(const uint8_t masks[3]) {
  const Json value = {{"and", masks[0]}, {"compare1", masks[1]}, {"compare2", masks[2]}};
  if (masks[0] == 0 && masks[1] == 0 && masks[2] == 0) return Cell("any", value);
  return Cell("AND " + hex_number(masks[0]) + ", compare " + hex_number(masks[1]) + " " + hex_number(masks[2]), value);
}

Record filter_record(const IpmiEventFilter& filter) {
  Record record{"filter", "", {}};
  const std::vector<Cell> cells = filter_cells(filter);
  for (size_t i = 0; i < cells.size(); ++i) record.add(filter_columns()[i].key, filter_columns()[i].heading, cells[i]);
  record.add("offsets", "Offsets", offsets_cell(filter));
  for (size_t i = 0; i < 3; ++i) {
    const std::string number = std::to_string(i + 1);
    record.add("data" + number, "Event data " + number, data_cell(filter.criteria + 3 + 3 * i));
  }
  record.add("group_control", "Group control", count_cell(filter.group_control));
  return record;
}

uint8_t filter_count(Session& session) {
  uint8_t count = 0;
  session.check(ipmi_get_event_filter_count(session.handle(), &count), kGet);
  return count;
}

uint32_t get_filter(Session& session, IpmiEventFilter& filter) {
  return if_whole(session, ipmi_get_event_filter(session.handle(), &filter), 21);
}

IpmiEventFilter read_filter(Session& session, uint8_t number) {
  require_entry(number, filter_count(session), "filter");
  IpmiEventFilter filter = {};
  filter.filter_number = number;
  session.check(get_filter(session, filter), kGet);
  return filter;
}

void show_filters(Session& session, Document& document) {
  Parts parts(session, document);
  const uint8_t count = filter_count(session);
  Table table{"filters", "Event filters", filter_columns(), {}};
  for (uint8_t number = 1; number <= count && !parts.bmc_is_lost(); ++number) {
    IpmiEventFilter filter = {};
    filter.filter_number = number;
    add_entry(
        parts, table, kGet, "filter", number, [&](IpmiHandle*) { return get_filter(session, filter); },
        [&] { return filter_cells(filter); });
  }
  document.sections.push_back(std::move(table));
}

void show_filter(Session& session, Document& document, uint8_t number) {
  document.sections.push_back(filter_record(read_filter(session, number)));
}

void write_filter(Session& session, const IpmiEventFilter& filter) {
  session.check(ipmi_set_event_filter(session.handle(), &filter), kSet);
  if (filter.group_control == 0) return;
  // The library writes group control 0. It stays here, as everything does that is not asked for.
  uint8_t revision = 0;
  uint8_t entry[40] = {};
  uint16_t length = sizeof entry;
  session.check(ipmi_se_get_pef_config(session.handle(), IPMI_PEF_EVENT_FILTER, filter.filter_number, 0, &revision,
                                       &length, entry),
                kGet);
  entry[3] = static_cast<uint8_t>(filter.group_control << 4 | filter.policy_number);
  session.check(ipmi_se_set_pef_config(session.handle(), IPMI_PEF_EVENT_FILTER, length, entry), kSet);
}

struct FilterOptions {
  std::optional<uint32_t> number, enable, actions, policy, severity, generator, sensor_type, sensor, trigger, offsets;

  bool changes_more_than_enable() const {
    return actions || policy || severity || generator || sensor_type || sensor || trigger || offsets;
  }
};

void set_filter(Context& context, Document& document, const FilterOptions& options) {
  const auto number = static_cast<uint8_t>(*options.number);
  IpmiEventFilter filter = read_filter(context.session, number);
  change(filter.enable, options.enable);
  change(filter.action, options.actions);
  change(filter.policy_number, options.policy);
  filter.severity = options.severity.value_or(filter.severity);
  change(filter.source[0], options.generator);
  if (options.generator == kAny) filter.source[1] = kAny;
  change(filter.source[2], options.sensor_type);
  change(filter.source[3], options.sensor);
  change(filter.criteria[0], options.trigger);
  if (options.offsets) {
    filter.criteria[1] = static_cast<uint8_t>(*options.offsets & 0xFF);
    filter.criteria[2] = static_cast<uint8_t>(*options.offsets >> 8);
  }
  const std::string name = "filter " + std::to_string(number);
  if (filter.filter_type == kManufacturer && options.changes_more_than_enable())
    require_consent(context, "Change " + name + ", which the manufacturer of the system has set up?");
  if (filter.enable != 0 && (filter.action & kStoppingActions) != 0)
    require_consent(context, "Enable " + name + " with actions that stop the system (" +
                                 joined(bits_of(kActions, filter.action & kStoppingActions)) + ")?");
  write_filter(context.session, filter);
  show_filter(context.session, document, number);
}

// --- Alert policies ---

std::vector<Cell> policy_cells(const IpmiAlertPolicy& policy) {
  const std::string selector = std::to_string(policy.string_selector);
  return {count_cell(policy.entry),
          count_cell(policy.policy_number),
          yes_no(policy.enabled != 0),
          word_cell(kPolicyTypes, policy.policy_type),
          count_cell(policy.channel),
          count_cell(policy.destination),
          Cell(policy.fixed_string != 0 ? selector : "by event, set " + selector,
               Json{{"value", policy.string_selector}, {"by_event", policy.fixed_string == 0}})};
}

uint32_t get_policy(Session& session, IpmiAlertPolicy& policy) {
  return if_whole(session, ipmi_get_policy(session.handle(), &policy), 4);
}

uint8_t policy_count(Session& session) {
  uint8_t count = 0;
  session.check(ipmi_get_policy_count(session.handle(), &count), kGet);
  return count;
}

void show_policies(Session& session, Document& document, uint8_t first, uint8_t last) {
  Parts parts(session, document);
  Table table{"policies",
              "Alert policies",
              {{"number", "Entry", true},
               {"policy", "Policy", true},
               {"enabled", "Enabled"},
               {"type", "Sends"},
               {"channel", "Channel", true},
               {"destination", "Destination", true},
               {"string", "Alert string"}},
              {}};
  for (uint8_t number = first; number <= last && !parts.bmc_is_lost(); ++number) {
    IpmiAlertPolicy policy = {};
    policy.entry = number;
    add_entry(
        parts, table, kGet, "policy entry", number, [&](IpmiHandle*) { return get_policy(session, policy); },
        [&] { return policy_cells(policy); });
  }
  document.sections.push_back(std::move(table));
}

struct PolicyOptions {
  std::optional<uint32_t> number, enable, policy, type, channel, destination, string, event_string;
};

void set_policy(Session& session, Document& document, const PolicyOptions& options) {
  IpmiAlertPolicy policy = {};
  policy.entry = static_cast<uint8_t>(*options.number);
  require_entry(policy.entry, policy_count(session), "policy entry");
  session.check(get_policy(session, policy), kGet);
  change(policy.enabled, options.enable);
  change(policy.policy_number, options.policy);
  policy.policy_type = options.type.value_or(policy.policy_type);
  change(policy.channel, options.channel);
  change(policy.destination, options.destination);
  change(policy.string_selector, options.string);
  change(policy.string_selector, options.event_string);
  if (options.string) policy.fixed_string = 1;
  if (options.event_string) policy.fixed_string = 0;
  session.check(ipmi_set_policy(session.handle(), &policy), kSet);
  show_policies(session, document, policy.entry, policy.entry);
}

// --- Destinations of a LAN channel ---

constexpr Word kGateways[] = {{1, "default"}, {0, "backup"}};

std::vector<Cell> destination_cells(const IpmiLanDestination& destination) {
  std::vector<Cell> cells = {count_cell(destination.selector), word_cell(kDestinationTypes, destination.type)};
  if (destination.address_format == 0) {
    cells.emplace_back(ipv4_text(destination.ip_address));
    cells.emplace_back(mac_text(destination.mac_address));
    cells.emplace_back(word_of(kGateways, destination.use_default_gateway));
  } else {
    const std::string format = "address format " + std::to_string(destination.address_format);
    cells.insert(cells.end(), {Cell(format, nullptr, Severity::Faint), Cell(), Cell()});
  }
  cells.push_back(yes_no(destination.acknowledge != 0));
  cells.push_back(amount(destination.ack_timeout, "s"));
  cells.push_back(count_cell(destination.retries));
  return cells;
}

uint8_t destination_count(Session& session, uint8_t channel) {
  uint8_t count = 0;
  session.check(ipmi_get_lan_destination_count(session.handle(), channel, &count), kGetLan);
  if (count == 0)  // 23.2, parameter 17
    throw Failure(Exit::Refused, "channel " + std::to_string(channel) + " sends no alerts: it has no destinations");
  return count;
}

void show_destinations(Session& session, Document& document, uint8_t channel, uint8_t first, uint8_t last) {
  Parts parts(session, document);
  Table table{"destinations",
              "Alert destinations of channel " + std::to_string(channel),
              {{"number", "Destination", true},
               {"type", "Type"},
               {"address", "Address"},
               {"mac", "MAC address"},
               {"gateway", "Gateway"},
               {"acknowledge", "Acknowledged"},
               {"timeout_seconds", "Timeout", true},
               {"retries", "Retries", true},
               {"channel", ""}},
              {}};
  for (uint8_t number = first; number <= last && !parts.bmc_is_lost(); ++number) {
    IpmiLanDestination destination = {};
    destination.selector = number;
    add_entry(
        parts, table, kGetLan, "destination", number,
        [&](IpmiHandle* bmc) { return ipmi_get_lan_destination(bmc, channel, &destination); },
        [&] { return destination_cells(destination); });
    table.rows.back().resize(table.columns.size());
    table.rows.back().back() = channel_cell(channel);
  }
  document.sections.push_back(std::move(table));
}

struct DestinationOptions {
  std::optional<uint32_t> channel, number, type, acknowledge, timeout, retries, gateway;
  std::optional<Bytes> address, mac;

  bool changes_address() const { return address || mac || gateway; }
};

/// The library writes two bits of the type and no address but an IPv4 one: what it cannot write has to stay as it is.
void write_destination(Session& session, uint8_t channel, const IpmiLanDestination& destination, bool with_address) {
  constexpr uint32_t kGreatestType = 3;
  const bool whole = destination.type <= kGreatestType && destination.address_format == 0;
  if (whole || with_address) session.check(ipmi_set_lan_destination(session.handle(), channel, &destination), kSetLan);
  if (whole) return;
  const uint8_t type[4] = {destination.selector,
                           static_cast<uint8_t>((destination.acknowledge & 1u) << 7 | (destination.type & 7)),
                           destination.ack_timeout, destination.retries};
  session.check(ipmi_transport_set_lan_config(session.handle(), channel, IPMI_LAN_DESTINATION_TYPE, sizeof type, type),
                kSetLan);
}

void set_destination(Session& session, Document& document, const DestinationOptions& options) {
  const uint8_t channel = channel_of(session, options.channel, Medium::Lan);
  IpmiLanDestination destination = {};
  destination.selector = static_cast<uint8_t>(*options.number);
  destination.use_default_gateway = 1;  // unless the BMC holds an IPv4 address already
  require_entry(destination.selector, destination_count(session, channel), "destination");
  session.check(ipmi_get_lan_destination(session.handle(), channel, &destination), kGetLan);
  destination.type = options.type.value_or(destination.type);
  destination.acknowledge = static_cast<uint8_t>(options.acknowledge.value_or(destination.acknowledge));
  destination.ack_timeout = static_cast<uint8_t>(options.timeout.value_or(destination.ack_timeout));
  destination.retries = static_cast<uint8_t>(options.retries.value_or(destination.retries));
  if (options.changes_address()) {
    destination.address_format = 0;
    destination.use_default_gateway = static_cast<uint8_t>(options.gateway.value_or(destination.use_default_gateway));
    if (options.address) std::copy(options.address->begin(), options.address->end(), destination.ip_address);
    if (options.mac) std::copy(options.mac->begin(), options.mac->end(), destination.mac_address);
  }
  write_destination(session, channel, destination, options.changes_address());
  show_destinations(session, document, channel, destination.selector, destination.selector);
}

// --- Community string ---

constexpr size_t kLongestCommunity = 17;

struct CommunityOptions {
  std::optional<uint32_t> channel;
  std::optional<std::string> text;
};

void community(Session& session, Document& document, const CommunityOptions& options) {
  const uint8_t channel = channel_of(session, options.channel, Medium::Lan);
  if (options.text) session.check(ipmi_set_community_string(session.handle(), channel, options.text->c_str()), kSetLan);
  uint8_t text[24] = {};
  session.check(ipmi_get_community_string(session.handle(), channel, text), kGetLan);
  Record record{"community", "", {}};
  record.add("channel", "Channel", channel_cell(channel));
  record.add("text", "Community string", to_utf8(std::string_view(reinterpret_cast<const char*>(text))));
  document.sections.push_back(std::move(record));
}

// --- Alert Immediate ---

struct AlertOptions {
  std::optional<uint32_t> channel, destination, string;
  bool status = false;
  bool clear = false;
};

uint32_t alert_request(Session& session, const AlertOptions& options, uint32_t operation) {
  IpmiAlertImmediate request = {};
  request.channel = static_cast<uint8_t>(*options.channel);
  request.destination = static_cast<uint8_t>(*options.destination);
  request.operation = operation;
  if (operation == IPMI_ALERT_INITIATE && options.string) {
    request.send_string = 1;
    request.string_selector = static_cast<uint8_t>(*options.string);
  }
  uint32_t state = 0;
  const uint32_t status = ipmi_se_alert_immediate(session.handle(), &request, nullptr, &state);
  for (const Word& refusal : kAlertRefusals)
    if (status != 0 && session.last().answered && session.last().completion == refusal.value)
      throw Failure(Exit::Refused, std::string("Alert Immediate: ") + refusal.text);
  session.check(status, "Alert Immediate");
  return state;
}

void alert(Session& session, Document& document, const AlertOptions& options) {
  if (options.clear) alert_request(session, options, IPMI_ALERT_CLEAR_STATUS);
  if (!options.clear && !options.status) alert_request(session, options, IPMI_ALERT_INITIATE);
  Record record{"alert", "", {}};
  record.add("channel", "Channel", count_cell(*options.channel));
  record.add("destination", "Destination", count_cell(*options.destination));
  record.add("status", "Alert", word_cell(kAlertStates, alert_request(session, options, IPMI_ALERT_STATUS)));
  document.sections.push_back(std::move(record));
}

// --- Options ---

/// A number, or "any".
CLI::Option* add_match(CLI::App* command, const std::string& name, std::optional<uint32_t>& value,
                       const std::string& help) {
  return command
      ->add_option_function<std::string>(
          name,
          [&value](const std::string& text) {
            value = text == "any" ? kAny : static_cast<uint32_t>(std::stoul(text, nullptr, 0));
          },
          help)
      ->type_name("N")
      ->check(
          (CLI::IsMember({"any"}) | CLI::Range(0, kAny - 1)).description("{any} or 0 to " + std::to_string(kAny - 1)));
}

std::string lower(std::string text) {
  for (char& character : text) character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
  return text;
}

/// The sensor type behind a name, a number or "any".
std::optional<uint32_t> sensor_type_of(const std::string& text) {
  constexpr uint8_t kLastNamed = 0x2C;
  if (text == "any") return kAny;
  for (uint8_t type = 1; type <= kLastNamed; ++type)
    if (lower(sensor_type_name(type)) == lower(text)) return type;
  uint32_t number = 0;
  if (!CLI::detail::lexical_cast(text, number) || number >= kAny) return std::nullopt;
  return number;
}

/// "0,3,7" or "any".
std::optional<uint32_t> offsets_of(const std::string& text) {
  constexpr uint32_t kLastOffset = 14;
  if (text == "any") return kAnyOffset;
  uint32_t mask = 0;
  for (const std::string& word : CLI::detail::split(text, ',')) {
    uint32_t offset = 0;
    if (!CLI::detail::lexical_cast(word, offset) || offset > kLastOffset) return std::nullopt;
    mask |= 1u << offset;
  }
  return mask;
}

CLI::Option* add_parsed(CLI::App* command, const std::string& name, std::optional<uint32_t>& value,
                        std::optional<uint32_t> (*parse)(const std::string&), const std::string& form,
                        const std::string& help) {
  return command
      ->add_option_function<std::string>(
          name, [&value, parse](const std::string& text) { value = parse(text); }, help)
      ->type_name("WORD")
      ->check([parse, form](const std::string& text) { return parse(text) ? std::string() : text + " is not " + form; },
              form);
}

void add_filter(CLI::App* pef, Context& context) {
  const auto options = std::make_shared<FilterOptions>();
  CLI::App* filter = pef->add_subcommand("filter", "Event filters: all, or one in full")->alias("filters");
  filter->require_subcommand(0, 1);
  add_number(filter, "number", options->number, 1, kLastEntry, "The filter to show in full");
  runs(context, filter, [options, &context](Document& document) {
    if (options->number)
      show_filter(context.session, document, static_cast<uint8_t>(*options->number));
    else
      show_filters(context.session, document);
  });

  CLI::App* set = filter->add_subcommand("set", "Change a filter; what is not given stays");
  add_number(set, "number", options->number, 1, kLastEntry, "The filter")->required();
  add_switch(set, "--enable", options->enable, "Whether the filter is used");
  add_bits(set, "--action", options->actions, kActions, "What a matching event does");
  add_number(set, "--policy", options->policy, 0, kLastNibble, "Policy for alerts");
  add_word(set, "--severity", options->severity, kSeverities, "Severity of a matching event");
  add_match(set, "--generator", options->generator,
            "Slave address or software ID that sends the event, as events carry it");
  add_parsed(set, "--sensor-type", options->sensor_type, sensor_type_of, "any, a name, or a number from 0 to 254",
             "Type of the sensor, named as sdr shows it");
  add_match(set, "--sensor", options->sensor, "Number of the sensor");
  add_match(set, "--trigger", options->trigger, "Event/reading type code");
  add_parsed(set, "--offsets", options->offsets, offsets_of, "any, or numbers from 0 to 14 with commas between",
             "Event offsets");
  runs(context, set, [options, &context](Document& document) { set_filter(context, document, *options); });
}

void add_policy(CLI::App* pef, Context& context) {
  const auto options = std::make_shared<PolicyOptions>();
  CLI::App* policy = pef->add_subcommand("policy", "Alert policies: the entries of their table")->alias("policies");
  policy->require_subcommand(0, 1);
  runs(context, policy,
       [&context](Document& document) { show_policies(context.session, document, 1, policy_count(context.session)); });

  CLI::App* set = policy->add_subcommand("set", "Change an entry; what is not given stays");
  add_number(set, "number", options->number, 1, kLastEntry, "The entry")->required();
  add_switch(set, "--enable", options->enable, "Whether the entry is used");
  add_number(set, "--policy", options->policy, 0, kLastNibble, "The policy that the entry belongs to");
  add_word(set, "--type", options->type, kPolicyTypes, "When the entry sends its alert");
  add_number(set, "--channel", options->channel, 0, kLastNibble, "Channel of the destination");
  add_number(set, "--destination", options->destination, 0, kLastNibble, "Destination on the channel");
  CLI::Option* string =
      add_number(set, "--string", options->string, 0, kLastEntry, "Alert string, the same for all events");
  add_number(set, "--event-string", options->event_string, 0, kLastEntry, "Set of alert strings, one for each event")
      ->excludes(string);
  runs(context, set, [options, &context](Document& document) { set_policy(context.session, document, *options); });
}

void add_destination(CLI::App* pef, Context& context) {
  const auto options = std::make_shared<DestinationOptions>();
  CLI::App* command = pef->add_subcommand("destination", "Alert destinations of a LAN channel; 0 is the volatile one")
                          ->alias("destinations");
  command->require_subcommand(0, 1);
  add_channel(command, options->channel, Medium::Lan);
  runs(context, command, [options, &context](Document& document) {
    const uint8_t channel = channel_of(context.session, options->channel, Medium::Lan);
    show_destinations(context.session, document, channel, 0, destination_count(context.session, channel));
  });

  CLI::App* set = command->add_subcommand("set", "Change a destination; what is not given stays");
  add_number(set, "number", options->number, 0, kLastNibble, "The destination")->required();
  add_channel(set, options->channel, Medium::Lan);
  add_ipv4(
      set, "--address", [options](const Bytes& address) { options->address = address; }, "IPv4 address");
  add_mac(
      set, "--mac", [options](const Bytes& address) { options->mac = address; }, "MAC address");
  add_word(set, "--type", options->type, kDestinationTypes, "Kind of alert");
  add_switch(set, "--acknowledge", options->acknowledge, "Whether alerts have to be acknowledged");
  add_number(set, "--timeout", options->timeout, 0, 255, "Seconds to wait for that, or between retries");
  add_number(set, "--retries", options->retries, 0, 7, "Retries");
  add_word(set, "--gateway", options->gateway, kGateways, "Gateway on the way there");
  runs(context, set, [options, &context](Document& document) { set_destination(context.session, document, *options); });
}

}  // namespace

void add_pef(CLI::App& app, Context& context) {
  CLI::App* pef = app.add_subcommand(
      "pef", "Platform event filtering and alerts; shows what holds for all filters, and the filters");
  pef->require_subcommand(0, 1);
  runs(context, pef, [&context](Document& document) {
    Parts parts(context.session, document);
    document.sections.push_back(control_record(parts));
    if (!parts.bmc_is_lost()) show_filters(context.session, document);
  });

  const auto control = std::make_shared<ControlOptions>();
  CLI::App* set = pef->add_subcommand("set", "Change what holds for all filters");
  add_switch(set, "--enable", control->enable, "Whether events are filtered");
  add_switch(set, "--event-messages", control->event_messages, "Whether actions are logged");
  add_bits(set, "--action", control->actions, kActions, "The actions that filters may take");
  runs(context, set, [control, &context](Document& document) { set_control(context, document, *control); });

  add_filter(pef, context);
  add_policy(pef, context);
  add_destination(pef, context);

  const auto text = std::make_shared<CommunityOptions>();
  CLI::App* string = pef->add_subcommand("community", "Show or set the community string of a LAN channel's alerts");
  string
      ->add_option_function<std::string>(
          "text", [text](const std::string& given) { text->text = given; }, "The new one, at most 17 bytes")
      ->check([](const std::string& given) {
        return given.size() <= kLongestCommunity
                   ? std::string()
                   : "a community string has at most " + std::to_string(kLongestCommunity) + " bytes, this one has " +
                         std::to_string(given.size());
      });
  add_channel(string, text->channel, Medium::Lan);
  runs(context, string, [text, &context](Document& document) { community(context.session, document, *text); });

  const auto now = std::make_shared<AlertOptions>();
  CLI::App* command = pef->add_subcommand("alert", "Send an alert now, and show how it goes");
  add_number(command, "channel", now->channel, 0, kLastNibble, "The channel")->required();
  add_number(command, "destination", now->destination, 0, kLastNibble, "The destination on it")->required();
  CLI::Option* selector = add_number(command, "--string", now->string, 0, kLastEntry, "Send this alert string");
  CLI::Option* status = command->add_flag("--status", now->status, "Show how the last alert went")->excludes(selector);
  command->add_flag("--clear", now->clear, "Forget how the last alert went")->excludes(selector)->excludes(status);
  runs(context, command, [now, &context](Document& document) { alert(context.session, document, *now); });
}

}  // namespace tool
