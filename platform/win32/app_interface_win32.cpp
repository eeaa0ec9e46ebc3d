#include "platform/win32/app_interface_win32.h"

#include <windows.h>

#include "platform/win32/wide_text.h"

namespace kor {

void Win32AppInterface::DebugOutput(const KorText& text) {
  OutputDebugStringW(ToWide(text).c_str());
}

} // namespace kor
