#include "tests/support/test_app.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>

namespace kor {

namespace {

KorText FreshRoot() {
  std::random_device random;
  const auto name = "ncedl-test-" + std::to_string(random()) + "-" + std::to_string(random());
  const auto root = std::filesystem::temp_directory_path() / name;
  return KorText(root.generic_u16string()) + u"/";
}

} // namespace

// A file of the platform with the faults of its TestApp in front of it.
class TestFile : public OsFile {
 public:
  TestFile(std::unique_ptr<OsFile> realFile, TestApp& owner, const KorText& path, FileAccess access)
      : real(std::move(realFile)), app(owner), writing(access != FileAccess::Read) {
    Lock lock(app.testMutex);
    readLeft = app.readLimit;
    if (!writing || !app.disk) return;
    node = app.disk->Open(path);
    if (access == FileAccess::Write) node->seen.clear();
    if (access == FileAccess::Append) at = node->seen.size();
  }
  ~TestFile() override = default;

  std::size_t Read(std::span<std::uint8_t> to) override {
    if (!readLeft || to.size() <= *readLeft) {
      const std::size_t count = real->Read(to);
      if (readLeft) *readLeft -= count;
      return count;
    }
    const std::size_t count = real->Read(to.first(static_cast<std::size_t>(*readLeft)));
    *readLeft -= count;
    app.SetLastError(TestApp::kDeviceFault);
    return count;
  }

  std::size_t Write(std::span<const std::uint8_t> from) override {
    if (!app.MayChange()) return 0;
    const std::size_t allowed = app.TakeWriteBudget(from.size());
    const std::size_t count = real->Write(from.first(allowed));
    if (allowed < from.size()) app.SetLastError(TestApp::kDiskFull);
    See(from.first(count));
    return count;
  }

  std::optional<std::uint64_t> Seek(std::int64_t offset, bool fromEnd) override {
    const auto moved = real->Seek(offset, fromEnd);
    if (moved) at = static_cast<std::size_t>(*moved);
    return moved;
  }

  std::optional<std::uint64_t> Size() override {
    return app.failSize ? std::nullopt : real->Size();
  }

  bool Sync() override {
    if (!app.MayChange()) return false;
    if (app.failSync) {
      app.SetLastError(TestApp::kDeviceFault);
      return false;
    }
    Lock lock(app.testMutex);
    if (node) node->durable = node->seen; // nothing really waits for the disk
    return true;
  }

  bool Close() override {
    const bool counts = writing && !closed;
    closed = true;
    const bool allowed = !counts || app.MayChange();
    const bool done = real->Close();
    if (!counts || !app.failClose) return done && allowed;
    app.SetLastError(TestApp::kDeviceFault);
    return false;
  }

 private:
  void See(std::span<const std::uint8_t> bytes) {
    Lock lock(app.testMutex);
    if (!node) return;
    node->seen.resize(std::max(node->seen.size(), at + bytes.size()));
    std::copy(bytes.begin(), bytes.end(), node->seen.begin() + static_cast<std::ptrdiff_t>(at));
    at += bytes.size();
  }

