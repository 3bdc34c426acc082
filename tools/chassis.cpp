// lumipmi chassis: power, identification, front panel, and what the next boot does.
#include <array>

#include "tools/settings.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

/// Something that the standard switches off with a bit; the bit's number is the row's.
struct Switch {
  const char* option;
  const char* name;
  const char* help;
};
using Choices = std::vector<std::optional<uint32_t>>;

// IPMI v2.0 rev 1.1, 28.1
constexpr Bit kAbilities[] = {
    {0, "intrusion sensor"}, {1, "front panel lockout"}, {2, "diagnostic interrupt"}, {3, "power interlock"}};
struct Address {
  uint8_t place;
  const char* key;
  const char* label;
};
constexpr Address kAddresses[] = {{IPMI_CHASSIS_CAPS_FRU, "fru_address", "FRU device address"},
                                  {IPMI_CHASSIS_CAPS_SDR, "sdr_address", "SDR device address"},
                                  {IPMI_CHASSIS_CAPS_SEL, "sel_address", "SEL device address"},
                                  {IPMI_CHASSIS_CAPS_SM, "system_management_address", "System management address"},
                                  {IPMI_CHASSIS_CAPS_BRIDGE, "bridge_address", "Bridge device address"}};

// 28.2
constexpr uint8_t kPowerOn = 0x01;
constexpr Bit kPowerProblems[] = {{1, "overload"}, {2, "interlock"}, {3, "power fault"}, {4, "power control fault"}};
constexpr Bit kPowerEvents[] = {
    {0, "AC failed"}, {1, "off by overload"}, {2, "off by interlock"}, {3, "off by power fault"}, {4, "on by command"}};
constexpr Bit kConditions[] = {
    {0, "intrusion"}, {1, "front panel lockout"}, {2, "drive fault"}, {3, "cooling or fan fault"}};
constexpr Word kIdentify[] = {{0, "off"}, {1, "on for a time"}, {2, "on until turned off"}};
constexpr Word kPolicies[] = {
    {IPMI_POWER_RESTORE_OFF, "off"}, {IPMI_POWER_RESTORE_PREVIOUS, "previous"}, {IPMI_POWER_RESTORE_ON, "on"}};

// 28.2 and 28.6
constexpr Switch kButtons[] = {{"--power-off", "power off", "The button that switches the power off"},
                               {"--reset", "reset", "The reset button"},
                               {"--diag", "diagnostic interrupt", "The button for the diagnostic interrupt"},
                               {"--standby", "standby", "The standby button"}};

// 28.3
constexpr uint32_t kOnlyShow = 0xFF;
constexpr Word kControls[] = {{IPMI_CHASSIS_POWER_DOWN, "off"},
                              {IPMI_CHASSIS_POWER_UP, "on"},
                              {IPMI_CHASSIS_POWER_CYCLE, "cycle"},
                              {IPMI_CHASSIS_HARD_RESET, "reset"},
                              {IPMI_CHASSIS_DIAGNOSTIC_INTERRUPT, "diag"},
                              {IPMI_CHASSIS_SOFT_SHUTDOWN, "soft"},
                              {kOnlyShow, "status"}};
constexpr const char* kQuestions[] = {"Switch the power off at once, without a shutdown of the operating system?",
                                      nullptr,
                                      "Switch the power off and on, without a shutdown of the operating system?",
                                      "Reset the system at once, without a shutdown of the operating system?",
                                      "Send the diagnostic interrupt? Most operating systems stop at it.",
                                      "Shut the operating system down and switch the power off?"};

// 28.11
constexpr Word kRestartCauses[] = {{0x0, "unknown"},
                                   {0x1, "chassis control command"},
                                   {0x2, "reset button"},
                                   {0x3, "power button"},
                                   {0x4, "watchdog timer"},
                                   {0x5, "OEM"},
                                   {0x6, "power returned, policy on"},
                                   {0x7, "power returned, policy previous"},
                                   {0x8, "reset by PEF"},
                                   {0x9, "power cycle by PEF"},
                                   {0xA, "soft reset"},
                                   {0xB, "real-time clock"}};

struct Status {
  IpmiChassisStatus chassis;
  bool tells_buttons;  // the byte about the front panel is optional
};

