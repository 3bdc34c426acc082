// The VM codec over TCP, as virtual machines and ipmi_sim speak it.
//
//   request   seq  netFn<<2|LUN    cmd  data...      checksum  A0
//   answer    seq  (netFn|1)<<2|x  cmd  cc  data...  checksum  A0
//   control   code  [value]  A1
//
// AA escapes A0, A1 and AA inside a frame: AA, then the byte with bit 4 set. The bytes of a message, unescaped, add up
// to 0 modulo 256. Control frames (power, reset, attention and so on) come at any time and mean nothing to a driver.
//
// Such a BMC serves one connection at a time and closes a second one at once, without a word. So a connection is kept,
// and while somebody else has it we come back until the deadline. A connection lost under a request is made again and
// the request repeated only if nothing at all had arrived on it; otherwise the BMC may have carried the request out,
// and doing it twice is worse than failing.
#include <errno.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "drivers/transport.hpp"

namespace lumi::driver {

namespace {

constexpr uint8_t kEndOfMessage = 0xA0;
constexpr uint8_t kEndOfControl = 0xA1;
constexpr uint8_t kEscape = 0xAA;
constexpr uint8_t kEscapeBit = 0x10;

// Protocol version 1, then the capabilities: power, reset, interrupt, NMI, attention, graceful shutdown.
constexpr uint8_t kGreeting[] = {0xFF, 0x01, kEndOfControl, 0x08, 0x3F, kEndOfControl};

constexpr size_t kMaxData = 255;
constexpr size_t kMaxFrame = (3 + kMaxData + 1) * 2 + 1;  // every byte escaped, and the end

constexpr int kComeBackMs = 20;
constexpr unsigned kPeerLostMs = 10'000;  // a host that acknowledges nothing for so long has vanished

/// How an attempt on one connection ended.
enum class Attempt : uint8_t { kDone, kLate, kLost };

// --- Frames ---------------------------------------------------------------------------------------------------------

/// The bytes to send for one request: the greeting on a new connection, then the message.
class Outgoing {
 public:
  void greeting() {
    memcpy(bytes_, kGreeting, sizeof kGreeting);
    length_ = sizeof kGreeting;
  }

  void message(uint8_t seq, const Request& request) {
    body(seq);
    body(static_cast<uint8_t>(request.net_fn << 2 | request.lun));
    body(request.cmd);
    for (size_t i = 0; i < request.length; ++i) body(request.data[i]);
    body(static_cast<uint8_t>(-sum_));
    bytes_[length_++] = kEndOfMessage;
  }

  const uint8_t* bytes() const { return bytes_; }
  size_t length() const { return length_; }

 private:
  void body(uint8_t byte) {
    sum_ = static_cast<uint8_t>(sum_ + byte);
    if (byte == kEndOfMessage || byte == kEndOfControl || byte == kEscape) {
      bytes_[length_++] = kEscape;
      byte |= kEscapeBit;
    }
    bytes_[length_++] = byte;
  }

