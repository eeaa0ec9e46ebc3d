// The serial port of the operating system that this build is for.
#pragma once

#if defined(_WIN32)
#include "platform/win32/serial_port_win32.h"
#else
#include "platform/posix/serial_port_posix.h"
#endif

namespace kor {

#if defined(_WIN32)
using PlatformSerialPort = Win32SerialPort;
#else
using PlatformSerialPort = PosixSerialPort;
#endif

} // namespace kor
