// Win32AppInterface: the services object on Windows. Made by main, lives for the whole run; every
// operation may be called from any thread.
//
// Folders, held with "/" as the separator:
//   settings   %APPDATA%\Velmora\Plenova <version>
//   data       public documents\Velmora\Plenova <version>
//   program    the program's own folder
//   temporary  the system's
//   start-in   the working folder when KOR.INI is there, else the data folder; main may set another
// None is made before something is written to it.
//
// Error numbers are those of GetLastError. Paths take the form of LongPath on their way into the
// system; a long one is made absolute first, because the prefix switches off "..", "/" and relative
// paths. Names of devices ("NUL", "C:/x/COM1") are no files here.
#pragma once

#include "services/core/app_interface.h"

namespace kor {

class Win32AppInterface : public AppInterface {
 public:
  // Numbers of LastError that code for every platform may have to name.
  enum ErrorNumber : std::uint32_t { kAccessDenied = 5, kDeviceFault = 1117, kDiskFull = 112 };

  KorText Start(const KorText& applicationName, const KorText& version) override;
  void FindFolders(const KorText& version) override;
  void DebugOutput(const KorText& text) override;

  KorText PublicDocumentsFolder() override;
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
  bool CanNameFile(const KorText& name) const override;
  bool FileNamesIgnoreCase() const override { return true; }
  bool SyncFolder(const KorText& folder) override;

 protected:
  std::optional<std::vector<FileEntry>> ReadFolder(const KorText& folder,
                                                   const NameFilter& wanted) override;

 private:
  bool ToNative(const KorText& path, std::wstring& native);
};

} // namespace kor
