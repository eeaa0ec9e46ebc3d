// Terminal: what the console front end asks of the system: keys, lines, screen, the wish to end.
// Implementations in platform/. Owned by main.
//
// Threads: Read runs on a thread of its own and may block for ever; so may Write and WriteError, on
// another one: a reader that has stopped must not stop the program. Everything else is called on
// the window's thread. onEvent is called on any thread.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string_view>

#include "ui/line_editor.h"

namespace kor {

// What comes from outside the program's own input. Interrupt: Ctrl-C. End: SIGTERM, SIGHUP; on
// Windows closing the console, logging off and shutting down. Resized: the screen has other
// measures; not every system tells.
enum class TerminalEvent { Interrupt, End, Resized };

class Terminal {
 public:
  virtual ~Terminal() = default;

  // Whether both standard input and output are a terminal that can move its cursor, so that a live
  // status line makes sense.
  virtual bool IsInteractive() const = 0;
  // Whether standard error is a terminal that shows colours, and the user has nothing against them.
  virtual bool HasColours() const = 0;
  // Has keys arrive singly and unechoed, until StopKeys.
  virtual void StartKeys() = 0;
  // Makes the system's editor of the line that is typed; null where there is none.
  virtual std::unique_ptr<LineEditor> MakeLineEditor() = 0;
  virtual void StopKeys() = 0;
  virtual int Columns() const = 0; // of the screen; 80 when unknown
  // Reads bytes of standard input as they come; 0 at its end.
  virtual std::size_t Read(std::span<char> to) = 0;
  // Both write UTF-8, whole or not at all as far as the reader takes it; a reader that is gone is
  // ignored.
  virtual void Write(std::string_view text) = 0;
  virtual void WriteError(std::string_view text) = 0;
  virtual void OnEvent(std::function<void(TerminalEvent)> onEvent) = 0;
};

} // namespace kor
