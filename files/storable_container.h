// StorableContainer: a stored object that owns a file. It loads and saves it, knows whether there
// are unsaved changes and whether the file changed meanwhile on disk, and holds its lock file while
// it is edited.
//
// Life: empty; Load gives it its path; Customise (path needed) makes sure that it is locked and up
// to date before it is edited; Save writes to that path only; ResetFlags takes it back to having
// none. Locks nest: the lock file lives from the first Lock to the last Unlock. A Lock that fails
// counts as well and wants its Unlock.
//
// Misuse gives a debug warning; only a refused save and a too early Customise fail for it. One
// thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "files/disk_file.h"
#include "files/lock_file.h"
#include "files/storable.h"

namespace kor {

// Flags of Load and Save; the others are the concrete container's.
enum ContainerFlag : std::uint32_t {
  kLoadReset = 1, // ResetFlags first
};

// What StreamOptions combines.
enum StreamOption : std::uint32_t {
  kStreamWideSizes = 1,
  kStreamRevision1 = 2,
  kStreamCompressed = 4,
};

class StorableContainer : public Storable {
 public:
  StorableContainer() = default;
  ~StorableContainer() override; // releases the lock
  StorableContainer(const StorableContainer&) = delete;
  StorableContainer& operator=(const StorableContainer&) = delete;

  // Loads the file. A failed load leaves the stored fields as they were.
  bool Load(const KorText& asked, const LockAsker* parent = nullptr, std::uint32_t flags = 0);
  // Writes beside the file and renames over it: the file is the old one or the new one, whatever
  // happens.
  bool Save(const KorText& asked, const LockAsker* parent = nullptr, std::uint32_t flags = 0);
  // Takes the lock. With a parent, the user is told of a failure; non-zero flags choose the text
  // for editing.
  bool Lock(const KorText& asked, const LockAsker* parent, std::uint32_t flags = 0);
  bool Unlock();
  // alreadyLocked: whether the caller holds the lock; set when it was taken here, for the caller to
  // give back.
  bool Customise(const LockAsker* parent, bool& alreadyLocked, std::uint32_t flags = 0);
  void ResetFlags();

  const KorText& Path() const { return path; }
  FileTime TimeStamp() const { return timeStamp; } // of the file as last loaded or saved; 0: none
  bool NeedsSaving() const { return needsSaving || ChangeCount() != 0; }
  void SetNeedsSaving(bool needs) { needsSaving = needs; }
  std::int32_t LockCount() const { return lockCount; }
  bool IsLoading() const { return loading; }
  void SetProgress(ProgressInfo info) { progress = std::move(info); }

  // --- What a concrete container decides ---------------------------------------------------------
  virtual bool UsesLocking() const { return true; }
  virtual KorText LockFileExtension() const { return u".LOK"; }
  virtual std::uint32_t StreamOptions() const = 0;
  virtual std::vector<std::uint32_t> FileTypes() const = 0; // as RecordFormat::fileTypes
  // The path to load from or save to, given what the caller asked for; also the name in messages.
  // Empty: there is none.
  virtual KorText FilePath(const KorText& asked) const = 0;
  virtual void FirstHook() {}
  virtual void LoadBegins(const KorText&) {}
  virtual void SecondHook() {}
  // Without a path the answer is no; without a time stamp it is whether the file exists.
  virtual bool FileChangedOnDisk() const;

 private:
  RecordFileOptions FileOptions() const;
  bool CheckLock(const KorText& name, const LockAsker* parent, std::uint32_t flags) const;
  void Settle(const KorText& newPath);

  FileTime timeStamp = 0;
  bool needsSaving = false;
  KorText path;
  std::unique_ptr<SimpleFile> lock;
  std::int32_t lockCount = 0;
  bool loading = false;
  ProgressInfo progress;
};

} // namespace kor
