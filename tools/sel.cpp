// lumipmi sel: the system event log.
#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <fstream>
#include <functional>
#include <iostream>
#include <optional>
#include <thread>

#include "tools/command.hpp"
#include "tools/events.hpp"
#include "tools/names.hpp"
#include "tools/sdr_walk.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

constexpr uint16_t kFirst = 0x0000;
constexpr uint16_t kLast = 0xFFFF;  // as a record ID; as a next ID: there is none
constexpr size_t kRecordSize = 16;
constexpr uint8_t kBmcAddress = 0x20;
constexpr uint8_t kReserveSupported = 0x02;
constexpr int kReservationTries = 5;

std::string record_text(unsigned id) {
  return "record " + hex_number(id, 4);
}

/// A record as it was read.
struct Entry {
  uint16_t id = 0;  // as asked for when the record has none
  Bytes raw;        // 16 bytes when nothing is wrong
  IpmiSelEntry decoded = {};
  std::string error;  // why it is not decoded
  uint16_t next = kLast;
  bool lost = false;  // neither bytes nor the next ID are known
};

/// Reads one record whole. Throws a Failure when the BMC cannot be reached; what else goes wrong is in `error`.
Entry read_entry(Session& session, uint16_t id) {
  Entry entry;
  entry.id = id;
  const uint8_t reservation[2] = {};  // none is needed for a whole record
  uint8_t capacity = 255;
  std::array<uint8_t, 255> data;
  uint32_t status = 0;
  for (int tries = 2; tries > 0; --tries) {  // one request may get lost
    status = ipmi_storage_get_sel_entry_data(session.handle(), reservation, id, 0, 0xFF, &entry.next, &capacity,
                                             data.data());
    if (status != IPMI_STATUS_DRIVER_ERROR || session.fatal(status)) break;
  }
  if (status != 0) {
    if (session.fatal(status)) session.check(status, "Get SEL Entry");
    entry.error = session.describe(status, "Get SEL Entry");
    entry.lost = true;
    return entry;
  }
  // The library does not tell how many bytes came.
  const Bytes& reply = session.last().reply;
  entry.raw.assign(reply.begin() + 2,
                   reply.begin() + 2 + static_cast<std::ptrdiff_t>(std::min(reply.size() - 2, kRecordSize)));
  if (entry.raw.size() >= 2) entry.id = host_bytes_to_uint16(entry.raw.data());
  if (entry.raw.size() < kRecordSize) {
    entry.error = "the BMC sent " + std::to_string(entry.raw.size()) + " of the record's 16 bytes";
    return entry;
  }
  ipmi_translate_sel_raw_data_to_entry(entry.raw.data(), &entry.decoded);
  return entry;
}

/// The records from one on, at most the last `keep` of them. A record that cannot be read is kept with its error; when
/// the BMC did not tell which one follows, the next few IDs are tried.
std::deque<Entry> read_entries(Session& session, Document& document, uint16_t first, size_t keep, size_t expected) {
  constexpr uint8_t kDataNotPresent = 0xCB;
  constexpr int kGreatestGap = 8;
  std::deque<Entry> entries;
  std::vector<bool> seen(0x10000);
  Progress progress("Reading events");
  size_t count = 0;
  int gap = 0;  // IDs tried in vain
  for (uint16_t id = first; id != kLast;) {
    if (seen[id]) {
      document.problem(record_text(id), "the log leads back to this record; its end was not reached");
      break;
    }
    seen[id] = true;
    Entry entry = read_entry(session, id);
    if (id == kFirst) seen[entry.id] = true;
    const uint16_t next = entry.lost ? static_cast<uint16_t>(entry.id + 1) : entry.next;
    gap = entry.lost ? gap + 1 : 0;
    const bool give_up = entry.lost && (gap > kGreatestGap || count >= expected);
    const bool absent = gap > 1 && session.last().completion == kDataNotPresent;  // an ID that was but tried
    if (!absent) {
      if (!entry.error.empty()) document.problem(id == kFirst ? "first record" : record_text(id), entry.error);
      entries.push_back(std::move(entry));
      if (entries.size() > keep) entries.pop_front();
      progress.step(++count, expected);
    }
    if (give_up) break;
    id = next;
  }
  return entries;
}

