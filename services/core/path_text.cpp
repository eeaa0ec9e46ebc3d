#include "services/core/path_text.h"

namespace kor {

KorText FolderOfPath(const KorText& path) {
  const std::size_t cut = path.View().find_last_of(u"/\\");
  return cut == KorText::kNone ? KorText() : path.Left(cut + 1);
}

KorText FileNameOfPath(const KorText& path) {
  return path.Mid(FolderOfPath(path).Length());
}

KorText WithTrailingSlash(KorText folder) {
  const bool isOpen = !folder.IsEmpty() && folder.Last() != u'/' && folder.Last() != u'\\';
  if (isOpen) folder += u'/';
  return folder;
}

} // namespace kor
