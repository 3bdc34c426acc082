// lumipmi user: accounts, what they may do on a channel, and their passwords.
#include <array>

#include "tools/secret.hpp"
#include "tools/settings.hpp"
#include "tools/text.hpp"
#include "tools/words.hpp"

namespace tool {

namespace {

// IPMI v2.0 rev 1.1, 22.26 and 22.27
constexpr uint32_t kNoAccess = 15;
constexpr Word kLimits[] = {{1, "callback"},      {2, "user"}, {3, "operator"},
                            {4, "administrator"}, {5, "oem"},  {kNoAccess, "no-access"}};
constexpr uint8_t kEnabled = 0x40;
constexpr uint8_t kDisabled = 0x80;

constexpr uint32_t kLastUser = 63;
constexpr size_t kNameSize = 16;  // 22.28
constexpr size_t kShortPassword = 16;
constexpr size_t kLongPassword = 20;

struct Options {
  std::optional<uint32_t> channel, id, level, callback, link, ipmi, sessions, length;
  std::optional<std::string> name;
  bool all = false, test = false;

  uint8_t user() const { return static_cast<uint8_t>(*id); }
};

std::string user_text(uint8_t id) {
  return "user " + std::to_string(id);
}

// Showing ------------------------------------------------------------------------------------------------------------

IpmiUserAccessInfo read_access(Session& session, uint8_t channel, uint8_t id) {
  const uint8_t selector[] = {channel, id};
  IpmiUserAccessInfo info = {};
  session.check(ipmi_app_get_user_access(session.handle(), selector, &info), "Get User Access");
  return info;
}

Cell enabled_cell(const IpmiUserAccessInfo& info) {
  switch (info.enableStatus) {
    case kEnabled:
      return Cell("yes", true);
    case kDisabled:
      return Cell("no", false);
    default:
      return Cell("not told", nullptr, Severity::Faint);
  }
}

/// User 1 has no name, and many BMCs refuse to tell it.
uint32_t get_name(Session& session, uint8_t id, std::string& name) {
  constexpr uint8_t kInvalidField = 0xCC;
  std::array<uint8_t, kNameSize> bytes = {};
  const uint32_t status = ipmi_app_get_user_name(session.handle(), id, bytes.data());
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  name = to_utf8(text.substr(0, text.find('\0')));
  const bool nameless = id == 1 && session.last().answered && session.last().completion == kInvalidField;
  return nameless ? 0 : status;
}

struct User {
  uint8_t id;
  Cell name;
  IpmiUserAccessInfo access;
};

/// The fields of a user, for the list and for one user alone.
struct UserField {
  const char* key;
  const char* heading;
  const char* label;
  Cell (*show)(const User& user);
};
constexpr UserField kFields[] = {
    {"id", "ID", "User ID", [](const User& user) { return Cell(std::to_string(user.id), user.id); }},
    {"name", "Name", "Name", [](const User& user) { return user.name; }},
    {"enabled", "Enabled", "Enabled", [](const User& user) { return enabled_cell(user.access); }},
    {"callback_only", "Callback", "Callback only",
     [](const User& user) { return yes_no(user.access.callbackOnly != 0); }},
    {"link_auth", "Link auth", "Link authentication",
     [](const User& user) { return yes_no(user.access.linkAuthEnabled != 0); }},
    {"ipmi_messaging", "IPMI", "IPMI messaging",
     [](const User& user) { return yes_no(user.access.ipmiMessagingEnabled != 0); }},
    {"privilege", "Privilege", "Privilege limit",
     [](const User& user) { return word_cell(kLimits, user.access.privilegeLimit); }},
};

/// An account that nobody has set up.
bool is_unused(const User& user) {
  const bool no_rights = user.access.privilegeLimit == kNoAccess || user.access.privilegeLimit == 0;
  return user.name.text.empty() && user.access.enableStatus != kEnabled && no_rights;
}

void list(Context& context, Document& document, const Options& options) {
  Session& session = context.session;
  const uint8_t channel = channel_of(session, options.channel, Medium::Lan);
  const IpmiUserAccessInfo first = read_access(session, channel, 1);
  Record record{"accounts", "", {}};
  record.add("channel", "Channel", channel_cell(channel));
  record.add("max_users", "Users at most", Cell(std::to_string(first.maxUserIds), first.maxUserIds));
  record.add("enabled_users", "Enabled", Cell(std::to_string(first.enabledUserCount), first.enabledUserCount));
  record.add("fixed_names", "With a fixed name", Cell(std::to_string(first.fixedNameCount), first.fixedNameCount));
  document.sections.push_back(std::move(record));

  Table table{"users", "", {}, {}};
  for (const UserField& field : kFields)
    table.columns.push_back({field.key, field.heading, field.key == kFields[0].key});
  Parts parts(session, document);
  for (uint8_t id = 1; id <= first.maxUserIds && !parts.bmc_is_lost(); ++id) {
    User user = {id, "", first};
    Cell missing;
    const uint8_t selector[] = {channel, id};
    const bool known =
        id == 1 ||
        parts.ask(
            "Get User Access", [&](IpmiHandle* bmc) { return ipmi_app_get_user_access(bmc, selector, &user.access); },
            missing, user_text(id));
    std::string name;
    user.name = parts.cell(
        "Get User Name", [&](IpmiHandle*) { return get_name(session, id, name); }, [&] { return Cell(name); },
        user_text(id));
    if (known && !options.all && is_unused(user)) continue;
    std::vector<Cell> row;
    for (const UserField& field : kFields)
      row.push_back(known || &field <= &kFields[1] ? field.show(user) : missing);  // ID and name do not depend on it
    table.rows.push_back(std::move(row));
  }
  document.sections.push_back(std::move(table));
}

void show(Session& session, Document& document, uint8_t channel, uint8_t id) {
  User user = {id, "", read_access(session, channel, id)};
  Parts parts(session, document);
  std::string name;
  user.name = parts.cell(
      "Get User Name", [&](IpmiHandle*) { return get_name(session, id, name); }, [&] { return Cell(name); });
  Record record{"user", "", {}};
  for (const UserField& field : kFields) record.add(field.key, field.label, field.show(user));
  record.add("channel", "On channel", channel_cell(channel));
  document.sections.push_back(std::move(record));
}

// Requests -----------------------------------------------------------------------------------------------------------

constexpr uint8_t kSetUserAccess = 0x43;
constexpr uint8_t kSetUserName = 0x45;
constexpr uint8_t kSetUserPassword = 0x47;

/// Three requests are made here, because the library's functions cannot say all that they can:
/// ipmi_app_set_user_access() always enables link authentication and IPMI messaging and always sets a session limit,
/// ipmi_app_set_user_name() sends 15 of 16 characters, ipmi_app_set_user_password() chooses the size by the length of
/// the password and sends 19 of 20.
uint32_t send(Session& session, uint8_t cmd, std::span<const uint8_t> data) {
  const IpmiRequest request = {.kind = 4,
                               .reserved = 0,
                               .rsAddr = 0x20,
                               .rsLun = 0,
                               .netFn = 0x06,
                               .cmd = cmd,
                               .dataLength = static_cast<uint16_t>(data.size()),
                               .data = data.data()};
  IpmiResponse response = {.completionCode = 0, .dataLength = 255, .data = nullptr};
  return ipmi_send_request(&request, &response, session.handle());
}

/// A change of a user, then what has become of it. The channel is looked for first: without one nothing is changed.
template <typename Change>
void change(Context& context, Document& document, const Options& options, const Change& what) {
  const uint8_t channel = channel_of(context.session, options.channel, Medium::Lan);
  what(channel, options.user());
  show(context.session, document, channel, options.user());
}

void show_one(Context& context, Document& document, const Options& options) {
  change(context, document, options, [](uint8_t, uint8_t) {});
}

void switch_user(Context& context, Document& document, const Options& options, bool enable) {
  change(context, document, options, [&](uint8_t, uint8_t id) {
    if (!enable) require_consent(context, "Disable " + user_text(id) + "?");
    const int32_t operation = enable ? IPMI_PASSWORD_ENABLE_USER : IPMI_PASSWORD_DISABLE_USER;
    context.session.check(ipmi_app_set_user_password(context.session.handle(), id, operation, nullptr),
                          "Set User Password");
  });
}

void set_name(Context& context, Document& document, const Options& options) {
  const std::string& name = *options.name;
  if (name.size() > kNameSize)
    throw Failure(Exit::Usage, "the name has " + std::to_string(name.size()) + " bytes; a user name has at most " +
                                   std::to_string(kNameSize));
  for (const char character : name)
    if (static_cast<uint8_t>(character) < 0x20 || character == 0x7F)
      throw Failure(Exit::Usage, "the name has a control character");
  change(context, document, options, [&](uint8_t, uint8_t id) {
    if (name.empty()) require_consent(context, "Leave " + user_text(id) + " without a name?");
    Bytes data(1 + kNameSize);
    data[0] = id;
    std::copy(name.begin(), name.end(), data.begin() + 1);
    context.session.check(send(context.session, kSetUserName, data), "Set User Name");
  });
}

/// How much a limit allows: "no access" is the least.
uint32_t rank(uint32_t limit) {
  return limit == kNoAccess ? 0 : limit;
}

void set_privilege(Context& context, Document& document, const Options& options) {
  change(context, document, options, [&](uint8_t channel, uint8_t id) {
    const uint32_t before = read_access(context.session, channel, id).privilegeLimit;
    if (rank(*options.level) < rank(before))
      require_consent(context, "Lower " + user_text(id) + " from " + word_of(kLimits, before) + " to " +
                                   word_of(kLimits, *options.level) + " on channel " + std::to_string(channel) + "?");
    // Bit 7 of the first byte is 0: the three flags stay. No fourth byte: so does the session limit.
    const uint8_t data[] = {channel, id, static_cast<uint8_t>(*options.level)};
    context.session.check(send(context.session, kSetUserAccess, data), "Set User Access");
  });
}

void set_access(Context& context, Document& document, const Options& options) {
  const bool flags_given = options.callback || options.link || options.ipmi;
  if (!flags_given && !options.sessions) throw Failure(Exit::Usage, "nothing to change: no setting is given");
  change(context, document, options, [&](uint8_t channel, uint8_t id) {
    const IpmiUserAccessInfo before = read_access(context.session, channel, id);
    const bool callback = options.callback.value_or(before.callbackOnly) != 0;
    const bool link = options.link.value_or(before.linkAuthEnabled) != 0;
    const bool ipmi = options.ipmi.value_or(before.ipmiMessagingEnabled) != 0;
    const bool takes_away = (callback && before.callbackOnly == 0) || (!link && before.linkAuthEnabled != 0) ||
                            (!ipmi && before.ipmiMessagingEnabled != 0);
    if (takes_away)
      require_consent(context,
                      "Take access to channel " + std::to_string(channel) + " away from " + user_text(id) + "?");
    const int flags = flags_given ? 0x80 | callback << 6 | link << 5 | ipmi << 4 : 0;  // bit 7: change them
    Bytes data = {static_cast<uint8_t>(flags | channel), id, static_cast<uint8_t>(before.privilegeLimit)};
    if (options.sessions) data.push_back(static_cast<uint8_t>(*options.sessions));
    context.session.check(send(context.session, kSetUserAccess, data), "Set User Access");
  });
}

// Passwords ----------------------------------------------------------------------------------------------------------

void check_password(const Secret& password, const Options& options) {
  const bool long_allowed = options.length.value_or(options.test ? kLongPassword : kShortPassword) == kLongPassword;
  const size_t limit = long_allowed ? kLongPassword : kShortPassword;
  if (password.size() == 0) throw Failure(Exit::Usage, "the password is empty");
  if (password.size() > limit)
    throw Failure(Exit::Usage, "the password is too long: it may have " + std::to_string(limit) + " bytes",
                  long_allowed ? "" : "With --length 20 it may have 20 bytes, for IPMI 2.0 sessions only.");
  for (const uint8_t byte : password.bytes())
    if (byte < 0x20 || byte == 0x7F) throw Failure(Exit::Usage, "the password has a control character");
}

/// 22.30: bit 7 of the first byte tells the size. Returns the library's status; the completion code is in the session.
uint32_t send_password(Session& session, uint8_t id, int32_t operation, const Secret& password, size_t size) {
  std::array<uint8_t, 2 + kLongPassword> data = {};
  data[0] = static_cast<uint8_t>(id | (size == kLongPassword ? 0x80 : 0));
  data[1] = static_cast<uint8_t>(operation);
  std::copy(password.bytes().begin(), password.bytes().end(), data.begin() + 2);
  const SecretScope secret(session);
  const uint32_t status = send(session, kSetUserPassword, {data.data(), 2 + size});
  explicit_bzero(data.data(), data.size());
  return status;
}

void test_password(Context& context, Document& document, const Options& options, const Secret& password) {
  constexpr uint8_t kWrong = 0x80;
  constexpr uint8_t kWrongSize = 0x81;
  Session& session = context.session;
  const auto answered = [&](uint8_t code) { return session.last().answered && session.last().completion == code; };
  const size_t first = options.length.value_or(password.size() > kShortPassword ? kLongPassword : kShortPassword);
  uint32_t status = send_password(session, options.user(), IPMI_PASSWORD_TEST, password, first);
  if (answered(kWrongSize) && !options.length && first == kShortPassword)
    status = send_password(session, options.user(), IPMI_PASSWORD_TEST, password, kLongPassword);
  const bool wrong_size = answered(kWrongSize);
  const bool right = status == 0;
  if (!answered(kWrong) && !wrong_size) session.check(status, "Set User Password");

  Record record{"password", "", {}};
  record.add("id", "User ID", Cell(std::to_string(options.user()), options.user()));
  record.add("right", "Password",
             Cell(right        ? "right"
                  : wrong_size ? "wrong: it is stored with another size"
                               : "wrong",
                  right, right ? Severity::Ok : Severity::Critical));
  document.sections.push_back(std::move(record));
  if (!right) throw Failure(Exit::Refused, "this is not the password of " + user_text(options.user()));
}

void password(Context& context, Document& document, const Options& options) {
  Secret password;
  const bool is_new = !options.test;
  read_secret(password, (is_new ? "New password of " : "Password of ") + user_text(options.user()) + ": ", is_new);
  check_password(password, options);
  if (options.test) return test_password(context, document, options, password);
  change(context, document, options, [&](uint8_t, uint8_t id) {
    const size_t size = options.length.value_or(kShortPassword);
    context.session.check(send_password(context.session, id, IPMI_PASSWORD_SET, password, size), "Set User Password");
  });
}

}  // namespace

void add_user(CLI::App& app, Context& context) {
  const auto options = std::make_shared<Options>();
  using Run = void (*)(Context&, Document&, const Options&);
  const auto add = [&](CLI::App* parent, const char* name, const char* help, Run run) {
    CLI::App* command = parent->add_subcommand(name, help);
    add_channel(command, options->channel, Medium::Lan);
    runs(context, command, [&context, options, run](Document& document) { run(context, document, *options); });
    return command;
  };
  CLI::App* user = add(&app, "user", "Users of the BMC, and what they may do on a channel", list);
  user->require_subcommand(0, 1);
  const auto add_all = [&](CLI::App* command) {
    command->add_flag("--all", options->all, "Also list accounts without a name and without rights");
  };
  add_all(user);
  add_all(add(user, "list", "List them (the default)", list));

  const auto add_for_user = [&](const char* name, const char* help, Run run) {
    CLI::App* command = add(user, name, help, run);
    add_number(command, "ID", options->id, 1, kLastUser, "The user")->required();
    return command;
  };
  add_for_user("show", "Show a user", show_one);
  add_for_user("set", "Change a user's name, as name does", set_name)
      ->add_option("--name", options->name, "At most 16 bytes")
      ->type_name("NAME")
      ->required();
  add_for_user("enable", "Enable a user", [](Context& tool, Document& document, const Options& given) {
    switch_user(tool, document, given, true);
  });
  add_for_user("disable", "Disable a user; asks first", [](Context& tool, Document& document, const Options& given) {
    switch_user(tool, document, given, false);
  });
  add_for_user("name", "Name a user", set_name)->add_option("NAME", options->name, "At most 16 bytes")->required();

  CLI::App* command = add_for_user("password", "Set a password, read from the terminal or standard input", password);
  static constexpr Word kLengths[] = {{kShortPassword, "16"}, {kLongPassword, "20"}};
  add_word(command, "--length", options->length, kLengths,
           "Bytes that the BMC stores and the password may have; 20 is for IPMI 2.0 only")
      ->default_str("16");
  command->add_flag("--test", options->test, "Only test the password: exit status 4 when it is another");

  add_word(add_for_user("privilege", "Set a user's highest privilege level on a channel; asks before it lowers it",
                        set_privilege),
           "LEVEL", options->level, kLimits, "The level")
      ->required();

  command = add_for_user("access", "Change a user's access to a channel; what is not given stays", set_access);
  add_switch(command, "--callback", options->callback, "Only in connections that the BMC called back");
  add_switch(command, "--link", options->link, "Link authentication");
  add_switch(command, "--ipmi", options->ipmi, "IPMI messaging");
  add_number(command, "--sessions", options->sessions, 0, 15,
             "Simultaneous sessions, 0 for no limit; it cannot be read back");
}

}  // namespace tool
