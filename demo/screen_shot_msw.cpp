#include "demo/screen_shot.h"

#include <wx/bitmap.h>
#include <wx/dcmemory.h>
#include <wx/dcscreen.h>
#include <wx/image.h>

namespace kor {

bool Shoot(const wxTopLevelWindow& window, const std::string& file) {
  const wxRect place = window.GetScreenRect();
  wxBitmap picture(place.GetSize());
  wxScreenDC screen;
  wxMemoryDC memory(picture);
  if (!memory.Blit({}, place.GetSize(), &screen, place.GetPosition())) return false;
  memory.SelectObject(wxNullBitmap);
  return picture.ConvertToImage().SaveFile(file + ".bmp", wxBITMAP_TYPE_BMP);
}

} // namespace kor
