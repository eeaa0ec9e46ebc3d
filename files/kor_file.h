// KorFile: the program's file class, a SimpleFile that can also write safely: beside its target,
// and then renamed over it. One thread at a time per object; owned by whoever made it.
#pragma once

#include <memory>

#include "files/simple_file.h"

namespace kor {

// The suffix of a file that is being written beside its target: "NAME.RANDOM.ncedl-part".
inline constexpr char16_t kPartSuffix[] = u".ncedl-part";

class KorFile : public SimpleFile {
 public:
  using SimpleFile::SimpleFile;
  ~KorFile() override; // discards what was not committed

  // Opens for writing beside the target, in the target's folder. The target is neither touched nor
  // created before Commit. The new file keeps the target's permissions, owner and group as far as
  // the system allows it. A symbolic link stays: the target is the file that it leads to, whether
  // or not that exists yet. Every write goes to the operating system at once, so that a full disk
  // shows by a short write; a caller that writes many small pieces turns the write cache on. The
  // mode is kFileWrite with any of the text bits. Compression is done by Commit. The result is also
  // false when the target can't be replaced (OsFiles::CanReplace).
  bool OpenSafe(std::uint32_t mode = kFileWrite, Compression compression = Compression::No);
  // Flushes, syncs the file, renames it over the target and syncs the folder. False when anything
  // failed, also an earlier write: the older target is whole then and nothing else is left. Closes
  // in either case.
  virtual bool Commit();
  // Gives up what was written. Closes.
  void Discard();
  // Gives up a safe write, as Discard does.
  bool Close() override;
  bool IsSafe() const { return safe; }
  // Makes a link that bears the file's name itself the target of a safe write: the link is gone
  // afterwards, and nothing outside the file's folder is touched. Call it before OpenSafe, and not
  // with compression.
  void ReplaceLinks() { followsLinks = false; }
  // Has OpenSafe claim an existing target until Commit: whoever has the target open for writing
  // would go on writing into what is replaced. Call it before OpenSafe, and not with compression.
  void HoldTarget() { holdsTarget = true; }

 private:
  bool CommitPart();

  bool safe = false;
  bool compressOnCommit = false;
  bool followsLinks = true;
  bool holdsTarget = false;
  std::unique_ptr<OsFile> heldTarget;
  KorText safeTarget; // what a safe write replaces
};

// Removes the files that writers left beside their targets when they were killed, and keeps those
// that a living process still writes. Where the file system has no locks to tell the two apart,
// what was written to within a day is kept. Whatever else bears such a name, a link above all,
// stays, and so does what it leads to. Returns how many it removed.
std::size_t RemoveAbandonedParts(OsFiles& files, const KorText& folder);

} // namespace kor
