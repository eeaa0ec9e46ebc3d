#include "services/core/kor_text.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <limits>
#include <optional>
#include <span>

namespace kor {

std::u16string Folded(std::u16string_view text) {
  std::u16string folded(text);
  std::transform(folded.begin(), folded.end(), folded.begin(), FoldAscii);
  return folded;
}

bool IsNumber(std::u16string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

namespace {

constexpr char16_t kReplacement = 0xFFFD;
constexpr char16_t kEscapedByte = 0xDC00; // plus the byte, 0x80 to 0xFF

bool IsHighSurrogate(char16_t c) {
  return c >= 0xD800 && c <= 0xDBFF;
}
bool IsLowSurrogate(char16_t c) {
  return c >= 0xDC00 && c <= 0xDFFF;
}

// One code point of valid UTF-8 at the front of bytes.
struct Decoded {
  char32_t point = 0;
  std::size_t length = 0; // 0: no valid sequence starts here
};

// The smallest code point that a sequence of this length may hold.
char32_t SmallestPoint(std::size_t length) {
  return length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
}

std::size_t SequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead < 0xE0) return 2;
  if (lead >= 0xE0 && lead < 0xF0) return 3;
  if (lead >= 0xF0 && lead < 0xF5) return 4;
  return 0;
}

Decoded DecodeUtf8(std::string_view bytes) {
  const auto lead = static_cast<unsigned char>(bytes[0]);
  const std::size_t length = SequenceLength(lead);
  if (length == 1) return {lead, 1};
  if (length == 0 || bytes.size() < length) return {};
  char32_t point = lead & (0x7Fu >> length);
  for (const char byte : bytes.substr(1, length - 1)) {
    const auto next = static_cast<unsigned char>(byte);
    if ((next & 0xC0) != 0x80) return {};
    point = (point << 6) | (next & 0x3Fu);
  }
  const bool surrogate = point >= 0xD800 && point <= 0xDFFF;
  if (point < SmallestPoint(length) || surrogate || point > 0x10FFFF) return {};
  return {point, length};
}

void AppendPoint(std::u16string& to, char32_t point) {
  if (point < 0x10000) {
    to.push_back(static_cast<char16_t>(point));
    return;
  }
  to.push_back(static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10)));
  to.push_back(static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF)));
}

void AppendUtf8(std::string& to, char32_t point) {
  if (point < 0x80) {
    to.push_back(static_cast<char>(point));
    return;
  }
  const int more = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
  const char32_t mark = more == 1 ? 0xC0 : more == 2 ? 0xE0 : 0xF0;
  to.push_back(static_cast<char>(mark | (point >> (6 * more))));
  for (int i = more - 1; i >= 0; --i) {
    to.push_back(static_cast<char>(0x80 | ((point >> (6 * i)) & 0x3F)));
  }
}

std::int64_t ReadInteger(std::u16string_view text, std::int64_t lowest, std::int64_t highest) {
  const bool negative = !text.empty() && text[0] == u'-';
  if (negative || (!text.empty() && text[0] == u'+')) text.remove_prefix(1);
  // Counted below zero, where the range is one larger.
  const std::int64_t limit = negative ? lowest : -highest;
  std::int64_t value = 0;
  for (const char16_t c : text) {
    if (!IsDigit(c)) break;
    const int digit = c - u'0';
    if (value < (limit + digit) / 10) return negative ? lowest : highest;
    value = value * 10 - digit;
  }
  return negative ? value : -value;
}

// Whether a number that does not fit a double is too large; otherwise it is too near to zero. The
// decimal place of the first digit that counts decides.
bool IsBeyondLargest(std::string_view number) {
  const std::size_t exponentAt = std::min(number.find_first_of("eE"), number.size());
  const std::string_view digits = number.substr(0, exponentAt);
  const std::size_t point = std::min(digits.find('.'), digits.size());
  const std::size_t first = digits.find_first_not_of("0.");
  std::int64_t exponent = 0;
  if (exponentAt < number.size()) {
    exponent = KorText::FromBytes(number.substr(exponentAt + 1)).ToInteger();
  }
  return static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first) + exponent > 0;
}

// --- Format ---

// Keeps a damaged format text from asking for gigabytes.
constexpr std::size_t kWidestField = 0xFFFF;

