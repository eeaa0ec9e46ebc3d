// Takes pictures of windows as they stand on the screen. Each toolkit has its own source file.
#pragma once

#include <string>

#include <wx/toplevel.h>

namespace kor {

// Writes the window with the frame that the window manager draws, in the display's pixels, whatever
// the scaling. file has no extension yet: it gets ".png" where the toolkit can write that, else
// ".bmp". False when the picture could not be taken or written.
bool Shoot(const wxTopLevelWindow& window, const std::string& file);

} // namespace kor
