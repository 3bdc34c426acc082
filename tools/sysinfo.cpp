// lumipmi sysinfo: names and versions of the system's firmware and operating systems.
#include <algorithm>
#include <array>

#include "tools/settings.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

// IPMI v2.0 rev 1.1, table 22-16c. liblumipmi's own functions read the names of the operating systems from 4 and 5.
struct Parameter {
  uint8_t selector;
  const char* key;
  const char* name;
};
constexpr uint8_t kSetInProgress = 0;
enum Progress : uint8_t { kComplete, kInProgress, kCommit };
constexpr Parameter kTexts[] = {{1, "firmware", "System firmware version"},
                                {2, "name", "System name"},
                                {3, "primary-os", "Primary operating system"},
                                {4, "os-name", "Present operating system"},
                                {5, "os-version", "Present operating system version"},
                                {6, "bmc-url", "BMC URL"},
                                {7, "hypervisor-url", "Base OS or hypervisor URL"}};
constexpr Word kProgress[] = {{kComplete, "complete"}, {kInProgress, "in progress"}, {kCommit, "commit"}};
constexpr Word kEncodings[] = {
    {IPMI_SYSTEM_INFO_LATIN1, "Latin-1"}, {IPMI_SYSTEM_INFO_UTF8, "UTF-8"}, {IPMI_SYSTEM_INFO_UNICODE, "Unicode"}};

constexpr size_t kHead = 2;  // encoding and length, in front of the text in its first block
constexpr size_t kBlock = 16;
constexpr size_t kLongestText = 255;

void append_utf8(std::string& text, uint32_t character) {
  if (character < 0x80) {
    text += static_cast<char>(character);
    return;
  }
  const int more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
  constexpr uint8_t kLead[] = {0, 0xC0, 0xE0, 0xF0};
  text += static_cast<char>(kLead[more] | character >> 6 * more);
  for (int i = more - 1; i >= 0; --i) text += static_cast<char>(0x80 | (character >> 6 * i & 0x3F));
}

/// UTF-16, the least significant byte first. Half a pair becomes U+FFFD.
std::string from_utf16(std::span<const uint8_t> bytes) {
  constexpr uint32_t kReplacement = 0xFFFD;
  const auto unit = [&](size_t i) -> uint32_t {
    return i + 1 < bytes.size() ? bytes[i] | uint32_t{bytes[i + 1]} << 8 : 0;
  };
  std::string text;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const uint32_t first = unit(i);
    const uint32_t second = unit(i + 2);
    if ((first & 0xFC00) == 0xD800 && (second & 0xFC00) == 0xDC00) {
      append_utf8(text, 0x10000 + ((first & 0x3FF) << 10) + (second & 0x3FF));
      i += 2;
    } else {
      append_utf8(text, (first & 0xF800) == 0xD800 ? kReplacement : first);
    }
  }
  return text;
}

/// The text of a parameter. What the BMC filled it up with behind its end is left out. Many a writer stores UTF-8 as
/// Latin-1, so both are taken for what they look like.
std::string text_of(uint8_t encoding, std::span<const uint8_t> bytes) {
  std::string text = encoding == IPMI_SYSTEM_INFO_UNICODE ? from_utf16(bytes) : std::string(bytes.begin(), bytes.end());
  text.erase(text.find_last_not_of('\0') + 1);
  return to_utf8(text);
}

std::vector<Cell> text_row(Parts& parts, const Parameter& parameter) {
  std::array<uint8_t, kHead + kLongestText + 1> data = {};
  Cell text;
  Cell encoding;
  Cell length;
  if (parts.ask(
          "Get System Info Parameters",
          [&](IpmiHandle* bmc) {
            return ipmi_get_system_info_multi_blocks_string(bmc, parameter.selector, data.data(), data.size());
          },
          text, parameter.name)) {
    const uint8_t code = data[0] & 0x0F;
    text = Cell(text_of(code, std::span(data).subspan(kHead, data[1])));
    encoding = word_cell(kEncodings, code);
    length = Cell(std::to_string(data[1]), data[1]);
  }
  return {Cell(std::to_string(parameter.selector), parameter.selector),
          parameter.key,
          parameter.name,
          text,
          encoding,
          length};
}

