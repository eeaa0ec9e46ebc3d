// Makes the system's terminal for the console program.
#pragma once

#include <memory>

#include "ui/terminal.h"

namespace kor {

// Make it before any other thread is started, because its own thread takes the POSIX signals.
std::shared_ptr<Terminal> MakeConsoleTerminal();

} // namespace kor
