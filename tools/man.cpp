// lumipmi __man [FILE]: the manual page as mdoc. Commands and options come from the same tree as --help, so that there
// is no second list of them; all else is FILE's (docs/lumipmi.1.in tells how it is written).
#include <algorithm>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "tools/command.hpp"
#include "tools/exit.hpp"

namespace tool {

namespace {

using Options = std::vector<const CLI::Option*>;

std::string lower(std::string text) {
  for (char& character : text) character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
  return text;
}

/// Plain text as lines of mdoc: a sentence starts a line, none is longer than 80 columns.
std::string text_lines(const std::string& text) {
  constexpr size_t kWidth = 80;
  std::istringstream words(std::regex_replace(text, std::regex("\\\\"), "\\e"));
  std::string result, line;
  for (std::string word; words >> word;) {
    if (!line.empty() && (line.back() == '.' || line.size() + 1 + word.size() > kWidth)) {
      result += line + '\n';
      line.clear();
    }
    if (word.front() == '-') word = std::regex_replace(word, std::regex("-"), "\\-");
    if (line.empty() && (word.front() == '.' || word.front() == '\'')) word = "\\&" + word;
    line += (line.empty() ? "" : " ") + word;
  }
  return result + line + '\n';
}

std::string list_of(const std::vector<std::string>& words, const char* separator) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
  return text;
}

/// "--output", or "id" of an argument.
std::string name_of(const CLI::Option& option) {
  return option.get_positional() ? option.get_name(true) : "--" + option.get_lnames().front();
}

/// What its validators say can be given: "{on,off}", "1 to 63"; empty: anything.
std::string form_of(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const size_t colon = type.find(':');
  if (colon == std::string::npos) return "";
  return std::regex_replace(type.substr(colon + 1), std::regex("U?INT in \\[(\\d+) - (\\d+)\\]"), "$1 to $2");
}

/// A short choice is shown in place of the value's name.
bool is_short_choice(const CLI::Option& option) {
  constexpr size_t kLongest = 40;
  const std::string form = form_of(option);
  return option.get_expected_max() == 1 && form.starts_with('{') && form.ends_with('}') && form.size() <= kLongest;
}

std::string value_name(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  return "Ar " + lower(option.get_positional() ? name_of(option) : type.substr(0, type.find(':')));
}

std::string value_of(const CLI::Option& option) {
  if (is_short_choice(option)) return "Cm " + list_of(words_of(option), " | ");
  return value_name(option) + (option.get_positional() && option.get_expected_max() > 1 ? " ..." : "");
}

/// "Fl o , -output Cm table | json | csv"
std::string macros_of(const CLI::Option& option) {
  if (option.get_positional()) return value_of(option);
  std::string names;
  for (const std::string& letter : option.get_snames()) names += letter + " , ";
  return "Fl " + names + name_of(option).substr(1) + (takes_value(option) ? " " + value_of(option) : "");
}

/// Arguments first; --help counts among those that all commands have.
Options options_of(const CLI::App& command) {
  Options options = command.get_options([](const CLI::Option* option) { return option->get_positional(); });
  for (const CLI::Option* option : command.get_options([&](const CLI::Option* one) {
         return one->nonpositional() && (one != command.get_help_ptr() || command.get_parent() == nullptr);
       }))
    options.push_back(option);
  return options;
}

/// The command that a command without another one stands for: "lan print".
const CLI::App* default_of(const CLI::App& command) {
  for (const CLI::App* child : command.get_subcommands(nullptr))
    if (child->get_description().ends_with("(the default)")) return child;
  return nullptr;
}

/// Whether a command above this one has the same option, which is told there.
bool is_told_above(const CLI::App& command, const CLI::Option& option) {
  for (const CLI::App* parent = command.get_parent(); parent != nullptr; parent = parent->get_parent())
    for (const CLI::Option* other : parent->get_options(nullptr))
      if (option.nonpositional() && other->get_lnames() == option.get_lnames() &&
          other->get_description() == option.get_description())
        return true;
  return false;
}

/// "Cm lan set Oo Ar options Oc": what excludes one another stands together, many options are not told one by one.
std::string usage_of(const CLI::App& command, const std::string& path) {
  constexpr size_t kManyOptions = 3;
  std::string usage = "Cm " + path;
  for (const std::string& alias : command.get_aliases()) usage += " | " + alias;
  if (const CLI::App* child = default_of(command)) usage += " Oo Cm " + child->get_name() + " Oc";
  std::vector<Options> groups;
  Options left = options_of(command);
  std::stable_partition(left.begin(), left.end(), [](const CLI::Option* option) { return option->nonpositional(); });
  while (!left.empty()) {
    Options group = {left.front()};
    left.erase(left.begin());
    for (auto next = left.begin(); next != left.end();) {
      const bool joins = std::all_of(group.begin(), group.end(), [&](const CLI::Option* one) {
        return one->get_excludes().contains(const_cast<CLI::Option*>(*next));
      });
      if (joins) group.push_back(*next);
      next = joins ? left.erase(next) : next + 1;
    }
    groups.push_back(group);
  }
  const auto is_plain = [](const Options& group) {
    return group.size() == 1 && group.front()->nonpositional() && !group.front()->get_required();
  };
  const bool many = static_cast<size_t>(std::count_if(groups.begin(), groups.end(), is_plain)) > kManyOptions;
  if (many) usage += " Oo Ar option ... Oc";
  for (const Options& group : groups) {
    if (many && is_plain(group)) continue;
    std::vector<std::string> forms;
    for (const CLI::Option* option : group) forms.push_back(macros_of(*option));
    const bool required = group.front()->get_required();
    usage += (required ? " " : " Oo ") + list_of(forms, " | ") + (required ? "" : " Oc");
  }
  return usage;
}

/// What can be given, if the value does not show it, and the default.
std::string values_of(const CLI::Option& option) {
  std::string text;
  const std::string form = form_of(option);
  const size_t begin = form.find('{');
  const size_t end = form.find('}');
  if (!form.empty() && !is_short_choice(option)) {
    text = '.' + value_name(option) + '\n';
    if (begin == std::string::npos) {
      text += text_lines("is " + form + '.');
    } else {
      const bool ends = end + 1 == form.size();
      text += text_lines(begin != 0 || !ends             ? "is " + form.substr(0, begin)
                         : option.get_expected_max() > 1 ? "is some of"
                                                         : "is one of");
      text += ".Cm " + list_of(words_of(option), " , ") + (ends ? " .\n" : "\n");
      if (!ends) text += text_lines(form.substr(end + 1) + '.');
    }
  }
  if (!option.get_default_str().empty()) text += "The default is\n.Cm " + option.get_default_str() + " .\n";
  return text;
}

/// FILE: the lines of the page, and what it adds to commands and options.
class Page {
 public:
  Page(const CLI::App& app, std::string path) : app_(app), path_(std::move(path)) {
    collect(app, "");
    std::ifstream file(path_);
    std::vector<Line>* place = &lines_;
    size_t number = 0;
    for (std::string line; std::getline(file, line);) {
      ++number;
      if (line.starts_with("@command ") || line.starts_with("@option ")) {
        if (remarks_.contains(line)) fail(number, line + ": a second time");
        place = &remarks_[line];
      } else if (line.starts_with(".\\\"")) {
        continue;
      } else if (line.starts_with('@') && (place != &lines_ || !line.starts_with("@include "))) {
        fail(number, line + ": unknown here");
      } else if (line.starts_with('.') && !line.starts_with(".Bl")) {
        check_options(line, number);
      }
      place->push_back({number, line});
    }
    if (lines_.empty()) throw Failure(Exit::Usage, path_ + ": cannot be read");
  }

