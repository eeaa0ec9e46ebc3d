// Line settings as data: the device-control text and the flow-control settings, each combination.
#include "link/port/serial_port.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace kor {
namespace {

// A block's flow control in one word: CTS, DSR, sensitivity, DTR, RTS (H handshake, E enable),
// XON/XOFF.
std::string FlowOf(const DeviceControlBlock& block) {
  const auto control = [](LineControl c) {
    return c == LineControl::Handshake ? "H" : c == LineControl::Enable ? "E" : "D";
  };
  const auto flag = [](bool on) { return on ? "1" : "0"; };
  return std::string(flag(block.outxCtsFlow)) + flag(block.outxDsrFlow) +
         flag(block.dsrSensitivity) + control(block.dtrControl) + control(block.rtsControl) +
         (block.outX == block.inX ? flag(block.outX) : "?");
}

// For the switches (RTS/CTS, DTR/DSR) off-off, on-off, off-on, on-on, without and with XON/XOFF
// suppressed.
constexpr std::pair<const char16_t*, std::array<const char*, 8>> kFlowTable[] = {
    {u"Combined", {"001EE1", "101EH1", "011HE1", "111HH1", "001EE0", "101EH0", "011HE0", "111HH0"}},
    {u"Hardware", {"001EE0", "101EH0", "011HE0", "111HH0", "001EE0", "101EH0", "011HE0", "111HH0"}},
    {u"Xon/Xoff", {"000EE1", "000EE1", "000EE1", "000EE1", "000EE0", "000EE0", "000EE0", "000EE0"}},
    {u"None", {"000EE0", "000EE0", "000EE0", "000EE0", "000EE0", "000EE0", "000EE0", "000EE0"}},
};

// A block in which every flow-control member differs from what the table gives somewhere.
DeviceControlBlock OddBlock() {
  DeviceControlBlock block;
  block.baudRate = 4800;
  block.outxCtsFlow = block.outxDsrFlow = block.dsrSensitivity = true;
  block.dtrControl = block.rtsControl = LineControl::Disable;
  block.outX = block.inX = true;
  block.xonChar = 1;
  return block;
}

TEST(FlowControl, EverySettingWithEverySwitchGivesItsRow) {
  for (const auto& [setting, expected] : kFlowTable)
    for (std::size_t i = 0; i < 8; ++i)
      for (const DeviceControlBlock& before : {DeviceControlBlock{}, OddBlock()}) {
        DeviceControlBlock block = before;
        ApplyFlowControl(block, setting, (i & 1) != 0, (i & 2) != 0, (i & 4) != 0);
        EXPECT_EQ(FlowOf(block), expected[i]) << KorText(setting).ToUtf8() << " " << i;
        EXPECT_EQ(block.baudRate, before.baudRate);
        EXPECT_EQ(block.xonChar, before.xonChar);
      }
}

TEST(FlowControl, AnyOtherTextLeavesTheBlock) {
  for (const char16_t* setting : {u"", u"none", u"NONE", u"Xon/Xoff ", u"XON/XOFF", u"Hard"}) {
    DeviceControlBlock block = OddBlock();
    ApplyFlowControl(block, setting, true, true, false);
    EXPECT_EQ(block, OddBlock()) << KorText(setting).ToUtf8();
  }
}

// Flow control, which the text does not name, is switched off; the rest is kept.
TEST(ControlText, EveryOfferedSettingIsUnderstood) {
  const std::pair<const char16_t*, DeviceControlBlock> cases[] = {
      {u"baud=110 parity=N data=7 stop=2",
       {.baudRate = 110, .dataBits = 7, .stopBits = StopBits::Two}},
      {u"baud=300 parity=E data=8 stop=1.5",
       {.baudRate = 300, .parity = Parity::Even, .stopBits = StopBits::OnePointFive}},
      {u"baud=1200 parity=S data=8 stop=1", {.baudRate = 1200, .parity = Parity::Space}},
      {u"BAUD=4800 Parity=e DATA=5 stop=1",
       {.baudRate = 4800, .dataBits = 5, .parity = Parity::Even}},
      {u"  baud=9600  parity=N data=6 stop=1 ", {.dataBits = 6}},
      {u"baud=115200 parity=N data=8 stop=1", {.baudRate = 115200}},
      {u"data=7", {.baudRate = 4800, .dataBits = 7}},
  };
  for (const auto& [text, expected] : cases) {
    DeviceControlBlock block = OddBlock();
    EXPECT_TRUE(ParseControlText(text, block)) << KorText(text).ToUtf8();
    DeviceControlBlock wanted = expected;
    wanted.dsrSensitivity = OddBlock().dsrSensitivity;
    wanted.xonChar = OddBlock().xonChar;
    EXPECT_EQ(block, wanted) << KorText(text).ToUtf8();
  }
}

TEST(ControlText, NonsenseIsRefusedAndChangesNothing) {
  for (const char16_t* text : {u"baud=",      u"baud=0",         u"baud=9601",
                               u"baud=09600", u"baud=9600x",     u"baud=-9600",
                               u"data=4",     u"data=9",         u"data=88",
                               u"parity=",    u"parity=X",       u"parity=None",
                               u"stop=3",     u"stop=1,5",       u"stop=",
                               u"9600",       u"=9600",          u"baud 9600",
                               u"to=on",      u"data=7\tstop=1", u"data=7 parity=N stop=0"}) {
    DeviceControlBlock block = OddBlock();
    EXPECT_FALSE(ParseControlText(text, block)) << KorText(text).ToUtf8();
    EXPECT_EQ(block, OddBlock()) << KorText(text).ToUtf8();
  }
}

} // namespace
} // namespace kor
