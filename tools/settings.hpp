// What the commands that show and change settings share.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tools/command.hpp"

namespace tool {

/// The name of a value of a field.
struct Word {
  uint32_t value;
  const char* text;
};

/// The name of a bit.
struct Bit {
  unsigned number;
  const char* text;
};

/// The word for the value, else "`otherwise` 0x2A".
std::string word_of(std::span<const Word> words, uint32_t value, const std::string& otherwise = "reserved value");
/// The same; JSON: {"value": 42, "text": "..."}.
Cell word_cell(std::span<const Word> words, uint32_t value, const std::string& otherwise = "reserved value");

std::vector<std::string> bits_of(std::span<const Bit> bits, uint32_t value);
/// "a, b, c"
std::string joined(const std::vector<std::string>& texts);
/// The names of the bits that are 1, or `none`; JSON: an array.
Cell bits_cell(std::span<const Bit> bits, uint32_t value, const std::string& none = "none");

Cell yes_no(bool value);
/// A plain number.
Cell count_cell(uint64_t value);
/// A number with a unit: "300 s"; JSON: the number.
Cell amount(double value, const std::string& unit);

/// The channel behind --channel: what was given, else the first one of that medium, found by Get Channel Info.
enum class Medium : uint32_t { Lan = 4, Serial = 5 };
uint8_t channel_of(Session& session, const std::optional<uint32_t>& given, Medium medium);
/// "channel": 1 and so on, for the records of a channel.
Cell channel_cell(uint8_t channel);

/// Options with a limited choice. What else is given ends the tool with what is allowed. `value` is empty until then.
CLI::Option* add_word(CLI::App* command, const std::string& name, std::optional<uint32_t>& value,
                      std::span<const Word> words, const std::string& help);
CLI::Option* add_number(CLI::App* command, const std::string& name, std::optional<uint32_t>& value, uint32_t min,
                        uint32_t max, const std::string& help);
/// --channel; of that medium is the channel that channel_of() finds without it.
CLI::Option* add_channel(CLI::App* command, std::optional<uint32_t>& value, Medium medium);
/// "on" or "off"
CLI::Option* add_switch(CLI::App* command, const std::string& name, std::optional<uint32_t>& value,
                        const std::string& help);

/// --action alert,reset: names of bits with commas between, or `nothing` for none of them.
CLI::Option* add_bits(CLI::App* command, const std::string& name, std::optional<uint32_t>& value,
                      std::span<const Bit> bits, const std::string& help, const std::string& nothing = "none");

/// The field becomes what was asked for, or stays.
inline void change(uint8_t& field, const std::optional<uint32_t>& option) {
  field = static_cast<uint8_t>(option.value_or(field));
}

/// Sets what to run when this command is chosen; for a group of commands also when none of them is.
void runs(Context& context, CLI::App* command, const std::function<void(Document&)>& what);

/// Goes on when the user agrees (Context::confirm); Failure(Usage, "nothing was changed") otherwise.
void require_consent(const Context& context, const std::string& question);

/// Asks for the parts of a listing. A part that the BMC does not have is "not supported"; one that fails is "failed"
/// and a problem of the document; after the loss of the BMC nothing more is sent.
class Parts {
 public:
  Parts(Session& session, Document& document) : session_(session), document_(document) {}

  /// `request` sends with the handle that it gets and returns the library's status; `show` makes the cell from what it
  /// has stored. `command` is the standard's name; `subject` tells what was asked for when that needs saying.
  template <typename Request, typename Show>
  Cell cell(const std::string& command, const Request& request, const Show& show, const std::string& subject = "") {
    Cell missing;
    return ask(command, request, missing, subject) ? show() : missing;
  }

  /// True when the request succeeded; `missing` becomes what to show otherwise.
  template <typename Request>
  bool ask(const std::string& command, const Request& request, Cell& missing, const std::string& subject = "") {
    missing = Cell();
    if (bmc_is_lost_) return false;
    const uint32_t status = request(session_.handle());
    if (status != 0) missing = failed(status, command, subject);
    return status == 0;
  }

  /// True when going on asking is pointless.
  bool bmc_is_lost() const { return bmc_is_lost_; }

 private:
  Cell failed(uint32_t status, const std::string& command, const std::string& subject);

  Session& session_;
  Document& document_;
  bool bmc_is_lost_ = false;
};

/// Whether the last request failed because the BMC has no such command or parameter.
bool not_supported(const Session& session, uint32_t status);

}  // namespace tool
