// kordict: builds, inspects, exports and imports the text dictionary.
#include <iostream>

#include "platform/platform.h"
#include "platform/terminals.h"
#include "tools/kordict/kordict.h"

using namespace kor;

namespace {

// Clears what was there before.
constexpr std::size_t kProgressWidth = 60;

KordictOutput StandardOutput() {
  KordictOutput output;
  output.print = [](const KorText& line) { std::cout << line.ToUtf8() << '\n'; };
  output.complain = [](const KorText& line) { std::cerr << line.ToUtf8() << '\n'; };
  if (StreamIsTerminal(StandardStream::Diagnostics))
    output.progress = [](const KorText& line) {
      std::cerr << '\r' << line.PaddedRight(kProgressWidth).ToUtf8() << '\r' << std::flush;
    };
  return output;
}

} // namespace

int main(int argc, char** argv) {
  PlatformAppInterface application;
  SetApp(&application);
  const KordictOutput output = StandardOutput();
  application.SetReporter([&](const MessageRecord& record) {
    output.complain(KorText::Format(u"%s: %s", record.info, record.message));
    return record.number;
  });
  const KorText error = application.Start(u"kordict", u"2026");
  if (!error.IsEmpty()) {
    output.complain(u"kordict: " + error);
    return static_cast<int>(KordictResult::Unreadable);
  }
  const KordictResult result = RunKordict(ProgramArguments(argc, argv), output);
  if (std::cout.flush()) return static_cast<int>(result);
  output.complain(u"kordict: the output could not be written in full");
  return static_cast<int>(KordictResult::NotWritten);
}
