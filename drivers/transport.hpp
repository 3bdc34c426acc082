// What the driver knows of a transport, and what the transports share.
//
// driver.cpp owns a few links and hands each to one exchange at a time. A transport therefore never sees two threads on
// one link, and an answer can only reach the exchange that holds the link its request went out on.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "drivers/deadline.hpp"
#include "drivers/failure.hpp"

namespace lumi::driver {

struct Transport;

struct Request {
  uint8_t lun;
  uint8_t net_fn;
  uint8_t cmd;
  const uint8_t* data;
  uint16_t length;
};

/// Completion code and data; `length` is at least 1 after an exchange that succeeded.
struct Answer {
  uint8_t bytes[LUMIPMI_DRIVER_MAX_RESPONSE];
  size_t length = 0;
};

/// A transport and where it leads.
struct Address {
  const Transport* transport = nullptr;
  char name[280] = "";    // as selected: "dev", "dev:PATH", "vm:HOST:PORT", "replay:FILE"
  char target[256] = "";  // dev: path, empty to look for one; vm: host without brackets; replay: file
  char port[6] = "";      // vm only
};

/// The frame being received on a VM link; see vm.cpp.
struct VmFrame {
  uint8_t bytes[3 + LUMIPMI_DRIVER_MAX_RESPONSE];  // sequence, network function, command, completion code and data
  size_t length;                                   // bytes of the frame so far, also those that were not kept
  uint8_t sum;
  bool escaped;
};

/// What a replay link has read; see replay.cpp.
struct Recording;

/// One connection to the BMC.
struct Link {
  Address address;
  unsigned generation = 0;  // of the selection in `address`; owned by driver.cpp
  bool in_use = false;      // owned by driver.cpp
  int fd = -1;
  unsigned long last_id = 0;       // number of the latest request, never used twice in a row
  bool heard = false;              // vm: something arrived on this connection
  VmFrame frame = {};              // vm
  Recording* recording = nullptr;  // replay
};

struct Transport {
  size_t links;  // how many exchanges may run at once
  /// Opens the link when it is closed and performs one exchange. Returns LUMIPMI_CAUSE_NONE or what fail() returned.
  Cause (*exchange)(Link& link, const Request& request, Answer& answer, const Deadline& deadline);
  void (*close)(int fd);  // null when links have none
};

extern const Transport kDevTransport;
extern const Transport kVmTransport;
extern const Transport kReplayTransport;
extern const Transport kReplayAnyTransport;

/// Closes the link if it is open.
void close_link(Link& link);

/// Reads a transport's name into `address`; on failure it is left in an unspecified state and fail() has been called.
Cause parse_address(const char* name, Address& address);

}  // namespace lumi::driver
