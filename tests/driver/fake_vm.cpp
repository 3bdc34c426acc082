#include "tests/driver/fake_vm.hpp"

#include <netinet/in.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

constexpr uint8_t kEnd = 0xA0;
const Bytes kVersion = {0xFF, 0x01, 0xA1, 0x00, 0xA1};

int bind_loopback(int family, int& port) {
  const int fd = socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in v4 = {};
  v4.sin_family = AF_INET;
  v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  sockaddr_in6 v6 = {};
  v6.sin6_family = AF_INET6;
  v6.sin6_addr = IN6ADDR_LOOPBACK_INIT;
  sockaddr* address = family == AF_INET ? reinterpret_cast<sockaddr*>(&v4) : reinterpret_cast<sockaddr*>(&v6);
  socklen_t size = family == AF_INET ? sizeof v4 : sizeof v6;
  if (fd < 0 || bind(fd, address, size) != 0 || getsockname(fd, address, &size) != 0) {
    if (fd >= 0) close(fd);
    return -1;
  }
  port = ntohs(family == AF_INET ? v4.sin_port : v6.sin6_port);
  return fd;
}

bool send_to(int fd, const Bytes& bytes) {
  return send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

std::string as_text(const Bytes& bytes) {
  return ::testing::PrintToString(bytes);
}

}  // namespace

Bytes wire(Bytes body) {
  uint8_t sum = 0;
  for (const uint8_t byte : body) sum = static_cast<uint8_t>(sum + byte);
  body.push_back(static_cast<uint8_t>(0x100 - sum));
  Bytes out;
  for (const uint8_t byte : body) {
    switch (byte) {
      case 0xA0:
        out.insert(out.end(), {0xAA, 0xB0});
        break;
      case 0xA1:
        out.insert(out.end(), {0xAA, 0xB1});
        break;
      case 0xAA:
        out.insert(out.end(), {0xAA, 0xBA});
        break;
      default:
        out.push_back(byte);
    }
  }
  out.push_back(kEnd);
  return out;
}

FakeVm::FakeVm(std::vector<Connection> connections, int family) : connections_(std::move(connections)) {
  listener_ = bind_loopback(family, port_);
  if (listener_ < 0) return;
  EXPECT_EQ(listen(listener_, 64), 0);
  thread_ = std::thread([this] { run(); });
}

FakeVm::~FakeVm() {
  if (!listening()) return;
  // Let a script come to its end: the driver may be through before it.
  for (int i = 0; i < 200 && accepted_ < static_cast<int>(connections_.size()); ++i) usleep(10'000);
  stop_ = true;
  if (thread_.joinable()) thread_.join();
  for (const int fd : open_) close(fd);
  close(listener_);
  if (!problem_.empty()) ADD_FAILURE() << "fake BMC: " << problem_;
  EXPECT_GE(accepted_, static_cast<int>(connections_.size())) << "connections were left over";
}

void FakeVm::run() {
  while (wait_readable(listener_)) {
    const int fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) continue;
    open_.push_back(fd);
    const size_t index = std::min(static_cast<size_t>(accepted_.load()), connections_.size() - 1);
    ++accepted_;
    follow(fd, connections_[index]);
  }
}

/// False when the test is over.
bool FakeVm::wait_readable(int fd) const {
  while (!stop_) {
    pollfd one = {fd, POLLIN, 0};
    if (poll(&one, 1, 10) > 0) return true;
  }
  return false;
}

/// False at the end of the connection.
bool FakeVm::receive(int fd, uint8_t* bytes, size_t count) {
  while (count > 0) {
    if (!wait_readable(fd)) return false;
    const ssize_t got = recv(fd, bytes, count, 0);
    if (got <= 0) return false;
    bytes += got;
    count -= static_cast<size_t>(got);
  }
  return true;
}

void FakeVm::follow(int fd, const Connection& script) {
  for (const Step& step : script) {
    switch (step.kind) {
      case Step::kExpect: {
        Bytes got(step.bytes.empty() ? static_cast<size_t>(step.count) : step.bytes.size());
        const bool whole = receive(fd, got.data(), got.size());
        if (!whole || (!step.bytes.empty() && got != step.bytes))
          problem_ = "expected " + as_text(step.bytes) + ", got " + (whole ? "" : "less, ") + as_text(got);
        break;
      }
      case Step::kSend:
        if (!send_to(fd, step.bytes)) problem_ = "cannot send";
        break;
      case Step::kPause:
        usleep(static_cast<useconds_t>(step.count) * 1000);
        break;
      case Step::kServe:
        do_serve(fd, step.count);
        break;
      case Step::kFlood:
        do_flood(fd, step.bytes);
        break;
      case Step::kHangUp:
        close(fd);
        open_.pop_back();
        return;
    }
  }
}

/// Never blocks in send(): a driver that has given up reads no more, yet keeps its connection.
void FakeVm::do_flood(int fd, const Bytes& bytes) {
  while (!stop_) {
    pollfd one = {fd, POLLOUT, 0};
    if (poll(&one, 1, 10) <= 0) continue;
    if (send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0 && errno != EAGAIN) return;
  }
}

void FakeVm::do_serve(int fd, int requests) {
  send_to(fd, kVersion);
  Bytes frame;
  bool escaped = false;
  for (int served = 0; requests == 0 || served < requests;) {
    uint8_t byte = 0;
    if (!receive(fd, &byte, 1)) return;
    if (byte == 0xA1) {
      frame.clear();
    } else if (byte == 0xAA) {
      escaped = true;
    } else if (byte != kEnd) {
      frame.push_back(escaped ? static_cast<uint8_t>(byte - 0x10) : byte);
      escaped = false;
    } else {
      uint8_t sum = 0;
      for (const uint8_t part : frame) sum = static_cast<uint8_t>(sum + part);
      if (sum != 0 || frame.size() < 4) {
        problem_ = "not a request: " + as_text(frame);
        return;
      }
      Bytes answer = {frame[0], static_cast<uint8_t>((frame[1] | 4) & ~3), frame[2], 0x00};
      answer.insert(answer.end(), frame.begin() + 3, frame.end() - 1);
      send_to(fd, wire(answer));
      frame.clear();
      ++served;
    }
  }
}

int unused_port() {
  int port = 0;
  close(bind_loopback(AF_INET, port));
  return port;
}
