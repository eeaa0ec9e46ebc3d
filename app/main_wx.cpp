// ncedl: the DNC link in a window. Its whole command line, words joined by one blank, is the
// program's command line: the model name, with "SIMULATION" and "500" switching their modes on.
#include <atomic>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include <wx/app.h>
#include <wx/log.h>
#include <wx/msgdlg.h>
#include <wx/timer.h>

#include "app/main_common.h"
#include "app/nce_app.h"
#include "app/start_up.h"
#include "platform/keep_awake.h"
#include "platform/net/line_port.h"
#include "platform/platform.h"
#include "platform/program_start.h"
#include "platform/serial_devices.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"
#include "ui/wx/display_loss.h"
#include "ui/wx/one_window.h"
#include "ui/wx/program_icon.h"
#include "ui/wx/timer_pump.h"
#include "ui/wx/wx_front_end.h"
#include "ui/wx/wx_text.h"

using namespace kor;

namespace {

constexpr char16_t kHelp[] = uR"(ncedl - serves an NCE controller on a serial line, in a window

usage: ncedl [WORDS]
       ncedl -h | --help | --version

WORDS, joined by blanks, name the settings: "ncedl PRESS 2" works with those of
PRESS 2. With the word SIMULATION it simulates, with 500 it knows the names of
that model. Without any the settings are those of NCE. A second start with the
same words shows the window that is there. ncedl-setup prepares the folders and
the port.)";

constexpr char kNoDisplay[] =
    "ncedl: there is no display to show a window on; ncedl-console serves without one\n";

constexpr double kDayPeriod = 60;  // seconds between two looks whether a day has begun
constexpr double kEndPeriod = 0.2; // seconds between two tries to end what stands in the way

constexpr unsigned long kForEver = 60'000;     // milliseconds: far longer than the watch needs
constexpr unsigned long kMorePatience = 2'000; // milliseconds, with an end that is on its way

std::atomic<bool> endAsked{false};

// Before there is a window, and after it. Who asks the program to end need not read it.
void ShowPlainly(const KorText& caption, const KorText& text) {
  struct Look : wxTimer {
    void Notify() override {
      if (endAsked) CancelInnermostModal();
    }
  } look;
  look.Start(static_cast<int>(kEndPeriod * 1000));
  ShowAlone(caption, text);
}

void ShowPlainly(const MessageRecord& record) {
  ShowPlainly(record.info, ReportText(record));
}

void ReportPlainly(AppInterface& application) {
  application.SetReporter([](const MessageRecord& record) {
    ShowPlainly(record);
    return record.number;
  });
}

// What the start has to say waits for the window: nobody may be there to answer, and the line is to
// be served.
class EarlyReports {
 public:
  explicit EarlyReports(AppInterface& application) {
    application.SetReporter([this](const MessageRecord& record) {
      records.push_back(record);
      return record.number;
    });
  }
  std::vector<MessageRecord> Take(AppInterface& application) {
    ReportPlainly(application);
    return std::exchange(records, {});
  }

 private:
  std::vector<MessageRecord> records;
};

// What the toolkit has to say goes into the application's log: its own windows would stand in the
// way.
class ToolkitLog : public wxLog {
 public:
  ToolkitLog() : before(SetActiveTarget(this)) { wxSetAssertHandler(&OnAssertion); }
  // What its windows say when they are taken down goes nowhere: nobody answers any more.
  ~ToolkitLog() override {
    wxDisableAsserts();
    EnableLogging(false);
    SetActiveTarget(before);
  }
  ToolkitLog(const ToolkitLog&) = delete;
  ToolkitLog& operator=(const ToolkitLog&) = delete;

 protected:
  void DoLogText(const wxString& text) override { App().DebugWarning(FromWx(text), u"toolkit"); }

 private:
  static void OnAssertion(const wxString& file, int line, const wxString&,
                          const wxString& condition, const wxString&) {
    App().DebugWarning(FromWx(condition), KorText::Format(u"%s:%i", FromWx(file), line));
  }

  wxLog* const before;
};

// Which port is looked for, what is there, and when it is tried again.
KorText LinkAdvice(const KorText& port) {
  KorText devices;
  for (const KorText& path : ListSerialPaths()) {
    if (!devices.IsEmpty()) devices += u", ";
    devices += path;
  }
  if (devices.IsEmpty()) devices = LookUpText(kTexts.noDevices);
  return KorText::Format(LookUpText(kTexts.lookingForPort), SerialDeviceName(port), devices);
}

