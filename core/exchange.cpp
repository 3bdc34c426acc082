#include "core/exchange.hpp"

#include <cstring>

namespace lumi {

Status Exchange::send(Reply expected, const CompletionMap* map, size_t map_size) {
  if (!data_.ok()) return IPMI_STATUS_APP_INSUFFICIENT_BUFFER;  // more request data than any command has
  request_.dataLength = static_cast<uint16_t>(data_.size());
  request_.data = data_.size() != 0 ? data_.data() : nullptr;
  LUMI_TRY(transact(request_, answer_, *handle_));
  const Status status = answer_.judge(expected.capacity);
  if (status != kOk) {
    completion_ = answer_.completion();
    for (size_t i = 0; i < map_size; ++i)
      if (completion_ == map[i].completion) return map[i].status;
    return status;
  }
  reply_length_ = static_cast<uint16_t>(answer_.data_length());
  return reply_length_ < expected.minimum ? expected.short_reply : kOk;
}

Status send_request(const IpmiRequest& request, IpmiResponse& response, IpmiHandle& handle) {
  Answer answer;
  LUMI_TRY(transact(request, answer, handle));
  response.completionCode = answer.completion();
  const Status status = answer.judge(response.dataLength);
  response.dataLength = status == kOk ? static_cast<uint16_t>(answer.data_length()) : 0;
  if (response.dataLength != 0 && response.data != nullptr)
    std::memcpy(response.data, answer.bytes + 1, response.dataLength);
  return status;
}

}  // namespace lumi
