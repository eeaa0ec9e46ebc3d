#include "link/nc_program.h"

#include <algorithm>

#include "files/simple_file.h"

namespace kor {

namespace {

// Both conversions work in place: the result is never longer than what it is made of.
void NarrowUtf16(std::vector<std::uint8_t>& bytes) {
  std::size_t to = 0;
  for (std::size_t from = 0; from + 1 < bytes.size(); from += 2)
    bytes[to++] = bytes[from + 1] == 0 ? bytes[from] : std::uint8_t{'?'};
  bytes.resize(to);
}

void NarrowUtf8(std::vector<std::uint8_t>& bytes) {
  std::size_t to = 0;
  for (std::size_t from = 0; from < bytes.size();) {
    const auto lineEnd =
        std::find(bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.end(), '\n');
    const auto next = std::min(static_cast<std::size_t>(lineEnd - bytes.begin()) + 1, bytes.size());
    const std::string_view line(reinterpret_cast<const char*>(bytes.data()) + from, next - from);
    const std::string narrow = KorText::FromUtf8(line).ToBytes();
    std::copy(narrow.begin(), narrow.end(), bytes.begin() + static_cast<std::ptrdiff_t>(to));
    to += narrow.size();
    from = next;
  }
  bytes.resize(to);
}

} // namespace

void NcProgram::Clear() {
  *this = NcProgram();
}

NcProgram::Result NcProgram::Read(const KorText& path) {
  Clear();
  SimpleFile file(path);
  if (!file.Open(kFileRead | kFileText)) return Result::CantOpen;
  const std::uint64_t size = file.Size();
  if (file.Encoding() == TextEncoding::EightBit) file.Seek(0);
  auto content = file.ReadAll();
  if (!content) return Result::CantOpen;
  bytes = std::move(*content);
  if (file.Encoding() == TextEncoding::Utf16) NarrowUtf16(bytes);
  if (file.Encoding() == TextEncoding::Utf8) NarrowUtf8(bytes);
  if (!CountLines()) {
    Clear();
    return Result::LineTooLong;
  }
  fileSize = size;
  return Result::Read;
}

std::string_view NcProgram::LineAt(std::size_t from, std::size_t& next) const {
  const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const std::size_t end = std::min(all.find_first_of("\r\n", from), all.size());
  next = std::min(end + 1, all.size());
  if (end + 1 < all.size() && all[end] == '\r' && all[end + 1] == '\n') ++next;
  return all.substr(from, end - from);
}

bool NcProgram::CountLines() {
  for (std::size_t at = 0; at < bytes.size(); ++lineCount)
    if (LineAt(at, at).size() > kLongestLine) return false;
  return true;
}

std::optional<std::string_view> NcProgram::NextLine() {
  if (AtEnd()) return std::nullopt;
  ++linesTaken;
  return LineAt(position, position);
}

} // namespace kor