Status read_status(Session& session) {
  constexpr size_t kWithButtons = 4;
  Status status = {};
  session.check(ipmi_chassis_get_chassis_status(session.handle(), &status.chassis), "Get Chassis Status");
  status.tells_buttons = session.last().reply.size() >= kWithButtons;
  return status;
}

Cell not_told() {
  return Cell("not told", nullptr, Severity::Faint);
}

/// Bits that call for attention.
Cell alert_cell(std::span<const Bit> bits, uint32_t value, Severity severity) {
  Cell cell = bits_cell(bits, value);
  if (!cell.value.empty()) cell.severity = severity;
  return cell;
}

void add_power(Record& record, const IpmiChassisStatus& status) {
  const bool on = (status.power_state & kPowerOn) != 0;
  record.add("power_on", "Power", Cell(on ? "on" : "off", on));
  record.add("power_problems", "Power problems", alert_cell(kPowerProblems, status.power_state, Severity::Critical));
  record.add("last_power_event", "Last power event", bits_cell(kPowerEvents, status.last_power_event));
}

Cell policy_cell(const IpmiChassisStatus& status) {
  constexpr uint32_t kUnknown = 3;
  if (status.power_restore_policy == kUnknown) return not_told();
  return word_cell(kPolicies, status.power_restore_policy);
}

Cell identify_cell(const IpmiChassisStatus& status) {
  const bool told = (status.misc_chassis_state >> 6 & 1) != 0;
  return told ? word_cell(kIdentify, status.misc_chassis_state >> 4 & 3) : not_told();
}

/// The names of the switches whose bits are 1.
Cell switches_cell(std::span<const Switch> switches, uint32_t value) {
  std::vector<std::string> names;
  for (size_t i = 0; i < switches.size(); ++i)
    if ((value >> i & 1) != 0) names.emplace_back(switches[i].name);
  return Cell(names.empty() ? "none" : joined(names), Json(names));
}

/// Bits with the choices made: "on" is a bit of 0, and what was not chosen stays.
uint8_t with_choices(uint8_t off_bits, const Choices& choices) {
  for (size_t i = 0; i < choices.size(); ++i)
    if (choices[i]) off_bits = static_cast<uint8_t>((off_bits & ~(1u << i)) | (*choices[i] == 0 ? 1u << i : 0u));
  return off_bits;
}

size_t given(const Choices& choices) {
  size_t count = 0;
  for (const auto& choice : choices) count += choice ? 1 : 0;
  return count;
}

Cell buttons_cell(const Status& status, uint8_t buttons) {
  return status.tells_buttons ? switches_cell(kButtons, buttons) : not_told();
}

Cell restart_cell(const IpmiRestartCause& cause) {
  const std::string text = word_of(kRestartCauses, cause.restart_cause);
  return Cell(text + ", channel " + std::to_string(cause.channel),
              Json{{"value", cause.restart_cause}, {"text", text}, {"channel", cause.channel}});
}

Cell hours_cell(const IpmiPohCounter& poh) {
  constexpr uint64_t kMinutesPerHour = 60;
  const uint64_t minutes = uint64_t{poh.counter} * poh.minutes_per_count;
  const std::string hours = std::to_string(minutes / kMinutesPerHour);
  const std::string rest =
      minutes % kMinutesPerHour != 0 ? " " + std::to_string(minutes % kMinutesPerHour) + " min" : "";
  return Cell(hours + " h" + rest,
              Json{{"minutes", minutes}, {"counter", poh.counter}, {"minutes_per_count", poh.minutes_per_count}});
}

void add_restart_cause(Record& record, Parts& parts) {
  IpmiRestartCause cause = {};
  record.add("restart_cause", "Last restart",
             parts.cell(
                 "Get System Restart Cause",
                 [&](IpmiHandle* bmc) { return ipmi_chassis_get_system_restart_cause(bmc, &cause); },
                 [&] { return restart_cell(cause); }));
}

void add_poh(Record& record, Parts& parts) {
  IpmiPohCounter poh = {};
  record.add("power_on_time", "Power-on time",
             parts.cell(
                 "Get POH Counter", [&](IpmiHandle* bmc) { return ipmi_chassis_get_poh_counter(bmc, &poh); },
                 [&] { return hours_cell(poh); }));
}

