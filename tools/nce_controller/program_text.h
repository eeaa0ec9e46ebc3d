// NC programs as bytes: their lines, the blocks that carry them, and comparison with a host file.
// Pure functions, any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kor::controller {

// Returns the lines of a host file or a fetched program without their ends (LF or CR LF) and
// without the empty ones, which never travel.
std::vector<std::string_view> NonEmptyLines(std::string_view program);

// Returns the first difference, naming the line; empty when both have the same non-empty lines.
std::string FirstDifference(std::string_view received, std::string_view expected);

// Returns why a program can't travel to the host unharmed - a byte that the host drops or reads as
// an end of line or of program - with line and column; empty when it can.
std::string UploadObstacle(std::string_view program);

// Returns the blocks of an upload: lines, each followed by "!", filled up until they exceed 99
// characters. The host strips two length digits, so no block exceeds 255 bytes: a longer line goes
// on in the next block, and its "!" comes with its last piece. Empty lines and missing ends are
// kept as lines.
std::vector<std::string> UploadBlocks(std::string_view program);

// Returns what a frame's block adds to the program: every "!" is an end of line.
std::string BlockText(std::string_view block);

} // namespace kor::controller
