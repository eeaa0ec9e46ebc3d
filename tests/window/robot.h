// A window of the program on the display there is, with a far end that plays the controller on a
// real pseudo-terminal; and the robot that operates it by simulated mouse and keyboard, from a
// timer, so that its steps go on inside modal windows.
#pragma once

#include <gtest/gtest.h>

#include <wx/app.h>
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
// After those, whose names they use.
#include <wx/uiaction.h>

#include <gtk/gtk.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/main_common.h"
#include "platform/platform.h"
#include "platform/serial_port.h"
#include "tests/support/host_process.h"
#include "tests/support/process.h"
#include "ui/wx/screen_room.h"
#include "ui/wx/side_windows.h"
#include "ui/wx/timer_pump.h"
#include "ui/wx/wx_front_end.h"
#include "ui/wx/wx_text.h"

namespace kor::window_test {

constexpr int kPeriod = 20;    // milliseconds between two tries of a step
constexpr int kMostTries = 80; // of one step
constexpr int kSettle = 5;     // periods between two steps: what was clicked has been drawn
constexpr int kTryAgain = 5;   // periods

inline wxWindow* Find(int number) {
  for (wxWindow* const top : wxTopLevelWindows)
    if (wxWindow* const found = top->IsShown() ? top->FindWindow(number) : nullptr) return found;
  return nullptr;
}

// A window of the program by what its title begins with.
inline wxTopLevelWindow* Titled(const wxString& title) {
  for (wxWindow* const top : wxTopLevelWindows)
    if (auto* const found = dynamic_cast<wxTopLevelWindow*>(top);
        found && found->IsShown() && found->GetTitle().StartsWith(title))
      return found;
  return nullptr;
}

// A window of the system's own that is what is meant.
inline bool IsThere(const std::function<bool(GtkWindow*)>& isMeant) {
  GList* const all = gtk_window_list_toplevels();
  bool found = false;
  for (const GList* at = all; at; at = at->next)
    found = found || (gtk_widget_get_mapped(GTK_WIDGET(at->data)) && isMeant(GTK_WINDOW(at->data)));
  g_list_free(all);
  return found;
}

// A chooser of files or folders.
inline bool IsChoosing(const std::string& title) {
  return IsThere([&](GtkWindow* window) {
    return GTK_IS_FILE_CHOOSER(window) && gtk_window_get_title(window) == title;
  });
}

inline bool IsAskingToReplace() {
  return IsThere([](GtkWindow* window) { return GTK_IS_MESSAGE_DIALOG(window) == TRUE; });
}

// The control that the keyboard works on; null: none of the program's.
inline wxWindow* Focused() {
  for (wxWindow* const top : wxTopLevelWindows) {
    if (!top->IsShown() || !gtk_window_is_active(GTK_WINDOW(top->GetHandle()))) continue;
    GtkWidget* widget = gtk_window_get_focus(GTK_WINDOW(top->GetHandle()));
    for (; widget; widget = gtk_widget_get_parent(widget)) {
      std::vector<wxWindow*> all(1, top);
      for (std::size_t at = 0; at < all.size(); ++at) {
        if (all[at]->GetHandle() == widget && !all[at]->IsTopLevel()) return all[at];
        all.insert(all.end(), all[at]->GetChildren().begin(), all[at]->GetChildren().end());
      }
    }
  }
  return nullptr;
}

inline int FocusNumber() {
  return Focused() ? Focused()->GetId() : 0;
}

template <class Control> Control* FindA(wxWindow* in) {
  for (wxWindow* const child : in->GetChildren()) {
    if (auto* const found = dynamic_cast<Control*>(child)) return found;
    if (auto* const found = FindA<Control>(child)) return found;
  }
  return nullptr;
}

inline bool Click(wxWindow* control) {
  if (!control || !control->IsEnabled() || !control->IsShownOnScreen()) return false;
  for (wxWindow* up = control->GetParent(); up; up = up->GetParent())
    if (auto* const scrolled = dynamic_cast<wxScrolledWindow*>(up)) ScrollTo(*scrolled, *control);
  wxUIActionSimulator mouse;
  const wxRect place = control->GetScreenRect();
  return mouse.MouseMove(place.GetPosition() + wxPoint(12, place.height / 2)) && mouse.MouseClick();
}

inline void Press(int key, int modifiers = wxMOD_NONE) {
  wxUIActionSimulator().Char(key, modifiers);
}

// Types in place of all that the control with the focus holds.
inline void Type(const std::string& text) {
  Press('A', wxMOD_CONTROL);
  wxUIActionSimulator().Text(text.c_str());
}

inline bool IsChecked(int number) {
  return static_cast<wxCheckBox*>(Find(number))->GetValue();
}

// Returns what stands on the screen, for a failure's message.
inline std::string Shown() {
  std::string shown;
  for (const wxWindow* const top : wxTopLevelWindows)
    if (top->IsShown()) {
      const auto* const text = FindA<wxTextCtrl>(const_cast<wxWindow*>(top));
      shown += "\n" + top->GetLabel().ToStdString() + ": " +
               (text ? text->GetValue().ToStdString() : "");
    }
  return shown;
}

// Runs each step until it is true; the loop ends with the last, or with one that never is.
class Robot : public wxTimer {
 public:
  void Then(const std::string& name, std::function<bool()> step) {
    steps.push_back({name, std::move(step)});
  }
  void Do(const std::string& name, std::function<void()> action) {
    Then(name, [action = std::move(action)] { return action(), true; });
  }
  void Clicks(int number) {
    Then("click " + std::to_string(number), [number] { return Click(Find(number)); });
  }
  void Presses(int key, int modifiers = wxMOD_NONE) {
    Do("key " + std::to_string(key), [=] { Press(key, modifiers); });
  }
  void Types(const std::string& text) {
    Do("type " + text, [text] { Type(text); });
  }
  // Answers a chooser of files or folders with a path; once more where it was not ready for all of
  // it.
  void Chooses(const std::string& title, const std::string& path) {
    Then(title, [title] { return IsChoosing(title); });
    Types(path);
    Then("chosen " + path, [title, path, times = 0]() mutable {
      if (!IsChoosing(title)) return true;
      if (++times % 15 == 0) Type(path);
      Press(WXK_RETURN);
      return false;
    });
  }
  void Run() {
    Start(kPeriod);
    wxTheApp->wxAppConsole::OnRun();
    Stop();
    EXPECT_EQ(at, steps.size());
  }
  void Notify() override {
    if (++waited < kSettle) return;
    if (at == steps.size() || tries > kMostTries) {
      if (!CancelInnermostModal()) wxTheApp->ExitMainLoop();
      return;
    }
    waited = kSettle - kTryAgain;
    if (steps[at].run()) {
      ++at;
      tries = waited = 0;
    } else if (++tries > kMostTries) {
      ADD_FAILURE() << "never: " << steps[at].name << "; focus on " << FocusNumber() << Shown();
    }
  }

