// The port on real pseudo-terminals: settings as the system reads them back, exclusive use, XOFF in
// the driver, hang-up and return, interrupted waits, closing with a full line.
#include "platform/posix/serial_port_posix.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <functional>
#include <numeric>
#include <optional>
#include <thread>
#include <tuple>

#include "platform/posix/serial_devices_posix.h"
#include "platform/posix/serial_names.h"
#include "platform/posix/serial_rate_posix.h"
#include "platform/serial_devices.h"
#include "tests/platform/serial_port_fixture.h"
#include "tests/support/host_process.h"

namespace kor {
namespace {

namespace fs = std::filesystem;
using std::chrono::microseconds;
using std::chrono::steady_clock;
constexpr support::Milliseconds kNow{0};
constexpr microseconds kLong{30'000'000}; // a wait that something else has to end

class SerialPortPosixTest : public SerialPortFixture<PosixSerialPort> {
 protected:
  // On a terminal as people have it: with an echo, by lines.
  void SetUp() override {
    termios line = Settings();
    line.c_lflag |= ECHO | ICANON | ISIG;
    line.c_iflag |= ICRNL;
    line.c_oflag |= OPOST | ONLCR;
    ASSERT_EQ(tcsetattr(tty, TCSANOW, &line), 0);
    ASSERT_TRUE(port.Open(device)) << ErrorText();
  }
  ~SerialPortPosixTest() override { close(tty); }

  termios Settings() {
    termios line{};
    EXPECT_EQ(tcgetattr(tty, &line), 0);
    return line;
  }

  // Writes until the line takes no more.
  std::size_t FillLine() {
    std::size_t total = 0;
    while (const std::size_t count = WriteSome(std::string(4000, 'x')))
      total += count;
    return total;
  }

  void Set(const KorText& setting) {
    DeviceControlBlock block;
    ApplyFlowControl(block, setting, true, true, false);
    ASSERT_TRUE(port.SetControlBlock(block)) << ErrorText();
  }

