#include "services/command_line/tool_output.h"

#include <iostream>

namespace kor {

namespace {

// A terminal obeys control characters, also those from 0x80 to 0x9F. Show those that a file or a
// name holds as "\x1B" and its like.
std::string Printable(const KorText& text) {
  KorText shown;
  for (const char16_t c : text.View()) {
    const bool isControl = c < u' ' || (c >= 0x7F && c < 0xA0);
    if (isControl && c != u'\n' && c != u'\t')
      shown += KorText::Format(u"\\x%02X", c);
    else
      shown += c;
  }
  return shown.ToUtf8();
}

} // namespace

ToolOutput StandardOutput() {
  return {[](const KorText& line) { std::cout << Printable(line) << '\n'; },
          [](const KorText& line) { std::cerr << Printable(line) << '\n'; }};
}

} // namespace kor
