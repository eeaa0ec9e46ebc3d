// NC programs on this computer's disk, whole and byte for byte, through the application services.
#pragma once

#include <string>
#include <string_view>

#include "services/core/kor_text.h"

namespace kor::controller {

// Both return an empty text, or what went wrong with which file.
std::string LoadProgram(const KorText& path, std::string& content);
// Stores safely: an older file stays whole until the new one is.
std::string StoreProgram(const KorText& path, std::string_view content);

} // namespace kor::controller
