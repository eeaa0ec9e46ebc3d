// OsClock: the system's clocks. Implemented once per platform; tests move theirs by hand. Any
// thread.
#pragma once

#include "services/core/file_time.h"

namespace kor {

class OsClock {
 public:
  virtual ~OsClock() = default;
  virtual FileTime Utc() = 0;
  virtual FileTime ToLocal(FileTime utc) = 0; // in the user's time zone
  virtual double Seconds() = 0;               // monotonic, sub-microsecond
  virtual std::uint32_t Ticks() = 0;          // milliseconds, wraps
  // May be called only where waiting is meant: in a wait for a file to open, and for the last
  // character of a port that closes.
  virtual void SleepMilliseconds(std::uint32_t milliseconds) = 0;
};

} // namespace kor
