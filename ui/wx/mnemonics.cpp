#include "ui/wx/mnemonics.h"

#include "ui/wx/wx_text.h"

namespace kor {

namespace {

bool IsLetterOrDigit(char16_t c) {
  return (FoldAscii(c) >= u'A' && FoldAscii(c) <= u'Z') || (c >= u'0' && c <= u'9');
}

} // namespace

wxString Mnemonics::Label(const KorText& text) {
  for (const bool onlyFirst : {true, false})
    for (std::size_t at = 0; at < text.Length(); ++at) {
      const bool first = at == 0 || text[at - 1] == u' ';
      if (!IsLetterOrDigit(text[at]) || (onlyFirst && !first)) continue;
      if (!taken.insert(FoldAscii(text[at])).second) continue;
      return ToLabel(text.Left(at)) + "&" + ToLabel(text.Mid(at));
    }
  return ToLabel(text);
}

} // namespace kor
