// WriterWatch: tells whether somebody else writes a file that is being read, so that half a program
// is not taken for a whole one. It is made before the file is read and asked afterwards, on the
// worker's thread.
#pragma once

#include <optional>

#include "files/checksum.h"
#include "services/core/kor_text.h"
#include "services/core/os_files.h"

namespace kor {

class WriterWatch {
 public:
  explicit WriterWatch(const KorText& watchedPath);

  // Whether the system named a writer at the beginning: reading the file is of no use then.
  bool IsHeld() const { return held; }
  // Whether there was such a writer, or the file is another one than at the beginning: by its size
  // and time, and by its content if it was less than two seconds old then. A time in the future
  // says nothing of a file's age.
  bool SawWriter() const;

 private:
  std::optional<FileCrc> ContentCrc() const;

  const KorText path;
  const std::optional<FileInfo> before;
  const bool held;
  std::optional<FileCrc> content; // of a young file
};

} // namespace kor
