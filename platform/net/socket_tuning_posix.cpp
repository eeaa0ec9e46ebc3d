#include <linux/sockios.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>

#include "platform/net/socket_tuning.h"

namespace kor {

namespace {

constexpr int kIdle = 1, kInterval = 1, kProbes = 3; // seconds, seconds, count
constexpr std::uint32_t kSilence = 4000;             // milliseconds

int SocketOf(std::uintptr_t handle) {
  return static_cast<int>(handle);
}

std::size_t CountOf(int socket, unsigned long request) {
  int count = 0;
  return ::ioctl(socket, request, &count) == 0 && count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::optional<tcp_info> InfoOf(std::uintptr_t handle) {
  tcp_info info{};
  socklen_t size = sizeof info;
  const int result = ::getsockopt(SocketOf(handle), IPPROTO_TCP, TCP_INFO, &info, &size);
  const bool isWhole = size >= offsetof(tcp_info, tcpi_snd_wnd) + sizeof info.tcpi_snd_wnd;
  return result == 0 && isWhole ? std::optional(info) : std::nullopt; // Linux before 5.4 tells less
}

} // namespace

const std::uint32_t kErrorNotOpen = EBADF, kErrorInvalid = EINVAL, kErrorTimedOut = ETIMEDOUT;

void WatchForSilentEnd(std::uintptr_t handle) {
  const int on = 1;
  ::setsockopt(SocketOf(handle), SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
  ::setsockopt(SocketOf(handle), IPPROTO_TCP, TCP_KEEPIDLE, &kIdle, sizeof kIdle);
  ::setsockopt(SocketOf(handle), IPPROTO_TCP, TCP_KEEPINTVL, &kInterval, sizeof kInterval);
  ::setsockopt(SocketOf(handle), IPPROTO_TCP, TCP_KEEPCNT, &kProbes, sizeof kProbes);
}

// The system sends no keep-alive while bytes are on their way. TCP_USER_TIMEOUT would end such a
// connection, but also one to a live peer that has closed its window because its machine is held.
bool HasEndedSilently(std::uintptr_t handle) {
  const auto info = InfoOf(handle);
  return info && info->tcpi_unacked > 0 && info->tcpi_retransmits > 1 && info->tcpi_snd_wnd > 0 &&
         info->tcpi_last_ack_recv > kSilence;
}

SocketQueue QueueOf(std::uintptr_t handle) {
  SocketQueue queue{.unacknowledged = CountOf(SocketOf(handle), SIOCOUTQ)};
  if (queue.unacknowledged > 0) queue.unsent = CountOf(SocketOf(handle), SIOCOUTQNSD);
  return queue;
}

std::size_t WindowOf(std::uintptr_t handle) {
  const auto info = InfoOf(handle);
  return info ? info->tcpi_snd_wnd : std::numeric_limits<std::size_t>::max();
}

// The name belongs to no file, so it goes when the process ends, however that happens.
bool LineClaim::Take(const char* address) {
  Release();
  const int made = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (made < 0) return true;
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  const std::string_view text(address);
  constexpr std::string_view kHead = "ncedl-line ";
  const std::size_t count = std::min(text.size(), sizeof name.sun_path - 1 - kHead.size());
  std::memcpy(name.sun_path + 1, kHead.data(), kHead.size());
  std::memcpy(name.sun_path + 1 + kHead.size(), text.data(), count);
  const auto size =
      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + kHead.size() + count);
  const bool isTaken =
      ::bind(made, reinterpret_cast<const sockaddr*>(&name), size) != 0 && errno == EADDRINUSE;
  mark = made;
  if (isTaken) Release();
  return !isTaken;
}

void LineClaim::Release() {
  if (mark >= 0) ::close(static_cast<int>(mark));
  mark = -1;
}

std::shared_ptr<void> HoldPreciseTimers() {
  return nullptr;
}

} // namespace kor
