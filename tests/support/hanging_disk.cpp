// Loaded into a program under test: a disk that does not answer when a file is to be renamed.
#include <cstdio>
#include <unistd.h>

extern "C" int rename(const char*, const char*) noexcept {
  for (;;)
    ::pause();
}
