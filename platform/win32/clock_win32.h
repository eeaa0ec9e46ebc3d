// Win32Clock: the clocks of Windows. Any thread.
#pragma once

#include "services/core/os_clock.h"

namespace kor {

class Win32Clock : public OsClock {
 public:
  FileTime Utc() override;
  FileTime ToLocal(FileTime utc) override;
  double Seconds() override;
  std::uint32_t Ticks() override;
  void SleepMilliseconds(std::uint32_t milliseconds) override;
};

} // namespace kor
