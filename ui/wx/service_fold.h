// ServiceFold: a heading that folds and unfolds the part that only the maintainer needs. The caller
// makes the controls as children of Inside and then adds them. Window's thread.
#pragma once

#include <functional>
#include <initializer_list>
#include <vector>

#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/tglbtn.h>

#include "services/core/user_texts.h"
#include "ui/wx/mnemonics.h"

namespace kor {

class ServiceFold : public wxPanel {
 public:
  static constexpr int kNumber = kTexts.service.number; // of the heading
  // onFold is called when the user folds or unfolds the part.
  ServiceFold(wxWindow* parent, Mnemonics& mnemonics, std::function<void(bool open)> onFold);

  wxPanel& Inside() { return *inside; }
  // Adds controls in pairs, side by side where there is room, in the order of the Tab key. Each is
  // high enough for a finger in a glove.
  void AddPairs(std::initializer_list<wxWindow*> controls);
  void Add(wxWindow* control, int proportion = 0);
  bool IsOpen() const { return inside->IsShown(); }
  void Open(bool open);
  void FitTo(int width);

 private:
  void Follow(wxWindow* control); // the last one in the order of the Tab key
  void ShowHeading();

  std::vector<wxGridSizer*> grids;
  wxToggleButton* heading = nullptr;
  wxPanel* inside = nullptr;
  wxBoxSizer* column = nullptr;
  wxWindow* last = nullptr;
  wxString label, holds; // what it holds is told where there is room
  int room = 0;          // pixels
};

} // namespace kor
