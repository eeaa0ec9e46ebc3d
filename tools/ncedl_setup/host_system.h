// What ncedl-setup needs of the system beside the application services: full paths and the names of
// serial devices. One source file per system.
#pragma once

#include <filesystem>
#include <vector>

#include "services/core/kor_text.h"

namespace kor {

// The path from the root on, without "." and ".."; empty when there is none.
KorText FullPath(const KorText& path);
std::filesystem::path NativePath(const KorText& path);
KorText TextOfPath(const std::filesystem::path& path);

// Why a folder's path can't be kept in KOR.INI; empty when it can.
KorText RefusalOfFolder(const KorText& folder);

// Lets the name COMn stand for a device or an address; an empty one takes the name back. An empty
// text, or what went wrong and what to do.
KorText AssignPort(const KorText& name, const KorText& device);
// What is odd about a device that a name was given to, such as that it isn't there; empty: nothing.
KorText DeviceRemark(const KorText& device);
// A line for each name, and what holds for the others.
std::vector<KorText> DescribePorts();

} // namespace kor
