// FileCrc: the 64-bit file checksum. Polynomial x^64 + x^4 + x^3 + x + 1 in reflected form, least
// significant bit first, register starting at 0, no final inversion. A count of the bytes, modulo
// 2^32, goes with it. Disk form (12 bytes): count, low half, high half, each a 32-bit little-endian
// number.
//
// A value type: no locking. The free functions may be called from any thread.
#pragma once

#include <cstdint>
#include <span>

namespace kor {

struct FileCrc {
  std::uint32_t count = 0; // bytes added so far
  std::uint32_t low = 0;
  std::uint32_t high = 0;

  void Add(std::span<const std::uint8_t> bytes);
  std::uint64_t Value() const { return static_cast<std::uint64_t>(high) << 32 | low; }
  friend bool operator==(const FileCrc&, const FileCrc&) = default;
};

// The ways to compute the checksum, the fastest last. All give the same result.
enum class CrcMethod { Bytewise, Slicing, Folding };

// Folding needs the processor's carry-less multiplication; the others are always there.
bool CrcMethodAvailable(CrcMethod method);
// Returns the register after the bytes. Slicing stands in for a method that is not available.
std::uint64_t UpdateCrc(CrcMethod method, std::uint64_t crc, std::span<const std::uint8_t> bytes);

} // namespace kor
