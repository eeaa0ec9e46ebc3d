// kordict's command line.
#pragma once

#include <vector>

#include "services/command_line/command_line.h"
#include "services/dictionary/text_entry.h"

namespace kor {

struct KordictOptions {
  KorText command;
  std::vector<KorText> arguments; // after the command
  KorText dictionary;             // empty: none was named
  KorText language;               // code; empty: all
  KorText english;                // the file whose English texts hold
  std::vector<TextLanguage> newLanguages;
  bool withoutBackup = false;
};

CommandLineAnswer ReadKordictOptions(const std::vector<KorText>& words, KordictOptions& options);

extern const char16_t kKordictHelp[];

} // namespace kor
