#include "core/exchange.hpp"

namespace lumi {

Status Exchange::send(Reply expected, const CompletionMap* map, size_t map_size) {
  if (!data_.ok()) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;  // more request data than any command has
  request_.dataLength = static_cast<uint16_t>(data_.size());
  request_.data = data_.size() != 0 ? data_.data() : nullptr;
  IpmiResponse response = {0, expected.capacity, expected.capacity != 0 ? reply_ : nullptr};
  const Status status = send_request(request_, response, *handle_);
  completion_ = response.completionCode;
  if (status != kOk) {
    for (size_t i = 0; i < map_size; ++i)
      if (completion_ == map[i].completion) return map[i].status;
    return status;
  }
  reply_length_ = response.dataLength;
  return reply_length_ < expected.minimum ? expected.short_reply : kOk;
}

}  // namespace lumi
