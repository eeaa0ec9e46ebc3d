// What the TCP socket of a serial line needs from each system beside asio's own options. handle is
// the system's open socket.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace kor {

// Has the system notice within 5 s that a server vanished silently, as long as no bytes are on
// their way to it.
void WatchForSilentEnd(std::uintptr_t handle);
// Tells whether the server vanished while bytes were on their way to it; the system alone would go
// on repeating them for a quarter of an hour. A server that answers but takes nothing counts as
// alive.
bool HasEndedSilently(std::uintptr_t handle);
// Counts bytes that the system holds, because it could not send them yet or because they wait for
// an acknowledgement.
struct SocketQueue {
  std::size_t unsent = 0;
  std::size_t unacknowledged = 0; // with the unsent ones
};
SocketQueue QueueOf(std::uintptr_t handle);
// Bytes that the peer has room for, those on their way to it among them. No limit where the system
// doesn't tell.
std::size_t WindowOf(std::uintptr_t handle);

// The system's numbers for errors that the port itself finds.
extern const std::uint32_t kErrorNotOpen, kErrorInvalid, kErrorTimedOut;

// Keeps other programs of this computer away from a line while this object lives. Where the system
// can't mark the line as taken, nobody is kept away.
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

// Keeps the system's timers precise to a millisecond while the result lives. Returns null where
// they are precise anyway.
std::shared_ptr<void> HoldPreciseTimers();

} // namespace kor
