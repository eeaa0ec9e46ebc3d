// Dialogs that the toolkit leaves to the system. The choosers of files and folders are the system's
// own windows with their own loop, and a modal window takes all input. Each toolkit has its own
// source file. Window's thread.
#pragma once

#include <wx/window.h>

namespace kor {

// Ends the choosers that stand open as if they were cancelled. False when there are none.
bool CancelNativeDialogs();

// Call this before the window is shown. The user can then answer it although a modal window stands
// open.
void LetBeAnswered(wxWindow* window);

} // namespace kor