Record capabilities_record(Parts& parts) {
  Record record{"capabilities", "Abilities", {}};
  std::array<uint8_t, 6> caps = {};
  Cell missing;
  const bool there = parts.ask(
      "Get Chassis Capabilities",
      [&](IpmiHandle* bmc) { return ipmi_chassis_get_chassis_capabilities(bmc, caps.data()); }, missing);
  record.add("abilities", "Chassis has", there ? bits_cell(kAbilities, caps[IPMI_CHASSIS_CAPS_FLAGS]) : missing);
  for (const Address& device : kAddresses) {
    const uint8_t address = caps[device.place];
    const Cell known = address == 0 ? Cell("none", nullptr, Severity::Faint) : Cell(hex_number(address), address);
    record.add(device.key, device.label, there ? known : missing);
  }
  return record;
}

void show(Context& context, Document& document) {
  const Status status = read_status(context.session);
  const IpmiChassisStatus& chassis = status.chassis;
  Parts parts(context.session, document);
  Record record{"chassis", "Chassis", {}};
  add_power(record, chassis);
  record.add("restore_policy", "When power returns", policy_cell(chassis));
  add_restart_cause(record, parts);
  add_poh(record, parts);
  record.add("conditions", "Conditions", alert_cell(kConditions, chassis.misc_chassis_state, Severity::Warning));
  record.add("identify", "Identify light", identify_cell(chassis));
  record.add("buttons_disabled", "Disabled buttons", buttons_cell(status, chassis.front_panel_disabled));
  record.add("buttons_disable_allowed", "Buttons that can be disabled",
             buttons_cell(status, chassis.front_panel_disable_allowed));
  document.sections.push_back(std::move(record));
  document.sections.push_back(capabilities_record(parts));
}

/// One thing that has a getter of its own.
void show_part(Context& context, Document& document, const char* key, void (*add)(Record&, Parts&)) {
  Parts parts(context.session, document);
  Record record{key, "", {}};
  add(record, parts);
  document.sections.push_back(std::move(record));
}

void power(Context& context, Document& document, const std::optional<uint32_t>& control) {
  if (control && *control != kOnlyShow) {
    const char* question = kQuestions[*control];
    if (question != nullptr) require_consent(context, question);
    context.session.check(ipmi_chassis_control(context.session.handle(), static_cast<uint8_t>(*control)),
                          "Chassis Control");
  }
  Record record{"chassis", "", {}};
  add_power(record, read_status(context.session).chassis);
  document.sections.push_back(std::move(record));
}

struct Identify {
  std::optional<uint32_t> seconds;
  bool force = false;
  bool off = false;
};

/// Without an interval the BMC takes its own (28.5).
void identify(Context& context, Document& document, const Identify& options) {
  IpmiChassisIdentify request = {};
  request.length = options.force ? 2 : options.seconds || options.off ? 1 : 0;
  request.interval = static_cast<uint8_t>(options.seconds.value_or(0));
  request.force_on = options.force ? 1 : 0;
  context.session.check(ipmi_chassis_identify(context.session.handle(), &request), "Chassis Identify");
  Record record{"chassis", "", {}};
  record.add("identify", "Identify light", identify_cell(read_status(context.session).chassis));
  document.sections.push_back(std::move(record));
}

void policy(Context& context, Document& document, const std::optional<uint32_t>& policy) {
  static constexpr Bit kSupported[] = {{0, "off"}, {1, "previous"}, {2, "on"}};
  std::optional<Cell> supported;
  if (policy) {
    context.session.check(
        ipmi_chassis_set_power_restore_policy(context.session.handle(), static_cast<uint8_t>(*policy)),
        "Set Power Restore Policy");
    const Bytes& reply = context.session.last().reply;
    supported = reply.empty() ? not_told() : bits_cell(kSupported, reply[0]);
  }
  Record record{"chassis", "", {}};
  record.add("restore_policy", "When power returns", policy_cell(read_status(context.session).chassis));
  if (supported) record.add("supported_policies", "Supported", *supported);
  document.sections.push_back(std::move(record));
}

