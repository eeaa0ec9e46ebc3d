// The icon of the program's windows. Window's thread.
#pragma once

#include <wx/colour.h>
#include <wx/image.h>
#include <wx/toplevel.h>

namespace kor {

void SetProgramIcon(wxTopLevelWindow& window);
// With a dot of that colour, for the taskbar.
void SetProgramIcon(wxTopLevelWindow& window, const wxColour& dot);

// As the system has it, of about that side in pixels; not Ok where it has none. One source file per
// toolkit.
wxImage ProgramPicture(int side);

} // namespace kor
