// SpooledFile: the bytes of a source that has no length to go by, such as a pipe or a file that the
// system makes up while it is read, in a temporary file, where they can be read like any other's. A
// source that has a length stays where it is.
//
// It is for tools, since it waits for what comes. One thread uses it; the temporary file goes with
// the object.
#pragma once

#include <functional>

#include "files/file_result.h"
#include "files/simple_file.h"
#include "services/core/kor_text.h"

namespace kor {

class SpooledFile {
 public:
  // Reads to the end, or until goesOn says no.
  SpooledFile(const KorText& source, const std::function<bool()>& goesOn);
  ~SpooledFile();
  SpooledFile(const SpooledFile&) = delete;
  SpooledFile& operator=(const SpooledFile&) = delete;

  // Success also for a source that can't be opened: whoever opens the path is told why. Failure
  // when goesOn said no.
  FileResult Result() const { return result; }
  // The file to read: the source itself, or the temporary file.
  const KorText& Path() const { return path; }

 private:
  FileResult Copy(OsFile& stream, const std::function<bool()>& goesOn);
  bool Store(SimpleFile& copy, std::span<const std::uint8_t> bytes);

  KorText path;
  bool isTemporary = false;
  FileResult result = FileResult::Success;
};

} // namespace kor
