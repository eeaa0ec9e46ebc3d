#include "services/ini/ini_items.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kor {

namespace {

constexpr std::size_t kLongestHex = 16; // characters that iniHex looks at

// Inserts at the place, or at the end when the place lies behind the end: places count lines that
// were left out, too.
template <class List> void InsertAt(List& list, std::size_t place, KorText text) {
  const auto at = static_cast<std::ptrdiff_t>(std::min(place, list.size()));
  list.insert(list.begin() + at, std::move(text));
}

template <class List> KorText ElementOf(const List& list, std::size_t index) {
  return index < list.size() ? list[index] : KorText();
}

// Reads the next whole number from the position on, skipping blanks, and moves the position behind
// it; a missing number gives 0.
std::int32_t NextInteger(const KorText& text, std::size_t& at) {
  while (at < text.Length() && (text[at] == u' ' || text[at] == u'\t'))
    ++at;
  const std::size_t start = at;
  if (at < text.Length() && (text[at] == u'-' || text[at] == u'+')) ++at;
  while (at < text.Length() && IsDigit(text[at]))
    ++at;
  return text.Mid(start, at - start).ToInteger();
}

// Every capital letter counts its distance from "A" plus 10, also those behind "F"; this is
// intended.
std::optional<std::uint32_t> HexDigit(char16_t c) {
  if (IsDigit(c)) return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10u;
  if (c >= u'A' && c <= u'Z') return c - u'A' + 10u;
  return std::nullopt;
}

} // namespace

void iniStruct::WriteTo(iniLines& lines) {
  KorText line = keyName + u"=" + ValueText();
  iniSection* found = lines.Find(sectionName);
  KorText* old = found ? found->FindLine(keyName) : nullptr;
  if (old) {
    *old = std::move(line);
    return;
  }
  lines.InsertBelowHeader(found ? *found
                                : lines.AddAtTop(sectionName, iniLines::Header::BelowBlank),
                          {std::move(line)});
}

void iniStruct::ReadFrom(iniLines& lines) {
  iniSection* found = lines.Find(sectionName);
  const KorText* line = found ? found->FindLine(keyName) : nullptr;
  if (!line) {
    SetFromText(nullptr);
    return;
  }
  const std::size_t equals = line->Find(u'=');
  const KorText value = equals == KorText::kNone ? KorText() : line->Mid(equals + 1).Trimmed();
  SetFromText(&value);
}

void iniBlock::WriteTo(iniLines& lines) {
  iniSection* found = lines.Find(SectionName());
  if (found) {
    lines.RemoveBody(*found);
    if (!lines.IsLast(*found)) lines.InsertBlank(*found);
  } else {
    found = &lines.AddAtTop(SectionName(), iniLines::Header::OnTop);
    lines.InsertBlank(*found);
  }
  std::vector<KorText> block;
  for (KorText line = LineText(0); !line.IsEmpty(); line = LineText(block.size())) {
    block.push_back(std::move(line));
  }
  lines.InsertBelowHeader(*found, std::move(block));
}

void iniBlock::ReadFrom(iniLines& lines) {
  ClearTarget();
  std::size_t count = 0;
  if (const iniSection* found = lines.Find(SectionName())) {
    for (const KorText& line : found->Body()) {
      const KorText text = line.Trimmed();
      if (!text.IsEmpty()) AddLine(&text, count++);
    }
  }
  if (count == 0) AddLine(nullptr, 0);
}

KorText iniInteger::ValueText() const {
  return KorText::Format(u"%i", target ? *target : static_cast<std::int32_t>(*unsignedTarget));
}

void iniInteger::SetFromText(const KorText* text) {
  const std::int32_t value = text ? text->ToInteger() : standard;
  if (target) *target = value;
  if (unsignedTarget) *unsignedTarget = static_cast<std::uint32_t>(value);
}

