// The data frame of the NCE protocol: block length, block, checksum, CR.
#pragma once

#include <string>
#include <string_view>

namespace kor {

// A block is full once it is longer than this many characters, so that it holds whole lines only.
inline constexpr std::size_t kFullBlock = 99;

// Returns the exclusive-or of all bytes, starting from 0.
unsigned BlockChecksum(std::string_view block);

// Returns "%02X%s%02X%c" with the block's length, the block, its checksum and CR: 'G90!X10!' gives
// '08G90!X10!17' and CR. Longer blocks have longer length fields: 100 is "64", 256 is "100".
std::string MakeFrame(std::string_view block);

} // namespace kor
