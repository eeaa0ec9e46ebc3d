// A sweep puts one kind of fault at every place of the exchanges in turn, or at random places where
// they can't be counted. The same seed makes the same exchanges, so kind, seed and position repeat
// a try.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace kor::torture {

struct Broken {
  std::string what;
};
inline void Require(bool holds, const std::string& what) {
  if (!holds) throw Broken{what};
}

struct Sweep {
  std::string name;
  std::string unit; // what its positions are; empty: each try is left to chance
  std::size_t ways; // tries per position
  std::function<std::size_t(unsigned seed)> positions;
  // Throws Broken.
  std::function<void(unsigned seed, std::size_t position, std::size_t way)> run;
  int share = 1; // of the time
};

inline std::size_t OnePosition(unsigned) {
  return 1;
}

std::vector<Sweep>
ExchangeSweeps();                  // pulled devices, holds, damage: at every byte of every exchange
std::vector<Sweep> StoredSweeps(); // full disks and power cuts, wherever something is stored
std::vector<Sweep> HostileSweeps(); // noise, numbers, odd things in the folders
std::vector<Sweep> NetworkSweeps(); // a line over the network, split and cut at every byte
std::vector<Sweep> KillSweeps();    // real processes, killed at random moments

} // namespace kor::torture
