#include "platform/terminals.h"

#include <csignal>

#include <io.h>

namespace kor {

std::unique_ptr<PseudoTerminal> OpenPseudoTerminal(const KorText& link, KorText& error) {
  error = link + u": Windows has no pseudo-terminals; use a serial port or a pair of virtual ones";
  return nullptr;
}

void CatchStopSignals(void (*handler)(int)) {
  for (const int number : {SIGINT, SIGTERM, SIGBREAK})
    std::signal(number, handler);
}

bool StreamIsTerminal(StandardStream stream) {
  return _isatty(static_cast<int>(stream)) != 0;
}

} // namespace kor
