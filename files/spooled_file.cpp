#include "files/spooled_file.h"

#include <vector>

#include "services/core/app_interface.h"

namespace kor {
namespace {

constexpr std::size_t kPiece = 0x10000;

// The system tells 0 for whatever it can't measure, and for an empty file.
bool HasNoLength(const KorText& path) {
  const std::optional<FileInfo> info = App().FileAttributes(path);
  return info && !info->isFolder && info->size == 0;
}

} // namespace

SpooledFile::SpooledFile(const KorText& source, const std::function<bool()>& goesOn)
    : path(source) {
  if (!HasNoLength(source)) return;
  const std::unique_ptr<OsFile> stream = App().OpenFile(source, FileAccess::Stream);
  if (stream) result = Copy(*stream, goesOn);
}

SpooledFile::~SpooledFile() {
  if (isTemporary) App().RemoveFile(path);
}

FileResult SpooledFile::Copy(OsFile& stream, const std::function<bool()>& goesOn) {
  std::vector<std::uint8_t> bytes(kPiece);
  SimpleFile copy;
  for (bool more = true; more;) {
    App().SetLastError(0);
    const std::size_t count = stream.Read(bytes);
    more = count == bytes.size();
    if (!more && App().LastError() != 0) return FileResult::SourceUnreadable;
    if (!Store(copy, std::span(bytes).first(count))) return FileResult::DestinationUnwritable;
    if (more && !goesOn()) return FileResult::Failure;
  }
  return copy.Close() ? FileResult::Success : FileResult::DestinationUnwritable;
}

bool SpooledFile::Store(SimpleFile& copy, std::span<const std::uint8_t> bytes) {
  if (!copy.IsOpen()) {
    path = App().GetTemporaryFilename();
    isTemporary = !path.IsEmpty();
    copy.SetName(path);
    if (!copy.Open(kFileWrite)) return false;
  }
  return copy.Write(bytes) == bytes.size();
}

} // namespace kor
