// Whether what every window says has the room that it needs, in all languages, wherever it was
// before, and stands out from its ground. CTest runs it at several scalings and themes, which the
// toolkit takes from the environment.
#include <gtest/gtest.h>

#include <wx/app.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/combobox.h>
#include <wx/dataview.h>
#include <wx/display.h>
#include <wx/notebook.h>
#include <wx/scrolwin.h>
#include <wx/settings.h>
#include <wx/spinctrl.h>
#include <wx/stattext.h>
#include <wx/utils.h>

#include <gtk/gtk.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "demo/window_scenes.h"
#include "services/core/user_texts.h"
#include "ui/colours.h"
#include "ui/wx/form_window.h"

namespace kor {
namespace {

constexpr int kSettle = 15; // milliseconds
constexpr int kTries = 100;
constexpr int kServiceHeading = 15753;

// A combination's list says more than its field.
bool HasWords(const wxWindow* control) {
  if (dynamic_cast<const wxComboBox*>(control)) return false;
  return dynamic_cast<const wxStaticText*>(control) || dynamic_cast<const wxAnyButton*>(control) ||
         dynamic_cast<const wxCheckBox*>(control) || dynamic_cast<const wxChoice*>(control);
}

wxSize NeededBy(const wxWindow& control) {
  if (!HasWords(&control)) return {};
  // What may be shortened says that it needs nothing.
  if (control.HasFlag(wxST_ELLIPSIZE_END)) return control.GetTextExtent(control.GetLabel());
  if (control.HasFlag(wxST_ELLIPSIZE_MIDDLE)) return {}; // the tool tip has all of it
  return control.GetBestSize();
}

// In device-independent pixels: fingers in gloves are to meet it.
int LeastHeightOf(const wxWindow& control) {
  constexpr std::array kOperators{kTexts.sendNcFile.number, kTexts.receiveNcFile.number,
                                  kTexts.complete.number, kTexts.cancelTransfer.number};
  const auto* const top = wxGetTopLevelParent(const_cast<wxWindow*>(&control));
  const bool isOperators =
      std::ranges::count(kOperators, control.GetId()) > 0 ||
      (dynamic_cast<const wxDialog*>(top) && !dynamic_cast<const FormWindow*>(top));
  const bool isPressed =
      dynamic_cast<const wxAnyButton*>(&control) || dynamic_cast<const wxCheckBox*>(&control) ||
      dynamic_cast<const wxChoice*>(&control) || dynamic_cast<const wxComboBox*>(&control) ||
      dynamic_cast<const wxSpinCtrl*>(&control);
  return !isPressed ? 0 : isOperators ? 64 : 44;
}

std::string WrongWithTable(const wxDataViewListCtrl& list) {
  constexpr unsigned kResult = 4;
  const auto top = [&](int row) { return list.GetItemRect(list.RowToItem(row)).y; };
  if (list.GetItemCount() > 1 && top(1) - top(0) < list.FromDIP(32)) return "low rows";
  const wxFont bold = list.GetFont().Bold();
  for (unsigned row = 0; static_cast<int>(row) < list.GetItemCount(); ++row) {
    int needed = 0;
    wxDataViewItemAttr look;
    list.GetStore()->GetAttrByRow(row, kResult, look);
    const wxFont font = look.GetBold() ? bold : list.GetFont();
    list.GetTextExtent(list.GetTextValue(row, kResult), &needed, nullptr, nullptr, nullptr, &font);
    if (list.GetColumn(kResult)->GetWidth() < needed) return "a result is cut";
  }
  int width = 0;
  for (unsigned column = 0; column < list.GetColumnCount(); ++column)
    width += list.GetColumn(column)->GetWidth();
  const int roomy = 71 * list.GetTextExtent("0").x; // letters of any size are as many
  if (list.GetClientSize().x >= roomy && width > list.GetClientSize().x)
    return "the bytes are out of sight";
  return {};
}

// A book shows one of its pages.
std::vector<const wxWindow*> ShownIn(const wxWindow& parent) {
  if (const auto* const book = dynamic_cast<const wxNotebook*>(&parent))
    return {book->GetCurrentPage()};
  std::vector<const wxWindow*> shown;
  for (const wxWindow* const child : parent.GetChildren())
    if (child->IsShown() && !child->IsTopLevel()) shown.push_back(child);
  return shown;
}

void FindWrong(const wxWindow& parent, std::string& found) {
  const auto tell = [&](const wxWindow& one, const KorText& what) {
    found += "\n" + what.ToUtf8() + ": " + one.GetLabel().ToStdString(wxConvUTF8);
  };
  const wxSize room = parent.GetVirtualSize(); // what has none is scrolled to
  const std::vector<const wxWindow*> all = ShownIn(parent);
  for (const wxWindow* const child : all) {
    const wxRect place = child->GetRect();
    const wxSize needed = NeededBy(*child);
    if (place.GetRight() > room.x || place.GetBottom() > room.y) tell(*child, u"leaves its parent");
    if (place.width < needed.x || place.height < needed.y)
      tell(*child,
           KorText::Format(u"%i x %i of %i x %i", place.width, place.height, needed.x, needed.y));
    if (place.height < child->FromDIP(LeastHeightOf(*child)))
      tell(*child, u"too low to be pressed");
    if (const auto* const list = dynamic_cast<const wxDataViewListCtrl*>(child))
      found += WrongWithTable(*list);
    for (const wxWindow* const other : all)
      if (other > child && other->GetRect().Intersects(place)) tell(*child, u"overlaps");
    FindWrong(*child, found);
  }
}

// What stands in a part that scrolls is seen whole where that part shows enough of it.
bool CanBeSeenWhole(const wxWindow& control) {
  for (const wxWindow* part = control.GetParent(); part; part = part->GetParent())
    if (part->GetClientSize().y < control.GetSize().y) return false;
  return control.IsShownOnScreen();
}

std::string WrongWith(const wxTopLevelWindow& window) {
  std::string found;
  FindWrong(window, found);
  const bool isMain = window.FindWindow(15210) != nullptr;
  const wxWindow* const service = window.FindWindow(kServiceHeading);
  if (isMain && !(service && CanBeSeenWhole(*service))) found += "\nService can't be reached";
  const wxRect screen = wxDisplay(&window).GetClientArea();
  // A window manager may place one that was maximised as it likes.
  if (!isMain && !screen.Contains(window.GetScreenRect())) found += "\noff the screen";
  // A dialog scrolls only where letters and screen leave it no other way.
  for (const wxWindow* const part : window.GetChildren())
    if (const auto* const scrolled = dynamic_cast<const wxScrolledWindow*>(part);
        scrolled && !isMain && window.ToDIP(screen.GetSize()).y >= 600 &&
        !scrolled->GetClientRect().Contains(wxRect(scrolled->GetVirtualSize())))
      found += "\nscrolls";
  return found;
}

void ExpectNothingWrong(const wxTopLevelWindow& window, std::string_view scene) {
  std::string wrong;
  for (int tries = 0; !(wrong = WrongWith(window)).empty() && tries < kTries; ++tries) {
    wxTheApp->Yield(true); // a busy desktop answers late
    wxMilliSleep(kSettle);
  }
  EXPECT_EQ(wrong, "") << scene;
}

TEST(Labels, HaveTheirRoomInAllLanguages) {
  demo::WindowScenes scenes(u"" NCEDL_DICTIONARY, kSettle);
  for (const char16_t* const language : demo::WindowScenes::Languages()) {
    SCOPED_TRACE(KorText(language).ToUtf8());
    int usual = 0;
    EXPECT_TRUE(scenes.Play(language, [&](wxTopLevelWindow& window, std::string_view scene) {
      for (int round = 0; usual == 0 && round < 20; ++round) { // until it stands
        wxTheApp->Yield(true);
        wxMilliSleep(kSettle);
      }
      ExpectNothingWrong(window, scene);
      const wxWindow* const lamp = window.FindWindow(15205);
      if (!lamp || scene == "small" || scene == "no-link") return; // which may need more room
      const int top = lamp->GetScreenPosition().y - window.GetScreenPosition().y;
      EXPECT_EQ(top, usual == 0 ? usual = top : usual) << scene << " moves the lamps";
    }));
  }
}

TEST(Labels, HaveTheirRoomWhateverCameBefore) {
  demo::WindowScenes scenes(u"" NCEDL_DICTIONARY, kSettle);
  int usual = 0;
  g_object_get(gtk_settings_get_default(), "gtk-xft-dpi", &usual, nullptr);
  const auto setLetters = [usual](double scale) {
    g_object_set(gtk_settings_get_default(), "gtk-xft-dpi", static_cast<int>(usual * scale),
                 nullptr);
  };
  for (const std::uint32_t seed : {1u, 2u, 3u})
    EXPECT_TRUE(scenes.Walk(seed, 40, setLetters, ExpectNothingWrong));
}

double Luminance(Rgb colour) {
  const auto part = [colour](unsigned shift) {
    const double value = (colour >> shift & 0xff) / 255.0;
    return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * part(16) + 0.7152 * part(8) + 0.0722 * part(0);
}

double Contrast(Rgb one, Rgb other) {
  const auto [darker, lighter] = std::minmax({Luminance(one), Luminance(other)});
  return (lighter + 0.05) / (darker + 0.05);
}

Rgb SystemColour(wxSystemColour which) {
  const wxColour colour = wxSystemSettings::GetColour(which);
  return Rgb{colour.GetRed()} << 16 | Rgb{colour.GetGreen()} << 8 | colour.GetBlue();
}

TEST(Colours, StandOutFromTheirGrounds) {
  constexpr double kText = 4.5, kSign = 3;
  for (const Rgb Shades::*shade : {&Shades::light, &Shades::dark}) {
    for (const ToneShades& tone : kTones) {
      for (const Shades& text : {tone.strong, tone.plain})
        EXPECT_GE(Contrast(text.*shade, tone.ground.*shade), kText) << std::hex << text.*shade;
      EXPECT_GE(Contrast(tone.bar.*shade, kTrough.*shade), kSign) << std::hex << tone.bar.*shade;
    }
    for (const Shades& text : {kGoodText, kFailedText, kSentText, kQuietText})
      EXPECT_GE(Contrast(text.*shade, kUsualGround.*shade), kText) << std::hex << text.*shade;
  }
  EXPECT_GE(Contrast(kStripText, kStripGround), kText);
  EXPECT_GE(Contrast(kLensRim, kStripGround), kSign);
  for (const Rgb lit : {kLensTraffic, kLensHold})
    EXPECT_GE(Contrast(lit, kLensOff), kSign) << std::hex << lit;
  // On the desktop that this runs on.
  const bool isDark = wxSystemSettings::GetAppearance().IsUsingDarkBackground();
  for (const wxSystemColour ground :
       {wxSYS_COLOUR_WINDOW, wxSYS_COLOUR_LISTBOX, wxSYS_COLOUR_BTNFACE})
    for (const Shades& text : {kGoodText, kFailedText, kSentText, kQuietText})
      EXPECT_GE(Contrast(isDark ? text.dark : text.light, SystemColour(ground)), kText)
          << std::hex << SystemColour(ground);
}

} // namespace
} // namespace kor
