// ncedl-setup's command line.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "services/core/kor_text.h"

namespace kor {

struct SetupOptions {
  std::optional<KorText> mainFolder; // as written
  KorText name;                      // of the configuration; empty: kept, or the folder's name
  KorText guid;                      // "{...}", upper case; empty: kept, or a new one
  bool makeDefault = true;
  std::vector<std::pair<KorText, KorText>> ports; // "COMn" and its device; an empty one removes
  std::optional<KorText> language;                // code; empty: the system's
  bool list = false;
  bool help = false;
};

// Nothing, with the reason in error, for a command line that means nothing.
std::optional<SetupOptions> ReadSetupOptions(const std::vector<KorText>& words, KorText& error);

extern const char16_t kSetupHelp[];

} // namespace kor
