// The kernel's IPMI device: requests and answers as ioctls on /dev/ipmi0 (linux/ipmi.h).
//
// The kernel keeps a queue of answers for each open file. Every link has its own file and one request under way, so the
// answer wanted is the one with the number of that request; anything else in the queue is a late answer to a request
// given up on, an event or a command, and is dropped.
#include <errno.h>
#include <fcntl.h>
#include <linux/ipmi.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "drivers/system.hpp"
#include "drivers/transport.hpp"

namespace lumi::driver {

namespace {

int kernel_open(const char* path, int flags) {
  return ::open(path, flags);
}
int kernel_ioctl(int fd, unsigned long request, void* argument) {
  return ::ioctl(fd, request, argument);
}

constexpr SystemCalls kKernel = {kernel_open, kernel_ioctl, ::poll, ::close};

constexpr const char* kUsualPaths[] = {"/dev/ipmi0", "/dev/ipmi/0", "/dev/ipmidev/0"};
constexpr const char* kUsualPathsText = "/dev/ipmi0, /dev/ipmi/0, /dev/ipmidev/0";

constexpr int kBusyPauseMs = 10;

/// The failure of a system call on the device.
Cause fail_with(int error, const char* path, const char* doing) {
  switch (error) {
    case ENOENT:
    case ENXIO:
    case ENODEV:
      return fail(
          LUMIPMI_CAUSE_NO_DEVICE,
          "%s: no such device; load the kernel modules ipmi_devintf and ipmi_si (or the one of your interface), "
          "or choose another transport with LUMIPMI_DRIVER=vm:HOST:PORT",
          path);
    case EACCES:
    case EPERM:
      return fail(LUMIPMI_CAUSE_PERMISSION,
                  "%s: permission denied; run as root, or let this user read and write the device", path);
    case EBUSY:
      return fail(LUMIPMI_CAUSE_BUSY,
                  "%s: device busy; other programs have taken all that it can serve, end one of them or try again",
                  path);
    case ENOTTY:
      return fail(LUMIPMI_CAUSE_BAD_TRANSPORT, "%s: not an IPMI device; LUMIPMI_DRIVER=dev finds the usual ones", path);
    default:
      return fail(LUMIPMI_CAUSE_IO, "%s: cannot %s: %s", path, doing, strerror(error));
  }
}

/// Waits a moment because the device is busy; false when the deadline has passed.
bool wait_while_busy(const Deadline& deadline) {
  const int left = deadline.poll_ms();
  if (left == 0) return false;
  (void)system_calls->poll(nullptr, 0, left < kBusyPauseMs ? left : kBusyPauseMs);  // just a pause, may be cut short
  return true;
}

int open_path(const char* path) {
  int fd = -1;
  do {
    fd = system_calls->open(path, O_RDWR | O_CLOEXEC);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

/// Opens the link's path, or when it has none the first usual one that exists. Returns what the result is about; errno
/// tells why link.fd is negative.
const char* try_to_open(Link& link) {
  if (link.address.target[0] != '\0') {
    link.fd = open_path(link.address.target);
    return link.address.target;
  }
  for (const char* path : kUsualPaths) {
    link.fd = open_path(path);
    if (link.fd >= 0 || errno != ENOENT) return path;
  }
  return kUsualPathsText;
}

Cause open_device(Link& link, const Deadline& deadline) {
  for (;;) {
    const char* path = try_to_open(link);
    const int error = errno;
    if (link.fd >= 0) {
      memcpy(link.address.name + strlen("dev:"), path, strlen(path) + 1);
      link.address.name[strlen("dev")] = ':';
      return LUMIPMI_CAUSE_NONE;
    }
    if (error != EBUSY || !wait_while_busy(deadline)) return fail_with(error, path, "open it");
  }
}

const char* path_of(const Link& link) {
  return link.address.name + strlen("dev:");
}

/// The failure of an ioctl; the next exchange opens the device again.
Cause lose(Link& link, int error, const char* doing) {
  close_link(link);
  return fail_with(error, path_of(link), doing);
}

Cause send_request(Link& link, const Request& request, const Deadline& deadline) {
  ipmi_system_interface_addr bmc = {};
  bmc.addr_type = IPMI_SYSTEM_INTERFACE_ADDR_TYPE;
  bmc.channel = IPMI_BMC_CHANNEL;
  bmc.lun = request.lun;

  ipmi_req message = {};
  message.addr = reinterpret_cast<unsigned char*>(&bmc);
  message.addr_len = sizeof bmc;
  message.msgid = static_cast<long>(++link.last_id);
  message.msg.netfn = request.net_fn;
  message.msg.cmd = request.cmd;
  message.msg.data_len = request.length;
  message.msg.data = const_cast<unsigned char*>(request.data);  // the kernel only reads it

  while (system_calls->ioctl(link.fd, IPMICTL_SEND_COMMAND, &message) < 0) {
    const int error = errno;
    if (error == EINTR || (error == EBUSY && wait_while_busy(deadline))) continue;
    if (error == EINVAL)
      return fail(LUMIPMI_CAUSE_BAD_ARGUMENT,
                  "%s: the kernel keeps netFn 0x%02X command 0x%02X to itself and does not send it for programs",
                  path_of(link), request.net_fn, request.cmd);
    if (error == EMSGSIZE)
      return fail(LUMIPMI_CAUSE_BAD_ARGUMENT, "%s: %u bytes of request data are more than the kernel takes",
                  path_of(link), request.length);
    return lose(link, error, "send");
  }
  return LUMIPMI_CAUSE_NONE;
}

/// Takes the next message from the device's queue. Returns 0 or errno; EAGAIN when the queue is empty.
int receive_next(const Link& link, ipmi_recv& message, Answer& answer) {
  ipmi_addr from;  // the kernel insists on telling it
  message = {};
  message.addr = reinterpret_cast<unsigned char*>(&from);
  message.addr_len = sizeof from;
  message.msg.data = answer.bytes;
  message.msg.data_len = sizeof answer.bytes;
  const int result = system_calls->ioctl(link.fd, IPMICTL_RECEIVE_MSG_TRUNC, &message);
  // EMSGSIZE: the message was longer than the buffer; it has been cut to fit and counts as received.
  return result >= 0 || errno == EMSGSIZE ? 0 : errno;
}

/// Linux neither answers nor wakes poll() when the interface goes away while a request is under way.
bool is_gone(const Link& link) {
  unsigned address = 0;
  return system_calls->ioctl(link.fd, IPMICTL_GET_MY_ADDRESS_CMD, &address) < 0 && errno == ENODEV;
}

Cause await_answer(Link& link, const Request& request, Answer& answer, const Deadline& deadline) {
  constexpr int kLookMs = 500;  // how often to see whether the device is still there
  while (!deadline.passed()) {
    pollfd device = {.fd = link.fd, .events = POLLIN, .revents = 0};
    const int left = deadline.poll_ms();
    const int ready = system_calls->poll(&device, 1, left < kLookMs ? left : kLookMs);
    if (ready < 0 && errno != EINTR) return lose(link, errno, "wait for the answer");
    if (ready == 0 && is_gone(link)) return lose(link, ENODEV, "wait for the answer");
    if (ready <= 0) continue;
    if ((device.revents & POLLIN) == 0) return lose(link, ENODEV, "wait for the answer");  // the interface is gone

    ipmi_recv message;
    const int error = receive_next(link, message, answer);
    if (error == EAGAIN || error == EINTR) continue;
    if (error != 0) return lose(link, error, "receive");
    if (message.recv_type != IPMI_RESPONSE_RECV_TYPE || message.msgid != static_cast<long>(link.last_id)) continue;

    answer.length = message.msg.data_len < sizeof answer.bytes ? message.msg.data_len : sizeof answer.bytes;
    if (answer.length == 0)
      return fail(LUMIPMI_CAUSE_IO, "%s: answer without a completion code; the kernel's IPMI driver is at fault",
                  path_of(link));
    return LUMIPMI_CAUSE_NONE;
  }
  return fail(
      LUMIPMI_CAUSE_TIMEOUT,
      "%s: timed out, no answer to netFn 0x%02X command 0x%02X within %u ms; check that the BMC works, or raise "
      "LUMIPMI_TIMEOUT_MS",
      path_of(link), request.net_fn, request.cmd, deadline.span_ms());
}

Cause exchange(Link& link, const Request& request, Answer& answer, const Deadline& deadline) {
  if (link.fd < 0) {
    const Cause opened = open_device(link, deadline);
    if (opened != LUMIPMI_CAUSE_NONE) return opened;
  }
  const Cause sent = send_request(link, request, deadline);
  if (sent != LUMIPMI_CAUSE_NONE) return sent;
  return await_answer(link, request, answer, deadline);
}

void close_fd(int fd) {
  (void)system_calls->close(fd);  // nothing to be done about a failure
}

}  // namespace

const SystemCalls* system_calls = &kKernel;

const Transport kDevTransport = {.links = 4, .exchange = exchange, .close = close_fd};

}  // namespace lumi::driver
