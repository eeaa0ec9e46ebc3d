// ProfileFile: a plain settings profile, read with the meaning of the platform's profile functions
// on every platform. Read only; the whole file is taken in by the constructor. Owned by the caller,
// one thread at a time.
//
// Rules:
// - a line "[name]" starts a section: from the first character that is no blank to the last "]"
//   behind it; other lines of the form "key=value" belong to the section above them;
// - names compare without regard to the case of "a" to "z"; the first section of a name counts, and
//   in it the first line of a key;
// - lines whose first character is ";" are comments; behind a value there are none;
// - blanks around section names, keys and values are dropped, then one pair of matching single or
//   double quotes around a value;
// - lines end with LF, CR LF or CR; a value ends at a zero character;
// - the encoding is that of the mark (UTF-8, UTF-16 of either byte order); without a mark the file
// is
//   UTF-8 when all of it is valid UTF-8, else what OsLocale::FromLegacyBytes makes of it.
//
// A file that is missing, unreadable, no profile at all, or larger than kLargestProfile (of which
// the user is told) reads as an empty one: every key takes its default.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "services/core/kor_text.h"

namespace kor {

class ProfileFile {
 public:
  static constexpr std::uint64_t kLargestProfile = 1u << 20; // bytes
  static constexpr std::size_t kTextBuffer = 80;             // characters, with the closing zero

  explicit ProfileFile(const KorText& path);

  // Returns a value, cut to one character less than the buffer holds. The default of a missing key
  // loses its trailing blanks; a key with an empty value gives an empty text.
  KorText Text(std::u16string_view section, std::u16string_view key, const KorText& byDefault,
               std::size_t bufferSize = kTextBuffer) const;
  // Reads a sign and digits up to the first other character, with "0x", "0o" or "0b" (lower case)
  // in front of hexadecimal, octal and binary digits, modulo 2 to the 32nd. A missing or empty
  // value gives the default, any other text 0.
  std::int32_t Integer(std::u16string_view section, std::u16string_view key,
                       std::int32_t byDefault) const;

 private:
  using Section = std::unordered_map<std::u16string, KorText>; // folded key to value

  const KorText* Find(std::u16string_view section, std::u16string_view key) const;
  void Parse(std::u16string_view text);
  void ParseLine(std::u16string_view line);

  std::unordered_map<std::u16string, Section> sections; // by folded name
  Section* current = nullptr; // while parsing: what takes the keys; null: nothing does
};

} // namespace kor
