#include "support/fake_libc.hpp"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace lumi::test {

namespace {

FakeLibc* active = nullptr;
std::mutex mutex;  // the library may be called from several threads

timespec to_timespec(std::chrono::nanoseconds span) {
  timespec result = {};
  result.tv_sec = span.count() / 1'000'000'000;
  result.tv_nsec = span.count() % 1'000'000'000;
  return result;
}

}  // namespace

FakeLibc::FakeLibc() {
  const std::lock_guard lock(mutex);
  if (active != nullptr) {
    std::fputs("fake_libc: a FakeLibc is alive already\n", stderr);
    std::abort();
  }
  active = this;
}

FakeLibc::~FakeLibc() {
  const std::lock_guard lock(mutex);
  active = nullptr;
}

std::vector<int64_t> FakeLibc::sleeps_ms() const {
  std::vector<int64_t> result;
  for (const timespec& sleep : sleeps) result.push_back(sleep.tv_sec * 1000 + sleep.tv_nsec / 1'000'000);
  return result;
}

}  // namespace lumi::test

using namespace lumi::test;  // what follows must stand outside of it

// With --wrap=NAME the linker sends calls of NAME to __wrap_NAME, and calls of __real_NAME to the C library. The real
// functions that may wait are called without the lock.
extern "C" {

int __real_nanosleep(const timespec* request, timespec* remaining);
time_t __real_time(time_t* out);
int __real_clock_gettime(clockid_t clock, timespec* out);
int __real_open(const char* path, int flags, ...);
ssize_t __real_read(int fd, void* buffer, size_t size);
int __real_close(int fd);
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void __real_free(void* block);
void __real_vsyslog(int priority, const char* format, va_list arguments);
int __real_flock(int fd, int operation);
void* __real_dlopen(const char* file, int flags);

int __wrap_nanosleep(const timespec* request, timespec* remaining) {
  std::unique_lock lock(mutex);
  if (active == nullptr) {
    lock.unlock();
    return __real_nanosleep(request, remaining);
  }
  active->sleeps.push_back(*request);
  const auto pause = std::chrono::seconds(request->tv_sec) + std::chrono::nanoseconds(request->tv_nsec);
  const auto left = active->interrupt_sleeps ? pause / 2 : std::chrono::nanoseconds(0);
  active->now += pause - left;
  if (!active->interrupt_sleeps) return 0;
  if (remaining != nullptr) *remaining = to_timespec(left);
  errno = EINTR;
  return -1;
}

time_t __wrap_time(time_t* out) {
  const std::lock_guard lock(mutex);
  if (active == nullptr) return __real_time(out);
  const time_t now = to_timespec(active->now).tv_sec;
  active->now += active->step_per_time_call;
  if (out != nullptr) *out = now;
  return now;
}

int __wrap_clock_gettime(clockid_t clock, timespec* out) {
  const std::lock_guard lock(mutex);
  if (active == nullptr || clock != CLOCK_REALTIME) return __real_clock_gettime(clock, out);
  *out = to_timespec(active->now);
  return 0;
}

int __wrap_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  std::unique_lock lock(mutex);
  if (active == nullptr || path == nullptr || std::strcmp(path, "/dev/urandom") != 0) {
    lock.unlock();
    return __real_open(path, flags, mode);
  }
  ++active->urandom_opens;
  if (active->urandom_fails) {
    errno = ENOENT;
    return -1;
  }
  const int fd = __real_open("/dev/null", O_RDONLY | O_CLOEXEC);  // only read and close below know what it stands for
  active->open_urandoms.insert(fd);
  return fd;
}

ssize_t __wrap_read(int fd, void* buffer, size_t size) {
  std::unique_lock lock(mutex);
  if (active == nullptr || active->open_urandoms.count(fd) == 0) {
    lock.unlock();
    return __real_read(fd, buffer, size);
  }
  uint32_t value = 0;
  if (!active->urandom.empty()) {
    value = active->urandom.front();
    active->urandom.pop_front();
  }
  const size_t count = std::min({size, sizeof value, active->urandom_read_limit});
  std::memcpy(buffer, &value, count);
  return static_cast<ssize_t>(count);
}

int __wrap_close(int fd) {
  const std::lock_guard lock(mutex);
  if (active != nullptr && active->open_urandoms.erase(fd) != 0) ++active->urandom_closes;
  return __real_close(fd);
}

static bool allocation_fails(FakeLibc& fake) {
  ++fake.allocations;
  if (fake.fail_allocation == 0 || --fake.fail_allocation > 0) return false;
  errno = ENOMEM;
  return true;
}

void* __wrap_malloc(size_t size) {
  const std::lock_guard lock(mutex);
  if (active == nullptr) return __real_malloc(size);
  if (allocation_fails(*active)) return nullptr;
  return *active->live_blocks.insert(__real_malloc(size)).first;
}

void* __wrap_calloc(size_t count, size_t size) {
  const std::lock_guard lock(mutex);
  if (active == nullptr) return __real_calloc(count, size);
  if (allocation_fails(*active)) return nullptr;
  return *active->live_blocks.insert(__real_calloc(count, size)).first;
}

void __wrap_free(void* block) {
  const std::lock_guard lock(mutex);
  if (active != nullptr) active->live_blocks.erase(block);
  __real_free(block);
}

void __wrap_vsyslog(int priority, const char* format, va_list arguments) {
  const std::lock_guard lock(mutex);
  if (active == nullptr) return __real_vsyslog(priority, format, arguments);
  char text[4096];
  std::vsnprintf(text, sizeof text, format, arguments);
  active->log.push_back({priority, text});
}

void __wrap_syslog(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  __wrap_vsyslog(priority, format, arguments);
  va_end(arguments);
}

int __wrap_flock(int fd, int operation) {
  std::unique_lock lock(mutex);
  if (active != nullptr) {
    active->flocks.push_back({fd, operation});
    if (active->flock_result) return *active->flock_result;
  }
  lock.unlock();
  return __real_flock(fd, operation);
}

void* __wrap_dlopen(const char* file, int flags) {
  {
    const std::lock_guard lock(mutex);
    if (active != nullptr) active->dlopens.push_back({file, flags});
  }
  return __real_dlopen(file, flags);
}

}  // extern "C"
