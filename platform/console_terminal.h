// The system's terminal for the console program.
#pragma once

#include <memory>

#include "ui/terminal.h"

namespace kor {

// Make it before any other thread is started: a thread of its own takes the POSIX signals.
std::shared_ptr<Terminal> MakeConsoleTerminal();

} // namespace kor
