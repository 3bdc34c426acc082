// lumipmi sensors: what all sensors say, or everything about some of them.
#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

#include "tools/command.hpp"
#include "tools/events.hpp"
#include "tools/names.hpp"
#include "tools/sdr.hpp"
#include "tools/sdr_walk.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

/// What the BMC says about a sensor now: a value or the reason why there is none, and states or the reason again.
struct Reading {
  std::optional<double> value;
  std::string reason;          // why there is no value
  std::optional<uint8_t> raw;  // also where it does not count
  Factors factors;             // that made the value
  bool has_states = false;
  std::vector<StateText> states;
  std::optional<bool> events_on;
  std::optional<bool> scanning_on;
};

struct Thresholds {
  uint8_t mask = 0;  // those that are known
  uint8_t raw[6] = {};
  Factors factors[6];

  std::optional<double> value(unsigned index) const {
    if ((mask >> index & 1) == 0) return std::nullopt;
    return factors[index].value(raw[index]);
  }
};

/// Asks the BMC about sensors. Failures become problems of the document; once the BMC is lost nothing more is sent.
class SensorReader {
 public:
  SensorReader(Session& session, Document& document) : session_(session), document_(document) {}

  Reading reading(const Sensor& sensor);
  Thresholds thresholds(const Sensor& sensor);
  std::optional<uint16_t> hysteresis(const Sensor& sensor);
  std::optional<IpmiSensorEventEnable> event_enable(const Sensor& sensor);

 private:
  /// Whether it makes sense to ask the BMC about the sensor.
  bool reachable(const Sensor& sensor) const { return sensor.of_bmc() && !lost_ && silent_ != &sensor; }

  template <typename Request>
  uint32_t ask(const Sensor& sensor, const Request& request) {
    const LunScope scope(session_, sensor.lun);
    const IpmiSensorAddress address = {sensor.owner, sensor.lun, sensor.number};
    return request(session_.handle(), &address);
  }

  void report(const Sensor& sensor, uint32_t status, const char* command);
  std::optional<Factors> factors_at(const Sensor& sensor, uint8_t raw, std::string* reason);
  void convert(const Sensor& sensor, Reading& reading);

  Session& session_;
  Document& document_;
  bool lost_ = false;
  const Sensor* silent_ = nullptr;  // its reading failed: nothing more is asked about it
};

/// "Get Sensor Reading failed (0xC1)".
std::string failed(const char* command, const ExchangeRecord& last) {
  const std::string why = !last.answered         ? "no answer"
                          : last.completion == 0 ? "short answer"
                                                 : hex_number(last.completion);
  return std::string(command) + " failed (" + why + ")";
}

void SensorReader::report(const Sensor& sensor, uint32_t status, const char* command) {
  document_.problem("sensor " + sensor.address() + " (" + sensor.name + ")", session_.describe(status, command));
  lost_ = session_.fatal(status);
}

/// The factors for one raw byte: those of the record, or for non-linear sensors what the BMC has for that reading.
std::optional<Factors> SensorReader::factors_at(const Sensor& sensor, uint8_t raw, std::string* reason) {
  constexpr const char* kCommand = "Get Sensor Reading Factors";
  if (!sensor.factors.non_linear()) return sensor.factors;
  if (!reachable(sensor)) return std::nullopt;
  IpmiSensorReadingFactors answer = {};
  const uint32_t status = ask(sensor, [&](IpmiHandle* bmc, const IpmiSensorAddress* address) {
    return ipmi_se_get_sensor_reading_factors(bmc, address, raw, &answer);
  });
  if (status != 0) {
    if (reason != nullptr) *reason = failed(kCommand, session_.last());
    report(sensor, status, kCommand);
    return std::nullopt;
  }
  Factors factors;
  factors.format = sensor.factors.format;
  factors.m = answer.m;
  factors.b = answer.b;
  factors.b_exponent = answer.b_exponent;
  factors.result_exponent = answer.result_exponent;
  factors.tolerance = answer.tolerance;
  factors.accuracy = answer.precision;
  factors.accuracy_exponent = answer.precision_exponent;
  return factors;
}

