#include "tools/common/tool_main.h"

#include <iostream>

#include "platform/platform.h"
#include "platform/program_start.h"

namespace kor {

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
