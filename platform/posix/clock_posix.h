// PosixClock: the clocks of POSIX. Any thread.
#pragma once

#include "services/core/os_clock.h"

namespace kor {

class PosixClock : public OsClock {
 public:
  PosixClock();
  FileTime Utc() override;
  FileTime ToLocal(FileTime utc) override;
  double Seconds() override;
  std::uint32_t Ticks() override;
  void SleepMilliseconds(std::uint32_t milliseconds) override;
};

} // namespace kor
