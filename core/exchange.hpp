// One request and its reply, on the stack of a command function.
//
//   Exchange ex(handle, NetFn::Storage, 0x43, Privilege::User);
//   ex.bytes(reservation, 2).le16(record_id).u8(offset).u8(count);  // the request data in wire order
//   LUMI_TRY(ex.send(Reply::at_least(2), kSelCodes));
//   ByteReader reply = ex.reply();                                  // the data behind the completion code
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/bytes.hpp"
#include "core/status.hpp"
#include "lumipmi/connection.h"

namespace lumi {

enum class NetFn : uint8_t {
  Chassis = 0x00,
  SensorEvent = 0x04,
  App = 0x06,
  Storage = 0x0A,
  Transport = 0x0C,
  OemKest = 0x30,  // the maker's own commands
  OemSol = 0x34    // serial over LAN before IPMI 2.0
};

/// The privilege level that a command needs.
enum class Privilege : uint32_t { User = 2, Operator = 3, Administrator = 4 };

/// What a command makes of a completion code of its own (0x80 to 0xBE); others keep their status.
struct CompletionMap {
  uint8_t completion;
  Status status;
};

/// The reply that a command expects.
struct Reply {
  uint16_t capacity;  // room offered to the BMC: one byte more gives 0x20000000
  uint16_t minimum;   // fewer bytes give short_reply
  Status short_reply;

  /// No data; a BMC that sends some makes the command fail with 0x20000000.
  static constexpr Reply none() { return {0, 0, kOk}; }
  static constexpr Reply at_least(uint16_t minimum, Status short_reply = IPMI_STATUS_BMC_UNSPECIFIED) {
    return {255, minimum, short_reply};
  }
  constexpr Reply offering(uint16_t room) const { return {room, minimum, short_reply}; }
};

/// What the driver wrote: the completion code and the data behind it.
struct Answer {
  uint8_t bytes[255];
  uint32_t length;

  uint8_t completion() const { return bytes[0]; }
  uint32_t data_length() const { return length - 1; }
  /// What the completion code means, and the length for a caller with that much room.
  Status judge(uint32_t room) const {
    return completion() != 0 || data_length() > room ? IPMI_STATUS_BMC_BASE + completion() : kOk;
  }
};

class Exchange {
 public:
  Exchange(IpmiHandle* handle, NetFn net_fn, uint8_t cmd, Privilege privilege)
      : handle_(handle),
        request_{
            static_cast<uint32_t>(privilege), 0, handle->bmcAddress, 0, static_cast<uint8_t>(net_fn), cmd, 0, nullptr} {
  }

  /// Another responder than the BMC at LUN 0.
  Exchange& to(uint8_t address, uint8_t lun) {
    request_.rsAddr = address;
    request_.rsLun = lun;
    return *this;
  }

  Exchange& u8(uint8_t value) { return data_.u8(value), *this; }
  Exchange& le16(uint16_t value) { return data_.le16(value), *this; }
  Exchange& le32(uint32_t value) { return data_.le32(value), *this; }
  Exchange& bytes(const void* from, size_t size) { return data_.bytes(from, size), *this; }

  /// Sends and checks the reply's length.
  [[nodiscard]] Status send(Reply expected) { return send(expected, nullptr, 0); }
  /// The same, with completion codes of the command's own mapped.
  template <size_t N>
  [[nodiscard]] Status send(Reply expected, const CompletionMap (&map)[N]) {
    return send(expected, map, N);
  }

  /// The data behind the completion code; empty before a successful send().
  ByteReader reply() const { return ByteReader(answer_.bytes + 1, reply_length_); }
  /// The completion code when send() has failed for it, else 0.
  uint8_t completion() const { return completion_; }

 private:
  Status send(Reply expected, const CompletionMap* map, size_t map_size);

  IpmiHandle* handle_;
  IpmiRequest request_;
  ByteWriter<255> data_;
  Answer answer_;  // set by send()
  uint16_t reply_length_ = 0;
  uint8_t completion_ = 0;
};

/// Sends under the handle's lock, and again while the BMC is busy. Fills the answer, or returns why there is none.
[[nodiscard]] Status transact(const IpmiRequest& request, Answer& answer, IpmiHandle& handle);

/// What ipmi_send_request() does.
[[nodiscard]] Status send_request(const IpmiRequest& request, IpmiResponse& response, IpmiHandle& handle);

}  // namespace lumi
