#include "ui/wx/native_dialogs.h"

#include <gtk/gtk.h>

namespace kor {

bool CancelNativeDialogs() {
  bool found = false;
  GList* const all = gtk_window_list_toplevels();
  for (const GList* at = all; at; at = at->next)
    if (GTK_IS_FILE_CHOOSER_DIALOG(at->data) && gtk_widget_get_visible(GTK_WIDGET(at->data))) {
      gtk_dialog_response(GTK_DIALOG(at->data), GTK_RESPONSE_CANCEL);
      found = true;
    }
  g_list_free(all);
  return found;
}

void LetBeAnswered(wxWindow* window) {
  const bool taken = gtk_grab_get_current() != nullptr;
  gtk_window_set_modal(GTK_WINDOW(window->GetHandle()), taken ? TRUE : FALSE);
}

} // namespace kor
