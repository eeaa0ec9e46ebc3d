// FakeEnvironment and FakeLocale: a user, a system and habits of writing that are the same
// everywhere. Set them before the code under test starts; then any thread.
#pragma once

#include <map>

#include "services/core/os_environment.h"
#include "services/core/os_locale.h"

namespace kor {

class FakeEnvironment : public OsEnvironment {
 public:
  // The environment is empty but for these.
  void SetEnvironment(const KorText& name, const KorText& value) { variables[name] = value; }
  // All folders lie below that one: "start-in", "temp", "settings", "program" and "data".
  void SetFoldersBelow(const KorText& folder) { root = folder; }

  KorText Variable(const KorText& name) override {
    const auto found = variables.find(name);
    return found == variables.end() ? KorText() : found->second;
  }
  KorText User() override { return u"tester"; }
  KorText System() override { return u"Test system"; }
  PropertyFolders Folders(const ProgramNames&, const KorText&) override {
    return {root + u"start-in", root + u"temp", root + u"settings", root + u"program",
            root + u"data"};
  }
  KorText FolderAdvice(const ProgramNames&) override { return u"no folders"; }
  KorText PublicDocuments() override { return root + u"public/"; }

 private:
  KorText root;
  std::map<KorText, KorText> variables;
};

class FakeLocale : public OsLocale {
 public:
  void SetUserLanguage(const KorText& toTell) { language = toTell; }

  RegionalSettings Load() override { return {}; }
  KorText Date(const SystemTime& time) override { // "21/11/2026"
    return KorText::Format(u"%02i/%02i/%04i", time.day, time.month, time.year);
  }
  KorText Time(const SystemTime& time) override { // "13:05:09"
    return KorText::Format(u"%02i:%02i:%02i", time.hour, time.minute, time.second);
  }
  KorText Language() override { return language; }

 private:
  KorText language = u"en-GB";
};

} // namespace kor
