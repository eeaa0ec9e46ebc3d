// FileResult: the result codes of the whole-file operations (compress, restore, opening a
// compressed file). The numbers are shown to users and kept in scripts, so they never change.
#pragma once

#include <cstdint>

namespace kor {

enum class FileResult : std::uint32_t {
  Success = 0,
  Failure = 0x20000000,               // no more particular cause; the data could not be inflated
  SourceUnreadable = 0x20000001,      // could not be opened or read in full
  DestinationUnwritable = 0x20000002, // could not be opened or written in full
  WrongKind = 0x20000003,             // compressing a compressed file, restoring a plain one
  Corrupt = 0x20000004,               // damaged signature or impossible block length
};

} // namespace kor
