// Failures: whether an operation tells the user of its failure besides returning it.
#pragma once

namespace kor {

enum class Failures { Silent, Reported };

} // namespace kor
