#include "tools/sdr_walk.hpp"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <span>

#include "tools/names.hpp"
#include "tools/sdr_cache.hpp"
#include "tools/seam.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

constexpr size_t kHeader = 5;
constexpr uint16_t kFirst = 0x0000;
constexpr uint16_t kEnd = 0xFFFF;
constexpr unsigned kMaxCancelled = 8;  // reservations lost while one record is read
constexpr unsigned kMaxGuesses = 4;    // record IDs tried behind a record that could not be read

/// How much to ask for at the start of a record, most first. 0xFF asks for the whole record, as long as it is: most
/// BMCs send it or what fits, the others refuse. 64 bytes hold any sensor record.
constexpr uint8_t kSizes[] = {0xFF, 64, 32, 16, 8};
constexpr size_t kSmallest = std::size(kSizes) - 1;

/// Bytes of a record as one answer brought them.
struct Piece {
  uint32_t status = 0;
  uint16_t next = kEnd;
  Bytes bytes;
};

/// Failures that tell of a BMC which never sends that many bytes.
bool is_about_size(uint32_t status) {
  return status == IPMI_STATUS_BMC_NO_REQUESTED_DATA_RETURNED ||
         status == IPMI_STATUS_BMC_REQUEST_DATA_LENGTH_EXCEEDED ||
         status == IPMI_STATUS_BMC_REQUEST_DATA_LENGTH_INVALID || status == IPMI_STATUS_BMC_PARAMETER_OUT_OF_RANGE;
}

/// Length of the record as far as its bytes tell.
size_t wanted_length(const Bytes& raw) {
  return raw.size() < kHeader ? kHeader : kHeader + raw[4];
}

/// The record types that are wanted; empty: all.
using Types = std::initializer_list<uint8_t>;

bool is_wanted(const Types& types, uint8_t type) {
  return types.size() == 0 || std::find(types.begin(), types.end(), type) != types.end();
}

class RecordReader {
 public:
  explicit RecordReader(Session& session) : session_(session) {}

  struct Result {
    uint32_t status = 0;  // why bytes are missing
    std::string error;
    std::optional<uint16_t> next;  // known as soon as one answer came
    Bytes raw;
    bool skipped = false;  // not a wanted one; only its beginning was read
  };

  Result read(uint16_t id, const Types& types = {}) {
    Result result;
    Bytes& raw = result.raw;
    size_t level = level_;
    size_t needed = level_;  // level that the BMC wants for all records, not only for this one
    unsigned cancelled = 0;
    while (raw.size() < wanted_length(raw)) {
      const size_t offset = raw.size();
      if (offset != 0 && !reserved_) reserve();
      const Piece piece = fetch(id, offset, wanted_length(raw), level);
      if (piece.status == 0) {
        result.next = piece.next;
        raw.insert(raw.end(), piece.bytes.begin(), piece.bytes.end());
        if (offset == 0 && raw.size() < wanted_length(raw)) level = needed = std::max(level, fitting(raw.size()));
        answered_ = true;
        if (raw.size() >= kHeader && !is_wanted(types, raw[3])) {
          result.skipped = true;
          break;
        }
      } else if (piece.status == IPMI_STATUS_BMC_INVALID_RESERVATION && ++cancelled <= kMaxCancelled) {
        raw.clear();  // the record may have changed meanwhile
        reserve();
      } else if (level < kSmallest && worth_another_size(piece.status)) {
        ++level;
        if (is_about_size(piece.status) || !answered_) needed = level;
      } else {
        result.status = piece.status;
        result.error = session_.describe(piece.status, "Get SDR");
        return result;
      }
    }
    learn(needed, wanted_length(raw));
    if (!result.skipped) raw.resize(wanted_length(raw));  // some BMCs send bytes behind the record's end
    return result;
  }

  /// As Repository::small_answers.
  size_t small_answers() const { return level_ >= kCautious ? kSizes[level_] : 0; }

 private:
  static constexpr size_t kCautious = 2;

  /// Keeps a level for the records to come. Where the size that failed exceeds the record, the BMC may have minded only
  /// the record's end; then a size that suits most records is kept.
  void learn(size_t needed, size_t length) {
    const bool beyond_end = needed > 1 && kSizes[needed - 1] > length;
    level_ = std::max(level_, beyond_end ? std::min(needed, kCautious) : needed);
  }

  /// The level at which an answer that held `size` bytes would have been asked for.
  static size_t fitting(size_t size) {
    size_t level = 1;
    while (level < kSmallest && kSizes[level] > size) ++level;
    return level;
  }

