// Win32Environment: the user, the system and the program's folders, held with "/" as the separator:
//   settings   %APPDATA%, then the suite's name and version
//   data       public documents, then the suite's name and version
//   program    the program's own folder
//   temporary  the system's
//   start-in   the working folder when the paths file is there, else the data folder
// None is made before something is written to it. Any thread.
#pragma once

#include "services/core/os_environment.h"
#include "services/core/os_files.h"

namespace kor {

class Win32Environment : public OsEnvironment {
 public:
  explicit Win32Environment(OsFiles& systemFiles) : files(systemFiles) {}
  KorText Variable(const KorText& name) override;
  KorText User() override;
  KorText System() override;
  PropertyFolders Folders(const ProgramNames& names, const KorText& version) override;
  KorText FolderAdvice(const ProgramNames& names) override;
  KorText PublicDocuments() override;

 private:
  OsFiles& files;
};

} // namespace kor
