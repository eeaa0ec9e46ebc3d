#include "files/compressed_file.h"

#include "files/little_endian.h"
#include "tests/files/file_test_support.h"
#include "tests/support/format_page.h"

namespace kor {
namespace {

constexpr std::size_t kBlock = 0x2000000;

// A block with another number at an offset; a negative one counts from the end.
Bytes WithNumber(Bytes block, std::ptrdiff_t at, std::uint32_t number) {
  StoreLe32(at < 0 ? &*(block.end() + at) : block.data() + at, number);
  return block;
}

// Different everywhere, and quickly compressed.
Bytes MakeSparse(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t at = 0; at + 4 <= count; at += 4096)
    StoreLe32(bytes.data() + at, static_cast<std::uint32_t>(at));
  if (count > 0) bytes.back() = 'e';
  return bytes;
}

class CompressedFileTest : public FileTest {
 protected:
  FileResult Restore(const Bytes& file, Bytes* to = nullptr, const CompressOptions& options = {}) {
    SimpleFile source;
    VoidBuffer output;
    source.OpenMemory(kFileRead, VoidBuffer(file));
    const FileResult result = DecompressFile(source, nullptr, &output, options);
    if (to != nullptr) to->assign(output.Bytes().begin(), output.Bytes().end());
    return result;
  }

  bool Holds(const KorText& name, std::span<const std::uint8_t> content) {
    SimpleFile file(name);
    const auto bytes = file.Open(kFileRead) ? file.ReadAll() : std::nullopt;
    return bytes && std::ranges::equal(*bytes, content);
  }
  void Write(const KorText& name, std::span<const std::uint8_t> content) {
    SimpleFile file(name, kFileWrite, OpenWait::No, Compression::No);
    ASSERT_EQ(file.Write(content), content.size());
  }

