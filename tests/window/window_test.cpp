// The real window, operated by simulated mouse and keyboard, while a far end plays the controller on a real
// pseudo-terminal. A robot runs a test's steps from a timer, so that they go on inside modal windows.
#include <gtest/gtest.h>

#include <wx/app.h>
#include <wx/textctrl.h>
// After those, whose names they use.
#include <wx/listbox.h>
#include <wx/uiaction.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "platform/platform.h"
#include "services/dictionary/dictionary.h"
#include "tests/support/host_process.h"
#include "tests/support/process.h"
#include "ui/wx/form_window.h"
#include "ui/wx/timer_pump.h"
#include "ui/wx/wx_front_end.h"
#include "ui/wx/wx_text.h"

namespace kor {
namespace {

namespace fs = std::filesystem;
using support::FarEnd;
using support::TemporaryFolder;
using support::WriteWholeFile;

constexpr int kPeriod = 20;      // milliseconds between two tries of a step
constexpr int kMostTries = 1000; // of one step
constexpr int kSettle = 10;      // periods between two steps: what was clicked has been drawn

// Runs each step until it is true; the loop ends with the last, or with one that never is.
class Robot : public wxTimer {
 public:
  void Then(const char* name, std::function<bool()> step) {
    steps.push_back({name, std::move(step)});
  }
  void Do(const char* name, std::function<void()> action) {
    Then(name, [action = std::move(action)] { return action(), true; });
  }
  void Run() {
    Start(kPeriod);
    wxTheApp->wxAppConsole::OnRun();
    Stop();
    EXPECT_EQ(at, steps.size());
  }
  void Notify() override {
    if (++waited < kSettle) return;
    if (at == steps.size() || tries > kMostTries) return wxTheApp->ExitMainLoop();
    if (steps[at].run()) {
      ++at;
      tries = waited = 0;
    } else if (++tries > kMostTries) {
      ADD_FAILURE() << "never: " << steps[at].name;
    }
  }

 private:
  struct Step {
    const char* name;
    std::function<bool()> run;
  };
  std::vector<Step> steps;
  std::size_t at = 0;
  int tries = 0, waited = 0;
};

wxWindow* Find(int number) {
  for (wxWindow* const top : wxTopLevelWindows)
    if (wxWindow* const found = top->IsShown() ? top->FindWindow(number) : nullptr) return found;
  return nullptr;
}

bool Click(int number) {
  wxWindow* const control = Find(number);
  if (!control || !control->IsEnabled()) return false;
  wxUIActionSimulator mouse;
  const wxRect place = control->GetScreenRect();
  return mouse.MouseMove(place.GetPosition() + wxPoint(12, place.height / 2)) && mouse.MouseClick();
}

bool Type(const char* keys) {
  return wxUIActionSimulator().Text(keys);
}

bool IsChecked(int number) {
  return static_cast<wxCheckBox*>(Find(number))->GetValue();
}

class Window : public ::testing::Test {
 protected:
  Window() : line(folders / "line") {
    const fs::path ports = folders.Path() / "Velmora/Plenova 2026/ports";
    fs::create_directories(ports);
    fs::create_directories(folders / "cnc");
    fs::create_symlink(folders / "line", ports / "COM1");
    WriteWholeFile(ports.parent_path() / "NCE.INI",
                   "[Port Settings]\ntransmit delay=0\n[Log]\nwrite log=1\nlog file=" +
                       (folders / "jobs.log") + "\n");
    setenv("XDG_CONFIG_HOME", folders.Path().c_str(), 1);
    SetApp(&application);
    application.FindFolders(u"2026");
    KorText error = application.Start(u"Download", u"2026");
  }
  void Open() {
    EngineServices services;
    services.port = &port;
    services.window = &frontEnd;
    services.cncFolder = KorText::FromUtf8(folders / "cnc/");
    app = std::make_unique<NCEApp>(services, KorText());
    window = new MainWindow(*app, app->ModelName());
    frontEnd.Attach(*window, *app);
    window->Recall();
    window->Show();
    app->SetUpServices();
    app->BuildWindow();
    window->ShowSettings();
    pump = std::make_unique<TimerPump>(app->Timers(),
                                       [this](auto task) { frontEnd.Post(std::move(task)); });
  }
  void TearDown() override {
    pump.reset();
    if (app) app->Terminate();
    frontEnd.Detach();
    if (window) delete window;
  }
  KorText StatusLine() {
    return FromWx(static_cast<wxTextCtrl*>(Find(15201))->GetValue()).Trimmed();
  }

