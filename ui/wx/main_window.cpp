#include "ui/wx/main_window.h"

#include <algorithm>
#include <utility>

#include <wx/statbox.h>

#include "link/serial_channel.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"
#include "ui/transfer_text.h"
#include "ui/wx/accessible.h"
#include "ui/wx/native_look.h"
#include "ui/wx/screen_room.h"
#include "ui/wx/side_windows.h"
#include "ui/wx/signs.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kStateSign = 56; // lengths are in device-independent pixels
constexpr int kGap = 8;
constexpr int kButtonHeight = 40; // for a finger in a glove
constexpr int kWidth = 560;
constexpr int kHeight = 680;
constexpr int kLeastWidth = 320;
constexpr int kLeastLower = 90; // of the part that scrolls: a button can be seen whole
constexpr int kScrollStep = 16;
constexpr int kLeastBarWidth = 60;
constexpr int kBarHeight = 16;
// Sizes to try for the headline, largest first, relative to the normal font.
constexpr float kHeadlineScales[] = {2.4F, 2.0F, 1.7F, 1.4F, 1.2F, 1.0F};
constexpr int kGaugeRange = 1000;
constexpr int kAdvicePeriod = 1000; // milliseconds

constexpr int kSendButton = kTexts.sendNcFile.number;
constexpr int kReceiveButton = kTexts.receiveNcFile.number;
constexpr int kLoopbackButton = kTexts.loopBackTest.number;
constexpr int kSpecialButton = kTexts.specialFeatures.number;
constexpr int kSettingsButton = kTexts.downloadSettings.number;
constexpr int kStatusText = kTexts.status.number;
constexpr int kProgressLabel = kTexts.progress.number;
constexpr int kTestLabel = kTexts.lineTest.number;
constexpr int kMonitorSwitch = kTexts.showMonitor.number;
constexpr int kMonitor = kTexts.monitor.number;
constexpr int kTraceSwitch = kTexts.communicationsTrace.number;
constexpr int kRtsSwitch = kTexts.rtsCtsHandshake.number;
constexpr int kDtrSwitch = kTexts.dtrDsrHandshake.number;
constexpr int kCancelButton = kTexts.cancelTransfer.number;
constexpr int kCompleteButton = kTexts.complete.number;
constexpr int kXonButton = kTexts.xonXoffTest.number;
constexpr const char* kMonitorPart = "monitor";
constexpr std::size_t kStatusWidth = 70; // characters

// "45%  9.6 kB/s  0:31 left", as far as it is known; nothing between transfers.
KorText TransferText(const StatusView& view, const Pace& pace) {
  if (!IsTransfer(view.code)) return {};
  KorText text = ShareText(view);
  for (const KorText& part : {RatePart(pace), LeftPart(view, pace)}) {
    if (part.IsEmpty()) continue;
    if (!text.IsEmpty()) text += u"  ";
    text += part;
  }
  return text;
}

} // namespace

const MainWindow::Action MainWindow::kActions[] = {
    {kTexts.sendNcFile, &MainWindow::Send},
    {kTexts.receiveNcFile, &MainWindow::Receive},
    {kTexts.loopBackTest, &MainWindow::Loopback},
    {kTexts.specialFeatures, &MainWindow::Special},
    {kTexts.downloadSettings, &MainWindow::Settings},
    {kTexts.xonXoffTest, &MainWindow::XonXoff},
    {kTexts.complete, &MainWindow::Complete},
    {kTexts.cancelTransfer, &MainWindow::Cancel},
};

const MainWindow::Switch MainWindow::kSwitches[] = {
    {kTexts.showMonitor, &MainWindow::OnMonitor},
    {kTexts.communicationsTrace, &MainWindow::OnTrace},
    {kTexts.rtsCtsHandshake, &MainWindow::OnRts},
    {kTexts.dtrDsrHandshake, &MainWindow::OnDtr},
};

const MainWindow::Action& MainWindow::ActionOf(int number) {
  return *std::ranges::find(kActions, number, &Action::Number);
}

