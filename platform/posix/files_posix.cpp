#include "platform/posix/files_posix.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "platform/posix/file_time_posix.h"

namespace kor {

namespace {

thread_local std::uint32_t lastError = 0;

bool Fail(int error) {
  lastError = static_cast<std::uint32_t>(error);
  return false;
}

bool Checked(int result) {
  return result == 0 || Fail(errno);
}

// The path as the system takes it. A zero character would end it early and name another file.
bool ToNative(const KorText& path, std::string& native) {
  native = path.ToUtf8();
  return native.find('\0') == native.npos || Fail(EINVAL);
}

FileTime FromTimespec(const timespec& time) {
  return kUnixEpoch + static_cast<FileTime>(time.tv_sec) * kTicksPerSecond +
         static_cast<FileTime>(time.tv_nsec / 100);
}

timespec ToTimespec(FileTime time) {
  const auto ticks = static_cast<std::int64_t>(time - kUnixEpoch);
  auto seconds = ticks / static_cast<std::int64_t>(kTicksPerSecond);
  auto rest = ticks % static_cast<std::int64_t>(kTicksPerSecond);
  if (rest < 0) {
    rest += static_cast<std::int64_t>(kTicksPerSecond);
    --seconds;
  }
  timespec result{};
  result.tv_sec = seconds;
  result.tv_nsec = static_cast<long>(rest * 100);
  return result;
}

bool IsDotName(std::string_view name) {
  return name == "." || name == "..";
}

std::string_view LastName(std::string_view path) {
  while (path.size() > 1 && path.back() == '/')
    path.remove_suffix(1);
  return path.substr(path.rfind('/') + 1);
}

FileInfo InfoOf(const struct stat& status, std::string_view name) {
  FileInfo info;
  info.isFile = S_ISREG(status.st_mode);
  info.isFolder = S_ISDIR(status.st_mode);
  info.isHidden = name.starts_with('.') && !IsDotName(name);
  info.isSystem = !info.isFile && !info.isFolder;
  info.isReadOnly = (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
  info.size = info.isFile ? static_cast<std::uint64_t>(status.st_size) : 0;
  info.modified = FromTimespec(status.st_mtim);
  return info;
}

class PosixFile : public OsFile {
 public:
  explicit PosixFile(int openFile) : file(openFile) {}
  ~PosixFile() override { Close(); }
  PosixFile(const PosixFile&) = delete;
  PosixFile& operator=(const PosixFile&) = delete;

  std::size_t Read(std::span<std::uint8_t> to) override {
    return Move(to, [this](auto part) { return ::read(file, part.data(), part.size()); });
  }

  std::size_t Write(std::span<const std::uint8_t> from) override {
    return Move(from, [this](auto part) { return ::write(file, part.data(), part.size()); });
  }

  std::optional<std::uint64_t> Seek(std::int64_t offset, SeekFrom from) override {
    const off_t position = ::lseek(file, offset, from == SeekFrom::End ? SEEK_END : SEEK_SET);
    if (position >= 0) return static_cast<std::uint64_t>(position);
    Fail(errno);
    return std::nullopt;
  }

  std::optional<std::uint64_t> Size() override {
    struct stat status {};
    if (!Checked(::fstat(file, &status))) return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
  }

  // A device that can't be synced (EINVAL) holds nothing back.
  bool Sync() override { return ::fsync(file) == 0 || errno == EINVAL || Fail(errno); }

  bool Close() override {
    if (file < 0) return true;
    const int closed = ::close(std::exchange(file, -1));
    return closed == 0 || errno == EINTR || Fail(errno); // after EINTR the file is closed, too
  }

  bool IsHeld() const override { return held; }
  int Descriptor() const { return file; }
  int Release() { return std::exchange(file, -1); }

  // Only a lock that another holds is a refusal; a file system without locks is none.
  bool Hold(int kind) {
    held = ::flock(file, kind | LOCK_NB) == 0;
    return held || errno != EWOULDBLOCK || Fail(EBUSY);
  }

 private:
  // Repeats a transfer until everything is moved, the file ends or the system refuses.
  template <class Bytes, class Transfer> std::size_t Move(Bytes bytes, Transfer transfer) {
    std::size_t moved = 0;
    while (moved < bytes.size()) {
      const ssize_t count = transfer(bytes.subspan(moved));
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) Fail(errno);
      if (count <= 0) break;
      moved += static_cast<std::size_t>(count);
    }
    return moved;
  }

  int file;
  bool held = false;
};

// The reading end of a pipe.
class PosixPipe : public PosixFile {
 public:
  using PosixFile::PosixFile;

