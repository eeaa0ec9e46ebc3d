#include <windows.h>

#include <shellapi.h>

#include "platform/platform.h"
#include "platform/win32/wide_text.h"

namespace kor {

// main's arguments come in the ANSI code page; the system still has them as they were typed.
std::vector<KorText> ProgramArguments(int, char**) {
  std::vector<KorText> words;
  int count = 0;
  wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
  for (int i = 1; arguments && i < count; ++i)
    words.push_back(FromWide(arguments[i]));
  LocalFree(arguments);
  return words;
}

} // namespace kor