IpmiSelInfo read_info(Session& session) {
  IpmiSelInfo info = {};
  session.check(ipmi_storage_get_sel_info(session.handle(), &info), "Get SEL Info");
  return info;
}

/// The last records, in the order of the log. IDs usually count up, so the walk begins near the end when it can.
std::deque<Entry> read_last(Session& session, Document& document, size_t wanted, size_t expected) {
  if (wanted < expected) {
    const Entry last = read_entry(session, kLast);
    if (last.error.empty() && last.id >= wanted && wanted != 0) {
      Document attempt;
      std::deque<Entry> entries =
          read_entries(session, attempt, static_cast<uint16_t>(last.id - wanted + 1), wanted, wanted);
      if (entries.size() == wanted && attempt.problems.empty()) return entries;
    }
  }
  return read_entries(session, document, kFirst, wanted, expected);
}

/// Sensors by which events get their names; without them events show numbers.
std::vector<Sensor> read_sensors(Session& session, Document& document) {
  try {
    const Repository repository = read_repository(session);
    for (const Problem& problem : repository.problems) document.problems.push_back(problem);
    return sensors_of(repository);
  } catch (const Failure& failure) {
    if (session.lost_bmc()) throw;
    document.problem("SDR repository", std::string(failure.what()) + "; sensors have no names");
    return {};
  }
}

/// What a record says, in words and numbers.
struct Event {
  Cell time;
  Cell generator;
  Cell sensor;  // text: its name; value: name or null
  Cell sensor_number;
  Cell type;  // of the sensor, or of the record
  Cell what;
  Cell direction;
  Cell detail;
  Cell severity;
};

Cell severity_cell(Severity severity) {
  const Json name = severity_json(severity);
  return Cell(name.is_string() ? name.get<std::string>() : std::string(), name, severity);
}

std::string record_type_name(uint8_t type) {
  if (type == 0x02) return "system event";
  if (type >= 0xC0 && type <= 0xDF) return "OEM " + hex_number(type) + " with a time";
  if (type >= 0xE0) return "OEM " + hex_number(type);
  return "unknown type " + hex_number(type);
}

/// The sensor that an event comes from. Many repositories name the BMC as the owner of sensors whose events the BIOS
/// sends: one with the same number and of the same kind is taken for it.
const Sensor* sensor_of(const IpmiSelSystemEvent& event, const std::vector<Sensor>& sensors) {
  const Sensor* sensor = find_sensor(sensors, event.generator_id, event.generator_lun, event.sensor_number);
  if (sensor != nullptr || event.generator_id_type == 0) return sensor;
  sensor = find_sensor(sensors, kBmcAddress, event.generator_lun, event.sensor_number);
  const bool same =
      sensor != nullptr && sensor->sensor_type == event.sensor_type && sensor->event_type == event.event_type;
  return same ? sensor : nullptr;
}

Event event_of(const Entry& entry, const std::vector<Sensor>& sensors) {
  Event event;
  if (!entry.error.empty()) {
    event.type = Cell("unreadable", nullptr, Severity::Critical);
    event.what = Cell(entry.error, nullptr);
    event.detail = Cell(hex_bytes(entry.raw), nullptr);
    return event;
  }
  const uint8_t type = entry.decoded.record_type;
  if (type == 0x02) {
    const IpmiSelSystemEvent& body = entry.decoded.body.system;
    event.time = time_cell(static_cast<uint32_t>(body.timestamp));
    event.generator = owner_name(body.generator_id);
    const Sensor* sensor = sensor_of(body, sensors);
    event.sensor = sensor != nullptr ? Cell(sensor->name)
                                     : Cell("sensor " + hex_number(body.sensor_number), nullptr, Severity::Faint);
    event.sensor_number = Cell(hex_number(body.sensor_number), body.sensor_number);
    event.type = sensor_type_name(body.sensor_type);
    const EventText text = describe_event(body.sensor_type, body.event_type, body.event_dir, body.event_data, sensor);
    event.what = Cell(text.what, text.what, text.severity);
    event.direction = body.event_dir == 0 ? "asserted" : "deasserted";
    event.detail = text.detail.empty() ? Cell() : Cell(text.detail);
    event.severity = severity_cell(text.severity);
  } else if (type >= 0xC0 && type <= 0xDF) {
    const IpmiSelOemTimestamped& body = entry.decoded.body.oem_timestamped;
    event.time = time_cell(static_cast<uint32_t>(body.timestamp));
    event.type = record_type_name(type);
    event.what = "manufacturer " + std::to_string(host_bytes_to_uint32(body.manufacturer_id, 3));
    event.detail = hex_bytes(body.oem_data);
  } else {
    event.type = record_type_name(type);
    event.what = type >= 0xE0 ? "OEM data" : "data";
    event.detail = hex_bytes(entry.decoded.body.oem_bytes);
  }
  return event;
}

