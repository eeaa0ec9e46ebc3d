#include "files/lock_file.h"

#include "files/paths.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {
namespace {

void SetBusy(const LockAsker* asker, bool busy) {
  if (asker != nullptr && asker->setBusy) asker->setBusy(busy);
}

bool AskForRetry(const LockAsker* asker, const KorText& message) {
  if (asker == nullptr || !asker->ask) return false;
  SetBusy(asker, false);
  const LockAnswer answer = asker->ask(LookUpText(kTexts.problem), message);
  SetBusy(asker, true);
  return answer == LockAnswer::Retry;
}

KorText LockOwner(const KorText& path) {
  SimpleFile file(path);
  KorText owner;
  if (file.Open(kFileRead | kFileText)) file.ReadLine(owner);
  return owner;
}

// Making the file is what takes the lock: only one of two who try at once succeeds.
bool MakeLockFile(SimpleFile& file, const KorText& userName) {
  if (!file.Open(kFileWrite | kFileText | kFileNew)) return false;
  const bool written = file.WriteText(userName.IsEmpty() ? App().UserName() : userName);
  if (file.Close() && written) return true;
  App().RemoveFile(file.Name());
  return false;
}

std::unique_ptr<SimpleFile> TakeLock(const KorText& name, const KorText& path,
                                     const LockAsker* asker, const KorText& userName) {
  auto lock = std::make_unique<SimpleFile>(path);
  for (;;) {
    if (!App().FileExists(path) && MakeLockFile(*lock, userName)) return lock;
    const KorText message =
        App().FileExists(path)
            ? KorText::Format(u"%s\n\n%s %s", name, LookUpText(kTexts.lockedBy), LockOwner(path))
            : KorText::Format(u"%s\n\n%s", name, LookUpText(kTexts.unableToLock));
    if (!AskForRetry(asker, message)) return nullptr;
  }
}

} // namespace

std::unique_ptr<SimpleFile> LockFile(const KorText& name, const LockAsker* asker,
                                     const KorText& extension, const KorText& userName) {
  SetBusy(asker, true);
  auto lock = TakeLock(name, ReplaceExtension(name, extension), asker, userName);
  SetBusy(asker, false);
  return lock;
}

bool UnlockFile(std::unique_ptr<SimpleFile> lock) {
  return lock && App().RemoveFile(lock->Name());
}

} // namespace kor
