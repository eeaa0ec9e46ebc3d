// Walks the source tree and rejects what breaks its layering: an include that a folder may not
// make, a window or operating-system header outside its folder, a platform condition outside
// platform/.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kor {
namespace {

namespace fs = std::filesystem;

// What the files whose path starts with prefix may include. The longest prefix decides.
struct Layer {
  std::string_view prefix;
  std::vector<std::string_view> project; // prefixes of project headers
  std::vector<std::string_view> system;  // headers in <>, besides those of the standard library
};

constexpr std::string_view kAnything = "*";

const std::vector<Layer>& Layers() {
  static const std::vector<Layer> layers = {
      {"services/core/", {"services/core/"}, {}},
      {"files/", {"files/", "services/core/"}, {"zlib.h", "wmmintrin.h"}},
      {"services/ini/", {"services/ini/", "services/core/", "files/"}, {}},
      {"services/dictionary/",
       {"services/dictionary/", "services/core/", "files/"},
       {"pugixml.hpp"}},
      {"ui/", {"ui/", "services/core/"}, {}},
      {"link/", {"link/", "ui/", "files/", "services/"}, {}},
      {"app/", {"app/", "link/", "ui/", "files/", "services/"}, {}},
      {"ui/console/", {"ui/console/", "app/", "link/", "ui/", "services/"}, {}},
      {"ui/wx/", {"ui/wx/", "app/", "link/", "ui/", "files/", "services/"}, {"wx/"}},
      {"ui/wx/accessible_gtk", {"ui/wx/", "services/core/"}, {"wx/", "gtk/"}},
      {"ui/wx/display_loss_gtk", {"ui/wx/"}, {"gdk/"}},
      {"ui/wx/native_look_gtk", {"ui/wx/"}, {"gtk/"}},
      {"ui/wx/native_dialogs_gtk", {"ui/wx/"}, {"wx/", "gtk/"}},
      {"ui/wx/program_icon_gtk", {"ui/wx/"}, {"wx/", "gtk/"}},
      {"platform/",
       {"platform/", "services/core/", "link/serial_port.h", "ui/terminal.h", "ui/line_editor.h"},
       {kAnything}},
      {"app/main_", {kAnything}, {kAnything}},
      {"tools/", {kAnything}, {kAnything}},
      {"tools/common/",
       {"tools/common/", "services/core/", "platform/platform.h", "platform/program_start.h"},
       {}},
      {"tests/", {kAnything}, {kAnything}},
      {"bench/", {kAnything}, {kAnything}},
      {"fuzz/", {kAnything}, {kAnything}},
      {"demo/", {kAnything}, {kAnything}},
      {"torture/", {kAnything}, {kAnything}},
  };
  return layers;
}

// Headers that only the named folders may include, whatever their layer says.
struct Reserved {
  std::string_view header;
  std::vector<std::string_view> folders;
};

const std::vector<Reserved>& ReservedHeaders() {
  static const std::vector<Reserved> reserved = {
      {"wx/", {"ui/wx/", "app/main_wx", "tests/window/", "demo/"}},
      {"windows.h", {"platform/", "tests/platform/", "tests/e2e/"}},
      {"termios.h", {"platform/", "tests/platform/"}},
      {"ui/wx/", {"ui/wx/", "app/main_wx", "tests/", "demo/"}},
      {"ui/console/", {"ui/console/", "app/main_", "tests/", "bench/"}},
      {"platform/", {"platform/", "app/main_", "tools/", "tests/", "bench/", "fuzz/", "torture/"}},
      {"tools/common/", {"tools/", "app/main_", "tests/"}},
      {"tools/nce_controller/", {"tools/nce_controller/", "tests/", "torture/"}},
      {"tests/", {"tests/", "bench/", "demo/", "fuzz/", "torture/"}},
  };
  return reserved;
}

// Headers of the C++ library have neither a folder nor an extension; all others do.
bool IsStandardHeader(std::string_view name) {
  return name.find_first_of("./") == std::string_view::npos;
}

bool StartsWithAny(std::string_view text, const std::vector<std::string_view>& prefixes) {
  return std::ranges::any_of(prefixes, [text](std::string_view prefix) {
    return prefix == kAnything || text.starts_with(prefix);
  });
}

const Layer* LayerOf(std::string_view file) {
  const Layer* found = nullptr;
  for (const Layer& layer : Layers())
    if (file.starts_with(layer.prefix) && (!found || layer.prefix.size() > found->prefix.size()))
      found = &layer;
  return found;
}

bool IsPlatformCondition(const std::string& line) {
  static const std::regex condition(
      R"(\s*#.*(_WIN32|_WIN64|__MINGW|WIN32|__linux|__unix|__APPLE__|_POSIX_|_MSC_VER).*)");
  return std::regex_match(line, condition);
}

// What is wrong with one line of a file, or nothing.
std::string Fault(std::string_view file, const std::string& line) {
  if (IsPlatformCondition(line) && !file.starts_with("platform/"))
    return "platform condition outside platform/";
  static const std::regex include(R"(\s*#\s*include\s*([<"])([^>"]+).*)");
  std::smatch found;
  if (!std::regex_match(line, found, include)) return {};
  const std::string header = found[2];
  for (const Reserved& reserved : ReservedHeaders())
    if (header.starts_with(reserved.header) && !StartsWithAny(file, reserved.folders))
      return header + " is not for this folder";
  const Layer* layer = LayerOf(file);
  if (!layer) return "file in a folder without a layer";
  if (found[1] == "\"") return StartsWithAny(header, layer->project) ? "" : header + " is above";
  if (IsStandardHeader(header) || StartsWithAny(header, layer->system)) return {};
  return "<" + header + "> is no header of the standard library";
}

TEST(Layers, NoFileIncludesWhatItsFolderMayNot) {
  const fs::path root = NCEDL_SOURCE_DIR;
  std::set<std::string_view> folders;
  for (const Layer& layer : Layers())
    folders.insert(layer.prefix.substr(0, layer.prefix.find('/')));
  for (const std::string_view folder : folders) {
    for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
      const std::string extension = entry.path().extension().string();
      if (extension != ".h" && extension != ".cpp") continue;
      const std::string file = fs::relative(entry.path(), root).generic_string();
      std::ifstream stream(entry.path());
      bool isGuarded = extension == ".cpp";
      std::string line;
      for (int number = 1; std::getline(stream, line); ++number) {
        EXPECT_EQ(Fault(file, line), "") << file << ":" << number << ": " << line;
        isGuarded |= line == "#pragma once";
      }
      EXPECT_TRUE(isGuarded) << file << ": #pragma once is missing";
    }
  }
}

TEST(Layers, TheRulesCatchWhatTheyAreFor) {
  const struct {
    const char *file, *line;
    bool allowed;
  } cases[] = {
      {"services/core/a.cpp", "#include <vector>", true},
      {"services/core/a.cpp", "#include \"files/simple_file.h\"", false},
      {"services/core/a.cpp", "#include <unistd.h>", false},
      {"link/a.cpp", "#  include \"platform/platform.h\"", false},
      {"app/main_console.cpp", "#include \"platform/platform.h\"", true},
      {"app/main_console.cpp", "#include <wx/wx.h>", false},
      {"ui/console/a.cpp", "#include \"files/simple_file.h\"", false},
      {"tools/korfile/a.cpp", "#include \"tools/nce_controller/frame.h\"", false},
      {"tests/link/a.cpp", "#include <windows.h>", false},
      {"unknown/a.cpp", "#include <vector>", false},
      {"app/a.cpp", "#ifdef _WIN32", false},
      {"services/core/a.h", "#if defined(__clang__)", true},
  };
  for (const auto& example : cases)
    EXPECT_EQ(Fault(example.file, example.line).empty(), example.allowed)
        << example.file << ": " << example.line;
}

} // namespace
} // namespace kor
