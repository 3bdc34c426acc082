// lumipmi fru: the inventory of boards and modules.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>
#include <thread>

#include "tools/command.hpp"
#include "tools/fru_image.hpp"
#include "tools/sdr_walk.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

constexpr uint8_t kBmcAddress = 0x20;
constexpr size_t kGreatestImage = 0xFFFF;  // the library counts in 16 bits, as Get FRU Inventory Area Info does

/// A device and as much of its image as was read.
struct Device {
  uint8_t id = 0;
  size_t size = 0;  // as the BMC says, in bytes
  bool words = false;
  Bytes image;
  bool ended = false;  // the BMC has nothing behind `image`
};

/// Reads images in as few requests as the BMC allows.
class Reader {
 public:
  explicit Reader(Session& session) : session_(session) {}

  /// Begins with reads of this size, which is known to work elsewhere, and tries larger ones behind the first success.
  void begin_with(size_t bytes) {
    chunk_ = bytes;
    growing_ = true;
  }

  Device open(uint8_t id) {
    IpmiFruInventoryInfo info = {};
    session_.check(ipmi_storage_get_fru_inventory_info(session_.handle(), id, &info), "Get FRU Inventory Area Info");
    Device device;
    device.id = id;
    device.size = info.area_size;
    device.words = info.access_by_words != 0;
    return device;
  }

  /// All of it.
  void read_whole(Device& device) {
    Progress progress("Reading FRU " + std::to_string(device.id));
    while (device.image.size() < device.size && !device.ended) {
      read_more(device);
      progress.step(device.image.size(), device.size);
    }
    require_some(device);
  }

  /// What the areas of the image take up.
  void read_areas(Device& device) {
    Progress progress("Reading FRU " + std::to_string(device.id));
    for (;;) {
      const size_t end = fru::needed(device.image, device.size);
      progress.step(device.image.size(), end);
      if (device.image.size() >= end || device.ended) break;
      read_more(device);
    }
    require_some(device);
  }

 private:
  static void require_some(const Device& device) {
    if (device.image.empty())
      throw Failure(Exit::Refused, "FRU " + std::to_string(device.id) + ": the device is empty; its size is " +
                                       std::to_string(device.size) + " bytes");
  }

  /// The BMC cannot deliver that many bytes at once. Controllers do not agree on the code for it.
  static bool too_long(uint32_t status) {
    switch (status) {
      case IPMI_STATUS_BMC_BASE:
      case IPMI_STATUS_BMC_REQUEST_DATA_TRUNCATED:  // Linux's, for an answer that the interface does not carry
      case IPMI_STATUS_BMC_REQUEST_DATA_LENGTH_INVALID:
      case IPMI_STATUS_BMC_REQUEST_DATA_LENGTH_EXCEEDED:
      case IPMI_STATUS_BMC_NO_REQUESTED_DATA_RETURNED:
      case IPMI_STATUS_BMC_UNSPECIFIED:
        return true;
      default:
        return false;
    }
  }

  /// One Read FRU Data behind what is there (34.2). A device that is accessed by words takes offset and count in words,
  /// and counts words in its answer; the library passes such numbers on as they are and copies as many bytes as were
  /// counted, so the data come from the response itself.
  uint32_t request(const Device& device, size_t bytes, Bytes& data) {
    const size_t unit = device.words ? 2 : 1;
    uint8_t count = static_cast<uint8_t>((bytes + unit - 1) / unit);
    std::array<uint8_t, 255> ignored;
    const uint32_t status = ipmi_storage_read_fru_data(
        session_.handle(), device.id, static_cast<uint16_t>(device.image.size() / unit), &count, ignored.data());
    if (status != 0) return status;
    const Bytes& reply = session_.last().reply;
    const size_t delivered = std::min<size_t>(reply[0] * unit, reply.size() - 1) / unit * unit;
    data.assign(reply.begin() + 1, reply.begin() + 1 + static_cast<std::ptrdiff_t>(delivered));
    return 0;
  }

