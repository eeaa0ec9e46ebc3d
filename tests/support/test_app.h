// TestApp: the services object of the tests, on fakes of the system that are part of it: files in a
// fresh folder, a clock that is moved by hand, a registry in memory (see their headers). Messages
// and warnings are kept. The property folders exist.
//
// Installs itself with SetApp while it lives. Every operation may be called from any thread, except
// the settings of faults, which belong before the code under test starts.
#pragma once

#include <type_traits>
#include <vector>

#include "services/core/app_interface.h"
#include "tests/support/fake_files.h"
#include "tests/support/fake_system.h"

namespace kor {

class TestApp : public AppInterface,
                public FakeFiles,
                public FakeClock,
                public FakeRegistry,
                public FakeLocale,
                public FakeEnvironment {
 public:
  struct Warning {
    KorText message;
    KorText info;
    friend bool operator==(const Warning&, const Warning&) = default;
  };

  TestApp() : AppInterface(kProgramNames) {
    SetFoldersBelow(Root());
    Start(u"Download", u"2026");
    for (const int type :
         {kStartInFolder, kTemporaryFolder, kSettingsFolder, kProgramFolder, kDataFolder})
      FakeFiles::MakeFolder(GetApplicationPropertyPath(type));
    SetApp(this);
  }
  ~TestApp() override {
    OpenLog({});
    SetApp(nullptr);
  }

  // --- What was reported ---
  std::vector<MessageRecord> Messages() { return Copy(&TestApp::messages); }
  std::vector<Warning> Warnings() { return Copy(&TestApp::warnings); }
  void ForgetReports() {
    const Lock lock(testMutex);
    messages.clear();
    warnings.clear();
  }

  // --- AppInterface ---
  OsFiles& Files() override { return *this; }
  OsClock& Clock() override { return *this; }
  OsRegistry& Registry() override { return *this; }
  OsLocale& Locale() override { return *this; }
  OsEnvironment& Environment() override { return *this; }
  using AppInterface::CopyAttributes;
  using AppInterface::ErrorText;
  using AppInterface::FolderExists;
  using AppInterface::LastError;
  using AppInterface::LinkTarget;
  using AppInterface::MakeFolder;
  using AppInterface::RemoveFolder;
  using AppInterface::SetLastError;
  using AppInterface::SyncFolder;
  using FakeClock::SleepMilliseconds;
  std::int32_t Report(const MessageRecord& record) override {
    Add(&TestApp::messages, record);
    return AppInterface::Report(record);
  }
  void DebugWarning(const KorText& message, const KorText& info) override {
    Add(&TestApp::warnings, {message, info});
    AppInterface::DebugWarning(message, info);
  }

 private:
  template <class List> List Copy(List TestApp::*list) {
    const Lock lock(testMutex);
    return this->*list;
  }
  template <class Item>
  void Add(std::vector<Item> TestApp::*list, const std::type_identity_t<Item>& item) {
    const Lock lock(testMutex);
    (this->*list).push_back(item);
  }
  Mutex testMutex;
  std::vector<MessageRecord> messages KOR_GUARDED_BY(testMutex);
  std::vector<Warning> warnings KOR_GUARDED_BY(testMutex);
};

} // namespace kor
