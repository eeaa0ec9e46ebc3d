#include "ui/no_window.h"

namespace kor {

namespace {

class AbsentWindow : public FormDialog {
 public:
  void ShowStatus(const StatusView&) override {}
  void AppendMonitor(const KorText&) override {}
  void SetTitle(const KorText&) override {}
  void ShowEndDialog(EndDialog, bool) override {}
  void SetJobButtons(JobButtons) override {}
  void ShowSpecialButton() override {}
  bool RunForm(FormDescription&) override { return false; }
  std::optional<KorText> ChooseFile(const FileChoice&) override { return std::nullopt; }
  void ShowMessage(const KorText&, const KorText&, MessageStyle) override {}
  void Post(std::function<void()>) override {}
};

} // namespace

FormDialog& NoWindow() {
  static AbsentWindow window;
  return window;
}

} // namespace kor
