#include "tests/support/test_app.h"

namespace kor {

TestApp::TestApp() : AppInterface(kProgramNames) {
  SetFoldersBelow(Root());
  Start(u"Download", u"2026");
  for (const int type :
       {kStartInFolder, kTemporaryFolder, kSettingsFolder, kProgramFolder, kDataFolder})
    FakeFiles::MakeFolder(GetApplicationPropertyPath(type));
  SetApp(this);
}

TestApp::~TestApp() {
  OpenLog({});
  SetApp(nullptr);
}

void TestApp::ForgetReports() {
  Lock lock(testMutex);
  messages.clear();
  warnings.clear();
}

std::int32_t TestApp::Report(const MessageRecord& record) {
  {
    Lock lock(testMutex);
    messages.push_back(record);
  }
  return AppInterface::Report(record);
}

void TestApp::DebugWarning(const KorText& message, const KorText& info) {
  {
    Lock lock(testMutex);
    warnings.push_back({message, info});
  }
  AppInterface::DebugWarning(message, info);
}

} // namespace kor
