#include "ui/wx/wx_text.h"

#include <wx/control.h>

namespace kor {

namespace {

bool IsLoneByte(char16_t c) {
  return c >= 0xdc80 && c <= 0xdcff;
}

} // namespace

wxString ToWx(const KorText& text) {
  KorText shown = text;
  // Bytes that are no UTF-8 stand behind no high surrogate.
  for (std::size_t at = 0; at < shown.Length(); ++at) {
    const bool paired = at > 0 && shown[at - 1] >= 0xd800 && shown[at - 1] < 0xdc00;
    if (IsLoneByte(shown[at]) && !paired) {
      shown.Remove(at, 1);
      shown.Insert(at, u"\ufffd");
    }
  }
  return wxString::FromUTF8(shown.ToUtf8());
}

KorText FromWx(const wxString& text) {
  const wxScopedCharBuffer utf8 = text.utf8_str();
  return KorText::FromUtf8({utf8.data(), utf8.length()});
}

wxString ToLabel(const KorText& text) {
  return wxControl::EscapeMnemonics(ToWx(text));
}

} // namespace kor
