// Runs the torture campaign: every sweep in turn, for as long as asked. Prints a table of what was
// tried.
//   ncedl-torture [--minutes N] [--seed S] [--only TEXT]   the sweeps whose name holds TEXT
//   ncedl-torture --again SWEEP SEED POSITION     one try
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <numeric>
#include <random>
#include <string_view>

#include "torture/sweep.h"

namespace {

using namespace kor::torture;
using Clock = std::chrono::steady_clock;

constexpr unsigned kStuckAfter = 60; // seconds that no try takes
constexpr int kToldFailures = 5;     // of a sweep

std::array<char, 200> current; // what a try that never ends, or crashes, was

void OnEnd(int signal) {
  static_cast<void>(!::write(STDERR_FILENO, current.data(), std::strlen(current.data())));
  ::_exit(128 + signal);
}

// Course: one sweep's way through its positions, seed after seed.
class Course {
 public:
  Course(Sweep&& aSweep, unsigned firstSeed) : sweep(std::move(aSweep)), seed(firstSeed) {}

  const std::string& Name() const { return sweep.name; }
  Clock::duration SpentOfShare() const { return spent / sweep.share; }
  std::uint64_t Tries() const { return tries; }
  std::uint64_t Failures() const { return failures; }

  void TryNext() {
    const auto begin = Clock::now();
    if (next == 0 && !Attempt(seed, 0, [this] { Prepare(); })) {
      ++tries;
      ++seed;
    } else {
      Try(seed, next * stride % all);
      if (++next == all) StartAnew();
    }
    spent += Clock::now() - begin;
  }

  // position is the place times the number of ways, plus the way.
  void Try(unsigned withSeed, std::size_t position) {
    ++tries;
    Attempt(withSeed, position,
            [&] { sweep.run(withSeed, position / sweep.ways, position % sweep.ways); });
  }

  void PrintRow() const {
    std::printf("%-26s %9ju %9ju %7ju  %s\n", sweep.name.c_str(),
                static_cast<std::uintmax_t>(tries), static_cast<std::uintmax_t>(tries - failures),
                static_cast<std::uintmax_t>(failures), Covered().c_str());
  }

 private:
  void StartAnew() {
    next = 0;
    ++seed;
    ++whole;
  }

  // Returns false, and reports the failure, when the try fails.
  bool Attempt(unsigned withSeed, std::size_t position, const std::function<void()>& what) {
    std::snprintf(current.data(), current.size(),
                  "STUCK OR DEAD scripts/torture --again %s %u %zu\n", sweep.name.c_str(), withSeed,
                  position);
    ::alarm(kStuckAfter);
    const std::uint64_t before = failures;
    try {
      what();
    } catch (const Broken& broken) {
      Tell(withSeed, position, broken.what);
    } catch (const std::exception& failure) {
      Tell(withSeed, position, failure.what());
    }
    ::alarm(0);
    return failures == before;
  }

  void Tell(unsigned withSeed, std::size_t position, const std::string& what) {
    if (++failures <= kToldFailures)
      std::printf("FAILED scripts/torture --again %s %u %zu: (try %ju) %.400s\n",
                  sweep.name.c_str(), withSeed, position, static_cast<std::uintmax_t>(tries),
                  what.c_str());
  }

  // The steps are about five eighths of the way round, so that even a short run is spread over all
  // positions.
  void Prepare() {
    positions = sweep.positions(seed);
    all = positions * sweep.ways;
    for (stride = all * 5 / 8 + 1; std::gcd(stride, all) != 1;)
      ++stride;
  }

  std::string Covered() const {
    if (tries == 0) return "not reached";
    if (sweep.unit.empty()) return "at random";
    std::string text = whole > 0 ? "whole " + std::to_string(whole) + " times, then " : "";
    text += std::to_string(next) + " of " + std::to_string(all);
    return text + " (" + std::to_string(positions) + " " + sweep.unit +
           (sweep.ways > 1 ? ", " + std::to_string(sweep.ways) + " ways)" : ")");
  }

  Sweep sweep;
  unsigned seed;
  std::size_t positions = 0, all = 0, stride = 0, next = 0;
  std::uint64_t whole = 0, tries = 0, failures = 0;
  Clock::duration spent{};
};

std::vector<Course> Courses(unsigned seed, std::string_view only) {
  std::vector<Course> courses;
  for (const auto& sweeps :
       {ExchangeSweeps, StoredSweeps, HostileSweeps, NetworkSweeps, KillSweeps})
    for (Sweep& sweep : sweeps())
      if (sweep.name.find(only) != std::string::npos) courses.emplace_back(std::move(sweep), seed);
  return courses;
}

int Summary(const std::vector<Course>& courses) {
  std::uint64_t tries = 0, failures = 0;
  std::printf("%-26s %9s %9s %7s  %s\n", "", "tries", "survived", "failed", "covered");
  for (const Course& course : courses) {
    course.PrintRow();
    tries += course.Tries();
    failures += course.Failures();
  }
  std::printf("%-26s %9ju %9ju %7ju\n", "all", static_cast<std::uintmax_t>(tries),
              static_cast<std::uintmax_t>(tries - failures), static_cast<std::uintmax_t>(failures));
  return tries > 0 && failures == 0 ? 0 : 1;
}

// Each sweep gets its share of the time.
void RunFor(double minutes, std::vector<Course>& courses) {
  const auto until = Clock::now() + std::chrono::duration<double>(minutes * 60);
  do
    std::ranges::min_element(courses, {}, &Course::SpentOfShare)->TryNext();
  while (Clock::now() < until);
}

unsigned Number(const char* text) {
  return static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

} // namespace

int main(int count, char** arguments) {
  double minutes = 1;
  std::string_view only;
  unsigned seed = std::random_device()();
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // what is known survives a crash
  for (const int signal : {SIGALRM, SIGABRT, SIGSEGV, SIGBUS, SIGFPE})
    std::signal(signal, OnEnd);
  // The campaign makes and removes folders by the thousand.
  if (std::filesystem::exists("/dev/shm")) ::setenv("TMPDIR", "/dev/shm", 0);
  for (int i = 1; i + 1 < count; i += 2) {
    const std::string_view option = arguments[i];
    if (option == "--minutes") minutes = std::atof(arguments[i + 1]);
    if (option == "--seed") seed = Number(arguments[i + 1]);
    if (option == "--only") only = arguments[i + 1];
    if (option != "--again" || i + 3 >= count) continue;
    std::vector<Course> courses = Courses(seed, only);
    std::erase_if(courses, [&](const Course& course) { return course.Name() != arguments[i + 1]; });
    for (Course& course : courses)
      course.Try(Number(arguments[i + 2]), Number(arguments[i + 3]));
    return Summary(courses);
  }
  std::printf("seed %u\n", seed);
  std::vector<Course> courses = Courses(seed, only);
  if (!courses.empty()) RunFor(minutes, courses);
  return Summary(courses);
}