  void read_more(Device& device) {
    constexpr int kBusyTries = 20;
    constexpr auto kBusyPause = std::chrono::milliseconds(50);
    const size_t unit = device.words ? 2 : 1;
    size_t wanted = device.size - device.image.size();
    for (int busy = 0;;) {
      const size_t bytes = std::min(wanted, chunk_);
      Bytes data;
      const uint32_t status = request(device, bytes, data);
      if (status == 0) {
        if (data.empty())
          throw Failure(Exit::Refused,
                        "FRU " + std::to_string(device.id) + ": the BMC returned no data at byte " +
                            std::to_string(device.image.size()) + " of " + std::to_string(device.size),
                        "The device may be damaged, or smaller than the BMC believes.");
        data.resize(std::min(data.size(), device.size - device.image.size()));
        device.image.insert(device.image.end(), data.begin(), data.end());
        if (growing_ && data.size() == chunk_) chunk_ = std::min(2 * chunk_, kGreatestChunk);
        return;
      }
      if (status == IPMI_STATUS_BMC_FRU_DEVICE_BUSY && ++busy < kBusyTries) {
        std::this_thread::sleep_for(kBusyPause);
      } else if (status == IPMI_STATUS_BMC_PARAMETER_OUT_OF_RANGE) {
        // Beyond the end, or only partly so: ask for less until nothing is left.
        if (bytes <= unit) {
          device.ended = true;
          return;
        }
        wanted = bytes / 2;
      } else if (too_long(status) && bytes > unit) {
        chunk_ = smaller(bytes);
        growing_ = false;
      } else {
        session_.check(status, "Read FRU Data");
      }
    }
  }

  static size_t smaller(size_t bytes) {
    size_t less = kGreatestChunk / 2 + 4;  // 128 and its halves
    while (less >= bytes && less > 1) less /= 2;
    return less;
  }

  static constexpr size_t kGreatestChunk = 248;

  Session& session_;
  size_t chunk_ = kGreatestChunk;  // the largest read that may work: shrinks for good
  bool growing_ = false;
};

/// An image as the library parsed it.
class Parsed {
 public:
  explicit Parsed(fru::View image)
      : status_(ipmi_parse_ipmi_fru_data(&info_, static_cast<uint16_t>(image.size()), image.data())) {}
  ~Parsed() {
    ipmi_free_fru_info(&info_);
    for (IpmiFruField* array : {info_.chassis_custom_fields, info_.board_custom_fields, info_.product_custom_fields})
      std::free(array);  // not freed by the library
  }
  Parsed(const Parsed&) = delete;
  Parsed& operator=(const Parsed&) = delete;

  uint32_t status() const { return status_; }
  const IpmiFruInfo& info() const { return info_; }

 private:
  IpmiFruInfo info_ = {};
  uint32_t status_;
};

std::string fru_name(unsigned id) {
  return "FRU " + std::to_string(id);
}

/// Hex over as many lines as it takes.
Cell hex_cell(fru::View bytes) {
  constexpr size_t kPerLine = 32;
  std::string text;
  for (size_t i = 0; i < bytes.size(); i += kPerLine) {
    if (i != 0) text += '\n';
    text += hex_bytes(bytes.subspan(i, std::min(kPerLine, bytes.size() - i)));
  }
  return Cell(text, hex_bytes(bytes));
}

Cell count_cell(size_t count, const char* unit) {
  return Cell(std::to_string(count) + " " + unit, count);
}

Cell checksum_cell(fru::Checksum checksum) {
  switch (checksum) {
    case fru::Checksum::Good:
      return Cell("ok", "ok", Severity::Ok);
    case fru::Checksum::Wrong:
      return Cell("wrong", "wrong", Severity::Critical);
    case fru::Checksum::None:
      break;
  }
  return Cell("none", nullptr, Severity::Faint);
}

// --- fru list

/// A device to list.
struct Listed {
  std::optional<uint8_t> id;  // none: not behind the FRU commands of this BMC
  std::string name;
  std::string place;  // of a device without an id
};

