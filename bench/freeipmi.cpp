// The same image, record, reading and event through libfreeipmi. It has a call for each piece of a record, so that
// decoding a record is the calls a listing of sensors makes.
#include <freeipmi/freeipmi.h>

#include <cstdlib>
#include <cstring>

#include "bmc.hpp"
#include "operations.hpp"

namespace bench {
namespace {

constexpr unsigned kCustomFields = 16;

struct Fru {
  uint8_t chassis_type;
  uint8_t board_language;
  uint8_t product_language;
  uint32_t manufactured;
  ipmi_fru_field_t fields[14];  // 2 of the chassis, 5 of the board, 7 of the product
  ipmi_fru_field_t custom[3][kCustomFields];
};

ipmi_fru_ctx_t fru_context;
ipmi_sdr_ctx_t sdr_context;
ipmi_sel_ctx_t sel_context;
Fru parsed;

void parse_into(Fru& fru) {
  const std::vector<uint8_t>& image = fru_image();
  expect(ipmi_fru_open_device_id_with_buffer(fru_context, image.data(), static_cast<unsigned>(image.size())) == 0,
         "ipmi_fru_open_device_id_with_buffer");
  ipmi_fru_field_t* f = fru.fields;
  do {
    unsigned type;
    unsigned length;
    uint8_t area[IPMI_FRU_AREA_SIZE_MAX / 64];
    expect(ipmi_fru_read_data_area(fru_context, &type, &length, area, sizeof area) == 0, "ipmi_fru_read_data_area");
    int result = -1;
    if (type == IPMI_FRU_AREA_TYPE_CHASSIS_INFO_AREA)
      result = ipmi_fru_chassis_info_area(fru_context, area, length, &fru.chassis_type, f, f + 1, fru.custom[0],
                                          kCustomFields);
    else if (type == IPMI_FRU_AREA_TYPE_BOARD_INFO_AREA)
      result = ipmi_fru_board_info_area(fru_context, area, length, &fru.board_language, &fru.manufactured, f + 2, f + 3,
                                        f + 4, f + 5, f + 6, fru.custom[1], kCustomFields);
    else if (type == IPMI_FRU_AREA_TYPE_PRODUCT_INFO_AREA)
      result = ipmi_fru_product_info_area(fru_context, area, length, &fru.product_language, f + 7, f + 8, f + 9, f + 10,
                                          f + 11, f + 12, f + 13, fru.custom[2], kCustomFields);
    expect(result == 0, "FRU area of libfreeipmi");
  } while (ipmi_fru_next(fru_context) == 1);
  ipmi_fru_close_device_id(fru_context);
}

void parse_fru() {
  static Fru fru;  // 32 KiB
  parse_into(fru);
}

void render(const ipmi_fru_field_t& field, uint8_t language) {
  char text[IPMI_FRU_AREA_STRING_MAX + 1];
  unsigned length = IPMI_FRU_AREA_STRING_MAX;
  if (field.type_length_field_length == 0) return;
  expect(ipmi_fru_type_length_field_to_string(fru_context, field.type_length_field, field.type_length_field_length,
                                              language, text, &length) == 0,
         "ipmi_fru_type_length_field_to_string");
}

void render_fru() {
  for (const ipmi_fru_field_t& field : parsed.fields) render(field, IPMI_FRU_LANGUAGE_CODE_ENGLISH);
  for (const auto& area : parsed.custom)
    for (const ipmi_fru_field_t& field : area) render(field, IPMI_FRU_LANGUAGE_CODE_ENGLISH);
}

void format_sensor_record() {
  const void* r = kSensorRecord;
  constexpr unsigned n = sizeof kSensorRecord;
  ipmi_sdr_ctx_t ctx = sdr_context;
  uint16_t id;
  uint8_t b[6];
  int16_t factor[2];
  int8_t exponent[2];
  double* values[6];
  char name[IPMI_SDR_MAX_ID_STRING_LENGTH + 1];
  int failures = 0;
  const auto free_values = [&values](size_t count) {
    for (size_t i = 0; i < count; ++i) std::free(values[i]);
  };
  failures += ipmi_sdr_parse_record_id_and_type(ctx, r, n, &id, b) < 0;
  failures += ipmi_sdr_parse_sensor_owner_id(ctx, r, n, b, b + 1) < 0;
  failures += ipmi_sdr_parse_sensor_owner_lun(ctx, r, n, b, b + 1) < 0;
  failures += ipmi_sdr_parse_sensor_number(ctx, r, n, b) < 0;
  failures += ipmi_sdr_parse_entity_id_instance_type(ctx, r, n, b, b + 1, b + 2) < 0;
  failures += ipmi_sdr_parse_sensor_type(ctx, r, n, b) < 0;
  failures += ipmi_sdr_parse_event_reading_type_code(ctx, r, n, b) < 0;
  failures += ipmi_sdr_parse_sensor_units(ctx, r, n, b, b + 1, b + 2, b + 3, b + 4) < 0;
  failures += ipmi_sdr_parse_sensor_capabilities(ctx, r, n, b, b + 1, b + 2, b + 3, b + 4) < 0;
  failures += ipmi_sdr_parse_sensor_decoding_data(ctx, r, n, exponent, exponent + 1, factor, factor + 1, b, b + 1) < 0;
  failures += ipmi_sdr_parse_threshold_readable(ctx, r, n, b, b + 1, b + 2, b + 3, b + 4, b + 5) < 0;
  failures += ipmi_sdr_parse_threshold_settable(ctx, r, n, b, b + 1, b + 2, b + 3, b + 4, b + 5) < 0;
  failures += ipmi_sdr_parse_hysteresis(ctx, r, n, b, b + 1) < 0;
  failures += ipmi_sdr_parse_sensor_reading_ranges_specified(ctx, r, n, b, b + 1, b + 2) < 0;
  failures +=
      ipmi_sdr_parse_sensor_reading_ranges(ctx, r, n, values, values + 1, values + 2, values + 3, values + 4) < 0;
  if (failures == 0) free_values(5);
  failures +=
      ipmi_sdr_parse_thresholds(ctx, r, n, values, values + 1, values + 2, values + 3, values + 4, values + 5) < 0;
  if (failures == 0) free_values(6);
  failures += ipmi_sdr_parse_id_string(ctx, r, n, name, sizeof name) < 0;
  expect(failures == 0, "ipmi_sdr_parse_* of libfreeipmi");
}

template <uint8_t linearization>
void convert() {
  double value = 0;
  expect(ipmi_sensor_decode_value(kResultExponent, kBExponent, kM, kB, linearization, 0, kRaw, &value) == 0,
         "ipmi_sensor_decode_value");
  sink = value;
}

void translate_event() {
  const void* r = kEvent;
  constexpr unsigned n = sizeof kEvent;
  ipmi_sel_ctx_t ctx = sel_context;
  uint16_t id;
  uint32_t time;
  uint8_t b[9];
  int failures = 0;
  failures += ipmi_sel_parse_read_record_id(ctx, r, n, &id) < 0;
  failures += ipmi_sel_parse_read_record_type(ctx, r, n, b) < 0;
  failures += ipmi_sel_parse_read_timestamp(ctx, r, n, &time) < 0;
  failures += ipmi_sel_parse_read_generator_id(ctx, r, n, b) < 0;
  failures += ipmi_sel_parse_read_ipmb_device_lun(ctx, r, n, b) < 0;
  failures += ipmi_sel_parse_read_channel_number(ctx, r, n, b) < 0;
  failures += ipmi_sel_parse_read_event_message_format_version(ctx, r, n, b) < 0;
  failures += ipmi_sel_parse_read_sensor_type(ctx, r, n, b) < 0;
  failures += ipmi_sel_parse_read_sensor_number(ctx, r, n, b) < 0;
  failures += ipmi_sel_parse_read_event_direction(ctx, r, n, b) < 0;
  failures += ipmi_sel_parse_read_event_type_code(ctx, r, n, b) < 0;
  failures += ipmi_sel_parse_read_event_data1(ctx, r, n, b) < 0;
  failures += ipmi_sel_parse_read_event_data2(ctx, r, n, b) < 0;
  failures += ipmi_sel_parse_read_event_data3(ctx, r, n, b) < 0;
  expect(failures == 0, "ipmi_sel_parse_read_* of libfreeipmi");
}

void state_text() {
  char** messages = nullptr;
  unsigned count = 0;
  expect(ipmi_get_event_messages(IPMI_EVENT_READING_TYPE_CODE_SENSOR_SPECIFIC, kSensorType, 0, kStates, 0, 0, &messages,
                                 &count, "none", IPMI_GET_EVENT_MESSAGES_FLAGS_DEFAULT) == 0 &&
             count == 2,
         "ipmi_get_event_messages");
  for (unsigned i = 0; i < count; ++i) std::free(messages[i]);
  std::free(messages);
}

}  // namespace

std::vector<Operation> freeipmi_operations() {
  fru_context = ipmi_fru_ctx_create(nullptr);
  sdr_context = ipmi_sdr_ctx_create();
  sel_context = ipmi_sel_ctx_create(nullptr, nullptr);
  expect(fru_context != nullptr && sdr_context != nullptr && sel_context != nullptr, "libfreeipmi");
  parse_into(parsed);
  std::vector<Operation> all = {{"FRU image parsed", "freeipmi", parse_fru},
                                {"FRU fields rendered", "freeipmi", render_fru},
                                {"full sensor record", "freeipmi", format_sensor_record},
                                {"SEL record", "freeipmi", translate_event},
                                {"state text", "freeipmi", state_text}};
  add_readings(all, "freeipmi",
               {convert<0>, convert<1>, convert<2>, convert<3>, convert<4>, convert<5>, convert<6>, convert<7>,
                convert<8>, convert<9>, convert<10>, convert<11>});
  return all;
}

}  // namespace bench
