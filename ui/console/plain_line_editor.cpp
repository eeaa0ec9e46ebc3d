#include "ui/console/plain_line_editor.h"

namespace kor {

namespace {

constexpr char kBackspace = 8;
constexpr char kDelete = 127;
constexpr char kEraseLine = 21; // Ctrl-U
constexpr char kEscape = 27;

// Returns the last character, which may be several bytes of UTF-8.
void RemoveLast(std::string& text) {
  while (!text.empty() && (text.back() & 0xC0) == 0x80)
    text.pop_back();
  if (!text.empty()) text.pop_back();
}

} // namespace

std::vector<std::string> PlainLineEditor::Take(std::string_view bytes) {
  std::vector<std::string> lines;
  for (const char c : bytes) {
    if (c == '\n' || c == '\r') {
      lines.push_back(line);
      line.clear();
      escape.clear();
    } else {
      TakeKey(c);
    }
  }
  return lines;
}

// Skips a cursor or function key: ESC, "[" or "O", parameters, a letter or "~". It means nothing
// here.
bool PlainLineEditor::IsEscape(char c) {
  if (escape.empty() && c != kEscape) return false;
  escape += c;
  const bool introducer = escape.size() == 2 && (c == '[' || c == 'O');
  const bool parameter = escape.size() > 2 && c >= ' ' && c < '@';
  if (escape.size() > 1 && !introducer && !parameter) escape.clear();
  return true;
}

void PlainLineEditor::TakeKey(char c) {
  if (keyboard && IsEscape(c)) return;
  if (keyboard && (c == kBackspace || c == kDelete))
    RemoveLast(line);
  else if (keyboard && c == kEraseLine)
    line.clear();
  else if ((static_cast<unsigned char>(c) >= ' ' || c == '\t') && line.size() < kLongestLine)
    line += c;
}

} // namespace kor
