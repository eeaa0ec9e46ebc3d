#include "ui/wx/main_window.h"

#include <algorithm>
#include <utility>

#include <wx/accel.h>

#include "link/serial_channel.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"
#include "ui/wx/accessible.h"
#include "ui/wx/desktop_note.h"
#include "ui/wx/guide.h"
#include "ui/wx/native_look.h"
#include "ui/wx/press_button.h"
#include "ui/wx/program_icon.h"
#include "ui/wx/screen_room.h"
#include "ui/wx/side_windows.h"
#include "ui/wx/theme.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kGap = 8; // all lengths are in device-independent pixels
constexpr int kMargin = 12;
constexpr float kOperatorLetters = 1.25F;
constexpr int kWidth = 600;
constexpr int kHeight = 740;
constexpr int kLeastWidth = 400;
constexpr int kLeastHeight = 320;
constexpr int kLeastLower = 52;  // of the part that scrolls: the heading of Service is seen whole
constexpr int kSmallLower = 120; // where it shows little else
constexpr int kScrollStep = 16;
constexpr int kAdvicePeriod = 1000; // milliseconds
constexpr int kLayoutTime = 50;     // milliseconds until the toolkit has laid out what moved
constexpr int kReveals = 4;         // times to look: a busy desktop is later than that

constexpr int kSendButton = kTexts.sendNcFile.number;
constexpr int kReceiveButton = kTexts.receiveNcFile.number;
constexpr int kLoopbackButton = kTexts.loopBackTest.number;
constexpr int kSpecialButton = kTexts.specialFeatures.number;
constexpr int kSettingsButton = kTexts.downloadSettings.number;
constexpr int kTestLabel = kTexts.lineTest.number;
constexpr int kMonitorSwitch = kTexts.showMonitor.number;
constexpr int kMonitor = kTexts.monitor.number;
constexpr int kTraceSwitch = kTexts.communicationsTrace.number;
constexpr int kRtsSwitch = kTexts.rtsCtsHandshake.number;
constexpr int kDtrSwitch = kTexts.dtrDsrHandshake.number;
constexpr int kCancelButton = kTexts.cancelTransfer.number;
constexpr int kCompleteButton = kTexts.complete.number;
constexpr int kXonButton = kTexts.xonXoffTest.number;
constexpr int kHelpButton = kTexts.help.number;
constexpr const char* kMonitorPart = "monitor";
constexpr const char* kServicePart = "service";

} // namespace

const MainWindow::Action MainWindow::kActions[] = {
    {kTexts.sendNcFile, [](MainWindow& window) { window.app.ChooseDownloadFile(); }},
    {kTexts.receiveNcFile, [](MainWindow& window) { window.app.ChooseUploadFile(); }},
    {kTexts.loopBackTest,
     [](MainWindow& window) {
       if (Ask(&window, LoopbackQuestion())) window.app.LoopbackTest();
     }},
    {kTexts.specialFeatures, [](MainWindow& window) { window.app.SpecialDialog(); }},
    {kTexts.downloadSettings,
     [](MainWindow& window) {
       window.app.SettingsDialog();
       window.ShowSettings();
     }},
    {kTexts.xonXoffTest, [](MainWindow& window) { window.app.XonXoffTest(); }},
    {kTexts.complete, [](MainWindow& window) { window.app.CompleteUpload(); }},
    {kTexts.cancelTransfer, [](MainWindow& window) { window.CancelTransfer(&window); }},
    {kTexts.help, [](MainWindow&) { OpenGuide(); }},
};

const MainWindow::Switch MainWindow::kSwitches[] = {
    {kTexts.showMonitor, [](MainWindow& window, bool on) { window.OnMonitor(on); }},
    {kTexts.communicationsTrace, [](MainWindow& window, bool on) { window.OnTrace(on); }},
    {kTexts.rtsCtsHandshake,
     [](MainWindow& window, bool on) { window.OnHandshake({.rtsCts = on}); }},
    {kTexts.dtrDsrHandshake,
     [](MainWindow& window, bool on) { window.OnHandshake({.dtrDsr = on}); }},
};

