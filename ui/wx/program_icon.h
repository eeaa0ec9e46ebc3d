// Sets the icon of the program's windows. Window's thread.
#pragma once

#include <wx/colour.h>
#include <wx/image.h>
#include <wx/toplevel.h>

namespace kor {

void SetProgramIcon(wxTopLevelWindow& window);
// Adds a dot of that colour, which shows in the taskbar.
void SetProgramIcon(wxTopLevelWindow& window, const wxColour& dot);

// Returns the system's icon of the program, with about that side in pixels; it is not Ok where the
// system has none. Each toolkit has its own source file.
wxImage ProgramPicture(int side);

} // namespace kor
