// Recordings as a BMC.
//
// The file is read and checked as a whole when the link is opened, so that damage shows at once and not in the middle
// of a run. "replay" gives the answers in the order of the file and insists on the requests that belong to them;
// "replay-any" looks for the request, whatever the order. Nothing is ever waited for, so one link serves all threads.
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "drivers/recording.hpp"

namespace lumi::driver {

namespace {

/// A recorded exchange. Its bytes, first those of the request, are at `bytes` in Recording::bytes.
struct Entry {
  size_t bytes;
  unsigned line;
  uint16_t request_length;
  uint16_t result_length;  // completion code and data, or the text of the failure
  uint8_t lun;
  uint8_t net_fn;
  uint8_t cmd;
  uint8_t cause;
  bool used;  // "replay-any": has been given
};

}  // namespace

struct Recording {
  Entry* entries = nullptr;
  size_t count = 0;
  size_t room = 0;
  uint8_t* bytes = nullptr;
  size_t bytes_count = 0;
  size_t bytes_room = 0;
  size_t next = 0;  // "replay": the entry to come
};

void free_recording(Recording* recording) {
  if (recording == nullptr) return;
  free(recording->entries);
  free(recording->bytes);
  free(recording);
}

namespace {

// --- One line -------------------------------------------------------------------------------------------------------

int hex_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

/// The rest of a line. The functions that return bool take nothing when they return false.
class Scanner {
 public:
  Scanner(const char* text, size_t length) : at_(text), end_(text + length) {}

  void skip_blanks() {
    while (at_ < end_ && is_blank(*at_)) ++at_;
  }

  bool at_end() const { return at_ == end_; }
  size_t left() const { return static_cast<size_t>(end_ - at_); }
  char take() { return *at_++; }  // not at the end

  bool character(char c) {
    if (at_ == end_ || *at_ != c) return false;
    ++at_;
    return true;
  }

  /// Two hexadecimal digits.
  bool byte(uint8_t& value) {
    if (left() < 2 || hex_digit(at_[0]) < 0 || hex_digit(at_[1]) < 0) return false;
    value = static_cast<uint8_t>(hex_digit(at_[0]) << 4 | hex_digit(at_[1]));
    at_ += 2;
    return true;
  }

  bool word(const char* text) {
    const size_t length = strlen(text);
    if (left() < length || memcmp(at_, text, length) != 0) return false;
    at_ += length;
    return true;
  }

  /// Digits, at least one.
  bool number() {
    const char* start = at_;
    while (at_ < end_ && *at_ >= '0' && *at_ <= '9') ++at_;
    return at_ != start;
  }

  /// Skips the blanks that have to follow a word, unless the line ends there.
  bool separated() {
    if (at_end()) return true;
    const char* start = at_;
    skip_blanks();
    return at_ != start;
  }

