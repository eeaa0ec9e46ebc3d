// A note on the desktop, beside the program's own windows. One source file per toolkit. Window's
// thread.
#pragma once

#include <wx/toplevel.h>

#include "services/core/kor_text.h"

namespace kor {

// Shown when the desktop gets to it; nobody waits for that.
void ShowDesktopNote(wxTopLevelWindow& window, const KorText& title, const KorText& text);

} // namespace kor
