// The console's live status line: the program's number first, then the transfer's figures, the lamps
// and, as far as there is room, the folder. Pure functions and a rate meter; no drawing.
#pragma once

#include <cstdint>
#include <optional>

#include "services/core/kor_text.h"
#include "ui/form_dialog.h"

namespace kor {

// Whether an exchange is under way that ending the program would break off.
bool IsExchange(std::int32_t code);

// How fast the running transfer goes.
struct Pace {
  std::optional<double> bytesPerSecond; // nothing until half a second has been measured
  bool held = false;                    // it stands
};

// RateMeter: bytes per second of the running transfer, smoothed over about two seconds. It starts afresh
// when the status code changes or the count goes back.
class RateMeter {
 public:
  void Update(const StatusView& view, double now); // now in seconds
  const Pace& Measured() const { return pace; }

 private:
  std::int32_t code = -1;
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

// The line, exactly that many columns wide. Below about 40 columns the lamps are left out.
KorText StatusLine(const StatusView& view, const Pace& pace, std::size_t columns);

// The line of an ended job for the screen: local time, name, words and, as far as there is room, the
// folder. All but the folder is always there.
KorText JobLine(const EndedJob& job, std::size_t columns);

// "RX TX CTS DSR RLS XOFF XSENT". A lamp that is out is shown as dots, or left out.
KorText LampText(const StatusView& view, bool dots);

// "[#####-----]".
KorText ProgressBar(std::int64_t count, std::int64_t range, std::size_t width);

// "9.6 kB/s", "512 B/s", "1.2 MB/s".
KorText RateText(double bytesPerSecond);

// "0:07", "12:40", "1:02:03".
KorText TimeText(double seconds);

} // namespace kor
