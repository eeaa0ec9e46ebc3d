#include "ui/wx/program_icon.h"

#include <wx/bitmap.h>
#include <wx/iconbndl.h>

namespace kor {

namespace {

constexpr char kResource[] = "A_NCEDL"; // with all sizes

} // namespace

void SetProgramIcon(wxTopLevelWindow& window) {
  window.SetIcons(wxIconBundle(kResource, nullptr));
}

wxImage ProgramPicture(int side) {
  const wxIcon icon = wxIconBundle(kResource, nullptr).GetIcon(wxSize(side, side));
  return icon.IsOk() ? wxBitmap(icon).ConvertToImage() : wxImage();
}

} // namespace kor
