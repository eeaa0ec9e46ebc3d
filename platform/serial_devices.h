// The serial devices that this computer has at the moment, whatever names the settings have for
// them.
//
// Free functions; any thread. They send nothing and change no device's settings. A device that
// can't be judged otherwise is opened for a moment, which on most adapters raises DTR and RTS.
#pragma once

#include <vector>

#include "services/core/kor_text.h"

namespace kor {

struct SerialDevice {
  enum class State {
    Free,
    InUse,
    NoPermission,
    Console
  };                  // Console: the system writes its messages there
  KorText path;       // "/dev/ttyUSB0", "COM3"
  KorText stableName; // "/dev/serial/by-id/usb-...", which stays with the adapter; empty: none
  State state = State::Free;
};

// Returns the devices by kind and number.
std::vector<SerialDevice> ListSerialDevices();
// What the port stands for, as the user knows it: "/dev/serial/by-id/usb-...", on Windows the name
// that its driver gives it, such as "USB Serial Port"; empty where that is no other than the port.
KorText SerialDeviceBehind(const KorText& port);
// Whether the port of that name, as the settings have it, is there and could be opened now. One
// over the network counts as there: to connect could take it from another client.
bool IsSerialPortFree(const KorText& name);
// The address that the port of that name stands for; empty for a device of this computer.
KorText NetworkAddress(const KorText& name);
// Their paths alone. Opens none: may be asked every second while other programs use them.
std::vector<KorText> ListSerialPaths();
// Returns a port of the settings as the user knows it: "COM1 (/dev/ttyUSB0)" where the system calls
// the device otherwise, else the name alone.
KorText SerialDeviceName(const KorText& port);

} // namespace kor