  std::unique_ptr<OsFile> real;
  TestApp& app;
  DiskImage::NodePtr node; // null: not watched
  std::size_t at = 0;
  bool writing;
  bool closed = false;
  std::optional<std::uint64_t> readLeft;
};

TestApp::TestApp() : root(FreshRoot()) {
  applicationName = u"Download";
  version = u"2026";
  SystemTime start;
  start.year = 2026;
  wallClock = SystemTimeToFileTime(start);
  SetApplicationPropertyString(kVersionText, version);
  const std::pair<int, const char16_t*> kinds[] = {{kStartInFolder, u"start-in"},
                                                   {kTemporaryFolder, u"temp"},
                                                   {kSettingsFolder, u"settings"},
                                                   {kProgramFolder, u"program"},
                                                   {kDataFolder, u"data"}};
  for (const auto& [type, name] : kinds) {
    PlatformAppInterface::MakeFolder(root + name);
    SetApplicationPropertyPath(type, root + name);
  }
  SetApp(this);
}

TestApp::~TestApp() {
  OpenLog({});
  PlatformAppInterface::RemoveFolder(root);
  SetApp(nullptr);
}

// --- Folders ------------------------------------------------------------------------------------

std::optional<KorText> TestApp::Content(const KorText& path) {
  const std::unique_ptr<OsFile> file = PlatformAppInterface::OpenFile(path, FileAccess::Read);
  if (!file) return std::nullopt;
  std::string bytes(static_cast<std::size_t>(file->Size().value_or(0)), '\0');
  bytes.resize(file->Read({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
  return KorText::FromBytes(bytes);
}

void TestApp::Put(const KorText& path, const KorText& text) {
  PlatformAppInterface::MakeFolder(path.Left(path.FindLast(u'/')));
  const std::unique_ptr<OsFile> file = PlatformAppInterface::OpenFile(path, FileAccess::Write);
  const std::string bytes = text.ToBytes();
  if (!file) std::abort();
  file->Write({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

std::vector<KorText> TestApp::Names(const KorText& folder) {
  std::vector<KorText> names;
  for (const FileEntry& entry : ListFolder(folder).value_or(std::vector<FileEntry>())) {
    names.push_back(entry.info.isFolder ? entry.name + u"/" : entry.name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// --- Clock --------------------------------------------------------------------------------------

void TestApp::Advance(double seconds) {
  monotonicNanoseconds += std::llround(seconds * 1e9);
  wallClock += static_cast<FileTime>(std::llround(seconds * 1e7));
}

FileTime TestApp::FileTimeToLocal(FileTime utc) {
  return utc + static_cast<FileTime>(std::int64_t{zoneMinutes} * 60 * 10'000'000);
}

KorText TestApp::FormatDate(const SystemTime& time) {
  return KorText::Format(u"%02i/%02i/%04i", time.day, time.month, time.year);
}

KorText TestApp::FormatTime(const SystemTime& time) {
  return KorText::Format(u"%02i:%02i:%02i", time.hour, time.minute, time.second);
}

std::uint32_t TestApp::TickCount() {
  return static_cast<std::uint32_t>(monotonicNanoseconds / 1'000'000);
}

double TestApp::HighResolutionSeconds() {
  return static_cast<double>(monotonicNanoseconds) / 1e9;
}

// --- What was reported --------------------------------------------------------------------------

std::vector<MessageRecord> TestApp::Messages() {
  Lock lock(testMutex);
  return messages;
}

std::vector<TestApp::Warning> TestApp::Warnings() {
  Lock lock(testMutex);
  return warnings;
}

std::vector<KorText> TestApp::DebugLines() {
  Lock lock(testMutex);
  return debugLines;
}

void TestApp::ForgetReports() {
  Lock lock(testMutex);
  messages.clear();
  warnings.clear();
  debugLines.clear();
}

KorText TestApp::Start(const KorText& name, const KorText& versionText) {
  applicationName = name;
  version = versionText;
  SetApplicationPropertyString(kVersionText, version);
  return {};
}

std::int32_t TestApp::Report(const MessageRecord& record) {
  {
    Lock lock(testMutex);
    messages.push_back(record);
  }
  const std::int32_t usual = PlatformAppInterface::Report(record);
  return answer.value_or(usual);
}

void TestApp::DebugWarning(const KorText& message, const KorText& info) {
  {
    Lock lock(testMutex);
    warnings.push_back({message, info});
  }
  PlatformAppInterface::DebugWarning(message, info);
}

void TestApp::DebugOutput(const KorText& text) {
  Lock lock(testMutex);
  debugLines.push_back(text);
}

// --- Registry -----------------------------------------------------------------------------------

std::optional<TestApp::RegistryValue> TestApp::FindValue(const KorText& key, const KorText& value) {
  Lock lock(testMutex);
  const auto values = registry.find(key);
  if (values == registry.end()) return std::nullopt;
  const auto found = values->second.find(value);
  if (found == values->second.end()) return std::nullopt;
  return found->second;
}

std::optional<std::uint32_t> TestApp::ReadRegistryNumber(const KorText& key, const KorText& value) {
  const std::optional<RegistryValue> found = FindValue(key, value);
  return found ? found->number : std::nullopt;
}

std::optional<KorText> TestApp::ReadRegistryText(const KorText& key, const KorText& value) {
  const std::optional<RegistryValue> found = FindValue(key, value);
  if (!found || found->number) return std::nullopt;
  return found->text;
}

bool TestApp::WriteRegistryNumber(const KorText& key, const KorText& value, std::uint32_t number) {
  Lock lock(testMutex);
  registry[key][value] = {{}, number};
  return true;
}

bool TestApp::WriteRegistryText(const KorText& key, const KorText& value, const KorText& text) {
  Lock lock(testMutex);
  registry[key][value] = {text, std::nullopt};
  return true;
}

std::vector<KorText> TestApp::ListRegistrySubKeys(const KorText& key) {
  Lock lock(testMutex);
  std::vector<KorText> names;
  for (const auto& [known, values] : registry) {
    if (!known.StartsWithNoCase(key + u"\\")) continue;
    const KorText below = known.Mid(key.Length() + 1);
    const KorText name = below.Left(below.Find(u'\\'));
    if (names.empty() || !names.back().EqualsNoCase(name)) names.push_back(name);
  }
  return names;
}

// --- Faults -------------------------------------------------------------------------------------

void TestApp::RefuseOpening(const KorText& part, bool forWritingOnly) {
  Lock lock(testMutex);
  refused.emplace_back(part, forWritingOnly);
}

void TestApp::LimitWrites(std::optional<std::uint64_t> bytes) {
  Lock lock(testMutex);
  writeLimit = bytes;
}

void TestApp::LimitReads(std::optional<std::uint64_t> bytes) {
  Lock lock(testMutex);
  readLimit = bytes;
}

void TestApp::CutPowerAfter(std::optional<int> changes) {
  Lock lock(testMutex);
  changesLeft = changes;
  changeCount = 0;
}

void TestApp::ClearFaults() {
  failSync = failClose = failRename = failSize = false;
  CutPowerAfter(std::nullopt);
  Lock lock(testMutex);
  refused.clear();
  writeLimit.reset();
  readLimit.reset();
}

bool TestApp::MayChange() {
  Lock lock(testMutex);
  if (changesLeft && *changesLeft == 0) {
    SetLastError(kDeviceFault);
    return false;
  }
  ++changeCount;
  if (changesLeft) --*changesLeft;
  return true;
}

std::size_t TestApp::TakeWriteBudget(std::size_t wanted) {
  Lock lock(testMutex);
  if (!writeLimit) return wanted;
  const auto taken = static_cast<std::size_t>(std::min<std::uint64_t>(wanted, *writeLimit));
  *writeLimit -= taken;
  return taken;
}

bool TestApp::IsRefused(const KorText& path, FileAccess access) {
  Lock lock(testMutex);
  return std::any_of(refused.begin(), refused.end(), [&](const auto& rule) {
    return path.Contains(rule.first) && (access != FileAccess::Read || !rule.second);
  });
}

// --- Power cuts ---------------------------------------------------------------------------------

void TestApp::WatchDisk() {
  DiskImage::Files files;
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(std::filesystem::path(root.View()))) {
    const KorText path = KorText(entry.path().generic_u16string());
    if (entry.is_regular_file()) files[path] = Content(path)->ToBytes();
  }
  Lock lock(testMutex);
  disk.emplace(files);
}

std::set<DiskImage::Files> TestApp::DiskStates() {
  Lock lock(testMutex);
  return disk ? disk->States() : std::set<DiskImage::Files>();
}

void TestApp::RestoreDisk(const DiskImage::Files& files) {
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(std::filesystem::path(root.View())))
    if (entry.is_regular_file()) std::filesystem::remove(entry.path());
  for (const auto& [path, content] : files)
    Put(path, KorText::FromBytes(content));
}

// --- Files --------------------------------------------------------------------------------------

void TestApp::WhenOpening(const KorText& part, std::function<void()> action) {
  whenOpening = {part, std::move(action)};
}

std::unique_ptr<OsFile> TestApp::OpenFile(const KorText& path, FileAccess access) {
  if (whenOpening.second && path.Contains(whenOpening.first)) whenOpening.second();
  if (IsRefused(path, access)) {
    SetLastError(kAccessDenied);
    return nullptr;
  }
  const bool writing = access != FileAccess::Read;
  if (writing && !MayChange()) return nullptr;
  std::unique_ptr<OsFile> file = PlatformAppInterface::OpenFile(path, access);
  if (!file) return nullptr;
  return std::make_unique<TestFile>(std::move(file), *this, path, access);
}

bool TestApp::RemoveFile(const KorText& path) {
  if (!MayChange() || !PlatformAppInterface::RemoveFile(path)) return false;
  Lock lock(testMutex);
  if (disk) disk->Remove(path);
  return true;
}

bool TestApp::RenameFile(const KorText& from, const KorText& to) {
  if (failRename) {
    SetLastError(kAccessDenied);
    return false;
  }
  if (!MayChange() || !PlatformAppInterface::RenameFile(from, to)) return false;
  Lock lock(testMutex);
  if (disk) disk->Rename(from, to);
  return true;
}

bool TestApp::SyncFolder(const KorText& folder) {
  if (!MayChange()) return false;
  Lock lock(testMutex);
  if (disk) disk->SyncFolder(folder.EndsWith(u"/") ? folder.Left(folder.Length() - 1) : folder);
  return true;
}

bool TestApp::CopyAttributes(const KorText& from, const KorText& to) {
  return MayChange() && PlatformAppInterface::CopyAttributes(from, to);
}

bool TestApp::CanReplaceFile(const KorText& path) {
  return !IsRefused(path, FileAccess::Write) && PlatformAppInterface::CanReplaceFile(path);
}

bool TestApp::MakeFolder(const KorText& path) {
  return FolderExists(path) || (MayChange() && PlatformAppInterface::MakeFolder(path));
}

bool TestApp::RemoveFolder(const KorText& path) {
  return MayChange() && PlatformAppInterface::RemoveFolder(path);
}

} // namespace kor
