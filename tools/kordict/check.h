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

// By number, then by language. The dictionary is in editing mode.
std::vector<Finding> CheckTexts(const TextHolder& dictionary);

// Columns of a text; a wide East Asian character takes two. Of several lines the widest counts.
std::size_t TextWidth(std::u16string_view text);
// The columns that a text may take. A note says "At most 14 characters." or "Any length."; without
// either it is half as much again as the English text, and 12 at least. 0: any.
std::size_t WidthLimit(const TextEntry& entry);
// The directives of a format, in order, such as "%s" and "%02i"; "%%" is none.
std::vector<KorText> Directives(std::u16string_view format);

} // namespace kor
