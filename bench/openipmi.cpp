// The same image, record and readings through libOpenIPMI. Its decoders belong to a domain: a BMC that is connected. So
// there is one, behind a connection that answers from the table of bmc.cpp. What leads up to the decoding is prepared
// apart, so that only the decoding is measured.
// clang-format off
#include <OpenIPMI/ipmiif.h>
#include <OpenIPMI/ipmi_conn.h>
#include <OpenIPMI/ipmi_fru.h>
#include <OpenIPMI/ipmi_mc.h>
#include <OpenIPMI/ipmi_posix.h>
#include <OpenIPMI/ipmi_sdr.h>
extern "C" {
#include <OpenIPMI/internal/ipmi_sensor.h>  // needs the ones above
}
// clang-format on

#include <algorithm>
#include <array>
#include <cstring>
#include <deque>

#include "bmc.hpp"
#include "lumipmi/driver.h"
#include "operations.hpp"

namespace bench {
namespace {

// --- the connection: answers wait until they are delivered

struct Pending {
  ipmi_addr_t address;
  unsigned address_size;
  ipmi_msg_t message;
  uint8_t data[255];
  ipmi_ll_rsp_handler_t handler;
  ipmi_msgi_t* item;
};

std::deque<Pending> pending;
ipmi_con_t connection;
ipmi_ll_con_changed_cb on_change;
void* on_change_data;
ipmi_domain_id_t domain_id;

uint32_t answer(const ipmi_msg_t& request, uint8_t* response) {
  const std::vector<uint8_t>& image = fru_image();
  if (request.netfn == 0x0A && request.cmd == 0x10) {  // Get FRU Inventory Area Info
    const uint8_t info[] = {0, static_cast<uint8_t>(image.size()), static_cast<uint8_t>(image.size() >> 8), 0};
    std::memcpy(response, info, sizeof info);
    return sizeof info;
  }
  if (request.netfn == 0x0A && request.cmd == 0x11) {  // Read FRU Data
    const size_t offset = std::min<size_t>(request.data[1] + 256u * request.data[2], image.size());
    const size_t count = std::min<size_t>(request.data[3], image.size() - offset);
    response[0] = 0;
    response[1] = static_cast<uint8_t>(count);
    std::memcpy(response + 2, image.data() + offset, count);
    return static_cast<uint32_t>(2 + count);
  }
  uint32_t length = 0;
  IPMI_DoIPMICmd(request.netfn, request.cmd, request.data, request.data_len, response, &length);
  return length;
}

int send(ipmi_con_t*, const ipmi_addr_t* address, unsigned address_size, const ipmi_msg_t* request,
         ipmi_ll_rsp_handler_t handler, ipmi_msgi_t* item) {
  Pending& next = pending.emplace_back();
  std::memcpy(&next.address, address, address_size);
  if (next.address.addr_type == IPMI_IPMB_BROADCAST_ADDR_TYPE) next.address.addr_type = IPMI_IPMB_ADDR_TYPE;
  next.address_size = address_size;
  next.message.netfn = request->netfn | 1;
  next.message.cmd = request->cmd;
  next.message.data = next.data;
  next.message.data_len = static_cast<unsigned short>(answer(*request, next.data));
  next.handler = handler;
  next.item = item;
  return 0;
}

void deliver() {
  Pending& first = pending.front();
  ipmi_handle_rsp_item_copyall(&connection, first.item, &first.address, first.address_size, &first.message,
                               first.handler);
  pending.pop_front();
}

bool domain_is_up;

void connect(os_handler_t* os) {
  connection.os_hnd = os;
  connection.scan_sysaddr = 1;
  connection.start_con = [](ipmi_con_t* con) {
    on_change(con, 0, 0, 1, on_change_data);
    return 0;
  };
  connection.add_con_change_handler = [](ipmi_con_t*, ipmi_ll_con_changed_cb handler, void* data) {
    on_change = handler;
    on_change_data = data;
    return 0;
  };
  connection.remove_con_change_handler = [](ipmi_con_t*, ipmi_ll_con_changed_cb, void*) { return 0; };
  connection.add_ipmb_addr_handler = [](ipmi_con_t*, ipmi_ll_ipmb_addr_cb, void*) { return 0; };
  connection.remove_ipmb_addr_handler = [](ipmi_con_t*, ipmi_ll_ipmb_addr_cb, void*) { return 0; };
  connection.add_event_handler = [](ipmi_con_t*, ipmi_ll_evt_handler_t, void*) { return 0; };
  connection.remove_event_handler = [](ipmi_con_t*, ipmi_ll_evt_handler_t, void*) { return 0; };
  connection.send_command = send;
  connection.priv_level = 4;  // administrator
  expect(ipmi_con_attr_init(&connection) == 0, "ipmi_con_attr_init");

  ipmi_con_t* connections[] = {&connection};
  ipmi_open_option_t option = {};
  option.option = IPMI_OPEN_OPTION_ALL;  // ival 0: no scan
  expect(ipmi_open_domain(
             "bench", connections, 1, [](ipmi_domain_t*, int, unsigned, unsigned, int, void*) {}, nullptr,
             [](ipmi_domain_t*, void*) { domain_is_up = true; }, nullptr, &option, 1, &domain_id) == 0,
         "ipmi_open_domain");
  for (int i = 0; i < 1000 && !domain_is_up; ++i) {
    while (!pending.empty()) deliver();
    timeval wait = {0, 1000};
    os->perform_one_op(os, &wait);
  }
  expect(domain_is_up, "a domain of libOpenIPMI");
}

// --- the FRU image: all but the last answer are delivered beforehand, and the last one starts the decoding

ipmi_fru_t* fru;
bool fru_is_decoded;

void prepare_fru() {
  fru_is_decoded = false;
  const auto fetch = [](ipmi_domain_t* domain, void*) {
    const auto fetched = [](ipmi_domain_t*, ipmi_fru_t*, int error, void*) { fru_is_decoded = error == 0; };
    expect(ipmi_domain_fru_alloc(domain, 1, 0x20, 0, 0, 0, 0, fetched, nullptr, &fru) == 0, "ipmi_domain_fru_alloc");
    ipmi_fru_ref(fru);  // ipmi_fru_destroy uses it once more than it has been told
  };
  expect(ipmi_domain_pointer_cb(domain_id, fetch, nullptr) == 0, "ipmi_domain_pointer_cb");
  const uint8_t area_info_and_pieces_but_last = 16;
  for (int i = 0; i < area_info_and_pieces_but_last; ++i) deliver();
}

void parse_fru() {
  deliver();
  expect(fru_is_decoded, "FRU image of libOpenIPMI");
  ipmi_fru_destroy(
      fru, [](ipmi_fru_t*, void*) {}, nullptr);  // it calls the handler, also one that is null
}

// --- the sensor record, in a repository of its own

ipmi_sdr_info_t* sdrs;

void make_repository(ipmi_domain_t* domain, ipmi_mc_t* bmc, void*) {
  if (sdrs != nullptr) return;  // any of its controllers will do
  expect(ipmi_sdr_info_alloc(domain, bmc, 0, 0, &sdrs) == 0, "ipmi_sdr_info_alloc");
  ipmi_sdr_t sdr = {};
  sdr.record_id = 1;
  sdr.major_version = 1;
  sdr.minor_version = 5;
  sdr.type = kSensorRecord[3];
  sdr.length = kSensorRecord[4];
  std::memcpy(sdr.data, kSensorRecord + 5, kSensorRecord[4]);
  expect(ipmi_sdr_add(sdrs, &sdr) == 0, "ipmi_sdr_add");
}

void format_sensor_record() {
  const auto handle = [](ipmi_domain_t* domain, void*) {
    expect(ipmi_sensor_handle_sdrs(domain, nullptr, sdrs) == 0, "ipmi_sensor_handle_sdrs");
  };
  expect(ipmi_domain_pointer_cb(domain_id, handle, nullptr) == 0, "ipmi_domain_pointer_cb");
}

// --- readings, of sensors that belong to nothing

std::array<ipmi_sensor_t*, 12> sensors;

ipmi_sensor_t* make_sensor(int linearization) {
  ipmi_sensor_t* sensor = nullptr;
  expect(ipmi_sensor_alloc_nonstandard(&sensor) == 0, "ipmi_sensor_alloc_nonstandard");
  ipmi_sensor_cbs_t callbacks = ipmi_standard_sensor_cb;
  ipmi_sensor_set_callbacks(sensor, &callbacks);
  ipmi_sensor_set_event_reading_type(sensor, IPMI_EVENT_READING_TYPE_THRESHOLD);
  ipmi_sensor_set_analog_data_format(sensor, IPMI_ANALOG_DATA_FORMAT_UNSIGNED);
  ipmi_sensor_set_linearization(sensor, linearization);
  for (int raw = 0; raw < 256; ++raw) {
    ipmi_sensor_set_raw_m(sensor, raw, kM);
    ipmi_sensor_set_raw_b(sensor, raw, kB);
    ipmi_sensor_set_raw_r_exp(sensor, raw, kResultExponent);
    ipmi_sensor_set_raw_b_exp(sensor, raw, kBExponent);
  }
  return sensor;
}

template <uint8_t linearization>
void convert() {
  double value = 0;
  expect(ipmi_sensor_convert_from_raw(sensors[linearization], kRaw, &value) == 0, "ipmi_sensor_convert_from_raw");
  sink = value;
}

}  // namespace

std::vector<Operation> openipmi_operations() {
  os_handler_t* os = ipmi_posix_setup_os_handler();
  expect(os != nullptr && ipmi_init(os) == 0, "ipmi_init");
  os->set_log_handler(os, [](os_handler_t*, const char*, ipmi_log_type_e, va_list) {});
  connect(os);
  const auto each_controller = [](ipmi_domain_t* domain, void*) {
    ipmi_domain_iterate_mcs(domain, make_repository, nullptr);
  };
  ipmi_domain_pointer_cb(domain_id, each_controller, nullptr);
  expect(sdrs != nullptr, "a repository of libOpenIPMI");
  for (size_t i = 0; i < sensors.size(); ++i) sensors[i] = make_sensor(static_cast<int>(i));

  std::vector<Operation> all = {{"FRU image parsed", "openipmi", parse_fru, 0, prepare_fru},
                                {"full sensor record", "openipmi", format_sensor_record}};
  add_readings(all, "openipmi",
               {convert<0>, convert<1>, convert<2>, convert<3>, convert<4>, convert<5>, convert<6>, convert<7>,
                convert<8>, convert<9>, convert<10>, convert<11>});
  return all;
}

}  // namespace bench
