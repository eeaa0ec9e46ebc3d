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

TEST(ControllerFrame, EveryDamageOfASingleByteIsRefused) {
  for (const std::size_t size : {1U, 8U, 99U, 254U, 255U, 256U, 257U}) {
    std::string block;
    while (block.size() < size)
      block += "N10 G01 X-293.452 Y1819.510!";
    block.resize(size);
    const std::string frame = EncodeFrame(block);
    for (std::size_t at = 0; at < frame.size(); ++at) {
      std::string damaged = frame;
      for (int byte = 1; byte < 256; ++byte) {
        damaged[at] = static_cast<char>(frame[at] ^ byte);
        ASSERT_NE(DecodeFrame(damaged).fault, "") << size << " bytes, at " << at << ": " << byte;
      }
      damaged = frame;
      damaged.erase(at, 1);
      ASSERT_NE(DecodeFrame(damaged).fault, "") << size << " bytes, lost at " << at;
      damaged = frame;
      damaged.insert(at, 1, frame[at]);
      ASSERT_NE(DecodeFrame(damaged).fault, "") << size << " bytes, doubled at " << at;
      ASSERT_NE(DecodeFrame(frame.substr(0, at)).fault, "") << size << " bytes, cut at " << at;
    }
  }
}

TEST(ControllerReplies, KnowsTheFormsOfANumber) {
  const struct {
    const char* requested;
    const char* reply;
    bool isGood;
    std::int32_t number;
    const char* progress;
  } cases[] = {
      {"0000123", "&LP 000000123", true, 123, "Download to NCE in progress. &FH 000000123"},
      {"0000123", "Download to NCE in progress. &LP 123", true, 123,
       "Download to NCE in progress. &FH 123"},
      {"3730417", "&LP 000037304", true, 37304, "Download to NCE in progress. &FH 000037304"},
      {"0003730417", "&LP 000037304", true, 37304, "Download to NCE in progress. &FH 000037304"},
      {"730417", "&LP 000007304", true, 7304, "Download to NCE in progress. &FH 000007304"},
      {"0000123", "&LP 000000000", true, 0, "Download to NCE in progress. &FH 000000000"}, // H name
      {"99999999999", "&LP 2147483647", true, 2147483647,
       "Download to NCE in progress. &FH 2147483647"},
      {"0000123", "&LP 000000124", false, 0, ""},
      {"0000123", "&LP 123", false, 0, ""},
      {"0000123", "Download to NCE in progress. &LP 000000123", false, 0, ""},
      {"0000123", "&LP 0000001230", false, 0, ""},
      {"0000123", "", false, 0, ""},
  };
  for (const auto& c : cases) {
    const auto reply = ParseDownloadReply(c.reply, NumberForms(c.requested));
    ASSERT_EQ(reply.has_value(), c.isGood) << c.requested << ": " << c.reply;
    if (!reply) continue;
    EXPECT_EQ(reply->number, c.number);
    EXPECT_EQ(ProgressText(*reply), c.progress);
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
  const struct {
    const char* page;
    std::uint32_t first;
    const char* names;
  } cases[] = {
      {" 1|101       2|20        3|3730417  ", 1, "1=101;2=20;3=3730417;"},
      {" 9|a        10|b        11|c        12|d        ", 9, "9=a;10=b;11=c;12=d;"},
      {"99|x        100|y        ", 99, "99=x;100=y;"},
      {" 1|a longer name  2|b        ", 1, "1=a longer name;2=b;"},
      {" 1|with 2|bar  2|b        ", 1, "1=with 2|bar;2=b;"},
      {" 1|a         2|b         3|c         4|ends in  5| ", 1, "1=a;2=b;3=c;4=ends in  5|;"},
      {" 1|         ", 1, "1=;"},
      {" 2|101      ", 1, "broken"},                                                 // other index
      {" 1|101     ", 1, "broken"},                                                  // padded to 7
      {" 1|1001      ", 1, "broken"},                                                // and to 9
      {" 1|101       3|20        ", 1, "broken"},                                    // one left out
      {" 1|a         2|b         3|c         4|d         5|e        ", 1, "broken"}, // too many
      {"", 1, "broken"},
      {"%% Message not recognised by HOST", 1, "broken"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(Names(c.page, c.first), c.names) << c.page;
}

TEST(ControllerPrograms, CompareByTheirNonEmptyLines) {
  EXPECT_EQ(FirstDifference("G90\nX10\n", "\r\nG90\r\n\r\nX10"), "");
  EXPECT_EQ(FirstDifference("", "\n\r\n"), "");
  const struct {
    const char* received;
    const char* expected;
    const char* difference;
  } cases[] = {
      {"G90\nX1\n", "G90\n\nX10\n",
       "line 2 (empty lines not counted): is \"X1\", expected \"X10\""},
      {"G90\n", "G90\nX10", "line 2 (empty lines not counted): missing, expected \"X10\""},
      {"G90\nX10\n", "G90", "line 2 (empty lines not counted): one too many, \"X10\""},
      {"A\tB\n", "A B", "line 1 (empty lines not counted): is \"A\\x09B\", expected \"A B\""},
  };
  for (const auto& c : cases)
    EXPECT_EQ(FirstDifference(c.received, c.expected), c.difference);
}

TEST(ControllerPrograms, NameWhatTheHostWouldNotStore) {
  const struct {
    const char* program;
    const char* obstacle;
  } cases[] = {
      {"%\r\nN10 G01 (~ }\n\n", ""},
      {"G90\nX1!0\n", "line 2, column 3: '!', which the host stores as an end of line"},
      {"#1=[2]\n", "line 1, column 6: ']', which the host takes for the end of the program"},
      {"G90\n\n\tX", "line 3, column 1: byte \\x09, which the host drops"},
      {"\xE4", "line 1, column 1: byte \\xE4, which the host drops"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(UploadObstacle(c.program), c.obstacle);
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
