#include "link/writer_watch.h"

#include "files/simple_file.h"
#include "link/nc_program.h"
#include "services/core/app_interface.h"

namespace kor {

namespace {

constexpr FileTime kYoung = 20'000'000; // two seconds: what some file systems round times to

// Nothing of a file that is too large to be sent is read, so it doesn't matter.
bool IsYoung(const FileInfo& file) {
  if (!file.isFile || file.size > NcProgram::kLargest) return false;
  const FileTime now = App().Clock().Utc();
  return file.modified <= now && now - file.modified < kYoung;
}

} // namespace

WriterWatch::WriterWatch(const KorText& watchedPath)
    : path(watchedPath), before(App().Files().Attributes(path)),
      held(before && before->isFile && App().Files().IsBeingWritten(path)) {
  if (before && !held && IsYoung(*before)) content = ContentCrc();
}

std::optional<FileCrc> WriterWatch::ContentCrc() const {
  FileCrc crc;
  return SimpleFile(path).GetFileCrc(crc) ? std::optional(crc) : std::nullopt;
}

bool WriterWatch::SawWriter() const {
  if (held) return true;
  const auto now = App().Files().Attributes(path);
  if (!before || !now) return false;
  const bool same = now->size == before->size && now->modified == before->modified;
  return !same || (content && ContentCrc() != content);
}

} // namespace kor
