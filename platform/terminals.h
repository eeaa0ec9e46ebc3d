// Terminals as the command-line tools need them: a pseudo-terminal that stands in for a serial
// cable, and whether a standard stream is a terminal.
//
// A PseudoTerminal is owned by one tool and used by one thread. Where the system has none (Windows)
// OpenPseudoTerminal says so.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "services/core/kor_text.h"

namespace kor {

// PseudoTerminal: the near end of a pseudo-terminal in raw mode. Its far end is a terminal device
// that another program opens like a serial port; it stays usable while that program comes and goes.
class PseudoTerminal {
 public:
  using Moment = std::chrono::steady_clock::time_point;

  virtual ~PseudoTerminal() = default; // removes the link unless it points elsewhere by then

  virtual const KorText& FarEnd() const = 0; // path of the far end's device

  // Both return at once; a count of 0 is no failure. False when the system refused (LastErrorText).
  virtual bool Read(std::span<std::uint8_t> to, std::size_t& readCount) = 0;
  virtual bool Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) = 0;

  // Waits until the moment or, when asked for, until bytes can be read or written. The wait is
  // precise to some tens of microseconds and may end early.
  virtual void WaitUntil(Moment until, bool forInput, bool forOutput) = 0;

  // Drops what was written and the far side has not read, and lifts an exclusive mark that a killed
  // program has left on the far end. A real cable with nobody at its end keeps neither.
  virtual void Abandon() = 0;

  virtual KorText LastErrorText() const = 0;
};

// Makes a pseudo-terminal and links its far end at the path link, replacing an older link there but
// nothing else. Null on failure, with the reason in error.
std::unique_ptr<PseudoTerminal> OpenPseudoTerminal(const KorText& link, KorText& error);

// Has the handler called for what asks a program to end (SIGINT, SIGTERM, SIGHUP, SIGPIPE as far as
// the system has them). On POSIX a wait for standard input then ends as well, and finds the end of
// the input. The handler may only set flags.
void CatchStopSignals(void (*handler)(int));

enum class StandardStream : int { Input = 0, Output = 1, Diagnostics = 2 };
bool StreamIsTerminal(StandardStream stream);

} // namespace kor
