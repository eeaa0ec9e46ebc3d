// What a screen reader is told about a control. Each toolkit has its own source file. Window's
// thread.
#pragma once

#include <wx/statbox.h>
#include <wx/stattext.h>
#include <wx/toplevel.h>

#include "services/core/kor_text.h"

namespace kor {

// Sets the control's name for assistive technology. A description that is not empty becomes its
// tool tip.
void SetSpokenName(wxWindow* control, const KorText& name, const KorText& description = {});

// Tells assistive technology that the window answers or asks something.
void SpeakAsDialog(wxTopLevelWindow* dialog);

// These make a text and a box that name no control. The toolkit's own ones name the control that
// follows them.
wxStaticText* MakePlainText(wxWindow* parent, int number, const wxString& text = {},
                            long style = 0);
wxStaticBox* MakePlainBox(wxWindow* parent, int number, const wxString& title);

} // namespace kor
