// The whole program with its window, as somebody who sees nothing operates it: found, read and
// pressed through the accessibility bus, from another process, and by keys.
#include <gtest/gtest.h>

#include <gio/gio.h>
#include <gio/gunixsocketaddress.h>

#include <csignal>
#include <cstdint>
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
  bool late = false;
  const auto set = [](gpointer flag) -> gboolean {
    return *static_cast<bool*>(flag) = true, G_SOURCE_REMOVE;
  };
  const guint limit = g_timeout_add(10000, set, &late);
  const guint look = g_timeout_add(
      20, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
  bool met = false;
  while (!(met = condition()) && !late)
    g_main_context_iteration(nullptr, TRUE);
  g_source_remove(look);
  if (!late) g_source_remove(limit);
  return met;
}

// One control as the bus tells of it.
struct Spoken {
  std::string owner, path; // its address
  std::string role, name;
  std::uint32_t states = 0;
  std::string label{}; // name of the control that names it
};
enum : std::uint32_t { kActive = 1u << 1, kEnabled = 1u << 8, kShowing = 1u << 25 };

template <class Object> std::unique_ptr<Object, decltype(&g_object_unref)> Owned(Object* object) {
  return {object, g_object_unref};
}
using Answer = std::unique_ptr<GVariant, decltype(&g_variant_unref)>;

// The bus that programs tell assistive technology of themselves on.
class SpeechBus {
 public:
  SpeechBus() {
    const std::unique_ptr<GDBusConnection, decltype(&g_object_unref)> session(
        g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr), g_object_unref);
    bus = session.get();
    const std::string address =
        Text(Call("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus.GetAddress", nullptr));
    bus = g_dbus_connection_new_for_address_sync(
        address.c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
  }
  ~SpeechBus() { g_object_unref(bus); }
  SpeechBus(const SpeechBus&) = delete;
  SpeechBus& operator=(const SpeechBus&) = delete;

  // Everything that the process shows.
  std::vector<Spoken> Shown(pid_t process) const {
    std::vector<Spoken> all;
    for (const Spoken& program : Children({"org.a11y.atspi.Registry", kRoot, {}, {}, 0})) {
      const Answer id =
          Call("org.freedesktop.DBus", "/", "org.freedesktop.DBus.GetConnectionUnixProcessID",
               g_variant_new("(s)", program.owner.c_str()));
      guint32 owner = 0;
      if (id) g_variant_get(id.get(), "(u)", &owner);
      if (static_cast<pid_t>(owner) == process) Collect(program, all);
    }
    return all;
  }
  bool Press(const Spoken& control) const {
    return Call(control.owner, control.path, "org.a11y.atspi.Action.DoAction",
                g_variant_new("(i)", 0)) != nullptr;
  }

 private:
  static constexpr const char* kRoot = "/org/a11y/atspi/accessible/root";

  Answer Call(const std::string& owner, const std::string& path, const std::string& operation,
              GVariant* arguments) const {
    const std::size_t dot = operation.rfind('.');
    return {g_dbus_connection_call_sync(bus, owner.c_str(), path.c_str(),
                                        operation.substr(0, dot).c_str(),
                                        operation.c_str() + dot + 1, arguments, nullptr,
                                        G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr),
            g_variant_unref};
  }
  std::vector<Spoken> Children(const Spoken& of) const {
    std::vector<Spoken> children;
    const Answer answer = Call(of.owner, of.path, "org.a11y.atspi.Accessible.GetChildren", nullptr);
    if (!answer) return children;
    GVariantIter* each = nullptr;
    const char *owner = nullptr, *path = nullptr;
    g_variant_get(answer.get(), "(a(so))", &each);
    while (g_variant_iter_loop(each, "(&s&o)", &owner, &path))
      children.push_back({owner, path, {}, {}, 0});
    g_variant_iter_free(each);
    return children;
  }
  void Collect(const Spoken& from, std::vector<Spoken>& all) const {
    for (Spoken& child : Children(from)) {
      Describe(child);
      if ((child.states & kShowing) == 0) continue;
      all.push_back(child);
      Collect(child, all);
    }
  }
  void Describe(Spoken& one) const {
    one.role = Text(Call(one.owner, one.path, "org.a11y.atspi.Accessible.GetRoleName", nullptr));
    one.name = Text(Call(one.owner, one.path, "org.freedesktop.DBus.Properties.Get",
                         g_variant_new("(ss)", "org.a11y.atspi.Accessible", "Name")));
    const Answer states = Call(one.owner, one.path, "org.a11y.atspi.Accessible.GetState", nullptr);
    if (!states) return; // it has gone meanwhile
    const Answer words(g_variant_get_child_value(states.get(), 0), g_variant_unref);
    g_variant_get_child(words.get(), 0, "u", &one.states);
    one.label = LabelOf(one);
  }
  std::string LabelOf(const Spoken& one) const {
    constexpr guint32 kLabelledBy = 2;
    const Answer answer =
        Call(one.owner, one.path, "org.a11y.atspi.Accessible.GetRelationSet", nullptr);
    if (!answer) return {};
    GVariantIter *relations = nullptr, *targets = nullptr;
    guint32 kind = 0;
    const char *owner = nullptr, *path = nullptr;
    std::string label;
    g_variant_get(answer.get(), "(a(ua(so)))", &relations);
    while (g_variant_iter_loop(relations, "(ua(so))", &kind, &targets))
      while (kind == kLabelledBy && g_variant_iter_loop(targets, "(&s&o)", &owner, &path))
        label += Text(Call(owner, path, "org.freedesktop.DBus.Properties.Get",
                           g_variant_new("(ss)", "org.a11y.atspi.Accessible", "Name")));
    g_variant_iter_free(relations);
    return label;
  }
  static std::string Text(const Answer& answer) {
    if (!answer) return {};
    Answer text(g_variant_get_child_value(answer.get(), 0), g_variant_unref);
    if (g_variant_is_of_type(text.get(), G_VARIANT_TYPE_VARIANT))
      text.reset(g_variant_get_variant(text.get()));
    return g_variant_get_string(text.get(), nullptr);
  }

