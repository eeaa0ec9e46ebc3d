// What the mains of the command-line tools have in common: the application services, the standard
// streams and what becomes of failures there.
#pragma once

#include <functional>
#include <vector>

#include "services/command_line/tool_output.h"
#include "services/core/kor_text.h"

namespace kor {

struct ToolMain {
  const char16_t* name = u"";
  int startFailed = 1;  // exit code when the application services can't be had
  int outputFailed = 1; // exit code when the standard output can't be written in full
  std::function<int(const std::vector<KorText>& words, const ToolOutput& output)> run;
};

// Runs the tool with main's arguments and returns the exit code.
int RunToolMain(const ToolMain& tool, int argc, char** argv);

} // namespace kor
