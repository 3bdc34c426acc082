// lumipmi hw: what the hardware layer reaches through the controller's command broker.
#include <array>

#include "lumipmi/broker.h"
#include "tools/settings.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

// IPMI v2.0 rev 1.1, 28.3
constexpr Word kControls[] = {{IPMI_CHASSIS_POWER_DOWN, "off"},
                              {IPMI_CHASSIS_POWER_UP, "on"},
                              {IPMI_CHASSIS_POWER_CYCLE, "cycle"},
                              {IPMI_CHASSIS_HARD_RESET, "reset"},
                              {IPMI_CHASSIS_DIAGNOSTIC_INTERRUPT, "diag"},
                              {IPMI_CHASSIS_SOFT_SHUTDOWN, "soft"}};

// Boot device codes of the layer; those above 15 name a device by its instance, too.
constexpr Word kDevices[] = {
    {0, "none"},         {1, "pxe"},     {2, "disk"},           {3, "safe"},          {4, "diag"},
    {5, "cdrom"},        {6, "bios"},    {7, "remote-floppy"},  {8, "remote-cdrom"},  {9, "remote-media"},
    {11, "remote-disk"}, {15, "floppy"}, {16, "floppy-31"},     {17, "bios-1"},       {18, "bios-2"},
    {19, "bios-3"},      {20, "bios-4"}, {21, "remote-disk-0"}, {22, "remote-disk-1"}};

constexpr Word kOwnResults[] = {{IPMI_HW_FAILED, "the broker failed"},
                                {IPMI_HW_SHORT, "the response is shorter than it says"},
                                {IPMI_HW_INVALID, "invalid argument"},
                                {LUMIPMI_BROKER_BAD_ARGUMENT, "the broker got a null pointer"},
                                {LUMIPMI_BROKER_UNKNOWN_NAME, "the broker does not know the function's name"},
                                {LUMIPMI_BROKER_BAD_FRAME_LENGTH, "the broker expects another frame"},
                                {LUMIPMI_BROKER_UNKNOWN_FUNCTION, "the broker does not know the function"},
                                {LUMIPMI_BROKER_UNKNOWN_OPERATION, "the broker does not know the operation"},
                                {LUMIPMI_BROKER_NOT_SUPPORTED, "the broker does not support the function"},
                                {LUMIPMI_BROKER_DATA_TOO_LONG, "the request is too long for the broker"},
                                {LUMIPMI_BROKER_ANSWER_TOO_LONG, "the answer is too long for the broker"}};

/// Ends the command after a failure. With our broker the last exchange tells what became of the request; another one
/// has reasons of its own.
void check(Session& session, uint32_t result, size_t exchanges_before, const char* what) {
  if (result == 0) return;
  const bool asked = session.exchanges() > exchanges_before;
  if (asked && !session.last().answered) session.check(IPMI_STATUS_DRIVER_ERROR, what);
  if (asked && session.last().completion != 0) session.check(IPMI_STATUS_BMC_BASE + session.last().completion, what);
  throw Failure(Exit::Refused, std::string(what) + ": " + word_of(kOwnResults, result, "result of the broker"));
}

/// One operation of the layer, checked.
template <typename Operation>
void run(Session& session, const char* what, const Operation& operation) {
  const size_t before = session.exchanges();
  check(session, operation(), before, what);
}

/// Shows the parts one by one: what fails does not keep the others from being shown.
class Listing {
 public:
  Listing(Session& session, Document& document) : session_(session), document_(document) {}

  template <typename Operation, typename Show>
  void add(const char* key, const char* label, const Operation& operation, const Show& show) {
    if (lost_) return record_.add(key, label, Cell());
    try {
      run(session_, label, operation);
      record_.add(key, label, show());
    } catch (const Failure& failure) {
      const bool unknown = session_.last().answered && not_supported(session_, IPMI_STATUS_APP_ERROR);
      record_.add(
          key, label,
          unknown ? Cell("not supported", nullptr, Severity::Faint) : Cell("failed", nullptr, Severity::Critical));
      if (unknown) return;
      document_.problem(label, failure.what());
      lost_ = failure.exit() == Exit::NoBmc || failure.exit() == Exit::TimedOut;
    }
  }

  void finish() { document_.sections.push_back(std::move(record_)); }

 private:
  Session& session_;
  Document& document_;
  Record record_{"hardware", "", {}};
  bool lost_ = false;
};

/// The device of boot option 5 as the BMC has it.
Cell device_cell(const std::array<uint8_t, 10>& option) {
  const uint32_t selector = option[3] >> 2 & 0x0Fu;
  const uint32_t instance = option[6] & 0x1Fu;
  const std::string text = word_of(kDevices, selector, "selector");
  return Cell(instance == 0 ? text : text + ", instance " + std::to_string(instance),
              Json{{"selector", selector}, {"instance", instance}, {"text", text}});
}

