// Takes a picture of every window in every state, in the languages named, with the frame that the
// window manager draws.
//   ncedl-pictures FOLDER [LANGUAGE...]
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <wx/app.h>

#include <gtk/gtk.h>

#include "demo/window_scenes.h"

namespace {

using namespace kor;

constexpr int kSettle = 250; // milliseconds

// In the pixels of the display, whatever the scaling.
bool Shoot(const wxTopLevelWindow& window, const std::string& file) {
  GdkRectangle place{};
  gdk_window_get_frame_extents(gtk_widget_get_window(static_cast<GtkWidget*>(window.GetHandle())),
                               &place);
  GdkPixbuf* const picture = gdk_pixbuf_get_from_window(gdk_get_default_root_window(), place.x,
                                                        place.y, place.width, place.height);
  const bool written = picture && gdk_pixbuf_save(picture, file.c_str(), "png", nullptr, nullptr);
  if (picture) g_object_unref(picture);
  return written;
}

class Pictures : public wxApp {
 public:
  explicit Pictures(std::vector<std::string> words) : arguments(std::move(words)) {}
  bool OnInit() override { return true; }

  int OnRun() override {
    SetExitOnFrameDelete(false);
    demo::WindowScenes scenes(u"" NCEDL_DICTIONARY, kSettle);
    int taken = 0, missed = 0;
    for (std::size_t at = 1; at < arguments.size(); ++at) {
      const std::string& language = arguments[at];
      const auto look = [&](const wxTopLevelWindow& window, std::string_view name) {
        const std::string file = arguments[0] + "/" + language + "-" + std::string(name) + ".png";
        ++(Shoot(window, file) ? taken : missed);
      };
      if (!scenes.Play(KorText::FromUtf8(language), look)) ++missed;
    }
    std::printf("%d pictures in %s\n", taken, arguments[0].c_str());
    return missed == 0 && taken > 0 ? 0 : 1;
  }

 private:
  const std::vector<std::string> arguments;
};

} // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: ncedl-pictures FOLDER LANGUAGE...\n");
    return 2;
  }
  std::filesystem::create_directories(argv[1]);
  wxApp::SetInstance(new Pictures({argv + 1, argv + argc}));
  int none = 1;
  return wxEntry(none, argv);
}
