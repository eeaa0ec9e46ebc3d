// The program's start, the same for the window and the console: dictionary, services, program paths,
// class registration. Main thread.
#pragma once

#include <optional>

#include "services/core/app_interface.h"

namespace kor {

// What the application object is made from.
struct StartedProgram {
  KorText cncFolder; // default folder of NC files
};

// Runs the start in its fixed order. Nothing when the program must end, with exit code 0 as intended;
// the reason has been reported through the services, or is in error.
std::optional<StartedProgram> StartProgram(AppInterface& app, KorText& error);

// The stored classes, by number. More than one call is harmless.
void RegisterStoredClasses();

} // namespace kor
