// The system's terminal for the console program.
#pragma once

#include <memory>

#include "ui/terminal.h"

namespace kor {

// To be made before any other thread is started: POSIX signals are taken by a thread of its own.
std::shared_ptr<Terminal> MakeConsoleTerminal();

} // namespace kor
