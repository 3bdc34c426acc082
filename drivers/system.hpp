// The system calls of the dev transport, replaceable so that tests can play the kernel.
#pragma once

#include <poll.h>

namespace lumi::driver {

/// As the C library's functions of these names.
struct SystemCalls {
  int (*open)(const char* path, int flags);
  int (*ioctl)(int fd, unsigned long request, void* argument);
  int (*poll)(struct pollfd* fds, nfds_t count, int timeout_ms);
  int (*close)(int fd);
};

/// The calls in use; the kernel's own unless a test has set others.
extern const SystemCalls* system_calls;

}  // namespace lumi::driver
