// The port of an object that has none: it can't be opened.
#pragma once

#include "link/port/serial_port.h"

namespace kor {

// Lives as long as the program; any thread.
SerialPort& NoPort();

} // namespace kor
