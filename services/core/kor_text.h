// KorText: the text class of the whole system. UTF-16 (char16_t on every platform), counted length,
// owns its buffer; a zero character is an ordinary character.
//
// Bytes of the serial line and of 8-bit files are the characters of the same number (FromBytes,
// ToBytes), so NC programs travel unchanged. UTF-8 appears only at the edges: POSIX file names, the
// terminal, exports.
//
// Case folding is ASCII only everywhere: "a" to "z" fold to "A" to "Z", nothing else does.
// A value type: no locking, one thread at a time per object.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace kor {

class KorText;

// Returns the upper-case form of an ASCII letter, and every other character as it is.
constexpr char16_t FoldAscii(char16_t c) {
  return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - u'a' + u'A') : c;
}
std::u16string Folded(std::u16string_view text); // every character by FoldAscii

constexpr bool IsDigit(char16_t c) {
  return c >= u'0' && c <= u'9';
}
constexpr bool IsAsciiLetter(char16_t c) {
  return FoldAscii(c) >= u'A' && FoldAscii(c) <= u'Z';
}
// Whether the text is digits only, one at least.
bool IsNumber(std::u16string_view text);
// Returns the value of a hexadecimal digit of either case; -1 for any other character.
constexpr int HexValue(char16_t c) {
  if (IsDigit(c)) return c - u'0';
  return FoldAscii(c) >= u'A' && FoldAscii(c) <= u'F' ? FoldAscii(c) - u'A' + 10 : -1;
}

// One argument of KorText::Format, with its kind. Made implicitly from integers, reals, texts and
// single characters.
class FormatArg {
 public:
  enum class Kind { Signed, Unsigned, Real, Text, Character };

  template <class Number>
  requires(std::is_integral_v<Number> && !std::is_same_v<Number, char16_t>)
      FormatArg(Number value) // NOLINT(google-explicit-constructor): arguments of Format
      : kind(std::is_signed_v<Number> ? Kind::Signed : Kind::Unsigned),
        number(static_cast<std::uint64_t>(static_cast<std::int64_t>(value))),
        bytes(sizeof(Number)) {}
  FormatArg(double value) : kind(Kind::Real), real(value) {}                        // NOLINT
  FormatArg(char16_t value) : kind(Kind::Character), number(value) {}               // NOLINT
  FormatArg(const KorText& value);                                                  // NOLINT
  FormatArg(std::u16string_view value) : kind(Kind::Text), text(value) {}           // NOLINT
  FormatArg(const char16_t* value) : kind(Kind::Text), text(value ? value : u"") {} // NOLINT

  Kind kind;
  std::uint64_t number = 0; // two's complement for signed values
  std::size_t bytes = 4;    // width of the integer type: %x of a negative int shows 32 bits
  double real = 0;
  std::u16string_view text;
};

class KorText {
 public:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  KorText() = default;
  KorText(const char16_t* text) : chars(text ? text : u"") {} // NOLINT
  KorText(std::u16string_view text) : chars(text) {}          // NOLINT
  KorText(std::u16string text) : chars(std::move(text)) {}    // NOLINT
  KorText(std::size_t count, char16_t c) : chars(count, c) {}

  // Each byte becomes the character of the same number (0 to 255).
  static KorText FromBytes(std::string_view bytes);
  // Reads UTF-8. A byte that is no part of valid UTF-8 becomes U+DC80 to U+DCFF (0xDC00 + byte), so
  // that every POSIX file name survives the way through KorText and back.
  static KorText FromUtf8(std::string_view utf8);
  // Whether all bytes are valid UTF-8; plain ASCII is.
  static bool IsUtf8(std::string_view bytes);
  // Returns the low byte of each character; a character above 255 becomes "?".
  std::string ToBytes() const;
  // Writes UTF-8. Lone U+DC80 to U+DCFF become the byte they stand for, other lone surrogates
  // U+FFFD.
  std::string ToUtf8() const;

