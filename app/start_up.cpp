#include "app/start_up.h"

#include "app/configurations.h"
#include "app/nce_app.h"
#include "app/program_paths.h"
#include "files/class_registry.h"
#include "services/dictionary/dictionary.h"
#include "services/ini/debug_file.h"

namespace kor {

namespace {

constexpr const char16_t* kVersion = u"2026";
constexpr const char16_t* kApplicationName = u"Download";
constexpr int kMostLogs = 9; // of programs with one name

void OpenApplicationLog(AppInterface& app, const KorText& commandLine) {
  const KorText folder = app.GetApplicationPropertyPath(kSettingsFolder);
  if (folder.IsEmpty()) return; // a user without a home: Start says so
  const KorText model = ModelNameOf(commandLine);
  const KorText name = app.CanNameFile(model + u"-2.log.1") ? model : KorText(kDefaultModelName);
  bool isOpen = app.OpenLog(folder + name + u".log");
  for (int i = 2; i <= kMostLogs && !isOpen; ++i)
    isOpen = app.OpenLog(folder + KorText::Format(u"%s-%i.log", name, i));
  const SystemTime now = app.LocalTime();
  app.WriteLog(KorText::Format(u"\n%04i-%02i-%02i %02i:%02i:%02i %s %s", now.year, now.month,
                               now.day, now.hour, now.minute, now.second, kApplicationName,
                               kVersion));
}

} // namespace

void RegisterStoredClasses() {
  ClassRegistry& registry = ClassRegistry::Global();
  if (registry.Find(DownloadApp::kClassId)) return;
  registry.Register<DownloadApp>(u"DownloadApp");
  registry.Register<NCEApp>(u"NCEApp");
}

std::optional<StartedProgram> StartProgram(AppInterface& app, const KorText& commandLine,
                                           KorText& error) {
  app.FindFolders(kVersion); // the dictionary lies in the program folder
  OpenApplicationLog(app, commandLine);
  LoadProgramDictionary();
  app.SetEntryName(u"NCEDL");
  error = app.Start(kApplicationName, kVersion);
  if (!error.IsEmpty()) return std::nullopt;
  app.EnableDebugging(app.DebuggingAskedFor());
  SettleStartInFolder();
  LoadDebugFile();
  ProgramPaths paths;
  if (!paths.LoadOrReport()) return std::nullopt;
  RegisterStoredClasses();
  return StartedProgram{paths.GetFolder(kCncFolder)};
}

} // namespace kor