  TemporaryFolder folders;
  FarEnd line;
  PlatformAppInterface application{kProgramNames};
  PlatformSerialPort port;
  WxFrontEnd frontEnd;
  std::unique_ptr<NCEApp> app;
  std::unique_ptr<TimerPump> pump;
  MainWindow* window = nullptr;
  Robot robot;
};

TEST_F(Window, AFetchedProgramShowsAndItsJobIsListed) {
  WriteWholeFile(folders / "cnc/7.MPG", "N1 X1\n");
  Open();
  robot.Then("waiting", [this] { return StatusLine() == u"Waiting..."; });
  robot.Then("monitor", [] { return Click(15207); });
  robot.Then("unfolded beside the rest",
             [] { return Find(15209) && Find(15210) && IsChecked(15207); });
  robot.Do("fetch", [this] {
    EXPECT_NE(line.Exchange("FH 7").find("&LP"), std::string::npos);
    for (int frames = 0; frames < 3; ++frames)
      if (line.Exchange(">") == "]") break;
  });
  robot.Then("shown", [this] {
    return StatusLine() ==
           KorText::FromUtf8("Download Completed " + (folders / "cnc/7.MPG") + " - 6 bytes");
  });
  robot.Then("in the monitor",
             [this] { return window->Monitor().Text().GetValue().Contains("RX FH 7[0d]"); });
  robot.Then("listed", [this] {
    const auto found = wxWindow::FindWindowByName("listBox", window);
    return found && static_cast<wxListBox*>(found)->GetString(0).Contains("7.MPG");
  });
  robot.Run();
  EXPECT_TRUE(window->GetTitle().StartsWith("NCE")) << window->GetTitle();
  EXPECT_EQ(app->JobsOfToday().size(), 1U);
}

TEST_F(Window, SwitchesAndDialogsDoWhatTheySay) {
  Open();
  robot.Then("handshakes", [] { return Click(15273); });
  robot.Then("taken over",
             [this] { return app->Settings().rtsCtsHandshake == 0 && !IsChecked(15273); });
  robot.Then("the other", [] { return Click(15274); });
  robot.Then("taken over", [this] { return app->Settings().dtrDsrHandshake == 0; });
  robot.Then("special features", [] { return Click(15270); });
  robot.Then("505 waits for 503",
             [] { return Find(505) && !Find(505)->IsEnabled() && Find(504)->IsEnabled(); });
  robot.Then("503", [] { return Click(503); });
  robot.Then("505", [] { return Click(505); });
  robot.Then("504 is out", [] { return !Find(504)->IsEnabled(); });
  robot.Then("OK", [] { return Click(wxID_OK); });
  robot.Then("kept", [this] {
    return app->Features().autoloadSequential == 1 && app->Features().hybridNumber == 1;
  });
  robot.Then("settings", [] { return Click(15101); });
  robot.Then("extension", [] { return Click(15232); });
  robot.Do("a dot", [] {
    wxUIActionSimulator().Char('A', wxMOD_CONTROL);
    Type("a.b");
  });
  robot.Then("refused", [] { return Click(wxID_OK); });
  robot.Then("and still there", [] {
    auto* const text = static_cast<wxTextCtrl*>(Find(15232));
    return text && text->GetValue() == "a.b" && text->HasFocus();
  });
  robot.Do("better", [] {
    wxUIActionSimulator().Char('A', wxMOD_CONTROL);
    Type("nc");
  });
  robot.Do("Enter", [] { wxUIActionSimulator().Char(WXK_RETURN); });
  robot.Then("accepted", [this] { return !Find(15232) && app->Settings().fileExtension == u"nc"; });
  robot.Then("special features again", [] { return Click(15270); });
  robot.Then("506", [] { return Click(506); });
  robot.Do("Escape", [] { wxUIActionSimulator().Char(WXK_ESCAPE); });
  robot.Then("dropped", [this] { return !Find(506) && app->Features().stripNceZeros == 0; });
  robot.Run();
}

// Every label, button and check box has the room that its words need.
void ExpectNothingClipped(wxWindow* parent, const std::string& where) {
  for (wxWindow* const child : parent->GetChildren()) {
    const bool ellipsized = child->HasFlag(wxST_ELLIPSIZE_END);
    const bool worded = dynamic_cast<wxStaticText*>(child) || dynamic_cast<wxButton*>(child) ||
                        dynamic_cast<wxCheckBox*>(child);
    if (worded && !ellipsized && child->IsShown()) {
      EXPECT_GE(child->GetSize().x, child->GetBestSize().x) << where << ": " << child->GetLabel();
    }
    ExpectNothingClipped(child, where);
  }
}

TEST_F(Window, NoTextIsClippedInAnyLanguage) {
  for (const char* language : {"en_GB", "de_DE", "ja_JP", "zh_CN", "fr_FR", "pl_PL"}) {
    setenv("LC_ALL", (std::string(language) + ".UTF-8").c_str(), 1);
    ASSERT_TRUE(LoadProgramDictionary());
    if (!window) Open();
    auto* const fresh = new MainWindow(*app, u"clipped");
    fresh->Recall();
    fresh->Show();
    FormDescription settings = app->SettingsForm(), special = app->SpecialForm();
    FormWindow first(window, settings), second(window, special);
    Robot pause;
    pause.Do("laid out", [&] {
      ExpectNothingClipped(fresh, language);
      ExpectNothingClipped(&first, language);
      ExpectNothingClipped(&second, language);
    });
    pause.Run();
    fresh->Destroy();
  }
}

class TestProgram : public wxApp {
 public:
  bool OnInit() override { return true; }
  int OnRun() override {
    SetExitOnFrameDelete(false);
    return RUN_ALL_TESTS();
  }
};

} // namespace
} // namespace kor

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  wxApp::SetInstance(new kor::TestProgram);
  return wxEntry(argc, argv);
}
