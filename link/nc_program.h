// NcProgram: an NC file read into memory, handed out line by line. One copy of the bytes is held,
// no index: a program of 100 MB takes 100 MB, a compressed one twice that while it is read.
// Worker's thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "files/simple_file.h"
#include "services/core/kor_text.h"

namespace kor {

class NcProgram {
 public:
  // A file with a line of more characters is no NC program.
  static constexpr std::size_t kLongestLine = 24576;

  // More bytes, inflated ones of a compressed file, would take six hours on the fastest line, and
  // reading them would keep the line waiting.
  static constexpr std::uint64_t kLargest = 256u << 20;

  // All but Read and CantOpen say that the file is there but nothing of it may be sent. TooLarge
  // stands also for want of memory. BeingWritten may change in a moment.
  enum class Result { Read, CantOpen, LineTooLong, Damaged, TooLarge, BeingWritten };

  // Opens a closed file at its first byte, its mark included; a compressed file at the first byte
  // of what it holds. What is no plain file can't be opened.
  static Result Open(SimpleFile& file, std::uint32_t mode = kFileRead);

  // Lines end at LF, CR LF or a lone CR (which could not travel: it ends a frame). An 8-bit file's
  // bytes are kept as they are; of a file with a UTF-8 or UTF-16 mark each character becomes one
  // byte, "?" above 255. On failure the program is empty. What somebody else writes at the time is
  // refused, whatever it looks like.
  Result Read(const KorText& path);
  void Clear();

  std::uint64_t FileSize() const { return fileSize; } // bytes; of a compressed file, inflated
  // Returns the next line without its end; std::nullopt after the last. Valid until the next Read
  // or Clear.
  std::optional<std::string_view> NextLine();
  bool AtEnd() const { return position >= bytes.size(); }

 private:
  Result ReadAsItIs(const KorText& path);
  std::string_view LineAt(std::size_t from, std::size_t& next) const;
  bool LinesFit(std::size_t longest) const;

  std::vector<std::uint8_t> bytes;
  std::uint64_t fileSize = 0;
  std::size_t position = 0;
};

} // namespace kor