  Piece fetch(uint16_t id, size_t offset, size_t end, size_t level) {
    uint8_t count = kSizes[level];
    if (offset != 0) count = static_cast<uint8_t>(std::min<size_t>(end - offset, std::min<size_t>(count, 0xFE)));
    uint8_t data[256];
    Piece piece;
    piece.status = ipmi_storage_get_sdr_entry(session_.handle(), &reservation_, id, static_cast<uint16_t>(offset),
                                              &piece.next, count, data);
    // An answer shorter than asked for is no success for the library, and here the best there is: the record ended, or
    // the BMC sent what it could.
    const ExchangeRecord& last = session_.last();
    if (!last.answered || last.completion != 0 || last.reply.size() <= 2) return piece;
    piece.status = 0;
    piece.next = static_cast<uint16_t>(last.reply[0] | last.reply[1] << 8);
    piece.bytes.assign(last.reply.begin() + 2, last.reply.end());
    if (offset != 0 && piece.bytes.size() > count) piece.bytes.resize(count);
    return piece;
  }

  /// Not after failures that no other size will change. A transient one gets its second chance this way.
  bool worth_another_size(uint32_t status) const {
    switch (status) {
      case IPMI_STATUS_BMC_DATA_NOT_PRESENT:
      case IPMI_STATUS_BMC_INVALID_COMMAND:
      case IPMI_STATUS_BMC_INVALID_CMD_FOR_LUN:
      case IPMI_STATUS_BMC_INSUFFICIENT_PRIVILEGE:
      case IPMI_STATUS_BMC_INVALID_RESERVATION:
        return false;
      default:
        return !session_.fatal(status);
    }
  }

  /// A BMC that knows no reservations takes 0, which stays when this fails.
  void reserve() {
    reserved_ = true;
    (void)ipmi_storage_reserve_sdr_repository(session_.handle(), &reservation_);
  }

  Session& session_;
  uint16_t reservation_ = 0;
  bool reserved_ = false;
  bool answered_ = false;  // an answer brought bytes
  size_t level_ = 0;
};

/// Place of the byte before the ID string; 0 for records without one.
size_t id_string_place(uint8_t type) {
  switch (type) {
    case IPMI_SDR_FULL_SENSOR:
      return 47;
    case IPMI_SDR_COMPACT_SENSOR:
      return 31;
    case IPMI_SDR_EVENT_ONLY:
      return 16;
    case IPMI_SDR_GENERIC_LOCATOR:
    case IPMI_SDR_FRU_LOCATOR:
    case IPMI_SDR_MC_LOCATOR:
      return 15;
    default:
      return 0;
  }
}

/// An ID string in its record.
struct IdString {
  uint8_t type = IPMI_FIELD_TEXT;
  size_t characters = 0;
  size_t length = 0;               // bytes
  std::span<const uint8_t> bytes;  // fewer where the record ends too early
};

IdString id_string_of(const SdrRecord& record) {
  IdString id;
  const size_t place = id_string_place(record.type());
  if (place == 0 || place >= record.raw.size()) return id;
  const std::span<const uint8_t> rest = std::span(record.raw).subspan(place + 1);
  const size_t count = record.raw[place] & 0x1F;
  id.type = record.raw[place] >> 6;
  id.characters = id.length = count;
  if (rest.size() == count)
    id.characters = 2 * count;  // a BMC that counts bytes, not characters: all that they hold
  else if (id.type == IPMI_FIELD_6BIT_ASCII)
    id.length = (count * 6 + 7) / 8;
  else if (id.type == IPMI_FIELD_BCD_PLUS)
    id.length = (count + 1) / 2;
  id.bytes = rest.first(std::min(rest.size(), id.length));
  return id;
}

/// What is wrong with the ID string, if anything.
std::string id_string_error(const SdrRecord& record) {
  const IdString id = id_string_of(record);
  if (id.length == 31 || (record.type() == IPMI_SDR_FULL_SENSOR && id.length > 16))
    return "an ID string of " + std::to_string(id.length) + " bytes is not allowed";
  if (id.bytes.size() < id.length)
    return "the ID string of " + std::to_string(id.length) + " bytes is cut short by the end of the record";
  return "";
}

