// A long random mix of line tests, directories, downloads and, where allowed, uploads, in which
// everything that can be compared is: a directory with the first one, a program with its first
// transfer or with the host's own file, an upload with what is read back.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "tools/nce_controller/outcome.h"
#include "tools/nce_controller/session.h"

namespace kor::controller {

struct SoakPlan {
  Time duration{};
  std::uint64_t seed = 1;
  std::string uploadNumber; // this program may be overwritten on the host; empty: no uploads
  bool readBack = true;
  // The host's file of the name that its directory gave, and whether there is one. Without it a
  // program is compared with its first transfer.
  std::function<bool(const std::string& name, std::string& content)> hostFile;
};

struct SoakReport {
  Verdict verdict; // a mismatch before any other failure, else the first failure
  std::uint64_t tests = 0, lists = 0, fetches = 0, sends = 0;
  std::uint64_t failures = 0, mismatches = 0;
  std::uint64_t programBytes = 0; // of fetched and sent programs
};

SoakReport Soak(Session& session, Line& line, const SoakPlan& plan);

} // namespace kor::controller
