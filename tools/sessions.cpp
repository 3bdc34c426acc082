// lumipmi session: who is connected to the BMC.
#include <algorithm>
#include <array>

#include "tools/address.hpp"
#include "tools/settings.hpp"
#include "tools/text.hpp"
#include "tools/words.hpp"

namespace tool {

namespace {

// IPMI v2.0 rev 1.1, 22.20 and table 6-3
constexpr Word kProtocols[] = {{0, "IPMI v1.5"}, {1, "IPMI v2.0"}};
constexpr uint32_t kLanMedia[] = {4, 6};  // 802.3, others

/// A session, or with a handle of 0 none.
struct Info {
  uint8_t handle;
  uint8_t possible;  // of all sessions
  uint8_t active;
  Bytes reply;  // the library gives the three above alone
};

Info get(Session& session, const IpmiSessionQuery& query) {
  std::array<uint8_t, 3> counts = {};
  session.check(ipmi_app_get_session_info(session.handle(), &query, counts.data()), "Get Session Info");
  return {counts[0], counts[1], counts[2], session.last().reply};
}

bool is_lan(Session& session, uint8_t channel) {
  IpmiChannelInfo info = {};
  const uint32_t status = ipmi_app_get_channel_info(session.handle(), channel, &info);
  if (session.fatal(status)) session.check(status, "Get Channel Info");
  return status == 0 && std::find(std::begin(kLanMedia), std::end(kLanMedia), info.mediumType) != std::end(kLanMedia);
}

const std::vector<Column> kColumns = {{"handle", "Handle", true},
                                      {"user", "User", true},
                                      {"privilege", "Privilege"},
                                      {"channel", "Channel", true},
                                      {"protocol", "Protocol"},
                                      {"address", "Address"},
                                      {"mac", "MAC"},
                                      {"port", "Port", true}};

/// The cells of a session's columns; those that the answer is too short for, or has no place for, are empty.
std::vector<Cell> cells_of(Session& session, const Info& info) {
  enum { kUser = 3, kPrivilege, kChannel, kAddress, kMac = 10, kPort = 16, kEnd = 18 };
  std::vector<Cell> cells(kColumns.size());
  const Bytes& reply = info.reply;
  cells[0] = count_cell(info.handle);
  if (reply.size() <= kChannel) return cells;
  const uint8_t channel = reply[kChannel] & 0x0F;
  cells[1] = count_cell(reply[kUser] & 0x3F);
  cells[2] = word_cell(kPrivileges, reply[kPrivilege] & 0x0F);
  cells[3] = count_cell(channel);
  if (!is_lan(session, channel)) return cells;
  cells[4] = word_cell(kProtocols, reply[kChannel] >> 4);
  if (reply.size() < kEnd) return cells;
  cells[5] = Cell(ipv4_text(std::span(reply).subspan(kAddress)));
  cells[6] = Cell(mac_text(std::span(reply).subspan(kMac)));
  cells[7] = count_cell(reply[kPort] | uint32_t{reply[kPort + 1]} << 8);
  return cells;
}

/// Some BMCs count the active sessions, as they should, others their slots, so that there may be gaps.
void list(Context& context, Document& document) {
  Table table{"sessions", "", kColumns, {}};
  uint8_t last = 1;  // both unknown before the first answer
  uint8_t active = 1;
  for (uint8_t index = 1; index <= last && table.rows.size() < active; ++index) {
    const Info info = get(context.session, {.sessionIndex = index, .sessionHandleOrId = 0});
    active = info.active;
    last = std::max(info.possible, active);
    if (info.handle != 0) table.rows.push_back(cells_of(context.session, info));
  }
  document.sections.push_back(std::move(table));
}

struct Options {
  std::optional<uint32_t> handle, id;
};

/// The counts; with a handle or an ID also that session.
void info(Context& context, Document& document, const Options& options) {
  IpmiSessionQuery query = {.sessionIndex = 1, .sessionHandleOrId = 0};
  if (options.handle) query = {.sessionIndex = IPMI_SESSION_BY_HANDLE, .sessionHandleOrId = *options.handle};
  if (options.id) query = {.sessionIndex = IPMI_SESSION_BY_ID, .sessionHandleOrId = *options.id};
  const Info found = get(context.session, query);
  const bool asked_for_one = options.handle || options.id;
  if (asked_for_one && found.handle == 0)
    throw Failure(Exit::Refused, options.handle ? "no active session has the handle " + std::to_string(*options.handle)
                                                : "no active session has the ID " + hex_number(*options.id, 8));
  if (asked_for_one) {
    const std::vector<Cell> cells = cells_of(context.session, found);
    Record record{"session", "Session", {}};
    for (size_t i = 0; i < cells.size(); ++i) record.add(kColumns[i].key, kColumns[i].heading, cells[i]);
    document.sections.push_back(std::move(record));
  }
  Record counts{"sessions", "Sessions", {}};
  counts.add("active", "Active", count_cell(found.active));
  counts.add("possible", "Possible", count_cell(found.possible));
  document.sections.push_back(std::move(counts));
}

}  // namespace

void add_session(CLI::App& app, Context& context) {
  CLI::App* session = app.add_subcommand("session", "Sessions: who is connected to the BMC");
  session->require_subcommand(0, 1);
  const auto run_list = [&context](Document& document) { list(context, document); };
  runs(context, session, run_list);
  runs(context, session->add_subcommand("list", "List the active sessions (the default)"), run_list);

  CLI::App* command = session->add_subcommand("info", "Show how many sessions are active and possible, or one of them");
  const auto options = std::make_shared<Options>();
  CLI::Option* handle = add_number(command, "--handle", options->handle, 1, 0xFF, "The session with this handle");
  add_number(command, "--id", options->id, 0, 0xFFFFFFFF, "The session with this ID")->excludes(handle);
  runs(context, command, [options, &context](Document& document) { info(context, document, *options); });
}

}  // namespace tool
