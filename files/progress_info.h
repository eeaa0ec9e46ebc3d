// ProgressInfo: how long operations tell their caller how far they are. Called on the thread that
// runs the operation, after each block, with the position and the size in the operation's own
// measure (bytes, for files). Returns false to cancel.
#pragma once

#include <functional>

namespace kor {

using ProgressInfo = std::function<bool(double position, double size)>;

} // namespace kor