  std::string text() {
    std::map<std::string, std::string> parts = {
        {"@include synopsis", synopsis()}, {"@include commands", commands()}, {"@include options", options(app_, "")}};
    for (const auto& [what, lines] : remarks_) fail(lines.front().number, what + ": there is none");
    std::string result =
        ".\\\" Made by \"lumipmi __man\" from docs/lumipmi.1.in and the options of the tool: change those.\n";
    for (const auto& [number, line] : lines_) {
      if (!line.starts_with("@")) {
        result += line + '\n';
      } else {
        const auto part = parts.extract(line);
        if (part.empty()) fail(number, line + ": unknown, or a second time");
        result += part.mapped();
      }
    }
    for (const auto& [what, part] : parts) fail(lines_.size(), what + ": missing");
    return result;
  }

 private:
  struct Line {
    size_t number;
    std::string text;
  };
  struct Command {
    const CLI::App* app;
    std::string path;  // "lan set"
  };

  [[noreturn]] void fail(size_t line, const std::string& what) const {
    throw Failure(Exit::Usage, path_ + ":" + std::to_string(line) + ": " + what);
  }

  void collect(const CLI::App& parent, const std::string& path) {
    for (const CLI::App* child : parent.get_subcommands(nullptr)) {
      if (child == default_of(parent)) continue;
      commands_.push_back({child, path + child->get_name()});
      collect(*child, path + child->get_name() + " ");
    }
  }