MainWindow::MainWindow(NCEApp& nceApp, const KorText& settingsName)
    : wxFrame(nullptr, wxID_ANY, {}), app(nceApp), memory(settingsName) {
  StopAnimations();
  ground = new wxScrolledWindow(this); // takes the keyboard from control to control
  upper = new wxPanel(ground);
  lower = new wxScrolledWindow(ground);
  MakeControls();
  MakeOthers();
  Arrange();
  for (wxScrolledWindow* const scrolled : {ground, lower}) {
    scrolled->SetScrollRate(FromDIP(kScrollStep), FromDIP(kScrollStep));
    FollowFocus(*scrolled);
  }
  band->ApplyLook();
  wxSize usual(FromDIP(wxSize(kWidth, kHeight)));
  usual.DecTo(ScreenRoom(*this));
  SetClientSize(usual);
  FitParts();
  CentreOnScreen();
  FollowEvents();
}

void MainWindow::FollowEvents() {
  Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    event.Skip();
    CallAfter([this] { FitParts(); });
  });
  // This event also comes when the toolkit finds that a part needs another size.
  upper->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    event.Skip();
    if (LeastHeight() != fittedHeight) CallAfter([this] { FitParts(); });
  });
  revealTimer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) {
    ScrollTo(*lower, *service);
    if (--reveals > 0) revealTimer.StartOnce(kLayoutTime);
  });
  adviceTimer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { ShowAdvice(); });
  Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
    event.Skip();
    band->ApplyLook();
    lamps->ApplyLook();
    jobs->ApplyLook();
    footer->ApplyLook();
    FitParts();
  });
  const wxAcceleratorEntry help(wxACCEL_NORMAL, WXK_F1, kHelpButton);
  SetAcceleratorTable(wxAcceleratorTable(1, &help));
  Bind(
      wxEVT_MENU, [this](wxCommandEvent&) { RunNext(&OpenGuide); }, kHelpButton);
}

// --- Parts ---

// These are made in the order of their numbers, which is not the order of the Tab key.
void MainWindow::MakeControls() {
  band = new StateBand(upper);
  MakeButton(lower, kSendButton);
  MakeButton(lower, kReceiveButton);
  service = new ServiceFold(lower, mnemonics, [this](bool open) { Unfold(open); });
  wxWindow* const inside = &service->Inside();
  monitor = new MonitorView(inside, mnemonics);
  monitor->SetId(kMonitor);
  band->MakeProgress();
  MakeCheckBox(inside, kMonitorSwitch);
  MakeCheckBox(inside, kTraceSwitch);
  lamps = new LampStrip(upper);
  MakeCheckBox(inside, kRtsSwitch);
  MakeCheckBox(inside, kDtrSwitch);
  lineTests = MakePlainText(inside, kTestLabel, ToLabel(LookUpText(kTexts.lineTest)));
  MakeButton(inside, kLoopbackButton);
  MakeButton(inside, kSpecialButton);
}

void MainWindow::MakeOthers() {
  wxWindow* const inside = &service->Inside();
  MakeButton(inside, kSettingsButton);
  MakeButton(inside, kXonButton);
  band->AddButtons(MakeButton(band, kCompleteButton), MakeButton(band, kCancelButton));
  jobs = new JobTable(lower);
  footer = new Footer(lower);
  footer->AddHelp(MakeButton(footer, kHelpButton));
  traceText = MakePlainText(inside, wxID_ANY);
  lineErrors = MakePlainText(inside, wxID_ANY);
  for (wxStaticText* const text : {traceText, lineErrors})
    text->Hide();
  lineErrors->SetForegroundColour(ColourOf(kFailedText));
}

void MainWindow::Arrange() {
  auto* const state = new wxBoxSizer(wxVERTICAL);
  state->Add(band, wxSizerFlags().Expand());
  state->Add(lamps, wxSizerFlags().Expand());
  upper->SetSizer(state);
  lower->SetMinSize(FromDIP(wxSize(-1, kLeastLower)));
  lower->SetSizer(ArrangeLower());
  auto* const column = new wxBoxSizer(wxVERTICAL);
  column->Add(upper, wxSizerFlags().Expand());
  column->Add(lower, wxSizerFlags(1).Expand());
  ground->SetSizer(column);
}

