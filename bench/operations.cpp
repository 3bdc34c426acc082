#include "operations.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string_view>

#include "bmc.hpp"
#include "lumipmi/lumipmi.h"

namespace bench {

volatile double sink;

void fail(const char* what) {
  std::fprintf(stderr, "bench: %s failed\n", what);
  std::exit(1);
}

namespace {

struct Field {
  uint8_t type;
  std::string_view data;
};

/// Appends an area of this size: its first bytes, its fields, the end marker, zeros, the checksum.
void add_area(std::vector<uint8_t>& image, size_t size, std::initializer_list<uint8_t> start,
              std::initializer_list<Field> fields) {
  const size_t first = image.size();
  image.push_back(1);
  image.push_back(static_cast<uint8_t>(size / 8));
  image.insert(image.end(), start);
  for (const Field& field : fields) {
    image.push_back(static_cast<uint8_t>(size_t{field.type} << 6 | field.data.size()));
    image.insert(image.end(), field.data.begin(), field.data.end());
  }
  image.push_back(0xC1);
  expect(image.size() < first + size, "an area that is large enough");
  image.resize(first + size);
  uint8_t sum = 0;
  for (size_t i = first; i < image.size(); ++i) sum = static_cast<uint8_t>(sum + image[i]);
  image.back() = static_cast<uint8_t>(-sum);
}

std::vector<uint8_t> make_fru_image() {
  constexpr uint8_t kBinary = IPMI_FIELD_BINARY;
  constexpr uint8_t kSixBit = IPMI_FIELD_6BIT_ASCII;
  constexpr uint8_t kText = IPMI_FIELD_TEXT;
  std::vector<uint8_t> image = {1, 0, 1, 17, 39, 0, 0, 0};
  add_area(image, 128, {0x17},
           {{kText, "CH-2U-8821-A00"},
            {kText, "SN-CH-00017734"},
            {kText, "chassis custom 1, 28 bytes.."},
            {kText, "chassis custom 2, 28 bytes.."},
            {kText, "chassis custom 3, 24 by"}});
  add_area(image, 176, {0x19, 0x40, 0x42, 0xDF},
           {{kText, "Reference Systems Inc."},
            {kText, "Mainboard of two sockets"},
            {kText, "SN-MB-0A11B22C33"},
            {kSixBit, "\x64\xC9\xB2\x5A\x86\x11"},
            {kText, "mainboard-2.fru"},
            {kText, "board custom 1: revision C"},
            {kText, "board custom 2: lab 7"},
            {kBinary, "\x20\x24\x11\x05"}});
  add_area(image, 200, {0x19},
           {{kText, "Reference Systems Inc."},
            {kText, "Reference Server 100"},
            {kText, "RS-100-2U"},
            {kText, "v2.04"},
            {kText, "SN-RS-9988776655"},
            {kText, "asset 4711-0815"},
            {kText, "server-100.fru"},
            {kText, "product custom 1: row 12"},
            {kText, "product custom 2: rack 4"},
            {kText, "product custom 3"}});
  uint8_t sum = 0;
  for (size_t i = 0; i < 7; ++i) sum = static_cast<uint8_t>(sum + image[i]);
  image[7] = static_cast<uint8_t>(-sum);
  expect(image.size() == 512, "FRU image of 512 bytes");
  return image;
}

IpmiHandle* handle;
IpmiFruInfo parsed;

void get_device_id() {
  IpmiDeviceId id;
  expect(ipmi_app_get_device_id(handle, &id) == 0, "ipmi_app_get_device_id");
}

void get_lan_mac() {
  uint8_t mac[6];
  expect(ipmi_get_lan_mac(handle, 1, IPMI_LAN_MAC_ADDRESS, mac) == 0, "ipmi_get_lan_mac");
}

void get_lan_configuration() {
  IPMILanConfig config;
  expect(IPMIGetLanConfiguration(&config) == 0, "IPMIGetLanConfiguration");
}

void get_sdr() {
  uint32_t length;
  uint8_t bytes[64];
  uint32_t next;
  expect(IPMIGetSDR(1, &length, bytes, &next) == IPMI_SDR_READ, "IPMIGetSDR");
}

void get_sel_info_hw() {
  uint8_t response[36];
  uint32_t length = sizeof response;
  expect(IPMISELGetSELInfo_HW(response, &length) == IPMI_HW_OK, "IPMISELGetSELInfo_HW");
}

void free_fru(IpmiFruInfo& info) {
  ipmi_free_fru_info(&info);
  std::free(info.chassis_custom_fields);
  std::free(info.board_custom_fields);
  std::free(info.product_custom_fields);
}

void parse(IpmiFruInfo& info) {
  const std::vector<uint8_t>& image = fru_image();
  expect(ipmi_parse_ipmi_fru_data(&info, static_cast<uint16_t>(image.size()), image.data()) == 0,
         "ipmi_parse_ipmi_fru_data");
}

void parse_fru() {
  IpmiFruInfo info;
  parse(info);
  free_fru(info);
}

void render(const IpmiFruField* fields, size_t count, uint8_t language) {
  char text[191];
  for (size_t i = 0; i < count; ++i)
    expect(ipmi_hlp_get_fru_field(text, sizeof text, fields + i, language) == 0, "ipmi_hlp_get_fru_field");
}

void render_fru() {
  render(&parsed.chassis_part_number, 2, 0);
  render(parsed.chassis_custom_fields, parsed.chassis_custom_count, 0);
  render(&parsed.board_manufacturer, 5, parsed.board_language_code);
  render(parsed.board_custom_fields, parsed.board_custom_count, parsed.board_language_code);
  render(&parsed.product_manufacturer, 7, parsed.product_language_code);
  render(parsed.product_custom_fields, parsed.product_custom_count, parsed.product_language_code);
}

void format_sensor_record() {
  IpmiSdrInfo info;
  expect(ipmi_hlp_format_sdr_record(sizeof kSensorRecord, kSensorRecord, &info) == 0, "ipmi_hlp_format_sdr_record");
}

template <uint8_t linearization>
void convert() {
  double value = 0;
  ipmi_hlp_calculate_reading_value(0, linearization, kM, kB, kResultExponent, kBExponent, kRaw, &value);
  sink = value;
}

void translate_event() {
  IpmiSelEntry entry;
  ipmi_translate_sel_raw_data_to_entry(kEvent, &entry);
  sink = entry.body.system.sensor_number;
}

void state_text() {
  static const char* const kProcessor[] = {"IERR",
                                           "Thermal Trip",
                                           "FRB1/BIST failure",
                                           "FRB2/Hang in POST failure",
                                           "FRB3/Processor Startup/Initialization failure",
                                           "Configuration Error",
                                           "SM BIOS Uncorrectable CPU-complex Error",
                                           "Processor Presence detected",
                                           "Processor disabled",
                                           "Terminator Presence Detected",
                                           "Processor Automatically Throttled"};
  const uint8_t bits[2] = {kStates & 0xFF, kStates >> 8};
  char text[128];
  expect(ipmi_hlp_gen_every_msg_by_bits(nullptr, bits, sizeof bits, sizeof kProcessor / sizeof *kProcessor, kProcessor,
                                        0, "none", ", ", text, sizeof text) == 0,
         "ipmi_hlp_gen_every_msg_by_bits");
}

template <uint32_t records>
void walk_log() {
  set_log_size(records);
  uint16_t id = 0;
  for (uint32_t n = 0; n < records; ++n) {
    IpmiSelEntry entry;
    expect(ipmi_storage_get_sel_entry(handle, id, &id, &entry) == 0, "ipmi_storage_get_sel_entry");
  }
  expect(id == 0xFFFF, "the end of the log");
}

template <uint32_t records>
void walk_repository() {
  set_repository_size(records);
  uint16_t reservation = 0x1234;
  uint16_t id = 0;
  for (uint32_t n = 0; n < records; ++n) {
    uint8_t bytes[64];
    uint16_t size = sizeof bytes;
    IpmiSdrInfo info;
    expect(ipmi_get_sdr_record(handle, &reservation, id, &id, &size, bytes) == 0, "ipmi_get_sdr_record");
    expect(ipmi_hlp_format_sdr_record(size, bytes, &info) == 0, "ipmi_hlp_format_sdr_record");
  }
  expect(id == 0xFFFF, "the end of the repository");
}

}  // namespace

const std::vector<uint8_t>& fru_image() {
  static const std::vector<uint8_t> image = make_fru_image();
  return image;
}

size_t requests_of(const Operation& operation) {
  if (operation.records != 0 || std::strcmp(operation.library, "lumipmi") != 0) return 0;
  record();
  operation.run();
  replay();  // ends the recording
  return recorded();
}

void add_readings(std::vector<Operation>& all, const char* library, const std::array<void (*)(), 12>& convert) {
  static constexpr const char* kRows[12] = {"reading, linear", "reading, ln",   "reading, log10", "reading, log2",
                                            "reading, e^x",    "reading, 10^x", "reading, 2^x",   "reading, 1/x",
                                            "reading, x^2",    "reading, x^3",  "reading, sqrt",  "reading, cbrt"};
  for (size_t i = 0; i < convert.size(); ++i) all.push_back({kRows[i], library, convert[i]});
}

std::vector<Operation> operations() {
  const IpmiConnectParams params = {1, -1, -1, 0};
  expect(ipmi_connect(&params, &handle) == 0, "ipmi_connect");
  parse(parsed);

  std::vector<Operation> all = {
      {"ipmi_app_get_device_id", "lumipmi", get_device_id},
      {"ipmi_get_lan_mac", "lumipmi", get_lan_mac},
      {"IPMIGetLanConfiguration", "lumipmi", get_lan_configuration},
      {"IPMIGetSDR", "lumipmi", get_sdr},
      {"IPMISELGetSELInfo_HW", "lumipmi", get_sel_info_hw},
      {"FRU image parsed", "lumipmi", parse_fru},
      {"FRU fields rendered", "lumipmi", render_fru},
      {"full sensor record", "lumipmi", format_sensor_record},
      {"SEL record", "lumipmi", translate_event},
      {"state text", "lumipmi", state_text},
  };
  add_readings(all, "lumipmi",
               {convert<0>, convert<1>, convert<2>, convert<3>, convert<4>, convert<5>, convert<6>, convert<7>,
                convert<8>, convert<9>, convert<10>, convert<11>});
  const Operation growth[] = {
      {"SEL of 10", "lumipmi", walk_log<10>, 10},
      {"SEL of 1000", "lumipmi", walk_log<1000>, 1000},
      {"SEL of 65000", "lumipmi", walk_log<65000>, 65000},
      {"SDR repository of 10", "lumipmi", walk_repository<10>, 10},
      {"SDR repository of 500", "lumipmi", walk_repository<500>, 500},
      {"SDR repository of 5000", "lumipmi", walk_repository<5000>, 5000},
  };
  all.insert(all.end(), std::begin(growth), std::end(growth));
  for (const auto& peers : {freeipmi_operations(), openipmi_operations()})
    all.insert(all.end(), peers.begin(), peers.end());
  return all;
}

}  // namespace bench
