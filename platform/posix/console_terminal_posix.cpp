#include "platform/console_terminal.h"

#include <csignal>
#include <cstdlib>
#include <thread>

#include <cerrno>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "platform/posix/line_editor_posix.h"

namespace kor {

namespace {

// Writes everything; a reader that is slow is waited for, one that is gone is forgotten.
void WriteAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno == EAGAIN) {
      pollfd ready{descriptor, POLLOUT, 0};
      ::poll(&ready, 1, -1);
      continue;
    }
    if (count <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

std::string_view Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

bool IsDumb() {
  const std::string_view kind = Environment("TERM");
  return kind.empty() || kind == "dumb";
}

class PosixTerminal : public Terminal {
 public:
  PosixTerminal() {
    // Every later thread inherits the blocked signals; the signal thread takes them by waiting.
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGWINCH})
      sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // A reader that goes away, or a shell that takes the terminal back, ends nothing.
    for (const int signal : {SIGPIPE, SIGTTOU, SIGTTIN})
      std::signal(signal, SIG_IGN);
  }
  ~PosixTerminal() override { PosixTerminal::StopKeys(); }

  bool IsInteractive() const override {
    // In the background the screen belongs to somebody else.
    return !IsDumb() && ::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1 &&
           ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
  }

  bool HasColours() const override {
    return !IsDumb() && Environment("NO_COLOR").empty() && ::isatty(STDERR_FILENO) == 1;
  }

  std::unique_ptr<LineEditor> MakeLineEditor() override { return MakeSystemLineEditor(); }

  void StartKeys() override {
    std::signal(SIGTSTP, SIG_IGN); // Ctrl-Z would stop serving the machine
    if (::tcgetattr(STDIN_FILENO, &before) != 0) return;
    termios keys = before;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    keys.c_iflag &= ~static_cast<tcflag_t>(IXON); // Ctrl-S would stop the status line
    keysStarted = ::tcsetattr(STDIN_FILENO, TCSANOW, &keys) == 0;
  }

  void StopKeys() override {
    if (keysStarted) ::tcsetattr(STDIN_FILENO, TCSANOW, &before);
    keysStarted = false;
  }

  int Columns() const override {
    constexpr int kUsual = 80;
    winsize size{};
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
  }

  std::size_t Read(std::span<char> to) override {
    for (;;) {
      const ssize_t count = ::read(STDIN_FILENO, to.data(), to.size());
      if (count > 0) return static_cast<std::size_t>(count);
      if (count == 0 || (errno != EINTR && errno != EAGAIN)) return 0;
      pollfd ready{STDIN_FILENO, POLLIN, 0};
      ::poll(&ready, 1, -1);
    }
  }

  void Write(std::string_view text) override { WriteAll(STDOUT_FILENO, text); }
  void WriteError(std::string_view text) override { WriteAll(STDERR_FILENO, text); }

  void OnEvent(std::function<void(TerminalEvent)> onEvent) override {
    // Lives to the end of the process: a signal may come at any time.
    std::thread([waited = signals, onEvent = std::move(onEvent)] {
      int signal = 0;
      while (sigwait(&waited, &signal) == 0)
        onEvent(signal == SIGINT     ? TerminalEvent::Interrupt
                : signal == SIGWINCH ? TerminalEvent::Resized
                                     : TerminalEvent::End);
    }).detach();
  }

 private:
  sigset_t signals;
  termios before{};
  bool keysStarted = false;
};

} // namespace

std::shared_ptr<Terminal> MakeConsoleTerminal() {
  return std::make_shared<PosixTerminal>();
}

} // namespace kor