  GDBusConnection* bus = nullptr;
};

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
    ASSERT_TRUE(Shows("push button", "Send NC File")) << Listed(bus.Shown(program->Id()));
  }
  // The first of the role whose name holds the text.
  std::optional<Spoken> Find(const std::string& role, const std::string& name) {
    for (const Spoken& one : bus.Shown(program->Id()))
      if (one.role == role && one.name.find(name) != std::string::npos) return one;
    return std::nullopt;
  }
  bool Shows(const std::string& role, const std::string& name, std::uint32_t states = 0) {
    return Until([&] {
      const auto found = Find(role, name);
      return found && (found->states & states) == states;
    });
  }
  bool Press(const std::string& role, const std::string& name) {
    return Until([&] {
      const auto found = Find(role, name);
      return found && (found->states & kEnabled) != 0 && bus.Press(*found);
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
    if (!Shows("frame", "NCE", kActive)) return false;
    Key("alt+F4");
    return Shows("dialog", "NCE") && Shows("label", question);
  }
  std::filesystem::path Memory() const {
    return std::filesystem::path(folders.SettingsFile()).replace_extension("window");
  }
  int Ended() { return program->WaitForExit().value_or(-1); }

  SpeechBus bus;
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
    for (const Spoken& one : bus.Shown(program->Id())) {
      EXPECT_FALSE(IsForUse(one.role) && one.name.empty()) << one.role << " in " << screen.name;
      // Of a list that can be typed into it is the field that its label names.
      const bool hasLabel =
          one.role == "spin button" || one.role == (one.name == "Port" ? "text" : "combo box");
      EXPECT_TRUE((one.label.empty() && !hasLabel) || one.label == one.name)
          << one.label << ": " << one.name;
    }
    if (screen.controls.starts_with("dialog/Special")) Key("Escape");
  }
}

TEST_F(Program, AProgramIsSentByKeysAlone) {
  support::WriteWholeFile(folders.Download("8.MPG"), "N1 X1\n");
  Start();
  ASSERT_TRUE(Shows("frame", "NCE", kActive));
  Key("alt+s");
  ASSERT_TRUE(Shows("file chooser", "Open NC file", kActive));
  EXPECT_EQ(Process({"/usr/bin/xdotool", "type", folders.Download("8.MPG")}).WaitForExit(), 0);
  Key("Return");
  ASSERT_TRUE(Shows("dialog", "Download End"));
  ASSERT_TRUE(Until([&] {
    line->Exchange(">");
    return Find("icon", "Sent").has_value();
  })) << Listed(bus.Shown(program->Id()));
  EXPECT_FALSE(Find("dialog", "Download End"));
}

TEST_F(Program, ASecondStartRaisesTheFirst) {
  // What the toolkit has to say of a damaged file stands in nobody's way.
  support::WriteWholeFile(Memory(), "[[\n=");
  Start();
  ASSERT_TRUE(Shows("frame", "NCE", kActive));
  Key("super+d"); // all windows are put away
  ASSERT_TRUE(Until([&] { return (Find("frame", "NCE")->states & kActive) == 0; }));
  EXPECT_EQ(folders.Start("ncedl")->WaitForExit(), 0);
  EXPECT_TRUE(Shows("frame", "NCE", kActive));
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
    ASSERT_TRUE(Shows("push button", "Cancel Transfer", kEnabled));
    ASSERT_TRUE(Close("End sending 7?"));
    ASSERT_TRUE(Press("push button", answer)) << Listed(bus.Shown(program->Id()));
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
    ASSERT_TRUE(Shows("dialog", "Download Settings", kActive));
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

TEST_F(Program, ServesBeforeAnybodyHasReadThatItsTextsAreMissing) {
  const std::filesystem::path copy = folders.Download("ncedl"); // beside it there are none
  std::filesystem::copy_file(NCEDL_PROGRAMS "/ncedl", copy);
  program = std::make_unique<Process>(std::vector<std::string>{copy}, folders.Options());
  ASSERT_TRUE(Answers());
  EXPECT_TRUE(Press("push button", "Ok"));
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
