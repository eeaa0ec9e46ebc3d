// The display that the window is shown on may be missing, and may go before the program: with the
// desktop's session, or its server. What others do to its windows must not stop the program from
// ending. One source file per toolkit. Window's thread.
#pragma once

namespace kor {

// Before the toolkit starts, which would end the program. False: no window can be shown.
bool FindDisplay();

// The call is the program's last: it must not use a window, and when it comes back the program ends
// as the system has it. Never called where displays don't go.
void CallWhenDisplayIsLost(void (*end)());

// On Windows another program can ask each window of this one to close, as taskkill does. A hidden
// one stays: the toolkit's timers end for good with theirs.
void KeepHiddenWindows();

} // namespace kor