void show_buttons(Context& context, Document& document) {
  const Status status = read_status(context.session);
  Table table{
      "buttons", "", {{"button", "Button"}, {"enabled", "Enabled"}, {"disable_allowed", "Can be disabled"}}, {}};
  for (size_t i = 0; i < std::size(kButtons); ++i) {
    const bool disabled = (status.chassis.front_panel_disabled >> i & 1) != 0;
    const bool allowed = (status.chassis.front_panel_disable_allowed >> i & 1) != 0;
    table.rows.push_back({kButtons[i].name, status.tells_buttons ? yes_no(!disabled) : not_told(),
                          status.tells_buttons ? yes_no(allowed) : not_told()});
  }
  document.sections.push_back(std::move(table));
}

/// One command sets all buttons, so those that were not chosen have to be known.
void buttons(Context& context, Document& document, const Choices& choices) {
  if (given(choices) != 0) {
    const Status status = read_status(context.session);
    if (!status.tells_buttons && given(choices) != choices.size())
      throw Failure(Exit::Refused, "the BMC does not tell which buttons are disabled now",
                    "--power-off, --reset, --diag and --standby are needed together.");
    const uint8_t disabled = with_choices(status.chassis.front_panel_disabled, choices);
    if ((disabled & ~status.chassis.front_panel_disabled) != 0)
      require_consent(context, "Disable buttons of the front panel?");
    context.session.check(ipmi_chassis_set_front_panel_enables(context.session.handle(), disabled),
                          "Set Front Panel Enables");
  }
  show_buttons(context, document);
}

/// Nothing reads it back (28.9).
void power_interval(Context& context, Document& document, uint32_t seconds) {
  context.session.check(ipmi_chassis_set_power_cycle_interval(context.session.handle(), static_cast<uint8_t>(seconds)),
                        "Set Power Cycle Interval");
  Record record{"chassis", "", {}};
  record.add("power_cycle_interval_sent", "Power stays off in a cycle (sent)", amount(seconds, "s"));
  document.sections.push_back(std::move(record));
}

// Boot options: IPMI v2.0 rev 1.1, table 28-14.

// parameter 5
constexpr Word kDevices[] = {{0x0, "none"},         {0x1, "pxe"},          {0x2, "disk"},        {0x3, "safe"},
                             {0x4, "diag"},         {0x5, "cdrom"},        {0x6, "bios"},        {0x7, "remote-floppy"},
                             {0x8, "remote-cdrom"}, {0x9, "remote-media"}, {0xB, "remote-disk"}, {0xF, "floppy"}};
constexpr Word kVerbosities[] = {{0, "default"}, {1, "quiet"}, {2, "verbose"}};
constexpr Word kConsoles[] = {{0, "default"}, {1, "suppress"}, {2, "request"}};
constexpr Word kMuxes[] = {{0, "default"}, {1, "bmc"}, {2, "system"}};