  std::size_t Length() const { return chars.size(); }
  bool IsEmpty() const { return chars.empty(); }
  std::u16string_view View() const { return chars; }
  operator std::u16string_view() const { return chars; } // NOLINT
  const char16_t* CStr() const { return chars.c_str(); }
  char16_t operator[](std::size_t at) const { return chars[at]; }
  char16_t Last() const { return chars.empty() ? u'\0' : chars.back(); }

  void Clear() { chars.clear(); }
  void Reserve(std::size_t count) { chars.reserve(count); }
  KorText& Append(std::u16string_view text);
  KorText& Append(char16_t c);
  KorText& operator+=(std::u16string_view text) { return Append(text); }
  KorText& operator+=(char16_t c) { return Append(c); }
  friend KorText operator+(KorText a, std::u16string_view b) { return std::move(a.Append(b)); }
  void Insert(std::size_t at, std::u16string_view text); // past the end: appended
  void Remove(std::size_t at, std::size_t count);        // cut at the end
  KorText& ReplaceAll(char16_t from, char16_t to);
  KorText& ReplaceAll(std::u16string_view from, std::u16string_view to);

  KorText Left(std::size_t count) const;
  KorText Mid(std::size_t from, std::size_t count = kNone) const; // past the end: empty
  KorText Right(std::size_t count) const;
  KorText Trimmed() const; // without blanks and tabs at both ends
  KorText PaddedRight(std::size_t width, char16_t fill = u' ') const; // at least width characters

  // The searches return a position, or kNone.
  std::size_t Find(char16_t c, std::size_t from = 0) const { return chars.find(c, from); }
  std::size_t Find(std::u16string_view text, std::size_t from = 0) const {
    return chars.find(text, from);
  }
  std::size_t FindNoCase(std::u16string_view text, std::size_t from = 0) const;
  std::size_t FindLast(char16_t c) const { return chars.rfind(c); }
  bool Contains(std::u16string_view text) const { return Find(text) != kNone; }
  bool StartsWith(std::u16string_view text) const { return chars.starts_with(text); }
  bool EndsWith(std::u16string_view text) const { return chars.ends_with(text); }
  bool StartsWithNoCase(std::u16string_view text) const;
  bool EqualsNoCase(std::u16string_view text) const;
  // Returns a negative number, 0 or a positive one; characters compare by number after folding.
  int CompareNoCase(std::u16string_view text) const;
  friend bool operator==(const KorText& a, const KorText& b) = default;
  friend auto operator<=>(const KorText& a, const KorText& b) = default;
  friend bool operator==(const KorText& a, const char16_t* b) { return a.View() == b; }
  friend bool operator==(const KorText& a, std::u16string_view b) { return a.View() == b; }

  // Reads an optional "+" or "-" and then decimal digits up to the first other character; a text
  // that starts with anything else gives 0. Values beyond 32 bits stop at the limit.
  std::int32_t ToInteger() const;
  // Does the same in 64 bits.
  std::int64_t ToInteger64() const;
  // Reads a decimal number with "." as separator and an optional exponent, as far as it can be
  // read; 0 when it can't. No locale has an effect.
  double ToReal() const;

  // Formats as printf does: %i %d %u %x %X %o %c %s %f %e %g %% with flags "-+ 0#", width,
  // precision (both may be "*"); length letters (h l ll I64 z) are accepted and ignored. Widths and
  // precisions count characters. Arguments carry their own type: a directive that does not fit its
  // argument prints the argument in its natural form, a missing argument prints nothing, a surplus
  // one is ignored.
  template <class... Args> static KorText Format(std::u16string_view format, const Args&... args) {
    return FormatList(format, {FormatArg(args)...});
  }
  static KorText FormatList(std::u16string_view format, std::initializer_list<FormatArg> args);

 private:
  std::u16string chars;
};

inline FormatArg::FormatArg(const KorText& value) : kind(Kind::Text), text(value.View()) {}

// Returns the parts between separators. Empty parts are kept; an empty text gives no part.
std::vector<KorText> Split(std::u16string_view text, char16_t separator);

} // namespace kor