void add_boot(Listing& listing) {
  std::array<uint8_t, 10> option = {};
  listing.add(
      "boot_device", "Boot device", [&] { return IPMIGetBootOptions_HW(IPMI_BOOT_FLAGS, option.data()); },
      [&] { return device_cell(option); });
  uint8_t once = 0;
  listing.add(
      "boot_once", "For the next boot only", [&] { return IPMIGetBootOnceEnable_HW(&once); },
      [&] { return yes_no(once != 0); });
}

void add_power(Listing& listing) {
  uint32_t count = 0;
  uint8_t on = 0;
  listing.add(
      "power_on", "Power", [&] { return IPMIGetPowerState_HW(&count, nullptr, nullptr, &on); },
      [&] { return Cell(on != 0 ? "on" : "off", on != 0); });
}

void add_video(Listing& listing) {
  uint8_t enabled = 0xFF;
  listing.add(
      "local_video", "Local video", [&] { return IPMIGetLocalServerVideo_HW(&enabled); },
      [&] {
        return enabled > 1 ? Cell("not told", nullptr, Severity::Faint)
                           : Cell(enabled != 0 ? "on" : "off", enabled != 0);
      });
}

void show(Context& context, Document& document) {
  Listing listing(context.session, document);
  add_power(listing);
  add_boot(listing);
  IpmiHwText text = {};
  const auto show_text = [&] { return Cell(to_utf8(std::string_view(text.text))); };
  listing.add(
      "host_name", "Host name", [&] { return IPMIGetOEMHostName_HW(&text); }, show_text);
  text = {};
  listing.add(
      "unit_tag", "Unit tag", [&] { return IPMIGetOEMUnitTag_HW(&text); }, show_text);
  add_video(listing);
  uint8_t ports = 0;
  listing.add(
      "network_ports", "Network ports", [&] { return IPMIGetNicCapabilities(&ports); },
      [&] { return count_cell(ports); });
  listing.finish();
}

void power(Context& context, Document& document, const std::optional<uint32_t>& control) {
  if (control) {
    if (*control != IPMI_CHASSIS_POWER_UP)
      require_consent(context, "Power " + word_of(kControls, *control) + "? The system stops or restarts.");
    const auto byte = static_cast<uint8_t>(*control);
    uint32_t count = 1;
    uint8_t out = 0;
    run(context.session, "power control", [&] { return IPMISetPowerState_HW(&count, nullptr, &byte, &out); });
  }
  Listing listing(context.session, document);
  add_power(listing);
  listing.finish();
}

struct Boot {
  std::optional<uint32_t> device, once;
};

void boot(Context& context, Document& document, const Boot& options) {
  if (options.device)
    run(context.session, "boot device", [&] { return IPMISetBootDevice_HW(static_cast<uint8_t>(*options.device)); });
  if (options.once)
    run(context.session, "boot once", [&] { return IPMISetBootOnceEnable_HW(static_cast<uint8_t>(*options.once)); });
  Listing listing(context.session, document);
  add_boot(listing);
  listing.finish();
}

void video(Context& context, Document& document, const std::optional<uint32_t>& enable) {
  if (enable)
    run(context.session, "local video", [&] { return IPMISetLocalServerVideo_HW(static_cast<uint8_t>(*enable)); });
  Listing listing(context.session, document);
  add_video(listing);
  listing.finish();
}

}  // namespace

void add_hw(CLI::App& app, Context& context) {
  using Number = std::optional<uint32_t>;
  CLI::App* hw = app.add_subcommand("hw", "The hardware layer: the same BMC through the controller's command broker");
  hw->require_subcommand(0, 1);
  const auto run_show = [&context](Document& document) { show(context, document); };
  runs(context, hw, run_show);
  runs(context, hw->add_subcommand("show", "Show what it reaches (the default)"), run_show);

  CLI::App* command = hw->add_subcommand("power", "Show or switch the power");
  const auto control = std::make_shared<Number>();
  add_word(command, "action", *control, kControls, "What to do; all but on ask first");
  runs(context, command, [control, &context](Document& document) { power(context, document, *control); });

  command = hw->add_subcommand("boot", "Show or set the boot device");
  const auto options = std::make_shared<Boot>();
  add_word(command, "device", options->device, kDevices, "What to boot from");
  add_switch(command, "--once", options->once, "For the next boot only, or for all");
  runs(context, command, [options, &context](Document& document) { boot(context, document, *options); });

  command = hw->add_subcommand("video", "Show or switch the server's own video output");
  const auto enable = std::make_shared<Number>();
  add_switch(command, "state", *enable, "New state");
  runs(context, command, [enable, &context](Document& document) { video(context, document, *enable); });
}

}  // namespace tool
