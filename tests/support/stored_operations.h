// Everything that is stored beside its target and renamed over it, and what a power cut may leave
// of it. The power-cut test and the torture campaign share it.
#pragma once

#include "tests/support/nce_link.h"

namespace kor {

// The lines that are stored before and after, each with its LF.
struct StoredTexts {
  KorText older, newer;
};

struct StoredOperation {
  const char* name;
  const char16_t* target; // below the root
  void (*prepare)(NceLink&, const KorText& path, const StoredTexts&);
  bool (*run)(NceLink&, const KorText& path, const StoredTexts&); // true: reports success
};
std::span<const StoredOperation> StoredOperations();

using StoredContent = std::optional<std::string>; // none: no such file

// Returns the content as every reader of the program sees it: inflated. Damaged data never equals
// what was stored.
StoredContent InflatedContent(const KorText& path);

struct CutOutcome {
  bool success = false, finished = false;
  StoredContent older, newer; // inflated
  std::optional<KorText> storedOlder, storedNewer;
  std::set<DiskImage::Files> states;
};

// The operation from the start, with that many changes before the cut.
CutOutcome CutAfter(int changes, const StoredOperation& operation, NceLink& link,
                    const StoredTexts& texts);
// After each possible state of the disk, the next start: what is wrong then, or nothing.
std::string FindTorn(const StoredOperation& operation, NceLink& link, const CutOutcome& cut,
                     const CutOutcome& uncut);
// Part files in the folder of the path, a name per line.
std::string PartsBeside(NceLink& link, const KorText& path);

} // namespace kor
