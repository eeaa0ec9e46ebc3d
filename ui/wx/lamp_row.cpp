#include "ui/wx/lamp_row.h"

#include <algorithm>

#include <wx/stattext.h>

#include "services/core/text_lookup.h"
#include "ui/wx/accessible.h"
#include "ui/wx/signs.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kSide = 16; // lengths are in device-independent pixels
constexpr int kGap = 6;

constexpr UserText kLabels[kLampCount] = {
    kTexts.receiveLamp, kTexts.transmitLamp, kTexts.ctsHold,  kTexts.dsrHold,
    kTexts.rlsdHold,    kTexts.xoffHold,     kTexts.xoffSent,
};

Lamp LampAt(std::size_t at) {
  return static_cast<Lamp>(at);
}

// There is nothing to do with the keyboard.
void LeaveOut(wxPanel* panel) {
  panel->DisableFocusFromKeyboard();
  panel->SetCanFocus(false);
}

} // namespace

LampRow::LampRow(wxWindow* parent) : wxPanel(parent) {
  grid = new wxGridSizer(1, FromDIP(wxSize(kGap * 2, kGap)));
  for (std::size_t at = 0; at < kLampCount; ++at) {
    wxPanel* const lamp = MakeLamp(LampAt(at));
    widest = std::max(widest, lamp->GetBestSize().x + grid->GetHGap());
    grid->Add(lamp, wxSizerFlags().Expand());
  }
  SetSizer(grid);
  LeaveOut(this);
  SetMinSize({widest, -1}); // the sizer knows the height
  Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    Arrange();
    event.Skip();
  });
}

wxPanel* LampRow::MakeLamp(Lamp lamp) {
  auto* const cell = new wxPanel(this);
  names[lamp] = LookUpText(kLabels[lamp]);
  signs[lamp] = new wxStaticBitmap(cell, wxID_ANY, DrawnSign(SignOf(lamp, false), kSide));
  auto* const row = new wxBoxSizer(wxHORIZONTAL);
  row->Add(signs[lamp], wxSizerFlags().CentreVertical().Border(wxRIGHT, FromDIP(kGap)));
  row->Add(MakePlainText(cell, kLabels[lamp].number, ToLabel(names[lamp])),
           wxSizerFlags().CentreVertical());
  cell->SetSizer(row);
  LeaveOut(cell);
  Draw(lamp);
  return cell;
}

void LampRow::Draw(Lamp lamp) {
  signs[lamp]->SetBitmap(DrawnSign(SignOf(lamp, shown[lamp]), kSide));
  const KorText state = shown[lamp] ? LookUpText(kTexts.lampOn) : LookUpText(kTexts.lampOff);
  SetSpokenName(signs[lamp], KorText::Format(LookUpText(kTexts.lampAndState), names[lamp], state));
}

void LampRow::Show(const std::array<bool, kLampCount>& lamps) {
  for (std::size_t at = 0; at < kLampCount; ++at) {
    if (shown[at] == lamps[at]) continue;
    shown[at] = lamps[at];
    Draw(LampAt(at));
  }
}

// As many beside one another as the width holds, in rows of about the same length.
void LampRow::Arrange() {
  const int count = static_cast<int>(kLampCount);
  const int most = std::clamp(GetClientSize().x / widest, 1, count);
  const int rows = (count + most - 1) / most;
  const int columns = (count + rows - 1) / rows;
  if (columns == grid->GetCols()) return;
  grid->SetCols(columns);
  InvalidateBestSize();
  if (GetParent()) GetParent()->PostSizeEvent();
}

} // namespace kor
