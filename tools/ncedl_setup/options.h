// ncedl-setup's command line.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "services/command_line/command_line.h"

namespace kor {

inline constexpr std::int32_t kLastPort = 255; // of COM1, COM2 ...

struct SetupOptions {
  std::optional<KorText> mainFolder; // as written
  KorText name;                      // of the configuration; empty: kept, or the folder's name
  KorText guid;                      // "{...}", upper case; empty: kept, or a new one
  bool makeDefault = true;
  std::vector<std::pair<KorText, KorText>> ports; // "COMn" and its device; an empty one removes
  std::optional<KorText> language;                // code; empty: the system's
  bool list = false;
  bool probe = false; // with list: connect to the lines over the network
};

CommandLineAnswer ReadSetupOptions(const std::vector<KorText>& words, SetupOptions& options);

extern const char16_t kSetupHelp[];

} // namespace kor
