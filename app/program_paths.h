// ProgramPaths: the program's folders by kind, read from the section "PROGRAM PATHS" of KOR.INI in
// the start-in folder. Whoever needs the folders makes one; loading hands every folder to the
// application services, which keep them by display name when the object is gone. One thread at a
// time.
//
// Folder texts end with "/" and use "/" only. A text that is not absolute counts from the folder of
// KOR.INI, "." and ".." included, and stays relative in the file, so that a whole tree can be
// moved. A missing or empty "Main" is the folder of KOR.INI itself. A drive ("C:") counts as
// absolute on every system.
#pragma once

#include <array>

#include "services/core/kor_text.h"
#include "services/core/program_names.h"

namespace kor {

inline constexpr const char16_t* kPathsFileName = kProgramNames.paths;
inline constexpr char16_t kPathsSection[] = u"PROGRAM PATHS";

inline constexpr int kFolderKinds = 47;

// The kinds that the program itself asks for; 45 is the rotary machine's own setting beside 8.
enum FolderKind : int {
  kMainFolder = 3,
  kCncFolder = 8,
  kSharedDataFolder = 12, // supplied by the application services, without a key
  kReportsFolder = 35,
  kDownloadFolder = 41,
  kRotaryNcFolder = 45,
};

// Turns "\" into "/" and adds a "/" at the end. An empty text gives "/".
KorText NormalisedFolder(KorText folder);
// Normalises a folder and resolves one that is not absolute against the normalised base.
KorText ResolvedFolder(const KorText& folder, const KorText& base);

struct FolderOptions {
  bool makeIfMissing = false;
  bool quiet = false;       // without a message when the paths can't be loaded
  bool noSubFolder = false; // the folder of "Reports" itself
};

class ProgramPaths {
 public:
  enum class Defaults { NotWritten, WrittenBack };

  // Takes the start-in folder as the place of the paths file at each Load.
  ProgramPaths() = default;

  // Reads the paths. False when the place of the paths file is not known, or when the file or its
  // section is not there or can't be read: all folders are empty then. WrittenBack writes the
  // section back when a folder took its default; a file that can't be written is reported as a
  // warning.
  bool Load(Defaults defaults = Defaults::NotWritten);
  // Loads for the program's start: a failure is shown to the user.
  bool LoadOrReport(Defaults defaults = Defaults::NotWritten);
  bool IsLoaded() const { return loaded; }
  // Whether the last Load had defaults to write back and could not.
  bool WritingFailed() const { return writingFailed; }

  // Returns a folder, loading first when that was not done. Empty for a kind that does not exist
  // and, with a message unless quiet, when the paths can't be loaded. A folder is made at most
  // once; when it can't be made the next call tries again. The sub-folder of "Reports" is joined
  // with "/", which gives two of them; this is intended.
  KorText GetFolder(int kind, FolderOptions options = {});
  // An empty name stands for no sub-folder.
  void SetReportsSubFolder(const KorText& name);

  // Returns the kind's key; "ERROR" when the section has none for it.
  static KorText DisplayName(int kind);
  static KorText DefaultSubFolder(int kind); // empty for the main folder

 private:
  bool ReadSection(Defaults defaults);
  bool FillDefaults();
  void HandOver();

  KorText location; // of the paths file, with its "/"; empty when it is not known
  bool loaded = false;
  bool writingFailed = false;
  std::array<KorText, kFolderKinds> texts;   // as in the file, normalised
  std::array<KorText, kFolderKinds> folders; // resolved
  std::array<bool, kFolderKinds> checked{};  // made on disk
  KorText reportsSubFolder;
};

} // namespace kor