 private:
  const char* at_;
  const char* end_;
};

/// An exchange as it stands in a line.
struct Parsed {
  uint8_t lun;
  uint8_t net_fn;
  uint8_t cmd;
  uint8_t cause;
  uint16_t request_length;
  uint16_t result_length;
  uint8_t request[kMaxRecordedData];
  uint8_t result[kFailureText];
};

static_assert(LUMIPMI_DRIVER_MAX_RESPONSE <= kFailureText);

bool parse_time(Scanner& line) {
  return line.number() && line.character('.') && line.number() && line.character('+') && line.number() &&
         line.character('.') && line.number() && line.separated();
}

bool parse_address_and_command(Scanner& line, Parsed& parsed) {
  uint8_t lun = 0;
  if (!line.byte(parsed.net_fn) || parsed.net_fn > 0x3E || parsed.net_fn % 2 != 0 || !line.character('.')) return false;
  while (lun <= 3 && !line.character(static_cast<char>('0' + lun))) ++lun;
  parsed.lun = lun;
  return lun <= 3 && line.separated() && line.byte(parsed.cmd) && line.separated();
}

/// Reads bytes as far as there are any; false when there are more than `max`.
bool parse_bytes(Scanner& line, uint8_t* bytes, size_t max, uint16_t& length) {
  length = 0;
  uint8_t value = 0;
  while (line.byte(value)) {
    if (length == max) return false;
    bytes[length++] = value;
    if (!line.separated()) return true;  // the caller finds something else there
  }
  return true;
}

const char* parse_answer(Scanner& line, Parsed& parsed) {
  parsed.cause = LUMIPMI_CAUSE_NONE;
  if (!parse_bytes(line, parsed.result, LUMIPMI_DRIVER_MAX_RESPONSE, parsed.result_length))
    return "more than 255 bytes of answer";
  if (!line.at_end()) return "the answer has something else than bytes of two hexadecimal digits";
  return parsed.result_length == 0 ? "the answer has no completion code" : nullptr;
}

const char* parse_failure(Scanner& line, Parsed& parsed) {
  constexpr size_t kWords = sizeof kCauseWords / sizeof kCauseWords[0];
  size_t word = 0;
  while (word < kWords && !line.word(kCauseWords[word])) ++word;
  // One blank, and not more: the text may begin with one.
  if (word == kWords || !(line.character(' ') || line.at_end()))
    return "the cause of the failure is none of the known ones";
  parsed.cause = static_cast<uint8_t>(LUMIPMI_CAUSE_NO_DEVICE + word);

  parsed.result_length = 0;
  while (!line.at_end()) {
    char c = line.take();
    if (c == '\\') {
      uint8_t value = 0;
      if (!line.character('x') || !line.byte(value)) return "a backslash without xHH behind it";
      c = static_cast<char>(value);
    }
    if (c == '\0' || parsed.result_length == kFailureText - 1)
      return "the text of the failure is too long or has a NUL";
    parsed.result[parsed.result_length++] = static_cast<uint8_t>(c);
  }
  return parsed.result_length == 0 ? "the text of the failure is missing" : nullptr;
}

/// Returns what is wrong with the line, null when nothing is.
const char* parse_exchange(Scanner line, Parsed& parsed) {
  if (!parse_time(line)) return "it does not begin with the time, such as 0.012345+0.000678";
  if (!parse_address_and_command(line, parsed)) return "no network function, LUN and command, such as 06.0 01";
  if (!line.character('>') || !line.separated()) return "\">\" is missing in front of the request data";
  if (!parse_bytes(line, parsed.request, kMaxRecordedData, parsed.request_length))
    return "more than 270 bytes of request data";
  const bool answered = line.character('<');
  if (!answered && !line.character('!')) return "neither \"<\" nor \"!\" after the request data";
  if (!line.separated()) return "no blank after \"<\" or \"!\"";
  return answered ? parse_answer(line, parsed) : parse_failure(line, parsed);
}

/// The same for a line of any kind. `parsed.net_fn` is 0xFF when the line has no exchange.
const char* parse_line(const char* text, size_t length, bool first, Parsed& parsed) {
  parsed.net_fn = 0xFF;
  if (length > 0 && text[length - 1] == '\r') --length;
  Scanner line(text, length);
  if (line.word("lumipmi-recording ")) {  // in the middle, too: another process goes on with the recording
    const bool known = line.character('1') && line.separated() && line.at_end();
    return known ? nullptr : "another version of the format; this one is 1";
  }
  if (first) return "not a recording, which begins with \"lumipmi-recording 1\"";
  line.skip_blanks();
  if (line.at_end() || line.character('#')) return nullptr;
  return parse_exchange(line, parsed);
}

// --- The file -------------------------------------------------------------------------------------------------------

/// Makes room for `more` elements behind the first `count`.
template <typename T>
bool make_room(T*& array, size_t count, size_t more, size_t& room) {
  if (count + more <= room) return true;
  const size_t wanted = (count + more) * 2;
  void* grown = reallocarray(array, wanted, sizeof(T));
  if (grown == nullptr) return false;
  array = static_cast<T*>(grown);
  room = wanted;
  return true;
}

bool add_entry(Recording& recording, const Parsed& parsed, unsigned line) {
  const size_t length = size_t{parsed.request_length} + parsed.result_length;
  if (!make_room(recording.entries, recording.count, 1, recording.room) ||
      !make_room(recording.bytes, recording.bytes_count, length, recording.bytes_room))
    return false;
  uint8_t* bytes = recording.bytes + recording.bytes_count;
  memcpy(bytes, parsed.request, parsed.request_length);
  memcpy(bytes + parsed.request_length, parsed.result, parsed.result_length);
  recording.entries[recording.count++] = {
      .bytes = recording.bytes_count,
      .line = line,
      .request_length = parsed.request_length,
      .result_length = parsed.result_length,
      .lun = parsed.lun,
      .net_fn = parsed.net_fn,
      .cmd = parsed.cmd,
      .cause = parsed.cause,
      .used = false,
  };
  recording.bytes_count += length;
  return true;
}

Cause fail_to_read(const char* path, int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return fail(LUMIPMI_CAUSE_NO_DEVICE, "%s: no such file; name a recording", path);
    case EACCES:
    case EPERM:
      return fail(LUMIPMI_CAUSE_PERMISSION, "%s: permission denied; let this user read the recording", path);
    default:
      return fail(LUMIPMI_CAUSE_IO, "%s: cannot read the recording: %s", path, strerror(error));
  }
}

Cause fail_at(const char* path, unsigned line, const char* what) {
  return fail(LUMIPMI_CAUSE_BAD_TRANSPORT, "%s:%u: %s; correct the line, or record again", path, line, what);
}

/// Reads on to fill `buffer`; the number of bytes in it, or -1 with errno set.
ssize_t fill(int fd, char* buffer, size_t have, size_t size) {
  while (have < size) {
    const ssize_t got = read(fd, buffer + have, size - have);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return -1;
    if (got == 0) break;
    have += static_cast<size_t>(got);
  }
  return static_cast<ssize_t>(have);
}

Cause read_lines(int fd, const char* path, Recording& recording) {
  char buffer[kMaxLine];
  size_t have = 0;
  for (unsigned number = 1;; ++number) {
    const char* end = static_cast<const char*>(memchr(buffer, '\n', have));
    if (end == nullptr) {
      const ssize_t filled = fill(fd, buffer, have, sizeof buffer);
      if (filled < 0) return fail_to_read(path, errno);
      have = static_cast<size_t>(filled);
      end = static_cast<const char*>(memchr(buffer, '\n', have));
    }
    if (have == 0 && number > 1) return LUMIPMI_CAUSE_NONE;
    if (end == nullptr && have == sizeof buffer)
      return fail_at(path, number, "the line is longer than 4095 characters");
    if (end == nullptr)
      return fail_at(path, number, have == 0 ? "the file is empty" : "the file is cut off in this line");

    Parsed parsed;
    const char* problem = parse_line(buffer, static_cast<size_t>(end - buffer), number == 1, parsed);
    if (problem != nullptr) return fail_at(path, number, problem);
    if (parsed.net_fn != 0xFF && !add_entry(recording, parsed, number)) return fail_to_read(path, ENOMEM);
    have -= static_cast<size_t>(end + 1 - buffer);
    memmove(buffer, end + 1, have);
  }
}

Cause read_file(const char* path, Recording& recording) {
  const int fd = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);  // not blocking: it may turn out a pipe
  if (fd < 0) return fail_to_read(path, errno);
  struct stat file = {};
  Cause cause = LUMIPMI_CAUSE_NONE;
  if (fstat(fd, &file) < 0)
    cause = fail_to_read(path, errno);
  else if (!S_ISREG(file.st_mode))
    cause = fail(LUMIPMI_CAUSE_IO, "%s: not a regular file; name a recording", path);
  else
    cause = read_lines(fd, path, recording);
  (void)close(fd);  // it was only read
  return cause;
}

