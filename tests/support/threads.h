// Four threads at the same work, for tests of what several may do at once.
#pragma once

#include <functional>
#include <thread>
#include <vector>

namespace kor {

// Returns when all have ended. work is told its thread's number.
inline void OnFourThreads(const std::function<void(int)>& work) {
  std::vector<std::jthread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back(work, i);
}

} // namespace kor