void SensorReader::convert(const Sensor& sensor, Reading& reading) {
  if (!sensor.factors.analog()) {
    reading.reason = "no analog reading";
    return;
  }
  const std::optional<Factors> factors = factors_at(sensor, *reading.raw, &reading.reason);
  if (!factors) return;
  reading.factors = *factors;
  reading.value = factors->value(*reading.raw);
  if (reading.value) return;
  const std::string function = linearization_name(factors->linearization);
  reading.reason = function.starts_with("reserved")
                       ? "linearization " + hex_number(factors->linearization) + " is not known"
                       : function + " is not defined for reading " + hex_number(*reading.raw);
}

Reading SensorReader::reading(const Sensor& sensor) {
  constexpr const char* kCommand = "Get Sensor Reading";
  Reading reading;
  reading.factors = sensor.factors;
  if (!sensor.of_bmc()) {
    reading.reason = "owned by " + owner_name(sensor.owner) + ", not reachable over this interface";
    return reading;
  }
  if (sensor.event_only()) {
    reading.reason = "event-only";
    return reading;
  }
  if (lost_) {
    reading.reason = "not read";
    return reading;
  }
  IpmiSensorReading answer = {};
  const uint32_t status = ask(sensor, [&](IpmiHandle* bmc, const IpmiSensorAddress* address) {
    return ipmi_se_get_sensor_reading(bmc, address, &answer);
  });
  if (status == IPMI_STATUS_BMC_DATA_NOT_PRESENT || status == IPMI_STATUS_BMC_BASE + 0xD5) {
    // Sensors of parts that are absent, or off: how things are, and no failure.
    reading.reason = status == IPMI_STATUS_BMC_DATA_NOT_PRESENT ? "sensor not present (0xCB)"
                                                                : "not supported in the present state (0xD5)";
    silent_ = &sensor;
    return reading;
  }
  if (status != 0) {
    silent_ = &sensor;
    reading.reason = failed(kCommand, session_.last());
    report(sensor, status, kCommand);
    return reading;
  }
  reading.raw = answer.reading;
  reading.events_on = answer.event_messages_enabled != 0;
  reading.scanning_on = answer.scanning_enabled != 0;
  if (answer.reading_unavailable != 0 || answer.scanning_enabled == 0) {
    reading.reason = answer.scanning_enabled == 0 ? "scanning disabled" : "not available";
    return reading;
  }
  if (session_.last().reply.size() > 2) {  // the state bytes are optional
    const uint8_t compared = sensor.comparison_mask != 0 ? sensor.comparison_mask : sensor.readable_mask;
    reading.has_states = !sensor.is_threshold() || compared != 0;
    // A mask without any state says nothing about a sensor that reports some.
    const uint16_t states = sensor.state_mask != 0 ? sensor.state_mask : 0x7FFF;
    reading.states = sensor.is_threshold() ? threshold_states_of(static_cast<uint8_t>(answer.states & compared))
                                           : states_of(sensor.sensor_type, sensor.event_type, answer.states & states);
  }
  convert(sensor, reading);
  return reading;
}

Thresholds SensorReader::thresholds(const Sensor& sensor) {
  constexpr const char* kCommand = "Get Sensor Thresholds";
  enum : uint8_t { kReadable = 1, kSettable = 2 };
  Thresholds result;
  const bool readable = sensor.threshold_access == kReadable || sensor.threshold_access == kSettable;
  if (!readable || sensor.readable_mask == 0 || !reachable(sensor)) return result;
  uint8_t answer[IPMI_THRESHOLD_BYTES] = {};
  const uint32_t status = ask(sensor, [&](IpmiHandle* bmc, const IpmiSensorAddress* address) {
    return ipmi_se_get_sensor_threshold(bmc, address, answer);
  });
  if (status != 0) {
    report(sensor, status, kCommand);
    return result;
  }
  std::copy_n(answer + IPMI_THRESHOLD_LOWER_NON_CRITICAL, 6, result.raw);
  for (unsigned index = 0; index < 6; ++index) {
    if ((answer[IPMI_THRESHOLD_MASK] & sensor.readable_mask & 1u << index) == 0) continue;
    const std::optional<Factors> factors = factors_at(sensor, result.raw[index], nullptr);
    if (!factors) continue;
    result.factors[index] = *factors;
    result.mask = static_cast<uint8_t>(result.mask | 1u << index);
  }
  return result;
}

