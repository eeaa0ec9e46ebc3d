#include "ui/wx/mnemonics.h"

#include <algorithm>

#include "ui/wx/wx_text.h"

namespace kor {

namespace {

bool IsWide(char16_t c) {
  return c >= 0x2E80;
}

} // namespace

wxString Mnemonics::Label(const KorText& text) {
  if (std::ranges::any_of(text.View(), IsWide)) return ToLabel(text);
  for (const bool onlyFirst : {true, false})
    for (std::size_t at = 0; at < text.Length(); ++at) {
      const bool first = at == 0 || text[at - 1] == u' ';
      if (!(IsAsciiLetter(text[at]) || IsDigit(text[at])) || (onlyFirst && !first)) continue;
      if (!taken.insert(FoldAscii(text[at])).second) continue;
      return ToLabel(text.Left(at)) + "&" + ToLabel(text.Mid(at));
    }
  return ToLabel(text);
}

} // namespace kor
