#include "platform/net/line_port.h"

#include "platform/serial_devices.h"

namespace kor {

bool LinePort::Open(const KorText& name) {
  const KorText address = NetworkAddress(name);
  SerialPort& wanted = address.IsEmpty() ? static_cast<SerialPort&>(device) : network;
  if (&wanted != active) active->Close();
  active = &wanted;
  return active->Open(address.IsEmpty() ? name : address);
}

void LinePort::Interrupt() {
  device.Interrupt();
  network.Interrupt();
}

} // namespace kor