/// Device 0, which every BMC has, and what the SDRs name.
std::vector<Listed> listed_devices(Session& session, Reader& reader, Document& document) {
  std::vector<Listed> devices = {{0, "built-in", ""}};
  Repository repository;
  try {
    repository = read_repository(session, {IPMI_SDR_FRU_LOCATOR, IPMI_SDR_MC_LOCATOR});
  } catch (const Failure& failure) {
    if (session.lost_bmc()) throw;
    document.problem("SDR repository", failure.what());
    return devices;
  }
  for (Problem& problem : repository.problems) document.problems.push_back(std::move(problem));
  if (repository.small_answers != 0) reader.begin_with(repository.small_answers);

  for (const SdrRecord& record : repository.records) {
    if (!record.decoded) continue;
    const std::string name = record_name(record);
    if (record.type() == IPMI_SDR_FRU_LOCATOR) {
      const IpmiSdrFruLocator& locator = record.info.body.fru_locator;
      const unsigned address = locator.device_access_address;
      if (locator.is_logical != 0 && (address & 0xFEu) == kBmcAddress) {
        const auto known = std::find_if(devices.begin(), devices.end(),
                                        [&](const Listed& other) { return other.id == locator.fru_device_id; });
        if (known == devices.end())
          devices.push_back({locator.fru_device_id, name, ""});
        else if (&*known == &devices.front())
          known->name = name;
      } else if (locator.is_logical != 0) {
        devices.push_back({std::nullopt, name,
                           "device " + std::to_string(locator.fru_device_id) + " of controller " + hex_number(address) +
                               ", not readable"});
      } else {
        devices.push_back({std::nullopt, name,
                           "behind bus " + std::to_string(locator.private_bus_id) + ", address " +
                               hex_number(locator.fru_device_id * 2u) + ", not readable"});
      }
    } else if (record.type() == IPMI_SDR_MC_LOCATOR) {
      constexpr uint8_t kFruInventory = 0x08;
      const IpmiSdrMcLocator& locator = record.info.body.mc_locator;
      if (locator.device_slave_address != kBmcAddress && (locator.device_capabilities & kFruInventory) != 0)
        devices.push_back({std::nullopt, name,
                           "device 0 of controller " + hex_number(locator.device_slave_address) + ", not readable"});
    }
  }
  std::stable_sort(devices.begin(), devices.end(), [](const Listed& a, const Listed& b) {
    return a.id && (!b.id || *a.id < *b.id);  // those without an id last
  });
  return devices;
}

std::string where_of(const std::string& fru, const std::string& place) {
  return fru + ", " + place;
}

/// The cells behind ID and name.
std::vector<Cell> list_cells(Reader& reader, uint8_t id, Document& document) {
  Device device = reader.open(id);
  Cell size = count_cell(device.size, "B");
  Cell access(device.words ? "words" : "bytes");
  reader.read_areas(device);
  const fru::Image image = fru::walk(device.image);
  Cell areas("", Json::array());
  for (const fru::Area& area : image.areas) {
    if (!areas.text.empty()) areas.text += ", ";
    const std::string name = fru::name_of(area.kind);
    areas.text += name.substr(0, name.find(area.kind == fru::Kind::InternalUse ? " area" : " "));
    areas.value.push_back(fru::key_of(area.kind));
  }
  for (const fru::Finding& finding : image.findings)
    document.problem(where_of(fru_name(id), finding.where), finding.what);
  Cell status = image.blank              ? Cell("not programmed", "blank", Severity::Warning)
                : image.findings.empty() ? Cell("ok", "ok", Severity::Ok)
                                         : Cell("damaged", "damaged", Severity::Critical);
  return {size, access, areas, status};
}

void list(Context& context, Document& document) {
  Reader reader(context.session);
  const std::vector<Listed> devices = listed_devices(context.session, reader, document);
  document.sections.push_back(Table{"fru_devices",
                                    "",
                                    {{"id", "ID", true},
                                     {"name", "Name"},
                                     {"size", "Size", true},
                                     {"access", ""},
                                     {"areas", "Areas"},
                                     {"status", "Status"}},
                                    {}});
  Table& table = std::get<Table>(document.sections.back());
  for (const Listed& device : devices) {
    std::vector<Cell> row = {Cell("-", nullptr), device.name};
    if (device.id) {
      row[0] = Cell(std::to_string(*device.id), *device.id);
      std::vector<Cell> cells;
      try {
        cells = list_cells(reader, *device.id, document);
      } catch (const Failure& failure) {
        if (context.session.lost_bmc()) throw;
        document.problem(fru_name(*device.id), failure.what());
        const uint8_t completion = context.session.last().completion;
        cells = {Cell(), Cell(), Cell("", Json::array()),
                 Cell(completion != 0 ? "not readable: completion code " + hex_number(completion) : "not readable",
                      "refused", Severity::Critical)};
      }
      row.insert(row.end(), cells.begin(), cells.end());
    } else {
      row.insert(row.end(),
                 {Cell(), Cell(), Cell("", Json::array()), Cell(device.place, "unreachable", Severity::Faint)});
    }
    table.rows.push_back(std::move(row));
  }
}