wxSizer* MainWindow::ArrangeLower() {
  auto* const actions = new wxGridSizer(2, FromDIP(wxSize(kGap, kGap)));
  jobs->MoveBeforeInTabOrder(Button(kSendButton));
  for (const int number : {kSendButton, kReceiveButton}) {
    Button(number)->SetFont(GetFont().Scaled(kOperatorLetters));
    Button(number)->SetMinSize(FromDIP(wxSize(-1, kOperatorHeight)));
    actions->Add(Button(number), wxSizerFlags().Expand());
  }
  ArrangeService();
  auto* const column = new wxBoxSizer(wxVERTICAL);
  const auto inset = wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT | wxTOP, FromDIP(kMargin));
  column->Add(jobs, wxSizerFlags(inset).Proportion(1));
  column->Add(actions, inset);
  column->Add(service, inset);
  column->Add(footer, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT, FromDIP(kMargin)));
  column->AddSpacer(FromDIP(kGap / 2));
  return column;
}

void MainWindow::ArrangeService() {
  service->AddPairs({Button(kSettingsButton), Button(kSpecialButton)});
  service->Add(lineTests);
  service->AddPairs({Button(kLoopbackButton), Button(kXonButton)});
  service->Add(lineErrors);
  service->AddPairs({CheckBox(kRtsSwitch), CheckBox(kDtrSwitch), CheckBox(kTraceSwitch),
                     CheckBox(kMonitorSwitch)});
  service->Add(traceText);
  service->Add(monitor, 1);
}

void MainWindow::RunNext(std::function<void()> action) {
  CallAfter([this, run = std::move(action)] {
    if (std::exchange(acting, true)) return;
    run();
    acting = false;
  });
}

wxButton* MainWindow::MakeButton(wxWindow* parent, int number) {
  const Action& action = *std::ranges::find(kActions, number, &Action::Number);
  auto* const button = MakePressButton(parent, number, LookUpText(action.label), mnemonics);
  button->Bind(wxEVT_BUTTON,
               [this, run = action.run](wxCommandEvent&) { RunNext([this, run] { run(*this); }); });
  return button;
}

wxCheckBox* MainWindow::MakeCheckBox(wxWindow* parent, int number) {
  const Switch& which = *std::ranges::find(kSwitches, number, &Switch::Number);
  const KorText name = LookUpText(which.label);
  auto* const box = new wxCheckBox(parent, number, mnemonics.Label(name));
  SetSpokenName(box, name);
  box->Bind(wxEVT_CHECKBOX, [this, run = which.run](wxCommandEvent& event) {
    RunNext([this, run, on = event.IsChecked()] { run(*this, on); });
  });
  return box;
}

wxButton* MainWindow::Button(int number) const {
  return static_cast<wxButton*>(FindWindow(number));
}

wxCheckBox* MainWindow::CheckBox(int number) const {
  return static_cast<wxCheckBox*>(FindWindow(number));
}

// --- Sizes ---

// What doesn't fit into the lower part is scrolled. Where even the upper part has no room, both
// are.
void MainWindow::FitParts() {
  const wxSize room = GetClientSize();
  band->FitTo(room);
  lamps->FitWidth(room.x);
  service->FitTo(room.x - FromDIP(4 * kMargin));
  const int least = fittedHeight = LeastHeight();
  wxSize hint = FromDIP(wxSize(kLeastWidth, kLeastHeight));
  hint.DecTo({hint.x, least});
  SetSizeHints(hint + (GetSize() - GetClientSize()));
  ground->SetSize(room);
  ground->FitInside();
  ground->Layout();
  upper->Layout();
  lamps->Layout();
  lower->FitInside();
  lower->Layout();
  lower->Refresh(); // a part that moves may leave what it stood on as it was
  const int left = lower->GetClientSize().y;
  if (std::exchange(fittedLower, left) != left && left < FromDIP(kSmallLower)) {
    reveals = kReveals;
    revealTimer.StartOnce(kLayoutTime);
  }
}

