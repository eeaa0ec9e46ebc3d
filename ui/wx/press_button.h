// Buttons that a finger in a glove can press. Window's thread.
#pragma once

#include <wx/button.h>

#include "services/core/kor_text.h"
#include "ui/wx/mnemonics.h"

namespace kor {

// Device-independent pixels.
inline constexpr int kOperatorHeight = 64; // of what the operator presses at the machine
inline constexpr int kPressHeight = 44;    // of everything else that is pressed

// Makes a button at least that high, with a letter of its own and the label as its spoken name.
wxButton* MakePressButton(wxWindow* parent, int number, const KorText& label, Mnemonics& mnemonics,
                          int height = kPressHeight);

} // namespace kor
