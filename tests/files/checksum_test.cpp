#include "files/checksum.h"

#include "tests/files/file_test_support.h"

namespace kor {
namespace {

constexpr CrcMethod kMethods[] = {CrcMethod::Bytewise, CrcMethod::Slicing, CrcMethod::Folding};

// Division by the polynomial, a bit at a time.
std::uint64_t DivideBitwise(std::uint64_t crc, std::span<const std::uint8_t> bytes) {
  for (const std::uint8_t byte : bytes)
    for (unsigned bit = 0; bit < 8; ++bit) {
      const bool carry = ((crc ^ (byte >> bit)) & 1) != 0;
      crc = (crc >> 1) ^ (carry ? 0xD800000000000000 : 0);
    }
  return crc;
}

TEST(FileCrc, KnownText) {
  FileCrc crc;
  crc.Add(AsBytes("IHATEMATH"));
  EXPECT_EQ(crc.Value(), 0xE3DCADD69B01ADD1u);
  EXPECT_EQ(crc.count, 9u);
  EXPECT_EQ(crc.low, 0x9B01ADD1u);
}

TEST(FileCrc, EveryMethodDividesAtEveryLengthAndAlignment) {
  const Bytes noise = MakeBytes(600, 200);
  for (std::size_t length = 0; length < 300; ++length) {
    const auto bytes = std::span(noise).subspan(length % 37, length);
    const std::uint64_t start = length % 2 == 0 ? 0 : 0x0123456789ABCDEF * length;
    const std::uint64_t expected = DivideBitwise(start, bytes);
    for (const CrcMethod method : kMethods)
      ASSERT_EQ(UpdateCrc(method, start, bytes), expected)
          << "length " << length << " method " << static_cast<int>(method);
  }
}

class FileCrcOfFiles : public FileTest {};

TEST_F(FileCrcOfFiles, WholeFileWhateverItsSize) {
  for (const std::size_t size : {0u, 1u, 65535u, 65536u, 65537u, 200001u}) {
    const Bytes bytes = MakeBytes(size, 200);
    SimpleFile file(Put(u"f", bytes));
    FileCrc expected, crc;
    expected.Add(bytes);
    EXPECT_TRUE(file.GetFileCrc(crc)) << size;
    EXPECT_EQ(crc, expected) << size;
    EXPECT_FALSE(file.IsOpen());
  }
}

TEST_F(FileCrcOfFiles, HalfACharacterOfAWideFileIsLeftOut) {
  Bytes bytes = MakeBytes(65537, 20);
  bytes[0] = 0xFF;
  bytes[1] = 0xFE;
  SimpleFile file(Put(u"f", bytes));
  FileCrc expected, crc, ofBytes;
  expected.Add(std::span(bytes).first(65536));
  EXPECT_TRUE(file.GetFileCrc(crc, kFileText));
  EXPECT_EQ(crc, expected);
  expected.Add(std::span(bytes).last(1));
  EXPECT_TRUE(file.GetFileCrc(ofBytes));
  EXPECT_EQ(ofBytes, expected) << "but not where it is read as bytes";
}

TEST_F(FileCrcOfFiles, OpenAndMissingFilesAndShortReadsFail) {
  FileCrc crc;
  EXPECT_FALSE(SimpleFile(app.Path(u"missing")).GetFileCrc(crc));
  SimpleFile file(Put(u"f", MakeBytes(100000, 10)));
  ASSERT_TRUE(file.Open(kFileRead));
  EXPECT_FALSE(file.GetFileCrc(crc));
  EXPECT_TRUE(file.IsOpen());
  EXPECT_EQ(app.Warnings(), (Warnings{{u"Debug Warning", u"Cannot get CRC of open file!"}}));
  file.Close();
  app.LimitReads(70000);
  EXPECT_FALSE(file.GetFileCrc(crc));
  EXPECT_FALSE(file.IsOpen());
}

} // namespace
} // namespace kor
