// korfile on what is no plain file, and with less memory than it would like.
#include "tools/korfile/korfile.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <sys/stat.h>

#include "tests/files/file_test_support.h"
#include "tests/support/scarce_memory.h"

namespace kor {
namespace {

constexpr std::uint64_t kMebibyte = 1 << 20;

class KorfilePosixTest : public FileTest {
 protected:
  int Run(const std::vector<KorText>& words) {
    said.Clear();
    KorfileOutput output;
    output.print = output.complain = [this](const KorText& line) { said += line + u"\n"; };
    return RunKorfile(words, output);
  }
  // Runs it on a pipe that is fed the bytes meanwhile.
  int RunFed(const Bytes& bytes, std::vector<KorText> words) {
    int ends[2] = {};
    EXPECT_EQ(::pipe(ends), 0);
    words.insert(words.begin() + 1, KorText::Format(u"/proc/self/fd/%i", ends[0]));
    std::jthread writer([&] {
      EXPECT_EQ(::write(ends[1], bytes.data(), bytes.size()), std::ssize(bytes));
      ::close(ends[1]);
    });
    const int code = Run(words);
    writer.join();
    ::close(ends[0]);
    return code;
  }
  KorText said;
};

TEST_F(KorfilePosixTest, APipeIsReadToItsEnd) {
  const Bytes content = MakeBytes(200000, 8);
  const KorText packed = app.Path(u"work/packed");
  EXPECT_EQ(RunFed(content, {u"compress", u"-o", packed, u"-q"}), 0) << said.ToUtf8();
  EXPECT_EQ(RunFed(*Get(packed), {u"restore", u"-o", app.Path(u"work/plain"), u"-q"}), 0);
  EXPECT_EQ(Get(app.Path(u"work/plain")), content);
  EXPECT_EQ(RunFed(*Get(packed), {u"test"}), 0);
  EXPECT_TRUE(said.EndsWith(u": whole, 200000 bytes\n")) << said.ToUtf8();
  EXPECT_EQ(RunFed({}, {u"compress", u"-o", packed, u"-q"}), 0) << "an empty one is an empty file";
  EXPECT_EQ(Leftovers(), (Names{u"packed", u"plain"}));
}

TEST_F(KorfilePosixTest, AFileThatTheSystemMakesUpIsReadToItsEnd) {
  std::ifstream system("/proc/version");
  Put(u"work/copy", BytesOf(std::string(std::istreambuf_iterator<char>(system), {})));
  EXPECT_EQ(Run({u"crc", app.Path(u"work/copy")}), 0);
  const KorText expected = said.Left(16);
  EXPECT_EQ(Run({u"crc", u"/proc/version"}), 0);
  EXPECT_EQ(said.Left(16), expected);
}

TEST_F(KorfilePosixTest, WhatHasNoEndOrNoWriterIsRefused) {
  const KorText pipe = app.Path(u"work/pipe");
  ASSERT_EQ(::mkfifo(pipe.ToUtf8().c_str(), 0600), 0);
  for (const KorText& file : {pipe, KorText(u"/dev/null"), KorText(u"/dev/zero")})
    for (const char16_t* command : {u"test", u"crc", u"info", u"compress"})
      EXPECT_EQ(Run({command, file}), KorfileExitCode(FileResult::SourceUnreadable))
          << said.ToUtf8();
}

TEST_F(KorfilePosixTest, WantOfMemoryIsNoDamage) {
  const KorText path = app.Path(u"work/f");
  app.Put(path, u"");
  std::filesystem::resize_file(path.ToUtf8(), 96 * kMebibyte);
  {
    const ScarceMemory scarce(150 * kMebibyte);
    EXPECT_EQ(Run({u"compress", u"-j", u"8", path}), 0) << said.ToUtf8();
    EXPECT_EQ(Run({u"test", path}), 0) << said.ToUtf8();
  }
  if (!ScarceMemory::kWorks) return;
  const ScarceMemory scarce(20 * kMebibyte);
  for (const char16_t* command : {u"test", u"info", u"restore"}) {
    EXPECT_EQ(Run({command, path}), 1);
    EXPECT_TRUE(said.Contains(u"not enough memory")) << said.ToUtf8();
    EXPECT_FALSE(said.Contains(u"damaged") || said.Contains(u"backup")) << said.ToUtf8();
  }
  EXPECT_EQ(Leftovers(), Names{u"f"});
}

} // namespace
} // namespace kor
