#include "tools/common/tool_main.h"

#include <iostream>

#include "platform/platform.h"
#include "platform/program_start.h"

namespace kor {

namespace {

// A terminal obeys control characters, also those from 0x80 to 0x9F: what a file or a name holds of
// them is shown as "\x1B" and its like.
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

int RunToolMain(const ToolMain& tool, int argc, char** argv) {
  PrepareProgram();
  PlatformAppInterface application(kProgramNames);
  SetApp(&application);
  const ToolOutput output = StandardOutput();
  application.SetReporter([&](const MessageRecord& record) {
    output.complain(KorText::Format(u"%s: %s", record.info, record.message));
    return record.number;
  });
  const KorText error = application.Start(tool.name, u"2026");
  if (!error.IsEmpty()) {
    output.complain(KorText::Format(u"%s: %s", tool.name, error));
    return tool.startFailed;
  }
  const int code = tool.run(ProgramArguments(argc, argv), output);
  if (std::cout.flush()) return code;
  output.complain(KorText::Format(u"%s: the output could not be written in full", tool.name));
  return tool.outputFailed;
}

} // namespace kor
