// RecordingForm: a window that keeps what the engine asked of it. Posted tasks wait until
// RunPosted.
#pragma once

#include <deque>
#include <map>

#include "services/core/thread_annotations.h"
#include "ui/form_dialog.h"

namespace kor {

class RecordingForm : public FormDialog {
 public:
  void ShowStatus(const StatusView& view) override {
    if (statuses.empty() || statuses.back().line != view.line) statuses.push_back(view);
    last = view;
  }
  void ShowEndedJob(const EndedJob& job) override { jobs.push_back(job); }
  void ShowEarlierJobs(const std::vector<EndedJob>& before) override { earlier = before; }
  void ShowTracing(bool on) override { tracing = on; }
  void AppendMonitor(const KorText& text) override { monitor += text; }
  void SetTitle(const KorText& newTitle) override { title = newTitle; }
  void ShowEndDialog(EndDialog which, bool shown) override { endDialogs[which] = shown; }
  void SetJobButtons(JobButtons state) override { buttons = state; }
  void ShowSpecialButton() override { specialShown = true; }
  bool RunForm(FormDescription& form) override { return edit && edit(form); }
  std::optional<KorText> ChooseFile(const FileChoice&) override { return chosen; }
  void ShowMessage(const KorText& caption, const KorText& text, MessageStyle) override {
    messages.push_back(caption + u": " + text);
  }
  void Post(std::function<void()> task) override {
    const Lock lock(mutex);
    posted.push_back(std::move(task));
  }

  void RunPosted() {
    for (;;) {
      std::deque<std::function<void()>> now;
      {
        const Lock lock(mutex);
        now.swap(posted);
      }
      if (now.empty()) return;
      for (const auto& task : now)
        task();
    }
  }
  std::size_t Waiting() { // posts
    const Lock lock(mutex);
    return posted.size();
  }
  // The message, where just one was shown; else how many there were.
  KorText OnlyMessage() const {
    return messages.size() == 1 ? messages[0] : KorText::Format(u"%u messages", messages.size());
  }
  // The codes of the statuses shown, in order, without repeats.
  std::vector<LinkStatus> Codes() const {
    std::vector<LinkStatus> codes;
    for (const StatusView& view : statuses)
      if (codes.empty() || codes.back() != view.code) codes.push_back(view.code);
    return codes;
  }

  std::optional<KorText> chosen; // what the user chooses in every chooser
  // What the user does with every form; by default, cancels it.
  std::function<bool(FormDescription&)> edit;
  std::vector<StatusView> statuses;
  StatusView last;
  std::vector<EndedJob> jobs, earlier;
  bool tracing = true; // until it was told otherwise
  KorText monitor;
  KorText title;
  std::map<EndDialog, bool> endDialogs;
  JobButtons buttons = JobButtons::Enabled;
  bool specialShown = false;
  std::vector<KorText> messages; // each as "caption: text"

 private:
  Mutex mutex;
  std::deque<std::function<void()>> posted KOR_GUARDED_BY(mutex);
};

} // namespace kor