  uint8_t bytes_[sizeof kGreeting + kMaxFrame];
  size_t length_ = 0;
  uint8_t sum_ = 0;
};

void start_frame(VmFrame& frame) {
  frame.length = 0;
  frame.sum = 0;
  frame.escaped = false;
}

/// Adds a received byte. True when it ends a message, which is then to be looked at before start_frame.
bool add_byte(VmFrame& frame, uint8_t byte) {
  if (byte == kEndOfMessage) return true;
  if (byte == kEndOfControl) {
    start_frame(frame);
    return false;
  }
  if (byte == kEscape) {
    frame.escaped = true;
    return false;
  }
  if (frame.escaped) byte = static_cast<uint8_t>(byte & ~kEscapeBit);
  frame.escaped = false;
  if (frame.length < sizeof frame.bytes) frame.bytes[frame.length] = byte;
  ++frame.length;
  frame.sum = static_cast<uint8_t>(frame.sum + byte);
  return false;
}

/// Whether a complete frame answers the request: whole, and of its number, network function and command.
bool answers(const VmFrame& frame, uint8_t seq, const Request& request) {
  constexpr size_t kShortest = 5;  // sequence, network function, command, completion code, checksum
  return frame.length >= kShortest && frame.sum == 0 && !frame.escaped && frame.bytes[0] == seq &&
         frame.bytes[1] >> 2 == (request.net_fn | 1) && frame.bytes[2] == request.cmd;
}

void unpack(const VmFrame& frame, Answer& answer) {
  const size_t length = frame.length - 4;  // without sequence, network function, command and checksum
  answer.length = length < sizeof answer.bytes ? length : sizeof answer.bytes;
  memcpy(answer.bytes, frame.bytes + 3, answer.length);
}

// --- Failures -------------------------------------------------------------------------------------------------------

Cause fail_connect(const Link& link, int error, const Deadline& deadline) {
  const char* name = link.address.name;
  switch (error) {
    case ECONNREFUSED:
      return fail(LUMIPMI_CAUSE_REFUSED,
                  "%s: connection refused; start the BMC that is to listen there, or choose another transport with "
                  "LUMIPMI_DRIVER",
                  name);
    case EACCES:
    case EPERM:
      return fail(LUMIPMI_CAUSE_PERMISSION, "%s: permission denied; a firewall or security rule forbids to connect",
                  name);
    case ETIMEDOUT:
      return fail(LUMIPMI_CAUSE_TIMEOUT, "%s: timed out, no connection within %u ms; check the address and the network",
                  name, deadline.span_ms());
    default:
      return fail(LUMIPMI_CAUSE_IO, "%s: cannot connect: %s", name, strerror(error));
  }
}

Cause fail_timeout(const Link& link, const Request& request, const Deadline& deadline) {
  return fail(
      LUMIPMI_CAUSE_TIMEOUT,
      "%s: timed out, no answer to netFn 0x%02X command 0x%02X within %u ms; check that the BMC works, or raise "
      "LUMIPMI_TIMEOUT_MS",
      link.address.name, request.net_fn, request.cmd, deadline.span_ms());
}

// --- Connection -----------------------------------------------------------------------------------------------------

/// Waits until the socket is ready for `events`; false when the deadline passed first.
bool wait_for(int fd, short events, const Deadline& deadline) {
  while (!deadline.passed()) {
    pollfd socket = {.fd = fd, .events = events, .revents = 0};
    if (poll(&socket, 1, deadline.poll_ms()) > 0) return true;
  }
  return false;
}

/// Connects `fd`, a non-blocking socket. Returns 0 or errno.
int connect_to(int fd, const addrinfo& where, const Deadline& deadline) {
  if (connect(fd, where.ai_addr, where.ai_addrlen) == 0) return 0;
  if (errno != EINPROGRESS && errno != EINTR) return errno;
  if (!wait_for(fd, POLLOUT, deadline)) return ETIMEDOUT;
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) < 0) return errno;
  return error;
}

/// Opens the link to the first of the addresses that accepts. Returns 0 or the errno of the last one.
int connect_to_any(Link& link, const addrinfo* addresses, const Deadline& deadline) {
  int error = EADDRNOTAVAIL;
  for (const addrinfo* where = addresses; where != nullptr; where = where->ai_next) {
    const int fd = socket(where->ai_family, where->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, where->ai_protocol);
    if (fd < 0) {
      error = errno;
      continue;
    }
    error = connect_to(fd, *where, deadline);
    if (error == 0) {
      const int on = 1;
      const unsigned lost_ms = kPeerLostMs;
      (void)setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);  // both help, but it works without them too
      (void)setsockopt(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, &lost_ms, sizeof lost_ms);
      link.fd = fd;
      return 0;
    }
    (void)close(fd);
  }
  return error;
}

Cause connect_link(Link& link, const Deadline& deadline) {
  addrinfo hints = {};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV;
  addrinfo* addresses = nullptr;
  const int looked_up = getaddrinfo(link.address.target, link.address.port, &hints, &addresses);
  if (looked_up != 0)
    return fail(LUMIPMI_CAUSE_IO, "%s: cannot look up the host: %s; check its name, or give its address",
                link.address.name, gai_strerror(looked_up));
  const int error = connect_to_any(link, addresses, deadline);
  freeaddrinfo(addresses);
  if (error != 0) return fail_connect(link, error, deadline);
  start_frame(link.frame);
  link.heard = false;
  return LUMIPMI_CAUSE_NONE;
}

