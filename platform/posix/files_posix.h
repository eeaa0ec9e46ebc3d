// PosixFiles: the files of Linux and other POSIX systems. Any thread.
//
// Error numbers are errno values; EBUSY says that another holds the file for writing. Writers take
// an advisory lock (flock), appenders a shared one; a file system without locks works all the same.
// Paths keep "\" as an ordinary character.
#pragma once

#include <cerrno>

#include "services/core/os_files.h"

namespace kor {

class PosixFiles : public OsFiles {
 public:
  // Numbers of LastError that code for every platform may have to name.
  enum ErrorNumber : std::uint32_t {
    kAccessDenied = EACCES,
    kDeviceFault = EIO,
    kDiskFull = ENOSPC
  };

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

 protected:
  std::optional<std::vector<FileEntry>> ReadFolder(const KorText& folder,
                                                   const NameFilter& wanted) override;
};

} // namespace kor
