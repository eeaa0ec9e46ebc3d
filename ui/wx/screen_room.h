// Keeps windows within their screen and their contents within reach. Window's thread.
#pragma once

#include <wx/scrolwin.h>
#include <wx/toplevel.h>

namespace kor {

// Returns the largest client area that the window's screen has room for.
wxSize ScreenRoom(const wxTopLevelWindow& window);
// Moves the window to where it is seen whole, or, if it is too large, from its top left corner on.
void MoveOntoScreen(wxTopLevelWindow& window);
// Scrolls until the child is seen; one that doesn't fit is seen from its top on.
void ScrollTo(wxScrolledWindow& scrolled, const wxWindow& child);
// Scrolls to each control that gets the keyboard. The toolkit alone would only scroll to the group
// that holds it.
void FollowFocus(wxScrolledWindow& scrolled);

} // namespace kor
