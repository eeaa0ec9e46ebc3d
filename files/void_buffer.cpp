#include "files/void_buffer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include <zlib.h>

#include "files/little_endian.h"
#include "services/core/app_interface.h"

namespace kor {
namespace {

using ByteSpan = std::span<const std::uint8_t>;

constexpr std::size_t kTooBig = 0xFFFFFFFF;
constexpr std::size_t kLargeLimit = 0x80000000;
// What deflate can make of one byte: 258 bytes from two bits.
constexpr std::uint64_t kLargestExpansion = 1032;

struct Trailer {
  std::uint8_t type = 0; // 0: no trailer
  std::uint32_t length = 0;
};

Trailer ReadTrailer(ByteSpan piece) {
  if (piece.size() < VoidBuffer::kTrailerSize) return {};
  const std::uint8_t* at = piece.data() + piece.size() - VoidBuffer::kTrailerSize;
  return {at[0], LoadLe32(at + 1)};
}

bool AppendTrailer(VoidBuffer& piece, std::uint8_t type, std::uint32_t length) {
  std::uint8_t bytes[VoidBuffer::kTrailerSize] = {type};
  StoreLe32(bytes + 1, length);
  return piece.Append(bytes);
}

// zlib's bound; its type has 32 bits on some systems.
std::size_t CompressionBound(std::size_t length) {
  const std::size_t bound = compressBound(static_cast<uLong>(length));
  return bound < length ? std::numeric_limits<uLong>::max() : bound;
}

bool CompressChunks(ByteSpan source, VoidBuffer& destination, int level) {
  VoidBuffer chunk;
  while (!source.empty()) {
    const ByteSpan part = source.first(std::min(source.size(), VoidBuffer::kChunkSize));
    std::uint8_t length[4];
    if (!VoidBuffer::Compress32(part, chunk, level)) return false;
    StoreLe32(length, static_cast<std::uint32_t>(chunk.Size()));
    if (!destination.Append(length) || !destination.Append(chunk.Bytes())) return false;
    source = source.subspan(part.size());
  }
  return AppendTrailer(destination, VoidBuffer::kChunked, 0);
}

bool DecompressChunks(ByteSpan chunks, VoidBuffer& part, VoidBuffer& destination) {
  while (!chunks.empty()) {
    if (chunks.size() < 4) return false;
    const std::uint32_t length = LoadLe32(chunks.data());
    chunks = chunks.subspan(4);
    if (length > chunks.size()) return false;
    if (!VoidBuffer::Decompress32(chunks.first(length), part)) return false;
    if (!destination.Append(part.Bytes())) return false;
    chunks = chunks.subspan(length);
  }
  return true;
}

} // namespace

VoidBuffer::VoidBuffer(std::span<const std::uint8_t> bytes) {
  Append(bytes);
}

VoidBuffer::VoidBuffer(VoidBuffer&& other) noexcept
    : memory(std::move(other.memory)), size(std::exchange(other.size, 0)),
      capacity(std::exchange(other.capacity, 0)) {}

VoidBuffer& VoidBuffer::operator=(VoidBuffer&& other) noexcept {
  memory = std::move(other.memory);
  size = std::exchange(other.size, 0);
  capacity = std::exchange(other.capacity, 0);
  return *this;
}

bool VoidBuffer::SetCapacity(std::size_t bytes) {
  if (bytes == 0) {
    Free();
    return true;
  }
  auto* moved = static_cast<std::uint8_t*>(std::realloc(memory.get(), bytes));
  if (moved == nullptr) return Refuse();
  static_cast<void>(memory.release()); // realloc took it over
  memory.reset(moved);
  capacity = bytes;
  size = std::min(size, bytes);
  return true;
}

bool VoidBuffer::Resize(std::size_t bytes, bool clear) {
  if (!Reserve(bytes)) return false;
  if (clear && bytes > size) std::memset(memory.get() + size, 0, bytes - size);
  size = bytes;
  return true;
}

bool VoidBuffer::Append(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return true;
  const std::size_t needed = size + bytes.size();
  if (needed > capacity && !SetCapacity(std::max(needed, capacity + capacity / 2))) return false;
  std::memcpy(memory.get() + size, bytes.data(), bytes.size());
  size = needed;
  return true;
}

void VoidBuffer::Free() {
  memory.reset();
  size = capacity = 0;
}

bool VoidBuffer::ResizeZeroed(std::size_t bytes) {
  Free();
  if (bytes == 0) return true;
  memory.reset(static_cast<std::uint8_t*>(std::calloc(bytes, 1)));
  if (!memory) return Refuse();
  size = capacity = bytes;
  return true;
}

bool VoidBuffer::Overlaps(std::span<const std::uint8_t> bytes) const {
  return !bytes.empty() && memory && bytes.data() < memory.get() + capacity &&
         memory.get() < bytes.data() + bytes.size();
}

// --- Compression ---

bool VoidBuffer::Compress(std::span<const std::uint8_t> source, VoidBuffer& destination, bool large,
                          int level) {
  if (destination.Overlaps(source)) {
    App().DebugWarning(u"Debug Warning", u"VoidBuffer can't compress directly into self!");
    destination.Clear();
    return false;
  }
  destination.Clear();
  if (source.empty()) return true;
  if (source.size() < (large ? kLargeLimit : kChunkSize))
    return Compress32(source, destination, level);
  if (CompressChunks(source, destination, level)) return true;
  destination.Clear();
  return false;
}

bool VoidBuffer::Compress32(std::span<const std::uint8_t> source, VoidBuffer& destination,
                            int level, std::size_t largest) {
  destination.Clear();
  if (source.size() >= kTooBig) {
    App().DebugWarning(u"Buffer is too big!", u"VoidBuffer::Compress32");
    return false;
  }
  const std::size_t room = std::min(CompressionBound(source.size()) + kTrailerSize, largest);
  if (room < kTrailerSize || !destination.Reserve(room)) return false;
  auto length = static_cast<uLongf>(room - kTrailerSize);
  const int code = compress2(destination.Data(), &length, source.data(),
                             static_cast<uLong>(source.size()), level);
  if (code != Z_OK) return code == Z_MEM_ERROR && destination.Refuse();
  destination.Resize(length);
  return AppendTrailer(destination, kSingleStream, static_cast<std::uint32_t>(source.size()));
}

bool VoidBuffer::CanInflateTo(std::size_t bytes, std::uint32_t length) {
  return length <= bytes * kLargestExpansion;
}

bool VoidBuffer::Decompress32(std::span<const std::uint8_t> source, VoidBuffer& destination,
                              std::size_t largest) {
  destination.Clear();
  const Trailer trailer = ReadTrailer(source);
  if (trailer.type != kSingleStream || trailer.length > largest) return false;
  source = source.first(source.size() - kTrailerSize);
  if (!CanInflateTo(source.size(), trailer.length)) return false;
  if (!destination.Resize(std::max<std::size_t>(trailer.length, 1))) return false;
  auto length = static_cast<uLongf>(trailer.length);
  const int code =
      uncompress(destination.Data(), &length, source.data(), static_cast<uLong>(source.size()));
  const bool good = code == Z_OK && length == trailer.length;
  destination.Resize(good ? length : 0);
  return good || (code == Z_MEM_ERROR && destination.Refuse());
}

bool VoidBuffer::Decompress(std::span<const std::uint8_t> source, VoidBuffer& destination) {
  if (destination.Overlaps(source)) {
    App().DebugWarning(u"Debug Warning", u"VoidBuffer can't decompress directly into self!");
    destination.Clear();
    return false;
  }
  destination.Clear();
  const Trailer trailer = ReadTrailer(source);
  if (trailer.type == kSingleStream) return Decompress32(source, destination);
  VoidBuffer part;
  if (trailer.type == kChunked &&
      DecompressChunks(source.first(source.size() - kTrailerSize), part, destination))
    return true;
  const bool lacked = part.LacksMemory() || destination.LacksMemory();
  destination.Clear();
  return lacked && destination.Refuse();
}

bool VoidBuffer::Decompress() {
  VoidBuffer inflated;
  if (!Decompress(Bytes(), inflated)) return inflated.LacksMemory() && Refuse();
  *this = std::move(inflated);
  return true;
}

} // namespace kor
