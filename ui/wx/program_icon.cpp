#include "ui/wx/program_icon.h"

#include <algorithm>
#include <memory>

#include <wx/bitmap.h>
#include <wx/brush.h>
#include <wx/graphics.h>
#include <wx/icon.h>

namespace kor {

namespace {

constexpr int kSide = 64;                // pixels
constexpr double kDot = 28, kBorder = 3; // pixels

} // namespace

void SetProgramIcon(wxTopLevelWindow& window, const wxColour& dot) {
  wxImage picture = ProgramPicture(kSide);
  if (!picture.IsOk()) {
    picture.Create(kSide, kSide);
    picture.InitAlpha();
    std::fill_n(picture.GetAlpha(), kSide * kSide, static_cast<unsigned char>(0));
  }
  if (!picture.HasAlpha()) picture.InitAlpha();
  {
    const std::unique_ptr<wxGraphicsContext> on(wxGraphicsContext::Create(picture));
    const double x = picture.GetWidth() - kDot, y = picture.GetHeight() - kDot;
    on->SetPen(*wxTRANSPARENT_PEN);
    on->SetBrush(*wxWHITE_BRUSH);
    on->DrawEllipse(x, y, kDot, kDot);
    on->SetBrush(wxBrush(dot));
    on->DrawEllipse(x + kBorder, y + kBorder, kDot - 2 * kBorder, kDot - 2 * kBorder);
  }
  wxIcon icon;
  icon.CopyFromBitmap(wxBitmap(picture));
  window.SetIcon(icon);
}

} // namespace kor
