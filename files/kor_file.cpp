#include "files/kor_file.h"

#include <algorithm>
#include <random>

#include "files/compressed_file.h"
#include "files/paths.h"
#include "services/core/app_interface.h"

namespace kor {
namespace {

constexpr int kAttempts = 100;
constexpr int kMostFailures = 3;
// Characters of the target's name that the name beside it starts with: file systems limit a name to
// 255 bytes, and a character takes up to four.
constexpr std::size_t kNameStart = 50;

constexpr FileTime kDay = FileTime{24} * 60 * 60 * 10'000'000;

KorText PartPath(const KorText& target) {
  std::random_device random;
  return FolderOfPath(target) + FileNameOfPath(target).Left(kNameStart) +
         KorText::Format(u".%08x%08x", random(), random()) + kPartSuffix;
}

// A file from the future may be one that a computer with another clock writes.
bool IsOlderThanADay(const FileInfo& info) {
  const FileTime now = App().CurrentFileTime();
  return info.modified < now && now - info.modified > kDay;
}

} // namespace

KorFile::~KorFile() {
  Discard();
}

bool KorFile::OpenSafe(std::uint32_t mode, Compression compression) {
  if (IsOpen() || Name().IsEmpty() || (mode & (kFileRead | kFileAppend)) != 0) return false;
  safeTarget = followsLinks ? App().LinkTarget(Name()) : Name();
  if (safeTarget.IsEmpty()) return false;
  // Folders can't be replaced and devices must not be, not even where a link leads to one.
  const std::optional<FileInfo> older = App().FileAttributes(safeTarget);
  if (!App().CanReplaceFile(safeTarget) || (older && !older->isFile)) return false;
  if (older && holdsTarget) heldTarget = App().OpenFile(safeTarget, FileAccess::Claim);
  if (older && holdsTarget && !heldTarget) return false;
  UseWriteCache(false);
  int failures = 0;
  for (int attempt = 0; attempt < kAttempts && failures < kMostFailures && !IsOpen(); ++attempt) {
    const KorText part = PartPath(safeTarget);
    const bool taken = App().FileAttributes(part).has_value();
    // Whoever clears abandoned files away may have locked or removed the new one before we did.
    if (!taken && !OpenStandIn(part, mode | kFileWrite | kFileNew)) ++failures;
    if (IsOpen() && !App().FileExists(part)) SimpleFile::Close();
  }
  safe = IsOpen();
  // Permissions are set first: whoever may not read the target must not read the half-written part.
  // Not every file system can set them.
  if (safe && older) App().CopyAttributes(safeTarget, *WorkingHandle());
  compressOnCommit = compression == Compression::Yes;
  return safe;
}

bool KorFile::Commit() {
  if (!safe) return false;
  const bool good = IsGood() && Flush() && (compressOnCommit || Sync()) && CommitPart();
  Discard();
  return good;
}

bool KorFile::CommitPart() {
  OsFiles& files = App().Files();
  const KorText part = WorkingPath();
  if (compressOnCommit) return CompressFile(part, safeTarget) == FileResult::Success;
  // Rename the part while it is open: it is locked then, and nobody takes it for abandoned. Not
  // every system renames an open file.
  bool renamed = files.Rename(part, safeTarget);
  if (!renamed) {
    KeepWorkingFile();
    heldTarget.reset();
    renamed = SimpleFile::Close() && files.Rename(part, safeTarget);
    if (!renamed) files.Remove(part);
  }
  if (!renamed) return false;
  KeepWorkingFile();
  const KorText folder = FolderOfPath(safeTarget);
  files.SyncFolder(folder.IsEmpty() ? KorText(u".") : folder); // the target is whole either way
  return true;
}

void KorFile::Discard() {
  if (!safe) return;
  safe = false;
  heldTarget.reset();
  SimpleFile::Close();
  UseWriteCache(true);
}

bool KorFile::Close() {
  if (!safe) return SimpleFile::Close();
  Discard();
  return true;
}

std::size_t RemoveAbandonedParts(OsFiles& files, const KorText& folder) {
  const auto entries = files.List(folder, kPartSuffix);
  if (!entries) return 0;
  const KorText prefix = WithTrailingSlash(folder);
  return static_cast<std::size_t>(
      std::count_if(entries->begin(), entries->end(), [&](const FileEntry& entry) {
        if (entry.info.isFolder) return false;
        const KorText path = prefix + entry.name;
        // This is the writer's lock, which can't be had while a living process holds the file. Hold
        // it while removing, so that no new writer gets the file.
        auto lock = files.Open(path, FileAccess::Claim);
        if (!lock || (!lock->IsHeld() && !IsOlderThanADay(entry.info))) return false;
        if (files.Remove(path)) return true;
        lock.reset(); // not every system removes an open file
        return files.Remove(path);
      }));
}

} // namespace kor