  const KorText path = app.Path(u"work/f");
  const KorText other = app.Path(u"work/g");
};

// --- VoidBuffer ---

TEST_F(CompressedFileTest, BufferTypeFollowsSizeAndFlag) {
  const VoidBuffer block(MakeSparse(kBlock));
  VoidBuffer packed, inflated;
  const std::tuple<std::size_t, bool, std::uint8_t> cases[] = {
      {1, false, 1}, {kBlock - 1, false, 1}, {kBlock, false, 2}, {kBlock, true, 1}};
  for (const auto& [size, large, type] : cases) {
    ASSERT_TRUE(VoidBuffer::Compress(block.Bytes().first(size), packed, large));
    EXPECT_EQ(packed.Bytes()[packed.Size() - 5], type);
    EXPECT_EQ(LoadLe32(packed.Data() + packed.Size() - 4), type == 1 ? size : 0);
    ASSERT_TRUE(VoidBuffer::Decompress(packed.Bytes(), inflated));
    EXPECT_TRUE(std::ranges::equal(inflated.Bytes(), block.Bytes().first(size)));
  }
  EXPECT_TRUE(VoidBuffer::Compress({}, packed, false));
  EXPECT_TRUE(packed.IsEmpty());
}

TEST_F(CompressedFileTest, BufferRefusesItselfAndLengthsThatCannotBe) {
  VoidBuffer buffer(AsBytes("some text"));
  EXPECT_FALSE(VoidBuffer::Compress(buffer.Bytes(), buffer, false));
  EXPECT_TRUE(buffer.IsEmpty());
  buffer = VoidBuffer(Piece(AsBytes("text")));
  EXPECT_FALSE(VoidBuffer::Decompress(buffer.Bytes(), buffer));
  EXPECT_TRUE(buffer.IsEmpty());
  EXPECT_EQ(app.Warnings(),
            (Warnings{{u"Debug Warning", u"VoidBuffer can't compress directly into self!"},
                      {u"Debug Warning", u"VoidBuffer can't decompress directly into self!"}}));
  app.ForgetReports();
  VoidBuffer packed(AsBytes("older"));
  const std::uint8_t unread = 0;
  EXPECT_FALSE(VoidBuffer::Compress32({&unread, 0xFFFFFFFF}, packed, 6));
  EXPECT_TRUE(packed.IsEmpty());
  EXPECT_EQ(app.Warnings(), (Warnings{{u"Buffer is too big!", u"VoidBuffer::Compress32"}}));
  const Bytes piece = Piece(Bytes(1000, 'a')); // zlib can't reach four GiB with so few bytes
  VoidBuffer output;
  EXPECT_FALSE(VoidBuffer::Decompress(WithNumber(piece, -4, 0xFFFFFFFF), output));
  EXPECT_EQ(output.Capacity(), 0u);
  EXPECT_FALSE(VoidBuffer::Decompress(WithNumber(piece, -4, 999), output));
}

// --- Files ---

TEST_F(CompressedFileTest, FilesAreWrittenAndReadAsTheFormatPageShows) {
  const auto examples = ReadByteExamples("compressed-file.md", "container");
  ASSERT_EQ(examples.size(), 2u);
  const Bytes text = BytesOf("N10 G00 X5\r\nN20 M30\r\n");
  for (const std::string& example : examples) {
    Bytes content;
    EXPECT_EQ(Restore(BytesOf(example), &content), FileResult::Success);
    EXPECT_EQ(content, text);
  }
  ASSERT_EQ(CompressFile(Put(u"f", text), other), FileResult::Success);
  EXPECT_EQ(Get(other), BytesOf(examples[0]));
}

TEST_F(CompressedFileTest, BlocksAndRoundTripAtEverySize) {
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{1}, std::size_t{1000}, kBlock, kBlock + 1, 2 * kBlock + 1}) {
    const Bytes content = MakeSparse(size);
    Write(path, content);
    std::optional<Bytes> first;
    for (const unsigned workers : {1u, 3u}) {
      ASSERT_EQ(CompressFile(path, other, OpenWait::No, {.workers = workers}), FileResult::Success);
      if (!first) first = Get(other);
      EXPECT_TRUE(Holds(other, *first)) << "the same for " << workers;
      ASSERT_EQ(DecompressFile(other, other, OpenWait::No, {.workers = workers}),
                FileResult::Success);
      EXPECT_TRUE(Holds(other, content));
    }
    SimpleFile source;
    source.OpenMemory(kFileRead, VoidBuffer(*first));
    ContainerInfo info;
    EXPECT_EQ(DescribeContainer(source, info), FileResult::Success);
    EXPECT_EQ(info.blocks.size(), (size + kBlock - 1) / kBlock);
    EXPECT_EQ(info.inflated, size);
    EXPECT_TRUE(size <= kBlock || info.blocks.back().inflated == 1);
  }
  EXPECT_EQ(Leftovers(), (Names{u"f", u"g"}));
}

TEST_F(CompressedFileTest, DamagedHeaders) {
  const Bytes file = Container("2005", {Framed(Piece(AsBytes("content")))});
  for (std::size_t at = 0; at < 26; ++at) {
    Bytes damaged = file;
    damaged[at] ^= 0x07;
    EXPECT_EQ(Restore(damaged), at < 22 ? FileResult::Corrupt : FileResult::WrongKind) << at;
    EXPECT_EQ(Restore(Start(file, at)), FileResult::SourceUnreadable);
    app.Put(path, TextOf(damaged));
    EXPECT_FALSE(IsCompressedFile(path));
  }
  // Half of the fixed part may differ before a file counts as another one.
  for (std::size_t differing = 8; differing < 14; ++differing) {
    Bytes damaged = file;
    for (std::size_t at = 0; at < differing; ++at)
      damaged[at] ^= 0x07;
    EXPECT_EQ(Restore(damaged), differing < 11 ? FileResult::Corrupt : FileResult::WrongKind);
  }
  EXPECT_EQ(Restore(Bytes(100, 'x')), FileResult::WrongKind);
}

