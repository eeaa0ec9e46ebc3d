#include <winsock2.h>
// The system's headers must follow its sockets' header.
#include <windows.h>

#include <mmsystem.h>
#include <mstcpip.h>

#include <limits>
#include <string>

#include "platform/net/socket_tuning.h"
#include "services/core/kor_text.h"

namespace kor {

const std::uint32_t kErrorNotOpen = ERROR_INVALID_HANDLE, kErrorInvalid = ERROR_INVALID_PARAMETER,
                    kErrorTimedOut = WSAETIMEDOUT;

// The send buffer is small so that a write that finds it full waits, which shows a closed window.
void WatchForSilentEnd(std::uintptr_t handle) {
  constexpr u_long kIdle = 1000, kInterval = 400; // milliseconds; the system asks ten times
  tcp_keepalive values{1, kIdle, kInterval};
  DWORD count = 0;
  ::WSAIoctl(static_cast<SOCKET>(handle), SIO_KEEPALIVE_VALS, &values, sizeof values, nullptr, 0,
             &count, nullptr, nullptr);
  const int buffer = 1024; // bytes
  ::setsockopt(static_cast<SOCKET>(handle), SOL_SOCKET, SO_SNDBUF,
               reinterpret_cast<const char*>(&buffer), sizeof buffer);
}

// The system gives up by itself after five repetitions.
bool HasEndedSilently(std::uintptr_t) {
  return false;
}

// The system doesn't report these counts; the port itself counts what it has handed over and what
// was acknowledged.
SocketQueue QueueOf(std::uintptr_t) {
  return {};
}

std::size_t WindowOf(std::uintptr_t) {
  return std::numeric_limits<std::size_t>::max();
}

bool LineClaim::Take(const char* address) {
  Release();
  const KorText name = KorText(u"Local\\ncedl-line ") + KorText::FromUtf8(address);
  const std::wstring wide(name.View().begin(), name.View().end());
  const HANDLE made = ::CreateMutexW(nullptr, FALSE, wide.c_str());
  const bool isTaken = made != nullptr && ::GetLastError() == ERROR_ALREADY_EXISTS;
  if (made != nullptr) mark = reinterpret_cast<std::intptr_t>(made);
  if (isTaken) Release();
  return !isTaken;
}

void LineClaim::Release() {
  if (mark != -1) ::CloseHandle(reinterpret_cast<HANDLE>(mark));
  mark = -1;
}

std::shared_ptr<void> HoldPreciseTimers() {
  ::timeBeginPeriod(1);
  return {nullptr, [](void*) { ::timeEndPeriod(1); }};
}

} // namespace kor
