#include "ui/wx/accessible.h"
#include "ui/wx/wx_text.h"

#include <gtk/gtk.h>

namespace kor {

namespace {

// The toolkit's own widget inside the ones that only scroll or frame it.
GtkWidget* Innermost(GtkWidget* widget) {
  while (GTK_IS_SCROLLED_WINDOW(widget) || GTK_IS_EVENT_BOX(widget) ||
         (GTK_IS_COMBO_BOX(widget) && gtk_combo_box_get_has_entry(GTK_COMBO_BOX(widget)))) {
    GtkWidget* const child = gtk_bin_get_child(GTK_BIN(widget));
    if (!child) break;
    widget = child;
  }
  return widget;
}

void Name(GtkWidget* widget, const KorText& name) {
  if (AtkObject* const spoken = gtk_widget_get_accessible(widget))
    atk_object_set_name(spoken, name.ToUtf8().c_str());
}

// The toolkit makes a text the name of the control that gets the keyboard next.
template <class Base> class Plain : public Base {
 public:
  using Base::Base;
  bool GTKWidgetNeedsMnemonic() const override { return false; }
};

} // namespace

wxStaticText* MakePlainText(wxWindow* parent, int number, const wxString& text, long style) {
  return new Plain<wxStaticText>(parent, number, text, wxDefaultPosition, wxDefaultSize, style);
}

wxStaticBox* MakePlainBox(wxWindow* parent, int number, const wxString& title) {
  return new Plain<wxStaticBox>(parent, number, title);
}

void SetSpokenName(wxWindow* control, const KorText& name, const KorText& description) {
  GtkWidget* const widget = static_cast<GtkWidget*>(control->GetHandle());
  Name(widget, name);
  Name(Innermost(widget), name);
  if (!description.IsEmpty()) control->SetToolTip(ToWx(description));
}

void SpeakAsDialog(wxTopLevelWindow* dialog) {
  GtkWidget* const widget = static_cast<GtkWidget*>(dialog->GetHandle());
  if (AtkObject* const spoken = gtk_widget_get_accessible(widget))
    atk_object_set_role(spoken, ATK_ROLE_DIALOG);
}

} // namespace kor