  std::optional<support::FarEnd> cable{app.Path(u"line").ToUtf8()};
  const KorText device = cable->Device();
  const int tty = open(device.ToUtf8().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK); // a program's
};

TEST_F(SerialPortPosixTest, IsFoundFreeWithoutAChangeToWhatAnotherProgramHasSet) {
  EXPECT_FALSE(IsSerialPortFree(device)) << "held by a host";
  port.Close();
  termios before = Settings();
  before.c_lflag |= ICANON;
  before.c_cflag |= CRTSCTS;
  ASSERT_EQ(tcsetattr(tty, TCSANOW, &before), 0);
  EXPECT_TRUE(IsSerialPortFree(device));
  const termios after = Settings();
  EXPECT_EQ(after.c_lflag, before.c_lflag);
  EXPECT_EQ(after.c_cflag, before.c_cflag);
  app.Put(app.Path(u"file"), u"no terminal");
  EXPECT_FALSE(IsSerialPortFree(app.Path(u"file")));
}

TEST_F(SerialPortPosixTest, CarriesEveryByteBothWaysUnchanged) {
  cable->Send("\x03 abc\r");
  EXPECT_EQ(ReadCount(6), "\x03 abc\r") << "raw before it is configured";
  std::string all(256, '\0');
  std::iota(all.begin(), all.end(), '\0');
  Set(u"None");
  EXPECT_EQ(WriteSome(all), all.size());
  EXPECT_EQ(cable->Receive(all), all);
  cable->Send(all);
  EXPECT_EQ(ReadCount(all.size()), all);
  EXPECT_EQ(cable->Receive("nothing", kNow), "") << "the port echoes";
}

TEST_F(SerialPortPosixTest, CountsWhatHasArrived) {
  EXPECT_EQ(Status().inQueue, 0u);
  EXPECT_EQ(Take(), "");
  cable->Send("0123456789");
  port.WaitReadable(kLong);
  EXPECT_EQ(Status().inQueue, 10u);
  EXPECT_EQ(Status().holds, 0u);
  EXPECT_TRUE(port.PurgeReceive());
  EXPECT_EQ(Status().inQueue, 0u);
}

// A pseudo-terminal drops the data bits and PARENB; it keeps all the rest.
TEST_F(SerialPortPosixTest, SettingsReachTheSystem) {
  // flags: of CSTOPB, PARODD, CMSPAR and CRTSCTS
  const auto sets = [this](const KorText& text, const KorText& flow, std::uint32_t rate,
                           tcflag_t flags, bool sendsXoff) {
    SCOPED_TRACE(text.ToUtf8());
    DeviceControlBlock block;
    ASSERT_TRUE(port.BuildControlBlock(text, block));
    ApplyFlowControl(block, flow, true, true, false);
    ASSERT_TRUE(port.SetControlBlock(block)) << ErrorText();
    const termios line = Settings();
    EXPECT_EQ(LineRate(tty), rate);
    EXPECT_EQ(line.c_cflag & (CSTOPB | PARODD | CMSPAR | CRTSCTS), flags);
    EXPECT_EQ(line.c_iflag, sendsXoff ? tcflag_t{IXOFF} : tcflag_t{0});
    EXPECT_EQ(line.c_oflag, tcflag_t{0});
    EXPECT_EQ(line.c_lflag, tcflag_t{0});
    EXPECT_EQ(line.c_cflag & CLOCAL, tcflag_t{CLOCAL});
    EXPECT_EQ(line.c_cc[VSTART], 17);
    EXPECT_EQ(line.c_cc[VSTOP], 19);
    DeviceControlBlock back;
    ASSERT_TRUE(port.GetControlBlock(back));
    EXPECT_EQ(back.baudRate, rate);
    EXPECT_EQ(back.stopBits, block.stopBits);
  };
  sets(u"baud=110 parity=N data=8 stop=1", u"None", 110, 0, false);
  sets(u"baud=150 parity=O data=7 stop=2", u"None", 150, PARODD | CSTOPB, false);
  sets(u"baud=300 parity=E data=7 stop=1.5", u"Xon/Xoff", 300, CSTOPB, true);
  sets(u"baud=38400 parity=M data=8 stop=1", u"Hardware", 38400, PARODD | CMSPAR | CRTSCTS, false);
  sets(u"baud=57600 parity=S data=8 stop=1", u"Combined", 57600, CMSPAR | CRTSCTS, true);
  sets(u"baud=115200 parity=N data=8 stop=1", u"Xon/Xoff", 115200, 0, true);
  for (const std::uint32_t rate : {7200u, 0u}) { // one without a name, and none
    EXPECT_EQ(port.SetControlBlock({.baudRate = rate}), rate != 0);
    EXPECT_EQ(LineRate(tty), 7200u);
  }
  EXPECT_FALSE(port.IsGone());
}

TEST_F(SerialPortPosixTest, NobodyElseOpensItUntilItIsClosed) {
  PosixSerialPort second;
  EXPECT_FALSE(second.Open(device));
  EXPECT_EQ(second.LastErrorText(), u"In use by another program");
  EXPECT_EQ(second.Trouble(), PortTrouble::InUse);
  EXPECT_FALSE(second.IsGone());
  EXPECT_FALSE(second.IsOpen());
  ASSERT_TRUE(port.Close());
  EXPECT_TRUE(second.Open(device));
}

TEST_F(SerialPortPosixTest, WhatIsNoTerminalIsRefused) {
  app.Put(app.Path(u"file"), u"");
  EXPECT_FALSE(port.Open(app.Path(u"file")));
  EXPECT_FALSE(port.IsOpen());
  EXPECT_FALSE(port.IsGone());
  EXPECT_EQ(ErrorText(), "Inappropriate ioctl for device");
  EXPECT_FALSE(port.Open(app.Path(u"missing")));
  EXPECT_TRUE(port.IsGone());
}

TEST_F(SerialPortPosixTest, AClosedPortFailsEveryStepAndOnlyWaits) {
  ASSERT_TRUE(port.Close());
  DeviceControlBlock block;
  LineStatus status;
  std::array<std::uint8_t, 4> buffer{};
  std::size_t count = 1;
  EXPECT_FALSE(port.SetQueueSizes(4000, 1000) || port.GetControlBlock(block) ||
               port.SetControlBlock(block) || port.SetTimeouts({}) || port.GetStatus(status) ||
               port.Read(buffer, count) || port.Write(buffer, count) || port.PurgeTransmit() ||
               port.PurgeReceive());
  EXPECT_EQ(count, 0u);
  EXPECT_FALSE(port.IsGone());
  const auto start = steady_clock::now();
  port.WaitReadable(microseconds(2000));
  EXPECT_GE(steady_clock::now() - start, microseconds(2000));
  EXPECT_TRUE(port.Close()) << "closing twice is no failure";
}

TEST_F(SerialPortPosixTest, XoffStopsTheDriverAndStillReachesTheReader) {
  Set(u"Xon/Xoff");
  cable->Send("a\x13");
  EXPECT_EQ(ReadCount(2), "a\x13");
  EXPECT_EQ(Status().holds, kXoffHold);
  EXPECT_EQ(WriteSome("held"), 0u);
  // Stopped in the driver as well: another descriptor's bytes don't go out either.
  EXPECT_EQ(write(tty, "x", 1), -1);
  EXPECT_EQ(cable->Receive("nothing", kNow), "");
  cable->Send("\x11");
  EXPECT_EQ(ReadCount(1), "\x11");
  EXPECT_EQ(Status().holds, 0u);
  EXPECT_EQ(WriteSome("free"), 4u);
  EXPECT_EQ(cable->Receive("free"), "free");
  Set(u"Hardware"); // then it is an ordinary byte
  cable->Send("\x13");
  EXPECT_EQ(ReadCount(1), "\x13");
  EXPECT_EQ(Status().holds, 0u);
  EXPECT_EQ(WriteSome("on"), 2u);
}

// Each way out of a hold that nobody will lift: purge, other settings, closing (also by another
// port object after this one).
TEST_F(SerialPortPosixTest, AHeldLineIsUsableAgainAfterPurgeSettingAndReopening) {
  const std::function<void()> ways[] = {
      [&] { EXPECT_TRUE(port.PurgeTransmit()); },
      [&] { Set(u"None"); },
      [&] { EXPECT_TRUE(port.Close() && port.Open(device)); },
      [&] { // a program that was killed while held
        port.Close();
        tcflow(tty, TCOOFF);
        EXPECT_TRUE(port.Open(device)) << ErrorText();
      },
  };
  for (const auto& way : ways) {
    Set(u"Xon/Xoff");
    cable->Send("\x13");
    ASSERT_EQ(ReadCount(1), "\x13");
    ASSERT_EQ(Status().holds, kXoffHold);
    way();
    EXPECT_EQ(Status().holds, 0u);
    EXPECT_EQ(WriteSome("ok"), 2u);
    EXPECT_EQ(cable->Receive("ok"), "ok");
  }
}

// The waits below would last for ever, or 30 s, if the operation waited for the line.
TEST_F(SerialPortPosixTest, NeitherWriteNorCloseWaitsForAFullLine) {
  Set(u"None");
  const std::size_t taken = FillLine();
  EXPECT_GT(taken, 1000u);
  EXPECT_EQ(cable->Receive(std::string(taken, 'x')).size(), taken);
  EXPECT_EQ(WriteSome("more"), 4u) << "the line is free again";
  Set(u"Xon/Xoff");
  FillLine();
  cable->Send("\x13");
  ASSERT_EQ(ReadCount(1), "\x13");
  const auto start = steady_clock::now();
  EXPECT_TRUE(port.Close());
  EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(1));
}

TEST_F(SerialPortPosixTest, APulledCableIsToldByEveryOperation) {
  cable.reset();
  port.WaitReadable(kLong);
  LineStatus status;
  DeviceControlBlock block;
  std::array<std::uint8_t, 4> buffer{};
  std::size_t count = 0;
  const std::function<bool()> operations[] = {
      [&] { return port.GetStatus(status); },    [&] { return port.Read(buffer, count); },
      [&] { return port.Write(buffer, count); }, [&] { return port.GetControlBlock(block); },
      [&] { return port.SetControlBlock({}); },  [&] { return port.PurgeTransmit(); },
  };
  for (const auto& operation : operations) {
    EXPECT_FALSE(operation());
    EXPECT_TRUE(port.IsGone());
    EXPECT_EQ(ErrorText(), "Input/output error");
  }
  EXPECT_TRUE(port.Close());
  EXPECT_FALSE(port.Open(device));
  EXPECT_TRUE(port.IsGone());
}

TEST_F(SerialPortPosixTest, AReturningDeviceIsFoundBehindItsName) {
  ASSERT_EQ(AssignSerialName(u"com3", device), u"");
  ASSERT_TRUE(port.Close() && port.Open(u"COM3")) << ErrorText();
  cable.reset();
  LineStatus status;
  EXPECT_FALSE(port.GetStatus(status));
  EXPECT_TRUE(port.Close());
  EXPECT_FALSE(port.Open(u"COM3"));
  EXPECT_TRUE(port.IsGone());
  support::FarEnd back(app.Path(u"back").ToUtf8());
  ASSERT_EQ(AssignSerialName(u"COM3", back.Device()), u"");
  ASSERT_TRUE(port.Open(u"COM3")) << ErrorText();
  EXPECT_FALSE(port.IsGone());
  WriteSome("back");
  EXPECT_EQ(back.Receive("back"), "back");
}

TEST_F(SerialPortPosixTest, InterruptEndsTheWaitThatRunsOrTheNextOne) {
  port.Interrupt();
  port.Interrupt();
  const auto start = steady_clock::now();
  port.WaitReadable(kLong);
  std::atomic<bool> done = false;
  std::thread other([&] {
    while (!done) {
      port.Interrupt();
      std::this_thread::yield();
    }
  });
  port.WaitReadable(kLong);
  done = true;
  other.join();
  EXPECT_LT(steady_clock::now() - start, kLong);
  port.WaitReadable(microseconds(0)); // uses up what the last round may have left
  const auto quiet = steady_clock::now();
  port.WaitReadable(microseconds(2000));
  EXPECT_GE(steady_clock::now() - quiet, microseconds(2000));
  cable->Send("x");
  EXPECT_EQ(ReadCount(1), "x") << "interrupts are used up, bytes still end the wait";
}

class AdapterTest : public SerialPortPosixTest {
 protected:
  // On the terminal, as the system would describe it if it were an adapter of that driver.
  bool OpenAdapter(const std::string& driver) {
    struct stat info {};
    EXPECT_EQ(fstat(tty, &info), 0);
    const auto number =
        std::to_string(major(info.st_rdev)) + ":" + std::to_string(minor(info.st_rdev));
    const auto folder = system.Path() / "dev/char" / number / "device";
    fs::create_directories(folder);
    fs::create_symlink("../bus/usb-serial", folder / "subsystem");
    fs::create_symlink("../drivers/" + driver, folder / "driver");
    return port.Close() && adapter.Open(device);
  }

