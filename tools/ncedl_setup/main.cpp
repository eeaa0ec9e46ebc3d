// ncedl-setup: prepares this computer and this user for the download program.
#include <iostream>

#include "platform/platform.h"
#include "tools/ncedl_setup/setup.h"

using namespace kor;

int main(int argc, char** argv) {
  PlatformAppInterface application;
  SetApp(&application);
  SetupOutput output;
  output.print = [](const KorText& line) { std::cout << line.ToUtf8() << '\n'; };
  output.complain = [](const KorText& line) { std::cerr << line.ToUtf8() << '\n'; };
  application.SetReporter([&](const MessageRecord& record) {
    output.complain(KorText::Format(u"%s: %s", record.info, record.message));
    return record.number;
  });
  const KorText error = application.Start(u"ncedl-setup", u"2026");
  if (!error.IsEmpty()) {
    output.complain(u"ncedl-setup: " + error);
    return static_cast<int>(SetupResult::Failed);
  }
  const SetupResult result = RunSetup(ProgramArguments(argc, argv), output);
  if (std::cout.flush()) return static_cast<int>(result);
  output.complain(u"ncedl-setup: the output could not be written in full");
  return static_cast<int>(SetupResult::Failed);
}