MainWindow::MainWindow(NCEApp& nceApp, const KorText& settingsName)
    : wxFrame(nullptr, wxID_ANY, {}), app(nceApp), memory(settingsName) {
  StopAnimations();
  ground = new wxScrolledWindow(this); // takes the keyboard from control to control
  upper = new wxPanel(ground);
  auto* const state = new wxBoxSizer(wxVERTICAL);
  state->Add(MakeState(upper), wxSizerFlags().Expand());
  state->Add(MakeProgress(upper), wxSizerFlags().Expand().Border(wxTOP, FromDIP(kGap)));
  lamps = new LampRow(upper);
  state->Add(lamps, wxSizerFlags().Expand().Border(wxTOP, FromDIP(kGap)));
  upper->SetSizer(state);
  MakeLower(ground);
  auto* const column = new wxBoxSizer(wxVERTICAL);
  column->Add(upper, wxSizerFlags().Expand().Border(wxALL, FromDIP(kGap)));
  column->Add(lower, wxSizerFlags(1).Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(kGap)));
  ground->SetSizer(column);
  wxSize usual(std::max(FromDIP(kWidth), column->GetMinSize().x), FromDIP(kHeight));
  usual.IncTo({lower->GetSizer()->GetMinSize().x + FromDIP(2 * kGap), -1});
  usual.DecTo(ScreenRoom(*this));
  SetClientSize(usual);
  for (wxScrolledWindow* const scrolled : {ground, lower}) {
    scrolled->SetScrollRate(FromDIP(kScrollStep), FromDIP(kScrollStep));
    FollowFocus(*scrolled);
  }
  CentreOnScreen();
  Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    event.Skip();
    CallAfter([this] { FitParts(); });
  });
  adviceTimer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { ShowAdvice(); });
  // Comes, too, when the toolkit finds that a part needs another size.
  upper->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    event.Skip();
    if (LeastHeight() != fittedHeight) CallAfter([this] { FitParts(); });
  });
}

// --- Parts ---

wxSizer* MainWindow::MakeState(wxWindow* parent) {
  sign = new wxStaticBitmap(parent, wxID_ANY, DrawnSign(Sign::Idle, kStateSign));
  headline = MakePlainText(parent, wxID_ANY, {}, wxST_ELLIPSIZE_END | wxST_NO_AUTORESIZE);
  statusLine = new wxTextCtrl(parent, kStatusText, {}, wxDefaultPosition, wxDefaultSize,
                              wxTE_READONLY | wxBORDER_NONE);
  BlendIn(statusLine);
  SetSpokenName(statusLine, LookUpText(kTexts.status));
  advice = MakePlainText(parent, wxID_ANY);
  advice->Hide();
  auto* const words = new wxBoxSizer(wxVERTICAL);
  words->Add(headline, wxSizerFlags().Expand());
  words->Add(statusLine, wxSizerFlags().Expand());
  words->Add(advice, wxSizerFlags().Expand());
  auto* const row = new wxBoxSizer(wxHORIZONTAL);
  row->Add(sign, wxSizerFlags().CentreVertical().Border(wxRIGHT, FromDIP(kGap * 2)));
  row->Add(words, wxSizerFlags(1).CentreVertical());
  return row;
}

wxSizer* MainWindow::MakeProgress(wxWindow* parent) {
  const KorText name = LookUpText(kTexts.progress);
  auto* const label = MakePlainText(parent, kProgressLabel, ToLabel(name));
  gauge = new wxGauge(parent, wxID_ANY, kGaugeRange, wxDefaultPosition,
                      FromDIP(wxSize(kLeastBarWidth, kBarHeight)), wxGA_HORIZONTAL | wxGA_SMOOTH);
  SetBarHeight(gauge, kBarHeight);
  SetSpokenName(gauge, name);
  progressText = MakePlainText(parent, wxID_ANY);
  progressText->SetFont(progressText->GetFont().Bold());
  const auto gap = wxSizerFlags().CentreVertical().Border(wxRIGHT, FromDIP(kGap));
  auto* const measure = new wxBoxSizer(wxHORIZONTAL);
  measure->Add(label, gap);
  measure->Add(gauge, wxSizerFlags(gap).Proportion(1));
  auto* const rest = new wxBoxSizer(wxHORIZONTAL);
  rest->Add(progressText, gap);
  rest->AddStretchSpacer();
  rest->Add(MakeButton(parent, ActionOf(kCompleteButton)), gap);
  rest->Add(MakeButton(parent, ActionOf(kCancelButton)), wxSizerFlags().CentreVertical());
  Button(kCompleteButton)->Hide();
  Button(kCancelButton)->Disable();
  progress = new wxBoxSizer(wxHORIZONTAL);
  progress->Add(measure, wxSizerFlags(1).Expand());
  progress->Add(rest, wxSizerFlags().Expand());
  return progress;
}

