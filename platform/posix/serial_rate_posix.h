// Line rates as numbers of bits per second. They stand apart from the rest of the port because the
// kernel's termios2 and the C library's termios can't be declared in one file.
#pragma once

#include <cstdint>
#include <optional>

namespace kor {

// Sets any rate on an open terminal; false with errno when the system refuses. The driver may take
// another rate; see LineRate.
bool SetLineRate(int device, std::uint32_t rate);

// Returns the output rate that the driver has set, or nothing when that can't be read.
std::optional<std::uint32_t> LineRate(int device);

} // namespace kor