KorText iniReal::ValueText() const {
  if (!std::isfinite(*target)) return u"0.0";
  KorText text = KorText::Format(u"%.8f", *target);
  std::size_t length = text.Length();
  while (text[length - 1] == u'0' && text[length - 2] != u'.')
    --length;
  text = text.Left(length);
  return text == u"-0.0" ? KorText(u"0.0") : text;
}

void iniReal::SetFromText(const KorText* text) {
  *target = text ? text->ToReal() : standard;
}

iniStrOpt::iniStrOpt(KorText section, KorText key, std::int32_t* index,
                     std::vector<KorText> optionTexts, std::int32_t defaultIndex)
    : iniStruct(std::move(section), std::move(key)), target(index), options(std::move(optionTexts)),
      standard(defaultIndex < 0 || defaultIndex >= Count() ? 0 : defaultIndex) {}

KorText iniStrOpt::ValueText() const {
  const bool usable = *target > 0 || *target < Count();
  const std::int32_t index = usable ? *target : standard;
  return index < 0 ? KorText() : ElementOf(options, static_cast<std::size_t>(index));
}

void iniStrOpt::SetFromText(const KorText* text) {
  *target = standard;
  if (!text) return;
  for (std::size_t i = 0; i < options.size(); ++i) {
    // No early end: of several equal options the last one counts.
    if (options[i].EqualsNoCase(*text)) *target = static_cast<std::int32_t>(i);
  }
}

KorText iniColor::ValueText() const {
  return KorText::Format(u"%i %i %i", *target & 0xFFu, (*target >> 8) & 0xFFu,
                         (*target >> 16) & 0xFFu);
}

void iniColor::SetFromText(const KorText* text) {
  if (!text) {
    *target = standard;
    return;
  }
  std::uint32_t colour = 0;
  std::size_t at = 0;
  for (const unsigned shift : {0u, 8u, 16u}) {
    colour |= (static_cast<std::uint32_t>(NextInteger(*text, at)) & 0xFFu) << shift;
  }
  *target = colour;
}

KorText iniHex::ValueText() const {
  return KorText::Format(u"%X", *target);
}

void iniHex::SetFromText(const KorText* text) {
  if (!text) {
    *target = standard;
    return;
  }
  std::uint32_t value = 0;
  for (const char16_t c : text->View().substr(0, kLongestHex)) {
    const std::optional<std::uint32_t> digit = HexDigit(c);
    if (!digit) break;
    value = (value << 4) | *digit;
  }
  *target = value;
}

KorText iniStringList::LineText(std::size_t index) const {
  return ElementOf(*target, index);
}

void iniStringList::AddLine(const KorText* text, std::size_t index) {
  if (text) InsertAt(*target, index, *text);
}

KorText iniStringArray::LineText(std::size_t index) const {
  return ElementOf(*target, index);
}

void iniStringArray::AddLine(const KorText* text, std::size_t index) {
  if (text) InsertAt(*target, index, *text);
}

KorText iniEquBlock::LineText(std::size_t index) const {
  if (index >= std::min(keys->size(), values->size())) return {};
  return (*keys)[index] + u"=" + (*values)[index];
}

void iniEquBlock::AddLine(const KorText* text, std::size_t index) {
  if (!text) {
    if (!defaultKey.IsEmpty()) AddPair(defaultKey, defaultValue, index);
    return;
  }
  const std::size_t equals = text->Find(u'=');
  if (equals == KorText::kNone) return;
  KorText key = text->Left(equals).Trimmed();
  if (!key.IsEmpty()) AddPair(std::move(key), text->Mid(equals + 1).Trimmed(), index);
}

void iniEquBlock::ClearTarget() {
  keys->clear();
  values->clear();
}

void iniEquBlock::AddPair(KorText key, KorText value, std::size_t index) {
  InsertAt(*keys, index, std::move(key));
  InsertAt(*values, index, std::move(value));
}

} // namespace kor
