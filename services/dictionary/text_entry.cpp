#include "services/dictionary/text_entry.h"

#include <algorithm>

namespace kor {
namespace {

const KorText& NoText() {
  static const KorText kNone;
  return kNone;
}

bool AreDigits(std::u16string_view text) {
  return std::ranges::all_of(text, IsDigit);
}

} // namespace

KorText DateText(const CalendarDate& date) {
  if (date.IsNone()) return {};
  return KorText::Format(u"%04i-%02i-%02i", date.year, date.month, date.day);
}

std::optional<CalendarDate> ParseDateText(std::u16string_view text) {
  if (text.empty()) return CalendarDate();
  const bool shaped = text.size() == 10 && text[4] == u'-' && text[7] == u'-' &&
                      AreDigits(text.substr(0, 4)) && AreDigits(text.substr(5, 2)) &&
                      AreDigits(text.substr(8));
  if (!shaped) return std::nullopt;
  const CalendarDate date{static_cast<std::uint16_t>(KorText(text.substr(0, 4)).ToInteger()),
                          static_cast<std::uint8_t>(KorText(text.substr(5, 2)).ToInteger()),
                          static_cast<std::uint8_t>(KorText(text.substr(8)).ToInteger())};
  if (!IsCalendarDate(date)) return std::nullopt;
  return date;
}

void TextLanguage::Transfer(DiskFile& file) {
  file.Transfer(name);
  file.Transfer(folder);
  file.Transfer(lcid);
  file.Transfer(codepage);
  EndRecord(file);
}

KorText TextLanguage::DisplayText() const {
  if (folder.IsEmpty()) return name;
  return name + KorText::Format(u" (%s - %i:%i)", folder, lcid, codepage);
}

void TextCatagory::Transfer(DiskFile& file) {
  file.Transfer(id);
  file.Transfer(name);
  file.Transfer(date);
  EndRecord(file);
}

void TextEntry::Transfer(DiskFile& file) {
  file.Transfer(phrase);
  file.Transfer(comment);
  file.Transfer(textPosition);
  file.SectionMark();
  file.Transfer(id);
  file.Transfer(categoryId);
  file.Transfer(created);
  file.Transfer(carried);
  file.SectionMark();
  file.Transfer(translations);
  file.Transfer(modified);
  // The older programs' record ends here. They skip what follows; an entry that they wrote keeps
  // the default.
  file.Transfer(importance);
  EndRecord(file);
}

const KorText& TextEntry::TextFor(std::int32_t language) const {
  const KorText& translation =
      language < 0 ? NoText() : Translation(static_cast<std::size_t>(language));
  return translation.IsEmpty() ? phrase : translation;
}

const KorText& TextEntry::Translation(std::size_t language) const {
  return language < translations.size() ? translations[language] : NoText();
}

void TextEntry::SetTranslation(std::size_t language, const KorText& text) {
  if (language >= translations.size()) {
    if (text.IsEmpty()) return;
    translations.resize(language + 1);
  }
  translations[language] = text;
}

CalendarDate TextEntry::LatestModification() const {
  const auto latest = std::ranges::max_element(modified);
  return latest == modified.end() ? CalendarDate() : *latest;
}

void TextEntry::AddModification(const CalendarDate& date) {
  if (!date.IsNone() && std::ranges::find(modified, date) == modified.end())
    modified.push_back(date);
}

bool TextEntry::IsNameCharacter(char16_t c) {
  return IsDigit(c) || IsAsciiLetter(c);
}

KorText TextEntry::MakeTextPosition(std::u16string_view phrase) {
  KorText name;
  char16_t before = 0;
  for (const char16_t c : phrase) {
    if (IsNameCharacter(c)) name += c;
    if (c == u' ' && before != u' ') name += u'_';
    before = c;
  }
  if (name.Length() > kLongestName) name.Remove(kLongestName / 2, name.Length() - kLongestName);
  return kNamePrefix + name;
}

} // namespace kor
