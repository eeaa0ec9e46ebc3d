#include "app/nce_numbers.h"

#include <algorithm>
#include <array>

namespace kor {

namespace {

constexpr std::size_t kRequestWord = 2; // "FH"
constexpr std::size_t kHybridDigits = 7;
constexpr std::size_t kSheetDigits = 5;
constexpr std::size_t kModel500Digits = 9;

KorText PaddedFront(KorText number, std::size_t width) {
  if (number.Length() < width) number.Insert(0, KorText(width - number.Length(), u'0'));
  return number;
}

// Names that Windows gives to devices, in every folder and with any extension.
bool IsReservedName(const KorText& name) {
  constexpr std::array<const char16_t*, 4> kDevices{u"CON", u"PRN", u"AUX", u"NUL"};
  const KorText base = name.Left(std::min(name.Find(u'.'), name.Length())).Trimmed();
  if (std::any_of(kDevices.begin(), kDevices.end(),
                  [&](const char16_t* device) { return base.EqualsNoCase(device); }))
    return true;
  return base.Length() == 4 && (base.StartsWithNoCase(u"COM") || base.StartsWithNoCase(u"LPT")) &&
         IsDigit(base[3]);
}

} // namespace

KorText RequestNumber(const KorText& requestText) {
  return requestText.Mid(kRequestWord).Trimmed();
}

KorText StripLeadingZeros(const KorText& number) {
  return number.Mid(std::min(number.View().find_first_not_of(u'0'), number.Length()));
}

HybridNumber SplitHybridNumber(KorText number) {
  while (number.Length() > kHybridDigits && number[0] == u'0')
    number.Remove(0, 1);
  number = PaddedFront(number.Left(kHybridDigits), kHybridDigits);
  const std::int32_t value = number.ToInteger();
  const std::int32_t endSheet = value % 100;
  const std::int32_t first = value / 100; // LLLSS
  const std::int32_t last = first - first % 100 + endSheet;
  return {number.Left(kSheetDigits), std::max(first, last)};
}

KorText Model500Name(const KorText& requestText) {
  constexpr std::size_t kExtensionAt = 8;
  KorText name = PaddedFront(StripLeadingZeros(RequestNumber(requestText)), kModel500Digits);
  name.Insert(0, u"H");
  name.Insert(kExtensionAt, u".C");
  return name;
}

std::optional<KorText> NextNumber(const KorText& number, const SpecialFeatures& features,
                                  std::int32_t lastSheet) {
  const std::int64_t next = std::int64_t{number.ToInteger()} + 1;
  if (next > INT32_MAX) return std::nullopt;
  if (features.hybridNumber == 0) return KorText::Format(u"%i", next);
  if (next > lastSheet) return std::nullopt;
  return PaddedFront(KorText::Format(u"%i", next), kSheetDigits);
}

bool NamesFile(const KorText& number) {
  const std::u16string_view text = number.View();
  if (text.find_first_of(u"/\\:*?\"<>|") != KorText::kNone) return false;
  if (!text.empty() && text.find_first_not_of(u'.') == KorText::kNone) return false;
  return !IsReservedName(number);
}

} // namespace kor
