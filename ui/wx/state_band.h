// StateBand: what the link does, to be read from two metres: on the tint of its state a sign, the
// state in one word, the program's number; below them the status line, what to do, and the progress
// with what ends it. Its parts keep their room in every state, so nothing below it moves; letters
// and sign grow with the window. Shows what it is given. Window's thread.
#pragma once

#include <optional>
#include <vector>

#include <wx/button.h>
#include <wx/gauge.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include "ui/wx/signs.h"

namespace kor {

class StateBand : public wxPanel {
 public:
  explicit StateBand(wxWindow* parent);
  // The progress bar with its label, and beside it what ends a transfer.
  void MakeProgress();
  // cancel keeps its room while it is hidden.
  void AddButtons(wxButton* complete, wxButton* cancel);

  void Show(const Situation& now);
  void ShowAdvice(const KorText& text);
  // The letters and the room of each part for a window of that size.
  void FitTo(const wxSize& window);
  void ApplyLook(); // the desktop's letters and colours, at first and when they have changed
  using wxPanel::Show;

 private:
  void ShowWords();
  void ShowStatusLine();
  void ShowProgress();
  void FitWord(wxStaticText* text, const wxFont& font) const;
  void ApplyColours();
  void FitAdvice();
  wxString AdviceLines(const KorText& text) const;
  int TextRoom() const;

  std::optional<Situation> shown;
  std::optional<Tone> tone;
  Sign drawnSign = Sign::Idle;
  double scale = 1;    // of the letters
  int room = 0;        // pixels of the window's width
  int adviceRoom = -1; // pixels of width that adviceLines was measured for
  int adviceLines = 2; // that are kept free
  KorText advised;     // not yet in lines
  wxStaticBitmap* sign = nullptr;
  wxStaticText* word = nullptr;
  wxStaticText* program = nullptr;
  wxTextCtrl* statusLine = nullptr;
  wxStaticText* advice = nullptr;
  wxBoxSizer* parts = nullptr;
  wxBoxSizer* progress = nullptr;
  wxStaticText* label = nullptr;
  wxGauge* gauge = nullptr;
  wxStaticText* figures = nullptr;
  std::vector<wxButton*> buttons;
};

} // namespace kor
