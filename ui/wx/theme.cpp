#include "ui/wx/theme.h"

#include <wx/settings.h>

#include "ui/wx/native_look.h"

namespace kor {

namespace {

wxColour Shade(const Shades& shades) {
  const bool dark = wxSystemSettings::GetAppearance().IsUsingDarkBackground();
  return ColourOf(dark ? shades.dark : shades.light);
}

} // namespace

wxColour ColourOf(Rgb rgb) {
  return {static_cast<unsigned char>(rgb >> 16), static_cast<unsigned char>(rgb >> 8 & 0xff),
          static_cast<unsigned char>(rgb & 0xff)};
}

wxColour ColourOf(const Shades& shades) {
  return IsHighContrast() ? wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT) : Shade(shades);
}

ToneColours ColoursOf(Tone tone) {
  const auto system = [](wxSystemColour which) { return wxSystemSettings::GetColour(which); };
  if (IsHighContrast()) {
    const wxColour ground = system(wxSYS_COLOUR_WINDOW), text = system(wxSYS_COLOUR_WINDOWTEXT);
    return {ground, text, text, system(wxSYS_COLOUR_HIGHLIGHT), ground};
  }
  const ToneShades& shades = ShadesOf(tone);
  return {Shade(shades.ground), Shade(shades.strong), Shade(shades.plain), Shade(shades.bar),
          Shade(kTrough)};
}

} // namespace kor
