#include "platform/program_start.h"

#include <csignal>
#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

#include "services/core/last_words.h"

namespace kor {

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

void CallAtEndSignal(void (*handler)(int)) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    std::signal(signal, handler);
}

} // namespace kor
