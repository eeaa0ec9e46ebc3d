// The tables and constants behind FileCrc; for checksum.cpp and checksum_fold_*.cpp only.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace kor::crc {

inline constexpr std::uint64_t kPolynomial = 0xD800000000000000; // reflected

// Returns the register after one more zero bit.
constexpr std::uint64_t ShiftBit(std::uint64_t crc) {
  return (crc >> 1) ^ ((crc & 1) != 0 ? kPolynomial : 0);
}

// x^exponent modulo the polynomial, reflected: bit 63 stands for 1, bit 0 for x^63.
constexpr std::uint64_t PowerOfX(unsigned exponent) {
  std::uint64_t value = std::uint64_t{1} << 63;
  for (unsigned i = 0; i < exponent; ++i)
    value = ShiftBit(value);
  return value;
}

// Returns the register after the bytes, taken one at a time.
std::uint64_t UpdateBytewise(std::uint64_t crc, std::span<const std::uint8_t> bytes);

bool CanFold();
// May be called only when CanFold().
std::uint64_t UpdateFolding(std::uint64_t crc, std::span<const std::uint8_t> bytes);

} // namespace kor::crc
