#include "tools/names.hpp"

#include <iterator>

#include "lumipmi/sdr.h"
#include "tools/text.hpp"

namespace tool {

namespace {

/// The entry of a table of names; null behind its end and at its gaps.
template <size_t N>
const char* entry(const char* const (&table)[N], size_t index) {
  return index < N ? table[index] : nullptr;
}

std::string numbered(const char* kind, uint8_t number) {
  return std::string(kind) + " " + hex_number(number);
}

/// Table 42-3.
constexpr const char* kSensorTypes[] = {
    nullptr,
    "Temperature",
    "Voltage",
    "Current",
    "Fan",
    "Physical Security",
    "Platform Security Violation Attempt",
    "Processor",
    "Power Supply",
    "Power Unit",
    "Cooling Device",
    "Other Units-based Sensor",
    "Memory",
    "Drive Slot",
    "POST Memory Resize",
    "System Firmware Progress",
    "Event Logging Disabled",
    "Watchdog 1",
    "System Event",
    "Critical Interrupt",
    "Button/Switch",
    "Module/Board",
    "Microcontroller/Coprocessor",
    "Add-in Card",
    "Chassis",
    "Chip Set",
    "Other FRU",
    "Cable/Interconnect",
    "Terminator",
    "System Boot/Restart Initiated",
    "Boot Error",
    "Base OS Boot/Installation Status",
    "OS Stop/Shutdown",
    "Slot/Connector",
    "System ACPI Power State",
    "Watchdog 2",
    "Platform Alert",
    "Entity Presence",
    "Monitor ASIC/IC",
    "LAN",
    "Management Subsystem Health",
    "Battery",
    "Session Audit",
    "Version Change",
    "FRU State",
};

/// Table 42-1; the generic ones by their states in table 42-2.
constexpr const char* kEventTypes[] = {
    "unspecified",
    "threshold",
    "usage",
    "digital state",
    "predictive failure",
    "limit",
    "performance",
    "severity",
    "presence",
    "enablement",
    "availability",
    "redundancy",
    "ACPI device power state",
};

/// Table 43-13.
constexpr const char* kEntities[] = {
    "unspecified",
    "other",
    "unknown",
    "processor",
    "disk or disk bay",
    "peripheral bay",
    "system management module",
    "system board",
    "memory module",
    "processor module",
    "power supply",
    "add-in card",
    "front panel board",
    "back panel board",
    "power system board",
    "drive backplane",
    "system internal expansion board",
    "other system board",
    "processor board",
    "power unit",
    "power module",
    "power management board",
    "chassis back panel board",
    "system chassis",
    "sub-chassis",
    "other chassis board",
    "disk drive bay",
    "peripheral bay",
    "device bay",
    "fan",
    "cooling unit",
    "cable/interconnect",
    "memory device",
    "system management software",
    "system firmware",
    "operating system",
    "system bus",
    "group",
    "remote management communication device",
    "external environment",
    "battery",
    "processing blade",
    "connectivity switch",
    "processor/memory module",
    "I/O module",
    "processor/I/O module",
    "management controller firmware",
    "IPMI channel",
    "PCI bus",
    "PCI Express bus",
    "SCSI bus",
    "SATA/SAS bus",
    "processor bus",
    "real-time clock",
    nullptr,
    "air inlet",
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    "air inlet",
    "processor",
    "system board",
};

/// Table 43-15. Symbols where everybody knows them, words elsewhere.
constexpr const char* kUnits[] = {
    "",
    "degrees C",
    "degrees F",
    "K",
    "V",
    "A",
    "W",
    "J",
    "coulombs",
    "VA",
    "nits",
    "lumens",
    "lux",
    "candelas",
    "kPa",
    "psi",
    "N",
    "CFM",
    "RPM",
    "Hz",
    "us",
    "ms",
    "s",
    "min",
    "h",
    "days",
    "weeks",
    "mil",
    "in",
    "ft",
    "cu in",
    "cu ft",
    "mm",
    "cm",
    "m",
    "cu cm",
    "cu m",
    "l",
    "fl oz",
    "rad",
    "sr",
    "revolutions",
    "cycles",
    "g (gravity)",
    "oz",
    "lb",
    "ft-lb",
    "oz-in",
    "gauss",
    "gilberts",
    "H",
    "mH",
    "F",
    "uF",
    "ohms",
    "siemens",
    "mol",
    "Bq",
    "ppm",
    nullptr,
    "dB",
    "dBA",
    "dBC",
    "Gy",
    "Sv",
    "K (color temperature)",
    "bits",
    "kilobits",
    "megabits",
    "gigabits",
    "bytes",
    "kilobytes",
    "megabytes",
    "gigabytes",
    "words",
    "dwords",
    "qwords",
    "lines",
    "hits",
    "misses",
    "retries",
    "resets",
    "overruns",
    "underruns",
    "collisions",
    "packets",
    "messages",
    "characters",
    "errors",
    "correctable errors",
    "uncorrectable errors",
    "fatal errors",
    "g",
};

constexpr const char* kRates[] = {"", "/us", "/ms", "/s", "/min", "/h", "/day", "/rate 7"};

/// Table 43-12.
constexpr const char* kDevices[] = {
    nullptr,
    nullptr,
    "DS1624 temperature sensor and EEPROM",
    "DS1621 temperature sensor",
    "LM75 temperature sensor",
    "Heceta ASIC",
    nullptr,
    nullptr,
    "24C01 EEPROM",
    "24C02 EEPROM",
    "24C04 EEPROM",
    "24C08 EEPROM",
    "24C16 EEPROM",
    "24C17 EEPROM",
    "24C32 EEPROM",
    "24C64 EEPROM",
    "FRU inventory device",
    nullptr,
    nullptr,
    nullptr,
    "PCF 8570 256-byte RAM",
    "PCF 8573 clock/calendar",
    "PCF 8574A I/O port",
    "PCF 8583 clock/calendar",
    "PCF 8593 clock/calendar",
    "clock/calendar",
    "PCF 8591 A/D and D/A converter",
    "I/O port",
    "A/D converter",
    "D/A converter",
    "A/D and D/A converter",
    "LCD controller/driver",
    "core logic device",
    "LMC6874 battery controller",
    "battery controller",
    "combination management ASIC",
    "MAX1617 temperature sensor",
};

constexpr const char* kLinearizations[] = {"linear", "ln(x)", "log10(x)", "log2(x)", "e^x",     "10^x",
                                           "2^x",    "1/x",   "x^2",      "x^3",     "sqrt(x)", "cbrt(x)"};

}  // namespace

std::string sensor_type_name(uint8_t sensor_type) {
  if (const char* name = entry(kSensorTypes, sensor_type)) return name;
  return numbered(sensor_type >= 0xC0 ? "OEM" : "reserved", sensor_type);
}

std::string event_type_name(uint8_t event_type) {
  if (const char* name = entry(kEventTypes, event_type)) return name;
  if (event_type == 0x6F) return "sensor-specific";
  return numbered(event_type >= 0x70 && event_type <= 0x7F ? "OEM" : "reserved", event_type);
}

std::string entity_id_name(uint8_t entity_id) {
  if (const char* name = entry(kEntities, entity_id)) return name;
  if (entity_id >= 0xD0) return numbered("OEM", entity_id);
  if (entity_id >= 0xB0) return numbered("board-set specific", entity_id);
  if (entity_id >= 0x90) return numbered("chassis specific", entity_id);
  return numbered("reserved", entity_id);
}

std::string entity_name(uint8_t entity_id, uint8_t instance, bool logical) {
  std::string text = entity_id_name(entity_id) + " " + std::to_string(entity_id) + "." + std::to_string(instance);
  if (logical) text += " (logical)";
  return text;
}

std::string unit_name(uint8_t unit) {
  if (const char* name = entry(kUnits, unit)) return name;
  return numbered("unit", unit);
}

std::string unit_text(uint8_t base, uint8_t modifier, uint8_t modifier_use, uint8_t rate, bool percentage) {
  std::string text = unit_name(base);
  if (modifier_use == 1) text += "/" + unit_name(modifier);
  if (modifier_use == 2) text += "*" + unit_name(modifier);
  text += kRates[rate & 7];
  if (!percentage) return text;
  return text.empty() ? "%" : "% " + text;
}

std::string software_id_name(uint8_t software_id) {
  if (software_id < 0x10) return "BIOS";
  if (software_id < 0x20) return "SMI handler";
  if (software_id < 0x30) return "system management software";
  if (software_id < 0x40) return "OEM software";
  if (software_id < 0x47) return "remote console software " + std::to_string(software_id - 0x40 + 1);
  if (software_id == 0x47) return "terminal mode remote console software";
  return numbered("software", software_id);
}

std::string owner_name(uint8_t id) {
  if (id & 1) return software_id_name(id >> 1);
  return id == 0x20 ? "BMC" : numbered("controller", id);
}

std::string device_type_name(uint8_t device_type) {
  if (const char* name = entry(kDevices, device_type)) return name;
  if (device_type == 0xBF) return "other device";
  return numbered(device_type >= 0xC0 ? "OEM" : "reserved", device_type);
}

std::string sdr_type_name(uint8_t record_type) {
  switch (record_type) {
    case IPMI_SDR_FULL_SENSOR:
      return "full sensor";
    case IPMI_SDR_COMPACT_SENSOR:
      return "compact sensor";
    case IPMI_SDR_EVENT_ONLY:
      return "event-only sensor";
    case IPMI_SDR_ENTITY_ASSOCIATION:
      return "entity association";
    case IPMI_SDR_DEVICE_ENTITY_ASSOCIATION:
      return "device-relative entity association";
    case IPMI_SDR_GENERIC_LOCATOR:
      return "generic device locator";
    case IPMI_SDR_FRU_LOCATOR:
      return "FRU device locator";
    case IPMI_SDR_MC_LOCATOR:
      return "management controller locator";
    case IPMI_SDR_MC_CONFIRMATION:
      return "management controller confirmation";
    case IPMI_SDR_BMC_CHANNEL_INFO:
      return "BMC message channel info";
    case IPMI_SDR_OEM:
      return "OEM";
    default:
      return numbered("reserved", record_type);
  }
}

std::string linearization_name(uint8_t linearization) {
  if (const char* name = entry(kLinearizations, linearization)) return name;
  if (linearization == 0x70) return "non-linear";
  return numbered(linearization > 0x70 ? "non-linear, OEM" : "reserved", linearization);
}

}  // namespace tool