void decode(SdrRecord& record) {
  Bytes raw = record.raw;
  raw[4] = static_cast<uint8_t>(std::min<size_t>(raw[4], raw.size() - kHeader));  // where the end is missing
  const uint32_t status = ipmi_hlp_format_sdr_record(static_cast<uint16_t>(raw.size()), raw.data(), &record.info);
  if (raw.size() < std::max(least_length(record.type()), kHeader)) {
    record.error =
        "too short for a " + sdr_type_name(record.type()) + " record: " + std::to_string(raw.size()) + " bytes";
    return;
  }
  // In a record that is long enough only the ID string can be malformed, and all other fields are good then.
  record.decoded = status == 0 || status == IPMI_STATUS_APP_INVALID_FORMAT;
  if (status == IPMI_STATUS_APP_UNSUPPORT_SDR_VERSION)
    record.error = "unknown SDR version " + hex_number(raw[2]);
  else if (!record.decoded && status != IPMI_STATUS_APP_INSUFFICIENT_BUFFER)  // this one is about records kept raw
    record.error = meaning_of(status).meaning;
  else
    record.error = id_string_error(record);
}

/// The ID of the record that was asked for as the first or last one stands in the record.
uint16_t id_of(uint16_t asked, const Bytes& raw) {
  if ((asked != kFirst && asked != kEnd) || raw.size() < 2) return asked;
  return static_cast<uint16_t>(raw[0] | raw[1] << 8);
}

SdrRecord finish(uint16_t id, RecordReader::Result& read) {
  SdrRecord record;
  record.raw = std::move(read.raw);
  record.id = id_of(id, record.raw);
  const size_t length = wanted_length(record.raw);
  if (record.raw.size() >= kHeader) decode(record);
  if (!read.error.empty() && record.raw.empty()) record.error = read.error;
  if (!read.error.empty() && !record.raw.empty())
    record.error =
        "read up to byte " + std::to_string(record.raw.size()) + " of " + std::to_string(length) + ": " + read.error;
  return record;
}

Problem problem_of(const SdrRecord& record) {
  return {"SDR record " + hex_number(record.id, 4), record.error};
}

uint8_t byte_of(const SdrRecord& record, size_t place) {
  return place < record.raw.size() ? record.raw[place] : 0;
}

uint16_t word_of(const SdrRecord& record, size_t place) {
  return static_cast<uint16_t>(byte_of(record, place) | byte_of(record, place + 1) << 8);
}

Factors factors_of(const IpmiSdrFullSensor& full) {
  Factors factors;
  factors.format = static_cast<uint8_t>(full.analog_data_format);
  factors.linearization = full.linearization;
  factors.m = full.m;
  factors.b = full.b;
  factors.b_exponent = full.b_exponent;
  factors.result_exponent = full.result_exponent;
  factors.tolerance = full.tolerance;
  factors.accuracy = full.precision;
  factors.accuracy_exponent = full.precision_exponent;
  return factors;
}

/// The part of a shared record that makes one sensor of it. In event-only records the ID string's type stands where the
/// decoded record has the modifier's, so these come from the raw bytes.
struct Sharing {
  int8_t count;
  int8_t modifier_type;
  bool instance_increments;
  uint8_t modifier_offset;
};

Sharing sharing_of(const SdrRecord& record) {
  if (record.type() == IPMI_SDR_FULL_SENSOR) return {1, 0, false, 0};
  const size_t place = record.type() == IPMI_SDR_COMPACT_SENSOR ? 23 : 12;
  const uint8_t sharing = byte_of(record, place);
  const uint8_t modifier = byte_of(record, place + 1);
  return {static_cast<int8_t>(std::max(sharing & 0x0F, 1)), static_cast<int8_t>(sharing >> 4 & 3),
          (modifier & 0x80) != 0, static_cast<uint8_t>(modifier & 0x7F)};
}

