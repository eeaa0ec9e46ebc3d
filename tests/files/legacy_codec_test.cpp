#include "files/legacy_codec.h"

#include "tests/files/file_test_support.h"
#include "tests/support/format_page.h"

namespace kor {
namespace {

class LegacyCodecTest : public FileTest {
 protected:
  static KorText Decoded(const Bytes& encoded) {
    std::int32_t declared = 0;
    return TextOf(DecodeLegacyBuffer(encoded, declared).Bytes());
  }
};

TEST_F(LegacyCodecTest, DecodesAndWarns) {
  const auto decodes = [this](const char* encoded, const char* decoded,
                              const Texts& warnings = {}) {
    EXPECT_EQ(Decoded(FromHex(encoded)), TextOf(FromHex(decoded))) << encoded;
    Texts heard;
    for (const auto& warning : app.Warnings()) {
      EXPECT_EQ(warning.message, u"Decompression");
      heard.push_back(warning.info);
    }
    EXPECT_EQ(heard, warnings) << encoded;
    app.ForgetReports();
  };
  const KorText failed = u"Failed to decompress buffer";
  const KorText version = u"Unsupported compression version";
  // version 1: literals, runs of zeros, sequences
  decodes("03 00 00 00 01 61 62 63", "61 62 63");
  decodes("05 00 00 00 01 61 AF 02 62", "61 00 00 00 62");
  decodes("04 00 00 00 01 AF 00 AE 00 61 62", "AF AE 61 62");
  decodes("02 00 00 00 01 61 AF", "61 AF");
  decodes("02 00 00 00 01 61 AE", "61 AE");
  decodes("05 00 00 00 01 AE 12 AE 0C", "5B 02 00 00 FF"); // cut at the end
  decodes("04 00 00 00 01 AE 17", "43 D5 59 8C");
  decodes("02 00 00 00 01 61 62 63 64", "61 62"); // what is left over is not looked at
  decodes("01 00 00 00 01 AE 18 61", "61", {u"Unsupported sequence"});
  decodes("02 00 00 00 01 AE FF 61", "61 00", {u"Unsupported sequence", failed});
  decodes("02 00 00 00 01 61", "61 00", {failed});
  decodes("02 00 00 00 01 61 AF 05", "61 00", {failed}); // a run past the end
  decodes("00 00 00 00 01", "");
  // version 0: the count's lowest byte is the version
  decodes("03 00 00 00 00 00 01 00 61", "00 01 00");
  decodes("04 00 00 00 00 01 00 00 61 62", "01 00 00 61");
  decodes("02 00 00 00 00 00 00 00 61", "00 00"); // count 0
  decodes("02 00 00 00 00 00 00 FF 61", "00 00"); // negative count
  decodes("02 00 00 00 00", "00 00");
  // others, and damage
  decodes("02 00 00 00 02 61 62", "00 00", {version});
  decodes("02 00 00 00", "00 00", {version});
  decodes("02 00", "", {version});
  decodes("FF FF FF FF 01 61", "", {failed});
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