Cause open_recording(Link& link) {
  if (link.recording != nullptr) return LUMIPMI_CAUSE_NONE;
  auto* recording = static_cast<Recording*>(malloc(sizeof(Recording)));
  if (recording == nullptr) return fail_to_read(link.address.target, ENOMEM);
  *recording = Recording();
  const Cause cause = read_file(link.address.target, *recording);
  if (cause == LUMIPMI_CAUSE_NONE)
    link.recording = recording;
  else
    free_recording(recording);
  return cause;
}

// --- Exchanges ------------------------------------------------------------------------------------------------------

Cause check_length(const Link& link, const Request& request) {
  if (request.length <= kMaxRecordedData) return LUMIPMI_CAUSE_NONE;
  return fail(LUMIPMI_CAUSE_BAD_ARGUMENT, "%s: %u bytes of request data; a recording carries up to %zu",
              link.address.name, request.length, kMaxRecordedData);
}

const uint8_t* data_of(const Recording& recording, const Entry& entry) {
  return recording.bytes + entry.bytes;
}

bool is_same_command(const Entry& entry, const Request& request) {
  return entry.net_fn == request.net_fn && entry.lun == request.lun && entry.cmd == request.cmd;
}

bool is_same(const Recording& recording, const Entry& entry, const Request& request) {
  return is_same_command(entry, request) && entry.request_length == request.length &&
         (request.length == 0 || memcmp(data_of(recording, entry), request.data, request.length) == 0);
}

