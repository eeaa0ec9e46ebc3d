#include "tools/nce_controller/soak.h"

#include <algorithm>
#include <map>
#include <string_view>

#include "tools/nce_controller/fault_line.h"
#include "tools/nce_controller/program_text.h"

namespace kor::controller {
namespace {

constexpr std::size_t kMostPrograms = 1000; // of the directory, that take part

std::string_view WithoutZeros(std::string_view number) {
  return number.substr(std::min(number.find_first_not_of('0'), number.size()));
}

class Soaker {
 public:
  Soaker(Session& toUse, const SoakPlan& toFollow)
      : session(toUse), plan(toFollow), chance(toFollow.seed) {}

  // One job. False: there is no point in going on.
  bool Step() {
    Count(Job());
    return report.verdict.outcome != Outcome::Stopped &&
           report.verdict.outcome != Outcome::SystemFailed;
  }
  SoakReport report;

 private:
  Verdict Job() {
    const std::size_t dice = chance.Below(10);
    if (isFirst || dice == 0) return List();
    if (dice == 2 && !plan.uploadNumber.empty()) return Send();
    return dice == 1 || names.empty() ? Test() : Fetch();
  }

  void Count(const Verdict& verdict) {
    if (verdict.IsDone()) return;
    const bool isMismatch = verdict.outcome == Outcome::Mismatch;
    const bool isEnd =
        verdict.outcome == Outcome::Stopped || verdict.outcome == Outcome::SystemFailed;
    ++(isMismatch ? report.mismatches : report.failures);
    const bool isWorse = isMismatch && report.verdict.outcome != Outcome::Mismatch;
    if (report.verdict.IsDone() || isWorse || isEnd) report.verdict = verdict;
  }

  Verdict Test() {
    ++report.tests;
    return session.LineTest();
  }

  // The program that uploads overwrite may come and go.
  Verdict List() {
    ++report.lists;
    const DirectoryReport directory = session.List();
    if (!directory.verdict.IsDone()) return directory.verdict;
    std::vector<std::string> now;
    for (const DirectoryEntry& entry : directory.entries)
      if (WithoutZeros(entry.name) != WithoutZeros(plan.uploadNumber) || plan.uploadNumber.empty())
        now.push_back(entry.name);
    if (!isFirst && now != listed)
      return Verdict::Failed(Outcome::Mismatch, "the directory differs from the first one");
    if (isFirst) Choose(now);
    isFirst = false;
    return {};
  }

  void Choose(const std::vector<std::string>& all) {
    listed = all;
    for (const std::string& name : all)
      if (names.size() < kMostPrograms && Session::NumberObstacle(name).empty())
        names.push_back(name);
  }

  Verdict Fetch() {
    const std::string& name = names[chance.Below(names.size())];
    ++report.fetches;
    const FetchReport fetched = session.Fetch(name);
    if (!fetched.verdict.IsDone()) return fetched.verdict;
    report.programBytes += fetched.program.size();
    const auto [known, isNew] = programs.try_emplace(name, fetched.program);
    if (isNew && plan.hostFile && !plan.hostFile(name, known->second))
      return Verdict::Failed(Outcome::Mismatch, name + " is not in the folder to compare with");
    const std::string difference = FirstDifference(fetched.program, known->second);
    if (difference.empty()) return {};
    return Verdict::Failed(Outcome::Mismatch, name + ": " + difference);
  }

  Verdict Send() {
    std::string program;
    for (std::size_t lines = chance.Below(200); lines > 0; --lines)
      program += RandomLine();
    ++report.sends;
    report.programBytes += program.size();
    return session.Send(plan.uploadNumber, program, plan.readBack).verdict;
  }

  std::string RandomLine() {
    std::string line = "N" + std::to_string(chance.Below(10000));
    for (std::size_t left = chance.Below(60); left > 0; --left) {
      const char c = static_cast<char>(32 + chance.Below(95));
      if (c != '!' && c != ']') line += c;
    }
    return line + "\n";
  }

  Session& session;
  const SoakPlan& plan;
  Chance chance;
  bool isFirst = true;
  std::vector<std::string> listed;
  std::vector<std::string> names;
  std::map<std::string, std::string> programs; // as they must be
};

} // namespace

SoakReport Soak(Session& session, Line& line, const SoakPlan& plan) {
  Soaker soaker(session, plan);
  const Time end = line.Now() + plan.duration;
  while (line.Now() < end && soaker.Step()) {
  }
  return soaker.report;
}

} // namespace kor::controller
