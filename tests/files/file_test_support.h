// What the file tests share: byte texts, whole files in and out.
#pragma once

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "files/little_endian.h"
#include "files/simple_file.h"
#include "files/void_buffer.h"
#include "services/core/as_bytes.h"
#include "tests/support/test_app.h"

namespace kor {

using Bytes = std::vector<std::uint8_t>;
using Names = Texts;
using Warnings = std::vector<TestApp::Warning>;

inline Bytes BytesOf(std::string_view text) {
  return Bytes(text.begin(), text.end());
}

inline Bytes Start(const Bytes& of, std::size_t count) {
  return Bytes(of.begin(), of.begin() + static_cast<std::ptrdiff_t>(count));
}

// "EF BB BF" to bytes.
inline Bytes FromHex(std::string_view hex) {
  Bytes bytes;
  for (std::size_t at = hex.find_first_not_of(' '); at < hex.size();
       at = hex.find_first_not_of(' ', at + 2))
    bytes.push_back(
        static_cast<std::uint8_t>(std::stoi(std::string(hex.substr(at, 2)), nullptr, 16)));
  return bytes;
}

inline KorText TextOf(std::span<const std::uint8_t> bytes) {
  return KorText::FromBytes({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

// The same bytes for the same seed; `alphabet` 256: noise, few: text-like.
inline Bytes MakeBytes(std::size_t count, unsigned alphabet, unsigned seed = 1) {
  std::minstd_rand random(seed);
  Bytes bytes(count);
  for (auto& byte : bytes)
    byte = static_cast<std::uint8_t>('0' + (random() >> 8) % alphabet);
  return bytes;
}

// --- Compressed files, made by hand ---

inline void Append(Bytes& to, std::span<const std::uint8_t> bytes) {
  to.insert(to.end(), bytes.begin(), bytes.end());
}

inline void AppendNumber(Bytes& to, std::uint32_t number) {
  std::uint8_t bytes[4];
  StoreLe32(bytes, number);
  Append(to, bytes);
}

inline Bytes Piece(std::span<const std::uint8_t> content) {
  VoidBuffer piece;
  EXPECT_TRUE(VoidBuffer::Compress32(content, piece, 6));
  return Bytes(piece.Bytes().begin(), piece.Bytes().end());
}

// A length and the piece: a block of format 2005, a chunk of a type-2 piece.
inline Bytes Framed(std::span<const std::uint8_t> piece) {
  Bytes framed;
  AppendNumber(framed, static_cast<std::uint32_t>(piece.size()));
  Append(framed, piece);
  return framed;
}

inline Bytes Container(const char* year, const std::vector<Bytes>& parts) {
  Bytes file = BytesOf("KOR Compressed File \xA9 ");
  Append(file, AsBytes(year));
  for (const Bytes& part : parts)
    Append(file, part);
  return file;
}

class FileTest : public testing::Test {
 protected:
  FileTest() { app.MakeFolder(app.Path(u"work")); }
  KorText Put(std::u16string_view name, std::span<const std::uint8_t> bytes) {
    app.Put(app.Path(name), TextOf(bytes));
    return app.Path(name);
  }
  std::optional<Bytes> Get(const KorText& path) {
    const auto content = app.Content(path);
    if (!content) return std::nullopt;
    return BytesOf(content->ToBytes());
  }
  // Everything in the test's own folder and the temporary folder.
  Names Leftovers() {
    Names names = app.Names(app.Path(u"work"));
    for (const KorText& name : app.Names(app.Path(u"temp")))
      names.push_back(u"temp/" + name);
    return names;
  }

  TestApp app;
};

} // namespace kor
