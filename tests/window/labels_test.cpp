// Whether what every window says has the room that it needs, in all languages. CTest runs it at several
// scalings, which the toolkit takes from the environment.
#include <gtest/gtest.h>

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/listbox.h>
#include <wx/stattext.h>

#include "demo/window_scenes.h"

namespace kor {
namespace {

constexpr int kSettle = 15; // milliseconds

bool HasWords(const wxWindow* control) {
  return dynamic_cast<const wxStaticText*>(control) || dynamic_cast<const wxAnyButton*>(control) ||
         dynamic_cast<const wxCheckBox*>(control) || dynamic_cast<const wxChoice*>(control);
}

wxSize NeededBy(const wxWindow& control) {
  // What may be shortened says that it needs nothing.
  if (control.HasFlag(wxST_ELLIPSIZE_END)) return control.GetTextExtent(control.GetLabel());
  return control.GetBestSize();
}

void ExpectNothingClipped(const wxWindow& parent, const std::string& where) {
  const wxSize room = parent.GetClientSize();
  for (const wxWindow* const child : parent.GetChildren()) {
    if (!child->IsShown() || child->IsTopLevel()) continue;
    const std::string what = where + ": " + child->GetLabel().ToStdString(wxConvUTF8);
    const wxRect place = child->GetRect();
    EXPECT_LE(place.GetRight(), room.x) << what << " leaves its parent";
    EXPECT_LE(place.GetBottom(), room.y) << what << " leaves its parent";
    if (HasWords(child)) {
      EXPECT_GE(place.width, NeededBy(*child).x) << what;
      EXPECT_GE(place.height, NeededBy(*child).y) << what;
    }
    ExpectNothingClipped(*child, where);
  }
}

TEST(Labels, HaveTheirRoomInAllLanguages) {
  demo::WindowScenes scenes(u"" NCEDL_DICTIONARY, kSettle);
  for (const char16_t* const language : demo::WindowScenes::Languages()) {
    const std::string code = KorText(language).ToUtf8();
    EXPECT_TRUE(scenes.Play(language, [&](const wxTopLevelWindow& window, std::string_view name) {
      const std::string where = code + " " + std::string(name);
      ExpectNothingClipped(window, where);
      const auto* const jobs =
          dynamic_cast<wxListBox*>(window.FindWindowByName("listBox", &window));
      EXPECT_LE(jobs ? jobs->GetTopItem() : 0, 0) << where << ": the newest job is out of sight";
      const wxWindow* const send = window.FindWindow(15210);
      EXPECT_TRUE(!send || send->IsShownOnScreen() || name == "small") << where;
    }));
  }
}

} // namespace
} // namespace kor
