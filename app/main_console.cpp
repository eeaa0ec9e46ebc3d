// ncedl-console: the DNC link in a terminal. Its whole command line, words joined by one blank, is
// the program's command line: the model name, with "SIMULATION" and "500" switching their modes on.
#include <cstdlib>

#include "app/main_common.h"
#include "app/nce_app.h"
#include "app/start_up.h"
#include "platform/console_terminal.h"
#include "platform/net/line_port.h"
#include "platform/platform.h"
#include "platform/program_start.h"
#include "platform/serial_devices.h"
#include "services/core/app_interface.h"
#include "services/core/version.h"
#include "ui/console/banner.h"
#include "ui/console/commands.h"
#include "ui/console/console_front_end.h"

using namespace kor;

namespace {

// Before there is a front end, and after it.
void ShowPlainly(Terminal& terminal, const KorText& caption, const KorText& text,
                 MessageLevel level) {
  const std::string line = PrintableText(KorText::Format(u"%s: %s", caption, InOneLine(text)));
  terminal.WriteError(
      (level != MessageLevel::Info && terminal.HasColours() ? RedText(line) : line) + "\n");
}

void ReportPlainly(AppInterface& application, Terminal& terminal) {
  application.SetReporter([&terminal](const MessageRecord& record) {
    ShowPlainly(terminal, record.info, ReportText(record), record.level);
    return record.number;
  });
}

void ShowBanner(ConsoleFrontEnd& console, const NCEApp& app) {
  const LinkSettings& settings = app.Settings();
  for (const KorText& line :
       BannerLines(kReleaseVersion, SerialDeviceName(settings.port), settings))
    console.Print(line);
}

// Serves until the user or the system asks the program to end. The exit code is that of the loop.
int Serve(const std::shared_ptr<Terminal>& terminal, const KorText& commandLine,
          const KorText& cncFolder) {
  LinePort port;
  ConsoleFrontEnd console(terminal);
  NCEApp app(HostServices(port, console, cncFolder), commandLine);
  Commands commands(app, console);
  ReportThrough(console, MessageStyle::Information);
  terminal->OnEvent(console.EventHandler());
  app.SetMonitorShown(false);
  app.SetUpServices();
  app.BuildWindow();
  if (console.IsInteractive()) ShowBanner(console, app);
  console.SetTakesInput([&app] { return !app.IsBehind(); });
  console.Lines().SetAwaits([&app] { return app.AwaitsAnswer(); }, &Commands::Overtakes);
  console.Run(app.Timers(), [&](const KorText& line) { commands.Run(line); });
  console.Flush();
  ReportPlainly(App(), *terminal);
  EndInTime();
  app.Terminate();
  if (app.IsWorkerStuck()) {
    console.Finish();
    terminal->StopKeys();
    std::_Exit(0);
  }
  console.Finish();
  return 0;
}

constexpr char16_t kHelp[] = u"ncedl-console - serves an NCE controller on a serial line, "
                             uR"(with a terminal to watch and steer it

usage: ncedl-console [WORDS]
       ncedl-console -h | --help | --version

WORDS, joined by blanks, name the settings: "ncedl-console PRESS 2" works with
those of PRESS 2. With the word SIMULATION it simulates, with 500 it knows the
names of that model. Without any the settings are those of NCE. "help" lists
the commands once it runs; ncedl-setup prepares the folders and the port.)";

} // namespace

int main(int argc, char** argv) {
  PrepareProgram();
  const std::vector<KorText> words = ProgramArguments(argc, argv);
  if (const auto code = AnswerOption(u"ncedl-console", kHelp, words)) return *code;
  const std::shared_ptr<Terminal> terminal = MakeConsoleTerminal();
  PlatformAppInterface application(kProgramNames);
  SetApp(&application);
  ReportPlainly(application, *terminal);
  KorText error;
  const KorText commandLine = JoinedWords(words);
  const auto program = StartProgram(application, commandLine, error);
  if (!error.IsEmpty()) ShowPlainly(*terminal, u"Download", error, MessageLevel::Fatal);
  if (!program) return 0; // intended: a program that can't start ends without an error code
  return Serve(terminal, commandLine, program->cncFolder);
}
