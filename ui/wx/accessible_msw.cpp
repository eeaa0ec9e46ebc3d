#include "ui/wx/accessible.h"
#include "ui/wx/wx_text.h"

namespace kor {

// The system takes a control's name from the label before it.
void SetSpokenName(wxWindow* control, const KorText& name, const KorText& description) {
  control->SetName(ToWx(name));
  if (!description.IsEmpty()) control->SetToolTip(ToWx(description));
}

} // namespace kor
