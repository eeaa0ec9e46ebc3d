// What a screen reader is told of a control. One source file per toolkit. Window's thread.
#pragma once

#include <wx/statbox.h>
#include <wx/stattext.h>
#include <wx/toplevel.h>

#include "services/core/kor_text.h"

namespace kor {

// The control's name for assistive technology, and its tool tip where description is not empty.
void SetSpokenName(wxWindow* control, const KorText& name, const KorText& description = {});

// The window answers or asks something, and is told of as such.
void SpeakAsDialog(wxTopLevelWindow* dialog);

// A text and a box that name no control; other ones name what follows them.
wxStaticText* MakePlainText(wxWindow* parent, int number, const wxString& text = {},
                            long style = 0);
wxStaticBox* MakePlainBox(wxWindow* parent, int number, const wxString& title);

} // namespace kor