TEST_F(CompressedFileTest, DamagedBlocks) {
  const Bytes good = Framed(Piece(AsBytes("first block")));
  Bytes chunked = good;
  Append(chunked, FromHex("02 00 00 00 00"));
  const auto fails = [&](const char* what, const Bytes& block, FileResult result) {
    for (const unsigned workers : {1u, 2u, 4u}) {
      SCOPED_TRACE(what);
      ContainerFault fault;
      Bytes content;
      const CompressOptions options{.workers = workers, .fault = &fault};
      EXPECT_EQ(Restore(Container("2005", {good, block}), &content, options), result);
      EXPECT_TRUE(content.empty());
      EXPECT_EQ(fault.block, 1u);
      EXPECT_EQ(fault.offset, 26 + good.size());
      EXPECT_FALSE(fault.reason.IsEmpty());
    }
  };
  fails("too long", WithNumber(good, 0, 0x2000001), FileResult::Corrupt);
  fails("longest, but not there", WithNumber(good, 0, 0x2000000), FileResult::SourceUnreadable);
  fails("no room for a trailer", WithNumber(good, 0, 4), FileResult::Corrupt);
  fails("a trailer's length", WithNumber(good, 0, 5), FileResult::Failure);
  fails("ends inside", Bytes(good.begin(), good.end() - 3), FileResult::SourceUnreadable);
  fails("half a length", FromHex("10 00"), FileResult::SourceUnreadable);
  fails("claims 4 GiB", WithNumber(good, -4, 0xFFFFFFFF), FileResult::Failure);
  fails("claims too little", WithNumber(good, -4, 3), FileResult::Failure);
  fails("chunked in a block", Framed(chunked), FileResult::Failure);
  Bytes bad = good;
  bad[12] ^= 0xFF;
  Append(bad, good);
  Append(bad, FromHex("FF FF FF FF"));
  fails("before a later fault", bad, FileResult::Failure);
  SimpleFile source;
  source.OpenMemory(kFileRead, VoidBuffer(Container("2005", {good, FromHex("10 00")})));
  ContainerFault described;
  ContainerInfo info;
  EXPECT_EQ(DescribeContainer(source, info, &described), FileResult::SourceUnreadable);
  EXPECT_EQ(described.block, 1u);
}

// Whatever a byte turns into and wherever the file ends: the right content or an error.
TEST_F(CompressedFileTest, EveryByteAndEveryLength) {
  const Bytes text = MakeBytes(300, 8);
  Bytes chunks = Framed(Piece(std::span(text).first(100)));
  Append(chunks, Framed(Piece(std::span(text).subspan(100))));
  Append(chunks, FromHex("02 00 00 00 00"));
  const Bytes files[] = {Container("2005", {Framed(Piece(std::span(text).first(100))),
                                            Framed(Piece(std::span(text).subspan(100)))}),
                         Container("2004", {Piece(text)}), Container("2004", {chunks})};
  for (const Bytes& whole : files) {
    Bytes all;
    EXPECT_EQ(Restore(whole, &all), FileResult::Success);
    EXPECT_EQ(all, text);
    SimpleFile source;
    source.OpenMemory(kFileRead, VoidBuffer(whole));
    EXPECT_EQ(InflatedSize(source), text.size());
    EXPECT_EQ(source.Position(), 0u);
    for (std::size_t at = 0; at < whole.size(); ++at) {
      for (const int flip : {0x01, 0x80, 0xFF}) {
        Bytes damaged = whole, content;
        damaged[at] = static_cast<std::uint8_t>(damaged[at] ^ flip);
        EXPECT_TRUE(Restore(damaged, &content) != FileResult::Success || content == text) << at;
      }
      Bytes content;
      const FileResult result = Restore(Start(whole, at), &content);
      source.Close();
      source.OpenMemory(kFileRead, VoidBuffer(Start(whole, at)));
      ContainerInfo info;
      const bool isOlder = &whole != files; // its end may look like a trailer by chance
      EXPECT_TRUE(isOlder || DescribeContainer(source, info) == result) << at;
      // A file that ends behind a whole block can't be told from a shorter one.
      EXPECT_TRUE(result != FileResult::Success || content.empty() || content.size() == 100) << at;
    }
  }
}

TEST_F(CompressedFileTest, BlockThatDoesNotGetSmallerIsRefused) {
  std::mt19937 random(1);
  Bytes noise(kBlock);
  for (auto& byte : noise)
    byte = static_cast<std::uint8_t>(random() >> 11);
  Write(path, noise);
  EXPECT_EQ(CompressFile(path, other), FileResult::Failure);
  EXPECT_EQ(Leftovers(), Names{u"f"});
}

