// The lines that the console prints at its start on a terminal: version, port with its settings,
// folders, and where to find help. Pure function.
#pragma once

#include <vector>

#include "link/link_settings.h"

namespace kor {

// device is the port as the system knows it, such as "COM1 (/dev/ttyUSB0)".
std::vector<KorText> BannerLines(const KorText& version, const KorText& device,
                                 const LinkSettings& settings);

} // namespace kor
