// lumipmi info: what the BMC is, and how it feels.
#include <array>
#include <span>

#include "tools/settings.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

// IPMI v2.0 rev 1.1, 20.1, additional device support
constexpr Bit kSupport[] = {{0, "sensors"},
                            {1, "SDR repository"},
                            {2, "SEL"},
                            {3, "FRU inventory"},
                            {4, "IPMB event receiver"},
                            {5, "IPMB event generator"},
                            {6, "bridge"},
                            {7, "chassis"}};

// 20.4, result 57h
constexpr Bit kSelfTestFaults[] = {{7, "SEL device cannot be accessed"},
                                   {6, "SDR repository cannot be accessed"},
                                   {5, "FRU device of the BMC cannot be accessed"},
                                   {4, "IPMB signal lines do not respond"},
                                   {3, "SDR repository is empty"},
                                   {2, "internal use area of the BMC's FRU is corrupted"},
                                   {1, "boot block firmware is corrupted"},
                                   {0, "operational firmware is corrupted"}};

// 20.6 and 20.7
constexpr Word kSystemPower[] = {{0x00, "S0/G0, working"},
                                 {0x01, "S1, clocks stopped, context kept"},
                                 {0x02, "S2, clocks stopped, processor context lost"},
                                 {0x03, "S3, suspended to RAM"},
                                 {0x04, "S4, suspended to disk"},
                                 {0x05, "S5/G2, soft off"},
                                 {0x06, "S4 or S5, soft off"},
                                 {0x07, "G3, mechanical off"},
                                 {0x08, "S1, S2 or S3, sleeping"},
                                 {0x09, "G1, sleeping (S1 to S4)"},
                                 {0x0A, "S5, entered by override"},
                                 {0x20, "legacy on"},
                                 {0x21, "legacy off"},
                                 {0x2A, "unknown"}};
constexpr Word kDevicePower[] = {{0x00, "D0"}, {0x01, "D1"}, {0x02, "D2"}, {0x03, "D3"}, {0x2A, "unknown"}};

Cell number_cell(uint32_t value, int width) {
  return Cell(std::to_string(value) + " (" + hex_number(value, width) + ")", value);
}

std::string two_digits(uint8_t value) {
  return hex_number(value).substr(2);
}

Record device_record(const IpmiDeviceId& id) {
  Record record{.key = "device", .title = "Management controller", .fields = {}};
  record.add("device_id", "Device ID", number_cell(id.deviceId, 2));
  record.add("device_revision", "Device revision", Cell(std::to_string(id.deviceRevision), id.deviceRevision));
  record.add("provides_device_sdrs", "Provides device SDRs", yes_no(id.providesSdrs != 0));
  const bool available = id.deviceAvailable == 0;
  record.add("available", "Operation",
             available ? Cell("normal", true, Severity::Ok)
                       : Cell("firmware update or initialization in progress", false, Severity::Warning));
  record.add("firmware", "Firmware", std::to_string(id.firmwareMajor) + "." + two_digits(id.firmwareMinor));
  Cell auxiliary("none", nullptr, Severity::Faint);
  if (id.auxPresent != 0) auxiliary = Cell(hex_bytes(id.auxFirmwareRevision));
  record.add("firmware_auxiliary", "Auxiliary firmware bytes", auxiliary);
  // BCD with the digits swapped: 51h is 1.5
  record.add("ipmi_version", "IPMI version",
             hex_number(id.ipmiVersion & 0x0F, 1).substr(2) + "." + hex_number(id.ipmiVersion >> 4, 1).substr(2));
  record.add("manufacturer_id", "Manufacturer ID",
             number_cell(id.manufacturerIdLow | uint32_t{id.manufacturerIdHigh} << 16, 6));
  record.add("product_id", "Product ID", number_cell(id.productId, 4));

  record.add("support", "Device support", bits_cell(kSupport, id.additionalSupport));
  return record;
}

Cell self_test_cell(const IpmiSelfTestResult& result) {
  const auto code = static_cast<uint8_t>(result.result);
  const auto cell = [&](const std::string& text, Severity severity) {
    return Cell(text, Json{{"result", code}, {"detail", result.detail}, {"text", text}}, severity);
  };
  switch (code) {
    case 0x55:
      return cell("passed", Severity::Ok);
    case 0x56:
      return cell("not implemented", Severity::Faint);
    case 0x57:
      return cell("failed: " + joined(bits_of(kSelfTestFaults, result.detail)), Severity::Critical);
    case 0x58:
      return cell("fatal hardware error, detail " + hex_number(result.detail), Severity::Critical);
    default:
      return cell("device-specific result " + hex_number(code) + ", detail " + hex_number(result.detail),
                  Severity::Warning);
  }
}

