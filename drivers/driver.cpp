// The exported functions, and the links of which each exchange holds one.
//
// An exchange waits for a free link (first come, first served), uses it alone, and gives it back. The mutex covers only
// this bookkeeping, never an exchange, so no wait outlasts the deadline of the thread that waits. Closing and selecting
// just raise the generation: links not in use are closed at once, the others by the exchange that holds them.
#include <pthread.h>
#include <stdlib.h>
#include <string.h>

#include "drivers/recording.hpp"
#include "drivers/transport.hpp"

namespace lumi::driver {

namespace {

constexpr size_t kLinks = 4;
constexpr uint32_t kDefaultTimeoutMs = 5000;
constexpr uint32_t kMaxEnvironmentTimeoutMs = 3'600'000;

/// A thread in line for a link, on its own stack.
struct Waiter {
  Waiter* next = nullptr;
  Link* granted = nullptr;
  pthread_cond_t wake;
};

struct State {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  bool selected = false;  // address is valid
  Address address;
  unsigned generation = 1;
  char name_in_use[sizeof(Address::name)] = "";
  uint32_t timeout_ms = 0;  // 0: not read from the environment yet
  bool recording_started = false;
  Link links[kLinks];
  Waiter* first = nullptr;  // the line, oldest first
};

constinit State g_state;
constinit pthread_once_t g_once = PTHREAD_ONCE_INIT;
pthread_condattr_t g_monotonic;  // set up by prepare_process

void before_fork() {
  pthread_mutex_lock(&g_state.mutex);
}

void after_fork_in_parent() {
  pthread_mutex_unlock(&g_state.mutex);
}

/// The links belong to the parent, and the threads that used or awaited them do not exist here.
void after_fork_in_child() {
  g_state.first = nullptr;
  for (Link& link : g_state.links) {
    close_link(link);
    link.in_use = false;
    link.generation = 0;
  }
  pthread_mutex_unlock(&g_state.mutex);
}

void prepare_process() {
  pthread_condattr_init(&g_monotonic);
  pthread_condattr_setclock(&g_monotonic, CLOCK_MONOTONIC);
  pthread_atfork(before_fork, after_fork_in_parent, after_fork_in_child);
}

class Locked {
 public:
  Locked() {
    pthread_once(&g_once, prepare_process);
    pthread_mutex_lock(&g_state.mutex);
  }
  ~Locked() { pthread_mutex_unlock(&g_state.mutex); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
};

/// An exchange always gives its link back: a cancelled thread would take it along.
class NoCancellation {
 public:
  NoCancellation() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  ~NoCancellation() { pthread_setcancelstate(before_, nullptr); }
  NoCancellation(const NoCancellation&) = delete;
  NoCancellation& operator=(const NoCancellation&) = delete;

