// The calendar's times as Windows takes them.
#pragma once

#include <windows.h>

#include "services/core/file_time.h"

namespace kor {

inline SYSTEMTIME ToSystem(const SystemTime& time) {
  SYSTEMTIME result{};
  result.wYear = static_cast<WORD>(time.year);
  result.wMonth = static_cast<WORD>(time.month);
  result.wDay = static_cast<WORD>(time.day);
  result.wHour = static_cast<WORD>(time.hour);
  result.wMinute = static_cast<WORD>(time.minute);
  result.wSecond = static_cast<WORD>(time.second);
  result.wMilliseconds = static_cast<WORD>(time.millisecond);
  result.wDayOfWeek = static_cast<WORD>(time.dayOfWeek);
  return result;
}

} // namespace kor