std::string trimmed(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

/// The ID string without the padding that some BMCs add: NULs here, spaces later.
std::string raw_name(const SdrRecord& record) {
  const IdString id = id_string_of(record);
  const auto length = static_cast<uint16_t>(id.bytes.size());
  char text[2 * 31 + 2] = "";
  switch (id.type) {
    case IPMI_FIELD_BCD_PLUS:
      (void)decode_bcd_plus(text, sizeof text, id.bytes.data(), length);
      break;
    case IPMI_FIELD_6BIT_ASCII:
      (void)decode_6bit_ascii(text, sizeof text - 1, id.bytes.data(), length);
      break;
    default: {
      std::span<const uint8_t> bytes = id.bytes;
      while (!bytes.empty() && bytes.back() == 0) bytes = bytes.first(bytes.size() - 1);
      return to_utf8(bytes);
    }
  }
  return std::string(text).substr(0, id.characters);
}

/// Name of the sensor `index` of a shared record.
std::string shared_name(const SdrRecord& record, const Sharing& sharing, uint8_t index) {
  const std::string base = raw_name(record);
  if (sharing.count <= 1) return trimmed(base);
  wchar_t suffix[8];
  if (ipmi_hlp_get_share_sdr_string(sharing.count, sharing.modifier_type, sharing.modifier_offset, index, L"",
                                    sizeof suffix, suffix) != 0)
    return trimmed(base);
  // A numeric suffix brings its own space; an alphabetic one follows directly.
  std::string name = sharing.modifier_type == 0 ? trimmed(base) : base;
  for (const wchar_t* c = suffix; *c != 0; ++c) name += static_cast<char>(*c);
  return name;
}

/// The sensor that a record describes, or the first of those that share it.
Sensor sensor_of(const SdrRecord& record) {
  Sensor sensor;
  sensor.record_id = record.id;
  sensor.record_type = record.type();
  sensor.owner = byte_of(record, 5);
  sensor.channel = byte_of(record, 6) >> 4;
  sensor.lun = byte_of(record, 6) & 3;
  sensor.number = byte_of(record, 7);
  sensor.entity_id = byte_of(record, 8);
  sensor.entity_instance = byte_of(record, 9) & 0x7F;
  sensor.entity_logical = (byte_of(record, 9) & 0x80) != 0;
  if (sensor.event_only()) {
    sensor.sensor_type = byte_of(record, 10);
    sensor.event_type = byte_of(record, 11) & 0x7F;
    return sensor;
  }
  sensor.sensor_type = byte_of(record, 12);
  sensor.event_type = byte_of(record, 13) & 0x7F;
  const uint8_t units = byte_of(record, 20);
  sensor.unit = unit_text(byte_of(record, 21), byte_of(record, 22), units >> 1 & 3, units >> 3 & 7, units & 1);
  if (sensor.is_threshold()) {
    sensor.threshold_access = byte_of(record, 11) >> 2 & 3;
    sensor.comparison_mask = static_cast<uint8_t>((byte_of(record, 15) >> 4 & 7) | (byte_of(record, 17) >> 4 & 7) << 3);
    sensor.readable_mask = byte_of(record, 18) & 0x3F;
  } else {
    sensor.state_mask = word_of(record, 18) & 0x7FFF;
  }
  if (record.type() == IPMI_SDR_FULL_SENSOR) sensor.factors = factors_of(record.info.body.full);
  return sensor;
}

// The cache ----------------------------------------------------------------------------------------------------------

/// FNV-1a.
uint64_t hash(std::string_view text) {
  uint64_t value = 0xCBF29CE484222325;
  for (const char c : text) value = (value ^ static_cast<uint8_t>(c)) * 0x100000001B3;
  return value;
}

/// What tells a BMC without a GUID from others of its model: the way to it.
void append_way(Bytes& key) {
  char host[256] = "";
  (void)gethostname(host, sizeof host - 1);
  const uint64_t way = hash(std::string(host) + "\n" + seam::destination());
  for (unsigned shift = 0; shift < 64; shift += 8) key.push_back(static_cast<uint8_t>(way >> shift));
}

/// Many BMCs send a GUID that nobody has ever set.
bool is_guid(std::span<const uint8_t> bytes) {
  const auto all = [&](uint8_t value) {
    return std::all_of(bytes.begin(), bytes.end(), [value](uint8_t byte) { return byte == value; });
  };
  return !all(0x00) && !all(0xFF);
}

/// Asks the BMC who it is and how its repository stands: key and state of an image. None when a changed repository
/// could go unnoticed.
std::optional<SdrImage> identify(Session& session) {
  constexpr uint32_t kUnspecified = 0xFFFFFFFF;
  constexpr uint32_t kLastBeforeClock = 0x20000000;  // seconds from the start of the BMC (37.1)
  constexpr size_t kInfo = 14;
  constexpr size_t kGuid = 16;
  const auto succeeded = [&session](uint32_t status, const char* command) {
    if (status != 0 && session.fatal(status)) session.check(status, command);
    return status == 0;
  };
  SdrImage image;
  IpmiSdrRepositoryInfo info = {};
  const bool informed =
      succeeded(ipmi_storage_get_sdr_repository_info(session.handle(), &info), "Get SDR Repository Info");
  if (!informed || info.last_add_time == kUnspecified) {
    seam::note("cache: not used, the BMC does not tell when its repository was changed");
    return std::nullopt;
  }
  image.state.assign(session.last().reply.begin(), session.last().reply.begin() + kInfo);

  uint8_t guid[kGuid] = {};
  const bool has_guid = succeeded(ipmi_app_get_system_guid(session.handle(), guid), "Get System GUID") && is_guid(guid);
  if (has_guid) {
    image.key = {'G'};
    image.key.insert(image.key.end(), std::begin(guid), std::end(guid));
  }
  // A repository that comes with the firmware has the same time at each start, whatever the firmware is.
  if (has_guid && info.last_add_time > kLastBeforeClock) return image;
  IpmiDeviceId id = {};
  if (!succeeded(ipmi_app_get_device_id(session.handle(), &id), "Get Device ID")) return std::nullopt;
  const Bytes& device = session.last().reply;  // 11 bytes, or 15
  image.state.insert(image.state.end(), device.begin(), device.begin() + (device.size() < 15 ? 11 : 15));
  if (!has_guid) {
    image.key = {'D', device[0], device[1], device[6], device[7], device[8], device[9], device[10]};
    append_way(image.key);
  }
  return image;
}

Repository repository_of(const SdrImage& image, const Types& types) {
  Repository repository;
  for (const SdrImage::Entry& entry : image.records) {
    if (!is_wanted(types, entry.raw[3])) continue;
    RecordReader::Result read;
    read.raw = entry.raw;
    repository.records.push_back(finish(entry.id, read));
    const SdrRecord& record = repository.records.back();
    if (!record.error.empty()) repository.problems.push_back(problem_of(record));
  }
  return repository;
}

/// Takes up the records of a walk for the cache, as long as nothing is missing.
class Keeper {
 public:
  Keeper(SdrCache& cache, std::optional<SdrImage> image) : cache_(cache), image_(std::move(image)) {}

  void add(const SdrRecord& record, const RecordReader::Result& read) {
    if (read.status != 0 || record.raw.size() != wanted_length(record.raw) || !read.next) image_.reset();
    if (image_) image_->records.push_back({record.id, record.raw});
  }
  /// The walk came to its proper end.
  void finish() {
    if (image_ && !cache_.store(*image_)) seam::note("cache: not written: " + cache_.problem());
  }

 private:
  SdrCache& cache_;
  std::optional<SdrImage> image_;
};

Repository walk_repository(Session& session, const Types& types, Keeper& keeper) {
  Repository repository;
  RecordReader reader(session);
  Progress progress("reading SDRs");
  std::set<uint16_t> seen;
  unsigned guesses = 0;  // in a row
  for (uint16_t id = kFirst; id != kEnd;) {
    seen.insert(id);
    RecordReader::Result read = reader.read(id, types);
    const bool absent = read.status == IPMI_STATUS_BMC_DATA_NOT_PRESENT && read.raw.empty();
    if (id == kFirst && absent) return repository;  // an empty one
    if (id == kFirst && read.raw.empty()) session.check(read.status, "Get SDR");

    uint16_t here = id;
    if (read.skipped) {
      here = id_of(id, read.raw);
      seen.insert(here);
    } else if (guesses == 0 || !absent) {
      repository.records.push_back(finish(id, read));
      const SdrRecord& record = repository.records.back();
      keeper.add(record, read);
      here = record.id;
      seen.insert(here);
      if (!record.error.empty()) repository.problems.push_back(problem_of(record));
      progress.step(repository.records.size(), 0);
    }
    if (session.fatal(read.status)) {
      repository.problems.push_back({"SDR repository", "the records behind " + hex_number(here, 4) + " were not read"});
      return repository;
    }
    guesses = read.next ? 0 : guesses + 1;
    if (guesses > kMaxGuesses) {
      repository.problems.push_back({"SDR repository", "which record follows is not known, the rest is missing"});
      return repository;
    }
    const uint16_t next = read.next ? *read.next : static_cast<uint16_t>(here + 1);
    if (next != kEnd && seen.count(next) != 0) {
      repository.problems.push_back({"SDR repository", "record " + hex_number(here, 4) + " is followed by record " +
                                                           hex_number(next, 4) + ", which was read before"});
      return repository;
    }
    id = next;
  }
  repository.small_answers = reader.small_answers();
  keeper.finish();
  return repository;
}

}  // namespace

