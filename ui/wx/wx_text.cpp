#include "ui/wx/wx_text.h"

#include <cstdlib>

#include <wx/control.h>

namespace kor {

namespace {

bool IsLoneByte(char16_t c) {
  return c >= 0xdc80 && c <= 0xdcff;
}

bool IsIdeograph(wxUniChar c) {
  return c.GetValue() >= 0x2e80 && c.GetValue() < 0x20000;
}

// A line may begin with the second of the two characters.
bool BreaksBetween(wxUniChar before, wxUniChar after) {
  static const wxString kNotFirst =
      wxString::FromUTF8("、。，．：；？！）」』】〉》ーっゃゅょッャュョ");
  if (after == ' ' || kNotFirst.find(after) != wxString::npos) return false;
  return before == ' ' || IsIdeograph(before) || IsIdeograph(after);
}

} // namespace

wxString ToWx(const KorText& text) {
  KorText shown = text;
  // A byte that is no UTF-8 stands behind no high surrogate.
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

wxFont WithEqualDigits(const wxFont& font, const wxWindow& window) {
  const auto width = [&](char digit) {
    int pixels = 0;
    window.GetTextExtent(wxString(digit, 10), &pixels, nullptr, nullptr, nullptr, &font);
    return pixels;
  };
  for (char digit = '1'; digit <= '9'; ++digit)
    if (width(digit) != width('0'))
      return wxFontInfo(font.GetFractionalPointSize())
          .Family(wxFONTFAMILY_TELETYPE)
          .Weight(font.GetNumericWeight());
  return font;
}

wxString InTwoLines(const wxString& label) {
  std::size_t best = wxString::npos;
  const auto offMiddle = [&](std::size_t at) {
    return std::abs(static_cast<long>(label.length()) - 2 * static_cast<long>(at));
  };
  for (std::size_t at = label.find(' '); at != wxString::npos; at = label.find(' ', at + 1))
    if (best == wxString::npos || offMiddle(at) < offMiddle(best)) best = at;
  return best == wxString::npos ? label : label.Left(best) + '\n' + label.Mid(best + 1);
}

wxString ToLabel(const KorText& text) {
  return wxControl::EscapeMnemonics(ToWx(text));
}

} // namespace kor
