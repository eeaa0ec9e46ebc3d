#include "platform/win32/files_win32.h"

#include <windows.h>

#include <aclapi.h>

#include <algorithm>
#include <utility>

#include "platform/win32/wide_text.h"
#include "services/core/app_interface.h"

namespace kor {

namespace {

// The calling thread's last failure; GetLastError itself changes with every call in between.
thread_local DWORD lastError = 0;

bool Fail(DWORD error) {
  lastError = error;
  return false;
}

bool Checked(BOOL result) {
  return result || Fail(GetLastError());
}

FileTime ToFileTime(const FILETIME& time) {
  return (static_cast<FileTime>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

// Takes WIN32_FIND_DATAW and WIN32_FILE_ATTRIBUTE_DATA.
template <class FileData> FileInfo InfoOf(const FileData& data) {
  FileInfo info;
  const auto has = [&](DWORD bits) { return (data.dwFileAttributes & bits) != 0; };
  info.isFolder = has(FILE_ATTRIBUTE_DIRECTORY);
  info.isFile = !has(FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE);
  info.isHidden = has(FILE_ATTRIBUTE_HIDDEN);
  info.isSystem = has(FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_DEVICE);
  info.isReadOnly = has(FILE_ATTRIBUTE_READONLY);
  info.size = (static_cast<std::uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  info.modified = ToFileTime(data.ftLastWriteTime);
  return info;
}

std::wstring FullPath(const std::wstring& path) {
  std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
  full.resize(
      GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  return full;
}

bool IsDevice(const std::wstring& path) {
  return FullPath(path).starts_with(L"\\\\.\\");
}

class Win32File : public OsFile {
 public:
  explicit Win32File(HANDLE openFile) : file(openFile) {}
  ~Win32File() override { Close(); }
  Win32File(const Win32File&) = delete;
  Win32File& operator=(const Win32File&) = delete;

  std::size_t Read(std::span<std::uint8_t> to) override {
    return Move(to, [this](auto part, DWORD& count) {
      return ReadFile(file, part.data(), static_cast<DWORD>(part.size()), &count, nullptr);
    });
  }

  std::size_t Write(std::span<const std::uint8_t> from) override {
    return Move(from, [this](auto part, DWORD& count) {
      return WriteFile(file, part.data(), static_cast<DWORD>(part.size()), &count, nullptr);
    });
  }

  std::optional<std::uint64_t> Seek(std::int64_t offset, SeekFrom from) override {
    LARGE_INTEGER distance{}, position{};
    distance.QuadPart = offset;
    if (Checked(SetFilePointerEx(file, distance, &position,
                                 from == SeekFrom::End ? FILE_END : FILE_BEGIN))) {
      return static_cast<std::uint64_t>(position.QuadPart);
    }
    return std::nullopt;
  }

  std::optional<std::uint64_t> Size() override {
    LARGE_INTEGER size{};
    if (!Checked(GetFileSizeEx(file, &size))) return std::nullopt;
    return static_cast<std::uint64_t>(size.QuadPart);
  }

  bool Sync() override { return Checked(FlushFileBuffers(file)); }

  bool Close() override {
    if (file == INVALID_HANDLE_VALUE) return true;
    return Checked(CloseHandle(std::exchange(file, INVALID_HANDLE_VALUE)));
  }

  bool IsHeld() const override { return true; } // the sharing that it was opened with sees to it
  HANDLE Handle() const { return file; }

 private:
  // Repeats a transfer until everything is moved, the file ends or the system refuses.
  template <class Bytes, class Transfer> std::size_t Move(Bytes bytes, Transfer transfer) {
    constexpr std::size_t kLargest = 1 << 30; // counts are 32 bits
    std::size_t moved = 0;
    while (moved < bytes.size()) {
      DWORD count = 0;
      const std::size_t wanted = std::min(bytes.size() - moved, kLargest);
      if (!Checked(transfer(bytes.subspan(moved, wanted), count)) || count == 0) break;
      moved += count;
    }
    return moved;
  }

  HANDLE file;
};

struct OpenForm {
  DWORD rights, share, disposition;
};

OpenForm FormOf(FileAccess access) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  switch (access) {
  case FileAccess::Read:
  case FileAccess::Stream:
    return {GENERIC_READ, kShareAll, OPEN_EXISTING};
  case FileAccess::Write:
    return {GENERIC_WRITE, FILE_SHARE_READ, OPEN_ALWAYS};
  case FileAccess::ReadWrite:
    return {GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, OPEN_ALWAYS};
  case FileAccess::Append:
    // Without the right to write elsewhere every write goes to the end, whoever else appends.
    return {FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
            FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS};
  case FileAccess::CreateNew:
    return {GENERIC_WRITE, FILE_SHARE_READ, CREATE_NEW};
  case FileAccess::Claim:
    return {GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING};
  }
  return {GENERIC_READ, kShareAll, OPEN_EXISTING};
}

HANDLE OpenNative(const std::wstring& path, const OpenForm& form, DWORD flags) {
  return CreateFileW(path.c_str(), form.rights, form.share, nullptr, form.disposition, flags,
                     nullptr);
}

// With the rights to set its access list, and its owner, where the system gives them.
HANDLE MakeNative(const std::wstring& path) {
  OpenForm form = FormOf(FileAccess::CreateNew);
  const DWORD plain = form.rights;
  HANDLE handle = INVALID_HANDLE_VALUE;
  for (const DWORD more : {READ_CONTROL | WRITE_DAC | WRITE_OWNER, READ_CONTROL | WRITE_DAC, 0L}) {
    form.rights = plain | more;
    handle = OpenNative(path, form, FILE_ATTRIBUTE_NORMAL);
    if (handle != INVALID_HANDLE_VALUE || GetLastError() != ERROR_ACCESS_DENIED) break;
  }
  return handle;
}

bool IsFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsLink(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

struct FreeLocal {
  void operator()(void* memory) const { LocalFree(memory); }
};

// Copies the access list, whose entries from the folder come from the folder again, and owner and
// group as far as the system lets them be given.
bool CopySecurity(HANDLE from, HANDLE to) {
  constexpr SECURITY_INFORMATION kNames = OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION;
  PACL list = nullptr;
  PSID owner = nullptr, group = nullptr;
  PSECURITY_DESCRIPTOR read = nullptr;
  const DWORD error = GetSecurityInfo(from, SE_FILE_OBJECT, kNames | DACL_SECURITY_INFORMATION,
                                      &owner, &group, &list, nullptr, &read);
  if (error != ERROR_SUCCESS) return Fail(error);
  const std::unique_ptr<void, FreeLocal> descriptor(read);
  SetSecurityInfo(to, SE_FILE_OBJECT, kNames, owner, group, nullptr, nullptr);
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  if (!Checked(GetSecurityDescriptorControl(read, &control, &revision))) return false;
  const auto heirs = static_cast<SECURITY_INFORMATION>((control & SE_DACL_PROTECTED) != 0
                                                           ? PROTECTED_DACL_SECURITY_INFORMATION
                                                           : UNPROTECTED_DACL_SECURITY_INFORMATION);
  const DWORD set = SetSecurityInfo(to, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION | heirs, nullptr,
                                    nullptr, list, nullptr);
  return set == ERROR_SUCCESS || Fail(set);
}

struct CloseFind {
  using pointer = HANDLE;
  void operator()(HANDLE find) const { FindClose(find); }
};
using OpenFind = std::unique_ptr<HANDLE, CloseFind>;

// Calls visit for each entry of a folder until it says false. False: the folder can't be read, or
// visit gave up.
template <class Visit> bool ForEachEntry(const std::wstring& folder, Visit visit) {
  WIN32_FIND_DATAW data{};
  const std::wstring pattern =
      folder + (folder.ends_with(L'\\') || folder.ends_with(L'/') ? L"*" : L"\\*");
  const HANDLE first = FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &data,
                                        FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
  if (first == INVALID_HANDLE_VALUE) {
    // A drive's root without a single entry has not even "." in it.
    return GetLastError() == ERROR_FILE_NOT_FOUND ? IsFolder(folder) || Fail(ERROR_PATH_NOT_FOUND)
                                                  : Fail(GetLastError());
  }
  const OpenFind find(first);
  do {
    const std::wstring_view name = data.cFileName;
    if (name != L"." && name != L".." && !visit(data)) return false;
  } while (FindNextFileW(first, &data));
  return GetLastError() == ERROR_NO_MORE_FILES || Fail(GetLastError());
}

bool RemoveNativeFolder(const std::wstring& folder);

// A link to a folder is removed alone; the folder stays.
bool RemoveEntry(const std::wstring& folder, const WIN32_FIND_DATAW& entry) {
  const std::wstring path = folder + L"\\" + entry.cFileName;
  const DWORD attributes = entry.dwFileAttributes;
  if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) {
    SetFileAttributesW(path.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
  }
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return Checked(DeleteFileW(path.c_str()));
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    return Checked(RemoveDirectoryW(path.c_str()));
  }
  return RemoveNativeFolder(path);
}

bool RemoveNativeFolder(const std::wstring& folder) {
  return ForEachEntry(folder, [&](const auto& entry) { return RemoveEntry(folder, entry); }) &&
         Checked(RemoveDirectoryW(folder.c_str()));
}

} // namespace

std::uint32_t Win32Files::LastError() {
  return lastError;
}

void Win32Files::SetLastError(std::uint32_t error) {
  lastError = error;
}

// The path as the system takes it. A zero character would end it early and name another file.
bool Win32Files::ToNative(const KorText& path, std::wstring& native) {
  if (path.Find(u'\0') != KorText::kNone) return Fail(ERROR_INVALID_NAME);
  native = ToWide(path);
  if (AppInterface::LongPath(path, forceLongPaths) == path) return true;
  const std::wstring full = FullPath(native);
  native =
      full.starts_with(L"\\\\.\\") ? full : ToWide(AppInterface::LongPath(FromWide(full), true));
  return true;
}

std::unique_ptr<OsFile> Win32Files::Open(const KorText& path, FileAccess access) {
  std::wstring native;
  if (!ToNative(path, native)) return nullptr;
  if (IsDevice(native)) {
    Fail(ERROR_INVALID_NAME);
    return nullptr;
  }
  const bool claims = access == FileAccess::Claim;
  const HANDLE handle =
      access == FileAccess::CreateNew
          ? MakeNative(native)
          : OpenNative(native, FormOf(access),
                       claims ? FILE_FLAG_OPEN_REPARSE_POINT : FILE_ATTRIBUTE_NORMAL);
  if (handle == INVALID_HANDLE_VALUE) {
    Fail(GetLastError());
    return nullptr;
  }
  auto file = std::make_unique<Win32File>(handle);
  if (claims && IsLink(native) && !Fail(ERROR_INVALID_NAME)) return nullptr;
  // Emptied here, not by the call that opens: that one refuses hidden files.
  if (access == FileAccess::Write && !Checked(SetEndOfFile(handle))) return nullptr;
  return file;
}

std::optional<FileInfo> Win32Files::Attributes(const KorText& path) {
  std::wstring native;
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!ToNative(path, native) ||
      !Checked(GetFileAttributesExW(native.c_str(), GetFileExInfoStandard, &data))) {
    return std::nullopt;
  }
  if (IsDevice(native)) data.dwFileAttributes = FILE_ATTRIBUTE_DEVICE;
  return InfoOf(data);
}

bool Win32Files::Remove(const KorText& path) {
  std::wstring native;
  return ToNative(path, native) && Checked(DeleteFileW(native.c_str()));
}

bool Win32Files::Rename(const KorText& from, const KorText& to) {
  std::wstring nativeFrom, nativeTo;
  if (!ToNative(from, nativeFrom) || !ToNative(to, nativeTo)) return false;
  if (MoveFileExW(nativeFrom.c_str(), nativeTo.c_str(),
                  MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    return true;
  }
  if (GetLastError() != ERROR_NOT_SAME_DEVICE) return Fail(GetLastError());
  // The target is on another disk: copy beside it and rename there, so that it changes in one step.
  return Duplicate(from, to) && Remove(from);
}

bool Win32Files::CanReplace(const KorText& path) {
  // A longer name is only called missing when it is looked for, and refused when it is made.
  constexpr std::size_t kLongestName = 255; // characters, as file systems have it
  const std::size_t separator = path.View().find_last_of(u"/\\");
  const std::size_t nameStart = separator == KorText::kNone ? 0 : separator + 1;
  if (path.Length() - nameStart > kLongestName) return Fail(ERROR_FILENAME_EXCED_RANGE);
  std::wstring native;
  if (!ToNative(path, native)) return false;
  const HANDLE file = CreateFileW(native.c_str(), GENERIC_WRITE | DELETE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  if (file != INVALID_HANDLE_VALUE) return CloseHandle(file) != 0;
  // Who has it open now may be done with it when it is replaced.
  const DWORD error = GetLastError();
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_SHARING_VIOLATION || Fail(error);
}

// A ":" would name a stream of another file.
bool Win32Files::CanName(const KorText& name) const {
  return OsFiles::CanName(name) && name.View().find_first_of(u":*?\"<>|") == KorText::kNone;
}

bool Win32Files::MakeFolder(const KorText& path) {
  std::wstring native;
  if (!ToNative(path, native)) return false;
  if (CreateDirectoryW(native.c_str(), nullptr)) return true;
  const DWORD error = GetLastError();
  if (IsFolder(native)) return true;
  const std::size_t name = path.View().find_last_not_of(u"/\\");
  if (error != ERROR_PATH_NOT_FOUND || name == KorText::kNone) return Fail(error);
  const std::size_t separator = path.View().find_last_of(u"/\\", name);
  if (separator == KorText::kNone || separator == 0) return Fail(error);
  if (!MakeFolder(path.Left(separator))) return false;
  // Another may have made it meanwhile.
  return CreateDirectoryW(native.c_str(), nullptr) || IsFolder(native) || Fail(GetLastError());
}

bool Win32Files::RemoveFolder(const KorText& path) {
  std::wstring native;
  if (!ToNative(path, native)) return false;
  while (native.size() > 3 && (native.ends_with(L'/') || native.ends_with(L'\\'))) {
    native.pop_back();
  }
  const DWORD attributes = GetFileAttributesW(native.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return Fail(GetLastError());
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return Fail(ERROR_DIRECTORY);
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    return Checked(RemoveDirectoryW(native.c_str()));
  }
  return RemoveNativeFolder(native);
}

KorText Win32Files::LinkTarget(const KorText& path) {
  std::wstring native;
  if (!ToNative(path, native) || IsDevice(native) || !IsLink(native)) return path;
  constexpr OpenForm kForm = {0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              OPEN_EXISTING};
  const HANDLE handle = OpenNative(native, kForm, FILE_FLAG_BACKUP_SEMANTICS); // follows
  if (handle == INVALID_HANDLE_VALUE) return path;
  Win32File file(handle);
  std::wstring target(GetFinalPathNameByHandleW(handle, nullptr, 0, FILE_NAME_NORMALIZED), L'\0');
  target.resize(GetFinalPathNameByHandleW(handle, target.data(), static_cast<DWORD>(target.size()),
                                          FILE_NAME_NORMALIZED));
  return target.empty() ? path : FromWide(target);
}

// A whole path keeps its separators.
KorText Win32Files::AbsolutePath(const KorText& path) {
  const auto isSeparator = [&](std::size_t at) { return path[at] == u'/' || path[at] == u'\\'; };
  const bool isLong = path.Length() > 2;
  if (isLong && (path[1] == u':' ? isSeparator(2) : isSeparator(0) && isSeparator(1))) return path;
  const std::wstring full = FullPath(ToWide(path.View()));
  return full.empty() ? path : FromWide(full);
}

bool Win32Files::CopyAttributes(const KorText& from, OsFile& to) {
  constexpr OpenForm kForm = {READ_CONTROL | FILE_READ_ATTRIBUTES,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              OPEN_EXISTING};
  std::wstring native;
  if (!ToNative(from, native)) return false;
  const Win32File source(OpenNative(native, kForm, FILE_FLAG_BACKUP_SEMANTICS));
  FILE_BASIC_INFO given{}, kept{};
  if (!Checked(GetFileInformationByHandleEx(source.Handle(), FileBasicInfo, &given, sizeof given)))
    return false;
  const HANDLE target = static_cast<Win32File&>(to).Handle();
  const bool copied = CopySecurity(source.Handle(), target);
  // Times of 0 stay as they are.
  kept.FileAttributes = (given.FileAttributes & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM)) |
                        FILE_ATTRIBUTE_ARCHIVE;
  return Checked(SetFileInformationByHandle(target, FileBasicInfo, &kept, sizeof kept)) && copied;
}

std::optional<FileTimes> Win32Files::Times(const KorText& path) {
  std::wstring native;
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!ToNative(path, native) ||
      !Checked(GetFileAttributesExW(native.c_str(), GetFileExInfoStandard, &data)))
    return std::nullopt;
  return FileTimes{ToFileTime(data.ftCreationTime), ToFileTime(data.ftLastAccessTime),
                   ToFileTime(data.ftLastWriteTime)};
}

bool Win32Files::SetTimes(const KorText& path, const FileTimes& times) {
  std::wstring native;
  if (!ToNative(path, native)) return false;
  constexpr OpenForm kForm = {
      FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING};
  const HANDLE handle = OpenNative(native, kForm, FILE_FLAG_BACKUP_SEMANTICS); // folders, too
  if (handle == INVALID_HANDLE_VALUE) return Fail(GetLastError());
  Win32File file(handle);
  const auto convert = [](FileTime time) { // 0 leaves the time as it is
    return FILETIME{static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
  };
  const FILETIME created = convert(times.created), accessed = convert(times.accessed),
                 modified = convert(times.modified);
  return Checked(SetFileTime(handle, &created, &accessed, &modified));
}

DriveType Win32Files::Drive(const KorText& path) {
  std::wstring native;
  if (!ToNative(path, native) || GetFileAttributesW(native.c_str()) == INVALID_FILE_ATTRIBUTES)
    return DriveType::NoRoot;
  std::wstring root(native.size() + MAX_PATH, L'\0');
  if (!Checked(GetVolumePathNameW(native.c_str(), root.data(), static_cast<DWORD>(root.size()))))
    return DriveType::Unknown;
  return static_cast<DriveType>(GetDriveTypeW(root.c_str()));
}

bool Win32Files::SetCurrentFolder(const KorText& path) {
  std::wstring native;
  return ToNative(path, native) && Checked(SetCurrentDirectoryW(native.c_str()));
}

bool Win32Files::IsBeingWritten(const KorText& path) {
  std::wstring native;
  if (!ToNative(path, native) || IsDevice(native)) return false;
  const OpenForm alone{GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING};
  const HANDLE file = OpenNative(native, alone, FILE_ATTRIBUTE_NORMAL);
  if (file == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_SHARING_VIOLATION;
  CloseHandle(file);
  return false;
}

std::optional<std::vector<FileEntry>> Win32Files::ReadFolder(const KorText& folder,
                                                             const NameFilter& wanted) {
  std::wstring native;
  if (folder.IsEmpty()) Fail(ERROR_PATH_NOT_FOUND);
  if (folder.IsEmpty() || !ToNative(folder, native)) return std::nullopt;
  std::vector<FileEntry> entries;
  const bool complete = ForEachEntry(native, [&](const WIN32_FIND_DATAW& data) {
    const KorText name = FromWide(data.cFileName);
    if (wanted(name)) entries.push_back({name, InfoOf(data)});
    return true;
  });
  if (!complete) return std::nullopt;
  return entries;
}

// Renaming with write-through is all that NTFS asks for.
bool Win32Files::SyncFolder(const KorText&) {
  return true;
}

KorText Win32Files::ErrorText(std::uint32_t error) {
  wchar_t* text = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, error, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  std::wstring_view line(text ? text : L"", length);
  while (line.ends_with(L'\n') || line.ends_with(L'\r'))
    line.remove_suffix(1);
  const KorText result = FromWide(line);
  LocalFree(text);
  return result;
}

} // namespace kor