SdrRecord read_record(Session& session, uint16_t id) {
  RecordReader reader(session);
  RecordReader::Result read = reader.read(id);
  if (read.raw.empty()) session.check(read.status, "Get SDR");
  return finish(id, read);
}

Repository read_repository(Session& session, Types types) {
  // A recording has all exchanges, so that it can be played anywhere.
  if (!session.cache() || seam::is_recorded()) {
    SdrCache none(SdrCache::Folder::None);
    Keeper nothing(none, std::nullopt);
    return walk_repository(session, types, nothing);
  }
  // Who needs all records also leaves them behind; for a few it does not pay to read the others.
  const bool keep = types.size() == 0;
  SdrCache cache(keep ? SdrCache::Folder::Create : SdrCache::Folder::Existing);
  if (!cache.problem().empty()) seam::note("cache: not used: " + cache.problem());
  std::optional<SdrImage> image;
  if (cache.usable() && (keep || !cache.files().empty())) image = identify(session);
  if (image) {
    if (const std::optional<SdrImage> found = cache.find(image->key, image->state)) return repository_of(*found, types);
    if (!cache.problem().empty()) seam::note("cache: read anew: " + cache.problem());
  }
  if (!keep) image.reset();
  Keeper keeper(cache, std::move(image));
  return walk_repository(session, types, keeper);
}

