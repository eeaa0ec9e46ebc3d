// Lock files keep two users from writing the same file: NAME with its extension replaced, holding
// the name of the user who edits it. The lock is advisory; it protects only against writers that
// follow the same protocol, and it stays behind when its owner is killed, until a user removes it.
//
// One thread at a time per lock; the asker is called on that thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "files/simple_file.h"
#include "services/core/kor_text.h"

namespace kor {

enum class LockAnswer : std::int32_t { Cancel = 2, Retry = 4 };

// The window that a lock is taken for.
struct LockAsker {
  // Shows the question with the buttons retry and cancel.
  std::function<LockAnswer(const KorText& heading, const KorText& message)> ask;
  // Shows the busy state: on during the protocol, off while a question is shown. May be empty.
  std::function<void(bool busy)> setBusy;
};

// Takes the lock of the file: makes the lock file and writes the user's name into it (the operating
// system's when none is given). Returns the closed file object that names the lock file, or null.
// Without an asker, a lock that can't be had ends in null at once; with one, the user is asked
// until the lock can be had or until the user gives up.
std::unique_ptr<SimpleFile> LockFile(const KorText& name, const LockAsker* asker,
                                     const KorText& extension = u".LOK",
                                     const KorText& userName = {});

// Removes the lock file. False when it could not be removed; the object is gone in either case.
bool UnlockFile(std::unique_ptr<SimpleFile> lock);

} // namespace kor