void MainWindow::RunNext(std::function<void()> action) {
  CallAfter([this, run = std::move(action)] {
    if (std::exchange(acting, true)) return;
    run();
    acting = false;
  });
}

wxButton* MainWindow::MakeButton(wxWindow* parent, const Action& action) {
  const KorText name = LookUpText(action.label);
  auto* const button = new wxButton(parent, action.Number(), mnemonics.Label(name));
  button->SetMinSize(FromDIP(wxSize(-1, kButtonHeight)));
  SetSpokenName(button, name);
  button->Bind(wxEVT_BUTTON, [this, run = action.run](wxCommandEvent&) {
    RunNext([this, run] { (this->*run)(); });
  });
  return button;
}

wxCheckBox* MainWindow::MakeCheckBox(wxWindow* parent, const Switch& which) {
  const KorText name = LookUpText(which.label);
  auto* const box = new wxCheckBox(parent, which.Number(), mnemonics.Label(name));
  SetSpokenName(box, name);
  box->Bind(wxEVT_CHECKBOX, [this, run = which.run](wxCommandEvent& event) {
    RunNext([this, run, on = event.IsChecked()] { (this->*run)(on); });
  });
  return box;
}

wxSizer* MainWindow::MakeActions(wxWindow* parent, std::initializer_list<int> numbers) {
  auto* const row = new wxGridSizer(2, FromDIP(wxSize(kGap, kGap)));
  for (const int number : numbers)
    row->Add(MakeButton(parent, ActionOf(number)), wxSizerFlags().Expand());
  return row;
}

// The line's own: its tests, its handshakes, and what went wrong on it.
wxSizer* MainWindow::MakeSwitches(wxWindow* parent) {
  auto* const box = new wxStaticBoxSizer(
      MakePlainBox(parent, kTestLabel, ToLabel(LookUpText(kTexts.lineTest))), wxVERTICAL);
  auto* const grid = new wxGridSizer(2, FromDIP(wxSize(kGap, kGap)));
  for (const int number : {kLoopbackButton, kXonButton})
    grid->Add(MakeButton(box->GetStaticBox(), ActionOf(number)), wxSizerFlags().Expand());
  for (const int number : {kTraceSwitch, kRtsSwitch, kDtrSwitch})
    for (const Switch& which : kSwitches)
      if (which.Number() == number)
        grid->Add(MakeCheckBox(box->GetStaticBox(), which), wxSizerFlags().CentreVertical());
  box->Add(grid, wxSizerFlags().Expand().Border(wxALL, FromDIP(kGap)));
  lineErrors = MakePlainText(box->GetStaticBox(), wxID_ANY);
  lineErrors->SetForegroundColour(ColourOf(Sign::Failed));
  lineErrors->Hide();
  box->Add(lineErrors, wxSizerFlags().Border(wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(kGap)));
  return box;
}

void MainWindow::MakeLower(wxWindow* parent) {
  lower = new wxScrolledWindow(parent);
  wxWindow* const panel = lower;
  auto* const column = new wxBoxSizer(wxVERTICAL);
  const auto gap = wxSizerFlags().Expand().Border(wxTOP, FromDIP(kGap));
  column->Add(MakeActions(panel, {kSendButton, kReceiveButton}), gap);
  column->Add(new wxStaticText(panel, wxID_ANY, ToLabel(LookUpText(kTexts.jobsToday))), gap);
  jobs = new JobList(panel);
  column->Add(jobs, wxSizerFlags(1).Expand().Border(wxTOP, FromDIP(kGap / 2)));
  column->Add(MakeActions(panel, {kSpecialButton, kSettingsButton}), gap);
  column->Add(MakeSwitches(panel), gap);
  column->Add(MakeCheckBox(panel, kSwitches[0]), gap);
  monitor = new MonitorView(panel, mnemonics);
  monitor->SetId(kMonitor);
  column->Add(monitor, wxSizerFlags(2).Expand().Border(wxTOP, FromDIP(kGap / 2)));
  lower->SetMinSize(FromDIP(wxSize(-1, kLeastLower)));
  lower->SetSizer(column);
}

wxButton* MainWindow::Button(int number) const {
  return static_cast<wxButton*>(FindWindow(number));
}

wxCheckBox* MainWindow::CheckBox(int number) const {
  return static_cast<wxCheckBox*>(FindWindow(number));
}

