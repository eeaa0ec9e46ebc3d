#include "demo/window_scenes.h"

#include <array>
#include <iterator>
#include <random>

#include <wx/app.h>
#include <wx/checkbox.h>
#include <wx/dialog.h>
#include <wx/display.h>
#include <wx/tglbtn.h>
#include <wx/utils.h>

#include "services/core/text_lookup.h"
#include "services/dictionary/dictionary.h"
#include "ui/wx/form_window.h"
#include "ui/wx/screen_room.h"
#include "ui/wx/side_windows.h"

namespace kor::demo {

namespace {

constexpr const char16_t* kLanguages[] = {u"en-GB", u"cs-CZ", u"de-DE", u"es-ES",
                                          u"fr-FR", u"it-IT", u"ja-JP", u"nl-NL",
                                          u"pl-PL", u"pt-PT", u"tr-TR", u"zh-CN"};
constexpr char16_t kFolder[] = u"/srv/nc/cnc/";
constexpr char16_t kProgram[] = u"/srv/nc/cnc/0000123.MPG";
constexpr std::int64_t kSize = 100'000;
constexpr int kServiceHeading = 15753;
constexpr int kSmallWidth = 480, kSmallHeight = 400;

StatusView ViewOf(LinkStatus code, std::int64_t bytes, std::int64_t size) {
  StatusFacts facts;
  facts.fileName = kProgram;
  facts.bytesDone = bytes;
  facts.bytesTotal = size;
  StatusView view;
  view.code = code;
  view.line = StatusText(code, facts, {});
  view.activity = ActivityOf(code);
  view.headline = StatusHeadline(code, facts.fileName, view.line);
  view.fileName = facts.fileName;
  view.bytesDone = view.barPosition = bytes;
  view.bytesTotal = view.barRange = size;
  view.lamps[kLampReceive] = view.lamps[kLampWrite] = IsTransfer(code);
  return view;
}

} // namespace

// Makes a link with settings as a workshop has them, and no line.
class WindowScenes::SceneApp : public NCEApp {
 public:
  explicit SceneApp(const EngineServices& lent) : NCEApp(lent, {}) {
    PresetSettings([](LinkSettings& settings) {
      settings.baudrate = u"9600";
      settings.uploadPath = settings.downloadPath = kFolder;
      settings.fileExtension = u"MPG";
      settings.logFile = u"/srv/nc/jobs.log";
      settings.writeLog = 1;
    });
  }
};

WindowScenes::WindowScenes(const KorText& dictionary, int settle)
    : dictionaryFile(dictionary), settleTime(settle) {}

WindowScenes::~WindowScenes() = default;

std::span<const char16_t* const> WindowScenes::Languages() {
  return kLanguages;
}

bool WindowScenes::Load(const KorText& language, const Look& look) {
  looking = &look;
  system.SetUserLanguage(language);
  return LoadProgramDictionary(dictionaryFile);
}

bool WindowScenes::Play(const KorText& language, const Look& look) {
  if (!Load(language, look)) return false;
  Open();
  PlayStates();
  PlaySmall();
  PlayMonitor();
  PlayForms();
  PlayMessages();
  Close();
  return true;
}

bool WindowScenes::PlayAt(const wxSize& size, const KorText& language, const Look& look) {
  if (!Load(language, look)) return false;
  Open();
  SetInside(size);
  SettleSize();
  PlayStates();
  Close();
  return true;
}

bool WindowScenes::Walk(std::uint32_t seed, int steps,
                        const std::function<void(double)>& setLetters, const Look& look) {
  std::minstd_rand dice(seed);
  const auto pick = [&](std::uint32_t choices) {
    return static_cast<std::uint32_t>(dice() / 7 % choices);
  };
  bool isOpen = false, loaded = true;
  for (int step = 0; step < steps && loaded; ++step) {
    if (!isOpen || pick(6) == 0) { // a language is taken at the start
      if (isOpen) Close();
      setLetters(1 + 0.25 * pick(3));
      loaded = Load(kLanguages[pick(std::size(kLanguages))], look);
      Open();
      isOpen = true;
    }
    Step(pick);
    SettleSize();
    LookAt(*window, KorText::Format(u"seed %u, step %i", seed, step).ToUtf8());
  }
  if (isOpen) Close();
  setLetters(1);
  return loaded;
}

// Shows the window the way a user has it, who can't leave the screen.
void WindowScenes::SetInside(const wxSize& size) {
  wxSize inside = window->FromDIP(size);
  inside.DecTo(ScreenRoom(*window));
  window->Move(wxDisplay(window).GetClientArea().GetPosition());
  window->SetClientSize(inside);
}

// Chooses small windows more often than large ones.
void WindowScenes::Step(const std::function<std::uint32_t(std::uint32_t)>& pick) {
  static constexpr LinkStatus kStates[] = {
      LinkStatus::NoLink,           LinkStatus::Waiting,         LinkStatus::Downloading,
      LinkStatus::Uploading,        LinkStatus::DownloadErrors,  LinkStatus::DownloadCancelled,
      LinkStatus::DownloadCantOpen, LinkStatus::UploadCompleted, LinkStatus::DownloadPreparation};
  const auto size = [&](int least, int steps) {
    return least +
           20 * static_cast<int>(pick(pick(2) == 0 ? 4 : static_cast<std::uint32_t>(steps)));
  };
  switch (pick(7)) {
  case 0:
  case 1:
    window->Maximize(false);
    SetInside({size(480, 40), size(400, 30)});
    break;
  case 2:
    window->Maximize(!window->IsMaximized());
    break;
  case 3:
    Press(pick(3) == 0 ? kTexts.showMonitor.number : kServiceHeading);
    break;
  case 4:
    AddJob(LinkStatus::DownloadErrors, 1);
    break;
  case 5:
    window->ShowByHand(EndDialog::Upload, pick(2) == 0);
    break;
  default:
    ShowState(kStates[pick(std::size(kStates))], 4'000, kSize);
  }
}

void WindowScenes::Open() {
  system.SetUtc(
      SystemTime{.year = 2026, .month = 3, .day = 12, .hour = 13, .minute = 5, .second = 9});
  EngineServices services;
  services.window = &frontEnd;
  services.startWorker = false;
  services.probePort = [](const KorText& name) { return name < u"COM4"; };
  services.nameDevice = [](const KorText& name) {
    return u"/dev/serial/by-id/usb-FTDI_FT232R_USB_UART_A50285BI-if00-port" + name.Mid(3);
  };
  app = std::make_unique<SceneApp>(services);
  window = new MainWindow(*app, app->ModelName());
  frontEnd.Attach(*window, *app);
  window->SetTitle("NCE");
  window->SetLinkAdvice([] {
    return KorText::Format(LookUpText(kTexts.lookingForPort), u"/dev/ttyUSB0",
                           u"/dev/ttyS0, /dev/ttyS1");
  });
  window->Recall();
  window->ShowSettings();
  window->Show();
  Settle();
}

void WindowScenes::Close() {
  frontEnd.Detach();
  window->Destroy();
  Settle();
  app.reset();
}

void WindowScenes::Settle() const {
  const wxMilliClock_t until = wxGetLocalTimeMillis() + settleTime;
  do {
    wxTheApp->Yield(true);
    wxTheApp->ProcessIdle();
    wxMilliSleep(2);
  } while (wxGetLocalTimeMillis() < until);
}

// The window manager and the window answer each other several times.
void WindowScenes::SettleSize() const {
  for (int round = 0; round < 8; ++round)
    Settle();
}

void WindowScenes::LookAt(wxTopLevelWindow& shown, std::string_view name) const {
  Settle();
  (*looking)(shown, name);
}

void WindowScenes::LookAtModal(std::string_view name, const std::function<void()>& run) {
  window->CallAfter([this, name] {
    for (wxWindow* const top : wxTopLevelWindows)
      if (auto* const dialog = dynamic_cast<wxDialog*>(top); dialog && dialog->IsModal()) {
        wxCommandEvent ok(wxEVT_BUTTON, dialog->GetAffirmativeId());
        if (name == "settings-refused") dialog->FindWindow(ok.GetId())->ProcessWindowEvent(ok);
        LookAt(*dialog, name);
      }
    CancelInnermostModal();
  });
  run();
}

// Presses a check box, or a heading that folds what is below it.
void WindowScenes::Press(int number) {
  wxWindow* const control = window->FindWindow(number);
  if (auto* const box = dynamic_cast<wxCheckBox*>(control)) {
    wxCommandEvent click(wxEVT_CHECKBOX, number);
    box->SetValue(!box->GetValue());
    click.SetInt(box->GetValue() ? 1 : 0);
    box->ProcessWindowEvent(click);
  } else if (auto* const heading = dynamic_cast<wxToggleButton*>(control)) {
    wxCommandEvent click(wxEVT_TOGGLEBUTTON, number);
    heading->SetValue(!heading->GetValue());
    click.SetInt(heading->GetValue() ? 1 : 0);
    heading->ProcessWindowEvent(click);
  }
  Settle(); // what is asked for runs once the event is over
}

void WindowScenes::ShowState(LinkStatus code, std::int64_t bytes, std::int64_t size) {
  window->ShowStatus(ViewOf(code, bytes, size));
}

void WindowScenes::AddJob(LinkStatus code, int number) {
  StatusFacts facts;
  facts.fileName = KorText::Format(u"%s00001%02i.MPG", kFolder, number);
  facts.bytesDone = 2'086 * (number + 1);
  window->AddJob(
      {code, StatusText(code, facts, {}), facts.fileName, App().LocalTime(), {}, facts.bytesDone});
}

// --- Scenes ---

void WindowScenes::PlayStates() {
  using enum LinkStatus;
  ShowState(Waiting);
  LookAt(*window, "idle");
  constexpr std::array kCodes = {DownloadCompleted, DownloadCompleted, UploadCompleted,
                                 DownloadErrors};
  for (int job = 0; job < 12; ++job, system.Advance(250))
    AddJob(kCodes[static_cast<unsigned>(job) % kCodes.size()], job);
  for (int second = 0; second < 10; ++second, system.Advance(1))
    ShowState(Downloading, 960 * second, kSize);
  LookAt(*window, "sending");
  StatusView held = ViewOf(Downloading, 960 * 9, kSize);
  held.lamps = {};
  held.lamps[kLampXoffHold] = true;
  system.Advance(3);
  window->ShowStatus(held);
  LookAt(*window, "held");
  ShowState(DownloadCompleted, kSize, kSize);
  LookAt(*window, "done");
  for (int second = 0; second < 3; ++second, system.Advance(1))
    ShowState(Uploading, 960 * second, 0);
  LookAt(*window, "receiving");
  window->ShowByHand(EndDialog::Upload, true);
  ShowState(Uploading, 960 * 3, 0);
  LookAt(*window, "receiving-by-hand");
  window->ShowByHand(EndDialog::Upload, false);
  ShowState(DownloadCantOpen);
  LookAt(*window, "failed");
  ShowState(NoLink);
  LookAt(*window, "no-link");
}

void WindowScenes::PlaySmall() {
  using enum LinkStatus;
  const wxSize usual = window->GetSize();
  window->SetClientSize(window->FromDIP(wxSize(kSmallWidth, kSmallHeight)));
  SettleSize();
  ShowState(Downloading, kSize / 3, kSize);
  LookAt(*window, "small");
  window->SetSize(usual);
  system.Advance(1); // the lamps have gone out
  ShowState(Waiting);
}

void WindowScenes::PlayMonitor() {
  Press(kServiceHeading);
  SettleSize();
  LookAt(*window, "service");
  Press(kTexts.showMonitor.number);
  for (int line = 1; line < 5; ++line)
    window->Monitor().Append(KorText::Format(
        u"RX >[0d]\nTX 2AN%i0 G01 X%i.250 Y13.000!N%i5 G01 X7.000!5C[0d]\n", line, line * 3, line));
  SettleSize();
  LookAt(*window, "monitor");
  window->Monitor().FindNext("g01");
  window->Monitor().Text().SetFocus();
  LookAt(*window, "monitor-find");
  Press(kTexts.showMonitor.number);
  Press(kServiceHeading);
}

void WindowScenes::PlayForms() {
  FormDescription settings = app->SettingsForm(), refused = settings, special = app->SpecialForm();
  const auto look = [this](FormDescription& form, std::string_view name) {
    LookAtModal(name, [&] { FormWindow(window, form, [](wxWindow*) {}).Run(); });
  };
  look(settings, "settings");
  refused.check = [](FormDescription& form) {
    for (const char16_t* key : {u"upload-path", u"file-extension", u"log-file"}) {
      FormField& field = *form.Find(key);
      field.problem =
          FieldRefusal{key, field.label, field.value, LookUpText(kTexts.acceptedFolders)}
              .BesideField();
    }
    form.obstacle = KorText::Format(LookUpText(kTexts.transferRunsHere),
                                    ViewOf(LinkStatus::Downloading, 960, kSize).headline);
  };
  look(refused, "settings-refused");
  look(special, "special");
}

void WindowScenes::PlayMessages() {
  const auto newest = [this](std::string_view name) {
    auto* const shown = dynamic_cast<wxTopLevelWindow*>(wxTopLevelWindows.GetLast()->GetData());
    LookAt(*shown, name);
    shown->Close();
    Settle();
  };
  for (const auto& [which, name] :
       {std::pair{EndDialog::Download, "download-end"}, {EndDialog::Upload, "upload-end"}}) {
    frontEnd.ShowEndDialog(which, true);
    for (wxWindow* const top : wxTopLevelWindows)
      if (top->IsShown() && top != window) LookAt(*static_cast<wxTopLevelWindow*>(top), name);
    frontEnd.ShowEndDialog(which, false);
  }
  frontEnd.ShowMessage(LookUpText(kTexts.log),
                       KorText::Format(u"%s\n%s", u"COM1", u"/srv/nc/jobs.log"),
                       MessageStyle::Information);
  newest("message");
  frontEnd.ShowMessage(LookUpText(kTexts.downloadSettings),
                       KorText::Format(LookUpText(kTexts.transferRuns), frontEnd.CancelName(),
                                       ViewOf(LinkStatus::Downloading, 960, kSize).line),
                       MessageStyle::Exclamation);
  newest("warning");
  const StatusView sending = ViewOf(LinkStatus::Downloading, 960, kSize);
  const std::pair<const char*, Question> questions[] = {
      {"question-end", EndQuestion(sending)},
      {"question-close", CloseQuestion(ViewOf(LinkStatus::Waiting, 0, 0))},
      {"question-close-sending", CloseQuestion(sending)},
      {"question-loopback", LoopbackQuestion()}};
  for (const auto& scene : questions)
    LookAtModal(scene.first, [&] { Ask(window, scene.second); });
}

} // namespace kor::demo
