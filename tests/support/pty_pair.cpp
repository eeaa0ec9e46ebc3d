#include "tests/support/pty_pair.h"

#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace kor {

namespace {

// A test can't go on without its cable.
void Require(bool success, const char* step) {
  if (success) return;
  ::perror(step);
  ::abort();
}

} // namespace

PtyPair::PtyPair() {
  std::array<char, 128> name{};
  farEnd = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  Require(farEnd >= 0, "posix_openpt");
  Require(::grantpt(farEnd) == 0 && ::unlockpt(farEnd) == 0, "unlockpt");
  Require(::ptsname_r(farEnd, name.data(), name.size()) == 0, "ptsname_r");
  device = KorText::FromUtf8(name.data());
}

PtyPair::~PtyPair() {
  HangUp();
}

void PtyPair::LinkAt(const KorText& path) const {
  const std::string beside = (path + u".new").ToUtf8();
  Require(::symlink(device.ToUtf8().c_str(), beside.c_str()) == 0, "symlink");
  Require(::rename(beside.c_str(), path.ToUtf8().c_str()) == 0, "rename");
}

bool PtyPair::WaitFor(short events, std::chrono::steady_clock::time_point until) const {
  using std::chrono::milliseconds;
  const auto left =
      std::chrono::ceil<milliseconds>(until - std::chrono::steady_clock::now()).count();
  pollfd watched{farEnd, events, 0};
  return left > 0 && ::poll(&watched, 1, static_cast<int>(left)) > 0 && (watched.revents & events);
}

std::size_t PtyPair::Send(std::string_view bytes, std::chrono::milliseconds limit) {
  const auto until = std::chrono::steady_clock::now() + limit;
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = ::write(farEnd, bytes.data() + sent, bytes.size() - sent);
    if (count > 0)
      sent += static_cast<std::size_t>(count);
    else if (!WaitFor(POLLOUT, until))
      break;
  }
  return sent;
}

std::string PtyPair::Receive(std::size_t count, std::chrono::milliseconds limit) {
  const auto until = std::chrono::steady_clock::now() + limit;
  std::string received;
  std::array<char, 4096> chunk{};
  while (received.size() < count) {
    const ssize_t got =
        ::read(farEnd, chunk.data(), std::min(chunk.size(), count - received.size()));
    if (got > 0)
      received.append(chunk.data(), static_cast<std::size_t>(got));
    else if (!WaitFor(POLLIN, until))
      break;
  }
  return received;
}

std::string PtyPair::ReceiveAll() {
  return Receive(static_cast<std::size_t>(-1), std::chrono::milliseconds(0));
}

void PtyPair::HangUp() {
  if (farEnd >= 0) ::close(farEnd);
  farEnd = -1;
}

} // namespace kor
