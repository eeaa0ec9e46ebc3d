#include "link/echo_text.h"

namespace kor {

void AppendEcho(KorText& to, std::uint8_t c) {
  constexpr const char16_t* kDigits = u"0123456789abcdef";
  if (c >= 32 && c <= 127) {
    to += static_cast<char16_t>(c);
    return;
  }
  const char16_t form[] = {u'[', kDigits[c >> 4], kDigits[c & 15], u']'};
  to += std::u16string_view(form, 4);
}

} // namespace kor
