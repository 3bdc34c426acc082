// Passwords and keys: how they come in, and the requests and answers that hold them.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>

#include "tools/seam.hpp"
#include "tools/session.hpp"

namespace tool {

/// A password or a key as the user gives it; wiped at its end. It has room for more than any limit, so that what is too
/// long is seen.
class Secret {
 public:
  Secret() = default;
  ~Secret() { explicit_bzero(bytes_.data(), bytes_.size()); }
  Secret(const Secret&) = delete;
  Secret& operator=(const Secret&) = delete;

  size_t size() const { return size_; }
  std::span<const uint8_t> bytes() const { return {bytes_.data(), size_}; }
  void add(uint8_t byte) {
    if (size_ < bytes_.size()) bytes_[size_++] = byte;
  }
  bool operator==(const Secret& other) const {
    return size_ == other.size_ && std::memcmp(bytes_.data(), other.bytes_.data(), size_) == 0;
  }

 private:
  std::array<uint8_t, 128> bytes_ = {};
  size_t size_ = 0;
};

/// One line from the terminal, which does not show it, after the prompt; `twice`: once more, to compare. From standard
/// input without a prompt when that is no terminal.
void read_secret(Secret& secret, const std::string& prompt, bool twice);

/// While it lives, --verbose shows no bytes. At its end the bytes of the last exchange are wiped from memory.
class SecretScope {
 public:
  explicit SecretScope(const Session& session) : session_(session), verbose_(seam::verbose()) {
    if (verbose_) std::fputs("(an exchange that holds a secret is not shown)\n", stderr);
    set_verbose(false);
  }
  ~SecretScope() {
    set_verbose(verbose_);
    wipe(session_.last().request);
    wipe(session_.last().reply);
  }
  SecretScope(const SecretScope&) = delete;
  SecretScope& operator=(const SecretScope&) = delete;

 private:
  /// The record itself is not constant, the view of it is.
  static void wipe(const Bytes& bytes) { explicit_bzero(const_cast<uint8_t*>(bytes.data()), bytes.size()); }

  const Session& session_;
  const bool verbose_;
};

}  // namespace tool
