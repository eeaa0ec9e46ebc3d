// Keeps windows as large as their screen allows, and what they hold in reach. Window's thread.
#pragma once

#include <wx/scrolwin.h>
#include <wx/toplevel.h>

namespace kor {

// What the screen that the window is on has for its client area.
wxSize ScreenRoom(const wxTopLevelWindow& window);
// Moves it where it is seen whole, or from its top left corner on.
void MoveOntoScreen(wxTopLevelWindow& window);
// Scrolls until the child is seen, from its top on where it doesn't fit.
void ScrollTo(wxScrolledWindow& scrolled, const wxWindow& child);
// Has what gets the keyboard scrolled to. The toolkit scrolls to the group that holds it.
void FollowFocus(wxScrolledWindow& scrolled);

} // namespace kor
