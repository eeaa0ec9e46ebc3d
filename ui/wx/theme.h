// The colours of the window as the desktop wants them: light, dark, or the system's own in high
// contrast. Window's thread.
#pragma once

#include <wx/colour.h>

#include "ui/colours.h"

namespace kor {

wxColour ColourOf(Rgb rgb);
// A colour on a ground of the window's; in high contrast that of the system's texts.
wxColour ColourOf(const Shades& shades);

struct ToneColours {
  wxColour ground, strong, plain, bar, trough;
};
ToneColours ColoursOf(Tone tone);

} // namespace kor
