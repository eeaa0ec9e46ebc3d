// The display that the window is shown on may be missing, and may go before the program: with the
// desktop's session, or its server. One source file per toolkit. Window's thread.
#pragma once

namespace kor {

// Before the toolkit starts, which would end the program. False: no window can be shown.
bool FindDisplay();

// The call is the program's last: it must not use a window, and when it comes back the program ends
// as the system has it. Never called where displays don't go.
void CallWhenDisplayIsLost(void (*end)());

} // namespace kor