// --- fru print

struct PrintOptions {
  std::optional<unsigned> id;
  std::string file;
  bool lenient = false;
  bool details = false;
};

/// Where the sections of an image go, and under which names.
struct Place {
  Document& document;
  std::string fru;     // "FRU 1"
  std::string prefix;  // of keys: "fru1_" among others, else empty

  std::string key(const std::string& name) const { return prefix + name; }
  std::string title(const std::string& name) const { return prefix.empty() ? name : fru + ": " + name; }
};

std::string capitalized(std::string text) {
  if (!text.empty()) text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
  return text;
}

void print_info_area(const Place& place, const fru::Area& area) {
  Record record{place.key(fru::key_of(area.kind)), place.title(capitalized(fru::name_of(area.kind))), {}};
  if (area.kind == fru::Kind::Chassis) {
    record.add("type", "Type", Cell(fru::chassis_type_name(area.chassis_type)));
    record.add("type_code", "Type code", Cell(hex_number(area.chassis_type), area.chassis_type));
  } else {
    const std::string tag = fru::language_tag(area.language);
    record.add("language", "Language",
               Cell(tag.empty() ? "unknown code " + std::to_string(area.language) : tag,
                    Json{{"code", area.language}, {"tag", tag.empty() ? Json() : Json(tag)}}));
  }
  if (area.kind == fru::Kind::Board)
    record.add("manufacturing_date", "Manufacturing date", fru::date_cell(area.minutes));
  for (const fru::Value& value : area.values) record.add(value.key, value.label, fru::text_of(value, area.language));
  place.document.sections.push_back(std::move(record));
}

void print_multirecords(const Place& place, const fru::Image& image) {
  Table table{place.key("multirecords"),
              place.title("Multirecord area"),
              {{"number", "No.", true},
               {"offset", "Offset"},
               {"type", "Type"},
               {"name", "Name"},
               {"length", "Length", true},
               {"checksum", "Checksum"},
               {"data", "Data"}},
              {}};
  std::vector<Record> decoded;
  for (const fru::MultiRecord& record : image.records) {
    const std::string number = std::to_string(table.rows.size() + 1);
    const bool whole = record.header_checksum == fru::Checksum::Good;
    Cell checksum = whole ? checksum_cell(record.data_checksum) : Cell("header wrong", "wrong", Severity::Critical);
    const std::string name = fru::record_type_name(record.type);
    table.rows.push_back({Cell(number, table.rows.size() + 1), Cell(hex_number(record.offset, 4), record.offset),
                          Cell(hex_number(record.type), record.type), name,
                          Cell(std::to_string(record.length), record.length), checksum, hex_bytes(record.data)});
    std::vector<Field> fields = fru::record_fields(record);
    if (!fields.empty())
      decoded.push_back(Record{place.key("multirecord_" + number), place.title("Multirecord " + number + ": " + name),
                               std::move(fields)});
  }
  place.document.sections.push_back(std::move(table));
  for (Record& record : decoded) place.document.sections.push_back(std::move(record));
}

void print_areas(const Place& place, const fru::Image& image) {
  Table table{place.key("areas"),
              place.title("Areas"),
              {{"area", "Area"},
               {"offset", "Offset"},
               {"size", "Size", true},
               {"format_version", "Format", true},
               {"checksum", "Checksum"}},
              {}};
  for (const fru::Area& area : image.areas) {
    const bool versioned = area.kind != fru::Kind::MultiRecord;
    table.rows.push_back({Cell(fru::name_of(area.kind), fru::key_of(area.kind)),
                          Cell(hex_number(area.offset, 4), area.offset), Cell(std::to_string(area.size), area.size),
                          versioned ? Cell(hex_number(area.version), area.version) : Cell(),
                          checksum_cell(area.checksum)});
  }
  place.document.sections.push_back(std::move(table));
}

