#include "ui/wx/wx_front_end.h"

#include <utility>

#include <wx/filedlg.h>

#include "services/core/text_lookup.h"
#include "ui/wx/form_window.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kPostPeriod = 50; // milliseconds; a change is shown within 100

} // namespace

void WxFrontEnd::Attach(MainWindow& mainWindow, NCEApp& app) {
  window = &mainWindow;
  messages = std::make_unique<MessageWindows>(window);
  const KorText cancel = LookUpText(kTexts.cancel);
  downloadEnd =
      MakeEndWindow(window, LookUpText(kTexts.downloadEnd), LookUpText(kTexts.downloadEndNote),
                    {{cancel, [&app] { app.CancelDownload(); }}});
  uploadEnd = MakeEndWindow(window, LookUpText(kTexts.uploadEnd), LookUpText(kTexts.uploadEndNote),
                            {{LookUpText(kTexts.complete), [&app] { app.CompleteUpload(); }},
                             {cancel, [&app] { app.CancelUpload(); }}});
}

void WxFrontEnd::Detach() {
  nextRun.Stop();
  wakeUps.DeletePendingEvents();
  {
    const Lock lock(mutex);
    posts.clear();
  }
  messages.reset();
  window = nullptr;
}

void WxFrontEnd::ShowStatus(const StatusView& view) {
  if (window) window->ShowStatus(view);
}

void WxFrontEnd::ShowEndedJob(const EndedJob& job) {
  if (window) window->AddJob(job);
}

void WxFrontEnd::ShowEarlierJobs(const std::vector<EndedJob>& jobs) {
  if (window) window->AddEarlierJobs(jobs);
}

void WxFrontEnd::ShowTracing(bool on) {
  if (window) window->ShowTracing(on);
}

void WxFrontEnd::AppendMonitor(const KorText& text) {
  if (window) window->Monitor().Append(text);
}

void WxFrontEnd::SetTitle(const KorText& title) {
  if (window) window->SetTitle(ToWx(title));
}

void WxFrontEnd::ShowEndDialog(EndDialog which, bool shown) {
  if (!window) return;
  wxDialog* const dialog = which == EndDialog::Download ? downloadEnd : uploadEnd;
  window->ShowByHand(which, shown);
  if (!shown) {
    dialog->Hide();
    return;
  }
  dialog->CentreOnParent();
  // An Enter too many, meant for the chooser of the file, must not end the transfer.
  dialog->ShowWithoutActivating();
}

void WxFrontEnd::SetJobButtons(JobButtons state) {
  if (window) window->SetJobButtons(state);
}

void WxFrontEnd::ShowSpecialButton() {
  if (window) window->ShowSpecialButton();
}

bool WxFrontEnd::RunForm(FormDescription& form) {
  if (!window) return false;
  return FormWindow(window, form, [this](wxWindow* over) { window->CancelTransfer(over); }).Run();
}

std::optional<KorText> WxFrontEnd::ChooseFile(const FileChoice& choice) {
  const bool saving = choice.kind == FileChoice::Kind::Save;
  wxFileDialog chooser(
      window, ToWx(choice.title), ToWx(choice.folder), ToWx(choice.name), ToWx(choice.filters),
      saving ? wxFD_SAVE | wxFD_OVERWRITE_PROMPT : wxFD_OPEN | wxFD_FILE_MUST_EXIST);
  if (chooser.ShowModal() != wxID_OK) return std::nullopt;
  return FromWx(chooser.GetPath());
}

void WxFrontEnd::ShowMessage(const KorText& caption, const KorText& text, MessageStyle style) {
  if (messages) messages->Show(caption, text, style);
}

void WxFrontEnd::Post(std::function<void()> task) {
  {
    const Lock lock(mutex);
    posts.push_back(std::move(task));
    if (std::exchange(isWoken, true)) return;
  }
  wakeUps.CallAfter([this] { RunPosts(); });
}

// The toolkit handles neither keys nor timers before it has no more wake-ups. Posts that come while
// these run therefore wait for the timer, which also serves the loop of a window that a post opens.
void WxFrontEnd::RunPosts() {
  std::deque<std::function<void()>> now;
  {
    const Lock lock(mutex);
    now.swap(posts);
    isWoken = !now.empty();
  }
  if (now.empty()) return;
  nextRun.StartOnce(kPostPeriod);
  for (const auto& task : now)
    task();
}

} // namespace kor
