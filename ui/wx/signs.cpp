#include "ui/wx/signs.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

#include <wx/brush.h>
#include <wx/graphics.h>
#include <wx/image.h>

#include "ui/wx/theme.h"

namespace kor {

namespace {

// Each sign is drawn on a square of 100 units.
constexpr double kUnits = 100;
constexpr double kStroke = 9;

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

void Disc(wxGraphicsContext& on, double radius, const wxColour& colour) {
  Path path = on.CreatePath();
  path.AddCircle(50, 50, radius);
  on.SetBrush(wxBrush(colour));
  on.FillPath(path);
}

void Draw(wxGraphicsContext& on, Sign sign) {
  switch (sign) {
  case Sign::Idle: // a ring with hands: waiting
    Ring(on);
    Line(on, {{50, 28}, {50, 52}, {66, 62}});
    break;
  case Sign::Sending: // an arrow to the machine
    Polygon(on, {{8, 36}, {54, 36}, {54, 14}, {94, 50}, {54, 86}, {54, 64}, {8, 64}});
    break;
  case Sign::Receiving: // and one from it
    Polygon(on, {{92, 36}, {46, 36}, {46, 14}, {6, 50}, {46, 86}, {46, 64}, {92, 64}});
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
  case Sign::Held: // two bars: stopped
    Polygon(on, {{16, 10}, {42, 10}, {42, 90}, {16, 90}});
    Polygon(on, {{58, 10}, {84, 10}, {84, 90}, {58, 90}});
    break;
  }
}

void DrawIn(wxGraphicsContext& on, Sign sign, const wxColour& colour) {
  wxGraphicsPenInfo pen(colour, kStroke);
  on.SetPen(on.CreatePen(pen.Cap(wxCAP_ROUND).Join(wxJOIN_ROUND)));
  on.SetBrush(wxBrush(colour));
  Draw(on, sign);
}

// Opaque, since not every system draws what is half transparent in its own colour.
wxColour HalfWay(const wxColour& one, const wxColour& other) {
  const auto mixed = [](int a, int b) { return static_cast<unsigned char>((a + b) / 2); };
  return {mixed(one.Red(), other.Red()), mixed(one.Green(), other.Green()),
          mixed(one.Blue(), other.Blue())};
}

// An unlit lens is dull. A hold is larger than traffic, and a lit lens glows.
void DrawLens(wxGraphicsContext& on, Lens lens) {
  constexpr double kRadius = 33, kHoldRadius = 42, kRim = 7, kGlow = 8;
  const double radius = lens == Lens::Hold ? kHoldRadius : kRadius;
  const wxColour fill = ColourOf(lens == Lens::Off       ? kLensOff
                                 : lens == Lens::Traffic ? kLensTraffic
                                                         : kLensHold);
  if (lens != Lens::Off) Disc(on, radius + kGlow, HalfWay(fill, ColourOf(kStripGround)));
  Disc(on, radius, lens == Lens::Off ? ColourOf(kLensRim) : fill.ChangeLightness(150));
  Disc(on, radius - kRim, fill);
}

using Painter = std::function<void(wxGraphicsContext&)>;

class DrawnBundle : public wxBitmapBundleImpl {
 public:
  DrawnBundle(Painter drawing, int drawnSide) : paint(std::move(drawing)), side(drawnSide) {}

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
      paint(*on);
    }
    return wxBitmap(image);
  }

  const Painter paint;
  const int side;
  wxBitmap drawn;
};

wxBitmapBundle Bundle(Painter paint, int side) {
  return wxBitmapBundle::FromImpl(new DrawnBundle(std::move(paint), side));
}

} // namespace

Sign SignOf(const Situation& now) {
  if (IsHeld(now)) return Sign::Held;
  if (now.view.activity == LinkActivity::NoLink) return Sign::NoLink;
  switch (ToneOf(now)) {
  case Tone::Neutral:
    return Sign::Idle;
  case Tone::Busy:
    break;
  case Tone::Done:
    return Sign::Done;
  case Tone::Attention: // only a part may have arrived
  case Tone::Failed:
    return Sign::Failed;
  }
  const Direction direction = ShownDirection(now.view.code);
  if (direction == Direction::None) return Sign::Busy;
  return direction == Direction::ToMachine ? Sign::Sending : Sign::Receiving;
}

wxColour ColourOf(Sign sign) {
  if (sign == Sign::Failed) return ColourOf(kFailedText);
  if (sign == Sign::Done) return ColourOf(kGoodText);
  return ColourOf(sign == Sign::Busy ? kSentText : kQuietText);
}

wxBitmapBundle DrawnCell(Sign sign, const wxColour& colour, int side) {
  constexpr double kShare = 0.64, kMargin = (1 - kShare) / 2 * kUnits;
  return Bundle(
      [sign, colour](wxGraphicsContext& on) {
        on.Translate(kMargin, kMargin);
        on.Scale(kShare, kShare);
        DrawIn(on, sign, colour);
      },
      side);
}

wxBitmapBundle DrawnSign(Sign sign, const wxColour& colour, int side) {
  return Bundle([sign, colour](wxGraphicsContext& on) { DrawIn(on, sign, colour); }, side);
}

wxBitmapBundle DrawnLens(Lens lens, int side) {
  return Bundle([lens](wxGraphicsContext& on) { DrawLens(on, lens); }, side);
}

} // namespace kor
