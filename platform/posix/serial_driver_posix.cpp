#include "platform/posix/serial_driver_posix.h"

#include <sys/sysmacros.h>

#include <string>
#include <system_error>

namespace kor {

namespace {

// The chips divide 3 MHz by 14 bits; the driver cuts a larger divisor off.
constexpr std::uint32_t kLowestFtdiRate = 184;

std::string LinkedName(const std::filesystem::path& link) {
  std::error_code error;
  return std::filesystem::read_symlink(link, error).filename();
}

} // namespace

SerialDriver SerialDriverOf(dev_t device, const std::filesystem::path& system) {
  const std::string number = std::to_string(major(device)) + ":" + std::to_string(minor(device));
  const std::filesystem::path folder = system / "dev/char" / number / "device";
  const std::string bus = LinkedName(folder / "subsystem");
  SerialDriver driver;
  driver.isUsb = bus == "usb-serial" || bus == "usb";
  if (LinkedName(folder / "driver") == "ftdi_sio") driver.lowestRate = kLowestFtdiRate;
  return driver;
}

} // namespace kor
