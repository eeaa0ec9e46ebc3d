#include "files/legacy_codec.h"

#include "tests/files/file_test_support.h"

namespace kor {
namespace {

const KorText kSilly = u"Silly size; corruption suspected";
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

class LegacyCodecTest : public FileTest {};

TEST_F(LegacyCodecTest, DecodesAndWarns) {
  for (const auto& c : kBuffers) {
    std::int32_t declared = 0;
    const VoidBuffer output = DecodeLegacyBuffer(FromHex(c.encoded), declared);
    EXPECT_EQ(TextOf(output.Bytes()), TextOf(FromHex(c.decoded))) << c.encoded;
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
  EXPECT_EQ(app.Warnings().at(0).info, kSilly);
}

} // namespace
} // namespace kor
