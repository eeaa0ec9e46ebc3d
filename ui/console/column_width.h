// Counts the columns of a terminal that a text takes: two for an East Asian wide character, none
// for one that joins the character before it, and one for any other. Pure functions.
#pragma once

#include <string_view>

#include "services/core/kor_text.h"

namespace kor {

std::size_t ColumnsOf(char32_t c);
std::size_t ColumnsOf(std::u16string_view text);

// Gives the longest beginning of a text that fits: its characters and the columns that they take.
struct Fit {
  std::size_t length = 0;
  std::size_t columns = 0;
};
Fit FitColumns(std::u16string_view text, std::size_t columns);

// Cuts the text at its end or at its beginning so that it fits; ".." stands where it was cut.
inline constexpr std::u16string_view kCut = u"..";
KorText CutRight(const KorText& text, std::size_t columns);
KorText CutLeft(const KorText& text, std::size_t columns);
// Puts blanks behind the text until it is at least that wide.
KorText PadColumns(const KorText& text, std::size_t columns);

} // namespace kor
