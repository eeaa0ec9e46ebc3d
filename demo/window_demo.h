// The demonstration with the window: it shows what an operator sees while the machine lists,
// fetches and stores programs.
#pragma once

#include <string>
#include <string_view>

namespace kor::demo {

// Runs on the present display. pictures is the folder for pictures of the whole display; without
// one none are taken. Returns the exit code, 0 when every byte that travelled was right. Throws
// std::runtime_error when a program doesn't start.
int ShowWindow(const std::string& programs, const std::string& samples, std::string_view pictures);

} // namespace kor::demo
