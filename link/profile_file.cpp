#include "link/profile_file.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <span>
#include <vector>

#include "files/simple_file.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

bool IsBlank(char16_t c) {
  return c <= u' ';
}

std::u16string_view Trimmed(std::u16string_view text) {
  while (!text.empty() && IsBlank(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back()))
    text.remove_suffix(1);
  return text;
}

std::u16string_view Unquoted(std::u16string_view text) {
  const bool quoted = text.size() >= 2 && text.front() == text.back() &&
                      (text.front() == u'"' || text.front() == u'\'');
  return quoted ? text.substr(1, text.size() - 2) : text;
}

KorText FromUtf16(std::span<const std::uint8_t> bytes, std::endian order) {
  const std::size_t lowAt = order == std::endian::big ? 1 : 0;
  std::u16string text(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    const unsigned low = bytes[2 * i + lowAt];
    const unsigned high = bytes[2 * i + 1 - lowAt];
    text[i] = static_cast<char16_t>(low | (high << 8));
  }
  return text;
}

KorText Decoded(std::span<const std::uint8_t> bytes) {
  const auto starts = [&](std::initializer_list<std::uint8_t> mark) {
    return bytes.size() >= mark.size() && std::equal(mark.begin(), mark.end(), bytes.begin());
  };
  if (starts({0xFF, 0xFE})) return FromUtf16(bytes.subspan(2), std::endian::little);
  if (starts({0xFE, 0xFF})) return FromUtf16(bytes.subspan(2), std::endian::big);
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (starts({0xEF, 0xBB, 0xBF})) return KorText::FromUtf8(text.substr(3));
  return KorText::IsUtf8(text) ? KorText::FromUtf8(text) : App().Locale().FromLegacyBytes(text);
}

KorText ContentOf(const KorText& path) {
  SimpleFile file(path);
  if (!file.Open(kFileRead)) return {};
  if (file.Size() > ProfileFile::kLargestProfile) {
    const KorText why = LookUpText(kTexts.settingsFileTooLarge);
    App().Report({MessageLevel::Warn, path, why, {}, 0});
    return {};
  }
  const std::optional<std::vector<std::uint8_t>> bytes = file.ReadAll();
  return bytes ? Decoded(*bytes) : KorText();
}

// Takes the "0x", "0o" or "0b" off the front.
std::uint32_t TakeRadix(std::u16string_view& text) {
  const char16_t letter = text.size() >= 2 && text[0] == u'0' ? text[1] : u'\0';
  const std::uint32_t radix = letter == u'x' ? 16 : letter == u'o' ? 8 : letter == u'b' ? 2 : 10;
  if (radix != 10) text.remove_prefix(2);
  return radix;
}

std::int32_t IntegerOf(std::u16string_view text) {
  const bool negative = text.front() == u'-';
  if (negative || text.front() == u'+') text.remove_prefix(1);
  const std::uint32_t radix = TakeRadix(text);
  std::uint32_t value = 0; // wraps
  for (const char16_t c : text) {
    const auto digit = static_cast<std::uint32_t>(HexValue(c)); // no digit: beyond every radix
    if (digit >= radix) break;
    value = value * radix + digit;
  }
  return static_cast<std::int32_t>(negative ? 0u - value : value);
}

} // namespace

ProfileFile::ProfileFile(const KorText& path) {
  Parse(ContentOf(path));
}

void ProfileFile::Parse(std::u16string_view text) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(u"\r\n"), text.size());
    ParseLine(Trimmed(text.substr(0, end)));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  current = nullptr;
}

void ProfileFile::ParseLine(std::u16string_view line) {
  if (line.empty() || line.front() == u';') return;
  const std::size_t close = line.rfind(u']');
  if (line.front() == u'[' && close != line.npos) {
    // Keys below a second header of the same name belong to no section that can be asked for.
    const auto [place, isNew] = sections.try_emplace(Folded(Trimmed(line.substr(1, close - 1))));
    current = isNew ? &place->second : nullptr;
    return;
  }
  const std::size_t equals = line.find(u'=');
  if (!current || equals == line.npos) return;
  std::u16string_view value = Trimmed(line.substr(equals + 1));
  value = value.substr(0, std::min(value.find(u'\0'), value.size()));
  current->try_emplace(Folded(Trimmed(line.substr(0, equals))), KorText(Unquoted(value)));
}

const KorText* ProfileFile::Find(std::u16string_view section, std::u16string_view key) const {
  const auto inSections = sections.find(Folded(section));
  if (inSections == sections.end()) return nullptr;
  const auto inKeys = inSections->second.find(Folded(key));
  return inKeys == inSections->second.end() ? nullptr : &inKeys->second;
}

KorText ProfileFile::Text(std::u16string_view section, std::u16string_view key,
                          const KorText& byDefault, std::size_t bufferSize) const {
  if (bufferSize == 0) return {};
  const KorText* value = Find(section, key);
  if (value) return value->Left(bufferSize - 1);
  std::u16string_view standard = byDefault;
  while (!standard.empty() && standard.back() == u' ')
    standard.remove_suffix(1);
  return KorText(standard.substr(0, bufferSize - 1));
}

std::int32_t ProfileFile::Integer(std::u16string_view section, std::u16string_view key,
                                  std::int32_t byDefault) const {
  const KorText* value = Find(section, key);
  const std::u16string_view digits = value ? Trimmed(*value) : std::u16string_view();
  return digits.empty() ? byDefault : IntegerOf(digits);
}

} // namespace kor
