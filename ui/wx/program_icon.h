// The icon of the program's windows. One source file per toolkit. Window's thread.
#pragma once

#include <wx/toplevel.h>

namespace kor {

void SetProgramIcon(wxTopLevelWindow& window);

} // namespace kor
