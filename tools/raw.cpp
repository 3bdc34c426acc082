// lumipmi raw: any request, any answer.
#include <charconv>

#include "tools/command.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

constexpr size_t kMaxData = 250;  // IPMISendRawIPMICommand takes no more

struct RawArguments {
  std::string net_fn;
  std::string cmd;
  std::vector<std::string> bytes;
  uint8_t lun = 0;
};

/// Hexadecimal with or without 0x, as all IPMI tables print it.
uint8_t byte_of(const std::string& argument, const std::string& text) {
  std::string_view digits = text;
  if (digits.starts_with("0x") || digits.starts_with("0X")) digits.remove_prefix(2);
  unsigned value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  const bool is_number = !digits.empty() && end == digits.data() + digits.size();
  if (!is_number || (error != std::errc() && error != std::errc::result_out_of_range))
    throw Failure(Exit::Usage, argument + ": \"" + to_utf8(text) + "\" is not a hexadecimal number",
                  "Numbers are hexadecimal, with or without 0x.");
  if (error != std::errc() || value > 0xFF)
    throw Failure(Exit::Usage, argument + ": " + to_utf8(text) + " is more than a byte holds",
                  "Numbers are hexadecimal, from 0 to FF.");
  return static_cast<uint8_t>(value);
}

struct RawRequest {
  uint8_t net_fn;
  uint8_t cmd;
  Bytes data;
};

RawRequest request_of(const RawArguments& arguments) {
  RawRequest request = {.net_fn = byte_of("NETFN", arguments.net_fn), .cmd = byte_of("CMD", arguments.cmd), .data = {}};
  if (request.net_fn > 0x3E || request.net_fn % 2 != 0)
    throw Failure(Exit::Usage, "NETFN: " + hex_number(request.net_fn) + " is not the network function of a request",
                  "Requests have even ones from 0x00 to 0x3E.");
  if (arguments.bytes.size() > kMaxData)
    throw Failure(Exit::Usage, "BYTE: " + std::to_string(arguments.bytes.size()) + " data bytes are too many",
                  "A request holds up to " + std::to_string(kMaxData) + ".");
  for (const std::string& text : arguments.bytes)
    request.data.push_back(byte_of("BYTE " + std::to_string(request.data.size() + 1), text));
  return request;
}

Cell bytes_cell(const Bytes& bytes) {
  return Cell(bytes.empty() ? "none" : hex_bytes(bytes), Json(bytes));
}

void run_raw(Session& session, const RawArguments& arguments, Document& document) {
  const RawRequest request = request_of(arguments);
  const LunScope scope(session, arguments.lun);
  const IpmiRawCommand command = {.rsAddr = 0x20,
                                  .rsLun = arguments.lun,
                                  .netFn = request.net_fn,
                                  .cmd = request.cmd,
                                  .dataLength = static_cast<uint8_t>(request.data.size()),
                                  .data = request.data.data()};
  Bytes answer(0xFF);
  IpmiRawResponse response = {
      .completionCode = 0, .dataLength = static_cast<uint8_t>(answer.size()), .data = answer.data()};
  const uint32_t status = IPMISendRawIPMICommand(&command, &response);
  if (response.completionCode == 0) session.check(status, "raw request");
  answer.resize(response.dataLength);

  const std::string meaning = response.completionCode == 0 ? "success" : meaning_of(response.completionCode).meaning;
  Record record{.key = "response", .title = "", .fields = {}};
  record.add("completion_code", "Completion code",
             Cell(hex_number(response.completionCode) + ", " + meaning, response.completionCode,
                  response.completionCode == 0 ? Severity::Ok : Severity::Critical));
  record.add("meaning", "", Cell(meaning));
  record.add("data", "Data", bytes_cell(answer));
  document.sections.push_back(record);
  session.check(status, "raw request");
}

}  // namespace

void add_raw(CLI::App& app, Context& context) {
  auto arguments = std::make_shared<RawArguments>();
  CLI::App* command = app.add_subcommand("raw", "Send any request; numbers are hexadecimal, with or without 0x");
  command->add_option("NETFN", arguments->net_fn, "Network function, even")->required();
  command->add_option("CMD", arguments->cmd, "Command code")->required();
  command->add_option("BYTE", arguments->bytes, "Data bytes")->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  command->add_option("--lun", arguments->lun, "LUN of the BMC")->type_name("N")->check(CLI::Range(0, 3));
  command->callback([&context, arguments] {
    context.run = [&context, arguments](Document& document) { run_raw(context.session, *arguments, document); };
  });
}

}  // namespace tool
