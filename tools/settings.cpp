#include "tools/settings.hpp"

#include <algorithm>

#include "tools/text.hpp"

namespace tool {

namespace {

struct Command {
  uint8_t net_fn;
  uint8_t cmd;
};

// Those whose completion code 80h is "parameter not supported": boot options, PEF, system information, LAN,
// serial/modem and SOL, set and get each (IPMI v2.0
// rev 1.1: 28.12, 28.13, 30.3, 30.4, 22.14a, 22.14b, 23.1, 23.2, 25.1, 25.2, 26.2, 26.3)
constexpr Command kParameterCommands[] = {{0x00, 0x08}, {0x00, 0x09}, {0x04, 0x12}, {0x04, 0x13},
                                          {0x06, 0x58}, {0x06, 0x59}, {0x0C, 0x01}, {0x0C, 0x02},
                                          {0x0C, 0x10}, {0x0C, 0x11}, {0x0C, 0x21}, {0x0C, 0x22}};

bool is_parameter_command(const ExchangeRecord& exchange) {
  for (const Command& command : kParameterCommands)
    if (command.net_fn == exchange.net_fn && command.cmd == exchange.cmd) return true;
  return false;
}

/// The bits that "alert,reset" names; `nothing` is none of them. Empty when a name is unknown.
std::optional<uint32_t> bits_from(std::span<const Bit> bits, const std::string& text, const std::string& nothing) {
  uint32_t value = 0;
  if (text == nothing) return value;
  for (const std::string& word : CLI::detail::split(text, ',')) {
    const auto found = std::find_if(bits.begin(), bits.end(), [&](const Bit& bit) { return word == bit.text; });
    if (found == bits.end()) return std::nullopt;
    value |= 1u << found->number;
  }
  return value;
}

}  // namespace

std::string word_of(std::span<const Word> words, uint32_t value, const std::string& otherwise) {
  for (const Word& word : words)
    if (word.value == value) return word.text;
  return otherwise + " " + hex_number(value);
}

Cell word_cell(std::span<const Word> words, uint32_t value, const std::string& otherwise) {
  const std::string text = word_of(words, value, otherwise);
  return Cell(text, Json{{"value", value}, {"text", text}});
}

std::vector<std::string> bits_of(std::span<const Bit> bits, uint32_t value) {
  std::vector<std::string> result;
  for (const Bit& bit : bits)
    if ((value >> bit.number & 1) != 0) result.push_back(bit.text);
  return result;
}

std::string joined(const std::vector<std::string>& texts) {
  std::string result;
  for (const std::string& text : texts) result += (result.empty() ? "" : ", ") + text;
  return result;
}

Cell bits_cell(std::span<const Bit> bits, uint32_t value, const std::string& none) {
  const std::vector<std::string> set = bits_of(bits, value);
  return Cell(set.empty() ? none : joined(set), Json(set));
}

Cell yes_no(bool value) {
  return Cell(value ? "yes" : "no", value);
}

Cell count_cell(uint64_t value) {
  return Cell(std::to_string(value), value);
}

Cell amount(double value, const std::string& unit) {
  return Cell(number(value, 10) + " " + unit, value);
}

uint8_t channel_of(Session& session, const std::optional<uint32_t>& given, Medium medium) {
  constexpr uint8_t kLastChannel = 7;
  if (given) return static_cast<uint8_t>(*given);
  for (uint8_t channel = 0; channel <= kLastChannel; ++channel) {
    IpmiChannelInfo info = {};
    const uint32_t status = ipmi_app_get_channel_info(session.handle(), channel, &info);
    if (status != 0 && session.fatal(status)) session.check(status, "Get Channel Info");
    if (status == 0 && info.mediumType == static_cast<uint32_t>(medium)) return channel;
  }
  throw Failure(Exit::Refused,
                std::string("the BMC has no ") + (medium == Medium::Lan ? "LAN" : "serial/modem") + " channel",
                "\"lumipmi channel list\" shows the channels; --channel chooses one.");
}

Cell channel_cell(uint8_t channel) {
  return Cell(std::to_string(channel), channel);
}

CLI::Option* add_word(CLI::App* command, const std::string& name, std::optional<uint32_t>& value,
                      std::span<const Word> words, const std::string& help) {
  std::vector<std::string> allowed;
  for (const Word& word : words) allowed.emplace_back(word.text);
  return command
      ->add_option_function<std::string>(
          name,
          [&value, words](const std::string& text) {
            for (const Word& word : words)
              if (text == word.text) value = word.value;
          },
          help)
      ->type_name("WORD")
      ->check(CLI::IsMember(allowed));
}

CLI::Option* add_number(CLI::App* command, const std::string& name, std::optional<uint32_t>& value, uint32_t min,
                        uint32_t max, const std::string& help) {
  return command->add_option(name, value, help)->type_name("N")->check(CLI::Range(min, max));
}

CLI::Option* add_channel(CLI::App* command, std::optional<uint32_t>& value, Medium medium) {
  constexpr uint32_t kGreatest = 0x0F;
  return add_number(command, "--channel", value, 0, kGreatest,
                    std::string("The channel, 14 for the one in use; without it the first ") +
                        (medium == Medium::Lan ? "LAN" : "serial") + " channel");
}

CLI::Option* add_switch(CLI::App* command, const std::string& name, std::optional<uint32_t>& value,
                        const std::string& help) {
  static constexpr Word kSwitch[] = {{1, "on"}, {0, "off"}};
  return add_word(command, name, value, kSwitch, help);
}

CLI::Option* add_bits(CLI::App* command, const std::string& name, std::optional<uint32_t>& value,
                      std::span<const Bit> bits, const std::string& help, const std::string& nothing) {
  const std::string allowed = nothing + " or some of {" + joined(bits_of(bits, UINT32_MAX)) + "} with commas between";
  return command
      ->add_option_function<std::string>(
          name, [&value, bits, nothing](const std::string& text) { value = bits_from(bits, text, nothing); }, help)
      ->type_name("LIST")
      ->check(
          [bits, nothing, allowed](const std::string& text) {
            return bits_from(bits, text, nothing) ? std::string() : text + " is not " + allowed;
          },
          allowed);
}

void runs(Context& context, CLI::App* command, const std::function<void(Document&)>& what) {
  command->callback([&context, command, what] {
    if (command->get_subcommands().empty()) context.run = what;
  });
}

void require_consent(const Context& context, const std::string& question) {
  if (!context.confirm(question)) throw Failure(Exit::Usage, "nothing was changed");
}

bool not_supported(const Session& session, uint32_t status) {
  constexpr uint8_t kParameterNotSupported = 0x80;
  constexpr uint8_t kInvalidCommand = 0xC1;
  constexpr uint8_t kInvalidForLun = 0xC2;
  constexpr uint8_t kDisabled = 0xD6;
  if (status == 0 || !session.last().answered) return false;
  switch (session.last().completion) {
    case kInvalidCommand:
    case kInvalidForLun:
    case kDisabled:
      return true;
    case kParameterNotSupported:
      return is_parameter_command(session.last());
    default:
      return false;
  }
}

Cell Parts::failed(uint32_t status, const std::string& command, const std::string& subject) {
  if (not_supported(session_, status)) return Cell("not supported", nullptr, Severity::Faint);
  document_.problem(subject.empty() ? command : subject, session_.describe(status, command));
  bmc_is_lost_ = session_.fatal(status);
  return Cell("failed", nullptr, Severity::Critical);
}

}  // namespace tool
