// What the toolkit leaves to the system: the choosers of files and folders are windows of its own,
// with a loop of their own, and a modal window takes all input. One source file per toolkit.
// Window's thread.
#pragma once

#include <wx/window.h>

namespace kor {

// Ends those that stand open, as if they were cancelled. False when there are none.
bool CancelNativeDialogs();

// Before it is shown: the window can be answered although a modal one stands open.
void LetBeAnswered(wxWindow* window);

} // namespace kor