 private:
  int before_ = PTHREAD_CANCEL_ENABLE;
};

// The functions below that take a `const Locked&` need the mutex held.

/// Closes what was opened so far, as far as it is not in use; the rest follows when it is released.
void change_generation(const Locked&) {
  ++g_state.generation;
  for (Link& link : g_state.links) {
    if (!link.in_use) close_link(link);
  }
}

void use_address(const Address& address, const Locked& locked) {
  g_state.address = address;
  g_state.selected = true;
  memcpy(g_state.name_in_use, address.name, sizeof address.name);
  change_generation(locked);
}

Cause select_from_environment(const Locked& locked) {
  const char* name = secure_getenv("LUMIPMI_DRIVER");
  Address address;
  const Cause cause = parse_address(name != nullptr && name[0] != '\0' ? name : "dev", address);
  if (cause == LUMIPMI_CAUSE_NONE) use_address(address, locked);
  return cause;
}

Cause timeout_from_environment(const Locked&) {
  const char* text = secure_getenv("LUMIPMI_TIMEOUT_MS");
  if (text == nullptr || text[0] == '\0') {
    g_state.timeout_ms = kDefaultTimeoutMs;
    return LUMIPMI_CAUSE_NONE;
  }
  uint32_t ms = 0;
  const char* digit = text;
  for (; *digit >= '0' && *digit <= '9' && ms <= kMaxEnvironmentTimeoutMs; ++digit)
    ms = ms * 10 + static_cast<uint32_t>(*digit - '0');
  if (*digit != '\0' || ms == 0 || ms > kMaxEnvironmentTimeoutMs)
    return fail(LUMIPMI_CAUSE_BAD_ARGUMENT,
                "LUMIPMI_TIMEOUT_MS=\"%.60s\": not a number of milliseconds from 1 to %u; correct it or unset it", text,
                kMaxEnvironmentTimeoutMs);
  g_state.timeout_ms = ms;
  return LUMIPMI_CAUSE_NONE;
}

/// Makes sure that there is an address and a time-out, and returns the latter; starts the recording, if there is to be
/// one.
Cause configure(uint32_t& timeout_ms) {
  const Locked locked;
  if (!g_state.selected) {
    const Cause cause = select_from_environment(locked);
    if (cause != LUMIPMI_CAUSE_NONE) return cause;
  }
  if (g_state.timeout_ms == 0) {
    const Cause cause = timeout_from_environment(locked);
    if (cause != LUMIPMI_CAUSE_NONE) return cause;
  }
  timeout_ms = g_state.timeout_ms;
  if (!g_state.recording_started) start_recording();
  g_state.recording_started = true;
  return LUMIPMI_CAUSE_NONE;
}

/// Takes a free link, the lowest one so that a program without threads keeps to one connection.
Link* take_free_link(const Locked&) {
  for (size_t i = 0; i < g_state.address.transport->links; ++i) {
    Link& link = g_state.links[i];
    if (link.in_use) continue;
    if (link.generation != g_state.generation) {
      close_link(link);
      link.address = g_state.address;
      link.generation = g_state.generation;
      link.last_id = 0;
    }
    link.in_use = true;
    return &link;
  }
  return nullptr;
}

/// Serves the line as far as there are free links; to be called whenever there may be more of them.
void serve_line(const Locked& locked) {
  while (g_state.first != nullptr) {
    Link* link = take_free_link(locked);
    if (link == nullptr) return;
    Waiter* waiter = g_state.first;
    g_state.first = waiter->next;
    waiter->granted = link;
    pthread_cond_signal(&waiter->wake);
  }
}

/// Waits for a link; null when the deadline came first.
Link* acquire(const Deadline& deadline) {
  const Locked locked;
  Link* free_link = take_free_link(locked);
  if (free_link != nullptr) return free_link;  // nobody is in line then: release() and select() serve the line first

  Waiter self;
  pthread_cond_init(&self.wake, &g_monotonic);
  Waiter** end = &g_state.first;
  while (*end != nullptr) end = &(*end)->next;
  *end = &self;

  const timespec at = deadline.as_timespec();
  int waited = 0;
  while (self.granted == nullptr && waited == 0) waited = pthread_cond_timedwait(&self.wake, &g_state.mutex, &at);

  if (self.granted == nullptr) {  // still in line
    Waiter** place = &g_state.first;
    while (*place != &self) place = &(*place)->next;
    *place = self.next;
  }
  pthread_cond_destroy(&self.wake);
  return self.granted;
}

void release(Link& link) {
  const Locked locked;
  if (link.generation != g_state.generation)
    close_link(link);
  else if (link.fd >= 0)
    memcpy(g_state.name_in_use, link.address.name, sizeof link.address.name);
  link.in_use = false;
  serve_line(locked);
}

Cause check(const Request& request, const uint8_t* response, const uint32_t* response_length) {
  if (response == nullptr || response_length == nullptr)
    return fail(LUMIPMI_CAUSE_BAD_ARGUMENT, "response and responseLength must not be null");
  if (request.data == nullptr && request.length != 0)
    return fail(LUMIPMI_CAUSE_BAD_ARGUMENT, "data is null but dataLength is %u", request.length);
  if (request.lun > 3) return fail(LUMIPMI_CAUSE_BAD_ARGUMENT, "LUN %u: must be 0 to 3", request.lun);
  if (request.net_fn > 0x3E || request.net_fn % 2 != 0)
    return fail(LUMIPMI_CAUSE_BAD_ARGUMENT, "netFn 0x%02X: a request has an even one from 0x00 to 0x3E",
                request.net_fn);
  return LUMIPMI_CAUSE_NONE;
}

Cause exchange_on_a_link(const Request& request, Answer& answer, uint32_t timeout_ms) {
  const Deadline deadline(timeout_ms);
  Link* link = acquire(deadline);
  if (link != nullptr && deadline.passed()) {  // too late to be of use
    release(*link);
    link = nullptr;
  }
  if (link == nullptr)
    return fail(LUMIPMI_CAUSE_TIMEOUT,
                "no turn within %u ms: exchanges of other threads wait for the BMC; check that it answers, or raise "
                "LUMIPMI_TIMEOUT_MS",
                timeout_ms);
  const Cause cause = link->address.transport->exchange(*link, request, answer, deadline);
  release(*link);
  return cause;
}

Cause exchange(const Request& request, Answer& answer) {
  uint32_t timeout_ms = 0;
  const Cause configured = configure(timeout_ms);
  if (configured != LUMIPMI_CAUSE_NONE) return configured;

  const int64_t begin = recorded_begin();
  const Cause cause = exchange_on_a_link(request, answer, timeout_ms);
  record(begin, request, cause, answer);
  return cause;
}

[[gnu::destructor]] void close_at_unload() {
  lumipmi_driver_close();
  stop_recording();
}

}  // namespace

void close_link(Link& link) {
  const int fd = link.fd;
  link.fd = -1;  // first: a child forked in between must not close a number that may be somebody else's by then
  if (fd >= 0) link.address.transport->close(fd);
  free_recording(link.recording);
  link.recording = nullptr;
}

}  // namespace lumi::driver

using namespace lumi::driver;

extern "C" int32_t lumipmi_driver_exchange(uint8_t lun, uint8_t netFn, uint8_t cmd, const uint8_t* data,
                                           uint16_t dataLength, uint8_t* response, uint32_t* responseLength) {
  const Request request = {.lun = lun, .net_fn = netFn, .cmd = cmd, .data = data, .length = dataLength};
  if (check(request, response, responseLength) != LUMIPMI_CAUSE_NONE) return 1;

  const NoCancellation guard;
  Answer answer;
  if (exchange(request, answer) != LUMIPMI_CAUSE_NONE) return 1;
  memcpy(response, answer.bytes, answer.length);
  *responseLength = static_cast<uint32_t>(answer.length);
  succeed();
  return 0;
}

extern "C" int32_t IPMI_DoIPMICmd(uint8_t netFn, uint8_t cmd, const uint8_t* data, uint16_t dataLength,
                                  uint8_t* response, uint32_t* responseLength) {
  return lumipmi_driver_exchange(0, netFn, cmd, data, dataLength, response, responseLength);
}

extern "C" int32_t lumipmi_driver_select(const char* transport) {
  Address address;
  if (transport != nullptr && parse_address(transport, address) != LUMIPMI_CAUSE_NONE) return 1;

  const Locked locked;
  if (transport != nullptr)
    use_address(address, locked);
  else if (select_from_environment(locked) != LUMIPMI_CAUSE_NONE)
    return 1;
  serve_line(locked);  // the new transport may have more links
  succeed();
  return 0;
}

extern "C" void lumipmi_driver_set_timeout(uint32_t ms) {
  const Locked locked;
  g_state.timeout_ms = ms;
}

extern "C" void lumipmi_driver_close(void) {
  const Locked locked;
  change_generation(locked);
}

extern "C" const char* lumipmi_driver_transport(void) {
  static thread_local char name[sizeof g_state.name_in_use];
  name[0] = '\0';
  const Locked locked;
  if (g_state.selected || select_from_environment(locked) == LUMIPMI_CAUSE_NONE)
    memcpy(name, g_state.name_in_use, sizeof name);
  return name;
}
