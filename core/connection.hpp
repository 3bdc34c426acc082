// The connection of one management call: opened with the defaults of that layer, closed on every way out.
#pragma once

#include "core/handle.hpp"
#include "core/status.hpp"

namespace lumi {

class Connection {
 public:
  Connection() = default;
  ~Connection() {
    if (handle_ != nullptr) (void)ipmi_disconnect(handle_);  // always 0
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Once.
  [[nodiscard]] Status open() {
    static constexpr IpmiConnectParams kDefaults = {1, -1, -1, 0};
    return ipmi_connect(&kDefaults, &handle_);
  }

  IpmiHandle* handle() const { return handle_; }
  uint32_t version_level() const { return handle_->ipmiVersionLevel; }

 private:
  IpmiHandle* handle_ = nullptr;
};

}  // namespace lumi
