// WindowMemory: remembers where the window stood, how large it was and which parts were unfolded.
// There is one file for each settings name, beside the settings record, whose layout is fixed.
// Window's thread.
#pragma once

#include <memory>

#include <wx/fileconf.h>
#include <wx/toplevel.h>

#include "services/core/kor_text.h"

namespace kor {

class WindowMemory {
 public:
  // settingsName is the model name. Without a settings folder nothing is remembered.
  explicit WindowMemory(const KorText& settingsName);

  // Puts the window where it was if that place is still on a screen, no larger than the screen.
  // Otherwise the window keeps its default size.
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
