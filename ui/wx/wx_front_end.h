// WxFrontEnd: the engine's window, made with the toolkit. Owned by main and outlives the engine.
// The main window is lent to it once the application exists. All but Post and CancelName run on the
// window's thread.
#pragma once

#include <deque>
#include <memory>

#include <wx/event.h>
#include <wx/timer.h>

#include "services/core/text_lookup.h"
#include "services/core/thread_annotations.h"
#include "ui/form_dialog.h"
#include "ui/wx/main_window.h"
#include "ui/wx/side_windows.h"

namespace kor {

class WxFrontEnd : public FormDialog {
 public:
  // Lends the application's windows. They are made before the application's own set-up and go after
  // it has ended.
  void Attach(MainWindow& mainWindow, NCEApp& app);
  void Detach();

  // FormDialog
  void ShowStatus(const StatusView& view) override;
  void ShowEndedJob(const EndedJob& job) override;
  void ShowEarlierJobs(const std::vector<EndedJob>& jobs) override;
  void ShowTracing(bool on) override;
  void AppendMonitor(const KorText& text) override;
  void SetTitle(const KorText& title) override;
  void ShowEndDialog(EndDialog which, bool shown) override;
  void SetJobButtons(JobButtons state) override;
  void ShowSpecialButton() override;
  bool RunForm(FormDescription& form) override;
  std::optional<KorText> ChooseFile(const FileChoice& choice) override;
  void ShowMessage(const KorText& caption, const KorText& text, MessageStyle style) override;
  KorText CancelName() const override { return LookUpText(kTexts.cancelTransfer); }
  void Post(std::function<void()> task) override;

 private:
  // Runs posts that came while others ran, a moment later.
  struct NextRun : wxTimer {
    explicit NextRun(WxFrontEnd& ofFrontEnd) : frontEnd(ofFrontEnd) {}
    void Notify() override { frontEnd.RunPosts(); }
    WxFrontEnd& frontEnd;
  };
  void RunPosts();

  MainWindow* window = nullptr;
  wxDialog* downloadEnd = nullptr; // belong to the main window
  wxDialog* uploadEnd = nullptr;
  std::unique_ptr<MessageWindows> messages;
  wxEvtHandler wakeUps;
  NextRun nextRun{*this};
  Mutex mutex;
  std::deque<std::function<void()>> posts KOR_GUARDED_BY(mutex);
  bool isWoken KOR_GUARDED_BY(mutex) = false; // a wake-up or the timer will run them
};

} // namespace kor
