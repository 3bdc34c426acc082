// How the tool ends, and the error that makes it end early.
#pragma once

#include <stdexcept>
#include <string>

namespace tool {

/// Exit statuses; part of the tool's interface, listed in its manual page.
enum class Exit {
  Ok = 0,
  Internal = 1,  // output could not be written, and what has no place below
  Usage = 2,     // wrong arguments or an input file that cannot be used
  NoBmc = 3,     // the driver found no BMC
  Refused = 4,   // the BMC, or the library, refused a request
  Partial = 5,   // something was shown, something else failed
  TimedOut = 6,  // the BMC did not answer in time, or stayed busy
};

/// Ends the command: what failed, and what to do about it (may be empty).
class Failure : public std::runtime_error {
 public:
  Failure(Exit exit, const std::string& what, std::string advice = "")
      : std::runtime_error(what), exit_(exit), advice_(std::move(advice)) {}
  Exit exit() const { return exit_; }
  const std::string& advice() const { return advice_; }

 private:
  Exit exit_;
  std::string advice_;
};

}  // namespace tool
