// Apart from their users: inlined, the replaced operators look mismatched to the compiler.
#include "tests/files/allocation_watch.h"

#include <algorithm>
#include <cstdlib>
#include <new>

std::size_t kor::largestAllocation = 0;

void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
  kor::largestAllocation = std::max(kor::largestAllocation, bytes);
  return std::malloc(bytes == 0 ? 1 : bytes);
}
void* operator new(std::size_t bytes) {
  if (void* memory = operator new(bytes, std::nothrow)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
