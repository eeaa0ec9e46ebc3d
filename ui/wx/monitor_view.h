// MonitorView: shows the echo of the line. Bytes that arrive and bytes that are sent differ in
// colour and in weight. The view keeps the newest 5,000 lines, and follows the newest unless it was
// scrolled back. Window's thread.
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

  // Adds text, which may hold several lines and parts of lines. The view shows it within a fifth of
  // a second, at most 500 lines at a time. While the view is scrolled back the text waits, so that
  // what is read or selected stays in place.
  void Append(const KorText& newText);
  void Clear();
  // Writes the whole text, with what is not shown yet, in UTF-8. False when the file can't be
  // written; LastError then tells why, and an older file is left whole.
  bool Save(const KorText& path) const;
  // Selects the next place that holds the text, regardless of letter case. The search begins at the
  // selection and wraps around. False when the text is nowhere.
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
