// The demonstration with the window: what an operator sees while the machine lists, fetches and
// stores programs.
#pragma once

#include <string>
#include <string_view>

namespace kor::demo {

// On the display there is. pictures: the folder for pictures of the whole display; empty for none.
// The exit code, 0 when every byte that travelled was right. Throws std::runtime_error when a
// program doesn't start.
int ShowWindow(const std::string& programs, const std::string& samples, std::string_view pictures);

} // namespace kor::demo
