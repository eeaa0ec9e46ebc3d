// korfile: compresses, restores, checks and describes the program's files.
#include <atomic>
#include <csignal>
#include <iostream>

#include "app/start_up.h"
#include "platform/platform.h"
#include "platform/terminals.h"
#include "tools/korfile/korfile.h"

using namespace kor;

namespace {

std::atomic<bool> isInterrupted = false;

// The running block is finished, and nothing is left beside the files.
void Interrupt(int) {
  isInterrupted = true;
}

KorfileOutput StandardOutput() {
  KorfileOutput output;
  output.print = [](const KorText& line) { std::cout << line.ToUtf8() << '\n'; };
  output.complain = [](const KorText& line) { std::cerr << line.ToUtf8() << '\n'; };
  if (StreamIsTerminal(StandardStream::Diagnostics)) output.progress = &std::cerr;
  output.isCancelled = [] { return isInterrupted.load(); };
  return output;
}

} // namespace

int main(int argc, char** argv) {
  std::signal(SIGINT, Interrupt);
  std::signal(SIGTERM, Interrupt);
  PlatformAppInterface application;
  SetApp(&application);
  const KorfileOutput output = StandardOutput();
  const KorText error = application.Start(u"korfile", u"2026");
  if (!error.IsEmpty()) {
    output.complain(u"korfile: " + error);
    return KorfileExitCode(FileResult::Failure);
  }
  RegisterStoredClasses(); // so that their records show by name
  const int code = RunKorfile(ProgramArguments(argc, argv), output);
  if (std::cout.flush()) return code;
  output.complain(u"korfile: the output could not be written in full");
  return KorfileExitCode(FileResult::DestinationUnwritable);
}
