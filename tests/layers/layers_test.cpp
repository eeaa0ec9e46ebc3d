// Holds the source tree and the build's targets against the plan of the rooms in
// docs/architecture.md: rejects what leaves the plan, a window or operating-system header outside
// its room, and a platform condition outside platform/.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kor {
namespace {

namespace fs = std::filesystem;

using Names = std::vector<std::string>;

const std::string kAllAbove = "all above", kTheSystem = "the system";

// A file is in the room with the longest path that its own begins with.
struct Room {
  std::string name;
  Names paths;
  Names sees;   // the names of other rooms, or kAllAbove
  Names system; // headers in <>, besides those of the standard library; or kTheSystem
};

// The names of a list, each perhaps in backquotes.
Names NamesIn(const std::string& list) {
  static const std::regex name("[^,`]*[^,` ][^,`]*");
  Names names;
  for (std::sregex_iterator at(list.begin(), list.end(), name), end; at != end; ++at)
    names.push_back(std::regex_replace(at->str(), std::regex("^ +| +$"), ""));
  return names;
}

// The table of docs/architecture.md, from the ground up.
std::vector<Room> ReadRooms() {
  std::ifstream page(NCEDL_SOURCE_DIR "/docs/architecture.md");
  static const std::regex row(R"(\| (.+) \| (`.+`) \| .+ \|([^;|]*)(;.*)?\|)");
  std::vector<Room> rooms;
  std::smatch cells;
  for (std::string line; std::getline(page, line);)
    if (std::regex_match(line, cells, row))
      rooms.push_back({cells[1], NamesIn(cells[2]), NamesIn(cells[3]),
                       NamesIn(cells[4].matched ? cells[4].str().substr(1) : "")});
  return rooms;
}

const std::vector<Room>& Rooms() {
  static const std::vector<Room> rooms = ReadRooms();
  return rooms;
}

// Headers that only files of these paths may include, whatever their room.
struct Reserved {
  std::string_view header;
  Names paths;
};

const std::vector<Reserved>& ReservedHeaders() {
  static const std::vector<Reserved> reserved = {
      {"wx/", {"ui/wx/", "app/main_wx", "tests/window/", "demo/"}},
      {"gtk/",
       {"ui/wx/accessible_gtk", "ui/wx/desktop_note_gtk", "ui/wx/native_dialogs_gtk",
        "ui/wx/native_look_gtk", "ui/wx/program_icon_gtk", "tests/window/", "demo/"}},
      {"gdk/", {"ui/wx/display_loss_gtk", "tests/window/", "demo/"}},
      {"asio/", {"platform/net/"}},
      {"windows.h", {"platform/", "tests/platform/", "tests/e2e/"}},
      {"termios.h", {"platform/", "tests/platform/"}},
  };
  return reserved;
}

// Headers of the C++ library have neither a folder nor an extension; all others do.
bool IsStandardHeader(std::string_view name) {
  return name.find_first_of("./") == std::string_view::npos;
}

bool StartsWithAny(std::string_view text, const Names& prefixes) {
  return std::ranges::any_of(prefixes,
                             [text](std::string_view prefix) { return text.starts_with(prefix); });
}

const Room* RoomOf(std::string_view file) {
  const Room* found = nullptr;
  std::size_t longest = 0;
  for (const Room& room : Rooms())
    for (const std::string_view path : room.paths)
      if (file.starts_with(path) && path.size() > longest) {
        found = &room;
        longest = path.size();
      }
  return found;
}

bool Sees(const Room& room, const Room& other) {
  if (&room == &other) return true;
  return room.sees == Names{kAllAbove} ? &other < &room
                                       : std::ranges::count(room.sees, other.name) > 0;
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
    if (header.starts_with(reserved.header) && !StartsWithAny(file, reserved.paths))
      return header + " is not for this file";
  const Room* room = RoomOf(file);
  if (!room) return "file outside all rooms";
  if (found[1] == "\"") {
    const Room* other = RoomOf(header);
    return other && Sees(*room, *other) ? "" : header + " is in no room that this one sees";
  }
  const bool all = room->system == Names{kTheSystem};
  if (all || IsStandardHeader(header) || StartsWithAny(header, room->system)) return {};
  return "<" + header + "> is no header of the standard library";
}

// The room of a target's sources; null when they are in several.
const Room* RoomOf(const std::vector<std::string>& sources) {
  const Room* room = sources.empty() ? nullptr : RoomOf(sources[0]);
  for (const std::string& source : sources)
    if (RoomOf(source) != room) return nullptr;
  return room;
}

struct Target {
  std::vector<std::string> sources, links;
};

std::map<std::string, Target> TargetsOfTheBuild() {
  std::map<std::string, Target> targets;
  std::ifstream stream(NCEDL_TARGETS);
  std::string what, value, target;
  while (stream >> what >> value) {
    if (what == "target") target = value;
    if (what == "source") targets[target].sources.push_back(value);
    if (what == "link") targets[target].links.push_back(value);
  }
  return targets;
}

TEST(Layers, NoRoomSeesOneThatStandsAboveIt) {
  ASSERT_EQ(Rooms().size(), 27U) << "the table of docs/architecture.md";
  std::set<std::string_view> below;
  for (const Room& room : Rooms()) {
    for (const std::string_view name : room.sees)
      EXPECT_TRUE(name == kAllAbove || below.contains(name)) << room.name << " sees " << name;
    EXPECT_TRUE(below.insert(room.name).second) << room.name;
  }
}

TEST(Layers, NoFileIncludesWhatItsRoomDoesNotSee) {
  const fs::path root = NCEDL_SOURCE_DIR;
  std::set<std::string_view> folders;
  for (const Room& room : Rooms())
    for (const std::string_view path : room.paths)
      folders.insert(path.substr(0, path.find('/')));
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

TEST(Layers, NoLibraryLinksWhatItsRoomDoesNotSee) {
  const std::map<std::string, Target> targets = TargetsOfTheBuild();
  ASSERT_FALSE(targets.empty());
  for (const auto& [name, target] : targets) {
    const Room* room = RoomOf(target.sources);
    ASSERT_TRUE(room) << name << " has sources in several rooms";
    for (const std::string& link : target.links) {
      const auto linked = targets.find(link);
      if (linked == targets.end()) continue; // a library of the system
      const Room* other = RoomOf(linked->second.sources);
      EXPECT_TRUE(other && Sees(*room, *other)) << name << " links " << link;
    }
  }
}

TEST(Layers, TheRulesCatchWhatTheyAreFor) {
  EXPECT_EQ(Fault("services/core/a.cpp", "#include <vector>"), "");
  EXPECT_EQ(Fault("services/core/a.h", "#if defined(__clang__)"), "");
  EXPECT_EQ(Fault("platform/posix/serial_a.cpp", "#include \"link/port/serial_port.h\""), "");
  EXPECT_NE(Fault("platform/posix/clock_posix.cpp", "#include \"link/port/serial_port.h\""), "");
  EXPECT_NE(Fault("services/core/a.cpp", "#include <unistd.h>"), "");
  EXPECT_NE(Fault("link/a.cpp", "#  include \"platform/platform.h\""), "");
  EXPECT_NE(Fault("app/main_console.cpp", "#include <wx/wx.h>"), "");
  EXPECT_NE(Fault("app/main_common.cpp", "#include \"tools/common/tool_main.h\""), "");
  EXPECT_NE(Fault("app/a.cpp", "#ifdef _WIN32"), "");
  EXPECT_NE(Fault("unknown/a.cpp", "#include <vector>"), "");
}

} // namespace
} // namespace kor
