#include "ui/wx/native_look.h"

#include <string>

#include <gtk/gtk.h>

namespace kor {

namespace {

constexpr char kStyleName[] = "ncedl-style";

GtkCssProvider* ProviderOf(GtkWidget* widget) {
  auto* provider = static_cast<GtkCssProvider*>(g_object_get_data(G_OBJECT(widget), kStyleName));
  if (provider) return provider;
  provider = gtk_css_provider_new();
  gtk_style_context_add_provider(gtk_widget_get_style_context(widget), GTK_STYLE_PROVIDER(provider),
                                 GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  g_object_set_data_full(G_OBJECT(widget), kStyleName, provider, g_object_unref);
  return provider;
}

void SetStyle(wxWindow* control, const std::string& style) {
  auto* const widget = static_cast<GtkWidget*>(control->GetHandle());
  gtk_css_provider_load_from_data(ProviderOf(widget), style.c_str(), -1, nullptr);
}

std::string Css(const wxColour& colour) {
  return colour.GetAsString(wxC2S_HTML_SYNTAX).ToStdString();
}

gboolean DrawShortened(GtkWidget* widget, cairo_t* on, gpointer) {
  if (gtk_widget_has_focus(widget)) return FALSE;
  wxString text = wxString::FromUTF8(gtk_entry_get_text(GTK_ENTRY(widget)));
  PangoLayout* const layout = gtk_widget_create_pango_layout(widget, text.Trim().utf8_str());
  const int room = gtk_widget_get_allocated_width(widget);
  int width = 0, height = 0;
  pango_layout_get_pixel_size(layout, &width, &height);
  const bool isLong = width > room;
  if (isLong) {
    pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_MIDDLE);
    pango_layout_set_width(layout, room * PANGO_SCALE);
    gtk_render_layout(gtk_widget_get_style_context(widget), on, 0,
                      (gtk_widget_get_allocated_height(widget) - height) / 2.0, layout);
  }
  g_object_unref(layout);
  return isLong ? TRUE : FALSE;
}

} // namespace

void StyleBar(wxGauge* gauge, int height, const wxColour& bar, const wxColour& trough) {
  const std::string high = " { min-height: " + std::to_string(height) + "px; background: ";
  SetStyle(gauge, "progress" + high + Css(bar) + "; } trough" + high + Css(trough) + "; }");
  auto* const widget = static_cast<GtkWidget*>(gauge->GetHandle());
  int needed = 0; // with what the theme draws around it
  gtk_widget_get_preferred_height(widget, nullptr, &needed);
  gauge->SetMinSize({gauge->GetMinSize().x, needed});
}

void SetTabHeight(wxNotebook* book, int height) {
  SetStyle(book, "tab { min-height: " + std::to_string(height) + "px; }");
}

// The toolkit's pages ask for no size themselves.
wxSize FrameOfBook(wxNotebook* book) {
  GtkRequisition frame{};
  gtk_widget_get_preferred_size(static_cast<GtkWidget*>(book->GetHandle()), &frame, nullptr);
  return {frame.width, frame.height};
}

void ShortenDrawing(wxTextCtrl* text) {
  g_signal_connect(text->GetHandle(), "draw", G_CALLBACK(DrawShortened), nullptr);
}

void CentreLines(wxAnyButton* button) {
  GtkWidget* const words = gtk_bin_get_child(GTK_BIN(button->GetHandle()));
  if (GTK_IS_LABEL(words)) gtk_label_set_justify(GTK_LABEL(words), GTK_JUSTIFY_CENTER);
}

void AlignLeft(wxAnyButton* button) {
  if (GtkWidget* const words = gtk_bin_get_child(GTK_BIN(button->GetHandle())))
    gtk_widget_set_halign(words, GTK_ALIGN_START);
}

// The environment variable overrules the setting.
bool IsHighContrast() {
  const char* const forced = g_getenv("GTK_THEME");
  char* name = nullptr;
  g_object_get(gtk_settings_get_default(), "gtk-theme-name", &name, nullptr);
  const std::string theme = forced ? forced : name ? name : "";
  g_free(name);
  return theme.starts_with("HighContrast");
}

void LayOutAgain(wxDataViewCtrl* table) {
  gtk_widget_queue_resize(table->GtkGetTreeView());
}

void BlendIn(wxTextCtrl* text) {
  text->SetBackgroundColour(wxTransparentColour);
}

void StopAnimations() {
  g_object_set(gtk_settings_get_default(), "gtk-enable-animations", FALSE, nullptr);
}

} // namespace kor
