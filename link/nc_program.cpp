#include "link/nc_program.h"

#include <algorithm>

#include "files/container_layout.h"
#include "link/writer_watch.h"
#include "services/core/app_interface.h"

namespace kor {

namespace {

constexpr std::size_t kLongestUtf8 = 4; // bytes of a character

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
        std::find_if(bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.end(),
                     [](std::uint8_t c) { return c == '\n' || c == '\r'; });
    const auto next = std::min(static_cast<std::size_t>(lineEnd - bytes.begin()) + 1, bytes.size());
    const std::string_view line(reinterpret_cast<const char*>(bytes.data()) + from, next - from);
    const std::string narrow = KorText::FromUtf8(line).ToBytes();
    std::copy(narrow.begin(), narrow.end(), bytes.begin() + static_cast<std::ptrdiff_t>(to));
    to += narrow.size();
    from = next;
  }
  bytes.resize(to);
}

// Whether a container was cut inside its signature: the file has more than half of the signature's
// fixed bytes and no more than a part of it.
bool IsCutSignature(SimpleFile& file) {
  constexpr std::size_t kEnough = 12;
  Signature header;
  const std::size_t count = file.Read(header);
  return count >= kEnough && count < kSignatureSize &&
         std::equal(header.begin(), header.begin() + kEnough, ContainerSignature(2005).begin());
}

std::uint64_t MarkSize(TextEncoding encoding) {
  return encoding == TextEncoding::Utf8 ? 3 : encoding == TextEncoding::Utf16 ? 2 : 0;
}

} // namespace

void NcProgram::Clear() {
  *this = NcProgram();
}

NcProgram::Result NcProgram::Open(SimpleFile& file, std::uint32_t mode) {
  if (!App().FileExists(file.Name()) || !file.Open(kFileRead)) return Result::CantOpen;
  if (std::max(file.Size(), InflatedSize(file)) > kLargest) return Result::TooLarge;
  const bool plain = file.Size() < kSignatureSize;
  if (plain && IsCutSignature(file)) return Result::Damaged;
  file.Close();
  if (!file.Open(mode, OpenWait::No, Compression{!plain}))
    return file.LackedMemory() ? Result::TooLarge : Result::Damaged;
  file.Seek(0); // in memory, looking for the mark has taken bytes whatever they were
  return Result::Read;
}

NcProgram::Result NcProgram::Read(const KorText& path) {
  Clear();
  const WriterWatch watch(path);
  const Result result = watch.IsHeld() ? Result::BeingWritten : ReadAsItIs(path);
  if (result == Result::CantOpen || !watch.SawWriter()) return result;
  Clear();
  return Result::BeingWritten;
}

NcProgram::Result NcProgram::ReadAsItIs(const KorText& path) {
  SimpleFile file(path);
  const Result opened = Open(file, kFileRead | kFileText);
  if (opened != Result::Read) return opened;
  const std::uint64_t size = file.Size();
  const TextEncoding encoding = file.Encoding();
  file.Seek(MarkSize(encoding));
  auto content = file.ReadAll();
  if (!content) return file.LackedMemory() ? Result::TooLarge : Result::Damaged;
  file.Close();
  bytes = std::move(*content);
  if (encoding == TextEncoding::Utf16) NarrowUtf16(bytes);
  const bool isUtf8 = encoding == TextEncoding::Utf8;
  const bool mayFit = !isUtf8 || LinesFit(kLongestLine * kLongestUtf8);
  if (isUtf8 && mayFit) NarrowUtf8(bytes);
  if (!mayFit || !LinesFit(kLongestLine)) {
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

bool NcProgram::LinesFit(std::size_t longest) const {
  for (std::size_t at = 0; at < bytes.size();)
    if (LineAt(at, at).size() > longest) return false;
  return true;
}

std::optional<std::string_view> NcProgram::NextLine() {
  if (AtEnd()) return std::nullopt;
  return LineAt(position, position);
}

} // namespace kor
