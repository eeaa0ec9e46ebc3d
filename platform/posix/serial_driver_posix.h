// What the system tells of the driver behind a serial device, where the port has to make up for it.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>

namespace kor {

struct SerialDriver {
  // A USB adapter's driver can't be stopped, and what it was given can't be taken back.
  bool isUsb = false;
  // Bits per second. Below it the chip runs at another rate, while the driver tells the wanted one.
  std::uint32_t lowestRate = 0;
};

// system: the folder /sys, or what stands for it in a test. A device that it doesn't know gives an
// empty SerialDriver.
SerialDriver SerialDriverOf(dev_t device, const std::filesystem::path& system);

} // namespace kor
