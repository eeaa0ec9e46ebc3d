// ncedl-setup: writes the program-paths file, registers a configuration, names the serial devices
// and stores the language. The work apart from the process, so that tests can call it.
#pragma once

#include <vector>

#include "services/command_line/tool_output.h"

namespace kor {

inline constexpr int kSetupFailed = 1; // exit code

// App() is set and started. The words are those after the program's name. What can't be done is
// told with a remedy, and the rest is done all the same. Returns the exit code.
int RunSetup(const std::vector<KorText>& words, const ToolOutput& output);

} // namespace kor
