#include "ui/wx/native_look.h"

namespace kor {

void SetBarHeight(wxGauge* gauge, int height) {
  gauge->SetMinSize({-1, gauge->FromDIP(height)});
}

void SetTabHeight(wxNotebook* book, int height) {
  book->SetPadding({book->FromDIP(16), (book->FromDIP(height) - book->GetCharHeight()) / 2});
}

wxSize FrameOfBook(wxNotebook* book) {
  return book->CalcSizeFromPage({});
}

void BlendIn(wxTextCtrl* text) {
  text->SetBackgroundColour(text->GetParent()->GetBackgroundColour());
}

void StopAnimations() {}

} // namespace kor
