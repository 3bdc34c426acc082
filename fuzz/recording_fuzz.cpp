// A recording of exchanges: read by the driver, which plays the BMC from it. When the driver accepts the file, each
// line is also read here, word by word, sent as a request, and held against what comes back.
#include <cstring>
#include <optional>
#include <sstream>

#include "fuzz.hpp"
#include "lumipmi/driver.h"
#include "memory_file.hpp"

using lumi::fuzz::require;

namespace {

constexpr const char* kCauses[] = {"",        "NO_DEVICE", "PERMISSION",    "BUSY",         "TIMEOUT",
                                   "REFUSED", "CLOSED",    "BAD_TRANSPORT", "BAD_ARGUMENT", "IO"};

struct Exchange {
  uint8_t lun = 0;
  uint8_t net_fn = 0;
  uint8_t cmd = 0;
  Bytes request = {};
  Bytes answer = {};  // empty after a failure
  int32_t cause = 0;
  std::string text = {};  // of a failure
};

uint8_t byte_of(const std::string& digits) {
  return static_cast<uint8_t>(std::stoul(digits, nullptr, 16));
}

/// "06.0", cut at its point, and the other words of a line: "0.0+0.0 06.0 01 > < 00 20", "0.0+0.0 06.0 01 > ! IO text".
Exchange exchange_of(std::string line) {
  line.insert(line.find_first_of("<!"), " ");  // it may be missing there
  Exchange exchange;
  std::istringstream words(line);
  std::string word;
  words >> word >> word;
  exchange.net_fn = byte_of(word.substr(0, 2));
  exchange.lun = byte_of(word.substr(3));
  words >> word;
  exchange.cmd = byte_of(word);
  words >> word;  // ">"
  while (words >> word && word != "<" && word != "!") exchange.request.push_back(byte_of(word));
  if (word == "<") {
    while (words >> word) exchange.answer.push_back(byte_of(word));
    return exchange;
  }
  words >> word;
  exchange.cause = static_cast<int32_t>(std::find(std::begin(kCauses), std::end(kCauses), word) - std::begin(kCauses));
  std::getline(words.ignore(1), word, '\n');
  for (size_t i = 0; i < word.size(); ++i) {
    const bool escaped = word[i] == '\\';
    exchange.text += escaped ? static_cast<char>(byte_of(word.substr(i + 2, 2))) : word[i];
    if (escaped) i += 3;
  }
  return exchange;
}

std::vector<std::string> exchange_lines(const Bytes& file) {
  std::vector<std::string> lines;
  std::istringstream text(std::string(file.begin(), file.end()));
  for (std::string line; std::getline(text, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const size_t start = line.find_first_not_of(" \t");
    if (start != std::string::npos && line[start] != '#' && line.compare(0, 18, "lumipmi-recording ") != 0)
      lines.push_back(line);
  }
  return lines;
}

int32_t send(const Exchange& exchange, Bytes& answer) {
  answer.resize(LUMIPMI_DRIVER_MAX_RESPONSE);
  uint32_t length = 0;
  const int32_t failed =
      lumipmi_driver_exchange(exchange.lun, exchange.net_fn, exchange.cmd, exchange.request.data(),
                              static_cast<uint16_t>(exchange.request.size()), answer.data(), &length);
  answer.resize(length);
  return failed;
}

void play(const std::string& transport, const Bytes& file) {
  require(lumipmi_driver_select(transport.c_str()) == 0);
  Bytes answer;
  const Exchange unknown = {.lun = 3, .net_fn = 0x3E, .cmd = 0xFF, .request = Bytes(270, 0x5A)};
  if (send(unknown, answer) != 0 && lumipmi_driver_last_cause() == LUMIPMI_CAUSE_BAD_TRANSPORT) return;

  for (const std::string& line : exchange_lines(file)) {
    const Exchange exchange = exchange_of(line);
    const int32_t failed = send(exchange, answer);
    require(failed == (exchange.cause != 0 ? 1 : 0));
    require(lumipmi_driver_last_cause() == exchange.cause && lumipmi_driver_last_error() == exchange.text);
    require(answer == exchange.answer);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const lumi::fuzz::MemoryFile memory;
  const Bytes file(data, data + size);
  memory.write(file);
  play("replay:" + memory.path(), file);
  play("replay-any:" + memory.path(), file);
  lumipmi_driver_close();
  return 0;
}
