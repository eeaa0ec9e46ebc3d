// nce-controller as a process on a pseudo-terminal of its own, with the test as the host.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/process.h"

namespace kor {
namespace {

namespace fs = std::filesystem;
using support::Milliseconds;
using support::Process;
using Clock = std::chrono::steady_clock;

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r";

class ControllerProcess : public testing::Test {
 protected:
  void Start(std::vector<std::string> arguments) {
    std::vector<std::string> all = {NCEDL_CONTROLLER, "--pty", Link()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    tool = std::make_unique<Process>(all);
  }
  std::string Link() const { return folder / "line"; }

  // Opens the far end as a host would; the link appears when the tool is ready.
  void Open() {
    const auto end = Clock::now() + std::chrono::seconds(10);
    while (!fs::is_symlink(Link()) && Clock::now() < end)
      tool->Expect("-", Milliseconds(2));
    descriptor = open(Link().c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(descriptor, 0);
  }
  std::string ReadRequest() {
    std::string request;
    for (char byte = 0; byte != '\r' && read(descriptor, &byte, 1) == 1;)
      request += byte;
    return request;
  }

  support::TemporaryFolder folder;
  std::unique_ptr<Process> tool;
  int descriptor = -1;
};

TEST_F(ControllerProcess, EndsCleanlyOnASignal) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP})
    for (const bool isTyped : {false, true}) {
      Start(isTyped ? std::vector<std::string>{"--wait-host", "0", "run", "-"}
                    : std::vector<std::string>{"test"});
      Open();
      if (isTyped) tool->Type("test");
      EXPECT_EQ(ReadRequest(), "XYZ\r");
      if (isTyped) { // answered, so that it waits for the next command, not for the host
        ASSERT_EQ(write(descriptor, kAlphabet.data(), kAlphabet.size()), 27);
        EXPECT_TRUE(tool->Expect("test: the host sent the alphabet"));
      }
      tool->Signal(number);
      EXPECT_EQ(tool->WaitForExit(), 128 + number);
      EXPECT_FALSE(fs::is_symlink(Link()));
      close(descriptor);
    }
}

TEST_F(ControllerProcess, TellsItsFailuresApart) {
  Start({"--wait-host", "0.3", "test"});
  EXPECT_EQ(tool->WaitForExit(), 4) << "nobody answers";
  EXPECT_NE(tool->Diagnostics().find("waiting for host, 0.3 s at most"), std::string::npos);
  EXPECT_FALSE(fs::is_symlink(Link()));
  Start({"run", folder / "no script"});
  EXPECT_EQ(tool->WaitForExit(), 2) << "without waiting for a host";
  EXPECT_FALSE(fs::exists(Link()));
  support::WriteWholeFile(Link(), "a file that is no link");
  Start({"test"});
  EXPECT_EQ(tool->WaitForExit(), 1);
  EXPECT_NE(tool->Diagnostics().find("exists and is no link"), std::string::npos);
  EXPECT_EQ(support::ReadWholeFile(Link()), "a file that is no link");
}

} // namespace
} // namespace kor
