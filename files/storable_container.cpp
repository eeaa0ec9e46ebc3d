#include "files/storable_container.h"

#include "files/paths.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {
namespace {

constexpr char16_t kPlace[] = u"StorableContainer";

FileTime ModifiedTime(OsFiles& files, const KorText& file) {
  const auto info = files.Attributes(file);
  return info ? info->modified : 0;
}

bool IsSameFile(const KorText& a, const KorText& b) {
  return App().FileNamesIgnoreCase() ? ComparePaths(a, b) == 0 : a == b;
}

} // namespace

StorableContainer::~StorableContainer() {
  if (lock != nullptr) App().DebugWarning(u"Container Still Locked on deletion!", kPlace);
  if (NeedsSaving()) App().DebugWarning(u"Container Needs Saving on deletion!", kPlace);
  UnlockFile(std::move(lock));
}

RecordFileOptions StorableContainer::FileOptions() const {
  const std::uint32_t stream = StreamOptions();
  RecordFileOptions options;
  options.format.fileTypes = FileTypes();
  options.format.wideSizes = (stream & kStreamWideSizes) != 0;
  options.format.revision = (stream & kStreamRevision1) != 0 ? 1 : 2;
  options.compressed = (stream & kStreamCompressed) != 0;
  options.progress = progress;
  return options;
}

// After a load or a save, the contents are those of the file.
void StorableContainer::Settle(const KorText& newPath) {
  path = newPath;
  timeStamp = ModifiedTime(App().Files(), path);
  needsSaving = false;
  ClearChanges();
}

bool StorableContainer::Load(const KorText& asked, const LockAsker*, std::uint32_t flags) {
  const KorText from = FilePath(asked);
  if (from.IsEmpty()) return false;
  LoadBegins(from);
  if ((flags & kLoadReset) != 0) ResetFlags();
  if (NeedsSaving()) App().DebugWarning(u"Changes Pending on Load", kPlace);
  loading = true;
  const bool loaded = LoadObject(from, *this, FileOptions());
  loading = false;
  if (loaded) Settle(from);
  return loaded;
}

bool StorableContainer::Save(const KorText& asked, const LockAsker*, std::uint32_t) {
  const KorText to = FilePath(asked);
  if (to.IsEmpty()) return false;
  if (!path.IsEmpty() && !IsSameFile(to, path)) {
    App().DebugWarning(KorText::Format(u"Refusing to Save %s over %s", to, path), kPlace);
    return false;
  }
  if (!SaveObject(to, *this, FileOptions())) return false;
  Settle(to);
  return true;
}

bool StorableContainer::Lock(const KorText& asked, const LockAsker* parent, std::uint32_t flags) {
  if (!UsesLocking()) return true;
  const KorText name = FilePath(asked);
  if (lockCount == 0 && !name.IsEmpty()) lock = LockFile(name, parent, LockFileExtension());
  ++lockCount;
  return CheckLock(name, parent, flags);
}

bool StorableContainer::CheckLock(const KorText& name, const LockAsker* parent,
                                  std::uint32_t flags) const {
  if (lockCount >= 1 && lock != nullptr) return true;
  if (parent == nullptr) return false;
  const KorText reason =
      flags != 0 ? LookUpText(kTexts.notLockedForEditing) : LookUpText(kTexts.notLocked);
  MessageRecord record;
  record.level = MessageLevel::Warn;
  record.info = name;
  record.message = KorText::Format(u"%s\n\n%s", name, reason);
  App().Report(record);
  return false;
}

bool StorableContainer::Unlock() {
  if (!UsesLocking()) return true;
  if (--lockCount < 0) {
    lockCount = 0;
    App().DebugWarning(u"Container Lock count < 0!", kPlace);
  } else if (lockCount == 0 && lock != nullptr) {
    return UnlockFile(std::move(lock));
  }
  return true;
}

bool StorableContainer::Customise(const LockAsker* parent, bool& alreadyLocked,
                                  std::uint32_t flags) {
  if (path.IsEmpty()) {
    App().DebugWarning(u"Can't customise until after Load called!", kPlace);
    return false;
  }
  if (!UsesLocking()) return true;
  const bool lockedHere = !alreadyLocked;
  bool ready = alreadyLocked || Lock(path, parent, flags);
  if (ready && FileChangedOnDisk()) ready = Load(path, parent);
  if (!ready && lockedHere) Unlock();
  alreadyLocked = alreadyLocked || ready;
  return ready;
}

void StorableContainer::ResetFlags() {
  if (lock != nullptr) App().DebugWarning(u"Can't ResetFlags whilst locked!", kPlace);
  UnlockFile(std::move(lock));
  path.Clear();
  timeStamp = 0;
}

bool StorableContainer::FileChangedOnDisk() const {
  if (path.IsEmpty()) return false;
  if (timeStamp == 0) return App().FileExists(path);
  const FileTime present = ModifiedTime(App().Files(), path);
  return present != 0 && present != timeStamp;
}

} // namespace kor