/// The maker's own records in the internal use area, if there are any.
void print_maker_records(const Place& place, fru::View bytes, const fru::Area& area) {
  constexpr std::array<uint8_t, 5> kSignature = {'K', 'E', 'S', 'T', 0};
  const fru::View head = bytes.subspan(area.offset, std::min(area.size, 1 + kSignature.size()));
  if (head.size() <= kSignature.size() || !std::equal(kSignature.begin(), kSignature.end(), head.begin() + 1)) return;

  IpmiKestFruRecords records = {};
  const uint32_t status = ipmi_get_kest_fru_internal_info(&records, static_cast<uint16_t>(bytes.size()), bytes.data());
  if (status != 0)
    place.document.problem(where_of(place.fru, "maker's records"), "the block, or its last record, is damaged");
  const auto trimmed = [](fru::View data) {
    while (!data.empty() && data.back() == 0) data = data.first(data.size() - 1);
    return data;
  };
  Record record{place.key("maker"), place.title("Maker's records"), {}};
  record.add("os_name", "Operating system", to_utf8(trimmed(records.osName)));
  for (size_t i = 0; i < std::size(records.biosBlocks); ++i) {
    const std::string number = std::to_string(i);
    record.add("bios_block_" + number, "BIOS block item " + number, hex_cell(trimmed(records.biosBlocks[i])));
  }
  const size_t revisions = std::min<size_t>(records.cpldCount, sizeof records.cpldRevisions);
  record.add("cpld_revisions", "CPLD revisions", hex_cell(fru::View(records.cpldRevisions).first(revisions)));
  record.add("system_mac", "System MAC address data",
             hex_cell(fru::View(records.systemMac[0], sizeof records.systemMac)));
  record.add("pcba_test", "PCBA test record", hex_cell(records.pcbaTest));
  record.add("board_specific", "Board-specific data",
             hex_cell(fru::View(records.boardSpecific[0], sizeof records.boardSpecific)));
  place.document.sections.push_back(std::move(record));
}

void print_details(const Place& place, const fru::Image& image) {
  Table table{place.key("fields"),
              place.title("Fields"),
              {{"area", "Area"},
               {"field", "Field"},
               {"offset", "Offset"},
               {"encoding", "Encoding"},
               {"length", "Length", true},
               {"bytes", "Bytes"},
               {"text", ""}},
              {}};
  for (const fru::Area& area : image.areas)
    for (const fru::Value& value : area.values)
      table.rows.push_back({fru::key_of(area.kind), value.key,
                            value.offset == 0 ? Cell() : Cell(hex_number(value.offset, 4), value.offset),
                            fru::encoding_of(value, area.language),
                            Cell(std::to_string(value.data.size()), value.data.size()), hex_bytes(value.data),
                            fru::text_of(value, area.language)});
  place.document.sections.push_back(std::move(table));
}

/// All of an image. Unless lenient, the fields are the library's, and an image that it refuses is a Failure.
void print_image(const Place& place, fru::View bytes, const PrintOptions& options) {
  fru::Image image = fru::walk(bytes);
  if (!options.lenient) {
    const Parsed parsed(bytes);
    if (image.blank)
      throw Failure(Exit::Refused, place.fru + ": " + image.findings.front().what,
                    "There is nothing to print; \"fru dump\" saves the bytes as they are.");
    if (parsed.status() != 0 || image.refused()) {
      std::string reasons;
      for (const fru::Finding& finding : image.findings)
        if (finding.refused || !image.refused())
          reasons += (reasons.empty() ? "" : "; ") + finding.where + ": " + finding.what;
      throw Failure(Exit::Refused, place.fru + ": " + (reasons.empty() ? meaning_of(parsed.status()).meaning : reasons),
                    "--lenient shows what can be read all the same.");
    }
    for (fru::Area& area : image.areas) {
      std::vector<fru::Value> values = fru::parsed_values(parsed.info(), area.kind);
      for (size_t i = 0; i < values.size() && i < area.values.size(); ++i) values[i].offset = area.values[i].offset;
      area.values = std::move(values);
    }
  }

  for (const fru::Area& area : image.areas)
    if (area.kind == fru::Kind::Chassis || area.kind == fru::Kind::Board || area.kind == fru::Kind::Product)
      print_info_area(place, area);
  if (const fru::Area* area = image.find(fru::Kind::InternalUse)) {
    // From the image: the library's copy of this area runs on into the area behind it.
    Record record{place.key("internal_use"), place.title("Internal use area"), {}};
    record.add("length", "Length", count_cell(area->size, "bytes"));
    record.add("data", "Data", hex_cell(bytes.subspan(area->offset, area->size)));
    place.document.sections.push_back(std::move(record));
    print_maker_records(place, bytes, *area);
  }
  if (image.find(fru::Kind::MultiRecord) != nullptr) print_multirecords(place, image);
  print_areas(place, image);
  if (options.details) print_details(place, image);
  for (const fru::Finding& finding : image.findings)
    place.document.problem(where_of(place.fru, finding.where), finding.what);
}

