#include "platform/console_terminal.h"

#include <windows.h>

#include <array>
#include <cstdlib>
#include <string>
#include <thread>

#include "platform/win32/wide_text.h"

namespace kor {

namespace {

// Windows calls the control handler on a thread of its own and knows no user pointer.
std::function<void(TerminalEvent)> eventHandler;
HANDLE endedEvent = nullptr; // set when the program is through with its ending

constexpr DWORD kEndingTime = 4500; // milliseconds; Windows ends the process after five seconds

// After closing, logging off or shutting down the process ends as soon as this returns.
BOOL WINAPI OnControl(DWORD event) {
  if (!eventHandler) return FALSE;
  const bool interrupt = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  eventHandler(interrupt ? TerminalEvent::Interrupt : TerminalEvent::End);
  if (!interrupt) WaitForSingleObject(endedEvent, kEndingTime);
  return TRUE;
}

// Windows tells a program with user32.dll in it of the session's end by its windows, not by the
// control handler. shell32.dll brings user32.dll into all of ours.
LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM parameter, LPARAM more) {
  if (message == WM_ENDSESSION && parameter != 0) {
    OnControl(CTRL_SHUTDOWN_EVENT);
    Sleep(INFINITE); // until the process has ended: nothing is begun beside that
  }
  if (message == WM_CLOSE) return OnControl(CTRL_CLOSE_EVENT), 0; // taskkill asks in this way
  return DefWindowProcW(window, message, parameter, more);
}

// A hidden window, on a thread of its own.
void WaitForEndOfSession() {
  WNDCLASSW kind{};
  kind.lpfnWndProc = OnMessage;
  kind.hInstance = GetModuleHandleW(nullptr);
  kind.lpszClassName = L"ncedl-console";
  RegisterClassW(&kind);
  if (!CreateWindowExW(0, kind.lpszClassName, nullptr, WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr,
                       kind.hInstance, nullptr))
    return;
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) > 0)
    DispatchMessageW(&message);
}

bool IsConsole(HANDLE handle) {
  DWORD mode = 0;
  return GetConsoleMode(handle, &mode) != 0;
}

void WriteAll(HANDLE handle, std::string_view text) {
  while (!text.empty()) {
    DWORD count = 0;
    const auto wanted = static_cast<DWORD>(text.size());
    if (!WriteFile(handle, text.data(), wanted, &count, nullptr) || count == 0) return;
    text.remove_prefix(count);
  }
}

class Win32Terminal : public Terminal {
 public:
  Win32Terminal()
      : input(GetStdHandle(STD_INPUT_HANDLE)), output(GetStdHandle(STD_OUTPUT_HANDLE)),
        diagnostics(GetStdHandle(STD_ERROR_HANDLE)) {}
  ~Win32Terminal() override { Win32Terminal::StopKeys(); }

  bool IsInteractive() const override { return IsConsole(input) && IsConsole(output); }

  bool HasColours() const override {
    const wchar_t* unwanted = _wgetenv(L"NO_COLOR");
    return IsConsole(diagnostics) && (!unwanted || !*unwanted);
  }

  std::unique_ptr<LineEditor> MakeLineEditor() override { return nullptr; }

  void StartKeys() override {
    DWORD outputMode = 0;
    if (GetConsoleMode(output, &outputMode))
      SetConsoleMode(output, outputMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    if (!GetConsoleMode(input, &before)) return;
    const DWORD keys = before & ~static_cast<DWORD>(ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT);
    keysStarted = SetConsoleMode(input, keys) != 0;
  }

  // The front end's last call: by then the engine has ended.
  void StopKeys() override {
    if (keysStarted) SetConsoleMode(input, before);
    keysStarted = false;
    if (endedEvent) SetEvent(endedEvent);
  }

  int Columns() const override {
    constexpr int kUsual = 80;
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!GetConsoleScreenBufferInfo(output, &info)) return kUsual;
    return info.srWindow.Right - info.srWindow.Left + 1;
  }

  std::size_t Read(std::span<char> to) override {
    if (IsConsole(input)) return ReadKeys(to);
    DWORD count = 0;
    const auto room = static_cast<DWORD>(to.size());
    return ReadFile(input, to.data(), room, &count, nullptr) ? count : 0;
  }

  void Write(std::string_view text) override { WriteAll(output, text); }
  void WriteError(std::string_view text) override { WriteAll(diagnostics, text); }

  void OnEvent(std::function<void(TerminalEvent)> onEvent) override {
    eventHandler = std::move(onEvent);
    endedEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(OnControl, TRUE);
    std::thread(WaitForEndOfSession).detach();
  }

 private:
  // Reads in the console's own 16 bits: its conversion to UTF-8 loses what is beyond ASCII. A read
  // that Ctrl-Break breaks off is not the end.
  std::size_t ReadKeys(std::span<char> to) {
    std::array<wchar_t, 128> units{}; // at most three bytes each
    std::wstring typed;
    while (typed.empty() || IS_HIGH_SURROGATE(typed.back())) {
      DWORD count = 0;
      const auto room = static_cast<DWORD>(typed.empty() ? units.size() : 1);
      SetLastError(ERROR_SUCCESS);
      if (!ReadConsoleW(input, units.data(), room, &count, nullptr)) return 0;
      if (count == 0 && GetLastError() != ERROR_OPERATION_ABORTED) return 0;
      typed.append(units.data(), count);
    }
    const std::string bytes = FromWide(typed).ToUtf8();
    return bytes.copy(to.data(), to.size());
  }

  HANDLE input, output, diagnostics;
  DWORD before = 0;
  bool keysStarted = false;
};

} // namespace

std::shared_ptr<Terminal> MakeConsoleTerminal() {
  return std::make_shared<Win32Terminal>();
}

} // namespace kor