Cause play(const Recording& recording, const Entry& entry, Answer& answer) {
  const uint8_t* result = data_of(recording, entry) + entry.request_length;
  if (entry.cause != LUMIPMI_CAUSE_NONE)
    return fail(static_cast<Cause>(entry.cause), "%.*s", entry.result_length, reinterpret_cast<const char*>(result));
  memcpy(answer.bytes, result, entry.result_length);
  answer.length = entry.result_length;
  return LUMIPMI_CAUSE_NONE;
}

/// Shows no more of the data than it takes: there may be passwords in it.
Cause fail_mismatch(const Link& link, const Entry& entry, const Request& request) {
  constexpr const char* kAdvice = "repeat what was recorded, or match by content with replay-any:FILE";
  const char* path = link.address.target;
  if (!is_same_command(entry, request))
    return fail(LUMIPMI_CAUSE_IO,
                "%s:%u: expected netFn 0x%02X LUN %u command 0x%02X, but netFn 0x%02X LUN %u command 0x%02X came; %s",
                path, entry.line, entry.net_fn, entry.lun, entry.cmd, request.net_fn, request.lun, request.cmd,
                kAdvice);
  if (entry.request_length != request.length)
    return fail(LUMIPMI_CAUSE_IO, "%s:%u: expected netFn 0x%02X command 0x%02X with %u bytes of data, but %u came; %s",
                path, entry.line, entry.net_fn, entry.cmd, entry.request_length, request.length, kAdvice);
  const uint8_t* expected = data_of(*link.recording, entry);
  unsigned at = 0;
  while (expected[at] == request.data[at]) ++at;
  return fail(LUMIPMI_CAUSE_IO,
              "%s:%u: expected netFn 0x%02X command 0x%02X with 0x%02X as data byte %u, but 0x%02X came; %s", path,
              entry.line, entry.net_fn, entry.cmd, expected[at], at + 1, request.data[at], kAdvice);
}

Cause exchange_in_order(Link& link, const Request& request, Answer& answer, const Deadline&) {
  const Cause checked = check_length(link, request);
  if (checked != LUMIPMI_CAUSE_NONE) return checked;
  const Cause opened = open_recording(link);
  if (opened != LUMIPMI_CAUSE_NONE) return opened;

  Recording& recording = *link.recording;
  if (recording.next == recording.count)
    return fail(LUMIPMI_CAUSE_IO,
                "%s: the recording is at its end after %zu exchanges, but netFn 0x%02X LUN %u command 0x%02X came",
                link.address.target, recording.count, request.net_fn, request.lun, request.cmd);
  const Entry& entry = recording.entries[recording.next];
  if (!is_same(recording, entry, request)) return fail_mismatch(link, entry, request);
  ++recording.next;
  return play(recording, entry, answer);
}

Cause exchange_any(Link& link, const Request& request, Answer& answer, const Deadline&) {
  const Cause checked = check_length(link, request);
  if (checked != LUMIPMI_CAUSE_NONE) return checked;
  const Cause opened = open_recording(link);
  if (opened != LUMIPMI_CAUSE_NONE) return opened;

  const Recording& recording = *link.recording;
  Entry* found = nullptr;  // the first that has not been given yet, or else the last
  for (size_t i = 0; i < recording.count; ++i) {
    Entry& entry = recording.entries[i];
    if (!is_same(recording, entry, request)) continue;
    found = &entry;
    if (!entry.used) break;
  }
  if (found == nullptr)
    return fail(LUMIPMI_CAUSE_IO,
                "%s: no netFn 0x%02X LUN %u command 0x%02X with these %u bytes of data in the recording",
                link.address.target, request.net_fn, request.lun, request.cmd, request.length);
  found->used = true;
  return play(recording, *found, answer);
}

}  // namespace

const Transport kReplayTransport = {.links = 1, .exchange = exchange_in_order, .close = nullptr};
const Transport kReplayAnyTransport = {.links = 1, .exchange = exchange_any, .close = nullptr};

}  // namespace lumi::driver
