#include "ui/wx/lamp_strip.h"

#include <algorithm>

#include <wx/dcclient.h>

#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"
#include "ui/wx/accessible.h"
#include "ui/wx/signs.h"
#include "ui/wx/theme.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kSide = 24; // device-independent pixels of a lens with the room to shine
constexpr int kGap = 6;   // device-independent pixels
constexpr float kLetters = 0.93F;
constexpr double kAfterglow = 0.3; // seconds
constexpr std::size_t kColumns[] = {kLampCount, 4, 3, 2, 1};

constexpr UserText kLabels[kLampCount] = {
    kTexts.receiveLamp, kTexts.transmitLamp, kTexts.ctsHold,  kTexts.dsrHold,
    kTexts.rlsdHold,    kTexts.xoffHold,     kTexts.xoffSent,
};

Lamp LampAt(std::size_t at) {
  return static_cast<Lamp>(at);
}

bool IsTraffic(std::size_t lamp) {
  return lamp == kLampReceive || lamp == kLampWrite;
}

// The strip takes no keyboard. This must come after its children are made, which would allow it
// again.
void LeaveOut(wxPanel* panel) {
  panel->DisableFocusFromKeyboard();
  panel->SetCanFocus(false);
  panel->SetBackgroundColour(ColourOf(kStripGround));
}

} // namespace

LampStrip::LampStrip(wxWindow* parent) : wxPanel(parent) {
  grid = new wxFlexGridSizer(static_cast<int>(kLampCount), FromDIP(wxSize(kGap, kGap)));
  for (std::size_t at = 0; at < kLampCount; ++at)
    grid->Add(MakeLamp(LampAt(at)), wxSizerFlags().Expand());
  auto* const frame = new wxBoxSizer(wxVERTICAL);
  frame->Add(grid, wxSizerFlags(1).Expand().Border(wxALL, FromDIP(kGap)));
  SetSizer(frame);
  LeaveOut(this);
  afterglow.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { DrawAll(); });
  Bind(wxEVT_PAINT, [this](wxPaintEvent&) { PaintLine(); });
}

wxPanel* LampStrip::MakeLamp(Lamp lamp) {
  auto* const panel = new wxPanel(this);
  Cell& cell = cells[lamp];
  cell.name = LookUpText(kLabels[lamp]);
  cell.lens = new wxStaticBitmap(panel, wxID_ANY, DrawnLens(Lens::Off, kSide));
  cell.text = MakePlainText(panel, kLabels[lamp].number, ToLabel(cell.name),
                            wxALIGN_CENTRE_HORIZONTAL | wxST_NO_AUTORESIZE);
  cell.text->SetForegroundColour(ColourOf(kStripText));
  cell.text->SetFont(GetFont().Scaled(kLetters));
  auto* const column = new wxBoxSizer(wxVERTICAL);
  column->Add(cell.lens, wxSizerFlags().CentreHorizontal());
  column->Add(cell.text, wxSizerFlags().Expand());
  panel->SetSizer(column);
  LeaveOut(panel);
  Draw(lamp);
  return panel;
}

// A screen reader is told the lamp's state, although the drawn lens still glows.
void LampStrip::Draw(Lamp lamp) {
  Cell& cell = cells[lamp];
  const KorText state = shown[lamp] ? LookUpText(kTexts.lampOn) : LookUpText(kTexts.lampOff);
  SetSpokenName(cell.lens, KorText::Format(LookUpText(kTexts.lampAndState), cell.name, state));
  const double now = App().HighResolutionSeconds();
  if (shown[lamp] && IsTraffic(lamp)) cell.litTill = now + kAfterglow;
  const bool lit = shown[lamp] || now < cell.litTill;
  if (lit && !shown[lamp]) afterglow.StartOnce(static_cast<int>(kAfterglow * 1000));
  if (lit == cell.lit) return;
  cell.lit = lit;
  const Lens lens = !lit ? Lens::Off : IsTraffic(lamp) ? Lens::Traffic : Lens::Hold;
  cell.lens->SetBitmap(DrawnLens(lens, kSide));
  const wxFont font = GetFont().Scaled(kLetters);
  if (!IsTraffic(lamp)) cell.text->SetFont(lit ? font.Bold() : font);
}

void LampStrip::ApplyLook() {
  for (std::size_t at = 0; at < kLampCount; ++at) {
    const wxFont font = GetFont().Scaled(kLetters);
    cells[at].text->SetFont(cells[at].lit && !IsTraffic(at) ? font.Bold() : font);
  }
}

void LampStrip::DrawAll() {
  for (std::size_t at = 0; at < kLampCount; ++at)
    Draw(LampAt(at));
}

void LampStrip::Show(const std::array<bool, kLampCount>& lamps) {
  for (std::size_t at = 0; at < kLampCount; ++at) {
    if (shown[at] == lamps[at]) continue;
    shown[at] = lamps[at];
    Draw(LampAt(at));
  }
}

// Each text gets the room that bold letters need, so that a lamp that lights up moves no other.
void LampStrip::SetTexts(bool inTwoLines) {
  twoLines = inTwoLines;
  for (std::size_t at = 0; at < kLampCount; ++at) {
    wxString words = ToWx(cells[at].name);
    if (inTwoLines && words.Replace(" ", "\n", false) == 0) words.Replace("-", "-\n", false);
    wxStaticText& text = *cells[at].text;
    if (text.GetLabelText() != words) text.SetLabelText(words);
    wxFont font = GetFont().Scaled(kLetters);
    if (!IsTraffic(at)) font = font.Bold();
    wxClientDC dc(this);
    dc.SetFont(font);
    const wxSize needed = dc.GetMultiLineTextExtent(words);
    text.SetMinSize({needed.x + FromDIP(2), needed.y});
  }
}

int LampStrip::Widest(std::size_t columns) const {
  int all = FromDIP(2 * kGap) + static_cast<int>(columns - 1) * grid->GetHGap();
  for (std::size_t column = 0; column < columns; ++column) {
    int width = 0;
    for (std::size_t at = column; at < kLampCount; at += columns)
      width = std::max({width, cells[at].text->GetMinSize().x, FromDIP(kSide)});
    all += width;
  }
  return all;
}

void LampStrip::FitWidth(int width) {
  std::size_t columns = 1;
  for (const std::size_t tried : kColumns)
    for (const bool inTwoLines : {false, true}) {
      if (columns > 1) break;
      SetTexts(inTwoLines);
      if (Widest(tried) <= width) columns = tried;
    }
  grid->SetCols(static_cast<int>(columns));
  for (std::size_t column = 0; column < kLampCount; ++column) {
    if (grid->IsColGrowable(column)) grid->RemoveGrowableCol(column);
    if (column < columns) grid->AddGrowableCol(column, 1);
  }
  InvalidateBestSize();
  Layout();
  Refresh();
}

// Draws the line between the traffic lamps and the holds.
void LampStrip::PaintLine() {
  wxPaintDC dc(this);
  if (grid->GetCols() < static_cast<int>(kLampCount)) return;
  const wxRect before = cells[kLampWrite].text->GetParent()->GetRect();
  const wxRect after = cells[kLampCtsHold].text->GetParent()->GetRect();
  const int x = (before.GetRight() + after.x) / 2;
  dc.SetPen(wxPen(ColourOf(kLensOff)));
  dc.DrawLine(x, FromDIP(kGap), x, GetClientSize().y - FromDIP(kGap));
}

} // namespace kor
