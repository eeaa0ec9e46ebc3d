#include "link/upload_file.h"

#include <utility>

#include "services/core/app_interface.h"
#include "services/core/as_bytes.h"

namespace kor {

bool UploadFile::Open(const KorText& path) {
  Discard();
  auto opened = std::make_unique<KorFile>(path);
  opened->ReplaceLinks();
  if (!opened->OpenSafe(kFileWrite)) return false;
  file = std::move(opened);
  return true;
}

bool UploadFile::Write(std::string_view bytes) {
  return file && file->Write(AsBytes(bytes)) == bytes.size();
}

bool UploadFile::Commit() {
  const bool stored = file && file->Commit();
  file.reset();
  return stored;
}

void UploadFile::Discard() {
  if (file) file->Discard();
  file.reset();
}

void UploadFile::ClearAway(const KorText& folder) {
  if (!folder.IsEmpty()) RemoveAbandonedParts(App().Files(), folder);
}

} // namespace kor