Cell id_cell(uint16_t id) {
  return id == kFirst ? Cell("unknown", nullptr) : Cell(hex_number(id, 4), id);  // no record has the ID 0
}

void list(Context& context, Document& document, std::optional<size_t> last) {
  const IpmiSelInfo info = read_info(context.session);
  std::deque<Entry> entries;
  std::vector<Sensor> sensors;
  if (info.entries != 0 && last != 0u) {
    entries = last ? read_last(context.session, document, *last, info.entries)
                   : read_entries(context.session, document, kFirst, SIZE_MAX, info.entries);
    sensors = read_sensors(context.session, document);
  }

  std::vector<Event> events;
  for (const Entry& entry : entries) events.push_back(event_of(entry, sensors));
  const std::string bmc = owner_name(kBmcAddress);
  const bool others = std::any_of(events.begin(), events.end(), [&](const Event& event) {
    return !event.generator.text.empty() && event.generator.text != bmc;
  });
  Table table{"events",
              "",
              {{"id", "ID"},
               {"time", "Time"},
               {"generator", others ? "From" : ""},
               {"sensor", "Sensor"},
               {"sensor_number", ""},
               {"type", "Type"},
               {"event", "Event"},
               {"direction", "Direction"},
               {"detail", "Detail"},
               {"severity", "Severity"},
               {"raw", ""}},
              {}};
  for (size_t i = 0; i < events.size(); ++i) {
    Event& event = events[i];
    if (event.generator.text == bmc && context.style.format == Format::Table) event.generator.text.clear();
    table.rows.push_back({id_cell(entries[i].id), event.time, event.generator, event.sensor, event.sensor_number,
                          event.type, event.what, event.direction, event.detail, event.severity,
                          hex_bytes(entries[i].raw)});
  }
  document.sections.push_back(std::move(table));
}

void info(Context& context, Document& document) {
  const IpmiSelInfo info = read_info(context.session);
  Record record{"sel", "", {}};
  const std::string version = std::to_string(info.version & 0x0F) + "." + std::to_string(info.version >> 4);
  record.add("version", "Version", version);
  record.add("entries", "Entries", Cell(std::to_string(info.entries), info.entries));
  record.add("free_bytes", "Free space",
             Cell(std::to_string(info.free_space) + (info.free_space == 0xFFFF ? " bytes or more" : " bytes"),
                  info.free_space));
  record.add("last_add_time", "Last addition", time_cell(static_cast<uint32_t>(info.last_add_time)));
  record.add("last_erase_time", "Last erasure", time_cell(static_cast<uint32_t>(info.last_erase_time)));
  record.add("overflow", "Overflow",
             info.overflow != 0 ? Cell("yes: events were lost for lack of space", true, Severity::Critical)
                                : Cell("no", false, Severity::Ok));
  static const struct {
    const char* key;
    const char* label;
    uint8_t bit;
  } kOperations[] = {{"get_allocation_info", "Allocation info", 0x01},
                     {"reserve", "Reservation", kReserveSupported},
                     {"partial_add", "Partial add", 0x04},
                     {"delete", "Deletion", 0x08}};
  Json supported = Json::array();
  std::string text;
  for (const auto& operation : kOperations)
    if ((info.operation_support & operation.bit) != 0) {
      supported.push_back(operation.key);
      text += (text.empty() ? "" : ", ") + std::string(operation.label);
    }
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  record.add("supported_operations", "Supports", Cell(text.empty() ? "nothing optional" : text, supported));
  document.sections.push_back(std::move(record));

  if ((info.operation_support & 0x01) == 0) return;
  IpmiSelAllocationInfo allocation = {};
  const uint32_t status = ipmi_storage_get_sel_allocation_info(context.session.handle(), &allocation);
  if (status != 0) {
    if (context.session.fatal(status)) context.session.check(status, "Get SEL Allocation Info");
    document.problem("allocation", context.session.describe(status, "Get SEL Allocation Info"));
    return;
  }
  const auto count = [](unsigned value, const std::string& unit, bool zero_unspecified) {
    return zero_unspecified && value == 0 ? Cell("unspecified", nullptr)
                                          : Cell(std::to_string(value) + " " + unit + (value == 1 ? "" : "s"), value);
  };
  Record units{"allocation", "Allocation", {}};
  units.add("total_units", "Total", count(allocation.total_units, "unit", true));
  units.add("unit_size", "Unit size", count(allocation.unit_size, "byte", true));
  units.add("free_units", "Free", count(allocation.free_units, "unit", false));
  units.add("largest_free_block", "Largest free block", count(allocation.largest_free_block, "unit", false));
  units.add("max_record_size", "Largest record", count(allocation.max_record_size, "unit", false));
  document.sections.push_back(std::move(units));
}

