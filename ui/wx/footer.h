// Footer: shows what the program works with, which is the port with its device, the line's
// settings, the folder and the version, and offers the user guide. A part that failed at the last
// access is red; the footer itself accesses nothing. Window's thread.
#pragma once

#include <wx/button.h>
#include <wx/panel.h>
#include <wx/stattext.h>

#include "link/link_settings.h"
#include "ui/form_dialog.h"

namespace kor {

class Footer : public wxPanel {
 public:
  explicit Footer(wxWindow* parent);
  // Takes the button that opens the guide, which the caller makes on this panel.
  void AddHelp(wxButton* help);

  void ShowSettings(const LinkSettings& settings, const KorText& portName);
  void ShowTrace(const KorText& words, bool isWrong); // empty: none
  void Follow(const StatusView& view);                // what it says of port and folder
  void ApplyLook();

 private:
  wxStaticText* MakeText(long style = 0);
  void Colour(wxStaticText* text, bool isWrong);

  bool portFails = false, folderFails = false, traceFails = false;
  wxStaticText* port = nullptr;
  wxStaticText* folder = nullptr;
  wxStaticText* trace = nullptr;
  wxStaticText* version = nullptr;
};

// Returns "COM1 · 2400 8N1 · Xon/Xoff" for a port of that name.
KorText LineWords(const LinkSettings& settings, const KorText& portName);

} // namespace kor
