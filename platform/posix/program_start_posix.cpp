#include "platform/program_start.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <initializer_list>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

#include "services/core/last_words.h"

namespace kor {

namespace {

constexpr std::chrono::seconds kPatience(1); // with a program that was asked to end

} // namespace

void PrepareProgram() {
  // A new descriptor is the lowest free one, so they come in order.
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (::fcntl(stream, F_GETFD) < 0 && ::open("/dev/null", O_RDWR) != stream) ::_exit(1);
  std::signal(SIGXFSZ, SIG_IGN);
  EndWithASentence();
}

bool FindOutput() {
  return true;
}

void LetOthersComeForward() {}

// A handler may do next to nothing, so it wakes a thread.
void WatchForEnd(void (*onAsked)(), void (*onOverdue)()) {
  static int ends[2] = {-1, -1};
  if (::pipe2(ends, O_CLOEXEC) != 0) return;
  std::thread([onAsked, onOverdue] {
    char byte = 0;
    while (::read(ends[0], &byte, 1) < 0 && errno == EINTR) {
    }
    onAsked();
    std::this_thread::sleep_for(kPatience);
    onOverdue();
  }).detach();
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    std::signal(signal, [](int) {
      const int before = errno;
      if (::write(ends[1], "", 1) < 0) errno = before;
    });
}

} // namespace kor
