// Win32Files: the files of Windows. Any thread.
//
// Error numbers are those of GetLastError. Paths take the form of AppInterface::LongPath on their
// way into the system; a long one is made absolute first, because the prefix switches off "..", "/"
// and relative paths. Names of devices ("NUL", "C:/x/COM1") are no files here.
#pragma once

#include <atomic>
#include <string>

#include "services/core/os_files.h"

namespace kor {

class Win32Files : public OsFiles {
 public:
  // Numbers of LastError that code for every platform may have to name.
  enum ErrorNumber : std::uint32_t { kAccessDenied = 5, kDeviceFault = 1117, kDiskFull = 112 };

  std::uint32_t LastError() override;
  void SetLastError(std::uint32_t error) override;
  KorText ErrorText(std::uint32_t error) override;
  std::unique_ptr<OsFile> Open(const KorText& path, FileAccess access) override;
  std::optional<FileInfo> Attributes(const KorText& path) override;
  bool Remove(const KorText& path) override;
  bool Rename(const KorText& from, const KorText& to) override;
  bool CanReplace(const KorText& path) override;
  KorText LinkTarget(const KorText& path) override;
  KorText AbsolutePath(const KorText& path) override;
  bool CopyAttributes(const KorText& from, OsFile& to) override;
  std::optional<FileTimes> Times(const KorText& path) override;
  bool SetTimes(const KorText& path, const FileTimes& times) override;
  DriveType Drive(const KorText& path) override;
  bool SetCurrentFolder(const KorText& path) override;
  bool IsBeingWritten(const KorText& path) override;
  bool MakeFolder(const KorText& path) override;
  bool RemoveFolder(const KorText& path) override;
  bool SyncFolder(const KorText& folder) override;
  bool CanName(const KorText& name) const override;
  bool IgnoreCase() const override { return true; }
  void ForceLongPaths(bool force) override { forceLongPaths = force; }

 protected:
  std::optional<std::vector<FileEntry>> ReadFolder(const KorText& folder,
                                                   const NameFilter& wanted) override;

 private:
  bool ToNative(const KorText& path, std::wstring& native);

  std::atomic<bool> forceLongPaths = false;
};

} // namespace kor
