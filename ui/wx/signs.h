// The drawn signs of the window: what the link is doing, and the lamps. Vectors, drawn anew for
// each scaling, with a shape of its own for each meaning, so that no colour has to be told from
// another. Window's thread.
#pragma once

#include <wx/bmpbndl.h>

#include "ui/form_dialog.h"

namespace kor {

enum class Sign {
  Idle,
  Busy,
  Held,
  Done,
  Failed,
  NoLink,
  ActivityOff,
  ActivityOn,
  HoldOff,
  HoldOn
};

Sign SignOf(LinkActivity activity);
Sign SignOf(Lamp lamp, bool on);
// A colour that stands out from the system's window background, light or dark.
wxColour ColourOf(Sign sign);
// Square, side in device-independent pixels.
wxBitmapBundle DrawnSign(Sign sign, int side);

} // namespace kor
