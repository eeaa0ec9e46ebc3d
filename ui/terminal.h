// Terminal: what the console front end asks of the system: keys, lines, screen, the wish to end.
// Implementations in platform/. Owned by main.
//
// Threads: Read runs on a thread of its own and may block for ever; so may Write and WriteError, on
// another one: a reader that has stopped must not stop the program. Everything else is called on the
// window's thread. onEnd is called on any thread.
#pragma once

#include <functional>
#include <span>
#include <string_view>

namespace kor {

class Terminal {
 public:
  virtual ~Terminal() = default;

  // Both standard input and output are a terminal: a live status line makes sense.
  virtual bool IsInteractive() const = 0;
  // From now on keys arrive singly and unechoed, until StopKeys.
  virtual void StartKeys() = 0;
  virtual void StopKeys() = 0;
  virtual int Columns() const = 0; // of the screen; 80 when unknown
  // Bytes of standard input as they come; 0 at its end.
  virtual std::size_t Read(std::span<char> to) = 0;
  // UTF-8. Whole or not at all as far as the reader takes it; a reader that is gone is ignored.
  virtual void Write(std::string_view text) = 0;
  virtual void WriteError(std::string_view text) = 0;
  // Called when the user or the system asks the program to end: SIGINT, SIGTERM, SIGHUP; Ctrl-C and
  // closing the console on Windows.
  virtual void OnEnd(std::function<void()> onEnd) = 0;
};

} // namespace kor
