#include "tests/support/fake_files.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "services/core/as_bytes.h"
#include "tests/support/test_folder.h"

namespace kor {

// A file of the platform with the faults of its FakeFiles in front of it.
class TestFile : public OsFile {
 public:
  TestFile(std::unique_ptr<OsFile> realFile, FakeFiles& owner, const KorText& openedPath,
           FileAccess access)
      : real(std::move(realFile)), app(owner), path(openedPath),
        writing(access != FileAccess::Read && access != FileAccess::Stream) {
    Lock lock(app.mutex);
    readLeft = app.readLimit;
    if (!writing || !app.disk) return;
    node = app.disk->Open(path);
    if (access == FileAccess::Write) node->seen.clear();
  }
  ~TestFile() override = default;

  std::size_t Read(std::span<std::uint8_t> to) override {
    const bool faulty = readLeft && to.size() > *readLeft;
    const std::size_t count =
        real->Read(faulty ? to.first(static_cast<std::size_t>(*readLeft)) : to);
    if (readLeft) *readLeft -= count;
    if (faulty) app.SetLastError(FakeFiles::kDeviceFault);
    return count;
  }

  std::size_t Write(std::span<const std::uint8_t> from) override {
    if (!app.MayChange()) return 0;
    const std::size_t allowed = app.TakeWriteBudget(from.size());
    const std::size_t count = real->Write(from.first(allowed));
    Lock lock(app.mutex);
    if (node) node->seen = app.Content(path)->ToBytes();
    if (allowed < from.size()) app.SetLastError(FakeFiles::kDiskFull);
    return count;
  }

  std::optional<std::uint64_t> Seek(std::int64_t offset, SeekFrom from) override {
    return app.failSeek ? std::nullopt : real->Seek(offset, from);
  }

  std::optional<std::uint64_t> Size() override {
    return app.failSize ? std::nullopt : real->Size();
  }

  bool Sync() override {
    if (!app.MayChange() || app.failSync) {
      app.SetLastError(FakeFiles::kDeviceFault);
      return false;
    }
    Lock lock(app.mutex);
    if (node) node->durable = node->seen; // nothing really waits for the disk
    return true;
  }

  bool Close() override {
    const bool counts = writing && !std::exchange(closed, true);
    const bool done = real->Close();
    if (!counts || (app.MayChange() && !app.failClose)) return done;
    app.SetLastError(FakeFiles::kDeviceFault);
    return false;
  }

  bool IsHeld() const override { return !app.failLocks && real->IsHeld(); }
  OsFile& Real() { return *real; }