int MainWindow::LeastHeight() const {
  return upper->GetSizer()->GetMinSize().y + FromDIP(kLeastLower);
}

// Shows what has just been unfolded, as far as the screen has room.
void MainWindow::Grow() {
  FitParts();
  const int wanted = upper->GetSizer()->GetMinSize().y + lower->GetSizer()->GetMinSize().y;
  const int needed = std::min(wanted, ScreenRoom(*this).y);
  const wxSize now = GetClientSize();
  if (now.y >= needed || IsMaximized()) return;
  if (heightBefore == 0 || now.y != grownTo) heightBefore = now.y;
  grownTo = needed;
  SetClientSize(now.x, needed);
  MoveOntoScreen(*this);
}

// The window keeps its size when somebody has changed that since.
void MainWindow::ShrinkBack() {
  const wxSize now = GetClientSize();
  const int before = std::exchange(heightBefore, 0);
  if (before > 0 && now.y == grownTo && !IsMaximized()) SetClientSize(now.x, before);
  FitParts();
}

void MainWindow::Unfold(bool open) {
  memory.SetShown(kServicePart, open);
  service->Open(open);
  ShowMonitorPane();
  if (open)
    Grow();
  else
    ShrinkBack();
  if (open) CallAfter([this] { ScrollTo(*lower, *service); });
}

// --- What is shown ---

void MainWindow::ShowStatus(const StatusView& view) {
  meter.Update(view, App().HighResolutionSeconds());
  // The answer to a question about one transfer must not end the next.
  if (shown && !IsSameExchange(shown->view, view)) WithdrawQuestion();
  shown = Situation{view, meter.Measured(), sendsByHand || receivesByHand};
  band->Show(*shown);
  lamps->Show(view.lamps);
  footer->Follow(view);
  jobs->BeginDay(App().LocalTime());
  ShowLineErrors();
  ShowTrace();
  ShowForbidden();
  ShowAdvice();
  if (LeastHeight() != fittedHeight) FitParts();
  if (iconTone != ToneOf(*shown)) {
    iconTone = ToneOf(*shown);
    SetProgramIcon(*this, ColoursOf(*iconTone).bar);
  }
  if (onStatus) onStatus(view);
}

void MainWindow::AddJob(const EndedJob& job) {
  jobs->Add(job);
  if (!job.Failed() || IsActive()) return;
  RequestUserAttention(wxUSER_ATTENTION_ERROR);
  if (IsIconized()) ShowDesktopNote(*this, FromWx(GetTitle()), ResultText(job) + u"\n" + job.line);
}

// The advice stands below the state and tells somebody without the handbook what to look at.
void MainWindow::ShowAdvice() {
  if (!shown) return;
  const bool noLink = shown->view.activity == LinkActivity::NoLink && linkAdvice;
  if (!noLink)
    adviceTimer.Stop();
  else if (!adviceTimer.IsRunning())
    adviceTimer.Start(kAdvicePeriod);
  KorText words = AdviceOf(*shown);
  if (noLink) words = words.IsEmpty() ? linkAdvice() : words + u"\n" + linkAdvice();
  band->ShowAdvice(words);
}

// What a running exchange forbids is grey, whoever has begun the exchange.
void MainWindow::ShowForbidden() {
  const bool runs = shown && IsExchange(shown->view.code);
  const auto allow = [this](int number, bool allowed) {
    wxWindow* const control = FindWindow(number);
    if (control->IsEnabled() != allowed) control->Enable(allowed);
  };
  for (const int number : {kSendButton, kReceiveButton, kLoopbackButton}) {
    const bool allowed = jobButtons == JobButtons::Enabled ||
                         (jobButtons == JobButtons::SendDisabled && number != kSendButton);
    allow(number, allowed && !runs);
  }
  for (const int number : {kXonButton, kRtsSwitch, kDtrSwitch})
    allow(number, !runs);
  if (Button(kCancelButton)->IsShown() != runs) Button(kCancelButton)->Show(runs);
}

