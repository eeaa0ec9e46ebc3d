#include "ui/wx/wx_text.h"

#include <wx/control.h>

namespace kor {

namespace {

bool IsLoneByte(char16_t c) {
  return c >= 0xdc80 && c <= 0xdcff;
}

bool IsIdeograph(wxUniChar c) {
  return c.GetValue() >= 0x2e80 && c.GetValue() < 0x20000;
}

// A line may begin with the second.
bool BreaksBetween(wxUniChar before, wxUniChar after) {
  static const wxString kNotFirst =
      wxString::FromUTF8("、。，．：；？！）」』】〉》ーっゃゅょッャュョ");
  if (after == ' ' || kNotFirst.find(after) != wxString::npos) return false;
  return before == ' ' || IsIdeograph(before) || IsIdeograph(after);
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

wxString InLines(const KorText& text, const wxWindow& window, int width) {
  const wxString all = ToWx(text);
  wxString lines, line;
  std::size_t last = 0; // where the line can break
  for (const wxUniChar letter : all) {
    if (letter == '\n') {
      lines += line + '\n';
      line.clear();
      last = 0;
      continue;
    }
    if (!line.empty() && BreaksBetween(line.Last(), letter)) last = line.length();
    line += letter;
    if (last == 0 || window.GetTextExtent(line).x <= width) continue;
    lines += line.Left(last).Trim() + '\n';
    line = line.Mid(last);
    last = 0;
  }
  return lines + line;
}

wxString ToLabel(const KorText& text) {
  return wxControl::EscapeMnemonics(ToWx(text));
}

} // namespace kor
