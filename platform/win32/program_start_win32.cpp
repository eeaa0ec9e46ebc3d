#include "platform/program_start.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include <io.h>
#include <windows.h>

#include "services/core/last_words.h"

namespace kor {

namespace {

constexpr DWORD kPatience = 1000; // milliseconds, with a program that was asked to end
bool outputIsMissing = false;
UINT codePageBefore = 0; // of the console, which is the caller's, too

// Some systems leave a program without a console the numbers of its caller's handles.
bool IsOpen(DWORD which) {
  const HANDLE handle = GetStdHandle(which);
  return handle != nullptr && handle != INVALID_HANDLE_VALUE &&
         GetFileType(handle) != FILE_TYPE_UNKNOWN;
}

void OpenMissing(FILE* stream, const char* mode, DWORD which) {
  const bool isOpen = IsOpen(which);
  if ((!isOpen || _fileno(stream) < 0) && !std::freopen("NUL", mode, stream)) return;
  if (isOpen) return;
  SetStdHandle(which,
               CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                           nullptr, OPEN_EXISTING, 0, nullptr));
}

// What is printed is UTF-8. A letter's bytes have to come in one piece; without a buffer each byte
// comes alone.
void PrintUtf8() {
  DWORD mode = 0;
  bool toConsole = false;
  for (FILE* const stream : {stdout, stderr}) {
    const DWORD which = stream == stdout ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE;
    if (!GetConsoleMode(GetStdHandle(which), &mode)) continue;
    std::setvbuf(stream, nullptr, _IOFBF, BUFSIZ);
    toConsole = true;
  }
  if (!toConsole) return;
  codePageBefore = GetConsoleOutputCP();
  SetConsoleOutputCP(CP_UTF8);
  std::atexit([] { SetConsoleOutputCP(codePageBefore); });
}

} // namespace

void PrepareProgram() {
  EndWithASentence();
  outputIsMissing = !IsOpen(STD_OUTPUT_HANDLE);
  OpenMissing(stdin, "r", STD_INPUT_HANDLE);
  OpenMissing(stdout, "w", STD_OUTPUT_HANDLE);
  OpenMissing(stderr, "w", STD_ERROR_HANDLE);
  PrintUtf8();
}

bool FindOutput() {
  if (!outputIsMissing) return true;
  if (!AttachConsole(ATTACH_PARENT_PROCESS)) return false;
  for (FILE* const stream : {stdout, stderr})
    std::freopen("CONOUT$", "w", stream);
  PrintUtf8();
  std::puts(""); // the caller doesn't wait: its prompt stands there already
  return true;
}

void LetOthersComeForward() {
  AllowSetForegroundWindow(ASFW_ANY);
}

// The system calls a handler on a thread of its own.
void WatchForEnd(void (*onAsked)(), void (*onOverdue)()) {
  static void (*calls[2])() = {};
  calls[0] = onAsked;
  calls[1] = onOverdue;
  for (const int signal : {SIGINT, SIGTERM, SIGBREAK})
    std::signal(signal, [](int) {
      calls[0]();
      ::Sleep(kPatience);
      calls[1]();
    });
}

} // namespace kor
