// How a command of the tool is made: each file registers its CLI11 subcommands and what to run.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tools/output.hpp"
#include "tools/session.hpp"

namespace tool {

/// What all commands share.
struct Context {
  Session session;
  Style style;
  bool interactive = false;  // standard input and standard error are terminals: questions may be asked
  bool assume_yes = false;   // --yes
  /// The command that was chosen: fills the document and returns; throws Failure. What is in the document by then is
  /// shown first, with the failure as its last problem; the exit status is the failure's.
  std::function<void(Document&)> run;
  /// Asks before something that cannot be undone; true with --yes; a Failure(Usage) that names --yes when nobody can
  /// be asked.
  bool confirm(const std::string& question) const;
};

/// Each adds its subcommands to the application; their callbacks set context.run.
void add_info(CLI::App& app, Context& context);
void add_raw(CLI::App& app, Context& context);
void add_status(CLI::App& app, Context& context);
void add_sensors(CLI::App& app, Context& context);
void add_sdr(CLI::App& app, Context& context);
void add_sel(CLI::App& app, Context& context);
void add_fru(CLI::App& app, Context& context);
void add_chassis(CLI::App& app, Context& context);
void add_watchdog(CLI::App& app, Context& context);
void add_lan(CLI::App& app, Context& context);
void add_channel(CLI::App& app, Context& context);
void add_user(CLI::App& app, Context& context);
void add_session(CLI::App& app, Context& context);
void add_sol(CLI::App& app, Context& context);
void add_serial(CLI::App& app, Context& context);
void add_pef(CLI::App& app, Context& context);
void add_sysinfo(CLI::App& app, Context& context);
void add_payload(CLI::App& app, Context& context);
void add_key(CLI::App& app, Context& context);
void add_hw(CLI::App& app, Context& context);
void add_defaults(CLI::App& app, Context& context);
void add_debug_level(CLI::App& app, Context& context);
void add_cache(CLI::App& app, Context& context);

/// What can stand in the place of the last of these words, one a line.
std::string completions(CLI::App& app, std::vector<std::string> words);
/// The manual page; `path` is the file with all that the tree of commands does not tell.
std::string manual_page(const CLI::App& app, const std::string& path);

/// The words that an option or argument takes: its validator tells them as "{a,b}".
std::vector<std::string> words_of(const CLI::Option& option);
bool takes_value(const CLI::Option& option);

}  // namespace tool
