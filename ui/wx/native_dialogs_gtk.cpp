#include "ui/wx/native_dialogs.h"

#include <gtk/gtk.h>

namespace kor {

namespace {

bool CancelVisible(bool (*isMeant)(GtkWindow* window)) {
  bool found = false;
  GList* const all = gtk_window_list_toplevels();
  for (const GList* at = all; at; at = at->next)
    if (GTK_IS_DIALOG(at->data) && gtk_widget_get_visible(GTK_WIDGET(at->data)) &&
        isMeant(GTK_WINDOW(at->data))) {
      gtk_dialog_response(GTK_DIALOG(at->data), GTK_RESPONSE_CANCEL);
      found = true;
    }
  g_list_free(all);
  return found;
}

} // namespace

// A chooser that asks whether a file may be replaced waits for that answer, so the question goes
// first.
bool CancelNativeDialogs() {
  return CancelVisible([](GtkWindow* window) {
           return GTK_IS_FILE_CHOOSER_DIALOG(gtk_window_get_transient_for(window)) == TRUE;
         }) ||
         CancelVisible(
             [](GtkWindow* window) { return GTK_IS_FILE_CHOOSER_DIALOG(window) == TRUE; });
}

void LetBeAnswered(wxWindow* window) {
  const bool taken = gtk_grab_get_current() != nullptr;
  gtk_window_set_modal(GTK_WINDOW(window->GetHandle()), taken ? TRUE : FALSE);
}

} // namespace kor
