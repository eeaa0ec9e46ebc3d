#include "link/port/no_port.h"

namespace kor {

namespace {

class AbsentPort : public SerialPort {
 public:
  bool Open(const KorText&) override { return false; }
  bool IsOpen() const override { return false; }
  bool SetQueueSizes(std::uint32_t, std::uint32_t) override { return false; }
  bool GetControlBlock(DeviceControlBlock&) override { return false; }
  bool BuildControlBlock(const KorText&, DeviceControlBlock&) override { return false; }
  bool SetControlBlock(const DeviceControlBlock&) override { return false; }
  bool SetTimeouts(const PortTimeouts&) override { return false; }
  bool GetStatus(LineStatus&) override { return false; }
  bool Read(std::span<std::uint8_t>, std::size_t&) override { return false; }
  bool Write(std::span<const std::uint8_t>, std::size_t&) override { return false; }
  bool PurgeTransmit() override { return false; }
  bool PurgeReceive() override { return false; }
  bool Close() override { return true; }
  KorText LastErrorText() const override { return {}; }
  bool IsGone() const override { return false; }
  void WaitReadable(std::chrono::microseconds) override {}
  void Interrupt() override {}
};

} // namespace

SerialPort& NoPort() {
  static AbsentPort port;
  return port;
}

} // namespace kor
