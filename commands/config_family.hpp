// What all get/set pairs of configuration parameters do once their request bytes stand: boot options, system
// information, LAN, serial/modem, PEF and SOL. What differs between them is data.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/exchange.hpp"
#include "core/handle.hpp"

namespace lumi {

/// Where a get writes the parameter revision.
enum class Revision {
  None,       // the caller does not get it
  WithData,   // together with the data, on success only
  BeforeData  // before the data's length is tested: also when the caller's buffer is too small
};

/// What a get offers the BMC.
enum class Room {
  Whole,       // 255 bytes, whatever the caller has room for
  CallersOnly  // the caller's room and the prefix: more is refused by the dispatcher, with 0x20000000
};

/// The defaults are what most families do; a family names what it does otherwise.
struct ConfigFamily {
  uint8_t prefix = 1;     // reply bytes in front of the data
  uint8_t min_reply = 1;  // fewer reply bytes give short_reply
  Status short_reply = IPMI_STATUS_BMC_UNSPECIFIED;
  Revision revision = Revision::WithData;
  Room room = Room::Whole;
  uint8_t max_set = 248;         // more data bytes to set give IPMI_STATUS_APP_INSUFFICIENT_BUFFER
  uint8_t last_set_code = 0x82;  // completion codes 0x80 to this one are mapped

  /// Sends the get and hands out its data. `*length` is the room at data, then the number of data bytes; it and data
  /// stay untouched on failure.
  [[nodiscard]] Status get(Exchange& ex, uint8_t* revision_out, uint16_t* length, void* data) const {
    static constexpr CompletionMap kCodes[] = {{0x80, IPMI_STATUS_BMC_GET_CONFIG_PARAMETER_80}};
    Reply reply = Reply::at_least(min_reply, short_reply);
    if (room == Room::CallersOnly) reply = reply.offering(static_cast<uint16_t>(std::min(*length + prefix, 255)));
    LUMI_TRY(ex.send(reply, kCodes));

    ByteReader bytes = ex.reply();
    const uint8_t first = bytes.u8();  // the parameter revision
    bytes.skip(prefix - size_t{1});
    if (revision == Revision::BeforeData) *revision_out = first;
    if (*length < bytes.left()) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;
    if (revision == Revision::WithData) *revision_out = first;
    *length = static_cast<uint16_t>(bytes.left());
    bytes.copy(data, bytes.left());
    return kOk;
  }

  /// Tests the length of the data to set; the caller has tested its pointers.
  [[nodiscard]] Status check_set(uint16_t length) const {
    return length > max_set ? IPMI_STATUS_APP_INSUFFICIENT_BUFFER : kOk;
  }

  /// Appends the data and sends the set.
  [[nodiscard]] Status set(Exchange& ex, uint16_t length, const void* data) const {
    ex.bytes(data, length);
    const Status status = ex.send(Reply::none());
    const uint8_t code = ex.completion();
    if (status != kOk && code >= 0x80 && code <= last_set_code)
      return IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_80 + (code - 0x80u);
    return status;
  }
};

/// Reads a parameter of a channel whose data are exactly N bytes with a family's get. Data stay untouched on failure,
/// but for a short response.
template <auto Get>
struct ChannelParameterGet {
  template <size_t N>
  [[nodiscard]] Status operator()(IpmiHandle* handle, uint8_t channel, uint8_t selector, uint8_t (&data)[N]) const {
    uint8_t revision;
    uint16_t length = N;
    LUMI_TRY(Get(handle, channel, selector, 0, 0, &revision, &length, data));
    return length < N ? IPMI_STATUS_BMC_UNSPECIFIED : kOk;
  }
};

/// Writes all of `data` to a parameter of a channel with a family's set.
template <auto Set>
struct ChannelParameterSet {
  template <size_t N>
  [[nodiscard]] Status operator()(IpmiHandle* handle, uint8_t channel, uint8_t selector,
                                  const uint8_t (&data)[N]) const {
    return Set(handle, channel, selector, N, data);
  }
};

}  // namespace lumi