struct Directive {
  bool left = false, plus = false, blank = false, zero = false, alternate = false;
  std::size_t width = 0;
  std::optional<std::size_t> precision;
  char16_t conversion = 0;
};

// Formats one text with its arguments, in one pass.
class Formatter {
 public:
  Formatter(std::u16string_view formatText, std::span<const FormatArg> arguments)
      : format(formatText), args(arguments) {}

  std::u16string Run() {
    while (at < format.size()) {
      const std::size_t percent = std::min(format.find(u'%', at), format.size());
      out.append(format.substr(at, percent - at));
      at = percent;
      if (at < format.size()) PutDirective();
    }
    return std::move(out);
  }

 private:
  void PutDirective();
  void ReadFlags(Directive& directive);
  std::int64_t ReadCount();
  void SkipLengthLetters();
  const FormatArg* Next() { return nextArg < args.size() ? &args[nextArg++] : nullptr; }
  void PutArgument(const Directive& directive, const FormatArg& arg);
  void PutText(const Directive& directive, std::u16string_view text);
  void PutInteger(const Directive& directive, const FormatArg& arg);
  void PutReal(const Directive& directive, double value);
  void PutNumber(const Directive& directive, std::string_view prefix, std::string_view digits,
                 bool zeroFill);

  std::u16string_view format;
  std::span<const FormatArg> args;
  std::u16string out;
  std::size_t at = 0;
  std::size_t nextArg = 0;
};

void Formatter::ReadFlags(Directive& directive) {
  for (; at < format.size(); ++at) {
    switch (format[at]) {
    case u'-':
      directive.left = true;
      break;
    case u'+':
      directive.plus = true;
      break;
    case u' ':
      directive.blank = true;
      break;
    case u'0':
      directive.zero = true;
      break;
    case u'#':
      directive.alternate = true;
      break;
    default:
      return;
    }
  }
}

// Decimal digits, or "*" for the next argument.
std::int64_t Formatter::ReadCount() {
  constexpr auto kLimit = static_cast<std::int64_t>(kWidestField);
  if (at < format.size() && format[at] == u'*') {
    ++at;
    const FormatArg* arg = Next();
    const bool isNumber = arg && arg->kind <= FormatArg::Kind::Unsigned;
    return isNumber ? std::clamp(static_cast<std::int64_t>(arg->number), -kLimit, kLimit) : 0;
  }
  std::int64_t count = 0;
  for (; at < format.size() && IsDigit(format[at]); ++at) {
    count = std::min(count * 10 + (format[at] - u'0'), kLimit);
  }
  return count;
}

void Formatter::SkipLengthLetters() {
  constexpr std::u16string_view kLetters = u"hlzjtLq";
  while (at < format.size() && kLetters.find(format[at]) != kLetters.npos)
    ++at;
  const std::u16string_view rest = format.substr(at);
  if (rest.starts_with(u"I64") || rest.starts_with(u"I32")) at += 3;
}

// at stands on the "%". What is no directive is put out as it stands.
void Formatter::PutDirective() {
  const std::size_t start = at++;
  Directive directive;
  ReadFlags(directive);
  const std::int64_t width = ReadCount();
  directive.left = directive.left || width < 0;
  directive.width = static_cast<std::size_t>(width < 0 ? -width : width);
  if (at < format.size() && format[at] == u'.') {
    ++at;
    const std::int64_t precision = ReadCount();
    if (precision >= 0) directive.precision = static_cast<std::size_t>(precision);
  }
  SkipLengthLetters();
  directive.conversion = at < format.size() ? format[at++] : u'\0';
  if (directive.conversion == u'%') {
    out.push_back(u'%');
  } else if (std::u16string_view(u"diuxXocsfFeEgG").find(directive.conversion) == KorText::kNone) {
    out.append(format.substr(start, at - start));
  } else if (const FormatArg* arg = Next()) {
    PutArgument(directive, *arg);
  }
}

void Formatter::PutArgument(const Directive& directive, const FormatArg& arg) {
  using Kind = FormatArg::Kind;
  const char16_t conversion = directive.conversion;
  const bool asCharacter = conversion == u'c' || conversion == u's';
  if (arg.kind == Kind::Text) {
    PutText(directive, arg.text);
  } else if (arg.kind == Kind::Real) {
    PutReal(directive, arg.real);
  } else if (conversion == u'c' || (arg.kind == Kind::Character && asCharacter)) {
    const auto c = static_cast<char16_t>(arg.number);
    PutText(directive, std::u16string_view(&c, 1));
  } else {
    PutInteger(directive, arg);
  }
}

