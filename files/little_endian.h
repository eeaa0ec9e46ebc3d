// Numbers as bytes, least significant byte first, whatever the machine: the one place where the
// disk formats turn values into bytes. The pointers need no alignment; the caller sees to it that
// the bytes are there. Pure functions, any thread.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace kor {

template <std::size_t Bytes> struct UnsignedOfWidth;
template <> struct UnsignedOfWidth<1> { using Type = std::uint8_t; };
template <> struct UnsignedOfWidth<2> { using Type = std::uint16_t; };
template <> struct UnsignedOfWidth<4> { using Type = std::uint32_t; };
template <> struct UnsignedOfWidth<8> { using Type = std::uint64_t; };

template <class Unsigned> constexpr Unsigned ReverseBytes(Unsigned value) {
  Unsigned reversed = 0;
  for (std::size_t i = 0; i < sizeof(Unsigned); ++i)
    reversed = static_cast<Unsigned>(reversed << 8 | (value >> (8 * i) & 0xFF));
  return reversed;
}

// Loads an integer or an IEEE 754 real.
template <class Number> inline Number LoadLe(const std::uint8_t* from) {
  static_assert(std::is_arithmetic_v<Number>);
  typename UnsignedOfWidth<sizeof(Number)>::Type raw;
  std::memcpy(&raw, from, sizeof raw);
  if constexpr (std::endian::native == std::endian::big) raw = ReverseBytes(raw);
  return std::bit_cast<Number>(raw);
}

template <class Number> inline void StoreLe(std::uint8_t* to, Number value) {
  static_assert(std::is_arithmetic_v<Number>);
  auto raw = std::bit_cast<typename UnsignedOfWidth<sizeof(Number)>::Type>(value);
  if constexpr (std::endian::native == std::endian::big) raw = ReverseBytes(raw);
  std::memcpy(to, &raw, sizeof raw);
}

inline std::uint32_t LoadLe32(const std::uint8_t* from) {
  return LoadLe<std::uint32_t>(from);
}
inline std::uint64_t LoadLe64(const std::uint8_t* from) {
  return LoadLe<std::uint64_t>(from);
}
inline void StoreLe32(std::uint8_t* to, std::uint32_t value) {
  StoreLe(to, value);
}

// Stores a run of UTF-16 units.
inline void StoreUnitsLe(std::uint8_t* to, const char16_t* from, std::size_t count) {
  if constexpr (std::endian::native == std::endian::little) {
    if (count != 0) std::memcpy(to, from, count * sizeof(char16_t));
  } else {
    for (std::size_t i = 0; i < count; ++i)
      StoreLe(to + 2 * i, from[i]);
  }
}

// Turns units whose bytes were read as they lie in a file into numbers, in place.
inline void UnitsFromLe(char16_t* units, std::size_t count) {
  if constexpr (std::endian::native == std::endian::big)
    for (std::size_t i = 0; i < count; ++i)
      units[i] = static_cast<char16_t>(ReverseBytes(static_cast<std::uint16_t>(units[i])));
}

} // namespace kor
