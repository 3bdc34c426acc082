#include "tools/session.hpp"

#include <unistd.h>

#include <chrono>
#include <cstdio>

#include "tools/seam.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

constexpr uint32_t kBmcBase = IPMI_STATUS_BMC_BASE;

bool is_completion_code(uint32_t status) {
  return status > kBmcBase && status <= kBmcBase + 0xFF;
}

/// The BMC said nothing is wrong, but the answer lacks bytes that the library needs.
bool is_short_answer(uint32_t status, const ExchangeRecord& last) {
  return (status == IPMI_STATUS_BMC_UNSPECIFIED || status == IPMI_STATUS_BMC_RESPOSE_UNAVAILABE) && last.answered &&
         last.completion == 0;
}

Exit exit_of_driver_failure(int32_t cause) {
  switch (cause) {
    case LUMIPMI_CAUSE_BUSY:
    case LUMIPMI_CAUSE_TIMEOUT:
      return Exit::TimedOut;
    case LUMIPMI_CAUSE_BAD_TRANSPORT:
    case LUMIPMI_CAUSE_BAD_ARGUMENT:
      return Exit::Usage;
    default:
      return Exit::NoBmc;
  }
}

Exit exit_of(uint32_t status, const ExchangeRecord& last) {
  switch (status) {
    case IPMI_STATUS_DRIVER_ERROR:
      return exit_of_driver_failure(seam::failure().cause);
    case IPMI_STATUS_NODE_BUSY_TIMEOUT:
      return Exit::TimedOut;
    case IPMI_STATUS_APP_NOT_ENOUGH_MEMORY:
      return Exit::Internal;
    case IPMI_STATUS_BMC_RESPOSE_UNAVAILABE:
      return is_short_answer(status, last) ? Exit::Refused : Exit::TimedOut;
    default:
      return Exit::Refused;
  }
}

/// Beyond what the driver says itself.
std::string advice_on_driver_failure(int32_t cause) {
  switch (cause) {
    case LUMIPMI_CAUSE_NO_DEVICE:
    case LUMIPMI_CAUSE_REFUSED:
      return "Where to look for the BMC: --driver, or the environment variable LUMIPMI_DRIVER.";
    case LUMIPMI_CAUSE_TIMEOUT:
      return "How long to wait: --timeout, or the environment variable LUMIPMI_TIMEOUT_MS.";
    default:
      return "";
  }
}

std::string advice_on(uint32_t status, const ExchangeRecord& last) {
  if (status == IPMI_STATUS_DRIVER_ERROR) return advice_on_driver_failure(seam::failure().cause);
  if (is_short_answer(status, last)) return "--verbose shows the answer.";
  return meaning_of(status).advice;
}

}  // namespace

Session::~Session() {
  if (handle_ != nullptr) ipmi_disconnect(handle_);
}

IpmiHandle* Session::handle() {
  if (handle_ != nullptr) return handle_;
  // One retry period: a busy BMC is asked again for ten seconds, not for the library's usual minute.
  const IpmiConnectParams params = {.interfaceType = 1, .reserved = -1, .retryCount = 0, .spare = 0};
  check(ipmi_connect(&params, &handle_), "opening a connection");
  return handle_;
}

void Session::set_lun(uint8_t lun) {
  seam::set_lun(lun);
}

size_t Session::exchanges() const {
  return seam::exchanges();
}

const ExchangeRecord& Session::last() const {
  return seam::last();
}

void Session::check(uint32_t status, const std::string& command) {
  if (status != 0) throw Failure(exit_of(status, last()), describe(status, command), advice_on(status, last()));
}

std::string Session::describe(uint32_t status, const std::string& command) const {
  const StatusMeaning known = meaning_of(status);
  if (status >= IPMI_STATUS_APP_ERROR && status < IPMI_STATUS_DRIVER_ERROR)  // not about one exchange
    return command + ": status " + hex_number(status, 8) + ", " + known.meaning;

  const ExchangeRecord& exchange = last();
  const std::string lun = exchange.lun != 0 ? ", LUN " + std::to_string(exchange.lun) : "";
  const std::string where =
      command + " (NetFn " + hex_number(exchange.net_fn) + ", command " + hex_number(exchange.cmd) + lun + "): ";
  if (status == IPMI_STATUS_DRIVER_ERROR) return where + to_utf8(seam::failure().text);
  if (status == IPMI_STATUS_NODE_BUSY_TIMEOUT) return where + known.meaning;
  if (status == kBmcBase || is_short_answer(status, exchange)) {
    const std::string size = std::to_string(exchange.reply.size());
    return where + "an answer of " + size + " data bytes is too " + (status == kBmcBase ? "long" : "short") +
           " for this command";
  }
  return where + "completion code " + hex_number(is_completion_code(status) ? status - kBmcBase : exchange.completion) +
         ", " + known.meaning;
}

bool Session::fatal(uint32_t status) const {
  if (status == IPMI_STATUS_NODE_BUSY_TIMEOUT) return true;
  if (status != IPMI_STATUS_DRIVER_ERROR) return false;
  switch (seam::failure().cause) {
    case LUMIPMI_CAUSE_BAD_ARGUMENT:
      return false;  // a LUN that the driver cannot address
    case LUMIPMI_CAUSE_TIMEOUT:
      return seam::failures_in_a_row() > 1;  // one request may get lost
    default:
      return true;
  }
}

bool Session::lost_bmc() const {
  constexpr uint8_t kNodeBusy = 0xC0;
  return last().answered ? last().completion == kNodeBusy : fatal(IPMI_STATUS_DRIVER_ERROR);
}

void set_verbose(bool verbose) {
  seam::set_verbose(verbose);
}

struct Progress::State {
  using Clock = std::chrono::steady_clock;
  static constexpr auto kQuietAtFirst = std::chrono::milliseconds(500);
  static constexpr auto kBetween = std::chrono::milliseconds(100);

  std::string what;
  Clock::time_point next = Clock::now() + kQuietAtFirst;
  bool shown = false;
};

Progress::Progress(std::string what) : state_(nullptr) {
  if (isatty(STDERR_FILENO) == 1 && !seam::verbose()) state_ = new State{.what = std::move(what)};
}

Progress::~Progress() {
  if (state_ != nullptr && state_->shown) std::fputs("\r\033[K", stderr);
  delete state_;
}

void Progress::step(size_t done, size_t total) {
  if (state_ == nullptr || State::Clock::now() < state_->next) return;
  state_->next = State::Clock::now() + State::kBetween;
  state_->shown = true;
  const std::string of = total != 0 ? " of " + std::to_string(total) : "";
  std::fprintf(stderr, "\r\033[K%s: %zu%s", state_->what.c_str(), done, of.c_str());
}

}  // namespace tool
