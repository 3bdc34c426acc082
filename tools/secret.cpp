#include "tools/secret.hpp"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace tool {

namespace {

volatile sig_atomic_t g_signal = 0;

/// A terminal that shows nothing of what is typed. A signal that ends or stops the tool ends the waiting for a line
/// instead, and is raised again when the terminal is as it was.
class QuietTerminal {
 public:
  QuietTerminal() {
    struct sigaction action = {};
    action.sa_handler = [](int signal) { g_signal = signal; };
    sigset_t signals;
    sigemptyset(&signals);
    for (size_t i = 0; i < std::size(kSignals); ++i) {
      sigaddset(&signals, kSignals[i]);
      sigaction(kSignals[i], &action, &actions_[i]);
    }
    sigprocmask(SIG_BLOCK, &signals, &mask_);  // but in wait()
    is_quiet_ = tcgetattr(STDIN_FILENO, &settings_) == 0;
    termios quiet = settings_;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
    is_quiet_ = is_quiet_ && tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) == 0;
  }
  ~QuietTerminal() {
    if (is_quiet_) tcsetattr(STDIN_FILENO, TCSAFLUSH, &settings_);
    for (size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &actions_[i], nullptr);
    sigprocmask(SIG_SETMASK, &mask_, nullptr);
    if (g_signal != 0) raise(g_signal);
  }
  QuietTerminal(const QuietTerminal&) = delete;
  QuietTerminal& operator=(const QuietTerminal&) = delete;

  bool is_quiet() const { return is_quiet_; }

  /// Until there is a line to read.
  void wait() const {
    pollfd input = {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
    while (ppoll(&input, 1, nullptr, &mask_) < 0)
      if (errno != EINTR || g_signal != 0) throw Failure(Exit::Usage, "nothing was read");
  }

 private:
  static constexpr int kSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP};
  struct sigaction actions_[std::size(kSignals)] = {};
  sigset_t mask_ = {};
  termios settings_ = {};
  bool is_quiet_ = false;
};

/// One line of standard input, with read(): the buffers of the standard library would keep a copy.
void read_line(Secret& secret) {
  uint8_t byte = 0;
  for (;;) {
    const ssize_t count = read(STDIN_FILENO, &byte, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw Failure(Exit::Usage, "nothing was read");
    if (count == 0 || byte == '\n') break;
    secret.add(byte);
  }
  explicit_bzero(&byte, sizeof byte);
}

void read_prompted(Secret& secret, const QuietTerminal& terminal, const std::string& prompt) {
  std::fputs(prompt.c_str(), stderr);
  terminal.wait();
  read_line(secret);
  std::fputc('\n', stderr);
}

}  // namespace

void read_secret(Secret& secret, const std::string& prompt, bool twice) {
  if (isatty(STDIN_FILENO) != 1) return read_line(secret);
  const QuietTerminal terminal;
  if (!terminal.is_quiet()) throw Failure(Exit::Internal, "the terminal cannot be made silent");
  read_prompted(secret, terminal, prompt);
  if (!twice) return;
  Secret again;
  read_prompted(again, terminal, "The same again: ");
  if (!(secret == again)) throw Failure(Exit::Usage, "the two inputs differ; nothing was changed");
}

}  // namespace tool
