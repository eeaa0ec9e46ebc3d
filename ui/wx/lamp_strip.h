// LampStrip: shows the seven lamps on their dark ground, each a lens with its text below. A lens is
// drawn only when its lamp changes. The line lights the traffic lamps for moments, so they stay lit
// long enough to be seen. Window's thread.
#pragma once

#include <array>

#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>
#include <wx/timer.h>

#include "ui/form_dialog.h"

namespace kor {

class LampStrip : public wxPanel {
 public:
  explicit LampStrip(wxWindow* parent);
  void Show(const std::array<bool, kLampCount>& lamps);
  bool IsOn(Lamp lamp) const { return shown[lamp]; }
  void FitWidth(int width); // as many beside one another as there is room for
  void ApplyLook();         // the desktop's letters, when they have changed
  using wxPanel::Show;

 private:
  struct Cell {
    wxStaticBitmap* lens = nullptr;
    wxStaticText* text = nullptr;
    KorText name;
    bool lit = false;   // as it is drawn
    double litTill = 0; // seconds
  };
  wxPanel* MakeLamp(Lamp lamp);
  void Draw(Lamp lamp);
  void DrawAll();
  void SetTexts(bool inTwoLines);
  int Widest(std::size_t columns) const;
  void PaintLine();

  std::array<bool, kLampCount> shown{};
  std::array<Cell, kLampCount> cells;
  wxFlexGridSizer* grid = nullptr;
  wxTimer afterglow;
  bool twoLines = false;
};

} // namespace kor
