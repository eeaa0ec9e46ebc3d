#include "ui/wx/native_look.h"

#include <wx/brush.h>
#include <wx/control.h>
#include <wx/dcclient.h>
#include <wx/msw/private.h>

namespace kor {

// The system's bars keep their own colours.
void StyleBar(wxGauge* gauge, int height, const wxColour&, const wxColour&) {
  gauge->SetMinSize({gauge->GetMinSize().x, gauge->FromDIP(height)});
}

void ShortenDrawing(wxTextCtrl* text) {
  text->Bind(wxEVT_PAINT, [text](wxPaintEvent& event) {
    const wxString words = wxString(text->GetValue()).Trim();
    const wxSize room = text->GetClientSize();
    if (text->HasFocus() || text->GetTextExtent(words).x <= room.x) {
      event.Skip();
      return;
    }
    wxPaintDC dc(text);
    dc.SetBackground(wxBrush(text->GetBackgroundColour()));
    dc.Clear();
    dc.SetFont(text->GetFont());
    dc.SetTextForeground(text->GetForegroundColour());
    dc.DrawText(wxControl::Ellipsize(words, dc, wxELLIPSIZE_MIDDLE, room.x), 0, 0);
  });
  const auto redraw = [text](wxFocusEvent& event) {
    text->Refresh();
    event.Skip();
  };
  text->Bind(wxEVT_SET_FOCUS, redraw);
  text->Bind(wxEVT_KILL_FOCUS, redraw);
}

// The system does this by itself.
void CentreLines(wxAnyButton*) {}
void AlignLeft(wxAnyButton*) {} // by its style

bool IsHighContrast() {
  HIGHCONTRASTW contrast{};
  contrast.cbSize = sizeof contrast;
  return ::SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0) != FALSE &&
         (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

void LayOutAgain(wxDataViewCtrl*) {} // it notices

void SetTabHeight(wxNotebook* book, int height) {
  book->SetPadding({book->FromDIP(16), (book->FromDIP(height) - book->GetCharHeight()) / 2});
}

wxSize FrameOfBook(wxNotebook* book) {
  return book->CalcSizeFromPage({});
}

void BlendIn(wxTextCtrl* text) {
  text->SetMargins(0);
  text->SetBackgroundColour(text->GetParent()->GetBackgroundColour());
}

void StopAnimations() {}

} // namespace kor
