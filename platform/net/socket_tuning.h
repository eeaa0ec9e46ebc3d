// What a TCP socket of a serial line needs of each system beside asio's own options. handle: the
// system's socket, open.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace kor {

// A server that vanishes without a word is noticed within 5 s while nothing is on its way to it.
void WatchForSilentEnd(std::uintptr_t handle);
// The same while something is: the system alone would repeat it for a quarter of an hour. A server
// that answers, but takes nothing, lives.
bool HasEndedSilently(std::uintptr_t handle);
// Bytes that the system has and could not send yet, or that wait for an acknowledgement.
struct SocketQueue {
  std::size_t unsent = 0;
  std::size_t unacknowledged = 0; // with the unsent ones
};
SocketQueue QueueOf(std::uintptr_t handle);
// Bytes that the peer has room for, those on their way to it among them. No limit where the system
// doesn't tell.
std::size_t WindowOf(std::uintptr_t handle);

// The system's numbers of errors that the port itself finds.
extern const std::uint32_t kErrorNotOpen, kErrorInvalid, kErrorTimedOut;

// Lets no second program of this computer use a line while this object lives. Where the system
// doesn't allow to mark it, nothing is kept out.
class LineClaim {
 public:
  LineClaim() = default;
  ~LineClaim() { Release(); }
  LineClaim(const LineClaim&) = delete;
  LineClaim& operator=(const LineClaim&) = delete;
  bool Take(const char* address); // UTF-8; false: another has it
  void Release();

 private:
  std::intptr_t mark = -1;
};

// Keeps the system's timers precise to a millisecond while the result lives. Empty where they are
// so by themselves.
std::shared_ptr<void> HoldPreciseTimers();

} // namespace kor
