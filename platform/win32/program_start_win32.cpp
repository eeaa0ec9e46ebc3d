#include "platform/program_start.h"

#include <csignal>
#include <cstdio>
#include <initializer_list>

#include <io.h>
#include <windows.h>

namespace kor {

namespace {

void OpenMissing(FILE* stream, const char* mode, DWORD which) {
  if (_fileno(stream) < 0 && !std::freopen("NUL", mode, stream)) return;
  const HANDLE handle = GetStdHandle(which);
  if (handle != nullptr && handle != INVALID_HANDLE_VALUE) return;
  SetStdHandle(which,
               CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                           nullptr, OPEN_EXISTING, 0, nullptr));
}

} // namespace

void PrepareProgram() {
  OpenMissing(stdin, "r", STD_INPUT_HANDLE);
  OpenMissing(stdout, "w", STD_OUTPUT_HANDLE);
  OpenMissing(stderr, "w", STD_ERROR_HANDLE);
}

void LetOthersComeForward() {
  AllowSetForegroundWindow(ASFW_ANY);
}

void CallAtEndSignal(void (*handler)(int)) {
  for (const int signal : {SIGINT, SIGTERM, SIGBREAK})
    std::signal(signal, handler);
}

} // namespace kor