void Formatter::PutText(const Directive& directive, std::u16string_view text) {
  // A precision shortens %s only.
  if (directive.conversion == u's' && directive.precision) {
    text = text.substr(0, *directive.precision);
  }
  const std::size_t fill = directive.width > text.size() ? directive.width - text.size() : 0;
  if (!directive.left) out.append(fill, u' ');
  out.append(text);
  if (directive.left) out.append(fill, u' ');
}

// prefix is the sign or "0x"; zeros go between it and the digits.
void Formatter::PutNumber(const Directive& directive, std::string_view prefix,
                          std::string_view digits, bool zeroFill) {
  const std::size_t length = prefix.size() + digits.size();
  const std::size_t fill = directive.width > length ? directive.width - length : 0;
  const bool zeros = zeroFill && directive.zero && !directive.left;
  if (!directive.left && !zeros) out.append(fill, u' ');
  out.append(prefix.begin(), prefix.end());
  if (zeros) out.append(fill, u'0');
  out.append(digits.begin(), digits.end());
  if (directive.left) out.append(fill, u' ');
}

std::string_view SignOf(const Directive& directive, bool negative) {
  return negative ? "-" : directive.plus ? "+" : directive.blank ? " " : "";
}

// The value as an unsigned directive sees it: of the width that the argument has after promotion.
std::uint64_t AsUnsigned(const FormatArg& arg) {
  return arg.bytes > 4 ? arg.number : arg.number & 0xFFFFFFFFu;
}

std::string IntegerDigits(std::uint64_t value, char16_t conversion) {
  const int base = FoldAscii(conversion) == u'X' ? 16 : conversion == u'o' ? 8 : 10;
  char buffer[24];
  const auto end = std::to_chars(std::begin(buffer), std::end(buffer), value, base).ptr;
  if (conversion == u'X') {
    std::transform(buffer, end, buffer,
                   [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
  }
  return std::string(buffer, end);
}

void Formatter::PutInteger(const Directive& directive, const FormatArg& arg) {
  const char16_t conversion = directive.conversion;
  const bool asUnsigned = std::u16string_view(u"uxXo").find(conversion) != KorText::kNone;
  const bool negative = !asUnsigned && arg.kind == FormatArg::Kind::Signed &&
                        static_cast<std::int64_t>(arg.number) < 0;
  const std::uint64_t value = negative     ? std::uint64_t{0} - arg.number
                              : asUnsigned ? AsUnsigned(arg)
                                           : arg.number;
  std::string digits = IntegerDigits(value, conversion);
  // The precision of %s and of the real directives says nothing about an integer.
  const bool isInteger = asUnsigned || conversion == u'd' || conversion == u'i';
  const std::size_t leastDigits = isInteger ? directive.precision.value_or(1) : 1;
  if (leastDigits == 0 && value == 0) digits.clear();
  if (digits.size() < leastDigits) digits.insert(0, leastDigits - digits.size(), '0');
  if (directive.alternate && conversion == u'o' && !digits.starts_with('0')) digits.insert(0, "0");
  const bool hex = FoldAscii(conversion) == u'X' && directive.alternate && value != 0;
  const std::string_view prefix = hex && conversion == u'X' ? "0X"
                                  : hex                     ? "0x"
                                  : asUnsigned              ? ""
                                                            : SignOf(directive, negative);
  PutNumber(directive, prefix, digits, !isInteger || !directive.precision);
}

std::string RealDigits(double value, std::chars_format form, std::size_t precision) {
  std::string buffer(precision + 400, '\0'); // the largest double has 309 digits before the point
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, form,
                                 static_cast<int>(precision));
  buffer.resize(static_cast<std::size_t>(end.ptr - buffer.data()));
  return buffer;
}

// %#g keeps the zeros at the end that %g drops.
std::string GeneralWithZeros(double value, std::size_t precision) {
  const std::string scientific = RealDigits(value, std::chars_format::scientific, precision - 1);
  const auto exponent =
      KorText::FromBytes(std::string_view(scientific).substr(scientific.find('e') + 1)).ToInteger();
  const auto significant = static_cast<std::int64_t>(precision);
  if (exponent < -4 || exponent >= significant) return scientific;
  return RealDigits(value, std::chars_format::fixed,
                    static_cast<std::size_t>(significant - 1 - exponent));
}

std::string RealDigits(const Directive& directive, double value) {
  const std::size_t precision = directive.precision.value_or(6);
  const std::size_t significant = std::max<std::size_t>(precision, 1);
  std::string digits;
  switch (FoldAscii(directive.conversion)) {
  case u'F':
    digits = RealDigits(value, std::chars_format::fixed, precision);
    break;
  case u'E':
    digits = RealDigits(value, std::chars_format::scientific, precision);
    break;
  case u'G':
    digits = directive.alternate ? GeneralWithZeros(value, significant)
                                 : RealDigits(value, std::chars_format::general, significant);
    break;
  default: { // a directive of another kind: the shortest text that reads back as the same number
    char buffer[32];
    return std::string(buffer, std::to_chars(std::begin(buffer), std::end(buffer), value).ptr);
  }
  }
  if (directive.alternate && digits.find('.') == digits.npos) {
    digits.insert(std::min(digits.find('e'), digits.size()), ".");
  }
  return digits;
}

void Formatter::PutReal(const Directive& directive, double value) {
  const bool negative = std::bit_cast<std::uint64_t>(value) >> 63 != 0;
  const bool finite = value - value == 0;
  std::string digits =
      !finite ? (value != value ? "nan" : "inf") : RealDigits(directive, negative ? -value : value);
  if (std::u16string_view(u"EFG").find(directive.conversion) != KorText::kNone) {
    for (char& c : digits)
      c = static_cast<char>(FoldAscii(static_cast<unsigned char>(c)));
  }
  PutNumber(directive, SignOf(directive, negative), digits, finite);
}

} // namespace

