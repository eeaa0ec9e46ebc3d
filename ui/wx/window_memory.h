// WindowMemory: where the window stood, how large it was and what was folded away, by settings
// name, in a file of its own beside the settings record, whose layout is fixed. Window's thread.
#pragma once

#include <memory>

#include <wx/fileconf.h>
#include <wx/toplevel.h>

#include "services/core/kor_text.h"

namespace kor {

class WindowMemory {
 public:
  // settingsName: the model name. Without a settings folder nothing is remembered.
  explicit WindowMemory(const KorText& settingsName);

  // Puts the window where it was, if a screen is still there, and no larger than that; its default
  // size otherwise.
  void Restore(wxTopLevelWindow& window) const;
  void Keep(const wxTopLevelWindow& window);
  bool IsShown(const wxString& part, bool otherwise) const;
  void SetShown(const wxString& part, bool shown);

 private:
  KorText path;
  std::unique_ptr<wxFileConfig>
      config; // of no file: the toolkit would show its own window where it can't save
};

} // namespace kor
