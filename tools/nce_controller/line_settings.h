// The line's parameters as the command line gives them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "link/port/serial_port.h"
#include "tools/nce_controller/line.h"

namespace kor::controller {

enum class FlowControl { XonXoff, Hardware, None };

// The start values are those of a host that was never set up.
struct LineSettings {
  std::uint32_t baud = 2400; // bits per second
  std::uint8_t dataBits = 8; // 7 or 8
  Parity parity = Parity::None;
  StopBits stopBits = StopBits::One;
  FlowControl flow = FlowControl::XonXoff;

  // Returns start bit, data, parity and stop bits of one byte, in half bits (1.5 stop bits are 3).
  std::uint32_t HalfBitsPerByte() const;
  Time BytesTime(std::uint64_t count) const; // how long the line takes, rounded down
};

// Reads data bits, parity (N O E M S, either case) and stop bits such as "8N1", "7E1" or "8N1.5".
bool ParseBits(std::string_view text, LineSettings& settings);
std::optional<FlowControl> ParseFlow(std::string_view text); // "xonxoff", "hardware", "none"

} // namespace kor::controller
