#include "demo/screen_shot.h"

#include <gtk/gtk.h>

namespace kor {

bool Shoot(const wxTopLevelWindow& window, const std::string& file) {
  GdkRectangle place{};
  gdk_window_get_frame_extents(gtk_widget_get_window(static_cast<GtkWidget*>(window.GetHandle())),
                               &place);
  GdkPixbuf* const picture = gdk_pixbuf_get_from_window(gdk_get_default_root_window(), place.x,
                                                        place.y, place.width, place.height);
  const bool written =
      picture && gdk_pixbuf_save(picture, (file + ".png").c_str(), "png", nullptr, nullptr);
  if (picture) g_object_unref(picture);
  return written;
}

} // namespace kor
