// korfile's command line.
#pragma once

#include <vector>

#include "services/command_line/command_line.h"

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
};

CommandLineAnswer ReadKorfileOptions(const std::vector<KorText>& words, KorfileOptions& options);

extern const char16_t kKorfileHelp[];

} // namespace kor
