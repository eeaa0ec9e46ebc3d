// Line: the serial line as the controller sees it. What lies under it - a device, pacing, damage,
// flow control - is stacked from objects of this kind. Used by one thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kor::controller {

using Time = std::chrono::nanoseconds; // a span, or a moment on the line's own steady clock

enum class LineState {
  Open,
  Gone,    // the device failed or disappeared; FailureText says how
  Stopped, // the program was asked to end
};

struct LineCounts {
  std::uint64_t fromHost = 0; // bytes that arrived
  std::uint64_t toHost = 0;   // bytes that left
};

class Line {
 public:
  virtual ~Line() = default;
  virtual Time Now() = 0;
  // Appends what has arrived, at the latest when the moment has come; waits for the first byte
  // only. With a moment that has passed it takes what is there now.
  virtual LineState Read(std::string& to, Time until) = 0;
  // Returns when all bytes have left or the moment has come; what has not left by then is dropped.
  virtual LineState Write(std::string_view bytes, Time until, std::size_t& written) = 0;
  // Forgets what the far side has not read, since it was not listening.
  virtual void Abandon() = 0;
  virtual LineCounts Counts() const = 0;
  virtual std::string FailureText() const = 0;
};

} // namespace kor::controller
