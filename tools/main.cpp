// lumipmi: the options of all commands, and how the chosen one is run.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "tools/command.hpp"
#include "tools/seam.hpp"
#include "tools/text.hpp"

namespace tool {

bool Context::confirm(const std::string& question) const {
  if (assume_yes) return true;
  if (!interactive)
    throw Failure(Exit::Usage, "this asks for a confirmation, but there is no terminal to ask at",
                  "Give --yes to go ahead without being asked.");
  std::fprintf(stderr, "%s [y/N] ", question.c_str());
  std::string answer;
  if (!std::getline(std::cin, answer)) std::fputc('\n', stderr);
  return answer == "y" || answer == "Y" || answer == "yes";
}

namespace {

struct Options {
  std::string driver;
  uint32_t timeout_ms = 0;  // 0: not given
  std::string format = "table";
  std::string colour = "auto";
  bool verbose = false;
  bool no_cache = false;
};

void report(const std::string& text) {
  std::fprintf(stderr, "lumipmi: %s\n", text.c_str());
}

void report(const Failure& failure) {
  if (*failure.what() != '\0') report(failure.what());
  if (!failure.advice().empty()) std::fprintf(stderr, "  %s\n", failure.advice().c_str());
}

Format format_of(const std::string& name) {
  return name == "json" ? Format::Json : name == "csv" ? Format::Csv : Format::Table;
}

bool colour_wanted(const std::string& choice, const StandardOutput& output) {
  if (choice != "auto") return choice == "always";
  const char* no_colour = std::getenv("NO_COLOR");  // https://no-color.org: set and not empty
  const char* terminal = std::getenv("TERM");
  return output.is_terminal() && (no_colour == nullptr || *no_colour == '\0') &&
         (terminal == nullptr || std::string(terminal) != "dumb");
}

void add_options(CLI::App& app, Context& context, Options& options) {
  constexpr uint32_t kMaxTimeoutMs = 3'600'000;
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.set_help_flag("-h,--help", "Show commands and options and exit");
  app.add_option("--driver", options.driver,
                 "How to reach the BMC: dev, dev:PATH, vm:HOST:PORT, or a recording: replay:FILE, replay-any:FILE")
      ->type_name("TRANSPORT");
  app.add_option("--timeout", options.timeout_ms, "How long one exchange with the BMC may take, in milliseconds")
      ->type_name("MS")
      ->check(CLI::Range(uint32_t{1}, kMaxTimeoutMs));
  app.add_option("-o,--output", options.format, "Form of the output")
      ->type_name("FORM")
      ->capture_default_str()
      ->check(CLI::IsMember({"table", "json", "csv"}));
  app.add_option("--color", options.colour, "When to use colours")
      ->type_name("WHEN")
      ->capture_default_str()
      ->check(CLI::IsMember({"auto", "always", "never"}));
  app.add_flag("-v,--verbose", options.verbose,
               "Show which driver is used and each exchange with the BMC, on standard error");
  app.add_flag("--no-cache", options.no_cache, "Read all sensor data records (SDR) from the BMC, and keep none");
  app.add_flag("-y,--yes", context.assume_yes, "Go ahead where a command would ask");
  app.set_version_flag("--version", "lumipmi " LUMIPMI_VERSION, "Show the version and exit");
}

/// What is wrong with the arguments. Where CLI11 misses a command, there may be one that it does not know.
std::string text_of(const CLI::ParseError& error, const CLI::App& app) {
  const bool missing = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
  const bool too_many = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
  const std::vector<std::string> unknown = app.remaining(true);
  if ((missing || too_many) && !unknown.empty()) {
    if (unknown.front().starts_with('-')) return "unknown option: " + unknown.front();
    return (too_many ? "unexpected argument: " : "unknown command: ") + unknown.front();
  }
  const std::string text = error.what();
  return text == "A subcommand is required" ? "a command is missing" : text;
}

/// Points from the help of a command to the options that it shares with the others.
void add_footers(CLI::App& app) {
  for (CLI::App* command : app.get_subcommands(nullptr)) {
    command->footer("lumipmi --help lists the options that all commands have.");
    add_footers(*command);
  }
}

struct Command {
  const char* name;
  void (*add)(CLI::App& app, Context& context);
};

/// In the order of the help.
constexpr Command kCommands[] = {
    {"info", add_info},       {"sensors", add_sensors}, {"sdr", add_sdr},           {"sel", add_sel},
    {"fru", add_fru},         {"chassis", add_chassis}, {"watchdog", add_watchdog}, {"lan", add_lan},
    {"channel", add_channel}, {"user", add_user},       {"session", add_session},   {"sol", add_sol},
    {"serial", add_serial},   {"pef", add_pef},         {"sysinfo", add_sysinfo},   {"payload", add_payload},
    {"key", add_key},         {"hw", add_hw},           {"defaults", add_defaults}, {"debug-level", add_debug_level},
    {"cache", add_cache},     {"raw", add_raw},         {"status", add_status},
};

bool asks_for_help(const std::string& word) {
  const bool short_flags = word.starts_with('-') && !word.starts_with("--");
  return word == "--help" || (short_flags && word.find('h') != std::string::npos);
}

/// All commands, or only those that the words name where no others can be meant: to make them all takes three quarters
/// of the start.
void add_commands(CLI::App& app, Context& context, const std::vector<std::string>& words) {
  const auto named = [&words](const Command& command) { return std::ranges::count(words, command.name) != 0; };
  const bool all = std::ranges::none_of(kCommands, named) || std::ranges::any_of(words, asks_for_help) ||
                   words.front().starts_with("__");
  for (const Command& command : kCommands)
    if (all || named(command)) command.add(app, context);
}

Exit run(Context& context, const std::string& command, const StandardOutput& output) {
  Document document;
  std::optional<Failure> failure;
  try {
    context.run(document);
  } catch (const Failure& caught) {
    failure = caught;
  }
  const std::vector<Problem> problems = document.problems;
  if (failure) document.problem(command, failure->what());
  if (!failure || !document.sections.empty()) output.write(render(document, context.style));
  for (const Problem& problem : problems) report(problem.where + ": " + problem.message);
  if (!failure) return document.exit();
  report(*failure);
  return failure->exit();
}

Exit run_tool(int argc, char** argv) {
  Context context;
  Options options;
  CLI::App app("Asks the management controller of a server (BMC) over IPMI.", "lumipmi");
  app.fallthrough();  // the options of all commands may stand behind the command, too
  app.require_subcommand(1);
  add_options(app, context, options);
  const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
  add_commands(app, context, words);
  add_footers(app);
  app.footer(
      "Exit status: 0 success, 1 output failed, 2 usage, 3 no BMC, 4 refused, 5 shown in part, 6 timed out.\n"
      "The manual page lumipmi(1) tells more.");

  if (!words.empty() && words.front() == "__complete") {  // asked by lumipmi.bash
    StandardOutput().write(completions(app, {words.begin() + 1, words.end()}));
    return Exit::Ok;
  }
  if (!words.empty() && words.front() == "__man") {  // makes docs/lumipmi.1
    StandardOutput().write(manual_page(app, words.size() > 1 ? words[1] : "docs/lumipmi.1.in"));
    return Exit::Ok;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    StandardOutput().write(app.help());
    return Exit::Ok;
  } catch (const CLI::CallForVersion& version) {
    StandardOutput().write(std::string(version.what()) + '\n');
    return Exit::Ok;
  } catch (const CLI::ParseError& error) {
    throw Failure(Exit::Usage, to_utf8(text_of(error, app)), "lumipmi --help lists commands and options.");
  }

  const StandardOutput output;
  context.style = {.format = format_of(options.format), .colour = colour_wanted(options.colour, output)};
  context.interactive = isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
  context.session.set_cache(!options.no_cache);
  seam::set_verbose(options.verbose);
  if (!options.driver.empty()) seam::select_transport(options.driver);
  if (options.timeout_ms != 0) seam::set_timeout(options.timeout_ms);
  return run(context, app.get_subcommands().front()->get_name(), output);
}

/// With one of the first three descriptors closed, the next file or connection to be opened would take its place.
void open_standard_descriptors() {
  for (const int fd : {STDIN_FILENO, STDERR_FILENO}) {
    if (fcntl(fd, F_GETFD) >= 0) continue;
    const int null = open("/dev/null", O_RDWR);
    if (null >= 0 && null != fd) {
      dup2(null, fd);
      close(null);
    }
  }
}

}  // namespace

}  // namespace tool

int main(int argc, char** argv) {
  using namespace tool;
  std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is seen when writing
  open_standard_descriptors();
  try {
    return static_cast<int>(run_tool(argc, argv));
  } catch (const Failure& failure) {
    report(failure);
    return static_cast<int>(failure.exit());
  } catch (const std::exception& error) {
    report(error.what());
    return static_cast<int>(Exit::Internal);
  }
}