Cell power_cell(std::span<const Word> words, uint8_t state) {
  state &= 0x7F;
  const std::string text = word_of(words, state, "reserved value");
  return Cell(text, Json{{"state", state}, {"text", text}});
}

Cell guid_cell(std::span<const uint8_t, 16> guid) {
  const std::string text = guid_text(guid);
  return Cell(text, Json{{"text", text}, {"received", hex_bytes(guid)}});
}

/// A text that the system's owner, firmware or operating system has stored in the BMC.
struct StoredText {
  const char* key;
  const char* label;
  uint32_t (*read)(char* text, uint32_t capacity);
};
constexpr uint32_t kLongestText = 256;  // with its terminator

uint32_t read_unit_tag(char* text, uint32_t) {
  IPMIServiceInfo info = {.unitTag = text, .unitTagSize = kLongestText - 1};
  return IPMIGetServiceInfo(&info);
}

/// One call for three texts and a byte; the asset tag is the last of them.
uint32_t read_asset_tag(char* text, uint32_t) {
  std::array<char, kLongestText> ignored = {};
  IPMISystemInfo info = {};
  info.systemInfoString = info.unitTag = ignored.data();
  info.systemInfoStringSize = info.unitTagSize = info.assetTagSize = kLongestText - 1;
  info.assetTag = text;
  return IPMIGetSystemInfo(&info);
}

constexpr StoredText kTexts[] = {{"unit_tag", "Unit tag", read_unit_tag},
                                 {"asset_tag", "Asset tag", read_asset_tag},
                                 {"bios", "BIOS version", IPMIGetBIOSVersion},
                                 {"host_name", "Host name", IPMIGetHostSystemName},
                                 {"operating_system", "Operating system", IPMIGetOSName}};

Record system_record(Parts& parts) {
  Record record{"system", "System", {}};
  for (const StoredText& stored : kTexts) {
    std::array<char, kLongestText> text = {};
    record.add(
        stored.key, stored.label,
        parts.cell(
            "Get System Info Parameters", [&](IpmiHandle*) { return stored.read(text.data(), kLongestText - 1); },
            [&] {
              return text[0] == '\0' ? Cell("none", nullptr, Severity::Faint)
                                     : Cell(to_utf8(std::string_view(text.data())));
            },
            stored.label));
  }
  return record;
}

void run_info(Session& session, Document& document) {
  IpmiDeviceId id = {};
  session.check(ipmi_app_get_device_id(session.handle(), &id), "Get Device ID");
  document.sections.push_back(device_record(id));

  Parts parts(session, document);
  Cell missing;
  Record health{.key = "health", .title = "State", .fields = {}};
  IpmiSelfTestResult self_test = {};
  const bool tested = parts.ask(
      "Get Self Test Results", [&](IpmiHandle* bmc) { return ipmi_app_get_self_test_results(bmc, &self_test); },
      missing);
  health.add("self_test", "Self test", tested ? self_test_cell(self_test) : missing);

  uint16_t power = 0;  // system state in the low byte, device state in the high byte
  const bool powered = parts.ask(
      "Get ACPI Power State", [&](IpmiHandle* bmc) { return ipmi_app_get_acpi_power_state(bmc, &power); }, missing);
  health.add("system_power_state", "ACPI system power state",
             powered ? power_cell(kSystemPower, static_cast<uint8_t>(power & 0xFF)) : missing);
  health.add("device_power_state", "ACPI device power state",
             powered ? power_cell(kDevicePower, static_cast<uint8_t>(power >> 8)) : missing);
  document.sections.push_back(health);

  Record identity{.key = "guid", .title = "Identity", .fields = {}};
  std::array<uint8_t, 16> guid = {};
  const bool has_device_guid = parts.ask(
      "Get Device GUID", [&](IpmiHandle* bmc) { return ipmi_app_get_device_guid(bmc, guid.data()); }, missing);
  identity.add("device", "Device GUID", has_device_guid ? guid_cell(guid) : missing);
  const bool has_system_guid = parts.ask(
      "Get System GUID", [&](IpmiHandle* bmc) { return ipmi_app_get_system_guid(bmc, guid.data()); }, missing);
  identity.add("system", "System GUID", has_system_guid ? guid_cell(guid) : missing);
  document.sections.push_back(identity);
  document.sections.push_back(system_record(parts));
}

}  // namespace

void add_info(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand(
      "info",
      "What the BMC is: identity, versions, abilities, self test, ACPI power state, GUIDs; and names of the system");
  command->callback(
      [&context] { context.run = [&context](Document& document) { run_info(context.session, document); }; });
}

}  // namespace tool