KorText KorText::FromBytes(std::string_view bytes) {
  std::u16string text(bytes.size(), u'\0');
  std::transform(bytes.begin(), bytes.end(), text.begin(),
                 [](char c) { return static_cast<char16_t>(static_cast<unsigned char>(c)); });
  return KorText(std::move(text));
}

KorText KorText::FromUtf8(std::string_view utf8) {
  std::u16string text;
  text.reserve(utf8.size());
  while (!utf8.empty()) {
    const Decoded next = DecodeUtf8(utf8);
    if (next.length == 0) {
      text.push_back(
          static_cast<char16_t>(kEscapedByte + static_cast<unsigned char>(utf8.front())));
    } else {
      AppendPoint(text, next.point);
    }
    utf8.remove_prefix(std::max<std::size_t>(next.length, 1));
  }
  return KorText(std::move(text));
}

bool KorText::IsUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t length = DecodeUtf8(bytes).length;
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

std::string KorText::ToBytes() const {
  std::string bytes(chars.size(), '\0');
  std::transform(chars.begin(), chars.end(), bytes.begin(),
                 [](char16_t c) { return c > 255 ? '?' : static_cast<char>(c); });
  return bytes;
}

std::string KorText::ToUtf8() const {
  std::string utf8;
  utf8.reserve(chars.size());
  for (std::size_t i = 0; i < chars.size(); ++i) {
    const char16_t c = chars[i];
    if (IsHighSurrogate(c) && i + 1 < chars.size() && IsLowSurrogate(chars[i + 1])) {
      const char32_t high = c - 0xD800u, low = chars[++i] - 0xDC00u;
      AppendUtf8(utf8, 0x10000 + (high << 10) + low);
    } else if (c >= kEscapedByte + 0x80 && c <= kEscapedByte + 0xFF) {
      utf8.push_back(static_cast<char>(c - kEscapedByte));
    } else {
      AppendUtf8(utf8, IsHighSurrogate(c) || IsLowSurrogate(c) ? kReplacement : c);
    }
  }
  return utf8;
}

KorText& KorText::Append(std::u16string_view text) {
  chars.append(text);
  return *this;
}

KorText& KorText::Append(char16_t c) {
  chars.push_back(c);
  return *this;
}

void KorText::Insert(std::size_t at, std::u16string_view text) {
  chars.insert(std::min(at, chars.size()), text);
}

void KorText::Remove(std::size_t at, std::size_t count) {
  if (at < chars.size()) chars.erase(at, count);
}

