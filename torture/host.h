// One host with its folders, its controller and chance, in this process and on a hand-moved clock.
#pragma once

#include <random>

#include "tests/support/nce_link.h"
#include "torture/script.h"
#include "torture/sweep.h"

namespace kor::torture {

// What happens when a byte is about to travel, and after the link has come to rest.
struct Disturbance {
  std::function<std::string(char)> now; // what the controller sends instead
  std::function<void()> later;
  bool endsPlay = false; // nothing more travels after that
};

class Host {
 public:
  explicit Host(unsigned seed, int transmitDelay = 0);

  std::size_t Below(std::size_t limit) { return random() % limit; }
  KorText Path(const KorText& name = u"0000007.MPG") const { return link.Folder() + name; }

  // Goes on until a reply is not the one of the steps, and returns how many were.
  std::size_t Play(const Steps& steps, const Place& place = {}, const Disturbance& disturb = {});
  void PassTime(double seconds);

  std::string Stored(); // the program, as its readers see it
  // The older or the newer program is there, and the newer if that was told.
  void ExpectWhole(bool acknowledged);
  // The device is back, the clock goes on: the next good request is answered, and nothing is left
  // of the exchange before. Parts whose name starts with "x." are not ours.
  void ExpectServed();
  // An exchange that the host could not go on with is over: the host is silent, and nothing runs or
  // is kept.
  void ExpectForgotten();
  // The first request after that, which nothing of what came before may spoil.
  void ExpectFirstRequestServed();
  // The job log holds these lines, each with that text behind its date, and no others.
  void ExpectJobs(const std::vector<std::string>& texts);
  void ExpectLastJob(const std::string& text);
  // The next start serves, too, and nothing outside was touched.
  void ExpectTidy();
  void End();

  NceLink link;
  std::string older, newer, longer, last; // programs; one of a line longer than the transmit buffer
  const KorText outside = link.app.Path(u"outside.MPG");

 private:
  std::string Lines(const char* word);
  void PlayLine(const Step& step, std::size_t at, const Disturbance& disturb);
  void Recover();
  void ExpectNothingKept();
  std::vector<std::string> Jobs();
  std::mt19937 random;
};

} // namespace kor::torture
