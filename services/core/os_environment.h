// OsEnvironment: who runs the program, on which system, and where its folders are. Any thread.
#pragma once

#include "services/core/kor_text.h"
#include "services/core/program_names.h"

namespace kor {

struct PropertyFolders {
  KorText startIn, temporary, settings, program, data;
};

class OsEnvironment {
 public:
  virtual ~OsEnvironment() = default;
  virtual KorText Variable(const KorText& name) = 0; // empty when it is not set
  virtual KorText User() = 0;
  virtual KorText System() = 0; // description for the trace header
  // Returns the program's folders on this system; empty where it has none, which FolderAdvice
  // explains.
  virtual PropertyFolders Folders(const ProgramNames& names, const KorText& version) = 0;
  virtual KorText FolderAdvice(const ProgramNames& names) = 0;
  // Returns the folder with a trailing "/"; empty on a system without public documents.
  virtual KorText PublicDocuments() = 0;
};

} // namespace kor
