#include "ui/wx/display_loss.h"

#include <wx/msw/wrapwin.h> // <windows.h>, as the toolkit wants it

namespace kor {

namespace {

LRESULT CALLBACK LookAtMessage(int code, WPARAM removed, LPARAM parameter) {
  MSG& message = *reinterpret_cast<MSG*>(parameter);
  if (code == HC_ACTION && message.message == WM_CLOSE && !IsWindowVisible(message.hwnd))
    message.message = WM_NULL;
  return CallNextHookEx(nullptr, code, removed, parameter);
}

} // namespace

bool FindDisplay() {
  return true;
}

void CallWhenDisplayIsLost(void (*)()) {}

void KeepHiddenWindows() {
  SetWindowsHookExW(WH_GETMESSAGE, &LookAtMessage, nullptr, GetCurrentThreadId());
}

} // namespace kor