  // Waits for the writer. A pipe that nobody has opened for writing ends with an error.
  std::size_t Read(std::span<std::uint8_t> to) override {
    std::size_t moved = 0;
    while (moved < to.size()) {
      const ssize_t count = ::read(Descriptor(), to.data() + moved, to.size() - moved);
      if (count < 0 && errno == EAGAIN && Wait()) continue;
      if (count < 0) Fail(errno);
      if (count == 0 && !HadWriter()) Fail(ENXIO);
      if (count <= 0) break;
      moved += static_cast<std::size_t>(count);
    }
    return moved;
  }

 private:
  // False when a signal came: it may be the user who gives up.
  bool Wait() {
    pollfd state = {Descriptor(), POLLIN, 0};
    return ::poll(&state, 1, -1) >= 0;
  }
  bool HadWriter() {
    pollfd state = {Descriptor(), POLLIN, 0};
    return ::poll(&state, 1, 0) > 0;
  }
};

// Never waits: a pipe without a far end is refused, not waited for.
int FlagsOf(FileAccess access) {
  constexpr int kCommon = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  switch (access) {
  case FileAccess::Read:
  case FileAccess::Stream:
    return kCommon | O_RDONLY;
  case FileAccess::Write:
    return kCommon | O_WRONLY | O_CREAT;
  case FileAccess::ReadWrite:
    return kCommon | O_RDWR | O_CREAT;
  case FileAccess::Append:
    return kCommon | O_WRONLY | O_CREAT | O_APPEND;
  case FileAccess::CreateNew:
    return kCommon | O_WRONLY | O_CREAT | O_EXCL;
  case FileAccess::Claim: // for writing: a file system of the network locks no others
    return kCommon | O_WRONLY | O_NOFOLLOW;
  }
  return kCommon | O_RDONLY;
}

// What is no plain file has no length to be told: a reader would take it for empty.
bool CanOpenAs(mode_t mode, FileAccess access) {
  if (S_ISDIR(mode)) return Fail(EISDIR);
  if (S_ISREG(mode)) return true;
  const bool isPipe = access == FileAccess::Stream && S_ISFIFO(mode);
  const bool writes = access != FileAccess::Read && access != FileAccess::Claim;
  return isPipe || (writes && access != FileAccess::Stream) || Fail(EINVAL);
}

// Another process may have replaced the file between opening and locking: the lock keeps nobody
// from the new file then.
bool StillHasName(const struct stat& opened, const std::string& path) {
  struct stat named {};
  const bool isThere = ::stat(path.c_str(), &named) == 0;
  return (isThere && named.st_ino == opened.st_ino && named.st_dev == opened.st_dev) || Fail(EBUSY);
}

// The content goes only once the lock is had.
std::unique_ptr<OsFile> Prepared(std::unique_ptr<PosixFile> file, const std::string& path,
                                 FileAccess access) {
  struct stat status {};
  if (!Checked(::fstat(file->Descriptor(), &status)) || !CanOpenAs(status.st_mode, access))
    return nullptr;
  if (S_ISFIFO(status.st_mode) && access == FileAccess::Stream)
    return std::make_unique<PosixPipe>(file->Release());
  if (access == FileAccess::Read || access == FileAccess::Stream) return file;
  if (!file->Hold(access == FileAccess::Append ? LOCK_SH : LOCK_EX)) return nullptr;
  const bool hadName = S_ISREG(status.st_mode) && access != FileAccess::CreateNew;
  if (hadName && !StillHasName(status, path)) return nullptr;
  const bool empties = access == FileAccess::Write && S_ISREG(status.st_mode);
  if (empties && !Checked(::ftruncate(file->Descriptor(), 0))) return nullptr;
  return file;
}

// The system lets root write a file that nobody may write.
bool MayWrite(const std::string& path, mode_t mode) {
  if (S_ISDIR(mode)) return Fail(EISDIR);
  if (!S_ISREG(mode)) return Fail(EINVAL);
  if ((mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) return Fail(EACCES);
  return Checked(::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS));
}

bool IsFolder(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool MakeNativeFolder(const std::string& path) {
  if (::mkdir(path.c_str(), 0777) == 0) return true;
  const int error = errno;
  if (IsFolder(path)) return true;
  const std::size_t name = path.find_last_not_of('/');
  const std::size_t slash = name == path.npos ? name : path.rfind('/', name);
  if (error != ENOENT || slash == path.npos || slash == 0) return Fail(error);
  if (!MakeNativeFolder(path.substr(0, slash))) return false;
  // Another may have made it meanwhile.
  return ::mkdir(path.c_str(), 0777) == 0 || IsFolder(path) || Fail(errno);
}

// What a link says, or an empty text for what is no link.
std::string ReadLink(const std::string& path) {
  std::array<char, PATH_MAX> target;
  const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
  return length > 0 ? std::string(target.data(), static_cast<std::size_t>(length)) : std::string();
}

// Unknown: the device decides.
DriveType TypeOfFileSystem(std::uint32_t type) {
  switch (type) {
  case NFS_SUPER_MAGIC:
  case SMB_SUPER_MAGIC:
  case CIFS_SUPER_MAGIC:
  case SMB2_SUPER_MAGIC:
  case V9FS_MAGIC:
  case AFS_SUPER_MAGIC:
  case CODA_SUPER_MAGIC:
    return DriveType::Remote;
  case TMPFS_MAGIC:
  case RAMFS_MAGIC:
    return DriveType::RamDisk;
  case ISOFS_SUPER_MAGIC:
  case UDF_SUPER_MAGIC:
    return DriveType::CdRom;
  default:
    return DriveType::Unknown;
  }
}

// A partition's folder lies in that of its disk.
bool IsRemovable(dev_t device) {
  const std::string folder = "/sys/dev/block/" + std::to_string(gnu_dev_major(device)) + ":" +
                             std::to_string(gnu_dev_minor(device));
  for (const char* const place : {"/removable", "/../removable"})
    if (char answer = '0'; std::ifstream(folder + place).get(answer)) return answer == '1';
  return false;
}

// An access list says more than the mode, whose group bits then are its mask.
bool CopyPermissions(const std::string& from, int to, mode_t mode) {
  constexpr const char* kAccessList = "system.posix_acl_access";
  std::array<char, 0x1000> list;
  const ssize_t length = ::getxattr(from.c_str(), kAccessList, list.data(), list.size());
  if (length > 0)
    return Checked(::fsetxattr(to, kAccessList, list.data(), static_cast<std::size_t>(length), 0));
  ::fremovexattr(to, kAccessList); // the folder may have given it one
  return Checked(::fchmod(to, mode));
}

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};
using OpenFolder = std::unique_ptr<DIR, CloseFolder>;

// std::nullopt: the entry is gone again. A link that points nowhere counts as what it is itself.
std::optional<FileInfo> InfoIn(DIR* folder, const char* name) {
  struct stat status {};
  if (::fstatat(::dirfd(folder), name, &status, 0) != 0 &&
      ::fstatat(::dirfd(folder), name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return std::nullopt;
  }
  return InfoOf(status, name);
}

} // namespace

std::uint32_t PosixFiles::LastError() {
  return lastError;
}

void PosixFiles::SetLastError(std::uint32_t error) {
  lastError = error;
}

std::unique_ptr<OsFile> PosixFiles::Open(const KorText& path, FileAccess access) {
  std::string native;
  if (!ToNative(path, native)) return nullptr;
  int file = -1;
  do {
    file = ::open(native.c_str(), FlagsOf(access), 0666);
  } while (file < 0 && errno == EINTR);
  if (file < 0) {
    Fail(errno);
    return nullptr;
  }
  return Prepared(std::make_unique<PosixFile>(file), native, access);
}

std::optional<FileInfo> PosixFiles::Attributes(const KorText& path) {
  std::string native;
  struct stat status {};
  if (!ToNative(path, native) || !Checked(::stat(native.c_str(), &status))) return std::nullopt;
  return InfoOf(status, LastName(native));
}

bool PosixFiles::Remove(const KorText& path) {
  std::string native;
  return ToNative(path, native) && Checked(::unlink(native.c_str()));
}

bool PosixFiles::Rename(const KorText& from, const KorText& to) {
  std::string nativeFrom, nativeTo;
  if (!ToNative(from, nativeFrom) || !ToNative(to, nativeTo)) return false;
  if (::rename(nativeFrom.c_str(), nativeTo.c_str()) == 0) return true;
  if (errno != EXDEV) return Fail(errno);
  // The target is on another disk: copy beside it and rename there, so that it changes in one step.
  return Duplicate(from, to) && Remove(from);
}

bool PosixFiles::CanReplace(const KorText& path) {
  std::string native;
  struct stat file {
  }, folder{};
  if (!ToNative(path, native)) return false;
  if (::lstat(native.c_str(), &file) != 0) return errno == ENOENT || Fail(errno);
  // A link gives way itself; what it points to stays as it is.
  if (!S_ISLNK(file.st_mode) && !MayWrite(native, file.st_mode)) return false;
  const std::size_t slash = native.rfind('/');
  const std::string parent = slash == std::string::npos ? "." : native.substr(0, slash + 1);
  if (!Checked(::stat(parent.c_str(), &folder))) return false;
  // In a sticky folder only the owners of the file and of the folder may replace it.
  const uid_t user = ::geteuid();
  const bool owner = user == 0 || user == file.st_uid || user == folder.st_uid;
  return owner || (folder.st_mode & S_ISVTX) == 0 || Fail(EPERM);
}

bool PosixFiles::MakeFolder(const KorText& path) {
  std::string native;
  return ToNative(path, native) && MakeNativeFolder(native);
}

bool PosixFiles::RemoveFolder(const KorText& path) {
  std::string native;
  if (!ToNative(path, native)) return false;
  while (native.size() > 1 && native.ends_with('/'))
    native.pop_back();
  struct stat status {};
  if (!Checked(::lstat(native.c_str(), &status))) return false;
  // A link to a folder is removed alone; the folder stays.
  if (S_ISLNK(status.st_mode) && IsFolder(native)) return Checked(::unlink(native.c_str()));
  if (!S_ISDIR(status.st_mode)) return Fail(ENOTDIR);
  std::error_code error;
  std::filesystem::remove_all(native, error); // follows no links
  return !error || Fail(error.value());
}

KorText PosixFiles::LinkTarget(const KorText& path) {
  constexpr int kMostLinks = 40; // as the system counts them
  std::string native;
  if (!ToNative(path, native)) return {};
  for (int links = 0; links < kMostLinks; ++links) {
    const std::string target = ReadLink(native);
    if (target.empty()) return links == 0 ? path : KorText::FromUtf8(native);
    native.erase(target[0] == '/' ? 0 : native.rfind('/') + 1);
    native += target;
  }
  Fail(ELOOP);
  return {};
}

KorText PosixFiles::AbsolutePath(const KorText& path) {
  std::string folder(PATH_MAX, '\0');
  if (path.StartsWith(u"/") || !::getcwd(folder.data(), folder.size())) return path;
  return KorText::FromUtf8(folder.c_str()) + u"/" + path;
}

bool PosixFiles::CopyAttributes(const KorText& from, OsFile& to) {
  std::string native;
  struct stat status {};
  if (!ToNative(from, native) || !Checked(::stat(native.c_str(), &status))) return false;
  // Only root gives files away; anyone may give one to a group that he is in.
  const int file = static_cast<PosixFile&>(to).Descriptor();
  if (::fchown(file, status.st_uid, status.st_gid) != 0 &&
      ::fchown(file, static_cast<uid_t>(-1), status.st_gid) != 0)
    Fail(errno);
  // Neither a program's nor a received file's content runs with another's rights.
  return CopyPermissions(native, file, status.st_mode & 0777);
}

std::optional<FileTimes> PosixFiles::Times(const KorText& path) {
  std::string native;
  struct statx status {};
  if (!ToNative(path, native) ||
      !Checked(::statx(AT_FDCWD, native.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, &status)))
    return std::nullopt;
  const auto convert = [](const statx_timestamp& time) {
    return FromTimespec({time.tv_sec, static_cast<long>(time.tv_nsec)});
  };
  const bool isBirthKnown = (status.stx_mask & STATX_BTIME) != 0;
  return FileTimes{isBirthKnown ? convert(status.stx_btime) : 0, convert(status.stx_atime),
                   convert(status.stx_mtime)};
}

bool PosixFiles::SetTimes(const KorText& path, const FileTimes& times) {
  std::string native;
  const auto convert = [](FileTime time) {
    return time != 0 ? ToTimespec(time) : timespec{0, UTIME_OMIT};
  };
  const timespec both[2] = {convert(times.accessed), convert(times.modified)};
  return ToNative(path, native) && Checked(::utimensat(AT_FDCWD, native.c_str(), both, 0));
}

DriveType PosixFiles::Drive(const KorText& path) {
  std::string native;
  struct stat status {};
  struct statfs system {};
  if (!ToNative(path, native) || !Checked(::stat(native.c_str(), &status)) ||
      !Checked(::statfs(native.c_str(), &system)))
    return DriveType::NoRoot;
  const DriveType type = TypeOfFileSystem(static_cast<std::uint32_t>(system.f_type));
  if (type != DriveType::Unknown) return type;
  return IsRemovable(status.st_dev) ? DriveType::Removable : DriveType::Fixed;
}

bool PosixFiles::SetCurrentFolder(const KorText& path) {
  std::string native;
  return ToNative(path, native) && Checked(::chdir(native.c_str()));
}

// A lease for reading is granted only while nobody can write. We give it back at once; somebody who
// opens the file for writing meanwhile makes the kernel send a signal, which is ignored by default.
// A lease of another program, such as a file server's, also means that somebody may write. Clients
// of network file systems refuse leases for reasons of their own, which say nothing of a writer.
bool PosixFiles::IsBeingWritten(const KorText& path) {
  std::string native;
  if (!ToNative(path, native)) return false;
  const int file = ::open(native.c_str(), FlagsOf(FileAccess::Read));
  if (file < 0) return errno == EWOULDBLOCK;
  struct statfs system {};
  const bool isRemote =
      ::fstatfs(file, &system) == 0 &&
      TypeOfFileSystem(static_cast<std::uint32_t>(system.f_type)) == DriveType::Remote;
  ::fcntl(file, F_SETSIG, SIGURG);
  const bool refused = !isRemote && ::fcntl(file, F_SETLEASE, F_RDLCK) != 0 && errno == EAGAIN;
  ::fcntl(file, F_SETLEASE, F_UNLCK);
  ::close(file);
  return refused;
}

std::optional<std::vector<FileEntry>> PosixFiles::ReadFolder(const KorText& folder,
                                                             const NameFilter& wanted) {
  std::string native;
  if (!ToNative(folder, native)) return std::nullopt;
  const OpenFolder open(::opendir(native.c_str()));
  if (!open) {
    Fail(errno);
    return std::nullopt;
  }
  std::vector<FileEntry> entries;
  errno = 0;
  while (const dirent* next = ::readdir(open.get())) {
    const KorText name = KorText::FromUtf8(next->d_name);
    if (!IsDotName(next->d_name) && wanted(name)) {
      if (const auto info = InfoIn(open.get(), next->d_name)) entries.push_back({name, *info});
    }
    errno = 0;
  }
  if (errno == 0) return entries;
  Fail(errno);
  return std::nullopt;
}

bool PosixFiles::SyncFolder(const KorText& folder) {
  std::string native;
  if (!ToNative(folder, native)) return false;
  const int opened =
      ::open(native.empty() ? "." : native.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (opened < 0) return Fail(errno);
  PosixFile entries(opened);
  return entries.Sync();
}

KorText PosixFiles::ErrorText(std::uint32_t error) {
  char buffer[256] = {};
  return KorText::FromUtf8(::strerror_r(static_cast<int>(error), buffer, sizeof buffer));
}

} // namespace kor