/// "first", "last", 12 or 0x0c.
uint16_t parse_id(const std::string& text) {
  if (text == "first") return kFirst;
  if (text == "last") return kLast;
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const std::string digits = hex ? text.substr(2) : text;
  const auto is_digit = [hex](unsigned char c) { return hex ? std::isxdigit(c) != 0 : std::isdigit(c) != 0; };
  if (!digits.empty() && digits.size() <= 5 && std::all_of(digits.begin(), digits.end(), is_digit))
    if (const unsigned long id = std::strtoul(digits.c_str(), nullptr, hex ? 16 : 10); id <= kLast)
      return static_cast<uint16_t>(id);
  throw Failure(Exit::Usage, "not a record ID: " + to_utf8(std::string_view(text)),
                "An ID is a number from 0 to 65535, also in hex with 0x; or \"first\" or \"last\".");
}

void get(Context& context, Document& document, const std::string& id) {
  const Entry entry = read_entry(context.session, parse_id(id));
  if (entry.lost) throw Failure(Exit::Refused, entry.error);

  Record record{"record", "", {}};
  record.add("id", "Record ID", id_cell(entry.id));
  if (entry.error.empty()) {
    const uint8_t type = entry.decoded.record_type;
    const bool system = type == 0x02;
    const Event event = event_of(entry, system ? read_sensors(context.session, document) : std::vector<Sensor>());
    record.add("record_type", "Record type", Cell(record_type_name(type), type));
    if (type <= 0xDF && (system || type >= 0xC0)) record.add("time", "Time", event.time);
    if (system) {
      const IpmiSelSystemEvent& body = entry.decoded.body.system;
      record.add("generator", "Generator", event.generator);
      record.add("generator_id", "Generator ID", Cell(hex_number(body.generator_id), body.generator_id));
      record.add("generator_lun", "LUN", Cell(std::to_string(body.generator_lun), body.generator_lun));
      record.add("generator_channel", "Channel", Cell(std::to_string(body.generator_channel), body.generator_channel));
      record.add("message_format", "Event message format", Cell(hex_number(body.evm_rev), body.evm_rev));
      record.add("sensor", "Sensor", event.sensor);
      record.add("sensor_number", "Sensor number", event.sensor_number);
      record.add("sensor_type", "Sensor type", event.type);
      record.add("sensor_type_code", "Sensor type code", Cell(hex_number(body.sensor_type), body.sensor_type));
      record.add("event_type", "Event type", event_type_name(body.event_type));
      record.add("event_type_code", "Event type code", Cell(hex_number(body.event_type), body.event_type));
      record.add("event", "Event", event.what);
      record.add("direction", "Direction", event.direction);
      record.add("detail", "Detail", event.detail);
      record.add("severity", "Severity", event.severity);
      record.add("event_data", "Event data", hex_bytes(body.event_data));
    } else if (type >= 0xC0 && type <= 0xDF) {
      const uint32_t manufacturer = host_bytes_to_uint32(entry.decoded.body.oem_timestamped.manufacturer_id, 3);
      record.add("manufacturer_id", "Manufacturer ID", Cell(std::to_string(manufacturer), manufacturer));
      record.add("oem_data", "OEM data", event.detail);
    } else {
      record.add("oem_data", "Data", event.detail);
    }
  } else {
    document.problem(record_text(entry.id), entry.error);
  }
  record.add("raw", "Raw", hex_bytes(entry.raw));
  document.sections.push_back(std::move(record));
}

