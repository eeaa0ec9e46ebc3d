// The port of an object that has none, which can't be opened.
#pragma once

#include "link/port/serial_port.h"

namespace kor {

// It lives as long as the program; any thread may call it.
SerialPort& NoPort();

} // namespace kor
