// korfile: compresses, restores, checks and describes the program's files. The commands, apart from
// the process that runs them, so that tests can call them.
#pragma once

#include <functional>
#include <ostream>
#include <vector>

#include "files/file_result.h"
#include "services/command_line/tool_output.h"

namespace kor {

struct KorfileOutput : ToolOutput {
  std::ostream* progress = nullptr; // a terminal for the progress bar, or none
  std::function<bool()> isCancelled = [] { return false; };
};

// Returns 0, 1 and 3 to 6 in the order of the result codes; 2 is a wrong command line.
int KorfileExitCode(FileResult result);

// App() is set. The arguments are those after the program's name. Returns the exit code.
int RunKorfile(const std::vector<KorText>& arguments, const KorfileOutput& output);

} // namespace kor
