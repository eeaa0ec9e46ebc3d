// ncedl-console: the DNC link in a terminal. Its whole command line, words joined by one blank, is the
// program's command line: the model name, with "SIMULATION" and "500" switching their modes on.
#include "app/nce_app.h"
#include "app/start_up.h"
#include "platform/console_terminal.h"
#include "platform/platform.h"
#include "ui/console/commands.h"
#include "ui/console/console_front_end.h"

using namespace kor;

namespace {

KorText CommandLine(const std::vector<KorText>& words) {
  KorText line;
  for (const KorText& word : words) {
    if (!line.IsEmpty()) line += u' ';
    line += word;
  }
  return line;
}

std::int32_t ShowReport(Terminal& terminal, const MessageRecord& record) {
  KorText text = record.message;
  if (!record.details.IsEmpty()) text += u"\n" + record.details;
  text.ReplaceAll(u"\n\n", u"\n");
  text.ReplaceAll(u"\n", u": ");
  terminal.WriteError(KorText::Format(u"%s: %s\n", record.info, text).ToUtf8());
  return record.number;
}

// Serves until the user or the system asks the program to end. The exit code is that of the loop.
int Serve(Terminal& terminal, const KorText& commandLine, const KorText& cncFolder) {
  PlatformSerialPort port;
  ConsoleFrontEnd console(terminal);
  EngineServices services;
  services.port = &port;
  services.form = &console;
  services.cncFolder = cncFolder;
  services.probePort = [](const KorText& name) { return PlatformSerialPort().Open(name); };
  NCEApp app(services, commandLine);
  Commands commands(app, console);
  terminal.OnEnd(console.Quitter());
  app.SetMonitorShown(false);
  app.SetUpServices();
  app.BuildWindow();
  console.Run(app.Timers(), [&](const KorText& line) { commands.Run(line); });
  app.Terminate();
  return 0;
}

} // namespace

int main(int argc, char** argv) {
  const std::unique_ptr<Terminal> terminal = MakeConsoleTerminal();
  PlatformAppInterface application;
  SetApp(&application);
  application.SetReporter(
      [&](const MessageRecord& record) { return ShowReport(*terminal, record); });
  KorText error;
  const auto program = StartProgram(application, error);
  if (!error.IsEmpty()) terminal->WriteError(KorText::Format(u"Download: %s\n", error).ToUtf8());
  if (!program) return 0; // intended: a program that can't start ends without an error code
  return Serve(*terminal, CommandLine(ProgramArguments(argc, argv)), program->cncFolder);
}
