// LampRow: the seven lamps, each a drawn sign with its text. Drawn only when a lamp changes.
// Window's thread.
#pragma once

#include <array>

#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>

#include "ui/form_dialog.h"

namespace kor {

class LampRow : public wxPanel {
 public:
  explicit LampRow(wxWindow* parent);
  void Show(const std::array<bool, kLampCount>& lamps);
  bool IsOn(Lamp lamp) const { return shown[lamp]; }
  using wxPanel::Show;

 private:
  wxPanel* MakeLamp(Lamp lamp);
  void Draw(Lamp lamp);
  void Arrange();

  std::array<bool, kLampCount> shown{};
  std::array<wxStaticBitmap*, kLampCount> signs{};
  std::array<KorText, kLampCount> names;
  wxGridSizer* grid = nullptr;
  int widest = 1; // pixels of a lamp with its text
};

} // namespace kor
