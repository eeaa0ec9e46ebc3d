// PosixSerialPort: SerialPort on Linux terminals. Owned by the program's main; threads as
// SerialPort says.
//
// No operation waits for the line. What the kernel does itself: RTS/CTS handshake, sending XOFF
// when its input fills. What this class does, since the kernel can't or would hide it:
// - A received XOFF stops the driver's output from Read, and the byte still reaches the caller; the
//   kernel's own handling would swallow XON and XOFF.
// - DSR: output stops while DSR is off (outxDsrFlow), input is dropped while DSR is off
// (dsrSensitivity).
//   The modem lines are looked at no more often than every 20 ms: on a USB adapter that is a
//   transfer over the bus.
// - DTR under handshake stays on: input is read all the time, so it never has to hold the far side.
// While output is stopped by XOFF or DSR, Write takes nothing.
// - A USB adapter sends what its driver was given, whatever stops the line in the meantime. Where a
//   hold can come, Write gives it no more than 10 ms of line time ahead, and nothing during a hold.
//
// 1.5 stop bits are 2 with more than 5 data bits: no UART has a real half there, and whoever
// expects 1.5 accepts 2. Settings that the hardware doesn't take (read back after setting; the rate
// may be off by 3 %) are refused with "Invalid argument", and the earlier ones stay. A
// pseudo-terminal has no line: it takes every setting, has no modem lines and never holds for them.
//
// kRlsdHold and kXoffSent never show: no setting waits for the former, the kernel keeps the latter
// to itself. Line errors are the driver's own counts; a driver without them tells none.
#pragma once

#include <array>
#include <chrono>
#include <filesystem>

#include "link/port/serial_port.h"
#include "platform/posix/serial_driver_posix.h"

namespace kor {

class PosixSerialPort : public SerialPort {
 public:
  // systemFolder: /sys, or what stands for it in a test.
  explicit PosixSerialPort(std::filesystem::path systemFolder = "/sys");
  ~PosixSerialPort() override;
  PosixSerialPort(const PosixSerialPort&) = delete;
  PosixSerialPort& operator=(const PosixSerialPort&) = delete;

  // Opens the device of SerialDevicePath(name) (serial_names.h) and locks it with flock and, unless
  // it is a pseudo-terminal, with TIOCEXCL. The device is raw from here on.
  bool Open(const KorText& name) override;
  bool IsOpen() const override { return device.IsValid(); }
  // Changes nothing: the kernel's queues have fixed sizes (4095 bytes in, 4096 out, more on some
  // adapters).
  bool SetQueueSizes(std::uint32_t input, std::uint32_t output) override;
  bool GetControlBlock(DeviceControlBlock& block) override;
  bool BuildControlBlock(const KorText& text, DeviceControlBlock& block) override;
  bool SetControlBlock(const DeviceControlBlock& block) override;
  bool SetTimeouts(const PortTimeouts& timeouts) override; // nothing waits: true while open
  bool GetStatus(LineStatus& status) override;
  bool Read(std::span<std::uint8_t> to, std::size_t& readCount) override;
  bool Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) override;
  bool PurgeTransmit() override;
  bool PurgeReceive() override;
  bool Close() override;
  KorText LastErrorText() const override;
  bool IsGone() const override { return gone; }
  PortTrouble Trouble() const override;
  void WaitReadable(std::chrono::microseconds atMost) override;
  void Interrupt() override;

 private:
  class Descriptor {
   public:
    explicit Descriptor(int toOwn = -1) : number(toOwn) {}
    ~Descriptor() { Reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor& operator=(Descriptor&& other) noexcept;
    bool Reset(); // closes; false when the system refuses
    bool IsValid() const { return number >= 0; }
    int Get() const { return number; }

   private:
    int number;
  };

  bool Fail(int error); // keeps the error for LastErrorText and IsGone; returns false
  bool RequireOpen();
  bool Claim(const Descriptor& opened);
  bool MakeRaw(const Descriptor& opened);
  void ShortenLatency();
  bool LineTook(const DeviceControlBlock& block);
  void SetModemOutputs(const DeviceControlBlock& block);
  void RefreshLines();
  void RefreshCounts();
  std::uint32_t Holds() const;
  bool DsrIsOff() const;
  void WatchXoff(std::span<const std::uint8_t> bytes);
  void UpdateOutputStop();
  bool SendsPieces() const; // a hold can come, and the driver doesn't stop for it
  // Returns the bytes that may go out now, so that no more than a piece is on its way.
  std::span<const std::uint8_t> Piece(std::span<const std::uint8_t> from);
  std::chrono::nanoseconds ByteTime() const; // at the current rate
  void SpeedUpClose();

  using Clock = std::chrono::steady_clock;

  const std::filesystem::path system;
  Descriptor device;
  SerialDriver driver;
  Descriptor wake;            // eventfd of Interrupt; never replaced
  DeviceControlBlock current; // as last set
  bool isPseudoTerminal = false;
  bool hasModemLines = false; // until TIOCMGET says that there are none
  bool hasCounts = false;     // the same for TIOCGICOUNT
  int modemLines = 0;         // TIOCM_ bits
  Clock::time_point linesRead{};
  Clock::time_point lineFree{};     // when an adapter will have sent what it was given
  std::array<int, 5> errorCounts{}; // of the driver, in the order of LineErrors
  std::array<int, 2> lineChanges{}; // of CTS and DSR, the driver's counts
  LineErrors newErrors;             // for the next GetStatus
  bool hungUp = false;              // a wait found the device gone
  bool xoffReceived = false;
  bool outputStopped = false; // TCOOFF is in force
  int lastError = 0;
  bool gone = false;
};

} // namespace kor