// What the lower part has no room for is scrolled to; where even the upper one has none, both are.
void MainWindow::FitParts() {
  FitHeadline();
  FitProgress();
  WrapAdvice();
  const int least = fittedHeight = LeastHeight();
  wxSize hint(FromDIP(kLeastWidth), least);
  hint.DecTo(ScreenRoom(*this));
  SetSizeHints(hint + (GetSize() - GetClientSize()));
  ground->SetSize(GetClientSize());
  ground->FitInside();
  ground->Layout();
  upper->Layout();
  lamps->Layout();
  lower->FitInside();
  lower->Layout();
  lower->Refresh(); // a group's frame leaves what it stood on as it was
}

// In two rows where one would leave nothing of the bar to be seen.
void MainWindow::FitProgress() {
  int needed = FromDIP(kLeastBarWidth + 7 * kGap);
  for (const wxWindow* const part :
       {FindWindow(kProgressLabel), FindWindow(kCompleteButton), FindWindow(kCancelButton),
        wxStaticCast(progressText, wxWindow)})
    if (part->IsShown()) needed += part->GetBestSize().x;
  progress->SetOrientation(GetClientSize().x >= needed ? wxHORIZONTAL : wxVERTICAL);
}

int MainWindow::LeastHeight() const {
  return upper->GetSizer()->GetMinSize().y + FromDIP(2 * kGap + kLeastLower);
}

// What has just been unfolded is to be seen, and what was seen does not give way to higher letters,
// as far as the screen has room.
void MainWindow::GrowToFit() {
  FitHeadline();
  FitProgress();
  const int wanted = LeastHeight() - FromDIP(kLeastLower) + lower->GetSizer()->GetMinSize().y;
  const int needed = std::min(wanted, ScreenRoom(*this).y);
  const wxSize now = GetClientSize();
  if (now.y < needed && !IsMaximized()) {
    SetClientSize(now.x, needed);
    MoveOntoScreen(*this);
  }
  FitParts();
}

// --- What is shown ---

void MainWindow::ShowStatus(const StatusView& view) {
  meter.Update(view, App().HighResolutionSeconds());
  ShowHeadline(view);
  ShowProgress(view);
  lamps->Show(view.lamps);
  ShowLineErrors();
  jobs->BeginDay(App().LocalTime());
  // An answer must not end the transfer that comes next.
  if (shown && !IsSameExchange(*shown, view)) WithdrawQuestion();
  if (Button(kCancelButton)->IsEnabled() != IsExchange(view.code))
    Button(kCancelButton)->Enable(IsExchange(view.code));
  const bool isNews = !shown || shown->activity != view.activity || shown->reason != view.reason ||
                      shown->note != view.note;
  shown = view;
  if (isNews) ShowAdvice();
  if (onStatus) onStatus(view);
}

void MainWindow::AddJob(const EndedJob& job) {
  jobs->Add(job);
  if (job.Failed() && !IsActive()) RequestUserAttention(wxUSER_ATTENTION_ERROR);
}

void MainWindow::ShowHeadline(const StatusView& view) {
  const Sign wanted = meter.Measured().held ? Sign::Held : SignOf(view.activity);
  if (!shown || shownSign != wanted) {
    sign->SetBitmap(DrawnSign(wanted, kStateSign));
    for (wxStaticText* const text : {headline, progressText})
      text->SetForegroundColour(ColourOf(wanted));
    shownSign = wanted;
  }
  if (headline->GetLabelText() != ToWx(view.headline)) {
    headline->SetLabelText(ToWx(view.headline));
    GrowToFit();
  }
  const wxString line = ToWx(view.line.PaddedRight(kStatusWidth));
  if (statusLine->GetValue() != line) statusLine->ChangeValue(line);
  if (!shown || shown->headline != view.headline) SetSpokenName(sign, view.headline);
}

// Letters of other alphabets are taken from other fonts, which may be higher.
void MainWindow::FitHeadline() {
  const int room = GetClientSize().x - FromDIP(kStateSign + 4 * kGap);
  const wxString words = headline->GetLabelText();
  wxFont font;
  int width = 0, height = 0;
  for (const float scale : kHeadlineScales) {
    font = GetFont().Scaled(scale).Bold();
    headline->GetTextExtent(words, &width, &height, nullptr, nullptr, &font);
    if (width <= room) break;
  }
  if (font == headline->GetFont() && height <= headline->GetMinSize().y) return;
  headline->SetFont(font);
  headline->SetMinSize({-1, height});
}

