// kordict: builds, inspects, exports and imports the text dictionary.
#include <iostream>

#include "platform/terminals.h"
#include "tools/common/tool_main.h"
#include "tools/kordict/kordict.h"

using namespace kor;

namespace {

// Clears what was there before.
constexpr std::size_t kProgressWidth = 60;

int Run(const std::vector<KorText>& words, const ToolOutput& lines) {
  KordictOutput output{lines, {}};
  if (StreamIsTerminal(StandardStream::Diagnostics))
    output.progress = [](const KorText& line) {
      std::cerr << '\r' << line.PaddedRight(kProgressWidth).ToUtf8() << '\r' << std::flush;
    };
  return RunKordict(words, output);
}

} // namespace

int main(int argc, char** argv) {
  return RunToolMain({.name = u"kordict",
                      .startFailed = static_cast<int>(KordictResult::Unreadable),
                      .outputFailed = static_cast<int>(KordictResult::NotWritten),
                      .run = Run},
                     argc, argv);
}
