// lumipmi watchdog: the timer that acts when the host does not report in time.
#include "tools/settings.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

// IPMI v2.0 rev 1.1, 27.6 and 27.7
constexpr Word kUses[] = {{1, "bios-frb2"}, {2, "bios-post"}, {3, "os-load"}, {4, "sms-os"}, {5, "oem"}};
constexpr Word kActions[] = {{0, "none"}, {1, "reset"}, {2, "power-down"}, {3, "power-cycle"}};
constexpr Word kInterrupts[] = {{0, "none"}, {1, "smi"}, {2, "nmi"}, {3, "messaging"}};
constexpr Bit kExpired[] = {{1, "bios-frb2"}, {2, "bios-post"}, {3, "os-load"}, {4, "sms-os"}, {5, "oem"}};

constexpr double kCountsPerSecond = 10;
constexpr uint32_t kLongestSeconds = 6553;

IpmiWatchdogConfig read(Session& session) {
  IpmiWatchdogConfig config = {};
  session.check(ipmi_app_get_watchdog_timer(session.handle(), &config), "Get Watchdog Timer");
  return config;
}

void show(Context& context, Document& document) {
  const IpmiWatchdogConfig config = read(context.session);
  Record record{"watchdog", "", {}};
  const bool running = config.timerRunning != 0;
  record.add("running", "Timer", Cell(running ? "running" : "stopped", running));
  record.add("use", "Use", word_cell(kUses, config.timerUse));
  record.add("action", "Action", word_cell(kActions, config.timeoutAction));
  record.add("interrupt", "Interrupt before it", word_cell(kInterrupts, config.preTimeoutInterrupt));
  record.add("interrupt_seconds", "Time from interrupt to action", amount(config.preTimeoutInterval, "s"));
  record.add("initial_seconds", "Countdown from", amount(config.initialCountdown / kCountsPerSecond, "s"));
  record.add("present_seconds", "Countdown at", amount(config.presentCountdown / kCountsPerSecond, "s"));
  record.add("logs_expiration", "Expiration is logged", yes_no(config.dontLog == 0));
  record.add("expired", "Expired uses", bits_cell(kExpired, config.expirationFlags));
  document.sections.push_back(std::move(record));
}

struct Options {
  std::optional<uint32_t> use, action, interrupt, interrupt_seconds, seconds, log;
  bool clear = false;
};

void write(Session& session, const IpmiWatchdogConfig& config) {
  session.check(ipmi_app_set_watchdog_timer(session.handle(), &config), "Set Watchdog Timer");
}

/// What is not given stays. A running timer goes on with what was set, from the beginning.
void set(Context& context, Document& document, const Options& options) {
  IpmiWatchdogConfig config = read(context.session);
  config.timerUse = options.use.value_or(config.timerUse);
  config.timeoutAction = options.action.value_or(config.timeoutAction);
  config.preTimeoutInterrupt = options.interrupt.value_or(config.preTimeoutInterrupt);
  config.preTimeoutInterval = static_cast<uint8_t>(options.interrupt_seconds.value_or(config.preTimeoutInterval));
  if (options.seconds) config.initialCountdown = static_cast<uint16_t>(*options.seconds * kCountsPerSecond);
  if (options.log) config.dontLog = *options.log == 0 ? 1 : 0;
  config.expirationFlags = options.clear ? 0xFF : 0;
  if (config.preTimeoutInterrupt != 0 && config.preTimeoutInterval * kCountsPerSecond > config.initialCountdown)
    throw Failure(Exit::Usage, "the interrupt comes " + std::to_string(config.preTimeoutInterval) +
                                   " s before the action, but the countdown is shorter: " +
                                   number(config.initialCountdown / kCountsPerSecond, 6) + " s");
  if (config.timerRunning != 0 && config.timeoutAction != 0)
    require_consent(
        context, "The timer is running. Change it, with the action " + word_of(kActions, config.timeoutAction) + "?");
  write(context.session, config);
  show(context, document);
}

/// Starts or restarts the countdown (27.5).
void start(Context& context, Document& document) {
  const IpmiWatchdogConfig config = read(context.session);
  if (config.timerRunning == 0 && config.timeoutAction != 0)
    require_consent(context, "Start the timer? Without a reset within " +
                                 number(config.initialCountdown / kCountsPerSecond, 6) + " s the system gets " +
                                 word_of(kActions, config.timeoutAction) + ".");
  context.session.check(ipmi_app_reset_watchdog_timer(context.session.handle()), "Reset Watchdog Timer");
  show(context, document);
}

void stop(Context& context, Document& document) {
  IpmiWatchdogConfig config = read(context.session);
  config.timerRunning = 0;
  config.expirationFlags = 0;
  write(context.session, config);
  show(context, document);
}

}  // namespace

void add_watchdog(CLI::App& app, Context& context) {
  const auto options = std::make_shared<Options>();
  CLI::App* watchdog = app.add_subcommand("watchdog", "Watchdog timer");
  watchdog->require_subcommand(0, 1);
  const auto run_show = [&context](Document& document) { show(context, document); };
  runs(context, watchdog, run_show);
  runs(context, watchdog->add_subcommand("show", "Show the timer (the default)"), run_show);

  CLI::App* command = watchdog->add_subcommand("set", "Change the timer; what is not given stays");
  add_word(command, "--use", options->use, kUses, "What the timer watches");
  add_word(command, "--action", options->action, kActions, "What happens at its end");
  add_word(command, "--interrupt", options->interrupt, kInterrupts, "Interrupt before the action");
  add_number(command, "--interrupt-seconds", options->interrupt_seconds, 0, 255, "How many seconds before the action");
  add_number(command, "--seconds", options->seconds, 0, kLongestSeconds, "Countdown in seconds");
  add_switch(command, "--log", options->log, "Whether an expiration is logged");
  command->add_flag("--clear", options->clear, "Forget which uses expired");
  runs(context, command, [options, &context](Document& document) { set(context, document, *options); });

  runs(context, watchdog->add_subcommand("start", "Start the countdown, or start it again"),
       [&context](Document& document) { start(context, document); });
  runs(context, watchdog->add_subcommand("stop", "Stop the timer"),
       [&context](Document& document) { stop(context, document); });
}

}  // namespace tool