bool is_retryable(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

/// Reads away what arrived since the last exchange; false when the connection is lost.
bool drain(Link& link, const Deadline& deadline) {
  while (!deadline.passed()) {
    uint8_t bytes[512];
    const ssize_t got = recv(link.fd, bytes, sizeof bytes, 0);
    if (got == 0) return false;
    if (got < 0) {
      if (errno == EINTR) continue;
      return is_retryable(errno);
    }
    link.heard = true;
    for (ssize_t i = 0; i < got; ++i) {
      if (add_byte(link.frame, bytes[i])) start_frame(link.frame);
    }
  }
  return true;
}

Attempt send_all(Link& link, const Outgoing& out, const Deadline& deadline) {
  size_t sent = 0;
  while (sent < out.length()) {
    const ssize_t count = send(link.fd, out.bytes() + sent, out.length() - sent, MSG_NOSIGNAL);
    if (count >= 0) {
      sent += static_cast<size_t>(count);
      continue;
    }
    if (!is_retryable(errno)) return Attempt::kLost;
    if (!wait_for(link.fd, POLLOUT, deadline)) {
      close_link(link);  // the next request must not follow half of this one
      return Attempt::kLate;
    }
  }
  return Attempt::kDone;
}

Attempt await_answer(Link& link, const Request& request, Answer& answer, const Deadline& deadline) {
  const uint8_t seq = static_cast<uint8_t>(link.last_id);
  while (wait_for(link.fd, POLLIN, deadline)) {
    uint8_t bytes[512];
    const ssize_t got = recv(link.fd, bytes, sizeof bytes, 0);
    if (got < 0 && is_retryable(errno)) continue;
    if (got <= 0) return Attempt::kLost;
    link.heard = true;
    bool found = false;
    for (ssize_t i = 0; i < got; ++i) {
      if (!add_byte(link.frame, bytes[i])) continue;
      if (!found && answers(link.frame, seq, request)) {
        unpack(link.frame, answer);
        found = true;
      }
      start_frame(link.frame);
    }
    if (found) return Attempt::kDone;
  }
  return Attempt::kLate;
}

/// False when the deadline has passed.
bool pause_before_coming_back(const Deadline& deadline) {
  const int left = deadline.poll_ms();
  (void)poll(nullptr, 0, left < kComeBackMs ? left : kComeBackMs);  // just a pause, may be cut short
  return !deadline.passed();
}

/// One request on an open link.
Attempt attempt(Link& link, const Request& request, Answer& answer, bool fresh, const Deadline& deadline) {
  Outgoing out;
  if (fresh) out.greeting();
  out.message(static_cast<uint8_t>(++link.last_id), request);
  const Attempt sent = send_all(link, out, deadline);
  return sent == Attempt::kDone ? await_answer(link, request, answer, deadline) : sent;
}

Cause exchange(Link& link, const Request& request, Answer& answer, const Deadline& deadline) {
  if (request.length > kMaxData)
    return fail(LUMIPMI_CAUSE_BAD_ARGUMENT, "%s: %u bytes of request data; the protocol carries up to %zu",
                link.address.name, request.length, kMaxData);

  // A connection that ended since the last exchange has not seen this request: just make a new one.
  if (link.fd >= 0 && !drain(link, deadline)) close_link(link);

  unsigned turned_away = 0;
  for (;;) {
    const bool fresh = link.fd < 0;
    if (fresh) {
      const Cause connected = connect_link(link, deadline);
      if (connected != LUMIPMI_CAUSE_NONE) return connected;
    }
    const Attempt result = attempt(link, request, answer, fresh, deadline);
    if (result == Attempt::kDone) return LUMIPMI_CAUSE_NONE;

    // After a time-out the connection stays: the late answer is told by its number, and a BMC that is merely slow may
    // not survive writing it to a connection that is gone.
    if (result == Attempt::kLost) close_link(link);
    if (result == Attempt::kLost && !link.heard) {
      ++turned_away;
      if (pause_before_coming_back(deadline)) continue;
    }
    if (turned_away > 0 && !link.heard)
      return fail(LUMIPMI_CAUSE_BUSY,
                  "%s: busy, closed %u connections in %u ms without a word; another program holds the BMC's only one, "
                  "end it or try again",
                  link.address.name, turned_away, deadline.span_ms());
    if (result == Attempt::kLate) return fail_timeout(link, request, deadline);
    return fail(LUMIPMI_CAUSE_CLOSED,
                "%s: connection closed before the answer; the BMC may have carried out netFn 0x%02X command 0x%02X, so "
                "check before you repeat it",
                link.address.name, request.net_fn, request.cmd);
  }
}

void close_fd(int fd) {
  (void)close(fd);  // nothing to be done about a failure
}

}  // namespace

const Transport kVmTransport = {.links = 1, .exchange = exchange, .close = close_fd};

}  // namespace lumi::driver
