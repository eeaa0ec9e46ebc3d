#include "ui/wx/desktop_note.h"

#include <memory>
#include <string>

#include <gtk/gtk.h>

namespace kor {

namespace {

struct Note {
  std::string title, text;
};

// The library for notes waits for the desktop's answer, which may never come.
void Send(GObject*, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Note> note(static_cast<Note*>(data));
  GDBusConnection* const bus = g_bus_get_finish(result, nullptr);
  if (!bus) return;
  constexpr gint kDefaultTime = -1;
  g_dbus_connection_call(
      bus, "org.freedesktop.Notifications", "/org/freedesktop/Notifications",
      "org.freedesktop.Notifications", "Notify",
      g_variant_new("(susss@as@a{sv}i)", "ncedl", 0U, "ncedl", note->title.c_str(),
                    note->text.c_str(), g_variant_new_strv(nullptr, 0),
                    g_variant_new_array(G_VARIANT_TYPE("{sv}"), nullptr, 0), kDefaultTime),
      nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
  g_object_unref(bus);
}

} // namespace

void ShowDesktopNote(wxTopLevelWindow&, const KorText& title, const KorText& text) {
  g_bus_get(G_BUS_TYPE_SESSION, nullptr, Send, new Note{title.ToUtf8(), text.ToUtf8()});
}

} // namespace kor