std::optional<uint16_t> SensorReader::hysteresis(const Sensor& sensor) {
  if (!reachable(sensor)) return std::nullopt;
  uint16_t answer = 0;
  const uint32_t status = ask(sensor, [&](IpmiHandle* bmc, const IpmiSensorAddress* address) {
    return ipmi_se_get_sensor_hysteresis(bmc, address, 0xFF, &answer);
  });
  if (status == 0) return answer;
  report(sensor, status, "Get Sensor Hysteresis");
  return std::nullopt;
}

std::optional<IpmiSensorEventEnable> SensorReader::event_enable(const Sensor& sensor) {
  if (!reachable(sensor)) return std::nullopt;
  IpmiSensorEventEnable answer = {};
  const uint32_t status = ask(sensor, [&](IpmiHandle* bmc, const IpmiSensorAddress* address) {
    return ipmi_se_get_sensor_event_enable(bmc, address, &answer);
  });
  if (status == 0) return answer;
  report(sensor, status, "Get Sensor Event Enable");
  return std::nullopt;
}

/// States in words; where there are none, what that means. Why an analog sensor has no value stands here too.
Cell state_cell(const Sensor& sensor, const Reading& reading) {
  if (!reading.has_states) return Cell(reading.value ? "" : reading.reason, Json::array(), Severity::Faint);
  std::vector<std::string> names;
  std::string text;
  for (const StateText& state : reading.states) {
    names.push_back(state.text);
    text += (text.empty() ? "" : ", ") + state.text;
  }
  Severity severity = worst(reading.states);
  if (names.empty()) {
    text = sensor.is_threshold() ? "ok" : "nothing asserted";
    severity = Severity::Ok;
  }
  if (sensor.factors.analog() && !reading.value) text = reading.reason + "; " + text;
  return Cell(text, Json(names), severity);
}

Cell severity_cell(const Cell& state, const Reading& reading) {
  if (!reading.has_states) return Cell();
  const Json severity = severity_json(state.severity);
  return severity.is_null() ? Cell() : Cell(severity.get<std::string>());
}

Cell reason_cell(const Reading& reading) {
  return reading.value ? Cell() : Cell(reading.reason);
}

Cell raw_cell(const std::optional<uint8_t>& raw) {
  return raw ? Cell(hex_number(*raw), *raw) : Cell();
}

/// Columns of thresholds in the order of their values, and their places in Thresholds.
constexpr unsigned kByValue[] = {2, 1, 0, 3, 4, 5};

void list_sensors(Session& session, Document& document) {
  const Repository repository = read_repository(session);
  for (const Problem& problem : repository.problems) document.problems.push_back(problem);
  Table table{.key = "sensors", .title = "", .columns = {}, .rows = {}};
  table.columns = {
      {"address", "No.", true}, {"name", "Name"}, {"value", "Value", true}, {"unit", "Unit"}, {"state", "State"}};
  for (const unsigned index : kByValue) table.columns.push_back({threshold_key(index), threshold_key(index), true});
  for (const char* key :
       {"severity", "reason", "raw", "owner", "lun", "number", "sensor_type", "event_type", "entity", "record_id"})
    table.columns.push_back({key, ""});

  SensorReader reader(session, document);
  const std::vector<Sensor> sensors = sensors_of(repository);
  Progress progress("reading sensors");
  for (const Sensor& sensor : sensors) {
    progress.step(table.rows.size(), sensors.size());
    const Reading reading = reader.reading(sensor);
    const Thresholds thresholds = reader.thresholds(sensor);
    const Cell state = state_cell(sensor, reading);
    std::vector<Cell> row = {Cell(sensor.address()), Cell(sensor.name), value_cell(reading.value),
                             sensor.unit.empty() ? Cell() : Cell(sensor.unit), state};
    for (const unsigned index : kByValue) row.push_back(value_cell(thresholds.value(index)));
    const Cell more[] = {severity_cell(state, reading),
                         reason_cell(reading),
                         raw_cell(reading.raw),
                         Cell(owner_name(sensor.owner), sensor.owner),
                         Cell(std::to_string(sensor.lun), sensor.lun),
                         Cell(std::to_string(sensor.number), sensor.number),
                         Cell(sensor_type_name(sensor.sensor_type)),
                         Cell(event_type_name(sensor.event_type)),
                         entity_cell(sensor.entity_id, sensor.entity_instance, sensor.entity_logical),
                         Cell(hex_number(sensor.record_id, 4), sensor.record_id)};
    row.insert(row.end(), std::begin(more), std::end(more));
    table.rows.push_back(std::move(row));
  }
  document.sections.push_back(std::move(table));
}

