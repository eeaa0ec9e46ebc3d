#include "ui/wx/program_icon.h"

#include <gtk/gtk.h>

namespace kor {

// By the name that the desktop file gives it.
void SetProgramIcon(wxTopLevelWindow& window) {
  gtk_window_set_icon_name(GTK_WINDOW(window.GetHandle()), "ncedl");
}

} // namespace kor