 private:
  std::unique_ptr<OsFile> real;
  FakeFiles& app;
  DiskImage::NodePtr node; // null: not watched
  const KorText path;
  bool writing;
  bool closed = false;
  std::optional<std::uint64_t> readLeft;
};

FakeFiles::FakeFiles() : root(KorText(MakeTestFolder().generic_u16string()) + u"/") {}

FakeFiles::~FakeFiles() {
  PlatformFiles::RemoveFolder(root);
}

std::optional<KorText> FakeFiles::Content(const KorText& path) {
  const std::unique_ptr<OsFile> file = PlatformFiles::Open(path, FileAccess::Read);
  if (!file) return std::nullopt;
  std::string bytes(static_cast<std::size_t>(file->Size().value_or(0)), '\0');
  bytes.resize(file->Read({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
  return KorText::FromBytes(bytes);
}

void FakeFiles::Put(const KorText& path, const KorText& text) {
  PlatformFiles::MakeFolder(path.Left(path.FindLast(u'/')));
  const std::unique_ptr<OsFile> file = PlatformFiles::Open(path, FileAccess::Write);
  const std::string bytes = text.ToBytes();
  if (!file) std::abort();
  file->Write(AsBytes(bytes));
}

Texts FakeFiles::Names(const KorText& folder) {
  Texts names;
  for (const FileEntry& entry : List(folder).value_or(std::vector<FileEntry>())) {
    names.push_back(entry.info.isFolder ? entry.name + u"/" : entry.name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// --- Faults ---

void FakeFiles::RefuseOpening(const KorText& part, bool forWritingOnly) {
  Lock lock(mutex);
  refused.emplace_back(part, forWritingOnly);
}

void FakeFiles::CutPowerAfter(std::optional<int> changes) {
  Lock lock(mutex);
  changesLeft = changes;
  changeCount = 0;
}

void FakeFiles::ClearFaults() {
  failSync = failClose = failRename = failSeek = failSize = failLocks = false;
  CutPowerAfter(std::nullopt);
  Lock lock(mutex);
  refused.clear();
  writeLimit.reset();
  readLimit.reset();
}

bool FakeFiles::MayChange() {
  Lock lock(mutex);
  if (changesLeft && *changesLeft == 0) {
    SetLastError(kDeviceFault);
    return false;
  }
  ++changeCount;
  if (changesLeft) --*changesLeft;
  return true;
}

std::size_t FakeFiles::TakeWriteBudget(std::size_t wanted) {
  Lock lock(mutex);
  if (!writeLimit) return wanted;
  const auto taken = static_cast<std::size_t>(std::min<std::uint64_t>(wanted, *writeLimit));
  *writeLimit -= taken;
  return taken;
}

bool FakeFiles::IsRefused(const KorText& path, FileAccess access) {
  Lock lock(mutex);
  return std::any_of(refused.begin(), refused.end(), [&](const auto& rule) {
    return path.Contains(rule.first) && (access != FileAccess::Read || !rule.second);
  });
}

// --- Power cuts ---

void FakeFiles::WatchDisk() {
  DiskImage::Files files;
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(std::filesystem::path(root.View()))) {
    const KorText path = KorText(entry.path().generic_u16string());
    if (entry.is_regular_file()) files[path] = Content(path)->ToBytes();
  }
  Lock lock(mutex);
  disk.emplace(files);
}

std::set<DiskImage::Files> FakeFiles::DiskStates() {
  Lock lock(mutex);
  return disk ? disk->States() : std::set<DiskImage::Files>();
}

void FakeFiles::RestoreDisk(const DiskImage::Files& files) {
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(std::filesystem::path(root.View())))
    if (entry.is_regular_file()) std::filesystem::remove(entry.path());
  for (const auto& [path, content] : files)
    Put(path, KorText::FromBytes(content));
}

// --- Files ---

void FakeFiles::TellOpening(const KorText& path) {
  if (whenOpening.second && path.Contains(whenOpening.first)) whenOpening.second();
}

std::optional<std::vector<FileEntry>> FakeFiles::ReadFolder(const KorText& folder,
                                                            const NameFilter& wanted) {
  TellOpening(folder);
  return PlatformFiles::ReadFolder(folder, wanted);
}

std::unique_ptr<OsFile> FakeFiles::Open(const KorText& path, FileAccess access) {
  TellOpening(path);
  if (IsRefused(path, access)) {
    SetLastError(kAccessDenied);
    return nullptr;
  }
  const bool writing = access != FileAccess::Read && access != FileAccess::Stream;
  if (writing && !MayChange()) return nullptr;
  std::unique_ptr<OsFile> file = PlatformFiles::Open(path, access);
  if (!file) return nullptr;
  return std::make_unique<TestFile>(std::move(file), *this, path, access);
}

bool FakeFiles::Remove(const KorText& path) {
  if (!MayChange() || !PlatformFiles::Remove(path)) return false;
  Lock lock(mutex);
  if (disk) disk->Remove(path);
  return true;
}

bool FakeFiles::Rename(const KorText& from, const KorText& to) {
  if (failRename) SetLastError(kAccessDenied);
  if (failRename || !MayChange() || !PlatformFiles::Rename(from, to)) return false;
  Lock lock(mutex);
  if (disk) disk->Rename(from, to);
  return true;
}

bool FakeFiles::SyncFolder(const KorText& folder) {
  if (!MayChange()) return false;
  Lock lock(mutex);
  if (disk) disk->SyncFolder(folder.EndsWith(u"/") ? folder.Left(folder.Length() - 1) : folder);
  return true;
}

bool FakeFiles::CopyAttributes(const KorText& from, OsFile& to) {
  return MayChange() && PlatformFiles::CopyAttributes(from, static_cast<TestFile&>(to).Real());
}

bool FakeFiles::CanReplace(const KorText& path) {
  return !IsRefused(path, FileAccess::Write) && PlatformFiles::CanReplace(path);
}

bool FakeFiles::MakeFolder(const KorText& path) {
  return FolderExists(path) || (MayChange() && PlatformFiles::MakeFolder(path));
}

bool FakeFiles::RemoveFolder(const KorText& path) {
  return MayChange() && PlatformFiles::RemoveFolder(path);
}

} // namespace kor
