// RandomNumbers: the splitmix64 generator; the same numbers for the same seed on every system. One
// thread at a time.
#pragma once

#include <cstdint>

namespace kor {

class RandomNumbers {
 public:
  explicit RandomNumbers(std::uint64_t seed) : state(seed) {}

  std::uint64_t Next() {
    state += 0x9E3779B97F4A7C15u;
    std::uint64_t mixed = state;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
    return mixed ^ (mixed >> 31);
  }

 private:
  std::uint64_t state;
};

} // namespace kor
