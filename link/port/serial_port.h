// SerialPort: the communications interface that the serial channel is written against. One object
// is one device. Owned by the program's main, lent to DownloadApp.
//
// Errors: every operation returns false when the system refuses; LastErrorText() then gives the
// system's text, IsGone() tells whether the device itself has disappeared (USB adapter pulled), and
// Trouble() what kind of failure it was.
//
// Threads: used by one thread at a time, except Interrupt(), which any thread may call.
//
// Porting notes: Win32 maps one to one onto the communications functions. POSIX keeps the same
// meaning on termios; a pseudo-terminal has no modem lines and reads as "not held".
#pragma once

#include <chrono>
#include <cstdint>
#include <span>

#include "services/core/kor_text.h"

namespace kor {

// The characters that software flow control sends: XOFF holds the other side until XON.
inline constexpr std::uint8_t kXon = 17;
inline constexpr std::uint8_t kXoff = 19;

enum class Parity : std::uint8_t { None = 0, Odd = 1, Even = 2, Mark = 3, Space = 4 };
enum class StopBits : std::uint8_t { One = 0, OnePointFive = 1, Two = 2 };
enum class LineControl : std::uint8_t { Disable = 0, Enable = 1, Handshake = 2 };

// The device-control block: line parameters and flow control as data.
struct DeviceControlBlock {
  std::uint32_t baudRate = 9600; // bits per second
  std::uint8_t dataBits = 8;     // 5 to 8
  Parity parity = Parity::None;
  StopBits stopBits = StopBits::One;
  bool outxCtsFlow = false;    // output waits while CTS is off
  bool outxDsrFlow = false;    // output waits while DSR is off
  bool dsrSensitivity = false; // input is ignored while DSR is off
  LineControl dtrControl = LineControl::Enable;
  LineControl rtsControl = LineControl::Enable;
  bool outX = false; // output stops on a received XOFF
  bool inX = false;  // XOFF is sent when the input queue fills
  std::uint8_t xonChar = kXon;
  std::uint8_t xoffChar = kXoff;
  friend bool operator==(const DeviceControlBlock&, const DeviceControlBlock&) = default;
};

// Hold bits of LineStatus.
enum HoldBit : std::uint32_t {
  kCtsHold = 1,   // output waits for CTS
  kDsrHold = 2,   // output waits for DSR
  kRlsdHold = 4,  // output waits for the receive-line-signal detect
  kXoffHold = 8,  // output waits because XOFF was received
  kXoffSent = 16, // XOFF was sent, the far side is held
};

// What went wrong in receiving since the last GetStatus, by kind. Where the system tells only that
// there was an error, as Windows does, it counts as one.
struct LineErrors {
  std::uint32_t overflow = 0; // the system's input queue was full
  std::uint32_t overrun = 0;  // the device's was
  std::uint32_t parity = 0;
  std::uint32_t framing = 0; // no stop bit where one belongs
  std::uint32_t breaks = 0;
  friend bool operator==(const LineErrors&, const LineErrors&) = default;
};

struct LineStatus {
  LineErrors errors;
  std::uint32_t holds = 0;    // HoldBit values
  std::uint32_t inQueue = 0;  // bytes received and not yet read
  std::uint32_t outQueue = 0; // bytes written and not yet sent
};

struct PortTimeouts {
  std::uint32_t readInterval = 0xFFFFFFFF; // milliseconds; with zero totals a read returns at once
  std::uint32_t readMultiplier = 0;
  std::uint32_t readConstant = 0;
  std::uint32_t writeMultiplier = 0;
  std::uint32_t writeConstant = 0; // milliseconds; 0 = no limit
};

// Why an operation failed, as far as the user can do something about it.
// NotAllowed: to this user; Forbidden: to the whole service, by its unit.
// NotYet is no failure: the operation goes on and is to be called again, with the same arguments,
// when WaitReadable returns. Only Open and SetControlBlock take more than a moment, and only where
// the line is behind a network.
enum class PortTrouble {
  Other,
  NotThere,
  NoServer, // of a line behind a network
  InUse,
  NotAllowed,
  Forbidden,
  NotYet
};

class SerialPort {
 public:
  virtual ~SerialPort() = default;

  // Opens the device for exclusive use. name as in the settings ("COM1", a device path).
  virtual bool Open(const KorText& name) = 0;
  virtual bool IsOpen() const = 0;
  virtual bool SetQueueSizes(std::uint32_t input, std::uint32_t output) = 0;
  virtual bool GetControlBlock(DeviceControlBlock& block) = 0;
  // Changes the block as a text "baud=9600 parity=N data=8 stop=1" says; members that the text does
  // not name keep their value, except that no flow control is left on. The device is not touched.
  virtual bool BuildControlBlock(const KorText& text, DeviceControlBlock& block) = 0;
  virtual bool SetControlBlock(const DeviceControlBlock& block) = 0;
  virtual bool SetTimeouts(const PortTimeouts& timeouts) = 0;
  virtual bool GetStatus(LineStatus& status) = 0;
  // Returns at once with what has arrived; readCount 0 is no failure.
  virtual bool Read(std::span<std::uint8_t> to, std::size_t& readCount) = 0;
  // Takes what the device has room for now. A partial count is no failure; the line may be held.
  // Does not wait for the line: POSIX returns at once, Windows within 20 ms.
  virtual bool Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) = 0;
  virtual bool PurgeTransmit() = 0; // drops what was not yet sent, and ends a held output
  virtual bool PurgeReceive() = 0;
  virtual bool Close() = 0; // never waits for unsent bytes

  virtual KorText LastErrorText() const = 0;
  virtual bool IsGone() const = 0;
  virtual PortTrouble Trouble() const {
    return IsGone() ? PortTrouble::NotThere : PortTrouble::Other;
  }

  // Waits until bytes can be read, the device disappears, the time has passed or Interrupt() is
  // called. With no device open it waits for the last two.
  virtual void WaitReadable(std::chrono::microseconds atMost) = 0;
  // Ends a WaitReadable of another thread, or the next one if none waits now.
  virtual void Interrupt() = 0;
};

// Reads the text of BuildControlBlock, for implementations without a system call for it: baud rates
// of 110 to 115200 that the settings list names, data 5 to 8, stop 1, 1.5 or 2, parity N O E M S
// (either case). False on anything else; the block is then unchanged.
bool ParseControlText(const KorText& text, DeviceControlBlock& block);

// Applies a flow-control setting: "Combined", "Hardware", "Xon/Xoff" or "None", compared as they
// stand; any other text leaves the block as it is. noSoftware suppresses XON/XOFF.
void ApplyFlowControl(DeviceControlBlock& block, const KorText& setting, bool rtsCts, bool dtrDsr,
                      bool noSoftware);

} // namespace kor
