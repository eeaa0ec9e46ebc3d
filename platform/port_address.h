// PortAddress: where a serial line over the network is, as the user writes it:
// "rfc2217://HOST:PORT", "tcp://HOST:PORT" and, for trials, "tcp-listen://HOST:PORT".
//
// Free functions; any thread.
#pragma once

#include <cstdint>
#include <string>

#include "services/core/kor_text.h"

namespace kor {

struct PortAddress {
  enum class Scheme {
    Rfc2217, // the server is told rate, format and flow control, and tells the modem lines
    Raw,     // bytes alone: the server's own settings hold
    Listen   // the bytes of whoever connects here
  };
  Scheme scheme = Scheme::Rfc2217;
  std::string host; // without the brackets of an IPv6 address; Listen: empty for every interface
  std::uint16_t port = 0;
  friend bool operator==(const PortAddress&, const PortAddress&) = default;
};

// Returns whether the text is meant as an address and not as a device of this computer.
bool IsPortAddress(const KorText& text);
// Returns an empty text, or what is wrong with the address and what to write instead.
KorText ParsePortAddress(const KorText& text, PortAddress& address);
// Does the same for an address that a port's name may stand for, which has to be one that connects.
KorText RefusalOfPortAddress(const KorText& text);

} // namespace kor
