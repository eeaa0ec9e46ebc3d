// Takes a picture of every window in every state, in the languages named. With sizes, takes
// pictures of the main window's states only, each at each size.
//   ncedl-pictures FOLDER [WIDTHxHEIGHT...] LANGUAGE...
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <wx/app.h>

#include "demo/screen_shot.h"
#include "demo/window_scenes.h"

namespace {

using namespace kor;

constexpr int kSettle = 250; // milliseconds

class Pictures : public wxApp {
 public:
  explicit Pictures(std::vector<std::string> words) : arguments(std::move(words)) {}
  bool OnInit() override { return true; }

  int OnRun() override {
    SetExitOnFrameDelete(false);
    demo::WindowScenes scenes(u"" NCEDL_DICTIONARY, kSettle);
    for (std::size_t at = 1; at < arguments.size(); ++at) {
      wxSize size;
      if (std::sscanf(arguments[at].c_str(), "%dx%d", &size.x, &size.y) == 2)
        sizes.push_back(size);
      else
        Take(scenes, arguments[at]);
    }
    std::printf("%d pictures in %s\n", taken, arguments[0].c_str());
    return missed == 0 && taken > 0 ? 0 : 1;
  }

 private:
  void Take(demo::WindowScenes& scenes, const std::string& language) {
    std::string size;
    const auto look = [&](const wxTopLevelWindow& window, std::string_view name) {
      std::string file = arguments[0] + "/" + language + size;
      file += "-" + std::string(name);
      ++(Shoot(window, file) ? taken : missed);
    };
    const KorText code = KorText::FromUtf8(language);
    if (sizes.empty() && !scenes.Play(code, look)) ++missed;
    for (const wxSize& wanted : sizes) {
      size = "-" + std::to_string(wanted.x) + "x" + std::to_string(wanted.y);
      if (!scenes.PlayAt(wanted, code, look)) ++missed;
    }
  }

  const std::vector<std::string> arguments;
  std::vector<wxSize> sizes; // device-independent pixels
  int taken = 0, missed = 0;
};

} // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: ncedl-pictures FOLDER [WIDTHxHEIGHT...] LANGUAGE...\n");
    return 2;
  }
  std::filesystem::create_directories(argv[1]);
  wxApp::SetInstance(new Pictures({argv + 1, argv + argc}));
  int none = 1;
  return wxEntry(none, argv);
}