void MainWindow::ShowProgress(const StatusView& view) {
  const std::int64_t at = std::clamp<std::int64_t>(view.barPosition, 0, view.barRange);
  const int position = view.barRange > 0 ? static_cast<int>(at * kGaugeRange / view.barRange) : 0;
  if (gauge->GetValue() != position) gauge->SetValue(position);
  const wxString words = ToWx(TransferText(view, meter.Measured()));
  if (progressText->GetLabelText() == words) return;
  progressText->SetLabelText(words);
  GrowToFit();
}

// Below the state, so that somebody without the handbook knows what to look at.
void MainWindow::ShowAdvice() {
  const bool noLink = shown && shown->activity == LinkActivity::NoLink && linkAdvice;
  if (!noLink)
    adviceTimer.Stop();
  else if (!adviceTimer.IsRunning())
    adviceTimer.Start(kAdvicePeriod);
  KorText words = noLink ? linkAdvice() : shown ? shown->note : KorText();
  if (noLink && !shown->reason.IsEmpty()) words = shown->reason + u"\n" + words;
  if (words == advised) return;
  advised = words;
  advice->Show(!words.IsEmpty());
  WrapAdvice();
  GrowToFit();
}

void MainWindow::WrapAdvice() {
  const int room =
      std::max(GetClientSize().x, FromDIP(kLeastWidth)) - FromDIP(kStateSign + 5 * kGap);
  const wxString lines = InLines(advised, *advice, room);
  if (advice->GetLabelText() != lines) advice->SetLabelText(lines);
}

// Counted since the port was opened.
void MainWindow::ShowLineErrors() {
  KorText words;
  for (const KorText& text : LineErrorTexts(app.CurrentLineErrors()))
    words += words.IsEmpty() ? text : u"\n" + text;
  const wxString lines = InLines(words, *lineErrors, FromDIP(kWidth - 6 * kGap));
  if (lineErrors->GetLabelText() == lines) return;
  lineErrors->SetLabelText(lines);
  lineErrors->Show(!lines.empty());
  FitParts();
}

void MainWindow::SetJobButtons(JobButtons state) {
  for (const int number : {kSendButton, kReceiveButton, kLoopbackButton}) {
    const bool enabled = state == JobButtons::Enabled ||
                         (state == JobButtons::SendDisabled && number != kSendButton);
    Button(number)->Show(state != JobButtons::Hidden);
    Button(number)->Enable(enabled);
  }
  FitParts();
}

void MainWindow::ShowSpecialButton() {
  Button(kSpecialButton)->Show();
  FitParts();
}

void MainWindow::ShowComplete(bool isShown) {
  Button(kCompleteButton)->Show(isShown);
  GrowToFit();
}

void MainWindow::ShowSettings() {
  CheckBox(kRtsSwitch)->SetValue(app.Settings().rtsCtsHandshake > 0);
  CheckBox(kDtrSwitch)->SetValue(app.Settings().dtrDsrHandshake > 0);
}

void MainWindow::ShowMonitorPane(bool shownNow) {
  CheckBox(kMonitorSwitch)->SetValue(shownNow);
  monitor->Show(shownNow);
  app.SetMonitorShown(shownNow);
  GrowToFit();
  if (shownNow) ScrollTo(*lower, *monitor);
}

void MainWindow::Recall() {
  Button(kSendButton)->SetFocus();
  ShowMonitorPane(memory.IsShown(kMonitorPart, false));
  memory.Restore(*this);
}

void MainWindow::Remember() {
  memory.Keep(*this);
}

// --- Actions ---

void MainWindow::Settings() {
  app.SettingsDialog();
  ShowSettings();
}

void MainWindow::CancelTransfer(wxWindow* over) {
  if (Ask(over, EndQuestion(app.CurrentStatus()))) app.CancelExchange();
}

void MainWindow::Loopback() {
  if (Ask(this, LoopbackQuestion())) app.LoopbackTest();
}

void MainWindow::OnMonitor(bool on) {
  memory.SetShown(kMonitorPart, on);
  ShowMonitorPane(on);
}

void MainWindow::OnTrace(bool on) {
  if (on)
    app.ChooseTraceFile();
  else
    app.StopTrace();
  ShowTracing(app.IsTracing());
}

void MainWindow::ShowTracing(bool on) {
  CheckBox(kTraceSwitch)->SetValue(on);
}

void MainWindow::OnRts(bool on) {
  app.SetHandshake(on, app.Settings().dtrDsrHandshake > 0);
  ShowSettings();
}

void MainWindow::OnDtr(bool on) {
  app.SetHandshake(app.Settings().rtsCtsHandshake > 0, on);
  ShowSettings();
}

} // namespace kor
