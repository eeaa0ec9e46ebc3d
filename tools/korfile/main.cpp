// korfile: compresses, restores, checks and describes the program's files.
#include <atomic>
#include <csignal>
#include <iostream>

#include "app/start_up.h"
#include "platform/terminals.h"
#include "tools/common/tool_main.h"
#include "tools/korfile/korfile.h"

using namespace kor;

namespace {

std::atomic<bool> isInterrupted = false;

// The running block is finished, and nothing is left beside the files.
void Interrupt(int) {
  isInterrupted = true;
}

int Run(const std::vector<KorText>& words, const ToolOutput& lines) {
  RegisterStoredClasses(); // so that their records show by name
  KorfileOutput output{lines};
  if (StreamIsTerminal(StandardStream::Diagnostics)) output.progress = &std::cerr;
  output.isCancelled = [] { return isInterrupted.load(); };
  return RunKorfile(words, output);
}

} // namespace

int main(int argc, char** argv) {
  std::signal(SIGINT, Interrupt);
  std::signal(SIGTERM, Interrupt);
  return RunToolMain({.name = u"korfile",
                      .startFailed = KorfileExitCode(FileResult::Failure),
                      .outputFailed = KorfileExitCode(FileResult::DestinationUnwritable),
                      .run = Run},
                     argc, argv);
}
