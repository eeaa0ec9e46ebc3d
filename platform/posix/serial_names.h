// Serial device names: which device a port name of the settings stands for. "COM1" to "COM255"
// (either case) are links of that name in a folder of the settings folder or, without one,
// /dev/ttyS0 ...; a link may hold the address of a network line as its text. So settings look the
// same on Windows and Linux, and a USB adapter keeps its name.
//
// Free functions over App()'s settings folder; any thread.
#pragma once

#include <vector>

#include "services/core/kor_text.h"

namespace kor {

// Returns the path to open. A link that exists is returned itself, also while its target is
// missing: the adapter may come back. Anything that is not "COMn" is a device path already.
KorText SerialDevicePath(const KorText& name);

struct SerialName {
  KorText name;   // "COM1"
  KorText device; // what the link says
};

// Returns the links that there are, by number.
std::vector<SerialName> ListSerialNames();

// Makes or replaces the link of a name "COMn" to a device or an address; an empty one removes it.
// In one step: a reader sees the old or the new link. An empty text, or what went wrong and what to
// do.
KorText AssignSerialName(const KorText& name, const KorText& device);

} // namespace kor
