#include "ui/wx/press_button.h"

#include "ui/wx/accessible.h"

namespace kor {

wxButton* MakePressButton(wxWindow* parent, int number, const KorText& label, Mnemonics& mnemonics,
                          int height) {
  auto* const button = new wxButton(parent, number, mnemonics.Label(label));
  button->SetMinSize(parent->FromDIP(wxSize(-1, height)));
  SetSpokenName(button, label);
  return button;
}

} // namespace kor
