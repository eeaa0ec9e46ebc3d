#include "platform/net/probe.h"

#include "platform/net/net_serial_port.h"

namespace kor {

KorText ProbeLine(const KorText& address) {
  NetSerialPort port;
  bool isOpen = port.Open(address);
  while (!isOpen && port.Trouble() == PortTrouble::NotYet) {
    port.WaitReadable(std::chrono::milliseconds(100));
    isOpen = port.Open(address);
  }
  if (!isOpen) return port.LastErrorText();
  const KorText signature = port.AskSignature();
  if (!signature.IsEmpty()) return u"answers: " + signature;
  LineStatus status;
  return port.GetStatus(status) ? KorText(u"answers") : port.LastErrorText();
}

} // namespace kor
