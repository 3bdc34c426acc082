// Names of IPMI v2.0 rev 1.1 for numbers: sensor types, units, entities, devices, software.
#pragma once

#include <cstdint>
#include <string>

namespace tool {

/// "Temperature" (table 42-3); "OEM 0xC1", "reserved 0x2D".
std::string sensor_type_name(uint8_t sensor_type);

/// What kind of states a sensor has (table 42-1): "threshold", "digital state", "sensor-specific", "OEM 0x70".
std::string event_type_name(uint8_t event_type);

/// "power supply" (table 43-13); "board-set specific 0xB1", "OEM 0xD0".
std::string entity_id_name(uint8_t entity_id);

/// "power supply 10.1", "PCI bus 48.1 (logical)"; `instance` without the logical bit.
std::string entity_name(uint8_t entity_id, uint8_t instance, bool logical = false);

/// "degrees C", "V", "RPM" (table 43-15); empty for unspecified.
std::string unit_name(uint8_t unit);

/// The unit of a sensor: "W/cm", "N*m", "errors/h", "%". Arguments as in IpmiSdrFullSensor.
std::string unit_text(uint8_t base, uint8_t modifier, uint8_t modifier_use, uint8_t rate, bool percentage);

/// "BIOS", "system management software" (table 5-4) from a 7-bit software ID.
std::string software_id_name(uint8_t software_id);

/// Who sends events or owns a sensor: "BMC", "controller 0x2C", "BIOS", "remote console software 1".
/// `id` whole: a slave address, or with bit 0 set a software ID in bits 7..1.
std::string owner_name(uint8_t id);

/// "24C02 EEPROM" (table 43-12).
std::string device_type_name(uint8_t device_type);

/// "full sensor", "FRU device locator".
std::string sdr_type_name(uint8_t record_type);

/// "linear", "1/x": the function of a linearization code; "non-linear" for 0x70 to 0x7F.
std::string linearization_name(uint8_t linearization);

}  // namespace tool
