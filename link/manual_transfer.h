// Transfers that the user begins by hand: the file dialogs, the folder where they open next time,
// the end dialogs and the job buttons.
#pragma once

#include <optional>

#include "link/link_settings.h"
#include "ui/form_dialog.h"

namespace kor {

// Any thread.
KorText SendCaption();
KorText ReceiveCaption();

// Window's thread. The dialog offers the current file's name. Returns nothing if the user cancels.
std::optional<KorText> ChooseFileToSend(FormDialog& window, const LinkSettings& settings,
                                        const KorText& currentFile);
std::optional<KorText> ChooseFileToReceive(FormDialog& window, const LinkSettings& settings,
                                           const KorText& currentFile);
// Intended: the next dialog opens where this file lay and filters for its kind. The path is a whole
// one.
void RememberFile(const KorText& path, LinkSettings& settings);
void HideEndDialogs(FormDialog& window);

// ManualTransfer: shows and hides the windows of a manual transfer. Owned by Exchange. Worker's
// thread.
class ManualTransfer {
 public:
  explicit ManualTransfer(FormDialog& formDialog) : window(formDialog) {}

  void Begin(EndDialog which, const KorText& title);
  // Called however a transfer ends. Does nothing if the controller began it.
  void End();
  bool IsRunning() const { return running; }

 private:
  FormDialog& window;
  bool running = false; // an end dialog is shown
};

// Returns "NC files (*.EXT)|*.EXT|All Files (*.*)|*.*".
KorText FileFilters(const KorText& kind, const KorText& extension);

} // namespace kor
