// The texts of the program and of the toolkit, into each other. Any thread.
#pragma once

#include <wx/font.h>
#include <wx/string.h>
#include <wx/window.h>

#include "services/core/kor_text.h"

namespace kor {

// A lone surrogate, as a file name of arbitrary bytes has it, is shown as U+FFFD.
wxString ToWx(const KorText& text);
KorText FromWx(const wxString& text);
// With "&" doubled: the toolkit underlines the letter behind a single one.
wxString ToLabel(const KorText& text);
// Broken at the blank nearest to the middle, where there is one: a button is less wide then.
wxString InTwoLines(const wxString& label);

// In lines no wider than that, in pixels of the window's letters, as far as words allow; Chinese
// and Japanese break between any two letters. Window's thread.
wxString InLines(const KorText& text, const wxWindow& window, int width);
// The font, or one much like it whose digits all have the same width, so that figures that change
// stand still. Window's thread.
wxFont WithEqualDigits(const wxFont& font, const wxWindow& window);

} // namespace kor
