// Little-endian numbers in byte buffers, for every disk format of the system. The caller sees to it
// that the bytes are there.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kor {

template <class Number> constexpr Number LoadLe(const std::uint8_t* from) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < sizeof(Number); ++i)
    value |= static_cast<std::uint64_t>(from[i]) << (8 * i);
  return static_cast<Number>(value);
}

template <class Number> constexpr void StoreLe(std::uint8_t* to, Number value) {
  for (std::size_t i = 0; i < sizeof(Number); ++i)
    to[i] = static_cast<std::uint8_t>(static_cast<std::uint64_t>(value) >> (8 * i));
}

constexpr std::uint32_t LoadLe32(const std::uint8_t* from) {
  return LoadLe<std::uint32_t>(from);
}
constexpr std::uint64_t LoadLe64(const std::uint8_t* from) {
  return LoadLe<std::uint64_t>(from);
}
constexpr void StoreLe32(std::uint8_t* to, std::uint32_t value) {
  StoreLe(to, value);
}
constexpr void StoreLe64(std::uint8_t* to, std::uint64_t value) {
  StoreLe(to, value);
}

} // namespace kor
