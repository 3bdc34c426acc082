// The connection to the BMC that a command works on, and what its last exchange was.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lumipmi/lumipmi.h"
#include "tools/exit.hpp"
#include "tools/output.hpp"

namespace tool {

using Bytes = std::vector<uint8_t>;

/// One exchange with the driver as the seam in seam.cpp saw it (the tool defines IPMI_DoIPMICmd, which passes every
/// request on to the driver that is next in line).
struct ExchangeRecord {
  uint8_t net_fn = 0;
  uint8_t lun = 0;
  uint8_t cmd = 0;
  Bytes request;          // data behind the command code
  bool answered = false;  // false: the driver failed
  uint8_t completion = 0;
  Bytes reply;  // data behind the completion code
};

class Session {
 public:
  /// Opens nothing yet: commands that need no BMC never touch the driver.
  Session() = default;
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// The library's handle; opened on first use.
  IpmiHandle* handle();

  /// Sends the following requests to a LUN of the BMC (0 to 3). The library's requests do not carry the LUN to the
  /// driver, so the seam adds it; a driver that cannot address LUNs makes those requests fail.
  void set_lun(uint8_t lun);

  /// Whether SDRs may come from the cache and go there; true at first.
  void set_cache(bool allowed) { cache_ = allowed; }
  bool cache() const { return cache_; }

  /// Exchanges so far.
  size_t exchanges() const;
  const ExchangeRecord& last() const;

  /// Nothing on success; else throws a Failure that names the command, its NetFn and code, the completion code, its
  /// meaning and what to do. `command` is the standard's name: "Get Device ID".
  void check(uint32_t status, const std::string& command);

  /// The same as text, for a Problem: "Get Sensor Reading (NetFn 0x04, command 0x2D): completion code 0xCB, ...".
  std::string describe(uint32_t status, const std::string& command) const;

  /// True when going on with other requests is pointless: the driver lost the BMC.
  bool fatal(uint32_t status) const;

  /// After a Failure: the BMC is out of reach, so that going on with something else is pointless.
  bool lost_bmc() const;

 private:
  IpmiHandle* handle_ = nullptr;
  bool cache_ = true;
};

/// RAII for Session::set_lun().
class LunScope {
 public:
  LunScope(Session& session, uint8_t lun) : session_(session) { session_.set_lun(lun); }
  ~LunScope() { session_.set_lun(0); }
  LunScope(const LunScope&) = delete;
  LunScope& operator=(const LunScope&) = delete;

 private:
  Session& session_;
};

/// Writes each exchange in hex to standard error.
void set_verbose(bool verbose);

/// What a status means. Also for bare completion codes.
struct StatusMeaning {
  std::string name;     // IPMI_STATUS_BMC_INVALID_COMMAND, or empty
  std::string meaning;  // to go on a sentence with, no full stop: "invalid command; the BMC does not implement it"
  std::string advice;   // a sentence; may be empty
};
StatusMeaning meaning_of(uint32_t status);

/// Progress of a walk, on standard error, on a terminal only, from about half a second on; erases itself.
class Progress {
 public:
  explicit Progress(std::string what);
  ~Progress();
  /// total 0: unknown.
  void step(size_t done, size_t total);

 private:
  struct State;
  State* state_;
};

}  // namespace tool
