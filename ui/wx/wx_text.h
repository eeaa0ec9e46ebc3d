// The texts of the program and of the toolkit, into each other. Any thread.
#pragma once

#include <wx/string.h>

#include "services/core/kor_text.h"

namespace kor {

// A lone surrogate, as a file name of arbitrary bytes has it, is shown as U+FFFD.
wxString ToWx(const KorText& text);
KorText FromWx(const wxString& text);
// With "&" doubled: the toolkit underlines the letter behind a single one.
wxString ToLabel(const KorText& text);

} // namespace kor
