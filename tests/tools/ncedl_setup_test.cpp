// ncedl-setup as a process, with a home of its own: what it writes, leaves alone and complains of.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "tests/support/process.h"
#include "tests/support/scarce_memory.h"

namespace kor {
namespace {

namespace fs = std::filesystem;
using support::Process;
using support::ReadWholeFile;
using support::WriteWholeFile;

class NcedlSetup : public ::testing::Test {
 protected:
  support::ProcessOptions Surroundings() {
    return {{{"HOME", home.Path().string()},
             {"XDG_CONFIG_HOME", home / "config"},
             {"NCEDL_DATA_DIR", home / "data"},
             {"LC_ALL", "C.UTF-8"}},
            home.Path()};
  }
  // Runs it and gives the exit code; what it wrote is kept.
  int Run(const std::vector<std::string>& arguments, const std::string& program = "ncedl-setup") {
    std::vector<std::string> words = {fs::path(NCEDL_PROGRAMS) / program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    Process process(words, Surroundings());
    const std::optional<int> code = process.WaitForExit();
    output = process.Output();
    diagnostics = process.Diagnostics();
    return code.value_or(-1);
  }
  std::string Registry() { return ReadWholeFile(home / (kSettings + "registry.ini")); }
  fs::path Port(const std::string& name) { return home.Path() / (kSettings + "ports/" + name); }
  bool Says(const std::string& text) {
    return (output + diagnostics).find(text) != std::string::npos;
  }
  static std::size_t Count(const std::string& in, const std::string& what) {
    std::size_t count = 0;
    for (std::size_t at = in.find(what); at != in.npos; at = in.find(what, at + 1))
      ++count;
    return count;
  }

  const std::string kSettings = "config/Velmora/Plenova 2026/";
  support::TemporaryFolder home;
  std::string output, diagnostics;
};

TEST_F(NcedlSetup, MakesTheMainFolderAndRegistersIt) {
  ASSERT_EQ(Run({"--main", "Werk/Süd"}), 0) << diagnostics;
  const std::string folder = home / "Werk/Süd/";
  const std::string paths = ReadWholeFile(folder + "KOR.INI");
  EXPECT_NE(paths.find("Main=" + home.Path().string() +
                       "/Werk/S\xFC"
                       "d/\n"),
            paths.npos)
      << paths;
  EXPECT_EQ(Count(paths, "\n"), 22u); // a blank line, the section and 20 folders
  for (const char* name : {"cnc", "shearnc", "mis", "database"})
    EXPECT_TRUE(fs::is_directory(folder + name)) << name;
  EXPECT_NE(Registry().find("Path=" + folder + "\nDefault=1\n"), std::string::npos) << Registry();
  const std::string registry = Registry();
  ASSERT_EQ(Run({"--main=" + folder, "--list"}), 0);
  EXPECT_EQ(ReadWholeFile(folder + "KOR.INI"), paths);
  EXPECT_EQ(Registry(), registry);
  EXPECT_TRUE(Says("  * Süd " + folder)) << output;
}

TEST_F(NcedlSetup, SeveralAtOnceLeaveOneDefault) {
  std::vector<std::unique_ptr<Process>> setups;
  for (const char* folder : {"a", "b", "c", "d", "e", "f", "g", "h"})
    setups.push_back(std::make_unique<Process>(
        std::vector<std::string>{NCEDL_PROGRAMS "/ncedl-setup", "--main", folder}, Surroundings()));
  for (const auto& setup : setups)
    EXPECT_EQ(setup->WaitForExit(), 0) << setup->Diagnostics();
  EXPECT_EQ(Count(Registry(), "\nPath="), setups.size());
  EXPECT_EQ(Count(Registry(), "\nDefault=1"), 1u) << Registry();
}

TEST_F(NcedlSetup, CompletesAPathsFileWithoutTouchingItsOtherLines) {
  fs::create_directory(home / "nc");
  const std::string kept =
      "[PROGRAM PATHS]\nCNC=../programs\n; note\nMain=.\nMine=1\n[Other]\nk=v\n";
  WriteWholeFile(home / "nc/KOR.INI", kept);
  ASSERT_EQ(
      Run({"--main", "nc", "--name", "Hall 2", "--guid", "01234567-89ab-cdef-0123-456789abcdef"}),
      0);
  const std::string paths = ReadWholeFile(home / "nc/KOR.INI");
  EXPECT_NE(paths.find("CNC=../programs/\n; note\nMain=./\nMine=1\n[Other]\nk=v\n"), paths.npos)
      << paths;
  EXPECT_NE(paths.find("Parts=./parts/\n"), paths.npos) << paths;
  EXPECT_TRUE(fs::is_directory(home / "programs"));
  EXPECT_NE(Registry().find("Name=Hall 2\n"), std::string::npos);
  EXPECT_NE(Registry().find("GUID={01234567-89AB-CDEF-0123-456789ABCDEF}\n"), std::string::npos);
}

TEST_F(NcedlSetup, TheLastMainFolderIsUsedUnlessToldOtherwise) {
  ASSERT_EQ(Run({"--main", "a"}), 0);
  ASSERT_EQ(Run({"--main", "b"}), 0);
  ASSERT_EQ(Run({"--main", "c", "--no-default", "--list"}), 0);
  EXPECT_TRUE(Says("  * b " + home.Path().string() + "/b/ {")) << output;
  EXPECT_EQ(Count(Registry(), "Default=1\n"), 1u);
  EXPECT_EQ(Count(Registry(), "Default=0\n"), 2u);
  fs::remove(home / "b/KOR.INI");
  ASSERT_EQ(Run({"--list"}), 0);
  EXPECT_TRUE(Says("  * a ")) << output;
  EXPECT_TRUE(Says("(KOR.INI is missing)"));
}

TEST_F(NcedlSetup, NamesSerialDevices) {
  ASSERT_EQ(Run({"--port", "COM1=/dev/null", "--port", "com2=adapter", "--list"}), 0);
  EXPECT_EQ(fs::read_symlink(Port("COM1")), "/dev/null");
  EXPECT_EQ(fs::read_symlink(Port("COM2")), home / "adapter");
  EXPECT_EQ(Count(diagnostics, "warning"), 1u) << diagnostics; // only the second one isn't there
  EXPECT_TRUE(Says("adapter isn't there at the moment"));
  EXPECT_TRUE(Says("  COM1   /dev/null\n")) << output;
  EXPECT_TRUE(Says("Serial devices:\n  ")) << output;
  ASSERT_EQ(Run({"--port", "COM2=/dev/zero", "--port", "COM1="}), 0);
  EXPECT_EQ(fs::read_symlink(Port("COM2")), "/dev/zero");
  EXPECT_FALSE(fs::is_symlink(Port("COM1")));
  ASSERT_EQ(Run({"--port", "COM4=rfc2217://hall3:4001", "--list"}), 0);
  EXPECT_EQ(fs::read_symlink(Port("COM4")), "rfc2217://hall3:4001");
  EXPECT_TRUE(Says("  COM4   rfc2217://hall3:4001\n")) << output;
  EXPECT_EQ(diagnostics, "");
  ASSERT_EQ(Run({"--port", "COM3=" + home.Path().string()}), 0);
  EXPECT_TRUE(Says("is no serial device")) << diagnostics;
}

TEST_F(NcedlSetup, SaysWhatIsInTheWay) {
  fs::create_directories(home / "sealed/KOR.INI"); // a folder instead of the file
  fs::create_directories(home / "taken");
  WriteWholeFile(home / "taken/cnc", "a file");
  WriteWholeFile(home / "file", "");
  fs::create_directories(home / "protected");
  WriteWholeFile(home / "protected/KOR.INI", "[PROGRAM PATHS]\nMain=elsewhere\n");
  fs::permissions(home / "protected/KOR.INI", fs::perms::owner_read);
  const auto ends = [this](const std::vector<std::string>& words, int code, const char* says) {
    EXPECT_EQ(Run(words), code) << says;
    EXPECT_TRUE(Says(says)) << "instead of " << says << "\n" << output << diagnostics;
  };
  ends({}, 2, "nothing to do");
  ends({"--name", "x"}, 2, "belong to --main");
  ends({"--main", "nc", "--guid", "12"}, 2, "12: an identifier has the form");
  ends({"--port", "COM1"}, 2, "COM1: write the name, \"=\" and the device");
  ends({"--port", "COM0=/dev/null"}, 2, "COM0: a serial port is named COM1 to COM255");
  ends({"--port", "../x=/dev/null"}, 2, "../x: a serial port");
  ends({"--port", "COM1=telnet://h:1"}, 1, "telnet://h:1 is no address of a serial line");
  ends({"--port", "COM1=tcp-listen://h:1"}, 1, "is no address of a serial line");
  ends({"--probe"}, 2, "--probe belongs to --list");
  ends({"--language", "../de"}, 2, "../de: a language is a code");
  ends({"--main", "file"}, 1, "file is a file. Name a folder");
  ends({"--main", "file/nc"}, 1, "Choose a folder that this user may make");
  ends({"--main", "a\\b"}, 1, "Choose a folder without it in its path");
  ends({"--main", "sealed"}, 1, "sealed/KOR.INI can't be read");
  ends({"--main", "taken"}, 1, "taken/cnc/ (CNC) can't be made");
  ends({"--main", "protected"}, 1, "can't be written: Permission denied.");
  ends({"--list"}, 0, "make one with ncedl-setup --main DIR");
  EXPECT_EQ(Registry(), "");
  EXPECT_FALSE(fs::exists(Port("COM1")));
}

// A dictionary may come from anywhere: no sign of it moves the cursor or colours the screen.
TEST_F(NcedlSetup, AToolShowsControlCharactersAsText) {
  WriteWholeFile(
      home / "de.xlf",
      "<xliff version=\"1.2\"><file target-language=\"de-DE\"><body><trans-unit id=\"5\" "
      "resname=\"A\x1b\"><source>x\x1b[31m\xC2\x9B"
      "1m\x7f</source></trans-unit></body>"
      "</file></xliff>");
  ASSERT_EQ(Run({"build", "de.xlf", "-d", "d.ary"}, "kordict"), 0) << diagnostics;
  ASSERT_EQ(Run({"get", "5", "-d", "d.ary"}, "kordict"), 0);
  EXPECT_TRUE(Says("5 A\\x1B, ") && Says("source x\\x1B[31m\\x9B1m\\x7F\n")) << output;
  EXPECT_EQ(Run({"get", "5", "-d", "d\x1b.ary"}, "kordict"), 3);
  EXPECT_TRUE(Says("d\\x1B.ary: missing")) << diagnostics;
}

// A host that was only asked for its version must not serve, and nothing is written anywhere.
TEST_F(NcedlSetup, EveryProgramAnswersHelpAndVersionAndNothingElse) {
  for (const std::string program :
       {"ncedl-console", "nce-controller", "ncedl-setup", "korfile", "kordict"}) {
    EXPECT_EQ(Run({"--version"}, program), 0);
    EXPECT_EQ(output, program + " " NCEDL_VERSION "\n");
    EXPECT_EQ(Run({"-h"}, program), 0);
    const std::string help = output;
    EXPECT_EQ(Run({"--help"}, program), 0);
    EXPECT_EQ(output, help);
    EXPECT_TRUE(Says(program) && Says("--version")) << output;
    EXPECT_EQ(Run({"--hepl"}, program), 2);
    EXPECT_EQ(diagnostics, program + ": there is no option --hepl; " + program +
                               " --help lists what there is\n");
    EXPECT_TRUE(fs::is_empty(home.Path())) << program;
  }
}

// A stack that the limit has no room for is what each thread asks for.
TEST_F(NcedlSetup, AHostThatGetsNoThreadsEndsWithASentence) {
  ASSERT_EQ(Run({"--main", "nc"}), 0);
  if (!ScarceMemory::kWorks) return;
  EXPECT_EQ(Run({"-c", "ulimit -S -s 8000000; ulimit -S -v 4000000; exec \"$0\"",
                 NCEDL_PROGRAMS "/ncedl-console"},
                "/bin/sh"),
            1);
  EXPECT_TRUE(Says("The program has ended: the system gives it no more threads.")) << diagnostics;
}

} // namespace
} // namespace kor
