// What a program says when the system has no memory, or no thread, left for it.
#pragma once

namespace kor {

// From now on an exception that nobody caught, on whatever thread, ends the program with a sentence
// on standard error and exit code 1 when it tells of such a want. Any other one crashes it.
void EndWithASentence();

} // namespace kor
