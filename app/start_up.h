// The program's start, the same for the window and the console: dictionary, services, application
// log and debug modes, program paths, class registration. Main thread.
//
// The log is the file of the settings' name in the settings folder, "NCE.log" beside NCE.INI; of
// several programs with one name each has its own: "NCE-2.log" to "NCE-9.log". A program that can
// open none runs without.
#pragma once

#include <optional>

#include "services/core/app_interface.h"

namespace kor {

// What the application object is made from.
struct StartedProgram {
  KorText cncFolder; // default folder of NC files
};

// Runs the start in its fixed order. Returns nothing when the program must end, with exit code 0 as
// intended; the reason has been reported through the services, or is in error.
std::optional<StartedProgram> StartProgram(AppInterface& app, const KorText& commandLine,
                                           KorText& error);

// Registers the stored classes by number. More than one call is harmless.
void RegisterStoredClasses();

} // namespace kor
