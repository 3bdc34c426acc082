// lumipmi defaults and debug-level: the maker's own commands.
#include "tools/settings.hpp"

namespace tool {

namespace {

constexpr char kReset[] = "reset to defaults";

void reset(Context& context, Document& document, bool keep_network) {
  require_consent(context, keep_network ? "Reset the configuration of the BMC, but for the network settings?"
                                        : "Reset the whole configuration of the BMC, the network settings too?");
  context.session.check(keep_network ? IPMIResetConfiguration2DefaultExceptNW() : IPMIResetConfiguration2Default(),
                        kReset);
  Record record{"defaults", "", {}};
  record.add("accepted", "The BMC resets", keep_network ? "all settings but the network's" : "all settings");
  document.sections.push_back(std::move(record));
}

void debug_level(Context& context, Document& document, const std::optional<uint32_t>& level) {
  if (level) context.session.check(IPMISetDebugLevel(static_cast<uint8_t>(*level)), "set the debug level");
  uint8_t current = 0;
  context.session.check(IPMIGetDebugLevel(&current), "get the debug level");
  Record record{"debug", "", {}};
  record.add("level", "Debug level", Cell(std::to_string(current), current));
  document.sections.push_back(std::move(record));
}

}  // namespace

void add_defaults(CLI::App& app, Context& context) {
  const auto keep_network = std::make_shared<bool>(false);
  CLI::App* command = app.add_subcommand("defaults", "Reset the configuration of the BMC; asks first");
  command->add_flag("--keep-network", *keep_network, "Leave the network settings as they are");
  runs(context, command, [keep_network, &context](Document& document) { reset(context, document, *keep_network); });
}

void add_debug_level(CLI::App& app, Context& context) {
  const auto level = std::make_shared<std::optional<uint32_t>>();
  CLI::App* command = app.add_subcommand("debug-level", "Show or set how much the BMC records for its maker");
  add_number(command, "level", *level, 0, 0xFF, "New level; what it means is up to the BMC");
  runs(context, command, [level, &context](Document& document) { debug_level(context, document, *level); });
}

}  // namespace tool
