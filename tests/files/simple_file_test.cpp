#include "files/simple_file.h"

#include <functional>

#include "files/compressed_file.h"
#include "tests/files/file_test_support.h"

namespace kor {
namespace {

class SimpleFileTest : public FileTest {};

// --- Waiting ---

// Lets something happen while a file waits.
struct WaitingApp : TestApp {
  void SleepMilliseconds(std::uint32_t milliseconds) override {
    EXPECT_EQ(milliseconds, 100u);
    TestApp::SleepMilliseconds(milliseconds);
    if (++sleeps; onSleep) onSleep(*this);
  }
  std::function<void(WaitingApp&)> onSleep;
  int sleeps = 0;
};

TEST(SimpleFileWait, AnEmptyOrMissingFileMayFillForFiveSeconds) {
  const auto write = [](WaitingApp& app) {
    if (app.sleeps == 3) app.Put(app.Path(u"f"), u"text");
  };
  const auto jump = [](WaitingApp& app) { app.Advance(-0.5); }; // the difference is unsigned
  const auto tries = [](const char* what, bool isThere, std::uint32_t mode, bool waits, bool opens,
                        int sleeps, std::function<void(WaitingApp&)> onSleep = {}) {
    SCOPED_TRACE(what);
    WaitingApp app;
    if (isThere) app.Put(app.Path(u"f"), u"");
    app.onSleep = onSleep;
    SimpleFile file(app.Path(u"f"));
    EXPECT_EQ(file.Open(mode, OpenWait{waits}), opens);
    EXPECT_EQ(app.sleeps, sleeps);
  };
  tries("missing", false, kFileRead, true, false, 50);
  tries("empty", true, kFileRead, true, false, 50);
  tries("written meanwhile", false, kFileRead | kFileText, true, true, 3, write);
  tries("the clock goes back", true, kFileRead, true, false, 1, jump);
  tries("empty for update", true, kFileRead | kFileWrite, true, false, 50);
  tries("empty for writing", true, kFileWrite, true, true, 0);
  tries("empty without the flag", true, kFileRead, false, true, 0);
}

// --- Opening and marks ---

TEST_F(SimpleFileTest, OpenIsRefused) {
  SimpleFile nameless;
  EXPECT_FALSE(nameless.Open(kFileWrite));
  SimpleFile file(app.Path(u"f"));
  EXPECT_FALSE(file.Open(0));
  EXPECT_FALSE(file.Open(kFileText));
  EXPECT_FALSE(file.Open(kFileRead));
  EXPECT_FALSE(file.Close());
  EXPECT_EQ(file.Write(AsBytes("x")), 0u);
  EXPECT_TRUE(file.Open(kFileWrite));
  EXPECT_FALSE(file.Open(kFileRead)) << "already open";
  EXPECT_FALSE(SimpleFile(app.Path(u"f")).Open(kFileWrite)) << "another holds it";
  SimpleFile marked(Put(u"g", AsBytes("N10 G00")));
  app.FailSeek(true);
  EXPECT_FALSE(marked.Open(kFileRead | kFileWrite | kFileText)) << "not put back behind its mark";
  EXPECT_FALSE(marked.IsOpen());
}

TEST_F(SimpleFileTest, MarkDecidesTheEncoding) {
  // What is expected of a file of these bytes: its encoding, and the positions after opening.
  const auto opens = [this](const char* hex, TextEncoding encoding, std::uint64_t onDisk,
                            std::uint64_t inMemory) {
    SCOPED_TRACE(hex);
    const KorText path = Put(u"f", FromHex(hex));
    for (const std::uint32_t mode : {+kFileRead, kFileRead | kFileWrite}) {
      SimpleFile plain(path);
      ASSERT_TRUE(plain.Open(mode | kFileText));
      EXPECT_EQ(plain.Encoding(), encoding);
      EXPECT_EQ(plain.Position(), onDisk);
      EXPECT_EQ(plain.ReadAll().value_or(Bytes()).size(), plain.Size() - onDisk);
    }
    ASSERT_EQ(CompressFile(path, path), FileResult::Success);
    SimpleFile packed(path);
    ASSERT_TRUE(packed.Open(kFileRead | kFileText, OpenWait::No, Compression::Yes));
    EXPECT_TRUE(packed.InMemory());
    EXPECT_EQ(packed.Encoding(), encoding);
    EXPECT_EQ(packed.Position(), inMemory);
  };
  using enum TextEncoding;
  opens("EF BB BF 61 62 63", Utf8, 3, 4); // memory files are not put back
  opens("EF BB BF", Utf8, 3, 3);
  opens("FF FE", Utf16, 2, 2);
  opens("FF FE 61 00 62 00", Utf16, 2, 4);
  opens("FE FF 00 61", EightBit, 0, 4);
  opens("61 62 63 64 65", EightBit, 0, 4);
  opens("EF BB", EightBit, 0, 2);
  opens("", EightBit, 0, 0);
  EXPECT_TRUE(app.Warnings().empty());
}

TEST_F(SimpleFileTest, TextFilesAreWrittenInTheEncodingOfTheirMode) {
  const auto writes = [this](std::uint32_t mode, const char* hex) {
    app.RemoveFile(app.Path(u"f"));
    SimpleFile file(app.Path(u"f"));
    ASSERT_TRUE(file.Open(mode | kFileWrite));
    EXPECT_TRUE(file.Print(u"%s\r\n", u"A\u00E9\u20AC"));
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(Get(app.Path(u"f")), FromHex(hex)) << mode;
  };
  writes(kFileWrite, "41 E9 3F 0D 0A");
  writes(kFileText, "41 E9 3F 0D 0A");
  writes(kFileText | kFileUtf8, "EF BB BF 41 C3 A9 E2 82 AC 0D 0A");
  writes(kFileText | kFileUnicode, "FF FE 41 00 E9 00 AC 20 0D 00 0A 00");
  writes(kFileUnicode, "41 E9 3F 0D 0A"); // not a text file: no encoding
  writes(kFileRead | kFileText | kFileUtf8, "EF BB BF 41 C3 A9 E2 82 AC 0D 0A");
}

// --- Reading and writing ---

// The same random reads, writes and seeks on a file and on a plain vector of bytes.
void CompareWithModel(SimpleFile& file, Bytes model, unsigned seed) {
  const bool writes = (file.Mode() & kFileWrite) != 0;
  std::minstd_rand random(seed);
  std::size_t position = static_cast<std::size_t>(file.Position());
  for (int step = 0; step < 3000; ++step) {
    const std::size_t count = random() % (step % 50 == 0 ? 70000 : 300);
    if (const auto kind = random() % 3; kind == 0) {
      const std::size_t target = random() % (model.size() + 1);
      const bool fromEnd = random() % 2 == 0;
      position = fromEnd ? model.size() - target : target;
      ASSERT_EQ(file.Seek(target, fromEnd ? SeekFrom::End : SeekFrom::Start), position);
    } else if (kind == 1 && writes) {
      const Bytes bytes = MakeBytes(count, 90, static_cast<unsigned>(step));
      if (model.size() < position + count) model.resize(position + count);
      std::copy(bytes.begin(), bytes.end(), model.begin() + static_cast<std::ptrdiff_t>(position));
      ASSERT_EQ(file.Write(bytes), count);
      position += count;
    } else if (position < model.size()) { // at the end a memory file warns
      Bytes bytes(count, 0xCC);
      const std::size_t there = std::min(count, model.size() - position);
      const auto from = model.begin() + static_cast<std::ptrdiff_t>(position);
      Bytes expected(from, from + static_cast<std::ptrdiff_t>(there));
      expected.resize(count);
      ASSERT_EQ(file.Read(bytes), there);
      ASSERT_TRUE(bytes == expected);
      position += there;
    }
    ASSERT_EQ(file.Position(), position);
    ASSERT_EQ(file.Size(), model.size());
  }
  EXPECT_TRUE(file.IsGood());
  if (!writes) return;
  file.Seek(0);
  EXPECT_EQ(file.ReadAll(), model);
}

TEST_F(SimpleFileTest, EveryKindOfFileReadsAndWritesAlike) {
  const Bytes content = MakeBytes(200000, 90);
  const KorText path = Put(u"f", content);
  SimpleFile file(path);
  for (const std::uint32_t mode : {+kFileRead, kFileRead | kFileText, kFileRead | kFileWrite}) {
    ASSERT_TRUE(file.Open(mode));
    CompareWithModel(file, content, mode);
    EXPECT_TRUE(file.Close());
    Put(u"f", content);
  }
  ASSERT_TRUE(file.OpenMemory(kFileRead | kFileWrite, VoidBuffer(content)));
  CompareWithModel(file, content, 9);
  EXPECT_TRUE(app.Warnings().empty());
}

TEST_F(SimpleFileTest, FlushedBytesAreInTheFileBeforeClose) {
  SimpleFile log(app.Path(u"log"));
  const std::uint32_t mode = kFileWrite | kFileAppend | kFileText | kFileUtf8;
  ASSERT_TRUE(log.Open(mode));
  log.WriteText(u"\u00E91\r\n");
  EXPECT_TRUE(log.Flush());
  const KorText first = u"\xEF\xBB\xBF\xC3\xA9"
                        u"1\r\n";
  EXPECT_EQ(app.Content(app.Path(u"log")), first);
  log.Close();
  ASSERT_TRUE(log.Open(mode));
  EXPECT_EQ(log.Position(), 8u);
  log.WriteText(u"\u00E92\r\n");
  log.Close();
  EXPECT_EQ(app.Content(app.Path(u"log")), first + u"\xC3\xA9"
                                                   u"2\r\n");
}

TEST_F(SimpleFileTest, FullDiskShowsAtFlushAndClose) {
  SimpleFile file(app.Path(u"f"));
  ASSERT_TRUE(file.Open(kFileWrite));
  app.LimitWrites(10);
  EXPECT_EQ(file.Write(MakeBytes(8, 9)), 8u);
  EXPECT_TRUE(file.Flush());
  file.Write(MakeBytes(8, 9));
  EXPECT_FALSE(file.Flush());
  EXPECT_FALSE(file.IsGood());
  EXPECT_EQ(file.Write(MakeBytes(1, 9)), 0u);
  EXPECT_FALSE(file.Close());
  ASSERT_TRUE(file.Open(kFileWrite));
  EXPECT_EQ(file.Write(MakeBytes(0xFFFF, 9)), 0xFFFFu) << "kept for later";
  EXPECT_EQ(file.Write(MakeBytes(2, 9)), 0u);
}

TEST_F(SimpleFileTest, SeekBeforeTheStartWarnsAndStays) {
  SimpleFile file(Put(u"f", AsBytes("abc")));
  ASSERT_TRUE(file.Open(kFileRead));
  file.Seek(2);
  EXPECT_EQ(file.Seek(4, SeekFrom::End), 2u);
  EXPECT_EQ(app.Warnings().at(0), (TestApp::Warning{u"SetFilePointer Failed!", u"FileIO"}));
  file.Close();
  EXPECT_EQ(file.Seek(1), 0u) << "closed";
}

// --- Memory ---

TEST_F(SimpleFileTest, CallersBufferIsResizedWithAWarningAndAGapIsZero) {
  VoidBuffer buffer(AsBytes("abcdefghijkl"));
  buffer.Resize(3); // what was behind is still in its memory
  SimpleFile file;
  ASSERT_TRUE(file.AttachMemory(kFileRead | kFileWrite, buffer));
  file.WriteText(u"xyz");
  EXPECT_TRUE(app.Warnings().empty());
  file.Seek(9);
  file.WriteText(u"1");
  EXPECT_EQ(app.Warnings().at(0),
            (TestApp::Warning{u"SimpleFile", u"RamFile is not mine to resize"}));
  file.Close();
  EXPECT_EQ(TextOf(buffer.Bytes()), KorText(std::u16string_view(u"xyz\0\0\0\0\0\0"
                                                                u"1",
                                                                10)));
}

TEST_F(SimpleFileTest, BadMemoryReadsWarn) {
  const TestApp::Warning badRead{u"SimpleFile", u"Bad ram read"};
  SimpleFile file;
  ASSERT_TRUE(file.OpenMemory(kFileRead, VoidBuffer(AsBytes("abc"))));
  Bytes bytes(4, 1);
  file.Seek(10);
  EXPECT_EQ(file.Read(bytes), 0u);
  EXPECT_EQ(bytes, Bytes(4, 0));
  EXPECT_EQ(file.Position(), 3u) << "falls back by the negative count";
  EXPECT_EQ(file.Read(bytes), 0u);
  EXPECT_EQ(app.Warnings(), (std::vector{badRead, badRead}));
  file.Close();
  EXPECT_EQ(file.Read(bytes), 0u) << "a closed file reads nothing and says nothing";
  ASSERT_TRUE(file.OpenMemory(kFileWrite));
  EXPECT_EQ(file.Write({}), 0u);
  EXPECT_EQ(app.Warnings().back(), (TestApp::Warning{u"SimpleFile", u"Bad ram write"}));
}

// --- Lines ---

Names ReadLines(SimpleFile& file, std::size_t longest = KorText::kNone) {
  Names lines;
  KorText line;
  while (file.ReadLine(line, longest))
    lines.push_back(line);
  EXPECT_EQ(line, u"") << "nothing is left of the last one";
  return lines;
}

TEST_F(SimpleFileTest, LinesEndWithLfOrCrLf) {
  const std::pair<const char*, Names> cases[] = {
      {"", {}},
      {"\n", {u""}},
      {"a", {u"a"}},
      {"a\r\nb\nc", {u"a", u"b", u"c"}},
      {"a\rb\r\r\n\r\n\nz\r", {u"a\rb\r", u"", u"", u"z\r"}},
      {"\xE9\xFF\n", {u"\u00E9\u00FF"}},
  };
  for (const auto& [content, lines] : cases) {
    const KorText path = Put(u"f", AsBytes(content));
    for (const std::uint32_t mode : {kFileRead | kFileText, +kFileRead, kFileRead | kFileWrite}) {
      SimpleFile file(path);
      ASSERT_TRUE(file.Open(mode));
      EXPECT_EQ(ReadLines(file), lines) << content << " mode " << mode;
    }
  }
  EXPECT_TRUE(app.Warnings().empty());
}

TEST_F(SimpleFileTest, LinesOfEveryEncodingComeBackAcrossTheCacheBorders) {
  Names lines;
  for (unsigned i = 0; i < 3000; ++i) {
    // U+0A0D and U+0D0A hold the bytes of line ends in UTF-16.
    lines.push_back(KorText::Format(u"N%i \u0A0D\u0D0AG01 X%i %s", i, i * 37,
                                    KorText(i % 101, static_cast<char16_t>(u'\u00C0' + i % 64))));
  }
  for (const std::uint32_t encoding : {+kFileUtf8, +kFileUnicode}) {
    for (const char16_t* end : {u"\r\n", u"\n"}) {
      SimpleFile file(app.Path(u"f"));
      ASSERT_TRUE(file.Open(kFileWrite | kFileText | encoding));
      for (const KorText& line : lines)
        file.WriteText(line + end);
      ASSERT_TRUE(file.Close());
      for (const std::uint32_t mode : {kFileRead | kFileText, kFileRead | kFileWrite | kFileText}) {
        ASSERT_TRUE(file.Open(mode));
        EXPECT_EQ(ReadLines(file), lines);
        file.Close();
      }
    }
  }
}

TEST_F(SimpleFileTest, OverlongLineComesCut) {
  const KorText path = Put(u"f", AsBytes("12345\r\n1234567890\n12345\n"));
  SimpleFile file(path);
  ASSERT_TRUE(file.Open(kFileRead | kFileText));
  EXPECT_EQ(ReadLines(file, 5), (Names{u"12345", u"1234567", u"890", u"12345"}))
      << "with the room that its end may take";
}

TEST_F(SimpleFileTest, ReadingOnAfterALineIsInStep) {
  SimpleFile file(Put(u"f", AsBytes("first\r\nsecond\nrest of it")));
  for (const std::uint32_t mode : {+kFileRead, kFileRead | kFileText, kFileRead | kFileWrite}) {
    ASSERT_TRUE(file.Open(mode));
    KorText line;
    EXPECT_TRUE(file.ReadLine(line));
    EXPECT_EQ(file.Position(), 7u);
    EXPECT_TRUE(file.ReadLine(line));
    EXPECT_EQ(line, u"second");
    EXPECT_EQ(file.ReadAll(), BytesOf("rest of it"));
    file.Close();
  }
}

// --- Compressed ---

TEST_F(SimpleFileTest, VeryLargeContentsAreReadFromATemporaryFile) {
  const Bytes zeros(VoidBuffer::kChunkSize);
  const std::vector<Bytes> blocks(2, Framed(Piece(zeros)));
  Put(u"work/f", Container("2005", blocks));
  FileResult result = FileResult::Failure;
  SimpleFile file(app.Path(u"work/f"));
  ASSERT_TRUE(file.Open(kFileRead | kFileText, OpenWait::No, Compression::Yes, &result));
  EXPECT_FALSE(file.InMemory());
  EXPECT_EQ(file.Size(), blocks.size() * zeros.size());
  EXPECT_EQ(file.Position(), 0u) << "a file on disk is put back behind the mark";
  EXPECT_EQ(Leftovers().size(), 2u);
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(Leftovers(), Names{u"f"});
  app.LimitWrites(1000);
  EXPECT_FALSE(file.Open(kFileRead, OpenWait::No, Compression::Yes, &result));
  EXPECT_EQ(result, FileResult::DestinationUnwritable);
  EXPECT_EQ(Leftovers(), Names{u"f"});
}

TEST_F(SimpleFileTest, ACompressedFileTakesItsTargetsPlaceOnlyWhenItIsWhole) {
  const KorText path = app.Path(u"work/f");
  app.RefuseOpening(u"temp/", true);
  for (const std::uint32_t mode : {kFileWrite | kFileAppend, +kFileWrite})
    EXPECT_FALSE(SimpleFile(path).Open(mode, OpenWait::No, Compression::Yes));
  EXPECT_EQ(Leftovers(), Names());
  app.ClearFaults();
  for (const bool existed : {false, true}) {
    for (const bool isFull : {false, true}) {
      app.Put(path, u"older");
      if (!existed) app.RemoveFile(path);
      SimpleFile file(path);
      const std::uint32_t onlyNew = kFileWrite | kFileNew;
      EXPECT_EQ(file.Open(onlyNew, OpenWait::No, Compression::Yes), !existed);
      ASSERT_TRUE(file.IsOpen() || file.Open(kFileWrite, OpenWait::No, Compression::Yes));
      EXPECT_TRUE(file.WriteText(u"newer"));
      if (isFull) app.LimitWrites(0);
      EXPECT_EQ(file.Close(), !isFull);
      app.ClearFaults();
      EXPECT_EQ(IsCompressedFile(path), !isFull);
      EXPECT_EQ(DecompressFile(path, path) == FileResult::Success, !isFull);
      const KorText left = !isFull ? u"newer" : existed ? u"older" : u"no file";
      EXPECT_EQ(app.Content(path).value_or(u"no file"), left);
      EXPECT_EQ(Leftovers().size(), existed || !isFull ? 1u : 0u);
    }
  }
}

TEST_F(SimpleFileTest, CompressedOpenTellsPlainFromDamaged) {
  const Bytes plain = BytesOf("a plain file that is longer than a signature");
  SimpleFile file(Put(u"f", plain));
  FileResult result = FileResult::Failure;
  ASSERT_TRUE(file.Open(kFileRead, OpenWait::No, Compression::Yes, &result));
  EXPECT_EQ(result, FileResult::Success);
  EXPECT_FALSE(file.IsCompressed());
  EXPECT_EQ(file.ReadAll(), plain);
  file.Close();
  Put(u"f", AsBytes("KOR Compressed FILE \xA9 2005 and so on"));
  EXPECT_FALSE(file.Open(kFileRead, OpenWait::No, Compression::Yes, &result));
  EXPECT_EQ(result, FileResult::Corrupt);
  app.RemoveFile(app.Path(u"f"));
  EXPECT_FALSE(file.Open(kFileRead, OpenWait::No, Compression::Yes, &result));
  EXPECT_EQ(result, FileResult::SourceUnreadable);
}

} // namespace
} // namespace kor
