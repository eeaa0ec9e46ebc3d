#include "tools/ncedl_setup/host_system.h"

#include <algorithm>
#include <system_error>

namespace kor {

KorText FullPath(const KorText& path) {
  std::error_code error;
  std::filesystem::path full = std::filesystem::absolute(NativePath(path), error);
  // Behind a link ".." is not what it looks like.
  if (!error && std::ranges::find(full, "..") != full.end())
    full = std::filesystem::weakly_canonical(full, error);
  return error ? KorText() : TextOfPath(full.lexically_normal());
}

} // namespace kor