/// A field of the boot flags: `flag` or `number` tells where it is. Without words it is on or off.
struct BootField {
  const char* option;
  const char* key;
  const char* label;
  const char* help;
  uint8_t IpmiBootFlags::*flag;
  uint32_t IpmiBootFlags::*number;
  std::span<const Word> words;
};
using Flags = IpmiBootFlags;
constexpr BootField boot_field(const char* option, const char* key, const char* label, const char* help,
                               uint8_t Flags::*flag) {
  return {option, key, label, help, flag, nullptr, {}};
}
constexpr BootField boot_field(const char* option, const char* key, const char* label, const char* help,
                               uint32_t Flags::*number, std::span<const Word> words = {}) {
  return {option, key, label, help, nullptr, number, words};
}
constexpr BootField kBootFields[] = {
    boot_field("--valid", "valid", "Valid", "Whether the flags count (on, unless told)", &Flags::valid),
    boot_field("device", "device", "Device", "What to boot from; safe is the disk in safe mode, bios its setup",
               &Flags::boot_device, kDevices),
    boot_field("--persistent", "persistent", "For all boots", "For all boots, not the next one only",
               &Flags::persistent),
    boot_field("--efi", "efi", "EFI boot", "EFI, not PC compatible", &Flags::boot_type),
    boot_field("--cmos-clear", "cmos_clear", "Clear CMOS", "Clear the settings of the BIOS; on asks first",
               &Flags::cmos_clear),
    boot_field("--password-bypass", "password_bypass", "Bypass password", "Do not ask for the user's password",
               &Flags::password_bypass),
    boot_field("--screen-blank", "screen_blank", "Blank screen", "Blank the screen", &Flags::screen_blank),
    boot_field("--lock-keyboard", "lock_keyboard", "Lock keyboard", "Lock the keyboard", &Flags::lock_keyboard),
    boot_field("--lock-reset", "lock_reset_button", "Lock reset button", "Lock the reset button",
               &Flags::lock_reset_button),
    boot_field("--lock-power", "lock_power_button", "Lock power button", "Lock the power button",
               &Flags::lock_power_button),
    boot_field("--lock-sleep", "lock_sleep_button", "Lock sleep button", "Lock the sleep button",
               &Flags::lock_sleep_button),
    boot_field("--verbosity", "firmware_verbosity", "Firmware verbosity", "How much the firmware shows",
               &Flags::firmware_verbosity, kVerbosities),
    boot_field("--progress-traps", "progress_traps", "Progress traps", "Send traps about the progress of the boot",
               &Flags::force_progress_traps),
    boot_field("--console", "console_redirection", "Console redirection", "Console redirection by the BIOS",
               &Flags::console_redirection, kConsoles),
    boot_field("--shared-mode", "shared_mode", "Shared access mode", "Have the BIOS share the channel (boot option 6)",
               &Flags::bios_shared_mode_override),
    boot_field("--mux", "mux", "Serial mux after POST", "Who gets the serial line after POST",
               &Flags::bios_mux_override, kMuxes)};

constexpr size_t kValid = 0;  // its row

uint32_t value_of(const BootField& field, const IpmiBootFlags& flags) {
  return field.flag != nullptr ? flags.*field.flag : flags.*field.number;
}

void put(const BootField& field, uint32_t value, IpmiBootFlags& flags) {
  if (field.flag != nullptr)
    flags.*field.flag = static_cast<uint8_t>(value);
  else
    flags.*field.number = value;
}

/// What ipmi_get_boot_flags() read, called right after it: the device instance is in the answer only.
Record flags_record(const Session& session, const IpmiBootFlags& flags, const char* key, const char* title) {
  constexpr size_t kInstanceAt = 6;  // behind version, selector and four bytes
  Record record{key, title, {}};
  for (const BootField& field : kBootFields) {
    const uint32_t value = value_of(field, flags);
    record.add(field.key, field.label, field.words.empty() ? yes_no(value != 0) : word_cell(field.words, value));
  }
  const Bytes& reply = session.last().reply;
  Cell instance = not_told();
  if (reply.size() > kInstanceAt) instance = Cell(std::to_string(reply[kInstanceAt] & 0x1F), reply[kInstanceAt] & 0x1F);
  record.add("device_instance", "Device instance", instance);
  return record;
}

Record flags_record(Session& session, const char* key, const char* title) {
  IpmiBootFlags flags = {};
  session.check(ipmi_get_boot_flags(session.handle(), &flags), "Get System Boot Options");
  return flags_record(session, flags, key, title);
}

// Parameter 3 has a bit for each event that leaves the flags valid.
constexpr Switch kClearingEvents[] = {{"--power-up", "power button or wake event", "Power button or wake event"},
                                      {"--reset", "reset button or soft reset", "Reset button or soft reset"},
                                      {"--watchdog", "watchdog timer", "A reset by the watchdog timer"},
                                      {"--timeout", "no restart for 60 s", "No Chassis Control within 60 s"},
                                      {"--pef", "PEF", "A reset or power cycle by PEF"}};

void add_clearing(Record& record, Parts& parts) {
  uint32_t kept = 0;
  record.add(
      "cleared_by", "Valid flag cleared by",
      parts.cell(
          "Get System Boot Options", [&](IpmiHandle* bmc) { return ipmi_get_boot_flag_valid_bit_clearing(bmc, &kept); },
          [&] { return switches_cell(kClearingEvents, ~kept); }, "boot option 3"));
}

