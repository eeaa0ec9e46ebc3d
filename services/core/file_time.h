// Times of files and of the calendar.
#pragma once

#include <cstdint>

namespace kor {

// The time in steps of 100 ns since 1601-01-01 00:00 UTC (or local time where said so).
using FileTime = std::uint64_t;

struct SystemTime {
  int year = 1601, month = 1, day = 1; // month and day from 1
  int hour = 0, minute = 0, second = 0, millisecond = 0;
  int dayOfWeek = 1; // 0 = Sunday
  friend bool operator==(const SystemTime&, const SystemTime&) = default;
};

} // namespace kor