// --- add, delete, clear

/// Bytes in hex: "0a", "0x0A", several in one word, "0a1b". False when a word is nothing like it.
bool append_hex(std::string word, Bytes& bytes) {
  if (word.starts_with("0x") || word.starts_with("0X")) word.erase(0, 2);
  if (word.size() == 1) word.insert(0, 1, '0');
  if (word.empty() || word.size() % 2 != 0 ||
      !std::all_of(word.begin(), word.end(), [](unsigned char c) { return std::isxdigit(c) != 0; }))
    return false;
  for (size_t i = 0; i < word.size(); i += 2)
    bytes.push_back(static_cast<uint8_t>(std::strtoul(word.substr(i, 2).c_str(), nullptr, 16)));
  return true;
}

/// A record from words; `where` names them in a message.
Bytes parse_record(const std::vector<std::string>& words, const std::string& where) {
  Bytes bytes;
  for (const std::string& word : words)
    if (!append_hex(word, bytes))
      throw Failure(Exit::Usage, where + "not a byte in hex: " + to_utf8(std::string_view(word)));
  if (bytes.size() != kRecordSize)
    throw Failure(Exit::Usage, where + "a record has 16 bytes, not " + std::to_string(bytes.size()),
                  "They are: ID (2), type, time (4), generator (2), message format, sensor type, sensor number, event "
                  "type, event data (3); the BMC sets ID and time.");
  return bytes;
}

/// A record on each line, behind # a comment.
std::vector<Bytes> parse_file(const std::string& path) {
  std::ifstream file;
  if (path != "-") {
    file.open(path);
    if (!file) throw Failure(Exit::Usage, path + ": " + std::strerror(errno));
  }
  std::istream& in = path == "-" ? std::cin : file;
  std::vector<Bytes> records;
  size_t number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    line.erase(std::min(line.find('#'), line.size()));
    std::vector<std::string> words;
    for (size_t at = 0; (at = line.find_first_not_of(" \t\r", at)) != std::string::npos;) {
      const size_t end = std::min(line.find_first_of(" \t\r", at), line.size());
      words.push_back(line.substr(at, end - at));
      at = end;
    }
    if (!words.empty()) records.push_back(parse_record(words, path + ", line " + std::to_string(number) + ": "));
  }
  if (in.bad()) throw Failure(Exit::Usage, path + ": cannot be read");
  if (records.empty()) throw Failure(Exit::Usage, path + ": no records");
  return records;
}

void add(Context& context, Document& document, const std::vector<std::string>& words, const std::string& path) {
  const std::vector<Bytes> records = path.empty() ? std::vector<Bytes>{parse_record(words, "")} : parse_file(path);
  document.sections.push_back(Table{"added", "", {{"id", "New ID"}, {"raw", "Record"}}, {}});
  std::vector<std::vector<Cell>>& rows = std::get<Table>(document.sections.back()).rows;
  for (const Bytes& record : records) {
    uint16_t id = 0;
    const uint32_t status = ipmi_storage_add_sel_entry(context.session.handle(), record.data(), &id);
    if (status != 0 && rows.empty()) document.sections.clear();
    context.session.check(status, "Add SEL Entry");
    rows.push_back({id_cell(id), hex_bytes(record)});
  }
}

/// Carries out requests under a reservation, which another program's may cancel at any time.
class Reserved {
 public:
  Reserved(Session& session, uint8_t operation_support)
      : session_(session), supported_((operation_support & kReserveSupported) != 0) {}

  /// Runs `request` with a reservation; a cancelled one is renewed a few times. Returns the last status.
  uint32_t operator()(const std::function<uint32_t(const uint16_t* reservation)>& request) {
    for (int tries = 1;; ++tries) {
      if (supported_ && !held_) {
        const uint32_t status = ipmi_storage_reserve_sel(session_.handle(), &reservation_);
        if (status == IPMI_STATUS_BMC_SEL_ERASE_IN_PROGRESS) return status;
        session_.check(status, "Reserve SEL");
        held_ = true;
      }
      const uint32_t status = request(&reservation_);
      if (status != IPMI_STATUS_BMC_INVALID_RESERVATION || !supported_ || tries == kReservationTries) return status;
      held_ = false;
    }
  }

