// The operating system that this build is for: names for its implementations, so that mains and
// tests need not tell the systems apart.
#pragma once

#include <vector>

#include "services/core/kor_text.h"

#if defined(_WIN32)
#include "platform/win32/app_interface_win32.h"
#else
#include "platform/posix/app_interface_posix.h"
#endif

namespace kor {

#if defined(_WIN32)
using PlatformAppInterface = Win32AppInterface;
using PlatformFiles = Win32Files;
#else
using PlatformAppInterface = PosixAppInterface;
using PlatformFiles = PosixFiles;
#endif

// Returns the words of the command line after the program's name. Windows takes them from the
// system, in full UTF-16; POSIX takes them from main's arguments, as UTF-8.
std::vector<KorText> ProgramArguments(int argc, char** argv);

} // namespace kor
