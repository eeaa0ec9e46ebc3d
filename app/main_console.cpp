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

KorText ReportText(const MessageRecord& record) {
  KorText text = record.message;
  if (!record.details.IsEmpty()) text += u"\n" + record.details;
  return text.ReplaceAll(u"\n\n", u"\n");
}

// Before there is a front end, and after it.
void ShowPlainly(Terminal& terminal, const KorText& caption, KorText text) {
  text.ReplaceAll(u"\n", u": ");
  terminal.WriteError(PrintableText(KorText::Format(u"%s: %s", caption, text)) + "\n");
}

void ReportPlainly(AppInterface& application, Terminal& terminal) {
  application.SetReporter([&terminal](const MessageRecord& record) {
    ShowPlainly(terminal, record.info, ReportText(record));
    return record.number;
  });
}

// Reports may come from any thread; the front end shows them between its lines.
void ReportThrough(ConsoleFrontEnd& console) {
  App().SetReporter([&console](const MessageRecord& record) {
    console.Post([&console, record] {
      console.ShowMessage(record.info, ReportText(record), MessageStyle::Information);
    });
    return record.number;
  });
}

// Serves until the user or the system asks the program to end. The exit code is that of the loop.
int Serve(const std::shared_ptr<Terminal>& terminal, const KorText& commandLine,
          const KorText& cncFolder) {
  PlatformSerialPort port;
  ConsoleFrontEnd console(terminal);
  EngineServices services;
  services.port = &port;
  services.form = &console;
  services.cncFolder = cncFolder;
  services.probePort = [](const KorText& name) { return PlatformSerialPort().Open(name); };
  NCEApp app(services, commandLine);
  Commands commands(app, console);
  ReportThrough(console);
  terminal->OnEnd(console.Quitter());
  app.SetMonitorShown(false);
  app.SetUpServices();
  app.BuildWindow();
  console.Run(app.Timers(), [&](const KorText& line) { commands.Run(line); });
  console.Flush();
  ReportPlainly(App(), *terminal);
  app.Terminate();
  return 0;
}

} // namespace

int main(int argc, char** argv) {
  const std::shared_ptr<Terminal> terminal = MakeConsoleTerminal();
  PlatformAppInterface application;
  SetApp(&application);
  ReportPlainly(application, *terminal);
  KorText error;
  const auto program = StartProgram(application, error);
  if (!error.IsEmpty()) ShowPlainly(*terminal, u"Download", error);
  if (!program) return 0; // intended: a program that can't start ends without an error code
  return Serve(terminal, CommandLine(ProgramArguments(argc, argv)), program->cncFolder);
}