void add_bios_mux(Record& record, Parts& parts) {
  uint32_t mux = 0;
  record.add("bios_mux", "BIOS mux (option 96)",
             parts.cell(
                 "Get System Boot Options", [&](IpmiHandle* bmc) { return ipmi_get_kest_bios_mux(bmc, &mux); },
                 [&] { return Cell(hex_number(mux), mux); }, "boot option 96"));
}

void show_boot(Context& context, Document& document) {
  Parts parts(context.session, document);
  IpmiBootFlags flags = {};
  Cell missing;
  if (parts.ask(
          "Get System Boot Options", [&](IpmiHandle* bmc) { return ipmi_get_boot_flags(bmc, &flags); }, missing,
          "boot option 5"))
    document.sections.push_back(flags_record(context.session, flags, "boot_flags", "Boot flags"));
  else
    document.sections.push_back(Record{"boot_flags", "", {{"flags", "Boot flags", missing}}});
  Record others{"boot_options", "Other boot options", {}};
  add_clearing(others, parts);
  add_bios_mux(others, parts);
  document.sections.push_back(std::move(others));
}

/// What is not chosen stays. Flags that are not valid say nothing, so they are no beginning for others: they could hold
/// a forgotten order to clear the CMOS. They come back when --valid is given.
void set_boot(Context& context, Document& document, const Choices& choices) {
  if (given(choices) == 0)
    throw Failure(Exit::Usage, "there is nothing to set", "lumipmi chassis boot set --help lists what can be set.");
  Session& session = context.session;
  IpmiBootFlags flags = {};
  session.check(ipmi_get_boot_flags(session.handle(), &flags), "Get System Boot Options");
  Record before = flags_record(session, flags, "before", "Before");
  const bool cleared_cmos = flags.valid != 0 && flags.cmos_clear != 0;

  if (!choices[kValid]) {
    if (flags.valid == 0) flags = {};
    flags.valid = 1;
  }
  for (size_t i = 0; i < choices.size(); ++i)
    if (choices[i]) put(kBootFields[i], *choices[i], flags);
  if (flags.valid != 0 && flags.cmos_clear != 0 && !cleared_cmos)
    require_consent(context, "Have the settings of the BIOS cleared at the next boot?");
  session.check(ipmi_set_boot_flags(session.handle(), &flags), "Set System Boot Options");
  document.sections.push_back(std::move(before));
  document.sections.push_back(flags_record(session, "after", "After"));
}

void clear_boot(Context& context, Document& document) {
  Choices choices(std::size(kBootFields));
  choices[kValid] = 0;
  set_boot(context, document, choices);
}

void clearing(Context& context, Document& document, const Choices& choices) {
  Session& session = context.session;
  if (given(choices) != 0) {
    uint32_t kept = 0;
    session.check(ipmi_get_boot_flag_valid_bit_clearing(session.handle(), &kept), "Get System Boot Options");
    const uint8_t wanted = with_choices(static_cast<uint8_t>(kept), choices);
    session.check(ipmi_set_boot_flag_valid_bit_clearing(session.handle(), wanted), "Set System Boot Options");
  }
  show_part(context, document, "boot_options", add_clearing);
}

/// The maker's own: what its values mean is up to the BMC.
void bios_mux(Context& context, Document& document, const std::optional<uint32_t>& value) {
  if (value)
    context.session.check(ipmi_set_kest_bios_mux(context.session.handle(), static_cast<uint8_t>(*value)),
                          "Set System Boot Options");
  show_part(context, document, "boot_options", add_bios_mux);
}

std::shared_ptr<Choices> add_switches(CLI::App* command, std::span<const Switch> switches) {
  const auto choices = std::make_shared<Choices>(switches.size());
  for (size_t i = 0; i < switches.size(); ++i) add_switch(command, switches[i].option, (*choices)[i], switches[i].help);
  return choices;
}

