#include "ui/wx/native_look.h"

#include <string>

#include <gtk/gtk.h>

namespace kor {

namespace {

void SetStyle(wxWindow* control, const std::string& style) {
  GtkCssProvider* const provider = gtk_css_provider_new();
  gtk_css_provider_load_from_data(provider, style.c_str(), -1, nullptr);
  gtk_style_context_add_provider(
      gtk_widget_get_style_context(static_cast<GtkWidget*>(control->GetHandle())),
      GTK_STYLE_PROVIDER(provider), GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  g_object_unref(provider);
}

} // namespace

void SetBarHeight(wxGauge* gauge, int height) {
  SetStyle(gauge, "progress, trough { min-height: " + std::to_string(height) + "px; }");
  int needed = 0; // with what the theme draws around it
  gtk_widget_get_preferred_height(static_cast<GtkWidget*>(gauge->GetHandle()), nullptr, &needed);
  gauge->SetMinSize({gauge->GetMinSize().x, needed});
}

void SetTabHeight(wxNotebook* book, int height) {
  SetStyle(book, "tab { min-height: " + std::to_string(height) + "px; }");
}

// The toolkit's pages ask for nothing themselves.
wxSize FrameOfBook(wxNotebook* book) {
  GtkRequisition frame{};
  gtk_widget_get_preferred_size(static_cast<GtkWidget*>(book->GetHandle()), &frame, nullptr);
  return {frame.width, frame.height};
}

void BlendIn(wxTextCtrl* text) {
  text->SetBackgroundColour(wxTransparentColour);
}

void StopAnimations() {
  g_object_set(gtk_settings_get_default(), "gtk-enable-animations", FALSE, nullptr);
}

} // namespace kor