  /// A line of macros names no option that the tool does not have: "Fl -channel".
  void check_options(const std::string& line, size_t number) const {
    std::istringstream words(line);
    for (std::string word; words >> word;) {
      if (!std::regex_match(word, std::regex("--?[a-z][a-z-]+"))) continue;
      if (!word.starts_with("--")) word = '-' + word;
      const auto has = [&](const CLI::App* app) { return app->get_option_no_throw(word) != nullptr; };
      if (!has(&app_) && std::none_of(commands_.begin(), commands_.end(), [&](auto& one) { return has(one.app); }))
        fail(number, word + ": there is no such option");
    }
  }

  /// What FILE adds under this name, once.
  std::string remarks(const std::string& what) {
    std::string text;
    const auto lines = remarks_.extract(what);
    for (size_t i = 1; !lines.empty() && i < lines.mapped().size(); ++i) text += lines.mapped()[i].text + '\n';
    return text;
  }

  std::string synopsis() const {
    std::string text;
    for (const Command& command : commands_) text += ".Nm\n." + usage_of(*command.app, command.path) + '\n';
    return text;
  }

  std::string commands() {
    std::string text;
    for (const auto& [app, path] : commands_) {
      if (app->get_parent() == &app_)
        text += (text.empty() ? "" : ".El\n") + std::string(".Ss ") + path + "\n.Bl -tag -width indent\n";
      text += ".It " + usage_of(*app, path) + '\n' + text_lines(app->get_description() + '.');
      if (const CLI::App* child = default_of(*app))
        text += text_lines(std::regex_replace(child->get_description(), std::regex(" \\(the default\\)$"), "."));
      text += remarks("@command " + path) + options(*app, path + " ");
    }
    return text + ".El\n";
  }

  std::string options(const CLI::App& command, const std::string& path) {
    std::string items;
    for (const CLI::Option* option : options_of(command)) {
      if (is_told_above(command, *option)) continue;
      items += ".It " + macros_of(*option) + '\n' + text_lines(option->get_description() + '.') + values_of(*option) +
               remarks("@option " + path + name_of(*option));
    }
    return items.empty() ? "" : ".Bl -tag -width indent -compact\n" + items + ".El\n";
  }

  const CLI::App& app_;
  std::string path_;
  std::vector<Command> commands_;
  std::vector<Line> lines_;
  std::map<std::string, std::vector<Line>> remarks_;  // "@option lan set --vlan": with that line
};

}  // namespace

std::string manual_page(const CLI::App& app, const std::string& path) {
  return Page(app, path).text();
}

}  // namespace tool
