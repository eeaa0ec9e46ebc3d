// The window's colours for the desktop's theme: light, dark, or the system's own in high contrast.
// Window's thread.
#pragma once

#include <wx/colour.h>

#include "ui/colours.h"

namespace kor {

wxColour ColourOf(Rgb rgb);
// Returns the colour for use on one of the window's grounds; in high contrast the system's text
// colour.
wxColour ColourOf(const Shades& shades);

struct ToneColours {
  wxColour ground, strong, plain, bar, trough;
};
ToneColours ColoursOf(Tone tone);

} // namespace kor