KorText& KorText::ReplaceAll(char16_t from, char16_t to) {
  std::replace(chars.begin(), chars.end(), from, to);
  return *this;
}

KorText& KorText::ReplaceAll(std::u16string_view from, std::u16string_view to) {
  if (from.empty()) return *this;
  std::u16string replaced;
  std::size_t at = 0;
  for (std::size_t found = chars.find(from); found != kNone; found = chars.find(from, at)) {
    replaced.append(chars, at, found - at).append(to);
    at = found + from.size();
  }
  replaced.append(chars, at, kNone);
  chars = std::move(replaced);
  return *this;
}

KorText KorText::Left(std::size_t count) const {
  return View().substr(0, count);
}

KorText KorText::Mid(std::size_t from, std::size_t count) const {
  return from < chars.size() ? KorText(View().substr(from, count)) : KorText();
}

KorText KorText::Right(std::size_t count) const {
  return View().substr(chars.size() - std::min(count, chars.size()));
}

KorText KorText::Trimmed() const {
  const std::size_t first = chars.find_first_not_of(u" \t");
  if (first == kNone) return {};
  return View().substr(first, chars.find_last_not_of(u" \t") - first + 1);
}

KorText KorText::PaddedRight(std::size_t width, char16_t fill) const {
  KorText padded = *this;
  if (padded.Length() < width) padded.chars.resize(width, fill);
  return padded;
}

std::size_t KorText::FindNoCase(std::u16string_view text, std::size_t from) const {
  if (from > chars.size()) return kNone;
  const auto equal = [](char16_t a, char16_t b) { return FoldAscii(a) == FoldAscii(b); };
  const auto start = chars.begin() + static_cast<std::ptrdiff_t>(from);
  const auto found = std::search(start, chars.end(), text.begin(), text.end(), equal);
  if (found == chars.end() && !text.empty()) return kNone;
  return static_cast<std::size_t>(found - chars.begin());
}

bool KorText::StartsWithNoCase(std::u16string_view text) const {
  return Left(text.size()).EqualsNoCase(text);
}

bool KorText::EqualsNoCase(std::u16string_view text) const {
  return CompareNoCase(text) == 0;
}

int KorText::CompareNoCase(std::u16string_view text) const {
  const std::size_t common = std::min(chars.size(), text.size());
  for (std::size_t i = 0; i < common; ++i) {
    const int difference = FoldAscii(chars[i]) - FoldAscii(text[i]);
    if (difference != 0) return difference;
  }
  return chars.size() < text.size() ? -1 : chars.size() > text.size() ? 1 : 0;
}

std::int32_t KorText::ToInteger() const {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(ReadInteger(chars, Limits::min(), Limits::max()));
}

std::int64_t KorText::ToInteger64() const {
  using Limits = std::numeric_limits<std::int64_t>;
  return ReadInteger(chars, Limits::min(), Limits::max());
}

double KorText::ToReal() const {
  const std::string bytes = ToBytes();
  std::string_view number = bytes;
  const bool negative = number.starts_with('-');
  if (negative || number.starts_with('+')) number.remove_prefix(1);
  // Only what starts like a number: no second sign, "inf" or "nan".
  const bool starts =
      !number.empty() && (IsDigit(static_cast<unsigned char>(number[0])) || number[0] == '.');
  if (!starts) return 0;
  double value = 0;
  const auto end = std::from_chars(number.data(), number.data() + number.size(), value);
  if (end.ec == std::errc::result_out_of_range) {
    const auto length = static_cast<std::size_t>(end.ptr - number.data());
    const bool large = IsBeyondLargest(number.substr(0, length));
    value = large ? std::numeric_limits<double>::max() : 0;
  }
  return negative ? -value : value;
}

KorText KorText::FormatList(std::u16string_view format, std::initializer_list<FormatArg> args) {
  return KorText(Formatter(format, {args.begin(), args.size()}).Run());
}

std::vector<KorText> Split(std::u16string_view text, char16_t separator) {
  std::vector<KorText> parts;
  while (!text.empty()) {
    const std::size_t end = text.find(separator);
    parts.emplace_back(text.substr(0, end));
    if (end == text.npos) return parts;
    text.remove_prefix(end + 1);
    if (text.empty()) parts.emplace_back();
  }
  return parts;
}

} // namespace kor
