// A BMC on loopback that follows a script, and the VM codec written a second time.
#pragma once

#include <sys/socket.h>

#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/driver/exchange.hpp"

/// The bytes on the wire for a message body: checksum added, escaped, ended.
Bytes wire(Bytes body);

/// What one connection does, in order. Connections stay open after their last step unless it was hang_up.
struct Step {
  enum Kind { kExpect, kSend, kPause, kServe, kFlood, kHangUp } kind;
  Bytes bytes = {};
  int count = 0;
};
inline Step expect(const Bytes& bytes) {
  return {Step::kExpect, bytes};
}
inline Step expect_any(size_t count) {
  return {Step::kExpect, {}, static_cast<int>(count)};
}
inline Step send_bytes(const Bytes& bytes) {
  return {Step::kSend, bytes};
}
inline Step pause_ms(int ms) {
  return {Step::kPause, {}, ms};
}
/// Greets, then answers requests with completion code 00 and their own data, until the peer closes.
inline Step serve() {
  return {Step::kServe};
}
/// The same for just so many requests.
inline Step serve(int requests) {
  return {Step::kServe, {}, requests};
}
/// Sends these bytes over and over until the peer closes.
inline Step flood(const Bytes& bytes) {
  return {Step::kFlood, bytes};
}
inline Step hang_up() {
  return {Step::kHangUp};
}

using Connection = std::vector<Step>;

/// Accepts and says nothing.
const Connection kMute = {pause_ms(0)};

/// Takes connections one after the other, each with its own script; those beyond follow the last one. The destructor
/// fails the test if a script was not followed to its end.
class FakeVm {
 public:
  explicit FakeVm(std::vector<Connection> connections, int family = AF_INET);
  ~FakeVm();
  FakeVm(const FakeVm&) = delete;
  FakeVm& operator=(const FakeVm&) = delete;

  bool listening() const { return listener_ >= 0; }
  int port() const { return port_; }
  std::string name(const std::string& host = "127.0.0.1") const { return "vm:" + host + ":" + std::to_string(port_); }
  int accepted() const { return accepted_; }

 private:
  void run();
  void follow(int fd, const Connection& script);
  void do_serve(int fd, int requests);
  void do_flood(int fd, const Bytes& bytes);
  bool receive(int fd, uint8_t* bytes, size_t count);
  bool wait_readable(int fd) const;

  std::vector<Connection> connections_;
  int listener_ = -1;
  int port_ = 0;
  std::atomic<int> accepted_ = 0;
  std::atomic<bool> stop_ = false;
  std::vector<int> open_;
  std::string problem_;
  std::thread thread_;
};

/// A port on which nothing listens.
int unused_port();
