// What every program does before anything else.
#pragma once

namespace kor {

// Opens standard streams that the program was started without on the null device: the next file or
// device to be opened would take their place, and get what is printed. Makes the write to a file
// that may grow no further fail, as on a full disk, instead of ending the program. Has want of
// memory or of threads end the program with a sentence.
void PrepareProgram();

// Call this before a program that has no console of its own prints. A program without an output
// gets the console that it was started from, until it ends. False when there is no such console
// either, so that nobody would see what is printed.
bool FindOutput();

// Call this before another program that runs already is asked to come to the front: on Windows only
// the one that the user has just started may do that, or let others.
void LetOthersComeForward();

// Watches for the program being asked to end, by the user or because the session or its terminal
// ends. Then onAsked is called at once, and onOverdue a second later if the program is still there,
// both on a thread of their own. Call this once.
void WatchForEnd(void (*onAsked)(), void (*onOverdue)());

} // namespace kor
