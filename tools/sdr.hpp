// Fields of sensor data records for people and programs; `sdr show` and `sensors NAME` share them.
#pragma once

#include "tools/output.hpp"
#include "tools/sdr_walk.hpp"

namespace tool {

/// "Temperature (0x01)"; for programs code and name.
Cell code_cell(uint8_t code, const std::string& name);

/// "power supply 10.1"; for programs id, instance, name, logical.
Cell entity_cell(uint8_t id, uint8_t instance, bool logical);

/// A value with its unit, or nothing. For programs the number, without the noise of its last digits.
Cell value_cell(std::optional<double> value, const std::string& unit = "");

/// The cell, or for people a word in the place of nothing.
Cell or_text(Cell cell, const char* text);

/// Names joined by ", " or "none"; for programs an array.
Cell list_cell(const std::vector<std::string>& names);

/// Events of an event mask in words.
std::vector<std::string> event_names(const Sensor& sensor, uint16_t mask);

/// Raw thresholds in the order of Get Sensor Thresholds as far as `mask` has them: a line for each, highest first.
/// `factors`: those of each threshold.
Cell thresholds_cell(const Sensor& sensor, uint8_t mask, const uint8_t raw[6], const Factors factors[6]);

/// y = L[(M x + B 10^K1) 10^K2] with its numbers.
Cell factors_cell(const Factors& factors);

/// What the record says about the sensor, from its owner to its limits.
void add_sensor_facts(Record& out, const Sensor& sensor, const SdrRecord& record);

}  // namespace tool
