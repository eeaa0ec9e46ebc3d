// StateBand: tells what the link does so that it can be read from two metres. On the tint of the
// state stand a sign, the state in one word, and the program's number; below them the status line,
// what to do, and the progress with the buttons that end a transfer. Every part keeps its room in
// every state, so that nothing below the band moves. Letters and sign grow with the window.
// Window's thread.
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
  // Makes the progress bar with its label.
  void MakeProgress();
  // Adds the buttons that end a transfer, beside the progress. cancel keeps its room while it is
  // hidden.
  void AddButtons(wxButton* complete, wxButton* cancel);

  void Show(const Situation& now);
  void ShowAdvice(const KorText& text);
  // Chooses the letters and the room of each part for a window of that size.
  void FitTo(const wxSize& window);
  void ApplyLook(); // the desktop's letters and colours, at first and when they have changed
  using wxPanel::Show;

 private:
  void ShowWords();
  void ShowStatusLine();
  void ShowProgress();
  void FitWord(wxStaticText* text, const wxFont& font) const;
  void ApplyScale();
  void ApplyColours();
  void FitAdvice();
  wxString AdviceLines(const KorText& text) const;
  int HeightOf(const wxString& adviceInLines) const;
  int TextRoom() const;

  std::optional<Situation> shown;
  std::optional<Tone> tone;
  Sign drawnSign = Sign::Idle;
  double scale = 1;     // of the letters
  int room = 0;         // pixels of the window's width
  int adviceRoom = -1;  // pixels of width that adviceHeight was measured for
  int adviceHeight = 0; // pixels that are kept free
  KorText advised;      // not yet in lines
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
