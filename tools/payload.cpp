// lumipmi payload and key: what users may send over the LAN channel that carries SOL, and the keys of its sessions.
#include <cctype>
#include <cstring>

#include "tools/secret.hpp"
#include "tools/settings.hpp"
#include "tools/text.hpp"
#include "tools/words.hpp"

namespace tool {

namespace {

constexpr char kFindsChannel[] =
    "The channel is the first LAN channel from 1 to 7 with SOL 1.x; \"lumipmi channel list\" shows the channels.";

/// The calls find their channel by themselves, so that a search without success is no failed command.
void check(Session& session, uint32_t status, const char* command) {
  if (status == IPMI_STATUS_APP_NOT_FOUND)
    throw Failure(Exit::Refused, "no LAN channel of this BMC carries serial over LAN", kFindsChannel);
  session.check(status, command);
}

// IPMI v2.0 rev 1.1, 24.8: bits of the bytes in the order in which they come
constexpr Bit kPayloads[] = {{0, "ipmi"},   {1, "sol"},    {2, "type-2"}, {3, "type-3"}, {4, "type-4"}, {5, "type-5"},
                             {6, "type-6"}, {7, "type-7"}, {16, "oem-0"}, {17, "oem-1"}, {18, "oem-2"}, {19, "oem-3"},
                             {20, "oem-4"}, {21, "oem-5"}, {22, "oem-6"}, {23, "oem-7"}};
constexpr std::span<const Bit> kAccess = std::span(kPayloads).subspan(1);  // IPMI itself has no switch
constexpr uint8_t kLastUser = 63;

// --- payload

void show_payloads(Context& context, Document& document) {
  uint8_t support[8] = {};
  check(context.session, IPMIGetPayloadSupport(support), "Get Channel Payload Support");
  // standard types 0 to 15, session set-up types, OEM types; two bytes each
  const uint32_t payloads = host_bytes_to_uint16(support) | uint32_t{support[4]} << 16;
  Record record{"payloads", "", {}};
  record.add("supported", "Payloads", bits_cell(kPayloads, payloads));
  record.add("bytes", "As sent by the BMC", hex_bytes(support));
  document.sections.push_back(std::move(record));
}

struct AccessOptions {
  std::optional<uint32_t> user, allow, deny;
};

void access(Context& context, Document& document, const AccessOptions& options) {
  const auto user = static_cast<uint8_t>(*options.user);
  const auto set = [&](uint8_t operation, const std::optional<uint32_t>& payloads) {
    if (payloads) check(context.session, IPMISetPayloadAccess(user, operation, &*payloads), "Set User Payload Access");
  };
  if (options.deny)
    require_consent(
        context, "Take " + joined(bits_of(kAccess, *options.deny)) + " away from user " + std::to_string(user) + "?");
  set(IPMI_PAYLOAD_ACCESS_ENABLE, options.allow);
  set(IPMI_PAYLOAD_ACCESS_DISABLE, options.deny);
  uint32_t mask = 0;
  check(context.session, IPMIGetPayloadAccess(user, &mask), "Get User Payload Access");
  Record record{"payload_access", "", {}};
  record.add("user", "User ID", count_cell(user));
  record.add("allowed", "Payloads allowed", bits_cell(kAccess, mask));
  document.sections.push_back(std::move(record));
}

// --- key

constexpr Word kKeys[] = {{IPMI_KEY_KR, "kr"}, {IPMI_KEY_KG, "kg"}};
constexpr char kCommand[] = "Set Channel Security Keys";

/// A key that does not outlive its use.
struct Key : IPMISecurityKey {
  Key() : IPMISecurityKey() {}
  ~Key() { explicit_bzero(bytes, sizeof bytes); }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
};

void show_key(Session& session, Document& document, uint32_t id) {
  Key key;
  uint32_t lock = 0;
  {
    const SecretScope secret(session);
    check(session, IPMIGetSecurityKey(id, &key, &lock), kCommand);
  }
  Record record{"key", "", {}};
  record.add("key", "Key", word_of(kKeys, id));
  record.add("lock", "State", word_cell(kKeyLocks, lock));
  record.add("value", "Value", hex_bytes(key.bytes));
  document.sections.push_back(std::move(record));
}

/// A locked key cannot be read, and says so with a completion code of its own.
std::vector<Cell> key_row(Parts& parts, Session& session, const Word& word) {
  Key key;
  uint32_t lock = 0;
  const Cell state = parts.cell(
      kCommand,
      [&](IpmiHandle*) {
        const SecretScope secret(session);
        const uint32_t status = IPMIGetSecurityKey(word.value, &key, &lock);
        if (status != IPMI_STATUS_BMC_KEY_LOCKED) return status;
        lock = 1;
        return uint32_t{0};
      },
      [&] { return word_cell(kKeyLocks, lock); }, word.text);
  return {word.text, state};
}

void show_keys(Context& context, Document& document) {
  Table table{"keys", "", {{"key", "Key"}, {"lock", "State"}}, {}};
  Parts parts(context.session, document);
  for (const Word& word : kKeys)
    if (!parts.bmc_is_lost()) table.rows.push_back(key_row(parts, context.session, word));
  document.sections.push_back(std::move(table));
}

/// 40 hex digits, blanks and colons between bytes ignored; or a text, padded with zeros.
void parse_key(const Secret& secret, bool is_text, Key& key) {
  const std::span<const uint8_t> given = secret.bytes();
  if (is_text) {
    if (given.empty() || given.size() > sizeof key.bytes)
      throw Failure(Exit::Usage, "the key has " + std::to_string(given.size()) + " bytes; a text has 1 to 20");
    std::memcpy(key.bytes, given.data(), given.size());
    return;
  }
  size_t digits = 0;
  for (const uint8_t c : given) {
    if (c == ' ' || c == ':') continue;
    if (std::isxdigit(c) == 0)
      throw Failure(Exit::Usage, "the key has characters that are no hex digits", "--text takes them as they are.");
    const auto value = static_cast<uint8_t>(std::isdigit(c) != 0 ? c - '0' : std::tolower(c) - 'a' + 10);
    if (digits / 2 < sizeof key.bytes) key.bytes[digits / 2] = static_cast<uint8_t>(key.bytes[digits / 2] << 4 | value);
    ++digits;
  }
  if (digits != 2 * sizeof key.bytes)
    throw Failure(Exit::Usage, "the key has " + std::to_string(digits) + " hex digits; 40 are needed");
}

void set_key(Context& context, Document& document, uint32_t id, bool is_text) {
  Secret secret;
  read_secret(secret, "New key " + word_of(kKeys, id) + (is_text ? ": " : ", in hex: "), true);
  Key key;
  parse_key(secret, is_text, key);
  require_consent(context, "Replace the key " + word_of(kKeys, id) + "? Clients that have the old one are shut out.");
  uint32_t lock = 0;
  {
    const SecretScope hidden(context.session);
    check(context.session, IPMISetSecurityKey(id, &key, &lock), kCommand);
  }
  show_keys(context, document);
}

void lock_key(Context& context, Document& document, uint32_t id) {
  require_consent(context, "Lock the key " + word_of(kKeys, id) +
                               "? It can then be neither read nor changed, and nothing unlocks it.");
  uint32_t lock = 0;
  check(context.session, IPMILockSecurityKey(id, &lock), kCommand);
  show_keys(context, document);
}

}  // namespace

void add_payload(CLI::App& app, Context& context) {
  CLI::App* payload = app.add_subcommand("payload", "Payloads of IPMI 2.0 sessions, and who may use them");
  payload->require_subcommand(0, 1);
  const auto run_show = [&context](Document& document) { show_payloads(context, document); };
  runs(context, payload, run_show);
  runs(context,
       payload->add_subcommand("show", "Show which the LAN channel with serial over LAN supports (the default)"),
       run_show);

  const auto options = std::make_shared<AccessOptions>();
  CLI::App* command = payload->add_subcommand("access", "Show or change what a user may use");
  add_number(command, "user", options->user, 1, kLastUser, "User ID")->required();
  add_bits(command, "--allow", options->allow, kAccess, "Payloads to allow");
  add_bits(command, "--deny", options->deny, kAccess, "Payloads to take away; asks first");
  runs(context, command, [options, &context](Document& document) { access(context, document, *options); });
}

void add_key(CLI::App& app, Context& context) {
  CLI::App* key = app.add_subcommand("key", "Security keys K_R and K_G of the LAN channel with serial over LAN");
  key->require_subcommand(0, 1);
  const auto run_show = [&context](Document& document) { show_keys(context, document); };
  runs(context, key, run_show);
  runs(context, key->add_subcommand("status", "Show which are locked (the default)"), run_show);

  const auto id = std::make_shared<std::optional<uint32_t>>();
  const auto is_text = std::make_shared<bool>(false);
  const auto add = [&](const char* name, const char* help, auto run) {
    CLI::App* command = key->add_subcommand(name, help);
    add_word(command, "key", *id, kKeys, "Which one")->required();
    runs(context, command, run);
    return command;
  };
  add("show", "Show a key", [id, &context](Document& document) { show_key(context.session, document, **id); });
  add("set", "Set a key, read from the terminal or standard input; asks first",
      [id, is_text, &context](Document& document) { set_key(context, document, **id, *is_text); })
      ->add_flag("--text", *is_text, "The key is a text of at most 20 bytes, not hex digits");
  add("lock", "Lock a key for good; asks first",
      [id, &context](Document& document) { lock_key(context, document, **id); });
}

}  // namespace tool
