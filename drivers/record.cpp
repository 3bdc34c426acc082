// Writing recordings.
//
// The file is opened at the first exchange and kept. Each exchange is one line and one write at the end of the file, so
// the lines of threads and processes that share it stay whole. Whatever goes wrong ends the recording, is said once on
// standard error, and has no effect on exchanges.
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "drivers/recording.hpp"

namespace lumi::driver {

namespace {

constexpr int64_t kSecond = 1'000'000'000;

struct State {
  int fd = -1;  // set before any exchange is recorded, and then kept
  struct stat file = {};
  int64_t start_ns = 0;
  bool stopped = false;  // atomic
};

constinit State g_recording;

/// Text of bounded length; what does not fit is left out.
class Line {
 public:
  [[gnu::format(printf, 2, 3)]] void add(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int written = vsnprintf(text_ + length_, sizeof text_ - length_, format, arguments);
    va_end(arguments);
    if (written > 0 && static_cast<size_t>(written) < sizeof text_ - length_) length_ += static_cast<size_t>(written);
  }

  void add_bytes(const uint8_t* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) add(" %02x", bytes[i]);
  }

  void add_time(int64_t ns) {
    add("%lld.%06lld", static_cast<long long>(ns / kSecond), static_cast<long long>(ns % kSecond / 1000));
  }

  /// Control characters, which would tear the line apart, become \xHH, and so does the backslash.
  void add_text(const char* text) {
    for (; *text != '\0'; ++text) {
      const auto c = static_cast<unsigned char>(*text);
      if (c < 0x20 || c == 0x7F || c == '\\')
        add("\\x%02x", c);
      else
        add("%c", c);
    }
  }

  const char* text() const { return text_; }
  size_t length() const { return length_; }

 private:
  char text_[kMaxLine];
  size_t length_ = 0;
};

void give_up(const char* why) {
  if (!__atomic_exchange_n(&g_recording.stopped, true, __ATOMIC_RELAXED))
    dprintf(STDERR_FILENO, "liblumipmi-driver: LUMIPMI_TRACE: %s; exchanges are not recorded\n", why);
}

/// Whether the number still stands for our file: programs that become daemons close all they find, and the number may
/// be somebody else's file by now.
bool is_ours() {
  struct stat now = {};
  return fstat(g_recording.fd, &now) == 0 && now.st_dev == g_recording.file.st_dev &&
         now.st_ino == g_recording.file.st_ino;
}

void write_line(const Line& line) {
  if (!is_ours()) return give_up("the program closed the file");
  ssize_t written = -1;
  do {
    written = write(g_recording.fd, line.text(), line.length());
  } while (written < 0 && errno == EINTR);
  if (written < 0) return give_up(strerror(errno));
  if (static_cast<size_t>(written) < line.length()) return give_up("the file is full");
}

/// Why recordings cannot go to this file; null when they can.
const char* open_file(const char* path) {
  // Not blocking: a pipe that nobody reads must not keep the program waiting. It is refused then.
  const int fd = open(path, O_RDWR | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600);
  if (fd < 0) return strerror(errno);

  const char* problem = nullptr;
  char first[sizeof kVersionLine - 1];
  if (fstat(fd, &g_recording.file) < 0)
    problem = strerror(errno);
  else if (!S_ISREG(g_recording.file.st_mode))
    problem = "not a regular file";
  else if (g_recording.file.st_size != 0 && (pread(fd, first, sizeof first, 0) != static_cast<ssize_t>(sizeof first) ||
                                             memcmp(first, kVersionLine, sizeof first) != 0))
    problem = "the file has something else in it";
  if (problem != nullptr)
    (void)close(fd);
  else
    g_recording.fd = fd;
  return problem;
}

}  // namespace

void start_recording() {
  const char* path = secure_getenv("LUMIPMI_TRACE");
  if (path == nullptr || path[0] == '\0') return;

  g_recording.stopped = false;
  const char* problem = open_file(path);
  if (problem != nullptr) {
    char why[512];
    snprintf(why, sizeof why, "%.300s: %s", path, problem);
    return give_up(why);
  }
  g_recording.start_ns = monotonic_ns();
  const time_t now = time(nullptr);
  tm utc = {};
  gmtime_r(&now, &utc);
  Line line;
  line.add("%s\n# %04d-%02d-%02dT%02d:%02d:%02dZ, process %ld\n", kVersionLine, utc.tm_year + 1900, utc.tm_mon + 1,
           utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, static_cast<long>(getpid()));
  write_line(line);
}

int64_t recorded_begin() {
  if (g_recording.fd < 0 || __atomic_load_n(&g_recording.stopped, __ATOMIC_RELAXED)) return 0;
  return monotonic_ns();
}

void record(int64_t begin, const Request& request, Cause cause, const Answer& answer) {
  if (begin == 0 || __atomic_load_n(&g_recording.stopped, __ATOMIC_RELAXED)) return;

  Line line;
  const int64_t took = monotonic_ns() - begin;
  if (request.length > kMaxRecordedData) line.add("# not to be replayed: %u bytes of data, ", request.length);
  line.add_time(begin - g_recording.start_ns);
  line.add("+");
  line.add_time(took);
  line.add(" %02x.%u %02x >", request.net_fn, request.lun, request.cmd);
  line.add_bytes(request.data, request.length <= kMaxRecordedData ? request.length : 0);
  if (cause == LUMIPMI_CAUSE_NONE) {
    line.add(" <");
    line.add_bytes(answer.bytes, answer.length);
  } else {
    line.add(" ! %s ", kCauseWords[cause - LUMIPMI_CAUSE_NO_DEVICE]);
    line.add_text(failure_text());
  }
  line.add("\n");
  write_line(line);
}

void stop_recording() {
  if (g_recording.fd < 0) return;
  __atomic_store_n(&g_recording.stopped, true, __ATOMIC_RELAXED);
  if (is_ours()) (void)close(g_recording.fd);  // nothing to be done about a failure
  g_recording.fd = -1;
}

}  // namespace lumi::driver