TEST_F(CompressedFileTest, AFileThatAnotherWritesIsNotReplaced) {
  for (const bool packed : {false, true}) {
    const auto change = [&] {
      return packed ? DecompressFile(path, path) : CompressFile(path, path);
    };
    app.RemoveFile(path);
    app.Put(path, u"line one\r\n");
    ASSERT_TRUE(!packed || CompressFile(path, path) == FileResult::Success);
    SimpleFile writer(path);
    ASSERT_TRUE(writer.Open(kFileWrite | kFileAppend));
    EXPECT_EQ(change(), FileResult::DestinationUnwritable);
    EXPECT_EQ(Leftovers(), Names{u"f"});
    EXPECT_TRUE(writer.Close());
    EXPECT_EQ(change(), FileResult::Success);
  }
}

TEST_F(CompressedFileTest, WhatIsWrittenUntilTheFileIsHeldIsCompressedToo) {
  app.Put(path, u"line one\r\n");
  int openings = 0;
  app.WhenOpening(path, [&] {
    if (++openings == 2) app.Put(path, u"line one\r\nline two\r\n");
  });
  EXPECT_EQ(CompressFile(path, path), FileResult::Success);
  app.WhenOpening({}, {});
  EXPECT_EQ(DecompressFile(path, path), FileResult::Success);
  EXPECT_EQ(app.Content(path), u"line one\r\nline two\r\n");
}

TEST_F(CompressedFileTest, ShortReadsAndFullDisksLeaveNoTarget) {
  app.Put(path, TextOf(MakeBytes(100000, 8)));
  const auto fails = [&](auto change, const KorText& target) {
    app.LimitReads(20000);
    EXPECT_EQ(change(path, target), FileResult::SourceUnreadable);
    app.ClearFaults();
    app.LimitWrites(10000);
    EXPECT_EQ(change(path, target), FileResult::DestinationUnwritable);
    app.ClearFaults();
    EXPECT_EQ(Leftovers(), Names{u"f"});
  };
  const auto compress = [](auto&&... to) { return CompressFile(to...); };
  const auto restore = [](auto&&... to) { return DecompressFile(to...); };
  fails(compress, other);
  ASSERT_EQ(CompressFile(path, path), FileResult::Success);
  fails(restore, other);
  fails(restore, path);
  EXPECT_EQ(CompressFile(path, path), FileResult::WrongKind) << "it is compressed already";
  EXPECT_EQ(DecompressFile(path, path), FileResult::Success);
  EXPECT_EQ(Get(path), MakeBytes(100000, 8));
  app.Put(path, TextOf(Container("2004", {Piece(MakeBytes(100000, 8))})));
  fails(restore, other);
}

TEST_F(CompressedFileTest, ProgressComesInOrderAndCancels) {
  Bytes file = Container("2005", {});
  for (int block = 0; block < 9; ++block)
    Append(file, Framed(Piece(MakeBytes(1000, 4))));
  std::vector<std::uint64_t> steps;
  CompressOptions options{.workers = 3};
  options.progress = [&](std::uint64_t done, std::uint64_t total) {
    EXPECT_EQ(total, file.size());
    steps.push_back(done);
    return true;
  };
  EXPECT_EQ(Restore(file, nullptr, options), FileResult::Success);
  ASSERT_EQ(steps.size(), 9u);
  EXPECT_TRUE(std::is_sorted(steps.begin(), steps.end()));
  EXPECT_EQ(steps.back(), file.size());
  options.progress = [&](std::uint64_t done, std::uint64_t) { return done < steps[4]; };
  app.Put(path, TextOf(file));
  EXPECT_EQ(DecompressFile(path, path, OpenWait::No, options), FileResult::Failure);
  EXPECT_EQ(Get(path), file);
  options.progress = [](std::uint64_t, std::uint64_t) { return false; };
  EXPECT_EQ(Restore(Container("2004", {Piece(AsBytes("text"))}), nullptr, options),
            FileResult::Failure);
  EXPECT_EQ(Leftovers(), Names{u"f"});
}

} // namespace
} // namespace kor
