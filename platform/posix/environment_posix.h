// PosixEnvironment: the user, the system and the program's folders, each with what the environment
// can put in its place:
//   settings   $XDG_CONFIG_HOME or ~/.config, then the suite's name and version
//   data       what the program's own variable says; else its folder in /var/lib where that exists;
//              else $XDG_DATA_HOME or ~/.local/share, then the suite's name and version
//   program    the program's own folder; its folder in ../share where that has no dictionary
//   temporary  $TMPDIR where it is a folder, else /tmp
//   start-in   the working folder when the paths file is there, else the data folder
// None is made before something is written to it. Any thread.
#pragma once

#include "services/core/os_environment.h"
#include "services/core/os_files.h"

namespace kor {

class PosixEnvironment : public OsEnvironment {
 public:
  explicit PosixEnvironment(OsFiles& systemFiles) : files(systemFiles) {}
  KorText Variable(const KorText& name) override;
  KorText User() override;
  KorText System() override;
  PropertyFolders Folders(const ProgramNames& names, const KorText& version) override;
  KorText FolderAdvice(const ProgramNames& names) override;
  KorText PublicDocuments() override { return {}; }

 private:
  OsFiles& files;
};

} // namespace kor
