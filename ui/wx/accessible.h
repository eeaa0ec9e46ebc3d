// What a screen reader is told of a control. One source file per toolkit. Window's thread.
#pragma once

#include <wx/toplevel.h>

#include "services/core/kor_text.h"

namespace kor {

// The control's name for assistive technology, and its tool tip where description is not empty.
void SetSpokenName(wxWindow* control, const KorText& name, const KorText& description = {});

// The window answers or asks something, and is told of as such.
void SpeakAsDialog(wxTopLevelWindow* dialog);

} // namespace kor