 private:
  Session& session_;
  bool supported_;
  bool held_ = false;
  uint16_t reservation_ = 0;
};

void delete_entry(Context& context, Document& document, const std::string& text) {
  const uint16_t id = parse_id(text);
  Session& session = context.session;
  uint16_t deleted = 0;
  const uint32_t status = Reserved(session, read_info(session).operation_support)([&](const uint16_t* reservation) {
    return ipmi_storage_delete_sel_entry(session.handle(), reservation, id, &deleted);
  });
  session.check(status, "Delete SEL Entry");
  Record record{"deleted", "", {}};
  record.add("id", "Deleted record", id_cell(deleted));
  document.sections.push_back(std::move(record));
}

void clear(Context& context, Document& document) {
  constexpr auto kLimit = std::chrono::seconds(60);
  constexpr auto kLongestPause = std::chrono::milliseconds(500);
  Session& session = context.session;
  const IpmiSelInfo info = read_info(session);
  const auto done = [&](size_t count) {
    Record record{"cleared", "", {}};
    record.add("entries", "Erased records", Cell(std::to_string(count), count));
    document.sections.push_back(std::move(record));
  };
  if (info.entries == 0) return done(0);
  if (!context.confirm("Erase " + std::to_string(info.entries) + (info.entries == 1 ? " event" : " events") +
                       " of the system event log?"))
    throw Failure(Exit::Usage, "nothing was erased");

  Reserved reserved(session, info.operation_support);
  const auto erased = [&](uint8_t action) {
    uint8_t completed = 0;
    const uint32_t status = reserved([&](const uint16_t* reservation) {
      return ipmi_storage_clear_sel(session.handle(), reservation, action, &completed);
    });
    // An erasure, ours or another's, keeps the log from being reserved.
    if (status != IPMI_STATUS_BMC_SEL_ERASE_IN_PROGRESS) session.check(status, "Clear SEL");
    return completed != 0;
  };
  Progress progress("Erasing the system event log");
  const auto begin = std::chrono::steady_clock::now();
  std::chrono::milliseconds pause(20);
  for (uint8_t action = IPMI_SEL_INITIATE_ERASE; !erased(action); action = IPMI_SEL_ERASURE_STATUS) {
    const auto elapsed = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin);
    if (elapsed >= kLimit)
      throw Failure(Exit::TimedOut, "the BMC is still erasing after " + std::to_string(kLimit.count()) + " seconds",
                    "\"lumipmi sel info\" shows whether it has come to an end.");
    progress.step(static_cast<size_t>(elapsed.count()), static_cast<size_t>(kLimit.count()));
    std::this_thread::sleep_for(pause);
    pause = std::min(pause * 2, kLongestPause);
  }
  done(info.entries);
}

// --- time

void show_time(Context& context, Document& document) {
  uint64_t seconds = 0;
  context.session.check(ipmi_storage_get_sel_time(context.session.handle(), &seconds), "Get SEL Time");
  const std::time_t now = std::time(nullptr);
  Record record{"sel_time", "", {}};
  record.add("time", "Time of the log", time_cell(static_cast<uint32_t>(seconds)));
  const int64_t ahead = static_cast<int64_t>(seconds) - static_cast<int64_t>(now);
  const std::string apart = std::to_string(std::abs(ahead)) + " s ";
  record.add("ahead_seconds", "Difference",
             Cell(ahead == 0  ? "none to this computer"
                  : ahead < 0 ? apart + "behind this computer"
                              : apart + "ahead of this computer",
                  ahead));
  document.sections.push_back(std::move(record));
}

