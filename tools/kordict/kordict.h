// kordict: builds, inspects, exports and imports the text dictionary. The commands, apart from the
// process that runs them, so that tests can call them.
#pragma once

#include <functional>
#include <vector>

#include "services/command_line/command_line.h"

namespace kor {

// What kordict's exit codes say.
enum class KordictResult : int {
  Done = 0,
  Nothing = 1,               // get, find: no such text; check: there are findings
  Usage = kWrongCommandLine, // 2
  Unreadable = 3,            // a file is missing, damaged, of another kind or wrong in itself
  NotWritten = 4,            // a file could not be written; the older one is whole
};

struct KordictOutput : ToolOutput {
  // Shows how far a long command is; the next line replaces the one before. May be empty.
  std::function<void(const KorText&)> progress;
};

// App() is set. The arguments are those after the program's name. Returns the exit code.
int RunKordict(const std::vector<KorText>& arguments, const KordictOutput& output);

} // namespace kor
