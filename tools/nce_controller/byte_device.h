// ByteDevice: what carries the bytes - a serial port or a pseudo-terminal - with its clock. Nothing
// waits but WaitUntil. Used by one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "services/core/kor_text.h"
#include "tools/nce_controller/line.h"
#include "tools/nce_controller/line_settings.h"

namespace kor {
class PseudoTerminal;
class SerialPort;
} // namespace kor

namespace kor::controller {

class ByteDevice {
 public:
  virtual ~ByteDevice() = default;
  virtual Time Now() = 0;
  // Both return at once; a count of 0 is no failure. False when the device failed.
  virtual bool Read(std::span<std::uint8_t> to, std::size_t& readCount) = 0;
  virtual bool Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) = 0;
  // Waits until the moment, or until bytes can be read or written; may end early.
  virtual void WaitUntil(Time until, bool forInput, bool forOutput) = 0;
  virtual void Abandon() = 0; // see Line
  virtual std::string FailureText() const = 0;
};

// Opens the device and sets it up. Null on failure, with the reason in error.
std::unique_ptr<ByteDevice> OpenPortDevice(std::unique_ptr<SerialPort> port, const KorText& name,
                                           const LineSettings& settings, std::string& error);
std::unique_ptr<ByteDevice> MakePseudoTerminalDevice(std::unique_ptr<PseudoTerminal> terminal);

} // namespace kor::controller
