#include "files/legacy_codec.h"

#include "tests/files/file_test_support.h"
#include "tests/support/format_page.h"

namespace kor {
namespace {

const KorText kFailed = u"Failed to decompress buffer";
const KorText kSequence = u"Unsupported sequence";
const KorText kVersion = u"Unsupported compression version";

const struct {
  const char *encoded, *decoded;
  std::vector<KorText> warnings;
} kBuffers[] = {
    // version 1: literals, runs of zeros, sequences
    {"03 00 00 00 01 61 62 63", "61 62 63", {}},
    {"05 00 00 00 01 61 AF 02 62", "61 00 00 00 62", {}},
    {"04 00 00 00 01 AF 00 AE 00 61 62", "AF AE 61 62", {}},
    {"02 00 00 00 01 61 AF", "61 AF", {}},
    {"02 00 00 00 01 61 AE", "61 AE", {}},
    {"05 00 00 00 01 AE 12 AE 0C", "5B 02 00 00 FF", {}}, // cut at the end
    {"04 00 00 00 01 AE 17", "43 D5 59 8C", {}},
    {"02 00 00 00 01 61 62 63 64", "61 62", {}}, // what is left over is not looked at
    {"01 00 00 00 01 AE 18 61", "61", {kSequence}},
    {"02 00 00 00 01 AE FF 61", "61 00", {kSequence, kFailed}},
    {"02 00 00 00 01 61", "61 00", {kFailed}},
    {"02 00 00 00 01 61 AF 05", "61 00", {kFailed}}, // a run past the end
    {"00 00 00 00 01", "", {}},
    // version 0: the count's lowest byte is the version
    {"03 00 00 00 00 00 01 00 61", "00 01 00", {}},
    {"04 00 00 00 00 01 00 00 61 62", "01 00 00 61", {}},
    {"02 00 00 00 00 00 00 00 61", "00 00", {}}, // count 0
    {"02 00 00 00 00 00 00 FF 61", "00 00", {}}, // negative count
    {"02 00 00 00 00", "00 00", {}},
    // others, and damage
    {"02 00 00 00 02 61 62", "00 00", {kVersion}},
    {"02 00 00 00", "00 00", {kVersion}},
    {"02 00", "", {kVersion}},
    {"FF FF FF FF 01 61", "", {kFailed}},
};

class LegacyCodecTest : public FileTest {
 protected:
  static KorText Decoded(const Bytes& encoded) {
    std::int32_t declared = 0;
    return TextOf(DecodeLegacyBuffer(encoded, declared).Bytes());
  }
};

TEST_F(LegacyCodecTest, DecodesAndWarns) {
  for (const auto& c : kBuffers) {
    EXPECT_EQ(Decoded(FromHex(c.encoded)), TextOf(FromHex(c.decoded))) << c.encoded;
    std::vector<KorText> warnings;
    for (const auto& warning : app.Warnings()) {
      EXPECT_EQ(warning.message, u"Decompression");
      warnings.push_back(warning.info);
    }
    EXPECT_EQ(warnings, c.warnings) << c.encoded;
    app.ForgetReports();
  }
}

TEST_F(LegacyCodecTest, HugeLengthWarnsAndGoesOn) {
  std::int32_t declared = 0;
  const VoidBuffer output = DecodeLegacyBuffer(FromHex("01 00 40 06 01 61"), declared);
  EXPECT_EQ(declared, 0x6400001);
  ASSERT_EQ(output.Size(), 0x6400001u);
  EXPECT_EQ(output.Bytes()[0], 'a');
  EXPECT_EQ(app.Warnings().at(0).info, u"Silly size; corruption suspected");
}

TEST_F(LegacyCodecTest, ReadsTheFormatPagesExamples) {
  const auto encoded = ReadByteExamples("legacy-buffer.md", "legacy");
  const auto outputs = ReadByteExamples("legacy-buffer.md", "output");
  ASSERT_EQ(encoded.size(), 2u);
  ASSERT_EQ(outputs.size(), 2u);
  for (std::size_t i = 0; i < encoded.size(); ++i)
    EXPECT_EQ(Decoded(BytesOf(encoded[i])), KorText::FromBytes(outputs[i]));
  EXPECT_TRUE(app.Warnings().empty());
}

TEST_F(LegacyCodecTest, ItsTableIsTheFormatPages) {
  std::uint8_t next = 1;
  for (const std::string& line : ReadPage("legacy-buffer.md")) {
    if (!line.starts_with("| " + std::to_string(next) + " | ")) continue;
    const std::size_t bar = line.find('|', 2);
    const Bytes sequence = FromHex(line.substr(bar + 1, line.rfind('|') - bar - 2));
    const auto length = static_cast<std::uint8_t>(sequence.size());
    EXPECT_EQ(Decoded({length, 0, 0, 0, 1, 0xAE, next}), TextOf(sequence)) << line;
    ++next;
  }
  EXPECT_EQ(next, 24);
  EXPECT_TRUE(app.Warnings().empty()) << "no sequence is shorter than shown";
}

} // namespace
} // namespace kor
