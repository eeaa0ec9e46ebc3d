// Converts texts of the program to those of the toolkit and back. Any thread.
#pragma once

#include <wx/font.h>
#include <wx/string.h>
#include <wx/window.h>

#include "services/core/kor_text.h"

namespace kor {

// A lone surrogate, which stands for a byte of a file name that is no UTF-8, is shown as U+FFFD.
wxString ToWx(const KorText& text);
KorText FromWx(const wxString& text);
// Doubles each "&", because the toolkit underlines the letter behind a single one.
wxString ToLabel(const KorText& text);
// Breaks the label at the blank nearest to its middle, if it has one, which makes a button less
// wide.
wxString InTwoLines(const wxString& label);

// Breaks the text into lines no wider than that many pixels in the window's letters, between words
// where possible. Chinese and Japanese break between any two letters. Window's thread.
wxString InLines(const KorText& text, const wxWindow& window, int width);
// Returns the font, or a similar one whose digits all have the same width, so that changing figures
// stand still. Window's thread.
wxFont WithEqualDigits(const wxFont& font, const wxWindow& window);

} // namespace kor
