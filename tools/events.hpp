// Events and states in words: IPMI v2.0 rev 1.1, tables 42-2 and 42-3 and the event data bytes of table 29-6.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/output.hpp"

namespace tool {

struct Sensor;

/// One state of a sensor.
struct StateText {
  std::string text;
  Severity severity = Severity::None;  // Ok, Warning, Critical; None where only the maker knows
};

/// A discrete state, or an event of a threshold sensor ("upper critical going high"), by its offset. States without a
/// name are shown by their number, never left out.
StateText state_text(uint8_t sensor_type, uint8_t event_type, uint8_t offset);

/// The discrete states whose bits are set, lowest offset first. Bit 15 is no state.
std::vector<StateText> states_of(uint8_t sensor_type, uint8_t event_type, uint16_t bits);

/// The thresholds that a threshold sensor has passed, worst first, from bits 5..0 of its state byte (Get Sensor
/// Reading, 35.14).
std::vector<StateText> threshold_states_of(uint8_t bits);

/// "lower non-critical" .. "upper non-recoverable" for threshold 0 to 5 in the order of Get Sensor Thresholds.
const char* threshold_name(unsigned index);
/// The same as a key: "lnc", "lc", "lnr", "unc", "uc", "unr".
const char* threshold_key(unsigned index);

Severity worst(Severity a, Severity b);
Severity worst(const std::vector<StateText>& states);

/// "ok", "warning", "critical"; null for None and Faint.
Json severity_json(Severity severity);

/// One event.
struct EventText {
  std::string what;                    // "upper critical going high", "power supply failure detected"
  std::string detail;                  // what event data bytes 2 and 3 add, "; " between; may be empty
  Severity severity = Severity::None;  // of a deassertion: Ok
};

/// Describes an event message. `direction`: 0 assertion, 1 deassertion; `data`: event data 1 to 3; `sensor`: the sensor
/// it came from, whose factors convert reading and threshold bytes; may be null.
EventText describe_event(uint8_t sensor_type, uint8_t event_type, uint8_t direction, const uint8_t data[3],
                         const Sensor* sensor);

}  // namespace tool
