// A hand at another program's windows, on Windows: answers each command with a line.
//   click N      the mouse presses and releases the button at control N, or window N's at its left
//   key N        presses and releases a key of that virtual-key code, where the keyboard is
//   text N       what control N shows
//   checked N    yes or no
//   windows      titles and texts of all visible windows
//   close        asks all windows of a host to close, hidden ones as well, as taskkill does; "none"
//                when there is no host
//   log-off      tells the hosts' windows, hidden ones as well, that the session ends; "gone"
//                when one went before it had answered
// Controls are found by their numbers; "none" when no visible window has it enabled.
#include <windows.h>

#include <algorithm>
#include <iostream>
#include <string>

namespace {

std::string ToUtf8(const std::wstring& text) {
  std::string bytes(4 * text.size(), '\0');
  bytes.resize(static_cast<std::size_t>(
      WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                          static_cast<int>(bytes.size()), nullptr, nullptr)));
  return bytes;
}

// Asked of the control itself: another program's may not be read directly.
std::string TextOf(HWND window) {
  std::wstring text(4096, L'\0');
  DWORD_PTR length = 0;
  SendMessageTimeoutW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()),
                      SMTO_ABORTIFHUNG, 2000, &length);
  text.resize(length);
  std::replace(text.begin(), text.end(), L'\n', L' '); // an answer is one line
  return ToUtf8(text);
}

struct Search {
  int number = 0;
  HWND found = nullptr;
};

BOOL CALLBACK LookAtChild(HWND window, LPARAM parameter) {
  Search& search = *reinterpret_cast<Search*>(parameter);
  if (GetDlgCtrlID(window) == search.number && IsWindowVisible(window) && IsWindowEnabled(window))
    search.found = window;
  return search.found == nullptr;
}

BOOL CALLBACK LookInWindow(HWND window, LPARAM parameter) {
  if (IsWindowVisible(window)) EnumChildWindows(window, LookAtChild, parameter);
  return reinterpret_cast<Search*>(parameter)->found == nullptr;
}

HWND Find(int number) {
  Search search{number};
  EnumWindows(LookInWindow, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

void Click(HWND control) {
  SetForegroundWindow(GetAncestor(control, GA_ROOT));
  RECT place{};
  GetWindowRect(control, &place);
  SetCursorPos(place.left + 12, (place.top + place.bottom) / 2);
  for (const DWORD part : {MOUSEEVENTF_LEFTDOWN, MOUSEEVENTF_LEFTUP}) {
    INPUT input{};
    input.type = INPUT_MOUSE;
    input.mi.dwFlags = part;
    SendInput(1, &input, sizeof input);
  }
}

void Press(WORD key) {
  for (const DWORD part : {DWORD{0}, DWORD{KEYEVENTF_KEYUP}}) {
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.dwFlags = part;
    SendInput(1, &input, sizeof input);
  }
}

BOOL CALLBACK TellText(HWND window, LPARAM) {
  if (const std::string text = TextOf(window); IsWindowVisible(window) && !text.empty())
    std::cout << text << " | ";
  return TRUE;
}

BOOL CALLBACK TellWindow(HWND window, LPARAM) {
  if (!IsWindowVisible(window)) return TRUE;
  TellText(window, 0);
  EnumChildWindows(window, TellText, 0);
  return TRUE;
}

DWORD ProcessOf(HWND window) {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  return process;
}

// "ncedl-console" is the console's hidden window; the window's own and hidden ones begin with "wx".
std::wstring KindOf(HWND window) {
  wchar_t name[16] = {};
  GetClassNameW(window, name, 16);
  return name;
}

BOOL CALLBACK LookForHost(HWND window, LPARAM process) {
  const bool isWindow = IsWindowVisible(window) && KindOf(window).starts_with(L"wx");
  if (!isWindow && KindOf(window) != L"ncedl-console") return TRUE;
  *reinterpret_cast<DWORD*>(process) = ProcessOf(window);
  return FALSE;
}

BOOL CALLBACK CloseWindowOf(HWND window, LPARAM process) {
  if (ProcessOf(window) == static_cast<DWORD>(process)) PostMessageW(window, WM_CLOSE, 0, 0);
  return TRUE;
}

bool CloseHost() {
  DWORD process = 0;
  EnumWindows(LookForHost, reinterpret_cast<LPARAM>(&process));
  if (process) EnumWindows(CloseWindowOf, static_cast<LPARAM>(process));
  return process != 0;
}

BOOL CALLBACK EndSession(HWND window, LPARAM gone) {
  DWORD_PTR result = 0;
  if (KindOf(window).starts_with(L"wx") || KindOf(window) == L"ncedl-console")
    for (const UINT message : {WM_QUERYENDSESSION, WM_ENDSESSION})
      if (!SendMessageTimeoutW(window, message, TRUE, 0, SMTO_NORMAL, 10'000, &result))
        *reinterpret_cast<bool*>(gone) = true;
  return TRUE;
}

bool EndSessions() {
  bool gone = false;
  EnumWindows(EndSession, reinterpret_cast<LPARAM>(&gone));
  return gone;
}

std::string Answer(const std::string& command, int number) {
  if (command == "windows") {
    EnumWindows(TellWindow, 0);
    return {};
  }
  if (command == "close") return CloseHost() ? "closed" : "none";
  if (command == "log-off") return EndSessions() ? "gone" : "told";
  if (command == "key") return Press(static_cast<WORD>(number)), "pressed";
  const HWND control = Find(number);
  if (!control) return "none";
  if (command == "click") return Click(control), "clicked";
  if (command == "text") return TextOf(control);
  return SendMessageW(control, BM_GETCHECK, 0, 0) == BST_CHECKED ? "yes" : "no";
}

} // namespace

int main() {
  std::string command;
  while (std::cin >> command) {
    int number = 0;
    if (command != "windows" && command != "close" && command != "log-off") std::cin >> number;
    std::cout << Answer(command, number) << std::endl;
  }
}
