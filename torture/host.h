// One host with its folders, its controller and chance, in this process and on a hand-moved clock.
#pragma once

#include <random>

#include "tests/support/nce_link.h"
#include "torture/sweep.h"

namespace kor::torture {

struct Step {
  std::string line, reply; // each with its CR
};
using Steps = std::vector<Step>;

// What happens when a byte is about to travel, and after the link has come to rest.
struct Disturbance {
  std::function<std::string(char)> now; // what the controller sends instead
  std::function<void()> later;
};

class Host {
 public:
  explicit Host(unsigned seed);

  std::size_t Below(std::size_t limit) { return random() % limit; }
  KorText Path() const { return link.Folder() + u"0000007.MPG"; } // of the program
  std::vector<std::string> UploadLines() const;                   // its frames and the end mark

  Step Ask(const std::string& line) { return {line + "\r", link.Ask(line)}; }
  // Goes on until a reply is not the one of the steps; true: all were. The disturbance comes at that
  // byte, of both directions together.
  bool Play(const Steps& steps, std::size_t at = ~std::size_t{0}, const Disturbance& disturb = {});
  void PassTime(double seconds);

  std::string Stored(); // the program, as its readers see it
  // The older or the newer program is there, and the newer if that was told.
  void ExpectWhole(bool acknowledged);
  // The device is back, the clock goes on: the next good request is answered, and nothing is left of the
  // exchange before. Parts whose name starts with "x." are not ours.
  void ExpectServed();
  // The next start serves, too, and nothing outside was touched.
  void ExpectTidy();
  void End();

  NceLink link;
  std::string older, newer; // programs
  const KorText outside = link.app.Path(u"outside.MPG");

 private:
  std::string Lines(const char* word);
  void PlayLine(const std::string& line, std::size_t at, const Disturbance& disturb);
  std::mt19937 random;
};

} // namespace kor::torture