size_t least_length(uint8_t record_type) {
  switch (record_type) {
    case IPMI_SDR_FULL_SENSOR:
      return 48;
    case IPMI_SDR_COMPACT_SENSOR:
    case IPMI_SDR_MC_CONFIRMATION:
      return 32;
    case IPMI_SDR_EVENT_ONLY:
      return 17;
    case IPMI_SDR_DEVICE_ENTITY_ASSOCIATION:
      return 26;
    case IPMI_SDR_ENTITY_ASSOCIATION:
    case IPMI_SDR_GENERIC_LOCATOR:
    case IPMI_SDR_FRU_LOCATOR:
    case IPMI_SDR_MC_LOCATOR:
    case IPMI_SDR_BMC_CHANNEL_INFO:
      return 16;
    case IPMI_SDR_OEM:
      return 8;
    default:
      return 0;
  }
}

std::string record_name(const SdrRecord& record) {
  return trimmed(raw_name(record));
}

std::optional<double> Factors::value(uint8_t raw) const {
  if (!analog()) return std::nullopt;
  double value = 0;
  if (ipmi_hlp_calculate_reading_value(format, linearization, m, b, result_exponent, b_exponent, raw, &value) != 0 ||
      !std::isfinite(value))
    return std::nullopt;
  return value;
}

std::optional<double> Factors::difference(double counts) const {
  if (!analog() || linearization != 0) return std::nullopt;
  return std::fabs(m * counts * std::pow(10.0, result_exponent));
}

std::string Sensor::address() const {
  std::string text = std::to_string(lun) + "." + std::to_string(number);
  if (!of_bmc()) return hex_number(owner) + "/" + text;
  return lun == 0 ? std::to_string(number) : text;
}

std::optional<std::string> Sensor::value_text(uint8_t raw) const {
  const std::optional<double> value = factors.value(raw);
  if (!value) return std::nullopt;
  return unit.empty() ? tool::number(*value) : tool::number(*value) + " " + unit;
}

std::vector<Sensor> sensors_of(const Repository& repository) {
  std::vector<Sensor> sensors;
  for (size_t index = 0; index < repository.records.size(); ++index) {
    const SdrRecord& record = repository.records[index];
    const bool is_sensor = record.type() == IPMI_SDR_FULL_SENSOR || record.type() == IPMI_SDR_COMPACT_SENSOR ||
                           record.type() == IPMI_SDR_EVENT_ONLY;
    if (!is_sensor || !record.decoded) continue;
    const Sharing sharing = sharing_of(record);
    Sensor first = sensor_of(record);
    first.record = index;
    for (uint8_t k = 0; k < sharing.count; ++k) {
      Sensor sensor = first;
      sensor.number = static_cast<uint8_t>(first.number + k);
      if (sharing.instance_increments) sensor.entity_instance = (first.entity_instance + k) & 0x7F;
      sensor.name = shared_name(record, sharing, k);
      sensors.push_back(std::move(sensor));
    }
  }
  return sensors;
}

const Sensor* find_sensor(const std::vector<Sensor>& sensors, uint8_t owner, uint8_t lun, uint8_t number) {
  const auto fits = [&](const Sensor& sensor) {
    return sensor.owner == owner && sensor.lun == lun && sensor.number == number;
  };
  const auto found = std::find_if(sensors.begin(), sensors.end(), fits);
  return found == sensors.end() ? nullptr : &*found;
}

}  // namespace tool
