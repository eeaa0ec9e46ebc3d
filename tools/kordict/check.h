// What is wrong with a dictionary's texts: missing translations, lost printf directives, names that
// are used twice or too long, texts that outgrow their control by half, and what a program can see
// of a language's typography: quotation marks of one kind, no-break spaces in French, wide signs in
// Chinese.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "services/dictionary/text_holder.h"

namespace kor {

struct Finding {
  std::int32_t language = TextHolder::kSourceTexts; // index, or the source texts
  std::int32_t id = 0;
  KorText name; // the text position
  KorText what; // with the remedy
};

// Returns the findings by number, then by language. The dictionary is in editing mode.
std::vector<Finding> CheckTexts(const TextHolder& dictionary);

// Returns the columns of a text; a wide East Asian character takes two. The widest of several lines
// counts.
std::size_t TextWidth(std::u16string_view text);
// Returns the columns that a text may take; 0 for any number. A note says "At most 14 characters."
// or "Any length."; without either the limit is half as much again as the English text, and 12 at
// least.
std::size_t WidthLimit(const TextEntry& entry);
// Returns the directives of a format, in order, such as "%s" and "%02i"; "%%" is none.
std::vector<KorText> Directives(std::u16string_view format);

} // namespace kor
