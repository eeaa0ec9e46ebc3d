#include "tools/korfile/korfile.h"

#include <algorithm>
#include <sstream>

#include "files/compressed_file.h"
#include "files/disk_file.h"
#include "tests/files/file_test_support.h"
#include "tests/support/record_samples.h"

namespace kor {
namespace {

class KorfileTest : public FileTest {
 protected:
  int Run(std::vector<KorText> words) {
    printed.Clear();
    complained.Clear();
    KorfileOutput output;
    output.print = [this](const KorText& line) { printed += line + u"\n"; };
    output.complain = [this](const KorText& line) { complained += line + u"\n"; };
    output.progress = &progress;
    output.isCancelled = [this] { return cancelAt >= 0 && cancelAt-- == 0; };
    return RunKorfile(words, output);
  }

  // Of three small blocks.
  KorText MakeContainer(const KorText& name) {
    return Put(name, Container("2005", {Framed(Piece(AsBytes("first block"))),
                                        Framed(Piece(AsBytes("second block"))),
                                        Framed(Piece(AsBytes("third block")))}));
  }

  KorText printed, complained;
  std::ostringstream progress;
  int cancelAt = -1;
};

TEST_F(KorfileTest, CompressAndRestoreInPlaceAndAside) {
  const Bytes content = MakeBytes(20000, 8);
  const KorText file = Put(u"work/a b.nc", content), aside = app.Path(u"work/aside");
  EXPECT_EQ(Run({u"compress", file}), 0);
  EXPECT_TRUE(IsCompressedFile(file));
  EXPECT_TRUE(printed.Contains(u"a b.nc: 20000 bytes compressed to ")) << printed.ToUtf8();
  EXPECT_EQ(Run({u"restore", file, u"-o", aside, u"-q"}), 0);
  EXPECT_TRUE(printed.IsEmpty());
  EXPECT_EQ(Get(aside), content);
  EXPECT_TRUE(IsCompressedFile(file));
  EXPECT_EQ(Run({u"restore", u"-j", u"3", file}), 0);
  EXPECT_EQ(Get(file), content);
  EXPECT_EQ(Leftovers(), (Names{u"a b.nc", u"aside"}));
}

// Files of every kind of health, and what becomes of the commands on them.
class KorfileFaults : public KorfileTest {
 protected:
  KorText Damaged(std::u16string_view name, std::size_t at, std::uint8_t byte) {
    Bytes bytes = whole;
    bytes[at] = byte;
    return Put(name, bytes);
  }
  void ExpectEnd(const std::vector<KorText>& words, int code, const KorText& complaint) {
    EXPECT_EQ(Run(words), code) << complaint.ToUtf8();
    EXPECT_TRUE(complained.Contains(complaint)) << complained.ToUtf8() << complaint.ToUtf8();
    EXPECT_EQ(complained.IsEmpty(), code == 0);
  }

