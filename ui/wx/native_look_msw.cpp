#include "ui/wx/native_look.h"

namespace kor {

void SetBarHeight(wxGauge* gauge, int height) {
  gauge->SetMinSize({-1, gauge->FromDIP(height)});
}

void BlendIn(wxTextCtrl* text) {
  text->SetBackgroundColour(text->GetParent()->GetBackgroundColour());
}

void StopAnimations() {}

} // namespace kor
