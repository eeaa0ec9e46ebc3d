#include "ui/wx/program_icon.h"

#include <wx/bitmap.h>

#include <gtk/gtk.h>

namespace kor {

namespace {

constexpr char kName[] = "ncedl"; // that the desktop file gives it

} // namespace

void SetProgramIcon(wxTopLevelWindow& window) {
  gtk_window_set_icon_name(GTK_WINDOW(window.GetHandle()), kName);
}

wxImage ProgramPicture(int side) {
  GdkPixbuf* const picture = gtk_icon_theme_load_icon(gtk_icon_theme_get_default(), kName, side,
                                                      GTK_ICON_LOOKUP_FORCE_SIZE, nullptr);
  return picture ? wxBitmap(picture).ConvertToImage() : wxImage();
}

} // namespace kor
