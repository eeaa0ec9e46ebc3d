// Shows a note on the desktop, outside the program's own windows. Each toolkit has its own source
// file. Window's thread.
#pragma once

#include <wx/toplevel.h>

#include "services/core/kor_text.h"

namespace kor {

// The desktop shows the note in its own time; nobody waits for it.
void ShowDesktopNote(wxTopLevelWindow& window, const KorText& title, const KorText& text);

} // namespace kor
