#include "platform/posix/app_interface_posix.h"

#include <cstdio>

namespace kor {

void PosixAppInterface::DebugOutput(const KorText& text) {
  if (!DebuggingEnabled()) return;
  const std::string bytes = text.ToUtf8();
  std::fwrite(bytes.data(), 1, bytes.size(), stderr);
}

} // namespace kor
