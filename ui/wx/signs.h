// The drawn signs of the window: what the link is doing, and the lenses of the lamps. Vectors,
// drawn anew for each scaling, with a shape of its own for each meaning, so that no colour has to
// be told from another. Window's thread.
#pragma once

#include <wx/bmpbndl.h>

#include "ui/state_words.h"

namespace kor {

enum class Sign { Idle, Sending, Receiving, Busy, Held, Done, Failed, NoLink };
enum class Lens { Off, Traffic, Hold };

Sign SignOf(const Situation& now);
// A colour for texts of that meaning on the window's own ground and in lists.
wxColour ColourOf(Sign sign);
// Square, side in device-independent pixels.
wxBitmapBundle DrawnSign(Sign sign, const wxColour& colour, int side);
// The same with room around it, as a cell of a table wants it.
wxBitmapBundle DrawnCell(Sign sign, const wxColour& colour, int side);
wxBitmapBundle DrawnLens(Lens lens, int side);

} // namespace kor
