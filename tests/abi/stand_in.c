/* Preloaded in front of the C library and of the driver: a BMC that stays busy, a clock that only sleeping moves. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdint.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#define STAND_IN __attribute__((visibility("default")))
enum { kRandomDescriptor = 9876 };

STAND_IN unsigned stand_in_sent, stand_in_opened, stand_in_closed;
STAND_IN uint64_t stand_in_slept_ms;

STAND_IN int32_t IPMI_DoIPMICmd(uint8_t netFn, uint8_t cmd, const uint8_t* data, uint16_t dataLength, uint8_t* response,
                                uint32_t* responseLength) {
  (void)netFn, (void)cmd, (void)data, (void)dataLength;
  ++stand_in_sent;
  response[0] = 0xC0;
  *responseLength = 1;
  return 0;
}

STAND_IN time_t time(time_t* out) {
  const time_t now = (time_t)(1000 + stand_in_slept_ms / 1000);
  if (out != NULL) *out = now;
  return now;
}

STAND_IN int nanosleep(const struct timespec* span, struct timespec* left) {
  (void)left;
  stand_in_slept_ms += (uint64_t)span->tv_sec * 1000 + (uint64_t)span->tv_nsec / 1000000;
  return 0;
}

STAND_IN int open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if (flags & O_CREAT) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  if (strcmp(path, "/dev/urandom") == 0) {
    ++stand_in_opened;
    return kRandomDescriptor;
  }
  int (*next)(const char*, int, ...);
  *(void**)&next = dlsym(RTLD_NEXT, "open");
  return next(path, flags, mode);
}

STAND_IN ssize_t read(int descriptor, void* buffer, size_t size) {
  if (descriptor == kRandomDescriptor) {
    memset(buffer, 0xFF, size);
    return (ssize_t)size;
  }
  ssize_t (*next)(int, void*, size_t);
  *(void**)&next = dlsym(RTLD_NEXT, "read");
  return next(descriptor, buffer, size);
}

STAND_IN int close(int descriptor) {
  if (descriptor == kRandomDescriptor) {
    ++stand_in_closed;
    return 0;
  }
  int (*next)(int);
  *(void**)&next = dlsym(RTLD_NEXT, "close");
  return next(descriptor);
}
