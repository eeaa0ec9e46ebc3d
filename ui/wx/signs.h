// The signs that the window draws itself: what the link is doing, and the lenses of the lamps. They
// are vectors, drawn anew for each scaling. Each meaning has its own shape, so that nobody has to
// tell colours apart. Window's thread.
#pragma once

#include <wx/bmpbndl.h>

#include "ui/state_words.h"

namespace kor {

enum class Sign { Idle, Sending, Receiving, Busy, Held, Done, Failed, NoLink };
enum class Lens { Off, Traffic, Hold };

Sign SignOf(const Situation& now);
// Returns the colour for texts of that meaning in lists and on the window's own ground.
wxColour ColourOf(Sign sign);
// Draws a square sign whose side is given in device-independent pixels.
wxBitmapBundle DrawnSign(Sign sign, const wxColour& colour, int side);
// Does the same with a margin around the sign, for the cell of a table.
wxBitmapBundle DrawnCell(Sign sign, const wxColour& colour, int side);
wxBitmapBundle DrawnLens(Lens lens, int side);

} // namespace kor
