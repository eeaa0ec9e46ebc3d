#include <gtest/gtest.h>

#include "tools/nce_controller/frame.h"
#include "tools/nce_controller/program_text.h"

namespace kor::controller {
namespace {

TEST(ControllerFrame, CarriesBlocksOfEverySizeOfLengthField) {
  EXPECT_EQ(EncodeFrame("G90!X10!"), "08G90!X10!17");
  EXPECT_EQ(DecodeFrame("08G90!X10!17").block, "G90!X10!");
  for (const std::size_t size : {1U, 15U, 16U, 100U, 255U, 256U, 257U, 4095U, 4096U, 24576U}) {
    std::string block(size, 'X');
    block.back() = '!';
    const DecodedFrame frame = DecodeFrame(EncodeFrame(block));
    EXPECT_EQ(frame.fault, "") << size;
    EXPECT_EQ(frame.block, block);
  }
}

std::string Names(std::string_view page, std::uint32_t first) {
  const auto entries = ParsePage(page, first);
  if (!entries) return "broken";
  std::string names;
  for (const DirectoryEntry& entry : *entries)
    names += std::to_string(entry.index) + "=" + entry.name + ";";
  return names;
}

TEST(ControllerReplies, TakesDirectoryPagesApart) {
  EXPECT_EQ(Names(" 9|a        10|b        11|c        12|d        ", 9), "9=a;10=b;11=c;12=d;");
  EXPECT_EQ(Names("99|x        100|y        ", 99), "99=x;100=y;");
  EXPECT_EQ(Names(" 1|with 2|bar  2|b        ", 1), "1=with 2|bar;2=b;");
  EXPECT_EQ(Names(" 1|         ", 1), "1=;");
  // Another index, padded to 7 and to 9, one left out, too many, and no page at all.
  for (const char* page :
       {" 2|101      ", " 1|101     ", " 1|1001      ", " 1|101       3|20        ",
        " 1|a         2|b         3|c         4|d         5|e        ", ""})
    EXPECT_EQ(Names(page, 1), "broken") << page;
}

TEST(ControllerPrograms, TravelInBlocksThatTheHostCanStrip) {
  std::string program = "G90\r\n\r\n" + std::string(98, 'A') + "\n" + std::string(254, 'B') + "\n" +
                        std::string(255, 'C') + "\n" + std::string(1000, 'D') + "\nlast";
  std::string stored;
  for (const std::string& block : UploadBlocks(program)) {
    EXPECT_LE(block.size(), 255U);
    EXPECT_NE(block, "");
    stored += BlockText(block);
  }
  std::erase(program, '\r');
  EXPECT_EQ(stored, program + "\n");
  EXPECT_TRUE(UploadBlocks("").empty());
}

} // namespace
} // namespace kor::controller
