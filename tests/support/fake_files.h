// FakeFiles: the platform's files, in a fresh folder that goes away with the object. Faults can be
// put between the code under test and its files.
//
// Every operation may be called from any thread, except the settings of faults, which belong before
// the code under test starts.
#pragma once

#include <atomic>
#include <functional>
#include <set>

#include "platform/platform.h"
#include "services/core/thread_annotations.h"
#include "tests/support/disk_image.h"
#include "tests/support/text_printer.h" // IWYU pragma: keep

namespace kor {

using Texts = std::vector<KorText>;

class FakeFiles : public PlatformFiles {
 public:
  FakeFiles();
  ~FakeFiles() override;

  // The fresh folder with a trailing "/", or the path of a name in it. It exists.
  const KorText& Root() const { return root; }
  KorText Path(std::u16string_view name) const { return root + name; }
  // The whole content of a file as bytes (characters 0 to 255); std::nullopt when it can't be read.
  std::optional<KorText> Content(const KorText& path);
  // Makes the file, with its folders, past all faults.
  void Put(const KorText& path, const KorText& bytes);
  // Names in a folder (folders with a trailing "/"), sorted.
  Texts Names(const KorText& folder);

  // --- Faults ---
  // Refuses to open files whose path holds the text (access denied); for writing only, if so
  // chosen.
  void RefuseOpening(const KorText& part, bool forWritingOnly = false);
  // Runs each time before a file or folder whose path holds the text is opened, listed or asked
  // for, on the thread that does it.
  void WhenOpening(const KorText& part, std::function<void()> action) {
    whenOpening = {part, std::move(action)};
  }
  // Has the system say that somebody writes the files whose path holds the text; an empty text
  // stands for none.
  void SetBeingWritten(const KorText& part) { beingWritten = part; }
  // All files together take that many bytes more; then writes come up short and the disk is full.
  void LimitWrites(std::optional<std::uint64_t> bytes) {
    const Lock lock(mutex);
    writeLimit = bytes;
  }
  std::uint64_t WritesLeft() { // of that limit
    const Lock lock(mutex);
    return writeLimit.value_or(0);
  }
  // Has reading any file end with an error after that many bytes.
  void LimitReads(std::optional<std::uint64_t> bytes) {
    const Lock lock(mutex);
    readLimit = bytes;
  }
  void FailSync(bool fail) { failSync = fail; }
  void FailClose(bool fail) { failClose = fail; }
  void FailRename(bool fail) { failRename = fail; }
  void FailSeek(bool fail) { failSeek = fail; }
  void FailLocks(bool fail) { failLocks = fail; } // of a file system that has none
  void FailSize(bool fail) { failSize = fail; }   // files open, but don't tell how long they are
  // The changes that succeed before the power goes; from then on every change fails. A change is
  // making, writing to, syncing, closing after writing, renaming or removing a file or folder.
  void CutPowerAfter(std::optional<int> changes);
  int Changes() const { return changeCount; } // since CutPowerAfter was last called
  void ClearFaults();
  // From now on all that is there is on the disk, and changes reach it as they do a real one.
  void WatchDisk();
  // Returns what a power cut now would leave; each state can be made the folder's content.
  std::set<DiskImage::Files> DiskStates();
  void RestoreDisk(const DiskImage::Files& files);

  // --- OsFiles ---
  std::unique_ptr<OsFile> Open(const KorText& path, FileAccess access) override;
  std::optional<FileInfo> Attributes(const KorText& path) override {
    TellOpening(path);
    return PlatformFiles::Attributes(path);
  }
  bool Remove(const KorText& path) override;
  bool Rename(const KorText& from, const KorText& to) override;
  bool CopyAttributes(const KorText& from, OsFile& to) override;
  bool CanReplace(const KorText& path) override;
  bool IsBeingWritten(const KorText& path) override {
    return beingWritten.IsEmpty() ? PlatformFiles::IsBeingWritten(path)
                                  : path.Contains(beingWritten);
  }
  bool MakeFolder(const KorText& path) override;
  bool RemoveFolder(const KorText& path) override;
  bool SyncFolder(const KorText& folder) override;

 protected:
  std::optional<std::vector<FileEntry>> ReadFolder(const KorText& folder,
                                                   const NameFilter& wanted) override;

 private:
  void TellOpening(const KorText& path);
  friend class TestFile;
  bool IsRefused(const KorText& path, FileAccess access);
  bool MayChange(); // counts the change
  std::size_t TakeWriteBudget(std::size_t wanted);

  KorText root;
  std::pair<KorText, std::function<void()>> whenOpening;
  KorText beingWritten;
  std::atomic<bool> failSync = false, failClose = false, failRename = false, failSeek = false,
                    failSize = false, failLocks = false;
  std::atomic<int> changeCount = 0;
  Mutex mutex;
  std::vector<std::pair<KorText, bool>> refused KOR_GUARDED_BY(mutex);
  std::optional<std::uint64_t> writeLimit KOR_GUARDED_BY(mutex);
  std::optional<std::uint64_t> readLimit KOR_GUARDED_BY(mutex);
  std::optional<int> changesLeft KOR_GUARDED_BY(mutex);
  std::optional<DiskImage> disk KOR_GUARDED_BY(mutex);
};

} // namespace kor
