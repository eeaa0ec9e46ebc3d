#include "tools/nce_controller/program_file.h"

#include "files/kor_file.h"
#include "services/core/app_interface.h"
#include "services/core/as_bytes.h"

namespace kor::controller {
namespace {

std::string Failure(const KorText& path) {
  return path.ToUtf8() + ": " + App().ErrorText(App().LastError()).ToUtf8();
}

} // namespace

std::string LoadProgram(const KorText& path, std::string& content) {
  const auto file = App().OpenFile(path, FileAccess::Read);
  if (!file) return Failure(path);
  const auto size = file->Size();
  if (!size) return Failure(path);
  content.resize(static_cast<std::size_t>(*size));
  const std::span bytes(reinterpret_cast<std::uint8_t*>(content.data()), content.size());
  if (file->Read(bytes) != content.size()) return Failure(path);
  return {};
}

std::string StoreProgram(const KorText& path, std::string_view content) {
  KorFile file(path);
  const bool isStored =
      file.OpenSafe() && file.Write(AsBytes(content)) == content.size() && file.Commit();
  return isStored ? std::string() : Failure(path);
}

} // namespace kor::controller
