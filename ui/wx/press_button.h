// Buttons that a finger in a glove can press. Window's thread.
#pragma once

#include <wx/button.h>

#include "services/core/kor_text.h"
#include "ui/wx/mnemonics.h"

namespace kor {

inline constexpr int kPressHeight = 44; // device-independent pixels

// Makes a button at least that high, with a letter of its own and the label as its spoken name.
wxButton* MakePressButton(wxWindow* parent, int number, const KorText& label, Mnemonics& mnemonics);

} // namespace kor
