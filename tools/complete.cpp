// lumipmi __complete WORD...: what can stand in the place of the last word, one a line. For shell completion, so that
// there is no second list of commands and options.
#include <algorithm>

#include "tools/command.hpp"

namespace tool {

std::vector<std::string> words_of(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const size_t begin = type.find('{');
  const size_t end = type.find('}', begin);
  if (begin == std::string::npos || end == std::string::npos) return {};
  std::vector<std::string> words = CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',');
  for (std::string& word : words) CLI::detail::trim(word);
  return words;
}

bool takes_value(const CLI::Option& option) {
  return option.get_expected_max() > 0 && option.get_type_size_max() > 0;
}

namespace {

CLI::Option* find_option(const CLI::App* command, const std::string& word) {
  for (; command != nullptr; command = command->get_parent())
    for (CLI::Option* option : const_cast<CLI::App*>(command)->get_options())
      if (option->nonpositional() && option->check_name(word)) return option;
  return nullptr;
}

CLI::App* find_command(const CLI::App* parent, const std::string& word) {
  for (CLI::App* command : const_cast<CLI::App*>(parent)->get_subcommands(nullptr))
    if (command->check_name(word)) return command;
  return nullptr;
}

/// Where the words so far lead to.
struct Place {
  CLI::App* command;
  size_t arguments = 0;           // given to the command
  CLI::Option* option = nullptr;  // whose value comes next
};

Place walk(CLI::App& app, const std::vector<std::string>& words) {
  Place place = {&app};
  for (const std::string& word : words) {
    if (place.option != nullptr) {
      place.option = nullptr;
    } else if (word.starts_with("-")) {
      CLI::Option* option = find_option(place.command, word);
      if (option != nullptr && takes_value(*option)) place.option = option;
    } else if (CLI::App* command = find_command(place.command, word); command != nullptr) {
      place = {command};
    } else {
      ++place.arguments;
    }
  }
  return place;
}

std::vector<std::string> choices(const Place& place) {
  if (place.option != nullptr) return words_of(*place.option);
  std::vector<std::string> result;
  for (const CLI::App* command : place.command->get_subcommands(nullptr))
    if (!command->get_name().empty() && !command->get_name().starts_with("_")) result.push_back(command->get_name());
  size_t position = 0;
  for (const CLI::Option* option : place.command->get_options())
    if (option->get_positional() && position++ == place.arguments)
      for (const std::string& word : words_of(*option)) result.push_back(word);
  for (const CLI::App* command = place.command; command != nullptr; command = command->get_parent())
    for (const CLI::Option* option : const_cast<CLI::App*>(command)->get_options())
      for (const std::string& name : option->get_lnames()) result.push_back("--" + name);
  return result;
}

}  // namespace

std::string completions(CLI::App& app, std::vector<std::string> words) {
  const std::string begun = words.empty() ? "" : words.back();
  if (!words.empty()) words.pop_back();
  std::string text;
  for (const std::string& choice : choices(walk(app, words)))
    if (choice.starts_with(begun) && (!choice.starts_with("-") || begun.starts_with("-"))) text += choice + '\n';
  return text;
}

}  // namespace tool
