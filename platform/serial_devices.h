// The serial devices that this computer has at the moment, whatever names the settings give them.
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
// Returns what the port stands for, as the user knows it: "/dev/serial/by-id/usb-...", or on
// Windows the driver's name for it, such as "USB Serial Port". Empty where that is just the port.
KorText SerialDeviceBehind(const KorText& port);
// Returns whether the port of that name, as the settings have it, is there and could be opened now.
// A port over the network counts as there, because connecting could take it from another client.
bool IsSerialPortFree(const KorText& name);
// Returns the address that the port of that name stands for; empty for a device of this computer.
KorText NetworkAddress(const KorText& name);
// Returns only their paths. Opens none, so it may be called every second while other programs use
// them.
std::vector<KorText> ListSerialPaths();
// Returns a port of the settings as the user knows it: "COM1 (/dev/ttyUSB0)" where the system calls
// the device something else, otherwise only the name.
KorText SerialDeviceName(const KorText& port);

} // namespace kor
