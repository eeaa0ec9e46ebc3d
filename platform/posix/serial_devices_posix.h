// The lists of serial devices on another folder than /dev, for tests.
#pragma once

#include <filesystem>

#include "platform/serial_devices.h"

namespace kor {

std::vector<SerialDevice> ListSerialDevicesIn(const std::filesystem::path& folder);
std::vector<KorText> ListSerialPathsIn(const std::filesystem::path& folder);

} // namespace kor
