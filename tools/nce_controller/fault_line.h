// FaultLine: a bad cable. Each byte of either direction meets, by chance, one of four fates: it
// becomes another byte, is lost, comes twice, or comes up to 50 ms late with all that follow it.
// The same seed gives the same fates to the same sequence of bytes, per direction.
//
// Owned by main, used by one thread.
#pragma once

#include <array>
#include <deque>
#include <string>

#include "services/core/random_numbers.h"
#include "tools/nce_controller/line.h"

namespace kor::controller {

// Random numbers that are the same on every system, which those of the standard library's
// distributions aren't.
class Chance {
 public:
  explicit Chance(std::uint64_t seed) : numbers(seed) {}
  double Fraction();                                                      // 0 <= f < 1
  std::size_t Below(std::size_t limit) { return numbers.Next() % limit; } // limit > 0

 private:
  RandomNumbers numbers;
};

struct FaultCounts {
  std::uint64_t damaged = 0, dropped = 0, doubled = 0, delayed = 0;
  std::uint64_t Total() const { return damaged + dropped + doubled + delayed; }
};

class FaultLine : public Line {
 public:
  // rate: chance per byte, 0 to 1. inner outlives the line.
  FaultLine(Line& inner, double rate, std::uint64_t seed);

  Time Now() override { return inner.Now(); }
  LineState Read(std::string& to, Time until) override;
  LineState Write(std::string_view bytes, Time until, std::size_t& written) override;
  void Abandon() override { inner.Abandon(); }
  LineCounts Counts() const override { return inner.Counts(); }
  std::string FailureText() const override { return inner.FailureText(); }

  const FaultCounts& FromHost() const { return fromHost; }
  const FaultCounts& ToHost() const { return toHost; }

 private:
  struct Fate {
    std::array<char, 2> bytes{};
    std::size_t count = 1;
    Time delay{};
  };
  struct Arrival {
    char byte;
    Time due;
  };
  Fate Decide(char byte, Chance& chance, FaultCounts& counts) const;
  LineState Fill(Time until); // reads what has arrived by then and decides its fate
  LineState Delay(Time until);

  Line& inner;
  const double rate;
  Chance chanceIn;
  Chance chanceOut;
  FaultCounts fromHost;
  FaultCounts toHost;
  std::deque<Arrival> arrivals; // by time
};

} // namespace kor::controller
