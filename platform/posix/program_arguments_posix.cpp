#include "platform/platform.h"

namespace kor {

std::vector<KorText> ProgramArguments(int argc, char** argv) {
  std::vector<KorText> words;
  for (int i = 1; i < argc; ++i)
    words.push_back(KorText::FromUtf8(argv[i]));
  return words;
}

} // namespace kor
