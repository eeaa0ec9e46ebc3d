// The console's live status line. The program's number comes first, then the transfer's figures,
// the lamps and, as far as there is room, the folder. Pure functions; no drawing.
#pragma once

#include <cstdint>

#include "services/core/kor_text.h"
#include "ui/transfer_text.h"

namespace kor {

// Returns the line, exactly that many columns wide. Below about 40 columns the lamps are left out.
KorText StatusLine(const StatusView& view, const Pace& pace, std::size_t columns);

// Returns the line of an ended job for the screen: local time, name, words and, as far as there is
// room, the folder. All but the folder is always there.
KorText JobLine(const EndedJob& job, std::size_t columns);

// Returns "RX TX CTS DSR RLS XOFF XSENT". A lamp that is out is shown as dots, or left out.
KorText LampText(const StatusView& view, bool dots);

// Returns "[#####-----]".
KorText ProgressBar(std::int64_t count, std::int64_t range, std::size_t width);

} // namespace kor
