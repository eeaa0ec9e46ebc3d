// OsFiles: the files and folders of the system, and what the calling thread's last failed call
// said. Implemented once per platform. Any thread.
//
// Failures are bool, null, empty text or std::nullopt, and LastError() then keeps the system's
// number.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "services/core/file_time.h"
#include "services/core/kor_text.h"

namespace kor {

struct FileInfo {
  std::uint64_t size = 0; // bytes
  FileTime modified = 0;  // UTC
  bool isFile = false;    // a plain file: neither folder nor device
  bool isFolder = false;
  bool isHidden = false; // POSIX: the name starts with "."
  bool isSystem = false; // POSIX: neither a plain file nor a folder
  bool isReadOnly = false;
};

// The times of a file in UTC; 0 stands for one that is not known, or is to be left as it is.
struct FileTimes {
  FileTime created = 0; // POSIX: can't be set
  FileTime accessed = 0;
  FileTime modified = 0;
};

// Kinds of drives, by the numbers that Windows gives them. A remote one is on another computer.
enum class DriveType : std::uint32_t {
  Unknown = 0,
  NoRoot = 1, // there is no such path
  Removable = 2,
  Fixed = 3,
  Remote = 4,
  CdRom = 5,
  RamDisk = 6,
};

struct FileEntry {
  KorText name; // without folder
  FileInfo info;
};

// What opening is to do with an existing or a missing file. While one holds a file for writing, no
// other can open the file for writing, in this process or another; readers are never kept out.
enum class FileAccess {
  Read,      // existing plain file, reading
  Stream,    // the same, or a pipe, whose reader waits for what its writer has to say
  Write,     // created or emptied, writing
  ReadWrite, // created when missing, content kept, reading and writing
  Append,    // created when missing, every write goes to the end
  CreateNew, // must not exist yet, writing
  Claim,     // existing plain file and no link to one; held, not changed
};

enum class SeekFrom { Start, End };

// An open file of the platform. Closes itself when destroyed. One thread at a time.
class OsFile {
 public:
  virtual ~OsFile() = default;
  // Both return the bytes moved: fewer than asked for at the end of the file or after a failure
  // (see LastError).
  virtual std::size_t Read(std::span<std::uint8_t> to) = 0;
  virtual std::size_t Write(std::span<const std::uint8_t> from) = 0;
  // Moves to the offset, or to the end plus the offset (negative: before the end). Returns the new
  // position from the start, in bytes; std::nullopt when the platform refuses.
  virtual std::optional<std::uint64_t> Seek(std::int64_t offset, SeekFrom from) = 0;
  virtual std::optional<std::uint64_t> Size() = 0; // std::nullopt when the platform can't tell
  // Hands the content to the disk (fsync, FlushFileBuffers).
  virtual bool Sync() = 0;
  // False when the platform reports a late write error.
  virtual bool Close() = 0;
  // Whether a file opened for writing or claimed is held. False on a file system without locks,
  // where another may be writing the file too.
  virtual bool IsHeld() const = 0;
};

class OsErrors {
 public:
  virtual ~OsErrors() = default;
  virtual std::uint32_t LastError() = 0; // of the calling thread
  virtual void SetLastError(std::uint32_t error) = 0;
  virtual KorText ErrorText(std::uint32_t error) = 0; // the system's text, without line end
};

class OsFiles : public OsErrors {
 public:
  virtual std::unique_ptr<OsFile> Open(const KorText& path, FileAccess access) = 0;
  virtual std::optional<FileInfo> Attributes(const KorText& path) = 0;
  bool Exists(const KorText& path); // a plain file
  bool FolderExists(const KorText& path);
  virtual bool Remove(const KorText& path) = 0;
  // Replaces an existing target in one step.
  virtual bool Rename(const KorText& from, const KorText& to) = 0;
  // Whether a file renamed to the path would be stored: the name is possible there, and what exists
  // is a plain file that this user may write and replace. A file that nobody may write is refused
  // to everybody. A missing folder or a full disk is not looked for.
  virtual bool CanReplace(const KorText& path) = 0;
  // Copies content and time beside the target and renames the copy over the target, where
  // CanReplace allows that. The older target stays whole when this fails.
  bool Duplicate(const KorText& from, const KorText& to);
  // Follows a path that names a symbolic link, also to a file that does not exist yet (Windows:
  // only to one that does); a path that names none is returned itself. Empty when the links go
  // round in a circle.
  virtual KorText LinkTarget(const KorText& path) = 0;
  // Returns the path from the root on; one that isn't absolute begins in the working folder.
  // Neither has to exist.
  virtual KorText AbsolutePath(const KorText& path) = 0;
  // Gives a file that this object made the permissions of another, and its owner and group where
  // the system allows it. On Windows these are the access list, and hidden and system. They go to
  // the open file: whatever has taken its name meanwhile gets nothing. False when the permissions
  // could not be set, also when there is no file to take them from.
  virtual bool CopyAttributes(const KorText& from, OsFile& to) = 0;
  virtual std::optional<FileTimes> Times(const KorText& path) = 0;
  virtual bool SetTimes(const KorText& path, const FileTimes& times) = 0;
  virtual DriveType Drive(const KorText& path) = 0;
  // Whether somebody has the file open for writing, as far as the system tells; Linux tells it only
  // of the user's own files.
  virtual bool IsBeingWritten(const KorText& path) = 0;

  // Sets the folder that relative paths start from, for the whole process.
  virtual bool SetCurrentFolder(const KorText& path) = 0;
  virtual bool MakeFolder(const KorText& path) = 0;   // with all missing parents; true if it exists
  virtual bool RemoveFolder(const KorText& path) = 0; // with its contents
  // Makes a change of a folder's entries durable (POSIX: syncs the folder); true where that isn't
  // needed.
  virtual bool SyncFolder(const KorText& folder) = 0;
  // Returns the entries of a folder, in no order, without "." and ".."; std::nullopt when the
  // folder can't be read. With an ending it returns only those whose names end so (see IgnoreCase):
  // asking the system about each entry is what takes the time in a large folder.
  std::optional<std::vector<FileEntry>> List(const KorText& folder, const KorText& nameEnding = {});

  // Whether a file can have this name, without folder. "\" counts as a separator on every system.
  virtual bool CanName(const KorText& name) const;
  // Whether the platform's file search takes "A" and "a" for the same name.
  virtual bool IgnoreCase() const { return false; }
  // Whether paths of any length take the system's form for long ones, where it has one.
  virtual void ForceLongPaths(bool) {}

 protected:
  // Decides by the name alone whether the system is asked about an entry.
  using NameFilter = std::function<bool(const KorText& name)>;
  virtual std::optional<std::vector<FileEntry>> ReadFolder(const KorText& folder,
                                                           const NameFilter& wanted) = 0;
};

} // namespace kor
