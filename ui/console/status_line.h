// The console's live status line: status text, progress bar, rate, time left and lamps. Pure
// functions and a rate meter; no drawing.
#pragma once

#include <cstdint>
#include <optional>

#include "services/core/kor_text.h"
#include "ui/form_dialog.h"

namespace kor {

// RateMeter: bytes per second of the running transfer, smoothed over about two seconds. It starts afresh
// when the status code changes or the count goes back.
class RateMeter {
 public:
  void Update(const StatusView& view, double now); // now in seconds
  // std::nullopt until half a second has been measured.
  std::optional<double> BytesPerSecond() const { return rate; }

 private:
  std::int32_t code = -1;
  std::int64_t count = 0;
  double since = 0;
  std::optional<double> rate;
};

// The line, cut or padded to columns. Parts that don't fit are left out, the lamps last.
KorText StatusLine(const StatusView& view, std::optional<double> bytesPerSecond,
                   std::size_t columns);

// "RX TX CTS DSR RLS XOFF XSENT", a lamp that is out shown as dots.
KorText LampText(const StatusView& view);

// "[#####-----]  50%".
KorText ProgressBar(std::int64_t count, std::int64_t range, std::size_t width);

// "9.6 kB/s", "512 B/s", "1.2 MB/s".
KorText RateText(double bytesPerSecond);

// "0:07", "12:40", "1:02:03".
KorText TimeText(double seconds);

} // namespace kor
