#include "services/core/os_files.h"

#include <algorithm>
#include <random>

#include "services/core/path_text.h"

namespace kor {

namespace {

constexpr std::size_t kLongestFileName = 255; // bytes
constexpr std::size_t kCopyBlock = 0x40000;   // 256 KiB

bool CopyContent(OsFile& from, OsFile& to) {
  std::vector<std::uint8_t> block(kCopyBlock);
  std::optional<std::uint64_t> left = from.Size();
  while (left.value_or(0) > 0) {
    const std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>(*left, kCopyBlock));
    const std::span<std::uint8_t> part(block.data(), wanted);
    if (from.Read(part) != wanted || to.Write(part) != wanted) return false;
    *left -= wanted;
  }
  return left.has_value();
}

} // namespace

bool OsFiles::Exists(const KorText& path) {
  const std::optional<FileInfo> info = Attributes(path);
  return info && info->isFile;
}

bool OsFiles::FolderExists(const KorText& path) {
  const std::optional<FileInfo> info = Attributes(path);
  return info && info->isFolder;
}

bool OsFiles::CanName(const KorText& name) const {
  return !name.IsEmpty() && name.ToUtf8().size() <= kLongestFileName &&
         std::none_of(name.View().begin(), name.View().end(),
                      [](char16_t c) { return c < u' ' || c == u'/' || c == u'\\'; });
}

bool OsFiles::Duplicate(const KorText& from, const KorText& to) {
  const std::unique_ptr<OsFile> source = Open(from, FileAccess::Read);
  const std::optional<FileInfo> info = Attributes(from);
  if (!source || !info || !CanReplace(to)) return false;
  const KorText copyPath = to + KorText::Format(u".%u.tmp", std::random_device()());
  const std::unique_ptr<OsFile> copy = Open(copyPath, FileAccess::CreateNew);
  if (!copy) return false;
  CopyAttributes(from, *copy); // not every file system can
  const bool copied = CopyContent(*source, *copy) && copy->Sync();
  if (copy->Close() && copied && SetTimes(copyPath, {.modified = info->modified}) &&
      Rename(copyPath, to)) {
    const KorText folder = FolderOfPath(to);
    SyncFolder(folder.IsEmpty() ? KorText(u".") : folder); // the target is whole either way
    return true;
  }
  const std::uint32_t error = LastError();
  Remove(copyPath);
  SetLastError(error);
  return false;
}

std::optional<std::vector<FileEntry>> OsFiles::List(const KorText& folder,
                                                    const KorText& nameEnding) {
  return ReadFolder(folder, [&, fold = IgnoreCase()](const KorText& name) {
    if (!fold) return name.EndsWith(nameEnding);
    return name.Length() >= nameEnding.Length() &&
           name.Right(nameEnding.Length()).EqualsNoCase(nameEnding);
  });
}

} // namespace kor
