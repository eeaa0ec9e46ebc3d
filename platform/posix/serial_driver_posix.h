// What the system tells of the driver behind a serial device, where the port has to make up for it.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>

namespace kor {

struct SerialDriver {
  // Whether this is a USB adapter, whose driver can't be stopped: what it was given can't be taken
  // back.
  bool isUsb = false;
  // Bits per second. Below this rate the chip runs at another one, while the driver tells the
  // wanted one.
  std::uint32_t lowestRate = 0;
};

// system: the folder /sys, or what stands for it in a test. A device that the folder doesn't know
// gives an empty SerialDriver.
SerialDriver SerialDriverOf(dev_t device, const std::filesystem::path& system);

} // namespace kor