void add_boot(CLI::App* chassis, Context& context) {
  CLI::App* boot = chassis->add_subcommand("boot", "Boot options: what the next boot does");
  boot->require_subcommand(0, 1);
  const auto run_show = [&context](Document& document) { show_boot(context, document); };
  runs(context, boot, run_show);
  runs(
      context,
      boot->add_subcommand("show", "Show the boot flags, what clears their valid flag, and the BIOS mux (the default)"),
      run_show);

  CLI::App* set = boot->add_subcommand("set", "Change the boot flags; what is not given stays, if it was valid");
  const auto flags = std::make_shared<Choices>(std::size(kBootFields));
  for (size_t i = 0; i < flags->size(); ++i) {
    const BootField& field = kBootFields[i];
    if (field.words.empty())
      add_switch(set, field.option, (*flags)[i], field.help);
    else
      add_word(set, field.option, (*flags)[i], field.words, field.help);
  }
  runs(context, set, [flags, &context](Document& document) { set_boot(context, document, *flags); });
  runs(context, boot->add_subcommand("clear", "Mark the boot flags as not valid; all else stays"),
       [&context](Document& document) { clear_boot(context, document); });

  CLI::App* events = boot->add_subcommand("clearing", "Show or change which events clear the valid flag");
  const auto choices = add_switches(events, kClearingEvents);
  runs(context, events, [choices, &context](Document& document) { clearing(context, document, *choices); });

  CLI::App* mux = boot->add_subcommand("bios-mux", "Show or set the maker's BIOS mux, boot option 96");
  const auto value = std::make_shared<std::optional<uint32_t>>();
  add_number(mux, "value", *value, 0, 0xFF, "New value");
  runs(context, mux, [value, &context](Document& document) { bios_mux(context, document, *value); });
}

}  // namespace

void add_chassis(CLI::App& app, Context& context) {
  using Number = std::optional<uint32_t>;
  CLI::App* chassis = app.add_subcommand("chassis", "Power, identification, front panel, boot options");
  chassis->require_subcommand(0, 1);
  const auto run_show = [&context](Document& document) { show(context, document); };
  runs(context, chassis, run_show);
  runs(context, chassis->add_subcommand("status", "Show the state of the chassis (the default)"), run_show);

  CLI::App* command = chassis->add_subcommand("power", "Show or switch the power, or reset the system");
  const auto control = std::make_shared<Number>();
  add_word(command, "action", *control, kControls, "What to do; status, the default, only shows");
  runs(context, command, [control, &context](Document& document) { power(context, document, *control); });

  command = chassis->add_subcommand("identify", "Turn the identify light on or off");
  const auto light = std::make_shared<Identify>();
  CLI::Option* seconds = add_number(command, "seconds", light->seconds, 0, 255, "How long; else the BMC decides");
  CLI::Option* force = command->add_flag("--force", light->force, "On until it is turned off")->excludes(seconds);
  command->add_flag("--off", light->off, "Turn it off")->excludes(seconds)->excludes(force);
  runs(context, command, [light, &context](Document& document) { identify(context, document, *light); });

  command = chassis->add_subcommand("policy", "Show or set what happens when power returns");
  const auto wanted = std::make_shared<Number>();
  add_word(command, "policy", *wanted, kPolicies, "New policy");
  runs(context, command, [wanted, &context](Document& document) { policy(context, document, *wanted); });

  runs(context, chassis->add_subcommand("restart-cause", "Show why the system restarted"),
       [&context](Document& document) { show_part(context, document, "chassis", add_restart_cause); });
  runs(context, chassis->add_subcommand("poh", "Show how long the system was powered"),
       [&context](Document& document) { show_part(context, document, "chassis", add_poh); });

  command = chassis->add_subcommand(
      "buttons", "Show, disable (off) or enable (on) buttons of the front panel; asks before it disables any");
  const auto choices = add_switches(command, kButtons);
  runs(context, command, [choices, &context](Document& document) { buttons(context, document, *choices); });

  command = chassis->add_subcommand("power-interval",
                                    "Set how long the power stays off in a power cycle; IPMI cannot read it back");
  const auto interval = std::make_shared<Number>();
  add_number(command, "seconds", *interval, 0, 255, "0: as short as possible")->required();
  runs(context, command, [interval, &context](Document& document) { power_interval(context, document, **interval); });

  add_boot(chassis, context);
}

}  // namespace tool
