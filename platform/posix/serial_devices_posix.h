// The lists of serial devices in another folder than /dev, for tests.
#pragma once

#include <filesystem>

#include "platform/serial_devices.h"

namespace kor {

// consoles: the file in which the kernel names its consoles.
std::vector<SerialDevice> ListSerialDevicesIn(const std::filesystem::path& folder,
                                              const std::filesystem::path& consoles);
std::vector<KorText> ListSerialPathsIn(const std::filesystem::path& folder);

} // namespace kor
