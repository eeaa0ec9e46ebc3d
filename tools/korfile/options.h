// korfile's command line.
#pragma once

#include <optional>
#include <vector>

#include "services/core/kor_text.h"

namespace kor {

enum class KorfileCommand { Compress, Restore, Info, Test, Crc };

struct KorfileOptions {
  KorfileCommand command = KorfileCommand::Info;
  std::vector<KorText> files;
  KorText target; // empty: in place
  unsigned threads = 0;
  bool json = false;
  bool contents = false;
  bool quiet = false;
  bool help = false;
};

// Nothing, with the reason in error, for a command line that means nothing.
std::optional<KorfileOptions> ReadKorfileOptions(const std::vector<KorText>& words, KorText& error);

extern const char16_t kKorfileHelp[];

} // namespace kor