void print_device(Reader& reader, const Place& place, uint8_t id, const std::string& name,
                  const PrintOptions& options) {
  Device device = reader.open(id);
  reader.read_areas(device);
  Record record{place.key("device"), place.fru + (name.empty() ? "" : ": " + name), {}};
  record.add("id", "Device ID", Cell(std::to_string(id), id));
  if (!name.empty()) record.add("name", "Name", name);
  record.add("size", "Size", count_cell(device.size, "bytes"));
  record.add("access", "Accessed by", device.words ? "words" : "bytes");
  place.document.sections.push_back(std::move(record));
  const size_t before = place.document.sections.size();
  try {
    print_image(place, device.image, options);
  } catch (const Failure&) {
    if (place.document.sections.size() == before) place.document.sections.pop_back();  // nothing but the heading
    throw;
  }
  if (device.ended)
    place.document.problem(place.fru, "the image ends after " + std::to_string(device.image.size()) +
                                          " bytes; the BMC says that the device has " + std::to_string(device.size));
}

void print_all(Context& context, Document& document, const PrintOptions& options) {
  Reader reader(context.session);
  for (const Listed& device : listed_devices(context.session, reader, document)) {
    if (!device.id) continue;
    const Place place{document, fru_name(*device.id), "fru" + std::to_string(*device.id) + "_"};
    try {
      print_device(reader, place, *device.id, device.name, options);
    } catch (const Failure& failure) {
      if (context.session.lost_bmc()) throw;
      document.problem(place.fru, std::string(failure.what()).starts_with(place.fru + ": ")
                                      ? std::string(failure.what()).substr(place.fru.size() + 2)
                                      : failure.what());
    }
  }
}

Bytes read_file(const std::string& path) {
  Bytes bytes;
  std::ifstream file;
  if (path != "-") {
    file.open(path, std::ios::binary);
    if (!file) throw Failure(Exit::Usage, path + ": " + std::strerror(errno));
  }
  std::istream& in = path == "-" ? std::cin : file;
  for (char byte; bytes.size() <= kGreatestImage && in.get(byte);) bytes.push_back(static_cast<uint8_t>(byte));
  if (in.bad() || (bytes.empty() && !in.eof())) throw Failure(Exit::Usage, path + ": cannot be read");
  if (bytes.size() > kGreatestImage) throw Failure(Exit::Usage, path + ": larger than any FRU image (65535 bytes)");
  if (bytes.empty()) throw Failure(Exit::Usage, path + ": empty");
  return bytes;
}

void print(Context& context, Document& document, const PrintOptions& options) {
  if (!options.file.empty()) {
    const Bytes bytes = read_file(options.file);
    const std::string name = options.file == "-" ? "standard input" : to_utf8(std::string_view(options.file));
    const Place place{document, name, ""};
    print_image(place, bytes, options);
    Record record{"file", "", {}};
    record.add("name", "File", name);
    record.add("size", "Size", count_cell(bytes.size(), "bytes"));
    document.sections.insert(document.sections.begin(), std::move(record));
  } else if (options.id) {
    const Place place{document, fru_name(*options.id), ""};
    Reader reader(context.session);
    print_device(reader, place, static_cast<uint8_t>(*options.id), "", options);
  } else {
    print_all(context, document, options);
  }
}

// --- fru dump

struct DumpOptions {
  unsigned id = 0;
  std::string file;
  bool force = false;
};

[[noreturn]] void fail_file(const std::string& path) {
  throw Failure(Exit::Internal, path + ": " + std::strerror(errno));
}

/// Refuses early what write_atomically() would refuse late.
void check_target(const std::string& path, bool force) {
  struct stat info = {};
  if (stat(path.c_str(), &info) != 0) return;
  if (!S_ISREG(info.st_mode)) throw Failure(Exit::Usage, path + ": exists and is not a regular file");
  if (!force) throw Failure(Exit::Usage, path + ": exists", "--force overwrites it.");
}

