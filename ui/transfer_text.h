// What front ends say about a transfer: how fast it goes, how much is left, and which program it
// is. Pure functions and a rate meter; no drawing. Texts come from the dictionary.
#pragma once

#include <cstdint>
#include <optional>

#include "services/core/kor_text.h"
#include "ui/form_dialog.h"

namespace kor {

// How fast the running transfer goes.
struct Pace {
  std::optional<double> bytesPerSecond; // nothing until half a second has been measured
  bool held = false;                    // it stands
  double standing = 0;                  // seconds since something moved
};

// RateMeter: bytes per second of the running transfer, smoothed over about two seconds. It starts
// afresh when the status code changes or the count goes back.
class RateMeter {
 public:
  void Update(const StatusView& view, double now); // now in seconds
  const Pace& Measured() const { return pace; }

 private:
  std::optional<LinkStatus> code;
  std::int64_t count = 0; // where the measurement began
  double since = 0;       // when it began
  std::int64_t last = 0;  // count of the last update
  double moved = 0;       // when that changed
  Pace pace;
};

// A status text with its file's name in front and the folder apart.
struct StatusWords {
  KorText name; // "0000123.MPG"; empty when the text names no file
  KorText words;
  KorText folder;
};
StatusWords TakeApart(const KorText& line, const KorText& fileName);

// Returns "1024/4096", or "1024 bytes" where the size isn't known beforehand.
KorText CountText(const StatusView& view);
// Returns whether progress can be given as a share; an upload's size isn't known beforehand.
bool IsMeasurable(const StatusView& view);
KorText ShareText(const StatusView& view);                  // "25%", or empty
KorText RatePart(const Pace& pace);                         // the rate, "held", or empty
KorText LeftPart(const StatusView& view, const Pace& pace); // "0:31 left", or empty

// Returns a rate such as "9.6 kB/s", "512 B/s" or "1.2 MB/s".
KorText RateText(double bytesPerSecond);

// Returns a number such as "12 345", with no-break spaces.
KorText GroupedDigits(std::int64_t number);

// Returns a time such as "0:07", "12:40" or "1:02:03".
KorText TimeText(double seconds);

} // namespace kor
