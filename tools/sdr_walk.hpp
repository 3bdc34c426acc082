// The SDR repository, from the cache or read with few exchanges, and the sensors that its records describe.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "tools/session.hpp"

namespace tool {

/// A record as it was read.
struct SdrRecord {
  uint16_t id = 0;
  Bytes raw;              // header included; may be cut short when there is an error
  IpmiSdrInfo info = {};  // by ipmi_hlp_format_sdr_record()
  bool decoded = false;   // all fields are there, and info holds them
  std::string error;      // what is wrong with the record; a record may be decoded and have an error

  uint8_t type() const { return raw.size() > 3 ? raw[3] : 0; }
};

struct Repository {
  std::vector<SdrRecord> records;  // in the order of the repository
  std::vector<Problem> problems;   // of records and of the walk itself
  size_t small_answers = 0;        // record bytes that answers hold when the BMC refused to send more; else 0
};

/// Reads all records, or those of some types alone with less exchanges. Throws a Failure only when not even the first
/// record could be read; everything later becomes a problem and what was read is kept. The cache knows no problems:
/// what could not be read whole is read again the next time.
Repository read_repository(Session& session, std::initializer_list<uint8_t> types = {});

/// Reads one record; a Failure when there is none, else SdrRecord::error says what is missing.
SdrRecord read_record(Session& session, uint16_t id);

/// Bytes that a record of a type needs for all its fields; 0 for types that are not known.
size_t least_length(uint8_t record_type);

/// The record's ID string (43.15), always valid UTF-8; empty for records without one.
std::string record_name(const SdrRecord& record);

/// How raw bytes become values (36.3).
struct Factors {
  uint8_t format = 3;  // 0 unsigned, 1 one's complement, 2 two's complement, 3 no analog reading
  uint8_t linearization = 0;
  int16_t m = 0;
  int16_t b = 0;
  int8_t b_exponent = 0;
  int8_t result_exponent = 0;
  uint8_t tolerance = 0;  // half raw counts
  uint16_t accuracy = 0;  // 1/100 percent, times 10^accuracy_exponent
  uint8_t accuracy_exponent = 0;

  bool analog() const { return format != 3; }
  bool non_linear() const { return linearization >= 0x70; }
  /// The value of a raw byte; none when the sensor is not analog, when it is non-linear, and when the function is not
  /// defined there.
  std::optional<double> value(uint8_t raw) const;
  /// A difference between raw bytes, such as a hysteresis or a tolerance, at the slope of a linear sensor; none for the
  /// other functions.
  std::optional<double> difference(double counts) const;
};

/// One sensor; a shared record describes several.
struct Sensor {
  uint8_t owner = 0x20;  // whole byte: slave address, or with bit 0 set a software ID
  uint8_t channel = 0;
  uint8_t lun = 0;
  uint8_t number = 0;
  std::string name;
  uint8_t entity_id = 0;
  uint8_t entity_instance = 0;
  bool entity_logical = false;
  uint8_t sensor_type = 0;
  uint8_t event_type = 0;  // event/reading type code
  std::string unit;        // "degrees C"; may be empty
  Factors factors;
  uint16_t record_id = 0;
  uint8_t record_type = 0;
  size_t record = 0;  // index in Repository::records

  // As in bytes 14 to 19 of full and compact records; 0 for event-only sensors.
  uint8_t threshold_access = 0;  // 0 none, 1 readable, 2 and settable, 3 fixed
  uint8_t comparison_mask = 0;   // thresholds whose comparison the state byte shows, bits as in the state byte
  uint8_t readable_mask = 0;     // thresholds the sensor has, bits as in Get Sensor Thresholds
  uint16_t state_mask = 0;       // states of a discrete sensor that a reading can show

  bool event_only() const { return record_type == IPMI_SDR_EVENT_ONLY; }
  bool is_threshold() const { return event_type == 1; }
  bool of_bmc() const { return owner == 0x20; }
  /// "1" or, on other LUNs, "1.1" (LUN.number); of other owners "0x2C/0.1".
  std::string address() const;
  /// A raw byte as a value with its unit: "43 degrees C"; none as Factors::value().
  std::optional<std::string> value_text(uint8_t raw) const;
};

/// All sensors of the repository, shared ones one by one.
std::vector<Sensor> sensors_of(const Repository& repository);

/// The sensor with this owner byte, LUN and number; null when there is none.
const Sensor* find_sensor(const std::vector<Sensor>& sensors, uint8_t owner, uint8_t lun, uint8_t number);

}  // namespace tool