 private:
  struct Step {
    std::string name;
    std::function<bool()> run;
  };
  std::vector<Step> steps;
  std::size_t at = 0;
  int tries = 0, waited = 0;
};

// The real port, which can be told of errors that no pseudo-terminal has.
struct NoisyPort : PlatformSerialPort {
  bool GetStatus(LineStatus& status) override {
    const bool told = PlatformSerialPort::GetStatus(status);
    status.errors.framing += framing.exchange(0);
    return told;
  }
  std::atomic<std::uint32_t> framing{0};
};

class Window : public ::testing::Test {
 protected:
  Window() : line(folders / "line") {
    const std::filesystem::path ports = folders.Path() / "Velmora/Plenova 2026/ports";
    std::filesystem::create_directories(ports);
    std::filesystem::create_directories(folders / "cnc");
    std::filesystem::create_symlink(folders / "line", ports / "COM1");
    support::WriteWholeFile(ports.parent_path() / "NCE.INI",
                            "[Port Settings]\ntransmit delay=0\n[Log]\nwrite log=1\nlog file=" +
                                (folders / "jobs.log") + "\n");
    support::WriteWholeFile(ports.parent_path() / "NCE.window", "[Shown]\nservice=1\n");
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
    ReportThrough(frontEnd, MessageStyle::Exclamation);
    window->Recall();
    window->Show();
    app->SetUpServices();
    app->BuildWindow();
    window->ShowSettings();
    pump = std::make_unique<TimerPump>(app->Timers(),
                                       [this](auto task) { frontEnd.Post(std::move(task)); });
  }
  void TearDown() override {
    if (pump) pump->End();
    if (app) app->Terminate();
    frontEnd.Detach();
    pump.reset();
    delete window;
  }
  // Waits for a message with the words, and closes it.
  void Says(const wxString& caption, const wxString& words) {
    robot.Then(words.ToStdString(), [=] {
      auto* const text = Titled(caption) ? FindA<wxStaticText>(Titled(caption)) : nullptr;
      wxString all = text ? text->GetLabel() : wxString();
      all.Replace("\n", " ");
      return all.Contains(words);
    });
    robot.Then("OK", [=] { return Click(FindA<wxButton>(Titled(caption))); });
    robot.Then("closed", [=] { return !Titled(caption); });
  }
  // Waits until the status line begins with the text.
  void Shows(const KorText& text) {
    robot.Then(text.ToUtf8(), [text] {
      return FromWx(static_cast<wxTextCtrl*>(Find(15201))->GetValue()).StartsWith(text);
    });
  }

  support::TemporaryFolder folders;
  support::FarEnd line;
  PlatformAppInterface application{kProgramNames};
  NoisyPort port;
  WxFrontEnd frontEnd;
  std::unique_ptr<NCEApp> app;
  std::unique_ptr<TimerPump> pump;
  MainWindow* window = nullptr;
  Robot robot;
};

} // namespace kor::window_test
