#include "ui/wx/screen_room.h"

#include <algorithm>

#include <wx/display.h>

namespace kor {

namespace {

constexpr int kTitleBar =
    40; // device-independent pixels; more than a window manager's usually takes

wxRect ScreenOf(const wxTopLevelWindow& window) {
  const int screen = wxDisplay::GetFromWindow(&window);
  return wxDisplay(screen == wxNOT_FOUND ? 0U : static_cast<unsigned>(screen)).GetClientArea();
}

} // namespace

// Before the window is shown nobody knows what the window manager puts around it.
wxSize ScreenRoom(const wxTopLevelWindow& window) {
  wxSize frame = window.GetSize() - window.GetClientSize();
  frame.IncTo({0, window.FromDIP(kTitleBar)});
  return ScreenOf(window).GetSize() - frame;
}

void MoveOntoScreen(wxTopLevelWindow& window) {
  const wxRect screen = ScreenOf(window), place = window.GetRect();
  const wxPoint to(std::max(std::min(place.x, screen.GetRight() + 1 - place.width), screen.x),
                   std::max(std::min(place.y, screen.GetBottom() + 1 - place.height), screen.y));
  if (to != place.GetPosition()) window.Move(to);
}

void ScrollTo(wxScrolledWindow& scrolled, const wxWindow& child) {
  int step = 0;
  scrolled.GetScrollPixelsPerUnit(nullptr, &step);
  if (step <= 0) return;
  const wxPoint place = scrolled.ScreenToClient(child.GetScreenPosition());
  const int room = scrolled.GetClientSize().y, below = place.y + child.GetSize().y - room;
  if (place.y >= 0 && below <= 0) return;
  const int wanted = scrolled.CalcUnscrolledPosition(wxPoint()).y + std::min(below, place.y);
  const bool isAbove = below > place.y || place.y < 0; // its top goes to the top
  scrolled.Scroll(-1, (wanted + (isAbove ? 0 : step - 1)) / step);
}

void FollowFocus(wxScrolledWindow& scrolled) {
  scrolled.Bind(wxEVT_CHILD_FOCUS, [&scrolled](wxChildFocusEvent& event) {
    event.Skip();
    scrolled.CallAfter([&scrolled] {
      wxWindow* const focused = wxWindow::FindFocus();
      if (focused && scrolled.IsDescendant(focused)) ScrollTo(scrolled, *focused);
    });
  });
}

} // namespace kor
