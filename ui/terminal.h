// Terminal: what the console front end asks of the system: keys, lines, a screen, and notice that
// the program is to end. Implementations are in platform/. Owned by main.
//
// Threads: Read runs on its own thread and may block for ever. So may Write and WriteError on
// another thread, because a reader that has stopped must not stop the program. Everything else is
// called on the window's thread. onEvent is called on any thread.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string_view>

#include "ui/line_editor.h"

namespace kor {

// An event from outside the program's own input. Interrupt is Ctrl-C. End is SIGTERM or SIGHUP; on
// Windows it is closing the console, logging off or shutting down. Resized means that the screen
// has another size, which not every system reports.
enum class TerminalEvent { Interrupt, End, Resized };

class Terminal {
 public:
  virtual ~Terminal() = default;

  // Returns whether standard input and output are both a terminal that can move its cursor, so that
  // a live status line makes sense.
  virtual bool IsInteractive() const = 0;
  // Returns whether standard error is a terminal that shows colours and the user has not turned
  // them off.
  virtual bool HasColours() const = 0;
  // Makes keys arrive one by one and unechoed, until StopKeys.
  virtual void StartKeys() = 0;
  // Makes the system's line editor; null where there is none.
  virtual std::unique_ptr<LineEditor> MakeLineEditor() = 0;
  virtual void StopKeys() = 0;
  virtual int Columns() const = 0; // of the screen; 80 when unknown
  // Reads bytes of standard input as they come; 0 at its end.
  virtual std::size_t Read(std::span<char> to) = 0;
  // Both write UTF-8, all of it as far as the reader takes it. A reader that has gone is ignored.
  virtual void Write(std::string_view text) = 0;
  virtual void WriteError(std::string_view text) = 0;
  virtual void OnEvent(std::function<void(TerminalEvent)> onEvent) = 0;
};

} // namespace kor
