// The list of serial devices, in a folder that stands for /dev, with pseudo-terminals for devices.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/posix/serial_devices_posix.h"
#include "platform/posix/serial_port_posix.h"
#include "tests/support/host_process.h"
#include "tests/support/test_app.h"

namespace kor {
namespace {

namespace fs = std::filesystem;

TEST(SerialDevices, AreThoseThatAreReallyThere) {
  TestApp app;
  const support::TemporaryFolder folder;
  const support::FarEnd adapter(folder / "ttyUSB10"), other(folder / "ttyUSB9"),
      modem(folder / "ttyACM0"), console(folder / "ttyACM1");
  // The file of a port that isn't there (no UART), and other things.
  for (const char* name : {"ttyS7", "ttyUSBx", "ttyprintk"})
    fs::create_symlink(adapter.Device().ToUtf8(), folder / name);
  support::WriteWholeFile(folder / "ttyUSB3", "left where a device was");
  support::WriteWholeFile(folder / "consoles", "tty0 ttyACM1\n");
  fs::create_directories(folder / "serial/by-id");
  fs::create_symlink("../../ttyUSB10", folder / "serial/by-id/usb-Maker_Adapter-port0");
  fs::create_symlink("../../ttyUSB4", folder / "serial/by-id/usb-Gone");
  const auto path = [&](const char* name) { return KorText::FromUtf8((folder / name)); };
  PosixSerialPort user;
  ASSERT_TRUE(user.Open(path("ttyUSB9")));

  std::vector<KorText> found;
  for (const auto& [device, stableName, state] :
       ListSerialDevicesIn(folder.Path(), folder / "consoles"))
    found.push_back(KorText::Format(u"%s|%s|%i", device, stableName, static_cast<int>(state)));
  const KorText stableName = path("serial/by-id/usb-Maker_Adapter-port0");
  EXPECT_EQ(found, (std::vector<KorText>{path("ttyUSB9") + u"||1", // in use
                                         path("ttyUSB10") + u"|" + stableName + u"|0",
                                         path("ttyACM0") + u"||0",
                                         path("ttyACM1") + u"||3"})); // the kernel's
  std::vector<KorText> paths = ListSerialPathsIn(folder.Path());
  std::erase(paths, path("ttyS7")); // there, as far as can be told without opening it
  EXPECT_EQ(paths,
            (std::vector{path("ttyUSB9"), path("ttyUSB10"), path("ttyACM0"), path("ttyACM1")}));
  EXPECT_TRUE(PosixSerialPort().Open(path("ttyUSB10"))) << "looking leaves it free";
}

} // namespace
} // namespace kor