  const KorText plain = Put(u"work/plain", AsBytes("N1 G01 X100 and some more text"));
  const KorText packed = MakeContainer(u"work/packed");
  const Bytes whole = *Get(packed);
  const std::size_t second = 30 + LoadLe32(whole.data() + 26); // where its second block begins
  const KorText corrupt = Damaged(u"work/corrupt", 3, '?');
  const KorText badLength = Damaged(u"work/length", second + 3, 0xFF);
  const KorText badData = Damaged(u"work/data", second + 9, 0xFF);
  const KorText shortText = Put(u"work/short", AsBytes("G90\nM30\n"));
  const KorText shortCut = Put(u"work/shortcut", std::span(whole).first(20));
  const KorText cut = Put(u"work/cut", std::span(whole).first(second + 9));
  const KorText inSecond = KorText::Format(u"block 1 at offset %u: ", second);
};

TEST_F(KorfileFaults, ExitCodesAndComplaints) {
  const Names before = Leftovers();
  const auto ends = [&](std::vector<KorText> words, int code, const KorText& complaint,
                        std::ptrdiff_t lines = 1) {
    ExpectEnd(words, code, complaint);
    words.push_back(u"--json");
    EXPECT_EQ(Run(words), code);
    EXPECT_EQ(printed.Contains(u"\"fault\": {"), code != 0) << printed.ToUtf8();
    EXPECT_EQ(std::ranges::count(printed.View(), u'\n'), lines) << printed.ToUtf8();
  };
  ends({u"test", packed}, 0, u"");
  ends({u"test", plain}, 0, u"");
  ends({u"test", badData}, 1,
       inSecond + u"the block's data is damaged. Take the file from a backup");
  ends({u"restore", badData}, 1, inSecond);
  ends({u"crc", u"--contents", badData}, 1, inSecond);
  ends({u"info", badData}, 1, u"damaged");
  ends({u"test", app.Path(u"work/none")}, 3, u"work/none: the source can't be opened (");
  ends({u"restore", cut}, 3, inSecond + u"the file ends inside a block. The file was cut off");
  ends({u"compress", plain, u"-o", app.Path(u"none/x")}, 4, u"none/x: the destination can't be");
  ends({u"restore", shortText}, 5, u"short: not a compressed file. Use it as it is.");
  ends({u"restore", shortCut}, 3, u"shortcut: the file is shorter than a signature. The file was");
  ends({u"test", shortText}, 0, u"");
  ends({u"test", shortCut}, 3, u"The file was cut off");
  ends({u"compress", packed}, 5, u"compressed already. Nothing needs to be done. [0x20000003]");
  ends({u"restore", plain}, 5, u"not a compressed file. Use it as it is.");
  ends({u"info", corrupt}, 6, u"the signature is damaged");
  ends({u"test", badLength}, 6, inSecond + u"impossible block length");
  ends({u"test", plain, cut, corrupt}, 3, u"[0x20000004]", 3); // the first decides, all are told
  EXPECT_EQ(Leftovers(), before);
  EXPECT_EQ(Get(packed), whole);
}

TEST_F(KorfileFaults, AWrongCommandLineIsRefused) {
  ExpectEnd({}, 2, u"a command is missing; korfile --help");
  ExpectEnd({u"pack", plain}, 2, u"no command pack");
  ExpectEnd({u"test"}, 2, u"a file is missing");
  ExpectEnd({u"compress", u"-j", u"0", plain}, 2, u"threads are 1 to 256, not 0");
  ExpectEnd({u"compress", plain, packed, u"-o", u"x"}, 2, u"--output takes one file");
  ExpectEnd({u"info", plain, u"-o", u"x"}, 2, u"--output belongs to compress and restore");
}

TEST_F(KorfileTest, InfoShowsLayoutAsTextAndJson) {
  const KorText packed = MakeContainer(u"work/packed");
  EXPECT_EQ(Run({u"info", packed}), 0);
  EXPECT_TRUE(printed.Contains(u"compressed file 2005")) << printed.ToUtf8();
  EXPECT_TRUE(printed.Contains(u"34 bytes in 3 blocks")) << printed.ToUtf8();
  EXPECT_EQ(Run({u"info", u"--json", packed}), 0);
  EXPECT_TRUE(printed.Contains(u"\"year\": 2005, "));
  EXPECT_TRUE(printed.Contains(u"\"contents\": 34, "));
  EXPECT_TRUE(printed.Contains(u"\"blocks\": [{\"offset\": 26, \"stored\": "));
  FileCrc contents, stored;
  contents.Add(AsBytes("first blocksecond blockthird block"));
  stored.Add(*Get(packed));
  const KorText ofContents = KorText::Format(u"%08X%08X", contents.high, contents.low);
  const KorText ofStored = KorText::Format(u"%08X%08X", stored.high, stored.low);
  EXPECT_EQ(Run({u"crc", u"--contents", packed}), 0);
  EXPECT_EQ(printed, ofContents + u"  " + packed + u"\n");
  const auto tells = [&](std::vector<KorText> words, const KorText& json) {
    words.insert(words.end(), {u"--json", packed});
    EXPECT_EQ(Run(words), 0);
    EXPECT_TRUE(printed.Contains(json)) << printed.ToUtf8();
  };
  tells({u"info"}, u"\"checksum\": \"" + ofStored);
  tells({u"crc"}, u"\"checksum\": \"" + ofStored);
  tells({u"crc", u"--contents"}, u"\"contentsChecksum\": \"" + ofContents);
  tells({u"test"}, u"\"contentsChecksum\": \"" + ofContents);
}

TEST_F(KorfileTest, RecordFilesAreShownAsATree) {
  std::uint32_t field = 0;
  // What stands behind a section mark may look like a record's two sizes.
  const Bytes bytes = WriteRecords({{77}, false, 1}, [&](DiskFile& file) {
    file.BeginRecord(4711);
    for (const std::uint32_t number : {5U, record_marker::kSection, 8U, 4U, 1U})
      file.Transfer(field = number);
    file.EndRecord();
  });
  const KorText path = Put(u"work/set.DAT", bytes);
  for (const char16_t* form : {u"plain", u"packed"}) {
    EXPECT_EQ(Run({u"info", path}), 0) << complained.ToUtf8();
    EXPECT_TRUE(printed.Contains(u"4711")) << KorText(form).ToUtf8() << printed.ToUtf8();
    EXPECT_EQ(Run({u"info", u"--json", path}), 0);
    EXPECT_TRUE(printed.Contains(u"\"class\": 4711, ")) << printed.ToUtf8();
    EXPECT_EQ(printed.Find(u"\"class\""), printed.View().rfind(u"\"class\"")) << printed.ToUtf8();
    Run({u"compress", path});
  }
  Put(u"work/set.DAT", std::span(bytes).first(bytes.size() - 2));
  EXPECT_EQ(Run({u"test", path}), 6);
  EXPECT_TRUE(complained.Contains(u" at offset ")) << complained.ToUtf8();
}

TEST_F(KorfileTest, CancelLeavesEverythingAsItWasAndTheBarIsWiped) {
  const KorText packed = MakeContainer(u"work/packed");
  const auto before = Get(packed);
  cancelAt = 1;
  EXPECT_EQ(Run({u"restore", packed}), 1);
  EXPECT_TRUE(complained.Contains(u"cancelled")) << complained.ToUtf8();
  EXPECT_EQ(Get(packed), before);
  EXPECT_EQ(Leftovers(), Names{u"packed"});
  Run({u"test", packed});
  EXPECT_NE(progress.str().find("[####"), std::string::npos) << progress.str();
  EXPECT_TRUE(progress.str().ends_with(" \r"));
}

} // namespace
} // namespace kor
