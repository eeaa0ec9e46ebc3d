// MainWindow: the program's one window. The band with the state is at the top, with the lamps below
// it. Then come the operator's part, with the jobs and the transfers by hand, the part called
// "Service", which only the maintainer needs, and the footer. What doesn't fit is scrolled, while
// band and lamps stay. The window shows what it is given and calls the engine's operations; the
// engine decides what is refused and when a job ends. Window's thread.
#pragma once

#include <functional>
#include <optional>
#include <utility>

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/frame.h>
#include <wx/scrolwin.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/timer.h>

#include "app/nce_app.h"
#include "services/core/user_texts.h"
#include "ui/transfer_text.h"
#include "ui/wx/footer.h"
#include "ui/wx/job_table.h"
#include "ui/wx/lamp_strip.h"
#include "ui/wx/mnemonics.h"
#include "ui/wx/monitor_view.h"
#include "ui/wx/service_fold.h"
#include "ui/wx/state_band.h"
#include "ui/wx/window_memory.h"

namespace kor {

class MainWindow : public wxFrame {
 public:
  // The application outlives the window.
  MainWindow(NCEApp& nceApp, const KorText& settingsName);

  void ShowStatus(const StatusView& view);
  void SetJobButtons(JobButtons state);
  void ShowSpecialButton();
  // Tells whether a transfer by hand runs. A receipt can be completed here even when its own window
  // was closed.
  void ShowByHand(EndDialog which, bool runs);
  // Adds a job to the table. A job that failed asks for attention until somebody looks.
  void AddJob(const EndedJob& job);
  void ShowTracing(bool on); // when that has changed by itself
  void AddEarlierJobs(const std::vector<EndedJob>& earlier) { jobs->AddEarlier(earlier); }
  // Sets the text that is shown below the reason while there is no link. It is asked for every
  // second.
  void SetLinkAdvice(std::function<KorText()> text) { linkAdvice = std::move(text); }
  // Sets the function that names a port together with its device.
  void SetDeviceName(std::function<KorText(const KorText& port)> name) {
    deviceName = std::move(name);
  }
  // Sets a function that is called with each status that is shown.
  void SetOnStatus(std::function<void(const StatusView&)> follow) { onStatus = std::move(follow); }
  MonitorView& Monitor() { return *monitor; }
  // Asks over the given window, and cancels the transfer when the answer is yes.
  void CancelTransfer(wxWindow* over);
  // Shows what the settings record holds now, in the handshakes' check boxes and in the footer.
  void ShowSettings();
  // Call Recall before the window is shown, and Remember after it was closed.
  void Recall();
  void Remember();

 private:
  struct Action {
    UserText label;
    void (*run)(MainWindow& window);
    int Number() const { return label.number; } // of the control
  };
  struct Switch {
    UserText label;
    void (*run)(MainWindow& window, bool on);
    int Number() const { return label.number; }
  };
  static const Action kActions[];
  static const Switch kSwitches[];

  void MakeControls();
  void MakeOthers();
  void Arrange();
  wxSizer* ArrangeLower();
  void ArrangeService();
  void FollowEvents();
  // Runs a control's action after the event that asked for it, so that a screen reader that pressed
  // the control has its answer before a dialog opens. Only one action runs at a time.
  void RunNext(std::function<void()> action);
  wxButton* MakeButton(wxWindow* parent, int number);
  wxCheckBox* MakeCheckBox(wxWindow* parent, int number);
  void ShowAdvice();
  void ShowForbidden();
  void ShowLineErrors();
  void ShowTrace();
  void ShowMonitorPane();
  void Unfold(bool open);
  void FitParts();
  int LeastHeight() const; // of the client area: the band, the lamps and a strip of the rest
  void Grow();
  void ShrinkBack();
  wxButton* Button(int number) const;
  wxCheckBox* CheckBox(int number) const;

  void OnMonitor(bool on);
  void OnTrace(bool on);
  void OnHandshake(const Handshake& handshake);

  NCEApp& app;
  WindowMemory memory;
  Mnemonics mnemonics;
  std::function<KorText()> linkAdvice;
  std::function<KorText(const KorText&)> deviceName;
  std::function<void(const StatusView&)> onStatus;
  std::optional<Situation> shown;
  std::optional<Tone> iconTone;
  JobButtons jobButtons = JobButtons::Enabled;
  bool sendsByHand = false, receivesByHand = false;
  bool traceFailed = false;
  wxTimer adviceTimer; // runs while there is no link
  wxTimer revealTimer; // runs until the heading of Service can be scrolled to
  int reveals = 0;     // that are left
  bool acting = false; // a control's action runs
  RateMeter meter;

  int fittedHeight = 0;              // LeastHeight when the parts were last fitted
  int fittedLower = 0;               // pixels of the part that scrolls, then
  int heightBefore = 0, grownTo = 0; // of the client area, while Service is unfolded
  wxScrolledWindow* ground = nullptr;
  wxPanel* upper = nullptr;
  wxScrolledWindow* lower = nullptr;
  StateBand* band = nullptr;
  LampStrip* lamps = nullptr;
  JobTable* jobs = nullptr;
  ServiceFold* service = nullptr;
  Footer* footer = nullptr;
  MonitorView* monitor = nullptr;
  wxStaticText* lineTests = nullptr;
  wxStaticText* traceText = nullptr;  // hidden while there is no trace
  wxStaticText* lineErrors = nullptr; // hidden while there are none
};

} // namespace kor
