// TestApp: the services object of the tests. Files are real, in a fresh folder that goes away with the
// object; the clock is moved by hand; the registry is in memory; messages, warnings and diagnostic
// lines are kept. Faults can be put between the code under test and its files.
//
// Installs itself with SetApp while it lives. Every operation may be called from any thread, except
// the settings of faults, which belong before the code under test starts.
#pragma once

#include <atomic>
#include <functional>
#include <map>

#include "platform/platform.h"
#include "tests/support/disk_image.h"
#include "tests/support/text_printer.h" // IWYU pragma: keep

namespace kor {

class TestApp : public PlatformAppInterface {
 public:
  struct Warning {
    KorText message;
    KorText info;
    friend bool operator==(const Warning&, const Warning&) = default;
  };

  TestApp();
  ~TestApp() override;

  // --- Folders ---
  // The fresh folder with a trailing "/", or the path of a name in it. The property folders below it
  // are "start-in", "temp", "settings", "program" and "data"; all exist.
  const KorText& Root() const { return root; }
  KorText Path(std::u16string_view name) const { return root + name; }
  // The whole content of a file as bytes (characters 0 to 255); std::nullopt when it can't be read.
  std::optional<KorText> Content(const KorText& path);
  // Makes the file, with its folders, past all faults.
  void Put(const KorText& path, const KorText& bytes);
  // Names in a folder (folders with a trailing "/"), sorted.
  std::vector<KorText> Names(const KorText& folder);

  // --- Clock ---
  void Advance(double seconds); // every clock; negative: back
  void SetUtc(FileTime utc) { wallClock = utc; }
  void SetUtc(const SystemTime& utc) { wallClock = SystemTimeToFileTime(utc); }
  void SetZoneMinutes(int minutes) { zoneMinutes = minutes; } // east of UTC; 0 at start

  // --- What was reported ---
  std::vector<MessageRecord> Messages();
  std::vector<Warning> Warnings();
  std::vector<KorText> DebugLines();
  void ForgetReports();
  // What Report answers instead of the record's number.
  void SetAnswer(std::optional<std::int32_t> toGive) { answer = toGive; }

  // --- Faults ---
  // Refuses to open files whose path holds the text (access denied); for writing only, if so chosen.
  void RefuseOpening(const KorText& part, bool forWritingOnly = false);
  // Runs each time before a file whose path holds the text is opened, on the thread that opens it.
  void WhenOpening(const KorText& part, std::function<void()> action);
  // All files together take that many bytes more; then writes come up short and the disk is full.
  void LimitWrites(std::optional<std::uint64_t> bytes);
  // Of each file, reading ends with an error after that many bytes.
  void LimitReads(std::optional<std::uint64_t> bytes);
  void FailSync(bool fail) { failSync = fail; }
  void FailClose(bool fail) { failClose = fail; }
  void FailRename(bool fail) { failRename = fail; }
  void FailSize(bool fail) { failSize = fail; } // files open, but don't tell how long they are
  // The changes that succeed before the power goes; from then on every change fails. A change is
  // making, writing to, syncing, closing after writing, renaming or removing a file or folder.
  void CutPowerAfter(std::optional<int> changes);
  int Changes() const { return changeCount; } // since CutPowerAfter was last called
  void ClearFaults();
  // From now on all that is there is on the disk, and changes reach it as they do a real one.
  void WatchDisk();
  // What a power cut now would leave; each state can be made the folder's content.
  std::set<DiskImage::Files> DiskStates();
  void RestoreDisk(const DiskImage::Files& files);

  void SetUserName(const KorText& name) { userName = name; }
  void SetUserLanguage(const KorText& language) { userLanguage = language; }
  // The environment is empty but for these; before the code under test starts.
  void SetEnvironment(const KorText& name, const KorText& value) { environment[name] = value; }