  const support::TemporaryFolder system;
  PosixSerialPort adapter{system.Path()};
};

// At a bit per second: the test is over before a byte is.
TEST_F(AdapterTest, IsGivenOnePieceAtATimeWhereAHoldCanCome) {
  const std::tuple<const char16_t*, std::size_t, std::size_t> cases[] = {
      {u"None", 100, 100}, {u"Xon/Xoff", 1, 0}, {u"Hardware", 1, 0}, {u"Combined", 1, 0}};
  ASSERT_TRUE(OpenAdapter("pl2303"));
  for (const auto& [flow, first, second] : cases) {
    ASSERT_TRUE(adapter.Close() && adapter.Open(device));
    DeviceControlBlock block;
    block.baudRate = 1;
    ApplyFlowControl(block, flow, true, true, false);
    ASSERT_TRUE(adapter.SetControlBlock(block));
    for (const std::size_t wanted : {first, second}) {
      std::size_t count = 0;
      EXPECT_TRUE(adapter.Write(std::array<std::uint8_t, 100>(), count));
      EXPECT_EQ(count, wanted) << KorText(flow).ToUtf8();
    }
  }
}

TEST_F(AdapterTest, RefusesRatesThatItsChipReplacesByOthers) {
  ASSERT_TRUE(OpenAdapter("ftdi_sio"));
  for (const std::uint32_t rate : {110u, 150u, 300u}) {
    DeviceControlBlock block;
    block.baudRate = rate;
    EXPECT_EQ(adapter.SetControlBlock(block), rate == 300) << rate;
    EXPECT_FALSE(adapter.IsGone());
  }
}

// In a folder that stands for /dev, with pseudo-terminals for devices.
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

TEST(SerialNamesTest, ComNamesAreLinksOrBuiltInPortsAndOthersArePaths) {
  TestApp app;
  EXPECT_EQ(SerialDevicePath(u"COM1"), u"/dev/ttyS0");
  EXPECT_EQ(SerialDevicePath(u"com12"), u"/dev/ttyS11");
  EXPECT_EQ(SerialDevicePath(u"COM255"), u"/dev/ttyS254");
  for (const char16_t* path :
       {u"COM256", u"COM0", u"COM01", u"COM", u"COM1x", u"/dev/ttyUSB0", u"AUX", u""})
    EXPECT_EQ(SerialDevicePath(path), path);
}

TEST(SerialNamesTest, LinksAreMadeReplacedListedAndRemoved) {
  TestApp app;
  EXPECT_TRUE(ListSerialNames().empty());
  EXPECT_EQ(AssignSerialName(u"COM10", u"/dev/not-there"), u"");
  EXPECT_EQ(AssignSerialName(u"COM2", u"/dev/tty-old"), u"");
  EXPECT_EQ(AssignSerialName(u"COM2", u"/dev/tty-new"), u"");
  const KorText link = app.GetApplicationPropertyPath(kSettingsFolder) + u"ports/COM2";
  EXPECT_EQ(SerialDevicePath(u"com2"), link) << "a link counts while its target is missing";
  const std::vector<SerialName> names = ListSerialNames();
  ASSERT_EQ(names.size(), 2u);
  EXPECT_EQ(names[0].name + u" " + names[0].device, u"COM2 /dev/tty-new");
  EXPECT_EQ(names[1].name + u" " + names[1].device, u"COM10 /dev/not-there");
  EXPECT_EQ(SerialDeviceBehind(u"com2"), u"/dev/tty-new");
  EXPECT_EQ(SerialDeviceBehind(u"/dev/not-there"), u"");
  EXPECT_EQ(AssignSerialName(u"COM2", u""), u"");
  EXPECT_EQ(AssignSerialName(u"COM2", u""), u"") << "removing what is not there is no failure";
  EXPECT_EQ(SerialDevicePath(u"COM2"), u"/dev/ttyS1");
  EXPECT_NE(AssignSerialName(u"LPT1", u"/dev/x"), u"");
  EXPECT_NE(AssignSerialName(u"COM3", u"ttyUSB0"), u"");
  EXPECT_EQ(ListSerialNames().size(), 1u);
}

} // namespace
} // namespace kor