/// "now", seconds, or ISO 8601: date and time of day with or without seconds and zone; without one it is local.
uint32_t parse_time(const std::string& text) {
  const Failure bad(Exit::Usage, "not a time: " + to_utf8(std::string_view(text)),
                    "A time is \"now\", seconds since 1970-01-01 00:00 UTC (at most 4294967294), or ISO 8601 such as "
                    "2023-11-14T22:13:20Z or 2023-11-14T23:13:20+01:00; without a zone it is local.");
  const auto checked = [&bad](int64_t seconds) {
    if (seconds < 0 || seconds >= 0xFFFFFFFF) throw bad;
    return static_cast<uint32_t>(seconds);
  };
  if (text == "now") return checked(std::time(nullptr));
  if (!text.empty() && text.size() <= 10 &&
      std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; }))
    return checked(std::strtoll(text.c_str(), nullptr, 10));

  std::tm parts = {};
  const char* rest = strptime(text.c_str(), "%Y-%m-%d", &parts);
  if (rest == nullptr || (*rest != 'T' && *rest != ' ')) throw bad;
  rest = strptime(rest + 1, "%H:%M", &parts);
  if (rest == nullptr) throw bad;
  if (*rest == ':' && (rest = strptime(rest, ":%S", &parts)) == nullptr) throw bad;
  const std::tm given = parts;
  std::time_t seconds = 0;
  if (*rest == '\0') {
    parts.tm_isdst = -1;
    seconds = std::mktime(&parts);
  } else {
    std::tm zone = {};
    const char* end = strptime(rest, "%z", &zone);
    if (end == nullptr || *end != '\0' || *rest == ' ') throw bad;
    seconds = timegm(&parts) - zone.tm_gmtoff;
  }
  // 30 February becomes 2 March
  if (parts.tm_mday != given.tm_mday) throw bad;
  return checked(seconds);
}

void set_time(Context& context, Document& document, const std::string& text) {
  const uint32_t seconds = parse_time(text);
  context.session.check(ipmi_storage_set_sel_time(context.session.handle(), seconds), "Set SEL Time");
  show_time(context, document);
}

}  // namespace

void add_sel(CLI::App& app, Context& context) {
  struct Options {
    std::optional<size_t> last;
    std::string id;
    std::vector<std::string> bytes;
    std::string file;
    std::string time;
  };
  const auto options = std::make_shared<Options>();
  const auto runs = [&context](CLI::App* command, auto what) {
    command->callback([&context, what] { context.run = what; });
  };

  CLI::App* sel = app.add_subcommand("sel", "System event log");
  sel->require_subcommand(0, 1);
  const auto run_list = [options, &context](Document& document) { list(context, document, options->last); };
  sel->callback([sel, &context, run_list] {
    if (sel->get_subcommands().empty()) context.run = run_list;
  });

  CLI::App* list_command = sel->add_subcommand("list", "List the events (the default)");
  for (CLI::App* command : {sel, list_command})
    command->add_option("--last", options->last, "Only the last N events")
        ->type_name("N")
        ->check(CLI::Range(0, 0xFFFF));
  runs(list_command, run_list);

  runs(sel->add_subcommand("info",
                           "Show the state of the log: entries, free space, times of the last changes, abilities"),
       [&context](Document& document) { info(context, document); });

  CLI::App* get_command = sel->add_subcommand("get", "Show one record in full");
  get_command->add_option("ID", options->id, "Record ID; also \"first\" or \"last\"")->required();
  runs(get_command, [options, &context](Document& document) { get(context, document, options->id); });

  CLI::App* add_command = sel->add_subcommand("add", "Add records");
  CLI::Option* bytes = add_command->add_option("BYTES", options->bytes, "The 16 bytes of a record, in hex");
  add_command->add_option("--file", options->file, "A record of 16 bytes on each line; - is standard input")
      ->type_name("FILE")
      ->excludes(bytes);
  runs(add_command, [options, &context](Document& document) { add(context, document, options->bytes, options->file); });

  CLI::App* delete_command = sel->add_subcommand("delete", "Delete one record");
  delete_command->add_option("ID", options->id, "Record ID; also \"first\" or \"last\"")->required();
  runs(delete_command, [options, &context](Document& document) { delete_entry(context, document, options->id); });

  runs(sel->add_subcommand("clear", "Erase all records; asks first"),
       [&context](Document& document) { clear(context, document); });

  CLI::App* time_command = sel->add_subcommand("time", "Show or set the clock of the log");
  time_command->require_subcommand(0, 1);
  time_command->callback([time_command, &context] {
    if (time_command->get_subcommands().empty())
      context.run = [&context](Document& document) { show_time(context, document); };
  });
  CLI::App* set_command = time_command->add_subcommand("set", "Set the clock");
  set_command->add_option("TIME", options->time, "\"now\", seconds since 1970, or ISO 8601")->required();
  runs(set_command, [options, &context](Document& document) { set_time(context, document, options->time); });
}

}  // namespace tool
