// kordict's command line.
#pragma once

#include <optional>
#include <vector>

#include "services/core/kor_text.h"
#include "services/dictionary/text_entry.h"

namespace kor {

struct KordictOptions {
  KorText command;                // empty with help
  std::vector<KorText> arguments; // after the command
  KorText dictionary = u"diction.ary";
  KorText language; // code; empty: all
  KorText english;  // the file whose English texts hold
  std::vector<TextLanguage> newLanguages;
  bool withoutBackup = false;
  bool help = false;
};

// Nothing, with the reason in error, for a command line that means nothing.
std::optional<KordictOptions> ReadKordictOptions(const std::vector<KorText>& words, KorText& error);

extern const char16_t kKordictHelp[];

} // namespace kor
