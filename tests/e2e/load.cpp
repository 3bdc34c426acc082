// Exchanges from several threads, every answer checked.
//
//     load own|shared EXCHANGES SENSOR=READING...    ends after so many; none may fail
//     load outage SECONDS SENSOR=READING...          goes on until SIGTERM; then each thread's last one must be good,
//                                                    before so many seconds have passed
//
// Each SENSOR=READING is a thread, which knows its own sensor and its own record of the event log, so that an answer to
// another thread is seen. "own": a handle for each thread; "shared": one for all; "outage": a new one after each
// failure.
#include <lumipmi/driver.h>
#include <lumipmi/lumipmi.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

std::atomic<bool> g_end;  // SIGTERM came
std::atomic<long> g_left, g_good, g_failed, g_wrong;
std::mutex g_mutex;  // of the two below
std::set<std::string> g_failures;
double g_longest = 0;
IpmiDeviceId g_device_id;

struct Thread {
  uint8_t sensor;
  uint8_t reading;
  uint16_t record;
  bool last_good;
};

IpmiHandle* connect() {
  const IpmiConnectParams params = {1, -1, -1, 0};
  IpmiHandle* handle;
  return ipmi_connect(&params, &handle) == 0 ? handle : nullptr;
}

/// One exchange; which one depends on `turn`. Returns its status, and whether the answer was the thread's own.
uint32_t exchange(IpmiHandle* handle, const Thread& thread, long turn, bool& right) {
  uint32_t status;
  if (turn % 3 == 0) {
    IpmiDeviceId id = {};
    status = ipmi_app_get_device_id(handle, &id);
    right = std::memcmp(&id, &g_device_id, sizeof id) == 0;
  } else if (turn % 3 == 1) {
    const IpmiSensorAddress address = {0x20, 0, thread.sensor};
    IpmiSensorReading reading;
    status = ipmi_se_get_sensor_reading(handle, &address, &reading);
    right = reading.reading == thread.reading;
  } else {
    IpmiSelEntry entry;
    uint16_t next;
    status = ipmi_storage_get_sel_entry(handle, thread.record, &next, &entry);
    right = entry.record_id == thread.record && next == thread.record + 1;
  }
  return status;
}

void count(Thread& thread, uint32_t status, bool right, double seconds) {
  thread.last_good = status == 0 && right;
  ++(status != 0 ? g_failed : right ? g_good : g_wrong);
  const std::lock_guard lock(g_mutex);
  if (seconds > g_longest) g_longest = seconds;
  if (status == 0) return;
  char text[32];
  std::snprintf(text, sizeof text, "status 0x%08X ", static_cast<unsigned>(status));
  g_failures.insert(text + std::string(lumipmi_driver_last_error()));
}

/// Exchanges until the budget or the time is used up.
void run(Thread& thread, IpmiHandle* shared, bool outage, Clock::time_point end) {
  IpmiHandle* handle = shared != nullptr ? shared : connect();
  const auto goes_on = [&] { return outage ? Clock::now() < end && !(g_end && thread.last_good) : --g_left >= 0; };
  for (long turn = 0; goes_on(); ++turn) {
    const Clock::time_point start = Clock::now();
    bool right = false;
    const uint32_t status = exchange(handle, thread, turn, right);
    count(thread, status, right, seconds_since(start));
    if (outage && status != 0) {
      ipmi_disconnect(handle);
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      handle = connect();
    }
  }
  if (shared == nullptr) ipmi_disconnect(handle);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 3 ? argv[1] : "";
  if (mode != "own" && mode != "shared" && mode != "outage") {
    std::fprintf(stderr, "usage: load own|shared|outage NUMBER SENSOR=READING...\n");
    return 2;
  }
  g_left = std::atol(argv[2]);
  std::vector<Thread> threads;
  for (int i = 3; i < argc; ++i) {
    char* reading = argv[i];
    const auto sensor = static_cast<uint8_t>(std::strtoul(argv[i], &reading, 0));
    threads.push_back(
        {sensor, static_cast<uint8_t>(std::strtoul(reading + 1, nullptr, 0)), static_cast<uint16_t>(i - 2), false});
  }
  IpmiHandle* first = connect();
  if (const uint32_t status = ipmi_app_get_device_id(first, &g_device_id); status != 0) {
    std::fprintf(stderr, "Get Device ID: status 0x%08X %s\n", static_cast<unsigned>(status),
                 lumipmi_driver_last_error());
    return 1;
  }
  std::signal(SIGTERM, [](int) { g_end = true; });
  const Clock::time_point start = Clock::now(), end = start + std::chrono::seconds(g_left);
  std::vector<std::thread> running;
  for (Thread& thread : threads)
    running.emplace_back([&] { run(thread, mode == "shared" ? first : nullptr, mode == "outage", end); });
  for (std::thread& thread : running) thread.join();
  const double seconds = seconds_since(start);
  ipmi_disconnect(first);

  bool good = g_wrong == 0 && (mode == "outage" || g_failed == 0);
  for (const Thread& thread : threads) good = good && thread.last_good;
  std::printf("\n");  // the library reports failures of the driver on standard output, without an end of line
  for (const std::string& failure : g_failures) std::printf("%s\n", failure.c_str());
  std::printf("%zu threads, %ld good, %ld failed, %ld wrong, longest %.2f s, %.2f s in all\n", threads.size(),
              g_good.load(), g_failed.load(), g_wrong.load(), g_longest, seconds);
  return good ? 0 : 1;
}
