// WriterWatch: tells whether somebody else writes a file that is being read, so that half a program
// is not taken for a whole one. Made before the file is read, asked afterwards. Worker's thread.
#pragma once

#include <optional>

#include "files/checksum.h"
#include "services/core/kor_text.h"
#include "services/core/os_files.h"

namespace kor {

class WriterWatch {
 public:
  explicit WriterWatch(const KorText& watchedPath);

  // The system said so at the beginning: reading it is of no use.
  bool IsHeld() const { return held; }
  // That, or the file is another than at the beginning: by its size and time, and by its content if
  // it was less than two seconds old then. A time in the future says nothing of a file's age.
  bool SawWriter() const;

 private:
  std::optional<FileCrc> ContentCrc() const;

  const KorText path;
  const std::optional<FileInfo> before;
  const bool held;
  std::optional<FileCrc> content; // of a young file
};

} // namespace kor
