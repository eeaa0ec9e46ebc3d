// PtyPair: a pseudo-terminal as a serial cable for tests. The code under test opens Device(); the test
// is the far side. POSIX only. One thread.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "services/core/kor_text.h"

namespace kor {

class PtyPair {
 public:
  PtyPair(); // ends the test program when the system has no pseudo-terminal
  ~PtyPair();
  PtyPair(const PtyPair&) = delete;
  PtyPair& operator=(const PtyPair&) = delete;

  const KorText& Device() const { return device; }
  // Makes or replaces a link at path to Device(), in one step.
  void LinkAt(const KorText& path) const;

  // Sends all of it, if the device takes it within the limit; returns what was taken.
  std::size_t Send(std::string_view bytes, std::chrono::milliseconds limit = kLimit);
  // Returns as soon as count bytes are there, or with fewer when the limit has passed.
  std::string Receive(std::size_t count, std::chrono::milliseconds limit = kLimit);
  // Everything there is now, without waiting.
  std::string ReceiveAll();
  // Pulls the cable: the device is hung up.
  void HangUp();
  int FarEnd() const { return farEnd; } // descriptor, -1 after HangUp

  static constexpr std::chrono::milliseconds kLimit{10000}; // reached only when a test fails

 private:
  bool WaitFor(short events, std::chrono::steady_clock::time_point until) const;

  int farEnd = -1;
  KorText device;
};

} // namespace kor
