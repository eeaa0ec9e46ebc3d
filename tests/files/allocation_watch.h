// The size of the largest single allocation since it was last set to 0. Counts every operator new
// of the program it is linked into; not synchronised.
#pragma once

#include <cstddef>

namespace kor {

extern std::size_t largestAllocation;

} // namespace kor
