// What lies between liblumipmi and the driver: the tool's own IPMI_DoIPMICmd, and what it can say about the exchanges.
#pragma once

#include <string>

#include "lumipmi/driver.h"
#include "tools/session.hpp"

namespace tool::seam {

/// The LUN that the next requests go to.
void set_lun(uint8_t lun);
void set_verbose(bool verbose);
bool verbose();

/// A line on standard error for those who want to know: --verbose.
void note(const std::string& line);

size_t exchanges();
const ExchangeRecord& last();

/// Why the last exchange failed.
struct DriverFailure {
  int32_t cause = LUMIPMI_CAUSE_NONE;  // NONE: a driver that is not liblumipmi-driver, which tells no causes
  std::string text;                    // what is wrong and what to do about it
};
const DriverFailure& failure();
/// Exchanges that failed since the last one that was answered.
size_t failures_in_a_row();

/// lumipmi_driver_select and lumipmi_driver_set_timeout; Failure(Usage) when the transport makes no sense or there is
/// no liblumipmi-driver to select it in.
void select_transport(const std::string& transport);
void set_timeout(uint32_t ms);

/// Where the requests go: the file of the driver and its transport, such as "dev:/dev/ipmi0".
std::string destination();
/// Requests go to a recording, or into one.
bool is_recorded();

}  // namespace tool::seam
