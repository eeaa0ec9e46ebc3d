#include "ui/wx/accessible.h"
#include "ui/wx/wx_text.h"

#include <wx/access.h>

namespace kor {

namespace {

// The system's own answers, but for the name.
class NamedAccessible : public wxAccessible {
 public:
  NamedAccessible(wxWindow* window, const wxString& spokenName)
      : wxAccessible(window), name(spokenName) {}
  wxAccStatus GetName(int child, wxString* told) override {
    if (child != wxACC_SELF) return wxACC_NOT_IMPLEMENTED;
    *told = name;
    return wxACC_OK;
  }

 private:
  const wxString name;
};

} // namespace

void SetSpokenName(wxWindow* control, const KorText& name, const KorText& description) {
  control->SetAccessible(new NamedAccessible(control, ToWx(name)));
  if (!description.IsEmpty()) control->SetToolTip(ToWx(description));
}

wxStaticText* MakePlainText(wxWindow* parent, int number, const wxString& text, long style) {
  return new wxStaticText(parent, number, text, wxDefaultPosition, wxDefaultSize, style);
}

wxStaticBox* MakePlainBox(wxWindow* parent, int number, const wxString& title) {
  return new wxStaticBox(parent, number, title);
}

// The system knows its dialogs.
void SpeakAsDialog(wxTopLevelWindow*) {}

} // namespace kor
