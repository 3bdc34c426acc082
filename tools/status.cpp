// lumipmi status: what a status of the library means.
#include <charconv>
#include <cstring>

#include "tools/command.hpp"
#include "tools/status_text.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

/// A number as programs print it, or a name. Without 0x digits alone are decimal; with letters among them they can only
/// be hexadecimal.
uint32_t status_of(const std::string& text) {
  for (const StatusText& known : known_statuses())
    if (*known.name != '\0' && text == known.name) return known.status;

  std::string_view digits = text;
  int base = 10;
  if (digits.starts_with("0x") || digits.starts_with("0X")) {
    digits.remove_prefix(2);
    base = 16;
  } else if (digits.find_first_not_of("0123456789") != std::string_view::npos) {
    base = 16;
  }
  uint32_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
  if (digits.empty() || error != std::errc() || end != digits.data() + digits.size())
    throw Failure(Exit::Usage, "CODE: \"" + to_utf8(text) + "\" is neither a status nor the name of one",
                  "Accepted are 0x200000C1, 536871105, 0xC1, C1 and IPMI_STATUS_BMC_INVALID_COMMAND.");
  return value;
}

std::string message_of(uint32_t status) {
  std::string message = get_ipmi_err_msg_string(static_cast<int32_t>(status));
  while (message.ends_with('\n')) message.pop_back();
  return message;
}

/// A field that people do not see when it is empty.
void add_if_any(Record& record, const std::string& key, const std::string& label, const Cell& cell) {
  record.add(key, cell.text.empty() ? "" : label, cell);
}

Cell or_null(const std::string& text) {
  return text.empty() ? Cell() : Cell(text);
}

void show_one(uint32_t status, Document& document) {
  if (status > 0 && status <= 0xFF) status += IPMI_STATUS_BMC_BASE;
  const StatusMeaning meaning = meaning_of(status);
  const uint32_t code = status - IPMI_STATUS_BMC_BASE;
  const bool is_completion_code = code > 0 && code <= 0xFF;
  Record record{.key = "status", .title = "", .fields = {}};
  record.add("code", "Status", Cell(hex_number(status, 8), status));
  add_if_any(record, "completion_code", "Completion code", is_completion_code ? Cell(hex_number(code), code) : Cell());
  add_if_any(record, "name", "Name", or_null(meaning.name));
  record.add("message", "Message", message_of(status));
  record.add("meaning", "Meaning", meaning.meaning);
  add_if_any(record, "advice", "Advice", or_null(meaning.advice));
  document.sections.push_back(record);
}

void show_all(Document& document) {
  Table table{.key = "statuses",
              .title = "",
              .columns = {{"code", "STATUS"}, {"name", "NAME"}, {"meaning", "MEANING"}},
              .rows = {}};
  for (const StatusText& known : known_statuses())
    table.rows.push_back({Cell(hex_number(known.status, 8), known.status), or_null(known.name), known.meaning});
  document.sections.push_back(table);
}

}  // namespace

void add_status(CLI::App& app, Context& context) {
  auto code = std::make_shared<std::string>();
  CLI::App* command =
      app.add_subcommand("status", "What a status of the library or a completion code means; without one: all of them");
  CLI::Option* given =
      command->add_option("CODE", *code, "Decimal, hexadecimal with 0x or with a letter in it, or a name");
  command->callback([&context, code, given] {
    context.run = [code, given](Document& document) {
      if (given->count() != 0)
        show_one(status_of(*code), document);
      else
        show_all(document);
    };
  });
}

}  // namespace tool
