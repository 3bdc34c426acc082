#include "tools/seam.hpp"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tools/text.hpp"

namespace tool::seam {

namespace {

struct State {
  uint8_t lun = 0;
  bool verbose = false;
  size_t exchanges = 0;
  size_t failures_in_a_row = 0;
  ExchangeRecord last;
  DriverFailure failure;
};
State g_state;

/// Looks a function up in the objects behind this program, in the loader's order: a preloaded library comes before the
/// libraries that the program was linked with. Null when nobody defines it.
template <typename Function>
void find_next(Function*& function, const char* name) {
  function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// The tool runs with whatever driver the library was built for: only the first of these is certain to exist.
struct Driver {
  decltype(IPMI_DoIPMICmd)* exchange;
  decltype(lumipmi_driver_exchange)* exchange_with_lun;
  decltype(lumipmi_driver_select)* select;
  decltype(lumipmi_driver_set_timeout)* set_timeout;
  decltype(lumipmi_driver_transport)* transport;
  decltype(lumipmi_driver_last_cause)* last_cause;
  decltype(lumipmi_driver_last_error)* last_error;

  Driver() {
    find_next(exchange, "IPMI_DoIPMICmd");
    find_next(exchange_with_lun, "lumipmi_driver_exchange");
    find_next(select, "lumipmi_driver_select");
    find_next(set_timeout, "lumipmi_driver_set_timeout");
    find_next(transport, "lumipmi_driver_transport");
    find_next(last_cause, "lumipmi_driver_last_cause");
    find_next(last_error, "lumipmi_driver_last_error");
  }
};

const Driver& driver() {
  static const Driver instance;
  return instance;
}

std::string file_of(const void* address) {
  Dl_info info = {};
  return dladdr(address, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : "an unknown file";
}

std::string exchange_file() {
  return file_of(reinterpret_cast<const void*>(driver().exchange));
}

/// Whether the requests go to the library that has the lumipmi_driver_* functions.
bool is_own_driver() {
  return driver().exchange_with_lun != nullptr &&
         exchange_file() == file_of(reinterpret_cast<const void*>(driver().exchange_with_lun));
}

std::string driver_description() {
  return exchange_file() + (is_own_driver() ? std::string(" (") + driver().transport() + ")" : "");
}

int32_t fail(int32_t cause, std::string text) {
  g_state.failure = {cause, std::move(text)};
  return 1;
}

int32_t pass_on(uint8_t net_fn, uint8_t cmd, const uint8_t* data, uint16_t length, uint8_t* response,
                uint32_t* response_length) {
  const Driver& next = driver();
  if (next.exchange == nullptr)
    return fail(LUMIPMI_CAUSE_NO_DEVICE, "no library defines IPMI_DoIPMICmd; install liblumipmi-driver");
  int32_t result = 0;
  if (g_state.lun == 0) {
    result = next.exchange(net_fn, cmd, data, length, response, response_length);
  } else if (is_own_driver()) {
    result = next.exchange_with_lun(g_state.lun, net_fn, cmd, data, length, response, response_length);
  } else {
    return fail(LUMIPMI_CAUSE_BAD_ARGUMENT, "the driver in " + exchange_file() + " cannot address LUN " +
                                                std::to_string(g_state.lun) + "; only liblumipmi-driver can");
  }
  if (result == 0 && *response_length == 0) {
    fail(LUMIPMI_CAUSE_NONE, "the driver in " + exchange_file() + " returned an answer without a completion code");
  } else if (result != 0) {
    const int32_t cause = next.last_cause != nullptr ? next.last_cause() : LUMIPMI_CAUSE_NONE;
    fail(cause, cause != LUMIPMI_CAUSE_NONE
                    ? next.last_error()
                    : "the driver in " + exchange_file() + " failed with " + std::to_string(result));
  }
  return result;
}

void print(const std::string& line) {
  std::fprintf(stderr, "%s\n", line.c_str());
}

std::string spaced(const Bytes& bytes) {
  return bytes.empty() ? "" : " " + hex_bytes(bytes);
}

void print_request(const ExchangeRecord& record) {
  if (g_state.exchanges == 1) print("driver: " + driver_description());
  const std::string lun = record.lun != 0 ? " LUN " + std::to_string(record.lun) : "";
  print("> NetFn " + hex_number(record.net_fn) + lun + " cmd " + hex_number(record.cmd) + spaced(record.request));
}

void print_reply(const ExchangeRecord& record) {
  if (record.answered)
    print("< cc" + spaced({record.completion}) + spaced(record.reply));
  else
    print("< no answer: " + to_utf8(g_state.failure.text));
}

}  // namespace

void set_lun(uint8_t lun) {
  g_state.lun = lun;
}

void set_verbose(bool verbose) {
  g_state.verbose = verbose;
}

bool verbose() {
  return g_state.verbose;
}

void note(const std::string& line) {
  if (g_state.verbose) print(line);
}

size_t exchanges() {
  return g_state.exchanges;
}

const ExchangeRecord& last() {
  return g_state.last;
}

const DriverFailure& failure() {
  return g_state.failure;
}

size_t failures_in_a_row() {
  return g_state.failures_in_a_row;
}

void select_transport(const std::string& transport) {
  if (driver().select == nullptr)
    throw Failure(Exit::Usage, "--driver: the driver in " + exchange_file() + " has no transports to select");
  if (driver().select(transport.c_str()) != 0)
    throw Failure(Exit::Usage, "--driver: " + to_utf8(driver().last_error()));
  if (!is_own_driver())
    print("lumipmi: requests go to " + exchange_file() + "; --driver counts only if it passes them on");
}

std::string destination() {
  return driver_description();
}

bool is_recorded() {
  const char* trace = secure_getenv("LUMIPMI_TRACE");
  return (trace != nullptr && *trace != '\0') ||
         (is_own_driver() && std::string(driver().transport()).starts_with("replay"));
}

void set_timeout(uint32_t ms) {
  if (driver().set_timeout == nullptr)
    throw Failure(Exit::Usage, "--timeout: the driver in " + exchange_file() + " has no time-out to set");
  driver().set_timeout(ms);
}

}  // namespace tool::seam

using namespace tool;  // NOLINT: the function below stands outside of it

extern "C" int32_t IPMI_DoIPMICmd(uint8_t netFn, uint8_t cmd, const uint8_t* data, uint16_t dataLength,
                                  uint8_t* response, uint32_t* responseLength) {
  ExchangeRecord& record = seam::g_state.last;
  record = {.net_fn = netFn, .lun = seam::g_state.lun, .cmd = cmd, .request = {}, .reply = {}};
  if (dataLength != 0) record.request.assign(data, data + dataLength);
  ++seam::g_state.exchanges;
  if (seam::g_state.verbose) seam::print_request(record);

  const int32_t result = seam::pass_on(netFn, cmd, data, dataLength, response, responseLength);
  record.answered = result == 0 && *responseLength > 0;
  if (record.answered) {
    record.completion = response[0];
    record.reply.assign(response + 1, response + std::min<uint32_t>(*responseLength, LUMIPMI_DRIVER_MAX_RESPONSE));
  }
  seam::g_state.failures_in_a_row = record.answered ? 0 : seam::g_state.failures_in_a_row + 1;
  if (seam::g_state.verbose) seam::print_reply(record);
  return result;
}
