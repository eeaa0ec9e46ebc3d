// The whole program with its window, as somebody who sees nothing operates it: found, read and
// pressed through the accessibility bus, from another process, and by keys.
#include <gtest/gtest.h>

#include <atspi/atspi.h>
#include <gio/gio.h>
#include <gio/gunixsocketaddress.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/host_process.h"

namespace kor {
namespace {

using support::FarEnd;
using support::HostFolders;
using support::Process;
using support::ProcessOptions;

// Looks every few milliseconds, ten seconds at most.
bool Until(const std::function<bool()>& condition) {
  const gint64 end = g_get_monotonic_time() + 10 * G_USEC_PER_SEC;
  const guint look = g_timeout_add(
      20, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
  bool met = false;
  while (!(met = condition()) && g_get_monotonic_time() < end)
    g_main_context_iteration(nullptr, TRUE);
  g_source_remove(look);
  return met;
}

template <class Object> std::shared_ptr<Object> Owned(Object* object) {
  return {object, [](Object* owned) { g_clear_object(&owned); }};
}
using Accessible = std::shared_ptr<AtspiAccessible>;

std::vector<Accessible> ChildrenOf(const Accessible& parent) {
  std::vector<Accessible> children;
  for (int i = 0; i < atspi_accessible_get_child_count(parent.get(), nullptr); ++i)
    children.push_back(Owned(atspi_accessible_get_child_at_index(parent.get(), i, nullptr)));
  std::erase(children, nullptr); // gone meanwhile
  return children;
}

std::string Text(char* text) {
  const std::unique_ptr<char, decltype(&g_free)> owned(text, g_free);
  return text ? text : "";
}

// One control as the accessibility bus tells of it.
struct Spoken {
  explicit Spoken(const Accessible& itself)
      : control(itself), role(Text(atspi_accessible_get_role_name(control.get(), nullptr))),
        name(Text(atspi_accessible_get_name(control.get(), nullptr))) {}
  bool Is(AtspiStateType state) const {
    return atspi_state_set_contains(Owned(atspi_accessible_get_state_set(control.get())).get(),
                                    state) != FALSE;
  }
  bool Press() const {
    const auto action = Owned(atspi_accessible_get_action_iface(control.get()));
    return action && atspi_action_do_action(action.get(), 0, nullptr) != FALSE;
  }
  // The name of the control that names it.
  std::string Label() const {
    std::string label;
    GArray* const all = atspi_accessible_get_relation_set(control.get(), nullptr);
    for (guint i = 0; all && i < all->len; ++i) {
      const auto relation = Owned(g_array_index(all, AtspiRelation*, i));
      if (atspi_relation_get_relation_type(relation.get()) == ATSPI_RELATION_LABELLED_BY)
        label += Spoken(Owned(atspi_relation_get_target(relation.get(), 0))).name;
    }
    if (all) g_array_unref(all);
    return label;
  }

  Accessible control;
  std::string role, name;
};

void CollectShown(const Accessible& from, std::vector<Spoken>& all) {
  for (const Accessible& child : ChildrenOf(from)) {
    const Spoken one(child);
    if (!one.Is(ATSPI_STATE_SHOWING)) continue;
    all.push_back(one);
    CollectShown(child, all);
  }
}

// Everything that the process shows.
std::vector<Spoken> Shown(pid_t process) {
  constexpr int kPatience = 5000; // milliseconds
  atspi_init();
  atspi_set_timeout(kPatience, kPatience);
  std::vector<Spoken> all;
  for (const Accessible& program : ChildrenOf(Owned(atspi_get_desktop(0))))
    if (atspi_accessible_get_process_id(program.get(), nullptr) == static_cast<guint>(process))
      CollectShown(program, all);
  return all;
}

std::string Listed(const std::vector<Spoken>& all) {
  std::string text;
  for (const Spoken& one : all)
    text += one.role + " \"" + one.name + "\"\n";
  return text;
}

class Program : public ::testing::Test {
 protected:
  void Start() {
    program = folders.Start("ncedl");
    ASSERT_TRUE(Shows("push button", "Send NC File")) << Listed(Shown(program->Id()));
  }
  // The first of the role whose name holds the text.
  std::optional<Spoken> Find(const std::string& role, const std::string& name) {
    for (const Spoken& one : Shown(program->Id()))
      if (one.role == role && one.name.find(name) != std::string::npos) return one;
    return std::nullopt;
  }
  bool Shows(const std::string& role, const std::string& name,
             AtspiStateType state = ATSPI_STATE_SHOWING) {
    return Until([&] {
      const auto found = Find(role, name);
      return found && found->Is(state);
    });
  }
  bool Press(const std::string& role, const std::string& name) {
    return Until([&] {
      const auto found = Find(role, name);
      return found && found->Is(ATSPI_STATE_ENABLED) && found->Press();
    });
  }
  void Key(const std::string& keys) {
    EXPECT_EQ(Process({"/usr/bin/xdotool", "key", keys}).WaitForExit(), 0);
  }
  bool Answers() {
    return Until([&] {
      return line->Send("FH 8\r"), !line->Receive("\r", support::Milliseconds(300)).empty();
    });
  }
  // By its frame, once it is there; whether it asks that.
  bool Close(const std::string& question) {
    if (!Shows("frame", "NCE", ATSPI_STATE_ACTIVE)) return false;
    Key("alt+F4");
    return Shows("dialog", "NCE") && Shows("label", question);
  }
  std::filesystem::path Memory() const {
    return std::filesystem::path(folders.SettingsFile()).replace_extension("window");
  }
  int Ended() { return program->WaitForExit().value_or(-1); }

  HostFolders folders{NCEDL_PROGRAMS};
  std::unique_ptr<FarEnd> line = std::make_unique<FarEnd>(folders.Line());
  std::unique_ptr<Process> program;
};

// What somebody who sees nothing has to be told of.
bool IsForUse(const std::string& role) {
  static const std::set<std::string> roles = {
      "push button",  "check box", "combo box",    "spin button",  "text",
      "table",        "icon",      "frame",        "progress bar", "dialog",
      "file chooser", "page tab",  "toggle button"};
  return roles.contains(role);
}

TEST_F(Program, EveryControlHasARoleAndAName) {
  struct Screen {
    const char *role, *name; // what opens it; no role: a key
    std::string controls;    // "role/name" of each
  };
  const Screen screens[] = {
      {"toggle button", "Service",
       "frame/NCE COM1|icon/Ready|text/Status|progress bar/Progress|"
       "icon/Receive: off|icon/Transmit: off|icon/CTS Hold: off|icon/DSR Hold: off|"
       "icon/RLSD Hold: off|icon/XOFF Hold: off|icon/XOFF Sent: off|push button/Send NC File|"
       "push button/Receive NC File|push button/Special Features|push button/Download Settings|"
       "push button/Loop Back Test|push button/XON/XOFF Test|check box/Communications Trace|check "
       "box/RTS/CTS Handshake|check box/DTR/DSR Handshake|table/Jobs today|push button/Help"},
      {"check box", "Show Monitor",
       "text/Monitor|push button/Clear|push button/Save...|"
       "text/Text to find in the monitor|push button/Find"},
      {"push button", "Special Features",
       "dialog/Special Features|check box/Autoload sequential files|check box/Use LLLSSES|"
       "check box/Strip Leading Zeros From PC Filename|"
       "check box/Strip Leading Zeros From NCE Filename|push button/OK|push button/Cancel"},
      {"push button", "Download Settings",
       "dialog/Download Settings|combo box/Port|text/Port|combo box/Baud rate|combo box/Parity|"
       "combo box/Data bits|combo box/Stop bits|combo box/Flow control|"
       "check box/Send SOT|combo box/SOT character|check box/Send EOT|combo box/EOT character|"
       "spin button/Character delay (ms)|spin button/Line delay (ms)|"
       "spin button/Transmit delay (seconds)|page tab/Line|push button/OK|push button/Cancel"},
      {nullptr, "ctrl+Next",
       "page tab/Programs and log|text/Upload path|push button/Upload Path|text/Download path|"
       "push button/Download Path|text/File extension|text/Log file|push button/Save Log File As|"
       "check box/Write log"},
  };
  Start();
  for (const Screen& screen : screens) {
    if (screen.role)
      ASSERT_TRUE(Press(screen.role, screen.name));
    else
      Key(screen.name);
    std::istringstream controls(screen.controls);
    for (std::string one, role; std::getline(controls, one, '|');) {
      role = one.substr(0, one.find('/'));
      EXPECT_TRUE(Shows(role, one.substr(role.size() + 1))) << one;
    }
    for (const Spoken& one : Shown(program->Id())) {
      EXPECT_FALSE(IsForUse(one.role) && one.name.empty()) << one.role << " in " << screen.name;
      // Of a list that can be typed into it is the field that its label names.
      const bool hasLabel =
          one.role == "spin button" || one.role == (one.name == "Port" ? "text" : "combo box");
      const std::string label = one.Label();
      EXPECT_TRUE((label.empty() && !hasLabel) || label == one.name) << label << ": " << one.name;
    }
    if (screen.controls.starts_with("dialog/Special")) Key("Escape");
  }
}

TEST_F(Program, AProgramIsSentByKeysAlone) {
  support::WriteWholeFile(folders.Download("8.MPG"), "N1 X1\n");
  Start();
  ASSERT_TRUE(Shows("frame", "NCE", ATSPI_STATE_ACTIVE));
  Key("alt+s");
  ASSERT_TRUE(Shows("file chooser", "Open NC file", ATSPI_STATE_ACTIVE));
  EXPECT_EQ(Process({"/usr/bin/xdotool", "type", folders.Download("8.MPG")}).WaitForExit(), 0);
  Key("Return");
  ASSERT_TRUE(Shows("dialog", "Download End"));
  Key("Return"); // one too many ends nothing
  ASSERT_TRUE(Until([&] {
    line->Exchange(">");
    return Find("icon", "Sent 8").has_value(); // no lamp
  })) << Listed(Shown(program->Id()));
  EXPECT_TRUE(Until([&] { return !Find("dialog", "Download End"); }));
}

TEST_F(Program, ASecondStartRaisesTheFirst) {
  // What the toolkit has to say of a damaged file stands in nobody's way.
  support::WriteWholeFile(Memory(), "[[\n=");
  Start();
  ASSERT_TRUE(Shows("frame", "NCE", ATSPI_STATE_ACTIVE));
  Key("super+d"); // all windows are put away
  ASSERT_TRUE(Until([&] { return !Find("frame", "NCE")->Is(ATSPI_STATE_ACTIVE); }));
  EXPECT_EQ(folders.Start("ncedl")->WaitForExit(), 0);
  EXPECT_TRUE(Shows("frame", "NCE", ATSPI_STATE_ACTIVE));
  program->Signal(SIGSTOP);
  const std::unique_ptr<Process> stopped = std::exchange(program, folders.Start("ncedl"));
  ASSERT_TRUE(Press("push button", "Ok"));
  EXPECT_EQ(Ended(), 1);
}

TEST_F(Program, ClosingInATransferAsks) {
  support::WriteWholeFile(folders.Download("7.MPG"), "N1 X1\n");
  const std::string silentBus = folders.Download("bus"); // that is asked to keep the system awake
  const auto socket = Owned(
      g_socket_new(G_SOCKET_FAMILY_UNIX, G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_DEFAULT, nullptr));
  const auto address = Owned(g_unix_socket_address_new(silentBus.c_str()));
  ASSERT_TRUE(g_socket_bind(socket.get(), address.get(), TRUE, nullptr) &&
              g_socket_listen(socket.get(), nullptr));
  setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + silentBus).c_str(), 1);
  Start();
  line->Exchange("FH 7");
  line->Exchange(">");
  for (const char* answer : {"Keep sending", "End program"}) {
    ASSERT_TRUE(Shows("push button", "Cancel Transfer", ATSPI_STATE_ENABLED));
    ASSERT_TRUE(Close("End sending 7?"));
    ASSERT_TRUE(Press("push button", answer)) << Listed(Shown(program->Id()));
  }
  EXPECT_EQ(Ended(), 0);
}

TEST_F(Program, ClosingSaysThatTheMachineGetsNoProgramsAnyMore) {
  support::WriteWholeFile(folders.Download("7.MPG"), "N1 X1\n");
  Start();
  ASSERT_TRUE(Close("End this program? The machine then gets"));
  Key("Return");
  ASSERT_TRUE(Answers());
  ASSERT_TRUE(Close("End this program? The machine then gets"));
  line->Exchange("FH 7"); // that answer would end more than was said
  ASSERT_TRUE(Until([&] { return !Find("push button", "Keep serving"); }));
  ASSERT_TRUE(Close("End"));
  program->Signal(SIGTERM); // asks nothing, and takes no question for an answer
  EXPECT_EQ(Ended(), 0);
}

TEST_F(Program, EndsWhateverStandsOpen) {
  std::filesystem::create_directories(Memory()); // where no size can be kept
  for (const int signal : {SIGTERM, SIGHUP}) {
    Start();
    ASSERT_TRUE(Press("toggle button", "Service"));
    ASSERT_TRUE(Press("push button", "Download Settings"));
    ASSERT_TRUE(Shows("dialog", "Download Settings", ATSPI_STATE_ACTIVE));
    Key("ctrl+Next");
    ASSERT_TRUE(Press("push button", "Upload Path"));
    ASSERT_TRUE(Shows("file chooser", "Upload Path"));
    program->Signal(signal);
    ASSERT_EQ(Ended(), 0) << signal;
  }
}

TEST_F(Program, EndsProperlyWhenItsDisplayGoesOrHangs) {
  // With the display the folder of the settings may hang: then they are lost.
  for (const auto& [hangs, saves] : {std::pair(false, true), {true, true}, {true, false}}) {
    Process display({"/usr/bin/Xvfb", "-displayfd", "1"});
    ASSERT_TRUE(display.Expect("\n")) << display.Diagnostics();
    ProcessOptions options = folders.Options();
    options.environment["DISPLAY"] = ":" + display.Output().substr(0, display.Output().size() - 1);
    if (!saves) options.environment["LD_PRELOAD"] = NCEDL_HANGING_DISK;
    program = std::make_unique<Process>(folders.Program("ncedl"), options);
    ASSERT_TRUE(Answers());
    display.Signal(hangs ? SIGSTOP : SIGTERM);
    if (hangs) program->Signal(SIGTERM);
    EXPECT_EQ(Ended(), 0);
    EXPECT_EQ(support::ReadWholeFile(folders.SettingsFile()).starts_with("[Port Settings]"),
              !saves);
    folders.WriteProfile(115200);
  }
}

TEST_F(Program, WithoutADisplayItNamesTheConsole) {
  ProcessOptions options = folders.Options();
  options.environment["DISPLAY"] = options.environment["WAYLAND_DISPLAY"] = "";
  Process blind(folders.Program("ncedl"), options);
  EXPECT_EQ(blind.WaitForExit(), 1);
  EXPECT_NE(blind.Diagnostics().find("ncedl-console"), std::string::npos);
}

TEST_F(Program, ServesBeforeAnybodyHasReadThatItsTextsAreMissingAndShowsItsGuide) {
  const std::filesystem::path folder = folders.Download("bin"); // beside it there are none
  std::filesystem::create_directories(folder / "docs");
  std::filesystem::copy_file(NCEDL_PROGRAMS "/ncedl", folder / "ncedl");
  support::WriteWholeFile(folder / "docs/user-guide.html", "words");
  support::WriteWholeFile(folder / "xdg-open",
                          "#!/bin/sh\necho \"$1\" >" + (folder / "opened").string() + "\n");
  std::filesystem::permissions(folder / "xdg-open", std::filesystem::perms::owner_all);
  ProcessOptions options = folders.Options();
  options.environment["PATH"] = folder;
  program = std::make_unique<Process>(std::vector<std::string>{folder / "ncedl"}, options);
  ASSERT_TRUE(Answers());
  ASSERT_TRUE(Press("push button", "Ok"));
  ASSERT_TRUE(Shows("frame", "NCE", ATSPI_STATE_ACTIVE));
  Key("F1");
  EXPECT_TRUE(Until([&] {
    return support::ReadWholeFile(folder / "opened").ends_with("bin/docs/user-guide.html\n");
  }));
}

TEST_F(Program, WithoutProgramPathsItSaysHowToSetThemUpAndEnds) {
  ProcessOptions options = folders.Options();
  options.environment["XDG_CONFIG_HOME"] = folders.Download("config");
  for (const bool isRead : {true, false}) {
    program = std::make_unique<Process>(folders.Program("ncedl"), options);
    ASSERT_TRUE(Shows("dialog", "Corrupt Installation"));
    EXPECT_TRUE(Shows("label", "Unable to locate Program Paths"));
    EXPECT_TRUE(Shows("label", "ncedl-setup --main FOLDER"));
    if (isRead)
      ASSERT_TRUE(Press("push button", "Ok"));
    else
      program->Signal(SIGTERM);
    EXPECT_EQ(Ended(), 0);
  }
}

} // namespace
} // namespace kor
