// PosixAppInterface: the services object on Linux and other POSIX systems. Made by main, lives for the
// whole run; every operation may be called from any thread.
//
// Folders, each with what the environment can put in its place:
//   settings   $XDG_CONFIG_HOME or ~/.config, then Velmora/Plenova <version>
//   data       $NCEDL_DATA_DIR; else /var/lib/ncedl where it exists; else $XDG_DATA_HOME or
//              ~/.local/share, then Velmora/Plenova <version>
//   program    the program's own folder; ../share/ncedl beside it where that holds the dictionary
//   temporary  $TMPDIR where it is a folder, else /tmp
//   start-in   the working folder when KOR.INI is there, else the data folder; main may set another
// None is made before something is written to it. Paths keep "\" as an ordinary character.
//
// Error numbers are errno values; EBUSY says that another holds the file for writing. Writers take an
// advisory lock (flock), appenders a shared one; a file system without locks works all the same.
//
// The registry is the file registry.ini in the settings folder (see app_interface_registry.h).
#pragma once

#include <cerrno>
#include <clocale>

#include "services/core/app_interface.h"

namespace kor {

namespace posix {
KorText Environment(const char* name); // empty when the variable is not set
} // namespace posix

// The user's locale, apart from the process's own, which stays "C".
class UserLocale {
 public:
  UserLocale();
  ~UserLocale();
  UserLocale(const UserLocale&) = delete;
  UserLocale& operator=(const UserLocale&) = delete;
  void Reload();
  // An item such as THOUSEP; empty when the locale is not installed.
  KorText Item(int item) const;
  KorText DateFormat() const; // strftime's; empty when the locale holds none of its own ("C")
  // A time by a strftime format; empty when the locale is not installed.
  KorText Format(const char* format, const SystemTime& time) const;

 private:
  KorText Decoded(const char* text) const;
  locale_t handle;
};

class PosixAppInterface : public AppInterface {
 public:
  // Numbers of LastError that code for every platform may have to name.
  enum ErrorNumber : std::uint32_t {
    kAccessDenied = EACCES,
    kDeviceFault = EIO,
    kDiskFull = ENOSPC
  };

  KorText Start(const KorText& applicationName, const KorText& version) override;
  void FindFolders(const KorText& version) override;
  void DebugOutput(const KorText& text) override;

  std::optional<std::uint32_t> ReadRegistryNumber(const KorText& key,
                                                  const KorText& value) override;
  std::optional<KorText> ReadRegistryText(const KorText& key, const KorText& value) override;
  bool WriteRegistryNumber(const KorText& key, const KorText& value, std::uint32_t number) override;
  bool WriteRegistryText(const KorText& key, const KorText& value, const KorText& text) override;
  std::vector<KorText> ListRegistrySubKeys(const KorText& key) override;

  FileTime CurrentFileTime() override;
  FileTime FileTimeToLocal(FileTime utc) override;
  KorText FormatDate(const SystemTime& time) override;
  KorText FormatTime(const SystemTime& time) override;
  std::uint32_t TickCount() override;
  double HighResolutionSeconds() override;
  void SleepMilliseconds(std::uint32_t milliseconds) override;
  void LoadRegionalSettings() override;
  KorText UserName() override;
  KorText OperatingSystem() override;
  KorText UserLanguage() override;
  KorText EnvironmentText(const KorText& name) override;

  std::uint32_t LastError() override;
  void SetLastError(std::uint32_t error) override;
  KorText ErrorText(std::uint32_t error) override;
  std::unique_ptr<OsFile> OpenFile(const KorText& path, FileAccess access) override;
  std::optional<FileInfo> FileAttributes(const KorText& path) override;
  bool RemoveFile(const KorText& path) override;
  bool RenameFile(const KorText& from, const KorText& to) override;
  bool CanReplaceFile(const KorText& path) override;
  bool MakeFolder(const KorText& path) override;
  bool RemoveFolder(const KorText& path) override;
  KorText LinkTarget(const KorText& path) override;
  bool CopyAttributes(const KorText& from, const KorText& to) override;
  bool SetFileModified(const KorText& path, FileTime modified) override;
  bool SyncFolder(const KorText& folder) override;

 protected:
  std::optional<std::vector<FileEntry>> ReadFolder(const KorText& folder,
                                                   const NameFilter& wanted) override;

 private:
  Mutex localeMutex;
  UserLocale userLocale KOR_GUARDED_BY(localeMutex);
};

} // namespace kor