Cell flag_cell(const std::optional<bool>& flag) {
  return flag ? Cell(*flag ? "yes" : "no", *flag) : Cell();
}

/// Positive and negative hysteresis as values, where the sensor is linear, and raw.
Cell hysteresis_cell(const Sensor& sensor, uint16_t hysteresis) {
  const auto one = [&](uint8_t raw) {
    const Cell value = value_cell(sensor.factors.difference(raw), sensor.unit);
    return Cell((value.text.empty() ? "" : value.text + " ") + "(" + hex_number(raw) + ")",
                Json{{"value", value.value}, {"raw", raw}});
  };
  const Cell positive = one(static_cast<uint8_t>(hysteresis));
  const Cell negative = one(static_cast<uint8_t>(hysteresis >> 8));
  return Cell("positive-going " + positive.text + ", negative-going " + negative.text,
              Json{{"positive", positive.value}, {"negative", negative.value}});
}

void add_event_enable(Record& out, const Sensor& sensor, const std::optional<IpmiSensorEventEnable>& enable) {
  const auto events = [&](size_t place) {
    if (!enable) return or_text(Cell(), "unknown");
    return list_cell(event_names(sensor, static_cast<uint16_t>(enable->masks[place] | enable->masks[place + 1] << 8)));
  };
  out.add("enabled_assertions", "Enabled assertions", events(0));
  out.add("enabled_deassertions", "Enabled deassertions", events(2));
}

Record sensor_in_full(SensorReader& reader, const Sensor& sensor, const SdrRecord& sdr) {
  const Reading reading = reader.reading(sensor);
  const Thresholds thresholds = reader.thresholds(sensor);
  const Cell state = state_cell(sensor, reading);

  Record out{.key = "sensor_" + sensor.address(), .title = sensor.name, .fields = {}};
  out.add("name", "Name", sensor.name);
  out.add("number", "Sensor number",
          Cell(std::to_string(sensor.number) + " (" + hex_number(sensor.number) + ")", sensor.number));
  out.add("lun", "LUN", Cell(std::to_string(sensor.lun), sensor.lun));
  const Cell value = value_cell(reading.value, sensor.unit);
  out.add("value", "Value", reading.value ? value : Cell(reading.reason, nullptr, Severity::Faint));
  out.add("reason", "", reason_cell(reading));  // stands in the value for people
  out.add("raw", "Raw reading", or_text(raw_cell(reading.raw), "none"));
  out.add("state", "State", or_text(state, "none"));
  out.add("severity", "", severity_cell(state, reading));
  if (sensor.is_threshold())
    out.add("thresholds", "Thresholds", thresholds_cell(sensor, thresholds.mask, thresholds.raw, thresholds.factors));
  if (!sensor.event_only()) {
    const bool has_hysteresis = (sdr.raw[11] & 0x30) != 0 && (sdr.raw[11] & 0x30) != 0x30;
    if (has_hysteresis) {
      const std::optional<uint16_t> hysteresis = reader.hysteresis(sensor);
      out.add("hysteresis", "Hysteresis",
              or_text(hysteresis ? hysteresis_cell(sensor, *hysteresis) : Cell(), "unknown"));
    }
    out.add("scanning", "Scanning", or_text(flag_cell(reading.scanning_on), "unknown"));
    out.add("events", "Event messages", or_text(flag_cell(reading.events_on), "unknown"));
    const bool has_events = (sdr.raw[11] & 3) != 3;
    if (has_events) add_event_enable(out, sensor, reader.event_enable(sensor));
  }
  if (sensor.factors.non_linear() && reading.value)
    out.add("reading_factors", "Factors of this reading", factors_cell(reading.factors));
  add_sensor_facts(out, sensor, sdr);
  out.add("record_id", "SDR record", Cell(hex_number(sensor.record_id, 4), sensor.record_id));
  return out;
}

