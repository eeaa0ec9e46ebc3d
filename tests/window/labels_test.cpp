// Whether what every window says has the room that it needs, in all languages. CTest runs it at
// several scalings, which the toolkit takes from the environment.
#include <gtest/gtest.h>

#include <wx/app.h>
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/combobox.h>
#include <wx/display.h>
#include <wx/stattext.h>
#include <wx/utils.h>

#include "demo/window_scenes.h"

namespace kor {
namespace {

constexpr int kSettle = 15; // milliseconds
constexpr int kTries = 100;

// A combination's list says more than its field.
bool HasWords(const wxWindow* control) {
  if (dynamic_cast<const wxComboBox*>(control)) return false;
  return dynamic_cast<const wxStaticText*>(control) || dynamic_cast<const wxAnyButton*>(control) ||
         dynamic_cast<const wxCheckBox*>(control) || dynamic_cast<const wxChoice*>(control);
}

wxSize NeededBy(wxWindow& control) {
  // What may be shortened says that it needs nothing.
  if (control.HasFlag(wxST_ELLIPSIZE_END)) return control.GetTextExtent(control.GetLabel());
  if (control.HasFlag(wxST_ELLIPSIZE_MIDDLE)) return {}; // the tool tip has all of it
  control.InvalidateBestSize();
  return control.GetBestSize();
}

void FindClipped(const wxWindow& parent, std::string& found) {
  const wxSize room = parent.GetVirtualSize(); // what has none is scrolled to
  for (wxWindow* const child : parent.GetChildren()) {
    if (!child->IsShown() || child->IsTopLevel()) continue;
    const wxRect place = child->GetRect();
    const bool isInside = place.GetRight() <= room.x && place.GetBottom() <= room.y;
    const wxSize needed = HasWords(child) ? NeededBy(*child) : wxSize();
    if (!isInside || place.width < needed.x || place.height < needed.y)
      found += KorText::Format(u"\n%i x %i of %i x %i%s: ", place.width, place.height, needed.x,
                               needed.y, isInside ? u"" : u", leaves its parent")
                   .ToUtf8() +
               child->GetLabel().ToStdString(wxConvUTF8);
    FindClipped(*child, found);
  }
}

std::string WrongWith(const wxTopLevelWindow& window) {
  std::string found;
  FindClipped(window, found);
  const wxWindow* const service = window.FindWindow(15753);
  if (service && !wxRect(window.GetScreenRect()).Contains(service->GetScreenRect()) &&
      window.GetClientSize().y < 500)
    found += "\nService is out of sight";
  const wxWindow* const send = window.FindWindow(15210);
  if (send && !send->IsShownOnScreen()) found += "\nno button to send";
  if (!wxDisplay(&window).GetClientArea().Contains(window.GetScreenRect()))
    found += "\noff the screen";
  return found;
}

TEST(Labels, HaveTheirRoomInAllLanguages) {
  demo::WindowScenes scenes(u"" NCEDL_DICTIONARY, kSettle);
  for (const char16_t* const language : demo::WindowScenes::Languages()) {
    const std::string code = KorText(language).ToUtf8();
    EXPECT_TRUE(scenes.Play(language, [&](const wxTopLevelWindow& window, std::string_view scene) {
      std::string wrong;
      for (int tries = 0; !(wrong = WrongWith(window)).empty() && tries < kTries; ++tries) {
        wxTheApp->Yield(true); // a busy desktop answers late
        wxMilliSleep(kSettle);
      }
      EXPECT_EQ(wrong, "") << code << " " << scene;
    }));
  }
}

} // namespace
} // namespace kor