// The errors are counted since the port was opened.
void MainWindow::ShowLineErrors() {
  KorText words;
  for (const KorText& text : LineErrorTexts(app.CurrentLineErrors()))
    words += words.IsEmpty() ? text : u"\n" + text;
  const wxString lines = InLines(words, *lineErrors, FromDIP(kLeastWidth));
  if (lineErrors->GetLabelText() == lines) return;
  lineErrors->SetLabelText(lines);
  lineErrors->Show(!lines.empty());
  FitParts();
}

void MainWindow::ShowTrace() {
  const bool tells = app.IsTracing() || traceFailed;
  const KorText path = tells ? app.TracePath() : KorText();
  const auto bytes = static_cast<std::int64_t>(app.TraceBytes());
  footer->ShowTrace(path, traceFailed);
  const wxString words =
      tells ? InLines(KorText::Format(u"%s \u00b7 %s %s", path, GroupedDigits(bytes),
                                      LookUpText(kTexts.jobsBytes)),
                      *traceText, FromDIP(kLeastWidth))
            : wxString();
  if (traceText->GetLabelText() == words) return;
  traceText->SetLabelText(words);
  if (traceText->Show(tells)) FitParts();
}

void MainWindow::SetJobButtons(JobButtons state) {
  jobButtons = state;
  for (const int number : {kSendButton, kReceiveButton, kLoopbackButton})
    Button(number)->Show(state != JobButtons::Hidden);
  ShowForbidden();
  FitParts();
}

void MainWindow::ShowSpecialButton() {
  Button(kSpecialButton)->Show();
  FitParts();
}

void MainWindow::ShowByHand(EndDialog which, bool runs) {
  (which == EndDialog::Upload ? receivesByHand : sendsByHand) = runs;
  Button(kCompleteButton)->Show(receivesByHand);
  FitParts();
}

void MainWindow::ShowSettings() {
  CheckBox(kRtsSwitch)->SetValue(app.Settings().rtsCtsHandshake > 0);
  CheckBox(kDtrSwitch)->SetValue(app.Settings().dtrDsrHandshake > 0);
  const KorText& port = app.Settings().port;
  footer->ShowSettings(app.Settings(), deviceName ? deviceName(port) : port);
}

// A monitor that is folded away with Service counts as not shown.
void MainWindow::ShowMonitorPane() {
  const bool on = CheckBox(kMonitorSwitch)->GetValue();
  monitor->Show(on);
  app.SetMonitorShown(on && service->IsOpen());
  lower->GetSizer()->GetItem(service)->SetProportion(on && service->IsOpen() ? 2 : 0);
}

void MainWindow::Recall() {
  jobs->List().SetFocus(); // where Enter presses nothing
  CheckBox(kMonitorSwitch)->SetValue(memory.IsShown(kMonitorPart, false));
  service->Open(memory.IsShown(kServicePart, false));
  ShowMonitorPane();
  if (service->IsOpen()) Grow();
  FitParts();
  memory.Restore(*this);
}

void MainWindow::Remember() {
  memory.Keep(*this);
}

// --- Actions ---

void MainWindow::CancelTransfer(wxWindow* over) {
  if (Ask(over, EndQuestion(app.CurrentStatus()))) app.CancelExchange();
}

void MainWindow::OnMonitor(bool on) {
  memory.SetShown(kMonitorPart, on);
  CheckBox(kMonitorSwitch)->SetValue(on);
  ShowMonitorPane();
  Grow();
  if (on) CallAfter([this] { ScrollTo(*lower, *monitor); });
}

void MainWindow::OnTrace(bool on) {
  if (on)
    app.ChooseTraceFile();
  else
    app.StopTrace();
  CheckBox(kTraceSwitch)->SetValue(app.IsTracing());
  traceFailed = false;
  ShowTrace();
}

void MainWindow::ShowTracing(bool on) {
  traceFailed = CheckBox(kTraceSwitch)->GetValue() && !on;
  CheckBox(kTraceSwitch)->SetValue(on);
  ShowTrace();
}

void MainWindow::OnHandshake(const Handshake& handshake) {
  app.SetHandshake(handshake);
  ShowSettings();
}

} // namespace kor