std::string lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::optional<uint8_t> parse_number(std::string_view text) {
  const bool hex = text.starts_with("0x");
  if (hex) text.remove_prefix(2);
  uint8_t value = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value, hex ? 16 : 10);
  if (text.empty() || stop != text.data() + text.size() || error != std::errc()) return std::nullopt;
  return value;
}

/// Whether NUMBER, LUN.NUMBER or OWNER/LUN.NUMBER names the sensor.
bool is_address_of(const std::string& wanted, const Sensor& sensor) {
  std::string_view rest = wanted;
  uint8_t owner = 0x20;
  if (const size_t slash = rest.find('/'); slash != rest.npos) {
    const std::optional<uint8_t> number = parse_number(rest.substr(0, slash));
    if (!number) return false;
    owner = *number;
    rest.remove_prefix(slash + 1);
  }
  uint8_t lun = 0;
  if (const size_t dot = rest.find('.'); dot != rest.npos) {
    const std::optional<uint8_t> number = parse_number(rest.substr(0, dot));
    if (!number) return false;
    lun = *number;
    rest.remove_prefix(dot + 1);
  }
  return owner == sensor.owner && lun == sensor.lun && parse_number(rest) == sensor.number;
}

/// The sensors that a word of the command line names: by name, without regard to case, and if none has that name by
/// address.
std::vector<const Sensor*> select(const std::vector<Sensor>& sensors, const std::string& word) {
  const std::string wanted = lower(word);
  std::vector<const Sensor*> named;
  std::vector<const Sensor*> numbered;
  for (const Sensor& sensor : sensors) {
    if (lower(sensor.name) == wanted) named.push_back(&sensor);
    if (is_address_of(wanted, sensor)) numbered.push_back(&sensor);
  }
  return named.empty() ? numbered : named;
}

void show_sensors(Session& session, const std::vector<std::string>& words, Document& document) {
  const Repository repository = read_repository(session);
  const std::vector<Sensor> sensors = sensors_of(repository);
  std::vector<const Sensor*> chosen;
  std::vector<std::string> missing;
  for (const std::string& word : words) {
    const std::vector<const Sensor*> found = select(sensors, word);
    if (found.empty()) missing.push_back(word);
    for (const Sensor* sensor : found)
      if (std::find(chosen.begin(), chosen.end(), sensor) == chosen.end()) chosen.push_back(sensor);
  }
  // Records that could not be read matter when something was not found.
  if (!missing.empty()) document.problems = repository.problems;
  if (chosen.empty() && document.problems.empty())
    throw Failure(Exit::Usage, "no sensor \"" + to_utf8(missing[0]) + "\"", "lumipmi sensors lists all.");
  for (const std::string& word : missing) document.problem("sensor \"" + to_utf8(word) + "\"", "not found");

  SensorReader reader(session, document);
  for (const Sensor* sensor : chosen)
    document.sections.push_back(sensor_in_full(reader, *sensor, repository.records[sensor->record]));
}

}  // namespace

void add_sensors(CLI::App& app, Context& context) {
  auto words = std::make_shared<std::vector<std::string>>();
  CLI::App* command =
      app.add_subcommand("sensors", "Readings and states of all sensors, or everything about those that are named");
  command->add_option("SENSOR", *words, "Name, or number (40, 0x28), with LUN 1.40, with owner 0x2C/0.40")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  command->callback([&context, words] {
    context.run = [&context, words](Document& document) {
      if (words->empty())
        list_sensors(context.session, document);
      else
        show_sensors(context.session, *words, document);
    };
  });
}

}  // namespace tool
