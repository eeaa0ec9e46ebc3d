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

} // namespace

void RegisterStoredClasses() {
  ClassRegistry& registry = ClassRegistry::Global();
  if (registry.Find(DownloadApp::kClassId)) return;
  registry.Register<DownloadApp>(u"DownloadApp");
  registry.Register<NCEApp>(u"NCEApp");
}

std::optional<StartedProgram> StartProgram(AppInterface& app, KorText& error) {
  app.FindFolders(kVersion); // the dictionary lies in the program folder
  LoadProgramDictionary();
  app.SetEntryName(u"NCEDL");
  error = app.Start(u"Download", kVersion);
  if (!error.IsEmpty()) return std::nullopt;
  app.MakeFolder(app.GetApplicationPropertyPath(kDataFolder));
  SettleStartInFolder();
  LoadDebugFile();
  ProgramPaths paths;
  if (!paths.LoadOrReport()) return std::nullopt;
  RegisterStoredClasses();
  return StartedProgram{paths.GetFolder(kCncFolder)};
}

} // namespace kor
