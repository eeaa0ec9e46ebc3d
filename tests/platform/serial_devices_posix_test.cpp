// The list of serial devices, in a folder that stands for /dev, with pseudo-terminals for devices.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/posix/serial_devices_posix.h"
#include "platform/posix/serial_port_posix.h"
#include "tests/support/process.h"
#include "tests/support/pty_pair.h"
#include "tests/support/test_app.h"

namespace kor {
namespace {

namespace fs = std::filesystem;

TEST(SerialDevices, AreThoseThatAreReallyThere) {
  TestApp app;
  const support::TemporaryFolder folder;
  PtyPair adapter, other, modem;
  const auto path = [&](const char* name) { return KorText::FromUtf8((folder / name)); };
  adapter.LinkAt(path("ttyUSB10"));
  other.LinkAt(path("ttyUSB9"));
  modem.LinkAt(path("ttyACM0"));
  adapter.LinkAt(path("ttyS7"));   // no UART: the file of a port that isn't there
  adapter.LinkAt(path("ttyUSBx")); // other names are other things
  adapter.LinkAt(path("ttyprintk"));
  support::WriteWholeFile(folder / "ttyUSB3", "left where a device was");
  fs::create_directories(folder / "serial/by-id");
  fs::create_symlink("../../ttyUSB10", folder / "serial/by-id/usb-Maker_Adapter-port0");
  fs::create_symlink("../../ttyUSB4", folder / "serial/by-id/usb-Gone");
  PosixSerialPort user;
  ASSERT_TRUE(user.Open(path("ttyUSB9")));

  const struct {
    const char* name;
    const char* stableName;
    SerialDevice::State state;
  } expected[] = {
      {"ttyUSB9", "", SerialDevice::State::InUse},
      {"ttyUSB10", "serial/by-id/usb-Maker_Adapter-port0", SerialDevice::State::Free},
      {"ttyACM0", "", SerialDevice::State::Free},
  };
  const std::vector<SerialDevice> found = ListSerialDevicesIn(folder.Path());
  ASSERT_EQ(found.size(), std::size(expected));
  for (std::size_t i = 0; i < found.size(); ++i) {
    const auto& wanted = expected[i];
    EXPECT_EQ(found[i].path, path(wanted.name));
    EXPECT_EQ(found[i].stableName, wanted.stableName[0] ? path(wanted.stableName) : KorText());
    EXPECT_EQ(found[i].state, wanted.state) << wanted.name;
  }
  std::vector<KorText> paths = ListSerialPathsIn(folder.Path());
  std::erase(paths, path("ttyS7")); // there, as far as can be told without opening it
  EXPECT_EQ(paths, (std::vector{path("ttyUSB9"), path("ttyUSB10"), path("ttyACM0")}));
  EXPECT_TRUE(PosixSerialPort().Open(path("ttyUSB10"))) << "looking leaves it free";
}

} // namespace
} // namespace kor
