#include "ui/wx/native_dialogs.h"

#include <string_view>

#include <wx/msw/private.h>

namespace kor {

namespace {

// Finds a dialog of the system, not one of the toolkit's, which has the same class. The innermost
// one is the one that is enabled.
BOOL CALLBACK CancelIfNative(HWND window, LPARAM found) {
  wchar_t name[16] = {};
  ::GetClassNameW(window, name, 16);
  if (std::wstring_view(name) != L"#32770" || wxFindWinFromHandle(window) ||
      !::IsWindowVisible(window) || !::IsWindowEnabled(window))
    return TRUE;
  // A question with yes and no can only be left by "no".
  ::PostMessageW(window, WM_COMMAND, ::GetDlgItem(window, IDCANCEL) ? IDCANCEL : IDNO, 0);
  *reinterpret_cast<bool*>(found) = true;
  return TRUE;
}

} // namespace

bool CancelNativeDialogs() {
  bool found = false;
  ::EnumThreadWindows(::GetCurrentThreadId(), CancelIfNative, reinterpret_cast<LPARAM>(&found));
  return found;
}

// A modal window takes the input only of windows that existed before it.
void LetBeAnswered(wxWindow*) {}

} // namespace kor
