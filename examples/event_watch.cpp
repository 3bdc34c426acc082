// Follows the system event log: prints what is in it, then every event that is added.
//
//     c++ -std=c++20 event_watch.cpp $(pkg-config --cflags --libs lumipmi) -o event_watch && ./event_watch [SECONDS]
//
// Ends after so many seconds; without an argument it goes on until it is stopped.
#include <lumipmi/lumipmi.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <thread>

namespace {

constexpr uint16_t kFirst = 0x0000, kEnd = 0xFFFF;  // record IDs
constexpr uint8_t kSystemEvent = 0x02;              // record type

void print_event(const uint8_t (&raw)[16]) {
  IpmiSelEntry entry;
  ipmi_translate_sel_raw_data_to_entry(raw, &entry);
  std::printf("%04X ", entry.record_id);
  if (entry.record_type != kSystemEvent) {
    std::printf("record of type 0x%02X\n", entry.record_type);
    return;
  }
  const IpmiSelSystemEvent &event = entry.body.system;
  const auto seconds = static_cast<std::time_t>(event.timestamp);
  char time[32] = "";
  std::strftime(time, sizeof time, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&seconds));
  std::printf("%s sensor 0x%02X (type 0x%02X) %s, event type 0x%02X, data %02x %02x %02x\n", time, event.sensor_number,
              event.sensor_type, event.event_dir == 0 ? "asserted" : "deasserted", event.event_type,
              event.event_data[0], event.event_data[1], event.event_data[2]);
}

/// Prints all events behind `last`, from the beginning without one. Returns the first failure.
uint32_t print_new(std::optional<uint16_t> &last) {
  uint16_t count = 0;
  if (const uint32_t status = IPMIGetNumberOfSelEntries(&count); status != 0) return status;
  if (count == 0) {
    last.reset();  // the log was erased
    return 0;
  }
  uint8_t raw[16];
  uint16_t next = kFirst;
  if (last) {
    if (IPMIGetSel(*last, raw, &next) != 0) next = kFirst;  // that event has gone: begin again
  }
  while (next != kEnd) {
    const uint16_t id = next;
    if (const uint32_t status = IPMIGetSel(id, raw, &next); status != 0) return status;
    print_event(raw);
    last = static_cast<uint16_t>(raw[0] | raw[1] << 8);
  }
  std::fflush(stdout);
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  using Clock = std::chrono::steady_clock;
  const auto end = argc > 1 ? Clock::now() + std::chrono::seconds(std::atoi(argv[1])) : Clock::time_point::max();
  std::optional<uint16_t> last;
  for (;;) {
    if (const uint32_t status = print_new(last); status != 0) {
      std::fprintf(stderr, "event log: status 0x%08X: %s\n", static_cast<unsigned>(status),
                   get_ipmi_err_msg_string(static_cast<int32_t>(status)));
      return 1;
    }
    if (Clock::now() >= end) return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
  }
}
