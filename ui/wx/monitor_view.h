// MonitorView: the echo of the line in the window: what arrives and what is sent, in two colours
// that also differ in weight. It follows the newest line unless it was scrolled back, and shows the
// newest 5,000. Window's thread.
#pragma once

#include <wx/panel.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/timer.h>

#include "services/core/kor_text.h"
#include "ui/wx/mnemonics.h"

namespace kor {

class MonitorView : public wxPanel {
 public:
  static constexpr int kMostLines = 5000;

  MonitorView(wxWindow* parent, Mnemonics& mnemonics);

  // May hold several lines and parts of lines. Shown within a fifth of a second, 500 lines in one
  // go; while the view is scrolled back it waits, so that what is read or selected stays in place.
  void Append(const KorText& newText);
  void Clear();
  // With what waits to be shown, in UTF-8. False when the file can't be written: LastError tells
  // why, and an older file is whole.
  bool Save(const KorText& path) const;
  // Selects the next place that holds the text, in any letter case, from the selection on and
  // around the end; false when there is none.
  bool FindNext(const wxString& wantedText);
  wxTextCtrl& Text() { return *text; }

 private:
  void ShowWaiting();
  void AppendInStyle(const wxString& added);
  bool IsScrolledBack() const;
  long DropOldest(); // how many characters
  wxSizer* MakeTools(Mnemonics& mnemonics);
  void ChooseFile();
  void Find();
  void SayNotFound(bool said);
  void SayPaused(bool said);
  void Say();

  wxTextCtrl* text = nullptr;
  wxTextCtrl* wanted = nullptr;
  wxStaticText* remark = nullptr; // hidden while there is nothing to say
  bool isNotFound = false, isPaused = false;
  KorText waiting;         // not shown yet
  bool sentLine = false;   // the line at the end of the text is one of the host's
  bool atLineStart = true; // the text ends with a line end
  wxTimer showTimer;
};

} // namespace kor
