// The system's terminal for the console program.
#pragma once

#include <memory>

#include "services/core/kor_text.h"
#include "ui/terminal.h"

namespace kor {

// To be made before any other thread is started: POSIX signals are taken by a thread of its own.
std::shared_ptr<Terminal> MakeConsoleTerminal();

// A port of the settings as the user knows it: "COM1 (/dev/ttyUSB0)" where the system calls the
// device otherwise, else the name alone.
KorText SerialDeviceName(const KorText& port);

} // namespace kor
