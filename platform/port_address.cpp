#include "platform/port_address.h"

#include <algorithm>
#include <array>
#include <utility>

#include "services/core/text_lookup.h"

namespace kor {

namespace {

using Scheme = PortAddress::Scheme;

constexpr char16_t kMark[] = u"://";
constexpr std::size_t kLongestHost = 255; // characters, as in the name system

KorText Refused(const KorText& address, const UserText& text) {
  return KorText::Format(LookUpText(text), address);
}

bool TakeScheme(const KorText& text, PortAddress& address) {
  static constexpr std::array<std::pair<std::u16string_view, Scheme>, 3> kSchemes{
      {{u"rfc2217", Scheme::Rfc2217}, {u"tcp", Scheme::Raw}, {u"tcp-listen", Scheme::Listen}}};
  const KorText name = text.Left(text.Find(kMark));
  const auto known = std::ranges::find_if(
      kSchemes, [&](const auto& scheme) { return name.EqualsNoCase(scheme.first); });
  if (known == kSchemes.end()) return false;
  address.scheme = known->second;
  return true;
}

bool TakePort(const KorText& digits, PortAddress& address) {
  if (!IsNumber(digits) || digits.Length() > 5 || digits.ToInteger() < 1 ||
      digits.ToInteger() > 0xFFFF)
    return false;
  address.port = static_cast<std::uint16_t>(digits.ToInteger());
  return true;
}

bool IsHostCharacter(char16_t c, bool inBrackets) {
  const bool isName = IsDigit(c) || IsAsciiLetter(c) || c == u'-' || c == u'.' || c == u'_';
  return isName || c > 0x7F || (inBrackets && (c == u':' || c == u'%'));
}

bool TakeHost(KorText host, PortAddress& address) {
  const bool inBrackets = host.StartsWith(u"[") && host.EndsWith(u"]");
  if (inBrackets) host = host.Mid(1, host.Length() - 2);
  if (host.IsEmpty() && address.scheme != Scheme::Listen) return false;
  if (host.Length() > kLongestHost) return false;
  address.host = host.ToUtf8();
  return std::ranges::all_of(host.View(),
                             [&](char16_t c) { return IsHostCharacter(c, inBrackets); });
}

} // namespace

bool IsPortAddress(const KorText& text) {
  return text.Contains(kMark);
}

KorText ParsePortAddress(const KorText& text, PortAddress& address) {
  if (std::ranges::any_of(text.View(), [](char16_t c) { return c <= u' '; }))
    return Refused(text, kTexts.addressWithBlank);
  if (!IsPortAddress(text) || !TakeScheme(text, address))
    return Refused(text, kTexts.noLineAddress);
  const KorText place = text.Mid(text.Find(kMark) + 3);
  const std::size_t bracket = place.Find(u']');
  const std::size_t colon = place.Find(u':', bracket == KorText::kNone ? 0 : bracket);
  const bool isBare = bracket == KorText::kNone && colon != place.FindLast(u':');
  if (isBare) return Refused(text, kTexts.addressWithoutBrackets);
  if (colon == KorText::kNone || !TakePort(place.Mid(colon + 1), address))
    return Refused(text, kTexts.addressWithoutPort);
  return TakeHost(place.Left(colon), address) ? KorText() : Refused(text, kTexts.noLineAddress);
}

KorText RefusalOfPortAddress(const KorText& text) {
  PortAddress address;
  const KorText refusal = ParsePortAddress(text, address);
  if (!refusal.IsEmpty() || address.scheme != Scheme::Listen) return refusal;
  return Refused(text, kTexts.noLineAddress);
}

} // namespace kor
