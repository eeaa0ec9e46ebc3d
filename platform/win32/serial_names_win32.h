// The network lines that port names stand for, kept in the user's registry. Windows itself gives
// the names of serial devices. Free functions; any thread.
#pragma once

#include <vector>

#include "services/core/kor_text.h"

namespace kor {

struct SerialName {
  KorText name;   // "COM1"
  KorText device; // the address
};

// By number; those that stand for an address.
std::vector<SerialName> ListSerialNames();
// Lets a name "COMn" stand for an address; an empty one takes the name back. An empty text, or what
// went wrong.
KorText AssignSerialName(const KorText& name, const KorText& address);

} // namespace kor
