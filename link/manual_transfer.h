// ManualTransfer: what the window shows and asks of a transfer that is begun by hand: the file
// dialogs, where they open the next time, the end dialogs and the job buttons. Owned by
// DownloadApp.
//
// Threads: Begin and End run on the worker, everything else on the window's thread.
#pragma once

#include <optional>

#include "link/link_settings.h"
#include "ui/form_dialog.h"

namespace kor {

class ManualTransfer {
 public:
  explicit ManualTransfer(FormDialog& formDialog) : window(formDialog) {}

  static KorText SendCaption();
  static KorText ReceiveCaption();
  // The name of the current file is filled in. Nothing when the user chose none.
  std::optional<KorText> ChooseToSend(const LinkSettings& settings, const KorText& currentFile);
  std::optional<KorText> ChooseToReceive(const LinkSettings& settings, const KorText& currentFile);
  // Intended: the next dialog opens where this file lay and filters for its kind. The path is a
  // whole one.
  static void Remember(const KorText& path, LinkSettings& settings);
  void HideEndDialogs();

  void Begin(EndDialog which, const KorText& title);
  // However it ended; nothing for a transfer that the controller began.
  void End();
  bool IsRunning() const { return running; } // worker

 private:
  FormDialog& window;
  bool running = false; // worker: an end dialog is shown
};

// "NC files (*.EXT)|*.EXT|All Files (*.*)|*.*"
KorText FileFilters(const KorText& kind, const KorText& extension);

} // namespace kor
