// The display that shows the window may be missing. It may also go before the program does, with
// the desktop's session or the display server. Whatever other programs do to the windows, this
// program must be able to end. Each toolkit has its own source file. Window's thread.
#pragma once

namespace kor {

// Call this before the toolkit starts, which would end the program when there is no display. False:
// no window can be shown.
bool FindDisplay();

// Has end called when the display is lost, as the program's last call. end must not use a window;
// when it returns, the program ends as the system has it. Where displays never go, end is never
// called.
void CallWhenDisplayIsLost(void (*end)());

// Keeps hidden windows open, because the toolkit's timers end for good when theirs closes. On
// Windows another program, such as taskkill, can ask each window of this one to close.
void KeepHiddenWindows();

} // namespace kor
