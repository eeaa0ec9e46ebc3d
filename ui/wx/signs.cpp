#include "ui/wx/signs.h"

#include <memory>

#include <wx/brush.h>
#include <wx/graphics.h>
#include <wx/image.h>
#include <wx/settings.h>

namespace kor {

namespace {

// Each sign is drawn on a square of 100 units.
constexpr double kUnits = 100;
constexpr double kStroke = 12;

struct SignColours {
  Sign sign;
  unsigned long light, dark; // 0xRRGGBB on a light and on a dark background
};
constexpr SignColours kColours[] = {
    {Sign::Idle, 0x4a5568, 0xa8b3c4},        {Sign::Busy, 0x0b5cad, 0x6fb4ff},
    {Sign::Held, 0x9a4d00, 0xffb454},        {Sign::Done, 0x1b7a2f, 0x67cf7d},
    {Sign::Failed, 0xb3141d, 0xff8080},      {Sign::NoLink, 0x9a4d00, 0xffb454},
    {Sign::ActivityOff, 0x6b7280, 0x8f98a6}, {Sign::ActivityOn, 0x1b7a2f, 0x67cf7d},
    {Sign::HoldOff, 0x6b7280, 0x8f98a6},     {Sign::HoldOn, 0xb3141d, 0xff8080},
};

using Path = wxGraphicsPath;

void Line(wxGraphicsContext& on, std::initializer_list<wxPoint2DDouble> points) {
  Path path = on.CreatePath();
  bool first = true;
  for (const wxPoint2DDouble& point : points) {
    first ? path.MoveToPoint(point) : path.AddLineToPoint(point);
    first = false;
  }
  on.StrokePath(path);
}

void Polygon(wxGraphicsContext& on, std::initializer_list<wxPoint2DDouble> points) {
  Path path = on.CreatePath();
  bool first = true;
  for (const wxPoint2DDouble& point : points) {
    first ? path.MoveToPoint(point) : path.AddLineToPoint(point);
    first = false;
  }
  path.CloseSubpath();
  on.FillPath(path);
}

void Ring(wxGraphicsContext& on) {
  Path path = on.CreatePath();
  path.AddCircle(50, 50, 40);
  on.StrokePath(path);
}

void Disc(wxGraphicsContext& on) {
  Path path = on.CreatePath();
  path.AddCircle(50, 50, 44);
  on.FillPath(path);
}

void Square(wxGraphicsContext& on) {
  Path path = on.CreatePath();
  path.AddRectangle(12, 12, 76, 76);
  on.StrokePath(path);
}

void Draw(wxGraphicsContext& on, Sign sign) {
  switch (sign) {
  case Sign::Idle: // a ring with hands: waiting
    Ring(on);
    Line(on, {{50, 28}, {50, 52}, {66, 62}});
    break;
  case Sign::Busy: // an arrow to the right and one back
    Polygon(on, {{8, 22}, {58, 22}, {58, 6}, {94, 34}, {58, 62}, {58, 46}, {8, 46}});
    Polygon(on, {{92, 78}, {42, 78}, {42, 94}, {8, 72}, {42, 50}, {42, 66}, {92, 66}});
    break;
  case Sign::Done: // a check mark
    Line(on, {{12, 54}, {38, 80}, {88, 22}});
    break;
  case Sign::Failed: // a triangle on its base with a cross in it
    Line(on, {{50, 10}, {94, 88}, {6, 88}, {50, 10}, {54, 17}});
    Line(on, {{40, 54}, {60, 76}});
    Line(on, {{60, 54}, {40, 76}});
    break;
  case Sign::NoLink: // a cut line between two ends
    Line(on, {{4, 50}, {32, 50}});
    Line(on, {{68, 50}, {96, 50}});
    Line(on, {{32, 30}, {32, 70}});
    Line(on, {{68, 30}, {68, 70}});
    Line(on, {{42, 84}, {58, 16}});
    break;
  case Sign::ActivityOff:
    Ring(on);
    break;
  case Sign::ActivityOn:
    Disc(on);
    break;
  case Sign::HoldOff:
    Square(on);
    break;
  case Sign::Held:
  case Sign::HoldOn: // two bars: stopped
    Polygon(on, {{10, 6}, {42, 6}, {42, 94}, {10, 94}});
    Polygon(on, {{58, 6}, {90, 6}, {90, 94}, {58, 94}});
    break;
  }
}

class DrawnBundle : public wxBitmapBundleImpl {
 public:
  DrawnBundle(Sign drawnSign, int drawnSide)
      : sign(drawnSign), colour(ColourOf(drawnSign)), side(drawnSide) {}

  wxSize GetDefaultSize() const override { return {side, side}; }
  wxSize GetPreferredBitmapSizeAtScale(double scale) const override {
    return GetDefaultSize() * scale;
  }
  wxBitmap GetBitmap(const wxSize& size) override {
    if (!drawn.IsOk() || drawn.GetSize() != size) drawn = Drawn(size);
    return drawn;
  }

 private:
  wxBitmap Drawn(const wxSize& size) const {
    wxImage image(size);
    image.InitAlpha();
    std::fill_n(image.GetAlpha(), size.x * size.y, static_cast<unsigned char>(0));
    {
      const std::unique_ptr<wxGraphicsContext> on(wxGraphicsContext::Create(image));
      on->SetAntialiasMode(wxANTIALIAS_DEFAULT);
      on->Scale(size.x / kUnits, size.y / kUnits);
      wxGraphicsPenInfo pen(colour, kStroke);
      on->SetPen(on->CreatePen(pen.Cap(wxCAP_ROUND).Join(wxJOIN_ROUND)));
      on->SetBrush(wxBrush(colour));
      Draw(*on, sign);
    }
    return wxBitmap(image);
  }

  const Sign sign;
  const wxColour colour;
  const int side;
  wxBitmap drawn;
};

} // namespace

Sign SignOf(LinkActivity activity) {
  switch (activity) {
  case LinkActivity::NoLink:
    return Sign::NoLink;
  case LinkActivity::Idle:
    return Sign::Idle;
  case LinkActivity::Busy:
    return Sign::Busy;
  case LinkActivity::Done:
    return Sign::Done;
  case LinkActivity::Cancelled: // only a part may have arrived
  case LinkActivity::Failed:
    break;
  }
  return Sign::Failed;
}

Sign SignOf(Lamp lamp, bool on) {
  if (lamp == kLampReceive || lamp == kLampWrite) return on ? Sign::ActivityOn : Sign::ActivityOff;
  return on ? Sign::HoldOn : Sign::HoldOff;
}

wxColour ColourOf(Sign sign) {
  const bool dark = wxSystemSettings::GetAppearance().IsUsingDarkBackground();
  for (const SignColours& colours : kColours)
    if (colours.sign == sign) {
      const unsigned long rgb = dark ? colours.dark : colours.light;
      return {static_cast<unsigned char>(rgb >> 16), static_cast<unsigned char>(rgb >> 8 & 0xff),
              static_cast<unsigned char>(rgb & 0xff)};
    }
  return wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT);
}

wxBitmapBundle DrawnSign(Sign sign, int side) {
  return wxBitmapBundle::FromImpl(new DrawnBundle(sign, side));
}

} // namespace kor
