// A TCP port for a test's own server.
#pragma once

#include <cstdint>
#include <random>

namespace kor::support {

// Returns the same port at every call, and most likely another one in every other process, so that
// two runs on one computer don't meet. It and the next few lie below those that systems give to
// clients.
inline std::uint16_t OwnTcpPort() {
  static const auto port = static_cast<std::uint16_t>(20'000 + std::random_device{}() % 12'000);
  return port;
}

} // namespace kor::support
