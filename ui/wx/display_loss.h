// The display that the window is shown on may go before the program: with the desktop's session, or its
// server. One source file per toolkit. Window's thread.
#pragma once

namespace kor {

// The call is the program's last: it must not use a window, and when it comes back the program ends as the
// system has it. Never called where displays don't go.
void CallWhenDisplayIsLost(void (*end)());

} // namespace kor
