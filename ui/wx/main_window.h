// MainWindow: the one window of the program. Above all the state, in words of their own size with a
// sign of its own shape; then the status line, the progress, the lamps; then the jobs by hand and
// those of the day; below, what is set up rarely, the line tests and the monitor. What has no room
// is scrolled to, below the state, which stays. It shows what it is given and calls the engine's
// operations; what is refused and when a job ends is the engine's to say. Window's thread.
#pragma once

#include <functional>
#include <initializer_list>
#include <optional>
#include <utility>

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/frame.h>
#include <wx/gauge.h>
#include <wx/scrolwin.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/timer.h>

#include "app/nce_app.h"
#include "services/core/user_texts.h"
#include "ui/transfer_text.h"
#include "ui/wx/job_list.h"
#include "ui/wx/lamp_row.h"
#include "ui/wx/mnemonics.h"
#include "ui/wx/monitor_view.h"
#include "ui/wx/signs.h"
#include "ui/wx/window_memory.h"

namespace kor {

class MainWindow : public wxFrame {
 public:
  // The application outlives the window.
  MainWindow(NCEApp& nceApp, const KorText& settingsName);

  void ShowStatus(const StatusView& view);
  void SetJobButtons(JobButtons state);
  void ShowSpecialButton();
  // While a receipt by hand runs it can be completed here, whatever has become of its own window.
  void ShowComplete(bool shown);
  // One that failed asks for attention until somebody looks.
  void AddJob(const EndedJob& job);
  void ShowTracing(bool on);
  void AddEarlierJobs(const std::vector<EndedJob>& earlier) { jobs->AddEarlier(earlier); }
  // What is said while there is no link, below its reason: asked for every second.
  void SetLinkAdvice(std::function<KorText()> text) { linkAdvice = std::move(text); }
  // Called with each status that is shown.
  void SetOnStatus(std::function<void(const StatusView&)> follow) { onStatus = std::move(follow); }
  MonitorView& Monitor() { return *monitor; }
  // After a question over that window.
  void CancelTransfer(wxWindow* over);
  // What the settings record holds now: the check boxes of the handshakes.
  void ShowSettings();
  // Before the window is shown, and after it was closed.
  void Recall();
  void Remember();

 private:
  struct Action {
    UserText label;
    void (MainWindow::*run)();
    int Number() const { return label.number; } // of the control
  };
  struct Switch {
    UserText label;
    void (MainWindow::*run)(bool on);
    int Number() const { return label.number; }
  };
  static const Action kActions[];
  static const Switch kSwitches[];
  static const Action& ActionOf(int number);

  wxSizer* MakeState(wxWindow* parent);
  wxSizer* MakeProgress(wxWindow* parent);
  wxSizer* MakeActions(wxWindow* parent, std::initializer_list<int> numbers);
  wxSizer* MakeSwitches(wxWindow* parent);
  void MakeLower(wxWindow* parent);
  // Runs what a control asks for once its event is over, so that who pressed it, such as a screen
  // reader, is answered before a dialog opens; and one thing at a time.
  void RunNext(std::function<void()> action);
  wxButton* MakeButton(wxWindow* parent, const Action& action);
  wxCheckBox* MakeCheckBox(wxWindow* parent, const Switch& which);
  void ShowHeadline(const StatusView& view);
  void FitHeadline();
  void ShowProgress(const StatusView& view);
  void ShowAdvice();
  void WrapAdvice();
  void ShowLineErrors();
  void ShowMonitorPane(bool shown);
  void FitParts();
  void FitProgress();
  int LeastHeight() const; // of the client area: the state, and a strip of the rest
  void GrowToFit();
  wxButton* Button(int number) const;
  wxCheckBox* CheckBox(int number) const;

  void Send() { app.ChooseDownloadFile(); }
  void Receive() { app.ChooseUploadFile(); }
  void XonXoff() { app.XonXoffTest(); }
  void Complete() { app.CompleteUpload(); }
  void Special() { app.SpecialDialog(); }
  void Settings();
  void Loopback();
  void Cancel() { CancelTransfer(this); }
  void OnMonitor(bool on);
  void OnTrace(bool on);
  void OnRts(bool on);
  void OnDtr(bool on);

  NCEApp& app;
  WindowMemory memory;
  Mnemonics mnemonics;
  std::function<KorText()> linkAdvice;
  std::function<void(const StatusView&)> onStatus;
  std::optional<StatusView> shown;
  Sign shownSign = Sign::Idle;
  wxTimer adviceTimer; // runs while there is no link
  KorText advised;     // the advice, not yet in lines
  bool acting = false; // a control's action runs
  RateMeter meter;

  int fittedHeight = 0; // LeastHeight when the parts were last fitted
  wxScrolledWindow* ground = nullptr;
  wxPanel* upper = nullptr;
  wxScrolledWindow* lower = nullptr;
  wxStaticBitmap* sign = nullptr;
  wxStaticText* headline = nullptr;
  wxTextCtrl* statusLine = nullptr;
  wxStaticText* advice = nullptr;
  wxBoxSizer* progress = nullptr;
  wxGauge* gauge = nullptr;
  wxStaticText* progressText = nullptr;
  LampRow* lamps = nullptr;
  JobList* jobs = nullptr;
  wxStaticText* lineErrors = nullptr; // hidden while there are none
  MonitorView* monitor = nullptr;
};

} // namespace kor