// The program with its window, from the first look at the settings to the last save.
class WindowRun {
 public:
  WindowRun(const KorText& commandLine, const KorText& cncFolder)
      : app(HostServices(port, frontEnd, cncFolder), commandLine) {}

  // The loop is the toolkit's; its result is the exit code. early: what the start had to say.
  int Run(const std::function<int()>& loop, const std::function<void()>& exitLoop,
          const std::vector<MessageRecord>& early);
  // A signal, or the window was closed: no question. The loops unwind in their own time.
  void End();
  // The desktop's session ends, and the process with it.
  [[noreturn]] void EndAtOnce();
  static void OnEndAsked();
  // The window's thread hangs, as it does in a call of its display: ends without it.
  static void OnEndOverdue();

 private:
  // Ends the loop, or the innermost of what runs inside it, which has to unwind before the next.
  void Leave();
  void Show();
  bool MayClose();
  [[noreturn]] void SaveAndExit(); // nothing unwinds, no window is touched
  static void EndWithoutDisplay();

  static std::atomic<WindowRun*> serving; // from the worker's start to the end of the loop
  // Who ends the program: the window's thread, the watch on it, or the loss of the display; one of
  // them.
  static std::atomic<bool> finishing;
  LinePort port;
  WxFrontEnd frontEnd;
  NCEApp app;
  KeepAwake awake;
  MainWindow* window = nullptr; // the toolkit's to destroy
  std::function<void()> exit;
  bool asking = false;
  bool ending = false;
};

std::atomic<WindowRun*> WindowRun::serving{nullptr};
std::atomic<bool> WindowRun::finishing{false};

void WindowRun::Show() {
  window = new MainWindow(app, app.ModelName());
  SetProgramIcon(*window);
  frontEnd.Attach(*window, app);
  ReportThrough(frontEnd, MessageStyle::Exclamation);
  window->SetOnStatus([this](const StatusView& view) { awake.Set(IsExchange(view.code)); });
  window->SetLinkAdvice([this] { return LinkAdvice(app.Settings().port); });
  window->SetDeviceName(&SerialDeviceName);
  window->Recall();
  window->Show();
  app.SetUpServices();
  app.BuildWindow();
  serving = this;
  window->ShowSettings();
  window->Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& event) {
    if (!event.CanVeto() || MayClose())
      End();
    else
      event.Veto();
  });
}

bool WindowRun::MayClose() {
  if (std::exchange(asking, true)) return false;
  const bool yes = Ask(window, CloseQuestion(app.CurrentStatus()));
  asking = false;
  return yes;
}

void WindowRun::End() {
  if (std::exchange(ending, true)) return;
  window->Remember();
  window->Hide();
  app.Timers().Create(u"ncedl::Leave", kEndPeriod, App().HighResolutionSeconds() - kEndPeriod,
                      TimerState::Started, [this] { Leave(); });
}

void WindowRun::OnEndAsked() {
  endAsked = true;
  if (!serving) return; // a look of its own, or the watch
  wxTheApp->CallAfter([] {
    if (serving) serving.load()->End();
  });
}

void WindowRun::OnEndOverdue() {
  if (finishing.exchange(true))
    wxMilliSleep(kMorePatience);
  else if (serving)
    serving.load()->SaveAndExit();
  std::_Exit(0);
}

// Windows ends the process once its windows have been told, so it saves now and asks nothing.
void WindowRun::EndAtOnce() {
  if (window) End();
  SaveAndExit();
}

void WindowRun::SaveAndExit() {
  EndInTime();
  App().SetReporter({});
  frontEnd.Detach();
  app.Terminate();
  std::_Exit(0);
}

// The worker must not run on beside the end that the display's library makes of the process. Before
// the settings are loaded there is nothing to save.
void WindowRun::EndWithoutDisplay() {
  if (finishing.exchange(true)) return;
  if (serving) serving.load()->SaveAndExit();
  std::_Exit(1);
}

void WindowRun::Leave() {
  if (!CancelInnermostModal()) exit();
}

