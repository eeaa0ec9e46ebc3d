// Pictures of windows as they stand on the screen. One source file per toolkit.
#pragma once

#include <string>

#include <wx/toplevel.h>

namespace kor {

// With the frame that the window manager draws, in the pixels of the display, whatever the scaling.
// file has no extension yet: ".png" where the toolkit can write it, else ".bmp". False when it
// could not be taken or written.
bool Shoot(const wxTopLevelWindow& window, const std::string& file);

} // namespace kor
