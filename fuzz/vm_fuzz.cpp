// The bytes that a BMC sends in the VM codec, held against a reader of its own. The input: sequence number, network
// function and command of the request; how many bytes arrive before the request; the bytes. They also serve as the
// data of a request, which has to come back from the codec as it went in.
#include <array>
#include <cstring>
#include <optional>

#include "drivers/vm.cpp"  // the codec has no entry of its own
#include "fuzz.hpp"

using lumi::fuzz::require;

namespace {

constexpr uint32_t kTimeoutMs = 5000;  // never used up: the BMC hangs up

/// The answer in a stream whose first bytes came too early for it.
std::optional<Bytes> answer_in(const Bytes& stream, size_t early, const Bytes& head) {
  Bytes frame;
  bool escaped = false;
  for (size_t i = 0; i < stream.size(); ++i) {
    const uint8_t byte = stream[i];
    if (byte == 0xAA) {
      escaped = true;
    } else if (byte == 0xA0 || byte == 0xA1) {
      uint8_t sum = 0;
      for (const uint8_t part : frame) sum = static_cast<uint8_t>(sum + part);
      const bool whole = byte == 0xA0 && !escaped && sum == 0 && frame.size() >= 5;
      if (i >= early && whole && frame[0] == head[0] && frame[1] / 4 == head[1] && frame[2] == head[2])
        return Bytes(frame.begin() + 3, frame.end() - 1);
      frame.clear();
      escaped = false;
    } else {
      frame.push_back(escaped ? byte & 0xEF : byte);
      escaped = false;
    }
  }
  return std::nullopt;
}

void write_all(int fd, const uint8_t* data, size_t size) {
  require(size == 0 || send(fd, data, size, MSG_NOSIGNAL) == static_cast<ssize_t>(size));
}

void check_answer(const lumi::driver::Request& request, uint8_t seq, const Bytes& stream, size_t early) {
  using namespace lumi::driver;
  std::array<int, 2> ends;
  require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends.data()) == 0);
  Link link;
  link.fd = ends[0];
  link.last_id = seq;
  const Deadline deadline(kTimeoutMs);
  write_all(ends[1], stream.data(), early);
  require(drain(link, deadline));
  write_all(ends[1], stream.data() + early, stream.size() - early);
  require(shutdown(ends[1], SHUT_WR) == 0);

  Answer answer = {};
  const Attempt result = await_answer(link, request, answer, deadline);
  const std::optional<Bytes> expected =
      answer_in(stream, early, {seq, static_cast<uint8_t>(request.net_fn | 1), request.cmd});
  require(result == (expected ? Attempt::kDone : Attempt::kLost));
  if (expected) {
    require(answer.length == std::min(expected->size(), sizeof answer.bytes));
    require(std::equal(answer.bytes, answer.bytes + answer.length, expected->begin()));
  }
  close(ends[0]);
  close(ends[1]);
}

/// A request, encoded and decoded again.
void check_request(const lumi::driver::Request& request, uint8_t seq) {
  using namespace lumi::driver;
  Outgoing out;
  out.message(seq, request);
  VmFrame frame = {};
  for (size_t i = 0; i < out.length(); ++i) require(add_byte(frame, out.bytes()[i]) == (i + 1 == out.length()));
  require(frame.length == request.length + 4u && frame.sum == 0 && !frame.escaped);
  require(frame.bytes[0] == seq && frame.bytes[1] == request.net_fn << 2 && frame.bytes[2] == request.cmd);
  require(request.length == 0 || std::memcmp(frame.bytes + 3, request.data, request.length) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  lumi::fuzz::Input input(data, size);
  const uint8_t seq = input.u8();
  lumi::driver::Request request = {};
  request.net_fn = input.u8() & 0x3E;
  request.cmd = input.u8();
  const size_t early = input.u8();
  const Bytes stream = input.rest();
  check_answer(request, seq, stream, std::min(early, stream.size()));
  request.data = stream.data();
  request.length = static_cast<uint16_t>(std::min(stream.size(), lumi::driver::kMaxData));
  check_request(request, seq);
  return 0;
}
