// Host: one host with its folders, its controller and a source of chance, in this process and on a
// hand-moved clock.
#pragma once

#include <random>

#include "tests/support/nce_link.h"
#include "torture/script.h"

namespace kor::torture {

// The calls that a fault is put into: before a byte travels, and after the link has come to rest.
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

  // Goes on until a reply differs from the one of the steps, and returns how many were right.
  std::size_t Play(const Steps& steps, const Place& place = {}, const Disturbance& disturb = {});
  void PassTime(double seconds);

  std::string Stored(); // the program, as its readers see it
  // Requires the older or the newer program to be there, and the newer one if the host has said so.
  void ExpectWhole(bool acknowledged);
  // Brings the device back and lets the clock go on. The next good request must be answered, and
  // nothing may be left of the exchange before. Parts whose names start with "x." belong to
  // somebody else.
  void ExpectServed();
  // Requires an exchange that the host could not go on with to be over: the host is silent, and
  // nothing runs or is kept.
  void ExpectForgotten();
  // Requires the first request after that to be served, whatever came before.
  void ExpectFirstRequestServed();
  // Requires the job log to hold exactly these lines, each with that text behind its date.
  void ExpectJobs(const std::vector<std::string>& texts);
  void ExpectLastJob(const std::string& text);
  // Requires the next start to serve, too, and nothing outside the folders to be touched.
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