void show(Context& context, Document& document) {
  Parts parts(context.session, document);
  Record state{"state", "", {}};
  uint8_t progress = 0;
  const auto get_progress = [&](IpmiHandle* bmc) {
    uint8_t revision = 0;
    uint16_t length = sizeof progress;
    return ipmi_app_get_system_info(bmc, kSetInProgress, 0, 0, &revision, &length, &progress);
  };
  state.add("set_in_progress", "Setting",
            parts.cell(
                "Get System Info Parameters", get_progress, [&] { return word_cell(kProgress, progress & 3); },
                "set in progress"));
  document.sections.push_back(std::move(state));

  Table texts{"texts",
              "",
              {{"parameter", "No.", true},
               {"key", ""},
               {"name", "Name"},
               {"text", "Text"},
               {"encoding", "Encoding"},
               {"length", "Bytes", true}},
              {}};
  for (const Parameter& parameter : kTexts) texts.rows.push_back(text_row(parts, parameter));
  document.sections.push_back(std::move(texts));
}

struct Text {
  uint8_t encoding;
  std::string bytes;
};

/// Latin-1, which every reader understands, when it has all characters and does not look like UTF-8; else UTF-8.
Text encoded(const std::string& text) {
  if (to_utf8(text) != text) throw Failure(Exit::Usage, "the text is not UTF-8, or has control characters");
  const Text as_it_is = {IPMI_SYSTEM_INFO_UTF8, text};
  std::string latin1;
  for (size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<uint8_t>(text[i]);
    if (byte > 0xC3) return as_it_is;  // beyond U+00FF
    latin1 += byte < 0x80 ? text[i] : static_cast<char>((byte & 3) << 6 | (text[++i] & 0x3F));
  }
  return to_utf8(latin1) == text ? Text{IPMI_SYSTEM_INFO_LATIN1, latin1} : as_it_is;
}

void write(Session& session, uint8_t parameter, std::span<const uint8_t> data) {
  session.check(ipmi_app_set_system_info(session.handle(), parameter, static_cast<uint16_t>(data.size()), data.data()),
                "Set System Info Parameters");
}

/// In blocks of 16 bytes, each behind its number (22.14a).
void write_text(Session& session, uint8_t parameter, const Text& text) {
  std::string rest = {static_cast<char>(text.encoding), static_cast<char>(text.bytes.size())};
  rest += text.bytes;
  for (uint8_t block = 0; block == 0 || !rest.empty(); ++block) {
    std::array<uint8_t, 1 + kBlock> data = {block};
    const size_t size = std::min(rest.size(), kBlock);
    std::copy_n(rest.begin(), size, data.begin() + 1);
    rest.erase(0, size);
    write(session, parameter, data);
  }
}

uint32_t set_progress(Session& session, uint8_t state) {
  return ipmi_app_set_system_info(session.handle(), kSetInProgress, 1, &state);
}

/// Others see that a text is being written. A BMC need not have that state, nor the commit, which is for those that
/// take nothing over before it.
void set(Context& context, Document& document, uint8_t parameter, const std::string& argument) {
  const Text text = encoded(argument);
  if (text.bytes.size() > kLongestText)
    throw Failure(Exit::Usage, "the text has " + std::to_string(text.bytes.size()) + " bytes; " +
                                   std::to_string(kLongestText) + " are possible");
  Session& session = context.session;
  const uint32_t begun = set_progress(session, kInProgress);
  const bool has_state = !not_supported(session, begun);
  if (has_state) session.check(begun, "Set System Info Parameters");
  try {
    write_text(session, parameter, text);
  } catch (const Failure&) {
    if (has_state) (void)set_progress(session, kComplete);  // the failure is what counts
    throw;
  }
  if (has_state) {
    (void)set_progress(session, kCommit);  // optional
    session.check(set_progress(session, kComplete), "Set System Info Parameters");
  }
  show(context, document);
}

}  // namespace

void add_sysinfo(CLI::App& app, Context& context) {
  static std::vector<Word> names;
  for (const Parameter& parameter : kTexts) names.push_back({parameter.selector, parameter.key});

  struct Options {
    std::optional<uint32_t> parameter;
    std::string text;
  };
  CLI::App* sysinfo = app.add_subcommand("sysinfo", "Names and versions of the system, its firmware and its OS");
  sysinfo->require_subcommand(0, 1);
  const auto run_show = [&context](Document& document) { show(context, document); };
  runs(context, sysinfo, run_show);
  runs(context, sysinfo->add_subcommand("show", "Show them (the default)"), run_show);

  CLI::App* command = sysinfo->add_subcommand("set", "Set one of them");
  const auto options = std::make_shared<Options>();
  add_word(command, "what", options->parameter, names, "Which one")->required();
  command
      ->add_option("text", options->text,
                   "At most 255 bytes, in Latin-1 if that has all of its characters, else in UTF-8")
      ->type_name("TEXT")
      ->required();
  runs(context, command, [options, &context](Document& document) {
    set(context, document, static_cast<uint8_t>(*options->parameter), options->text);
  });
}

}  // namespace tool