int WindowRun::Run(const std::function<int()>& loop, const std::function<void()>& exitLoop,
                   const std::vector<MessageRecord>& early) {
  LetOthersComeForward();
  OneWindow instance(app.ModelName());
  if (instance.IsOtherSilent()) {
    ShowPlainly(app.ModelName(), LookUpText(kTexts.windowDoesNotAnswer));
    std::_Exit(1);
  }
  if (!instance.IsFirst()) return 0;
  exit = exitLoop;
  CallWhenDisplayIsLost(&EndWithoutDisplay);
  KeepHiddenWindows();
  Show();
  instance.SetOnRaise([this] {
    window->Iconize(false);
    window->Raise();
  });
  for (const MessageRecord& record : early)
    frontEnd.ShowMessage(record.info, ReportText(record), MessageStyle::Exclamation);
  // The engine shows only what changes in it; the jobs of the day begin anew at midnight.
  app.Timers().Create(u"ncedl::Day", kDayPeriod, App().HighResolutionSeconds(), TimerState::Started,
                      [this] { window->ShowStatus(app.CurrentStatus()); });
  if (endAsked) End();
  TimerPump pump(app.Timers(), [this](auto task) { frontEnd.Post(std::move(task)); });
  const int result = loop();
  pump.End();
  if (finishing.exchange(true)) wxMilliSleep(kForEver); // the watch was first
  serving = nullptr;
  instance.SetOnRaise({});
  ReportPlainly(App());
  app.Terminate();
  if (app.IsWorkerStuck()) std::_Exit(0);
  frontEnd.Detach();
  window->Destroy();
  return result;
}

class WindowProgram : public wxApp {
 public:
  explicit WindowProgram(const KorText& words) : commandLine(words) {}
  bool OnInit() override { return true; }
  int OnRun() override;

 private:
  const KorText commandLine;
};

int WindowProgram::OnRun() {
  std::setlocale(LC_NUMERIC, "C"); // numbers in files and logs have a point
  SetExitOnFrameDelete(false);
  // No control waits for these; asking each after every event costs more than all that the window
  // does.
  wxIdleEvent::SetMode(wxIDLE_PROCESS_SPECIFIED);
  wxUpdateUIEvent::SetMode(wxUPDATE_UI_PROCESS_SPECIFIED);
  PlatformAppInterface application(kProgramNames);
  SetApp(&application);
  const ToolkitLog toolkitLog;
  EarlyReports reports(application);
  KorText error;
  const auto program = StartProgram(application, commandLine, error);
  const std::vector<MessageRecord> early = reports.Take(application);
  if (!program)
    for (const MessageRecord& record : early)
      ShowPlainly(record);
  if (!error.IsEmpty()) ShowPlainly(u"Download", error);
  if (!program) return 0; // intended: a program that can't start ends without an error code
  WindowRun run(commandLine, program->cncFolder);
  // The end of the desktop's session: these events, a signal, or a display that goes.
  Bind(wxEVT_QUERY_END_SESSION, [](wxCloseEvent&) {}); // no question
  Bind(wxEVT_END_SESSION, [&run](wxCloseEvent&) { run.EndAtOnce(); });
  return run.Run([this] { return wxApp::OnRun(); }, [this] { ExitMainLoop(); }, early);
}

// Shows a text and ends.
class AnswerProgram : public wxApp {
 public:
  explicit AnswerProgram(const KorText& answer) : text(answer) {}
  bool OnInit() override { return true; }
  int OnRun() override { return wxMessageBox(ToWx(text), "NCE DNC link"), 0; }

 private:
  const KorText text;
};

} // namespace

int main(int argc, char** argv) {
  PrepareProgram();
  const std::vector<KorText> words = ProgramArguments(argc, argv);
  int none = 1; // no option of the toolkit hides in the words
  const auto show = [&](const KorText& answer) {
    wxApp::SetInstance(new AnswerProgram(answer));
    wxEntry(none, argv);
  };
  if (const auto code = AnswerOption(u"ncedl", kHelp, words, show)) return *code;
  WatchForEnd(&WindowRun::OnEndAsked, &WindowRun::OnEndOverdue);
  if (!FindDisplay()) return std::fputs(kNoDisplay, stderr), 1;
  wxApp::SetInstance(new WindowProgram(JoinedWords(words)));
  return wxEntry(none, argv);
}
