// lumipmi sol: the serial port of the system over LAN.
#include <algorithm>
#include <array>

#include "tools/bit_rate.hpp"
#include "tools/text.hpp"
#include "tools/words.hpp"

namespace tool {

namespace {

// IPMI v2.0 rev 1.1, table 26-5
constexpr std::span<const Word> kSolPrivileges = std::span(kPrivileges).subspan(1);
constexpr uint32_t kRateOfSerialChannel = 0;
constexpr uint32_t kAccumulateStep = 5;  // ms
constexpr uint32_t kRetryStep = 10;      // ms

constexpr char kGet[] = "Get SOL Configuration Parameters";
constexpr char kSet[] = "Set SOL Configuration Parameters";

Cell sol_rate_cell(uint32_t rate) {
  return rate == kRateOfSerialChannel ? Cell("as the serial channel", nullptr) : bit_rate_cell(rate);
}

// --- Instances ---

std::vector<uint8_t> active_instances(const IpmiSolStatus& status) {
  std::vector<uint8_t> result;
  for (size_t i = 0; i < std::size(status.active); ++i)
    if (status.active[i] != 0) result.push_back(static_cast<uint8_t>(i + 1));
  return result;
}

Cell instances_cell(const IpmiSolStatus& status) {
  std::vector<std::string> texts;
  const std::vector<uint8_t> instances = active_instances(status);
  for (const uint8_t instance : instances) texts.push_back(std::to_string(instance));
  return Cell(texts.empty() ? "none" : joined(texts), Json(instances));
}

/// What an instance answers for (24.5): the session, and the number of the system's serial port.
struct Instance {
  std::array<uint8_t, 12> bytes = {};
  uint32_t session() const { return host_bytes_to_uint32(bytes.data(), 4); }
  uint8_t port() const { return bytes[4]; }
};

void show_status(Context& context, Document& document) {
  Session& session = context.session;
  IpmiSolStatus status = {};
  session.check(ipmi_get_sol_status(session.handle(), &status), "Get Payload Activation Status");
  Record record{"sol_status", "", {}};
  record.add("capacity", "Instances at a time", count_cell(status.instance_capacity));
  record.add("active", "Active instances", instances_cell(status));
  document.sections.push_back(std::move(record));

  Table table{"instances",
              "",
              {{"instance", "Instance", true}, {"session_id", "Session ID"}, {"port", "Serial port", true}},
              {}};
  Parts parts(session, document);
  for (const uint8_t number : active_instances(status)) {
    Instance instance;
    Cell missing;
    const bool known = parts.ask(
        "Get Payload Instance Info",
        [&](IpmiHandle* bmc) {
          return ipmi_app_get_payload_instance_info(bmc, IPMI_PAYLOAD_SOL, number, instance.bytes.data());
        },
        missing, "instance " + std::to_string(number));
    if (parts.bmc_is_lost()) break;
    const Cell id(hex_number(instance.session(), 8), instance.session());
    table.rows.push_back({count_cell(number), known ? id : missing, known ? count_cell(instance.port()) : Cell()});
  }
  if (!table.rows.empty()) document.sections.push_back(std::move(table));
}

// --- Configuration ---

/// The parameters, each by itself: few BMCs have them all.
void show(Context& context, Document& document, uint8_t channel) {
  Parts parts(context.session, document);
  IpmiSolConfig config = {};
  Cell missing;
  bool known = false;
  const auto ask = [&](const char* part, auto request) { known = parts.ask(kGet, request, missing, part); };
  const auto ask_part = [&](const char* part, uint8_t mask) {
    ask(part, [&](IpmiHandle* bmc) { return ipmi_get_sol_config(bmc, channel, mask, &config); });
  };
  Record record{"sol", "", {}};
  const auto add = [&](const char* key, const char* label, const Cell& cell) {
    record.add(key, label, known ? cell : missing);
  };
  record.add("channel", "Channel", channel_cell(channel));

  uint8_t enabled = 0;
  ask("SOL enable", [&](IpmiHandle* bmc) { return ipmi_get_sol_enabled_status(bmc, channel, &enabled); });
  add("enabled", "Enabled", yes_no(enabled != 0));
  ask_part("SOL authentication", IPMI_SOL_WITH_AUTHENTICATION);
  add("force_encryption", "Encryption required", yes_no(config.force_encryption != 0));
  add("force_authentication", "Authentication required", yes_no(config.force_authentication != 0));
  add("privilege", "Privilege", word_cell(kSolPrivileges, config.privilege_level));
  ask_part("character accumulation", IPMI_SOL_WITH_CHAR_CONFIG);
  add("accumulate_ms", "Accumulate interval", amount(config.char_config[0] * kAccumulateStep, "ms"));
  add("threshold", "Send threshold", amount(config.char_config[1], "bytes"));
  ask_part("SOL retry", IPMI_SOL_WITH_RETRY);
  add("retries", "Retries", count_cell(config.retry_count));
  add("retry_interval_ms", "Retry interval", amount(config.retry_interval * kRetryStep, "ms"));
  ask_part("stored bit rate", IPMI_SOL_WITH_NON_VOLATILE_BIT_RATE);
  add("bit_rate", "Bit rate stored", sol_rate_cell(config.non_volatile_bit_rate));
  ask_part("bit rate in use", IPMI_SOL_WITH_VOLATILE_BIT_RATE);
  add("volatile_bit_rate", "Bit rate in use", sol_rate_cell(config.volatile_bit_rate));
  ask_part("payload channel", IPMI_SOL_WITH_CHANNEL);
  add("payload_channel", "Payload channel", channel_cell(config.channel));
  ask_part("payload port", IPMI_SOL_WITH_PORT);
  add("port", "UDP port", count_cell(config.port));

  IpmiSolStatus status = {};
  record.add("active", "Active instances",
             parts.cell(
                 "Get Payload Activation Status", [&](IpmiHandle* bmc) { return ipmi_get_sol_status(bmc, &status); },
                 [&] { return instances_cell(status); }));
  document.sections.push_back(std::move(record));
}

struct Options {
  std::optional<uint32_t> channel, enable, force_encryption, force_authentication, privilege, accumulate, threshold,
      retries, retry_interval, bit_rate, volatile_bit_rate, port;
};

/// Reads the parts that are changed by halves, so that the other half stays.
IpmiSolConfig changed_config(Session& session, uint8_t channel, uint8_t mask, const Options& options) {
  constexpr uint8_t kHalves = IPMI_SOL_WITH_AUTHENTICATION | IPMI_SOL_WITH_CHAR_CONFIG | IPMI_SOL_WITH_RETRY;
  IpmiSolConfig config = {};
  session.check(ipmi_get_sol_config(session.handle(), channel, mask & kHalves, &config), kGet);
  const auto change_steps = [](uint8_t& field, const std::optional<uint32_t>& option, uint32_t step) {
    if (option) field = static_cast<uint8_t>(*option / step);
  };
  change(config.force_encryption, options.force_encryption);
  change(config.force_authentication, options.force_authentication);
  config.privilege_level = options.privilege.value_or(config.privilege_level);
  change_steps(config.char_config[0], options.accumulate, kAccumulateStep);
  change(config.char_config[1], options.threshold);
  change(config.retry_count, options.retries);
  change_steps(config.retry_interval, options.retry_interval, kRetryStep);
  config.non_volatile_bit_rate = options.bit_rate.value_or(0);
  config.volatile_bit_rate = options.volatile_bit_rate.value_or(0);
  const bool privilege_is_known = std::any_of(kSolPrivileges.begin(), kSolPrivileges.end(),
                                              [&](const Word& word) { return word.value == config.privilege_level; });
  if ((mask & IPMI_SOL_WITH_AUTHENTICATION) != 0 && !privilege_is_known)
    throw Failure(Exit::Usage, "the BMC holds the reserved privilege " + std::to_string(config.privilege_level),
                  "Give --privilege as well.");
  return config;
}

void set(Context& context, Document& document, const Options& options) {
  Session& session = context.session;
  const uint8_t channel = channel_of(session, options.channel, Medium::Lan);
  unsigned mask = 0;
  if (options.force_encryption || options.force_authentication || options.privilege)
    mask |= IPMI_SOL_WITH_AUTHENTICATION;
  if (options.accumulate || options.threshold) mask |= IPMI_SOL_WITH_CHAR_CONFIG;
  if (options.retries || options.retry_interval) mask |= IPMI_SOL_WITH_RETRY;
  if (options.bit_rate) mask |= IPMI_SOL_WITH_NON_VOLATILE_BIT_RATE;
  if (options.volatile_bit_rate) mask |= IPMI_SOL_WITH_VOLATILE_BIT_RATE;
  const auto parts = static_cast<uint8_t>(mask);
  const IpmiSolConfig config = changed_config(session, channel, parts, options);
  if (options.enable == 0u)
    require_consent(context, "Disable SOL on channel " + std::to_string(channel) + "? Whoever uses it is cut off.");

  session.check(ipmi_set_sol_config(session.handle(), channel, parts, &config), kSet);
  if (options.port)
    session.check(ipmi_set_sol_port(session.handle(), channel, static_cast<uint16_t>(*options.port)), kSet);
  if (options.enable)
    session.check(ipmi_enable_sol(session.handle(), channel, static_cast<uint8_t>(*options.enable)), kSet);
  show(context, document, channel);
}

void deactivate(Context& context, Document& document, uint8_t number) {
  Session& session = context.session;
  require_consent(context, "Deactivate SOL instance " + std::to_string(number) + "? Whoever uses it is cut off.");
  IpmiPayloadDeactivation request = {};
  request.payloadType = IPMI_PAYLOAD_SOL;
  request.payloadInstance = number;
  session.check(ipmi_app_deactivate_payload(session.handle(), &request), "Deactivate Payload");
  show_status(context, document);
}

/// A time in steps of the unit that the BMC counts in.
CLI::Option* add_steps(CLI::App* command, const std::string& name, std::optional<uint32_t>& value, uint32_t min,
                       uint32_t step, const std::string& help) {
  constexpr uint32_t kMostSteps = 255;
  return add_number(command, name, value, min, kMostSteps * step, help + "; a multiple of " + std::to_string(step))
      ->type_name("MS")
      ->check([step](const std::string& text) {
        return std::stoul(text, nullptr, 0) % step == 0 ? std::string()
                                                        : text + " is not a multiple of " + std::to_string(step);
      });
}

}  // namespace

void add_sol(CLI::App& app, Context& context) {
  const auto options = std::make_shared<Options>();
  CLI::App* sol = app.add_subcommand("sol", "Serial over LAN");
  sol->require_subcommand(0, 1);
  CLI::App* list = sol->add_subcommand("show", "Show the configuration and the active instances (the default)");
  for (CLI::App* command : {sol, list}) {
    add_channel(command, options->channel, Medium::Lan);
    runs(context, command, [options, &context](Document& document) {
      show(context, document, channel_of(context.session, options->channel, Medium::Lan));
    });
  }

  CLI::App* command = sol->add_subcommand("set", "Change the configuration; what is not given stays");
  add_channel(command, options->channel, Medium::Lan);
  add_switch(command, "--enable", options->enable, "Whether SOL can be activated; off asks first");
  add_switch(command, "--force-encryption", options->force_encryption, "Whether the payload has to be encrypted");
  add_switch(command, "--force-authentication", options->force_authentication,
             "Whether the payload has to be authenticated");
  add_word(command, "--privilege", options->privilege, kSolPrivileges, "Privilege that activating needs");
  add_steps(command, "--accumulate", options->accumulate, kAccumulateStep, kAccumulateStep,
            "How long characters are gathered before they are sent");
  add_number(command, "--threshold", options->threshold, 1, 255, "How many characters are sent at once");
  add_number(command, "--retries", options->retries, 0, 7, "How often a packet is sent again");
  add_steps(command, "--retry-interval", options->retry_interval, 0, kRetryStep, "Time between retries");
  add_word(command, "--bit-rate", options->bit_rate, kBitRates, "Bit rate that is stored");
  add_word(command, "--volatile-bit-rate", options->volatile_bit_rate, kBitRates, "Bit rate in use");
  add_number(command, "--port", options->port, 1, 65535, "UDP port of the payload");
  runs(context, command, [options, &context](Document& document) { set(context, document, *options); });

  runs(context, sol->add_subcommand("status", "Show the active instances and their sessions"),
       [&context](Document& document) { show_status(context, document); });

  const auto instance = std::make_shared<std::optional<uint32_t>>(1);
  CLI::App* stop = sol->add_subcommand("deactivate", "End an instance, which cuts off its user; asks first");
  add_number(stop, "--instance", *instance, 1, 15, "The instance")->default_str("1");
  runs(context, stop,
       [instance, &context](Document& document) { deactivate(context, document, static_cast<uint8_t>(**instance)); });
}

}  // namespace tool
