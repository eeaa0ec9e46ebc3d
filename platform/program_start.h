// What every program does before anything else.
#pragma once

namespace kor {

// Standard streams that the program was started without are opened on the null device: the next
// file or device to be opened would take their place, and get what is printed. A file that may grow
// no further makes its write fail, as a full disk does, instead of ending the program. Want of
// memory or of threads ends the program with a sentence.
void PrepareProgram();

// Before a program that has no console of its own prints: its output, where it has none, is the
// console that it was started from, from now on to its end. False: there is none either, and nobody
// would see what is printed.
bool FindOutput();

// Before another program that runs already is asked to come to the front: on Windows only the one
// that the user has just started may do that, or let others.
void LetOthersComeForward();

// When the program is asked to end, by the user or because the session or its terminal ends: has
// the one called at once, and the other a second later, if the program is still there. Both on a
// thread of their own. Called once.
void WatchForEnd(void (*onAsked)(), void (*onOverdue)());

} // namespace kor
