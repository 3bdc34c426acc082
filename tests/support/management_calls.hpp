// Every management call with the requests of its good run, as data: what the tests of the whole layer walk over.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/scripted_driver.hpp"

/// What a call does when one of its requests fails.
enum class After {
  Ends,      // returns the status
  GoesOn,    // goes on with the requests that follow in the good run, and succeeds
  NotFound,  // searches on, among channels or users that do not exist: IPMI_STATUS_APP_NOT_FOUND
  Repeats    // sends the request again
};

/// A request of a good run and what answers give which status.
struct Ask {
  uint8_t net_fn;
  uint8_t cmd;
  Bytes request;
  Bytes data;        // of the good answer
  size_t least = 0;  // answers with fewer data bytes are too short ...
  uint32_t too_short = 0x200000FF;
  uint32_t no_data = 0;    // ... and those without any, if that is another status
  uint32_t longer = 0;     // status of the good answer with one byte more ...
  uint32_t longest = 0;    // ... and padded to 254 bytes
  Completions codes = {};  // statuses of completion codes of the command's own
  After after = After::Ends;
  Bytes searches_on = {};  // completion codes after which requests may follow all the same
  uint8_t completion = 0;  // of the good answer
};

struct ManagementCall {
  const char* name;
  /// Calls with guarded outputs, and appends to `out` what is in them afterwards.
  std::function<uint32_t(Bytes& out)> run;
  std::vector<Ask> asks;
  Bytes out = {};              // what a good run leaves in the outputs
  bool all_or_nothing = true;  // a failure leaves them as they were
};

const std::vector<ManagementCall>& management_calls();

/// A BMC that answers all these requests well, and any other with completion code CBh. Has no state: threads can share
/// it.
Bytes model_bmc(uint8_t net_fn, uint8_t cmd, const Bytes& request);
