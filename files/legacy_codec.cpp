#include "files/legacy_codec.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "files/little_endian.h"
#include "services/core/app_interface.h"
#include "services/core/as_bytes.h"

namespace kor {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t kHeaderSize = 5; // declared length and version
constexpr std::size_t kVersionAt = 4;
constexpr std::int32_t kSillyLength = 0x6400000;
constexpr std::uint8_t kZeroRun = 0xAF;
constexpr std::uint8_t kSequence = 0xAE;

// Numbered from 1 in the encoding.
constexpr std::string_view kSequences[] = {
    "\x00\x00\x00\x02\x00"sv,
    "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x01\x00"sv,
    "\x0a\x01\x00\x00\x00"sv,
    "\x00\x00\x3d\x00\x00\x00\x39\x00\x00\x00"sv,
    "\x6d\x86\xca\x01\x08\x00\x00\x00\x04"sv,
    "\x02\x04\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x01\x00\x00\x00\x00\x00"
    "\x00\x00\x00\xe8"sv,
    "\x02\x00\x00\x00\x6d"sv,
    "\x00\x00\x00\x01\x00"sv,
    "\x00\x00\x00\x04\x00"sv,
    "\xe8\x03\x00\x00"sv,
    "\x03\x00\x00\x34\x00\x00\x00\x30\x00"sv,
    "\xff\xff\xff\xff"sv,
    "\x02\x00\x00\x34\x00\x00\x00\x20\x00\x00\x00"sv,
    "\x0c\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x63\x02\x00"sv,
    "\x01\x00\x00\x00\x00\x01\x00"sv,
    "\x01\x00\x00\x00\x00\x02\x00\x00\x00"sv,
    "\x00\x00\x26\x01\x00\x00"sv,
    "\x5b\x02\x00\x00"sv,
    "\x03\x00\x00\x00\x43\x54\x00"sv,
    "\x00\x00\x34\x00\x00\x00"sv,
    "\x0c\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x63\x02"sv,
    "\x02\x20\x00\x00\x00"sv,
    "\x43\xd5\x59\x8c"sv,
};

void Warn(const char16_t* info) {
  App().DebugWarning(u"Decompression", info);
}

void CopyTo(VoidBuffer& output, std::size_t at, std::span<const std::uint8_t> bytes) {
  const std::size_t count = std::min(bytes.size(), output.Size() - at);
  if (count > 0) std::memcpy(output.Data() + at, bytes.data(), count);
}

// The count is the number that begins at the version byte, so that byte is both its lowest byte and
// the version. The overlap is how these buffers were always read.
void DecodeStored(std::span<const std::uint8_t> encoded, VoidBuffer& output) {
  std::uint8_t number[4] = {};
  const std::span<const std::uint8_t> rest = encoded.subspan(kVersionAt);
  std::copy_n(rest.begin(), std::min<std::size_t>(rest.size(), sizeof number), number);
  const auto count = static_cast<std::int32_t>(LoadLe32(number));
  const std::span<const std::uint8_t> payload = encoded.subspan(kHeaderSize);
  const auto wanted = static_cast<std::size_t>(std::max(count, 0));
  CopyTo(output, 0, payload.first(std::min(wanted, payload.size())));
}

// What an entry of the table puts at the position; how many bytes that is.
std::size_t CopySequence(VoidBuffer& output, std::size_t at, std::size_t entry) {
  if (entry > std::size(kSequences)) {
    Warn(u"Unsupported sequence");
    return 0;
  }
  const std::string_view bytes = kSequences[entry - 1];
  CopyTo(output, at, AsBytes(bytes));
  return std::min(bytes.size(), output.Size() - at);
}

void DecodeRuns(std::span<const std::uint8_t> payload, std::int64_t declared, VoidBuffer& output) {
  std::size_t produced = 0;
  for (std::size_t at = 0; at < payload.size() && produced < output.Size(); ++at) {
    const std::uint8_t code = payload[at];
    const bool special = (code == kZeroRun || code == kSequence) && at + 1 < payload.size();
    const std::size_t number = special ? payload[++at] : 0;
    if (number == 0)
      output.Data()[produced++] = code;
    else if (code == kZeroRun)
      produced += number + 1;
    else
      produced += CopySequence(output, produced, number);
  }
  if (static_cast<std::int64_t>(produced) != declared) Warn(u"Failed to decompress buffer");
}

} // namespace

VoidBuffer DecodeLegacyBuffer(std::span<const std::uint8_t> encoded, std::int32_t& declaredLength) {
  declaredLength = encoded.size() < 4 ? 0 : static_cast<std::int32_t>(LoadLe32(encoded.data()));
  if (declaredLength > kSillyLength) Warn(u"Silly size; corruption suspected");
  VoidBuffer output;
  if (!output.ResizeZeroed(static_cast<std::size_t>(std::max(declaredLength, 0)))) return output;
  const int version = encoded.size() < kHeaderSize ? -1 : encoded[kVersionAt];
  if (version == 0)
    DecodeStored(encoded, output);
  else if (version == 1)
    DecodeRuns(encoded.subspan(kHeaderSize), declaredLength, output);
  else
    Warn(u"Unsupported compression version");
  return output;
}

} // namespace kor
