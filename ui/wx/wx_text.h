// The texts of the program and of the toolkit, into each other. Any thread.
#pragma once

#include <wx/string.h>
#include <wx/window.h>

#include "services/core/kor_text.h"

namespace kor {

// A lone surrogate, as a file name of arbitrary bytes has it, is shown as U+FFFD.
wxString ToWx(const KorText& text);
KorText FromWx(const wxString& text);
// With "&" doubled: the toolkit underlines the letter behind a single one.
wxString ToLabel(const KorText& text);

// In lines no wider than that, in pixels of the window's letters, as far as words allow; Chinese
// and Japanese break between any two letters. Window's thread.
wxString InLines(const KorText& text, const wxWindow& window, int width);

} // namespace kor
