// Compares the examples of docs/formats/compressed-file.md and legacy-buffer.md with what the code
// writes and reads.
#include "files/compressed_file.h"
#include "files/legacy_codec.h"
#include "tests/files/file_test_support.h"
#include "tests/support/format_page.h"

namespace kor {
namespace {

class FormatPages : public FileTest {};

TEST_F(FormatPages, CompressedFilesAreWrittenAndReadAsShown) {
  const auto examples = ReadByteExamples("compressed-file.md", "container");
  ASSERT_EQ(examples.size(), 2u);
  const Bytes text = BytesOf("N10 G00 X5\r\nN20 M30\r\n");
  for (const std::string& example : examples) {
    SimpleFile file(Put(u"f", AsBytes(example)));
    ASSERT_TRUE(file.Open(kFileRead, OpenWait::No, Compression::Yes));
    EXPECT_EQ(file.ReadAll(), text);
  }
  ASSERT_EQ(CompressFile(Put(u"f", text), app.Path(u"g")), FileResult::Success);
  EXPECT_EQ(Get(app.Path(u"g")), BytesOf(examples[0]));
}

TEST_F(FormatPages, LegacyBuffersAreReadAsShown) {
  const auto encoded = ReadByteExamples("legacy-buffer.md", "legacy");
  const auto outputs = ReadByteExamples("legacy-buffer.md", "output");
  ASSERT_EQ(encoded.size(), 2u);
  ASSERT_EQ(outputs.size(), 2u);
  for (std::size_t i = 0; i < encoded.size(); ++i) {
    std::int32_t declared = 0;
    EXPECT_EQ(TextOf(DecodeLegacyBuffer(BytesOf(encoded[i]), declared).Bytes()),
              KorText::FromBytes(outputs[i]));
  }
  EXPECT_TRUE(app.Warnings().empty());
}

TEST_F(FormatPages, LegacyTableIsTheOneShown) {
  std::uint8_t next = 1;
  for (const std::string& line : ReadPage("legacy-buffer.md")) {
    if (!line.starts_with("| " + std::to_string(next) + " | ")) continue;
    const std::size_t bar = line.find('|', 2);
    const Bytes sequence = FromHex(line.substr(bar + 1, line.rfind('|') - bar - 2));
    std::int32_t declared = 0;
    const Bytes encoded = {static_cast<std::uint8_t>(sequence.size()), 0, 0, 0, 1, 0xAE, next};
    EXPECT_EQ(TextOf(DecodeLegacyBuffer(encoded, declared).Bytes()), TextOf(sequence)) << line;
    ++next;
  }
  EXPECT_EQ(next, 24);
  EXPECT_TRUE(app.Warnings().empty()) << "no sequence is shorter than shown";
}

} // namespace
} // namespace kor