/// The file is there with all of its bytes or not at all.
void write_atomically(const std::string& path, const Bytes& bytes, bool force) {
  std::string temporary = path + ".XXXXXX";
  const int fd = mkostemp(temporary.data(), O_CLOEXEC);
  if (fd < 0) fail_file(path);
  const mode_t mask = umask(0);
  umask(mask);
  bool good = fchmod(fd, 0666 & ~mask) == 0;
  for (size_t done = 0; good && done < bytes.size();) {
    const ssize_t count = write(fd, bytes.data() + done, bytes.size() - done);
    if (count > 0)
      done += static_cast<size_t>(count);
    else if (count == 0 || errno != EINTR)
      good = false;
  }
  good = good && fsync(fd) == 0;
  good = close(fd) == 0 && good;
  // link() fails when the file has come to exist meanwhile; where the file system has no links, rename() must do.
  if (good && !force) {
    if (link(temporary.c_str(), path.c_str()) == 0) {
      unlink(temporary.c_str());
      return;
    }
    good = errno == EPERM || errno == EOPNOTSUPP;
  }
  if (good && rename(temporary.c_str(), path.c_str()) == 0) return;
  const int error = errno;
  unlink(temporary.c_str());
  errno = error;
  fail_file(path);
}

void dump(Context& context, Document& document, const DumpOptions& options) {
  const bool force = options.force || context.assume_yes;
  const bool to_output = options.file == "-";
  if (!to_output) check_target(options.file, force);
  Reader reader(context.session);
  Device device = reader.open(static_cast<uint8_t>(options.id));
  reader.read_whole(device);
  if (device.ended)
    document.problem(fru_name(options.id), "the image ends after " + std::to_string(device.image.size()) +
                                               " bytes; the BMC says that the device has " +
                                               std::to_string(device.size));
  if (to_output) {
    document.raw.assign(device.image.begin(), device.image.end());
    return;
  }
  write_atomically(options.file, device.image, force);
  Record record{"dump", "", {}};
  record.add("id", "Device ID", Cell(std::to_string(options.id), options.id));
  record.add("file", "File", to_utf8(std::string_view(options.file)));
  record.add("size", "Size", count_cell(device.image.size(), "bytes"));
  document.sections.push_back(std::move(record));
}

}  // namespace

void add_fru(CLI::App& app, Context& context) {
  CLI::App* fru = app.add_subcommand("fru", "FRU devices: the inventories of boards and modules");
  fru->require_subcommand(0, 1);
  fru->callback([fru, &context] {
    if (fru->get_subcommands().empty()) context.run = [&context](Document& document) { list(context, document); };
  });

  fru->add_subcommand("list", "List them (the default)")->callback([&context] {
    context.run = [&context](Document& document) { list(context, document); };
  });

  const auto print_options = std::make_shared<PrintOptions>();
  CLI::App* print_command = fru->add_subcommand("print", "Show the inventory of a device, of all, or of an image file");
  CLI::Option* id = print_command->add_option("ID", print_options->id, "FRU device ID; all devices when left out")
                        ->check(CLI::Range(0, 254));
  print_command->add_option("--file", print_options->file, "Read this image file instead of a BMC; - is standard input")
      ->type_name("FILE")
      ->excludes(id);
  print_command->add_flag("--lenient", print_options->lenient, "Show what can be read of a damaged image");
  print_command->add_flag("--details", print_options->details, "Show the bytes and the encoding of each field");
  print_command->callback([print_options, &context] {
    context.run = [print_options, &context](Document& document) { print(context, document, *print_options); };
  });

  const auto dump_options = std::make_shared<DumpOptions>();
  CLI::App* dump_command = fru->add_subcommand("dump", "Save the image of a device");
  dump_command->add_option("ID", dump_options->id, "FRU device ID")->required()->check(CLI::Range(0, 254));
  dump_command->add_option("FILE", dump_options->file, "New file; - is standard output")->required();
  dump_command->add_flag("--force", dump_options->force, "Overwrite the file if there is one");
  dump_command->callback([dump_options, &context] {
    context.run = [dump_options, &context](Document& document) { dump(context, document, *dump_options); };
  });
}

}  // namespace tool
