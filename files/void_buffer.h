// VoidBuffer: a growable byte buffer that compresses and restores itself. Growing reports failure
// instead of throwing, and new bytes are not cleared unless asked for: buffers of 32 MiB are
// ordinary here.
//
// Compressed form: every piece ends in a 5-byte trailer, a type byte and a 32-bit little-endian
// number. Type 1 is a zlib stream and the length it inflates to; type 2 is a run of chunks (32-bit
// length, then a type-1 piece of at most 32 MiB of input) and 0.
//
// Owns its bytes. One thread at a time per object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

namespace kor {

class VoidBuffer {
 public:
  static constexpr std::size_t kChunkSize = 0x2000000; // 32 MiB of input per chunk or block
  static constexpr std::size_t kTrailerSize = 5;
  static constexpr std::uint8_t kSingleStream = 1;
  static constexpr std::uint8_t kChunked = 2;
  static constexpr int kDefaultLevel = 6; // zlib's

  VoidBuffer() = default;
  explicit VoidBuffer(std::span<const std::uint8_t> bytes);
  VoidBuffer(VoidBuffer&& other) noexcept;
  VoidBuffer& operator=(VoidBuffer&& other) noexcept;

  std::uint8_t* Data() { return memory.get(); } // null when nothing was ever reserved
  const std::uint8_t* Data() const { return memory.get(); }
  std::size_t Size() const { return size; }
  std::size_t Capacity() const { return capacity; }
  bool IsEmpty() const { return size == 0; }
  std::span<std::uint8_t> Bytes() { return {memory.get(), size}; }
  std::span<const std::uint8_t> Bytes() const { return {memory.get(), size}; }

  // Takes exactly this many bytes of memory, more or less than now; with less, the size is cut.
  // False when the memory is not to be had; nothing changes then.
  bool SetCapacity(std::size_t bytes);
  // Takes at least this many bytes of memory.
  bool Reserve(std::size_t bytes) { return bytes <= capacity || SetCapacity(bytes); }
  // Changes the size, growing the memory when needed. New bytes are undefined, or 0 when cleared.
  bool Resize(std::size_t bytes, bool clear = false);
  // Makes the buffer nothing but zeros. Memory is taken only as it is touched, where the system
  // works that way.
  bool ResizeZeroed(std::size_t bytes);
  bool Append(std::span<const std::uint8_t> bytes);
  void Clear() { size = 0, lacksMemory = false; } // keeps the memory
  void Free();
  // Whether growing this buffer, or filling it by an operation below, has failed for want of memory
  // since Clear.
  bool LacksMemory() const { return lacksMemory; }

  // Compresses into a type-1 piece, or a type-2 one from 32 MiB of source on (from 2 GiB on with
  // the large flag). An empty source empties the destination and succeeds. False, and an empty
  // destination, when it fails.
  static bool Compress(std::span<const std::uint8_t> source, VoidBuffer& destination, bool large,
                       int level = kDefaultLevel);
  // Compresses into a type-1 piece only. Sources of 0xFFFFFFFF bytes and more are refused, and so
  // is one that comes out longer than the largest result.
  static bool Compress32(std::span<const std::uint8_t> source, VoidBuffer& destination, int level,
                         std::size_t largest = static_cast<std::size_t>(-1));
  // Restores a piece of either type. False when the bytes are no compressed piece or are damaged;
  // the destination is empty then. A length that the data cannot produce (zlib expands at most
  // 1032:1) is refused before any memory is taken for it.
  static bool Decompress(std::span<const std::uint8_t> source, VoidBuffer& destination);
  // Restores a type-1 piece only, of at most the largest result.
  static bool Decompress32(std::span<const std::uint8_t> source, VoidBuffer& destination,
                           std::size_t largest = static_cast<std::size_t>(-1));
  // Whether zlib data of this many bytes can inflate to the length.
  static bool CanInflateTo(std::size_t bytes, std::uint32_t length);
  // Restores in place; on failure the buffer stays as it was.
  bool Decompress();

 private:
  bool Refuse() { return lacksMemory = true, false; }
  bool Overlaps(std::span<const std::uint8_t> bytes) const;
  struct Release {
    void operator()(std::uint8_t* bytes) const { std::free(bytes); }
  };
  std::unique_ptr<std::uint8_t, Release> memory;
  std::size_t size = 0;
  std::size_t capacity = 0;
  bool lacksMemory = false;
};

} // namespace kor