  // --- AppInterface ---
  KorText Start(const KorText& applicationName, const KorText& version) override;
  void FindFolders(const KorText&) override {} // they are fixed
  std::int32_t Report(const MessageRecord& record) override;
  void DebugWarning(const KorText& message, const KorText& info) override;
  void DebugOutput(const KorText& text) override;
  KorText PublicDocumentsFolder() override { return root + u"public/"; }
  std::optional<std::uint32_t> ReadRegistryNumber(const KorText& key,
                                                  const KorText& value) override;
  std::optional<KorText> ReadRegistryText(const KorText& key, const KorText& value) override;
  bool WriteRegistryNumber(const KorText& key, const KorText& value, std::uint32_t number) override;
  bool WriteRegistryText(const KorText& key, const KorText& value, const KorText& text) override;
  std::vector<KorText> ListRegistrySubKeys(const KorText& key) override;
  FileTime CurrentFileTime() override { return wallClock; }
  FileTime FileTimeToLocal(FileTime utc) override;
  KorText FormatDate(const SystemTime& time) override; // "21/11/2026"
  KorText FormatTime(const SystemTime& time) override; // "13:05:09"
  std::uint32_t TickCount() override;
  double HighResolutionSeconds() override;
  void SleepMilliseconds(std::uint32_t milliseconds) override { Advance(milliseconds / 1000.0); }
  void LoadRegionalSettings() override { SetRegional({}); }
  KorText UserName() override { return userName; }
  KorText OperatingSystem() override { return u"Test system"; }
  KorText UserLanguage() override { return userLanguage; }
  KorText EnvironmentText(const KorText& name) override {
    const auto found = environment.find(name);
    return found == environment.end() ? KorText() : found->second;
  }
  std::unique_ptr<OsFile> OpenFile(const KorText& path, FileAccess access) override;
  bool RemoveFile(const KorText& path) override;
  bool RenameFile(const KorText& from, const KorText& to) override;
  bool CopyAttributes(const KorText& from, const KorText& to) override;
  bool CanReplaceFile(const KorText& path) override;
  bool MakeFolder(const KorText& path) override;
  bool RemoveFolder(const KorText& path) override;
  bool SyncFolder(const KorText& folder) override;

 private:
  friend class TestFile;
  struct FoldedOrder {
    bool operator()(const KorText& a, const KorText& b) const { return a.CompareNoCase(b) < 0; }
  };
  struct RegistryValue {
    KorText text;
    std::optional<std::uint32_t> number;
  };
  using RegistryKeyValues = std::map<KorText, RegistryValue, FoldedOrder>;

  std::optional<RegistryValue> FindValue(const KorText& key, const KorText& value);
  bool IsRefused(const KorText& path, FileAccess access);
  bool MayChange(); // counts the change
  std::size_t TakeWriteBudget(std::size_t wanted);

  KorText root;
  std::atomic<FileTime> wallClock;
  std::atomic<std::int64_t> monotonicNanoseconds = 1'000'000'000;
  std::atomic<int> zoneMinutes = 0;
  std::optional<std::int32_t> answer;
  KorText userName = u"tester";
  KorText userLanguage = u"en-GB";
  std::map<KorText, KorText> environment;
  std::pair<KorText, std::function<void()>> whenOpening;
  std::atomic<bool> failSync = false, failClose = false, failRename = false, failSize = false;
  std::atomic<int> changeCount = 0;

  Mutex testMutex;
  std::vector<MessageRecord> messages KOR_GUARDED_BY(testMutex);
  std::vector<Warning> warnings KOR_GUARDED_BY(testMutex);
  std::vector<KorText> debugLines KOR_GUARDED_BY(testMutex);
  std::map<KorText, RegistryKeyValues, FoldedOrder> registry KOR_GUARDED_BY(testMutex);
  std::vector<std::pair<KorText, bool>> refused KOR_GUARDED_BY(testMutex);
  std::optional<std::uint64_t> writeLimit KOR_GUARDED_BY(testMutex);
  std::optional<std::uint64_t> readLimit KOR_GUARDED_BY(testMutex);
  std::optional<int> changesLeft KOR_GUARDED_BY(testMutex);
  std::optional<DiskImage> disk KOR_GUARDED_BY(testMutex);
};

} // namespace kor
