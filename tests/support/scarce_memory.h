// ScarceMemory: while it lives, the process gets only so many bytes more than it has. POSIX.
// Without effect under a sanitizer, which needs more than any program.
#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>

namespace kor {

class ScarceMemory {
 public:
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) // GCC
  static constexpr bool kWorks = false;
#elif defined(__has_feature) // Clang
  static constexpr bool kWorks =
      !(__has_feature(address_sanitizer) || __has_feature(thread_sanitizer));
#else
  static constexpr bool kWorks = true;
#endif

  explicit ScarceMemory(std::uint64_t more) {
    ::getrlimit(RLIMIT_AS, &before);
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit limit = before;
    limit.rlim_cur = pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) + more;
    if (kWorks) ::setrlimit(RLIMIT_AS, &limit);
  }
  ~ScarceMemory() {
    ::setrlimit(RLIMIT_AS, &before);
  }
  ScarceMemory(const ScarceMemory&) = delete;
  ScarceMemory& operator=(const ScarceMemory&) = delete;

 private:
  rlimit before{};
};

} // namespace kor
