#include "tools/kordict/check.h"

#include <algorithm>
#include <map>

namespace kor {
namespace {

constexpr std::size_t kLeastLimit = 12;
constexpr std::u16string_view kLimitNote = u"At most ";
constexpr std::u16string_view kNoLimitNote = u"Any length.";

// Blocks whose characters take two columns of a terminal and about as much in a proportional font.
bool IsWide(char16_t c) {
  static constexpr char16_t kBlocks[][2] = {
      {0x1100, 0x115F}, {0x2E80, 0xA4CF}, {0xAC00, 0xD7A3}, {0xF900, 0xFAFF},
      {0xFE30, 0xFE6F}, {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6},
  };
  return std::ranges::any_of(kBlocks,
                             [c](const auto& block) { return c >= block[0] && c <= block[1]; });
}

// How a language writes. Quotation marks are those that its texts may hold.
struct Typography {
  std::u16string_view primary; // language
  std::u16string_view marks;
};
constexpr std::u16string_view kAllMarks =
    u"\"\u201C\u201D\u201E\u2018\u2019\u201A\u00AB\u00BB\u300C\u300D";
constexpr Typography kTypographies[] = {
    {u"cs", u"\u201E\u201C"}, {u"de", u"\u201E\u201C"}, {u"fr", u"\u00AB\u00BB"},
    {u"ja", u"\u300C\u300D"}, {u"pl", u"\u201E\u201D"}, {u"zh", u"\u201C\u201D"},
};
constexpr std::u16string_view kPlainMarks = u"\""; // of the other languages

constexpr char16_t kNoBreakSpace = 0xA0;

std::u16string_view MarksOf(const KorText& primary) {
  for (const Typography& one : kTypographies)
    if (primary.EqualsNoCase(one.primary)) return one.marks;
  return kPlainMarks;
}

// A sign that ends a word, not one inside "1:25" or "COM1:9600".
bool EndsWord(std::u16string_view text, std::size_t at) {
  return at + 1 == text.size() || text[at + 1] == u' ' || text[at + 1] == u'\n';
}

bool LacksNoBreakSpace(std::u16string_view text) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool spacedBefore = at > 0 && text[at - 1] == kNoBreakSpace;
    const bool spacedBehind = at + 1 < text.size() && text[at + 1] == kNoBreakSpace;
    const bool isSign =
        std::u16string_view(u":;?!").find(text[at]) != text.npos && EndsWord(text, at);
    if ((isSign || text[at] == u'\u00BB') && !spacedBefore) return true;
    if (text[at] == u'\u00AB' && !spacedBehind) return true;
  }
  return false;
}

// A narrow sign beside a wide character, with or without a blank between.
bool HasNarrowSign(std::u16string_view text) {
  KorText close(text);
  close.ReplaceAll(u" ", u"");
  const std::u16string_view plain = close;
  for (std::size_t at = 0; at < plain.size(); ++at) {
    if (std::u16string_view(u",:;?!()").find(plain[at]) == text.npos) continue;
    if ((at > 0 && IsWide(plain[at - 1])) || (at + 1 < plain.size() && IsWide(plain[at + 1])))
      return true;
  }
  return false;
}

KorText ListOf(const std::vector<KorText>& directives) {
  KorText list;
  for (const KorText& directive : directives)
    list += (list.IsEmpty() ? u"" : u" ") + directive;
  return list.IsEmpty() ? KorText(u"none") : list;
}

class Checker {
 public:
  explicit Checker(const TextHolder& toCheck) : dictionary(toCheck) {}
  std::vector<Finding> Run();

 private:
  void CheckName(const TextEntry& entry);
  void CheckTranslation(const TextEntry& entry, std::size_t language);
  void CheckTypography(const TextEntry& entry, std::int32_t language, const KorText& text);
  void CheckWidth(const TextEntry& entry, std::int32_t language, const KorText& text);
  void Find(const TextEntry& entry, std::int32_t language, const KorText& what) {
    findings.push_back({language, entry.id, entry.textPosition, what});
  }

  const TextHolder& dictionary;
  std::vector<Finding> findings;
  std::map<KorText, std::int32_t> names; // to the number that has it
};

std::vector<Finding> Checker::Run() {
  for (const TextEntry& entry : dictionary.Entries()) {
    CheckName(entry);
    CheckWidth(entry, TextHolder::kSourceTexts, entry.phrase);
    if (entry.phrase.IsEmpty()) continue;
    for (std::size_t i = 0; i < dictionary.Languages().size(); ++i)
      CheckTranslation(entry, i);
  }
  return std::move(findings);
}

void Checker::CheckName(const TextEntry& entry) {
  if (entry.textPosition.IsEmpty()) return;
  const auto [first, fresh] = names.emplace(entry.textPosition, entry.id);
  if (!fresh)
    Find(entry, TextHolder::kSourceTexts,
         KorText::Format(u"the name is also that of unit %i. Give one of them another resname.",
                         first->second));
  const KorText bare = entry.textPosition.StartsWith(TextEntry::kNamePrefix)
                           ? entry.textPosition.Mid(KorText(TextEntry::kNamePrefix).Length())
                           : entry.textPosition;
  if (bare.Length() > TextEntry::kLongestName)
    Find(entry, TextHolder::kSourceTexts,
         KorText::Format(
             u"the name has %i characters behind \"%s\" instead of at most %i. Shorten the "
             u"resname.",
             bare.Length(), TextEntry::kNamePrefix, TextEntry::kLongestName));
}

void Checker::CheckTypography(const TextEntry& entry, std::int32_t language, const KorText& text) {
  const KorText& code = dictionary.Languages()[static_cast<std::size_t>(language)].folder;
  const KorText primary = code.Left(code.Find(u'-'));
  const std::u16string_view marks = MarksOf(primary);
  for (const char16_t c : text.View()) {
    if (kAllMarks.find(c) == kAllMarks.npos || marks.find(c) != marks.npos) continue;
    Find(entry, language,
         KorText::Format(
             u"the quotation mark or apostrophe %s is another one than in the language's other "
             u"texts. Write %s or '.",
             KorText(1, c), KorText(marks)));
    break;
  }
  if (primary.EqualsNoCase(u"fr") && LacksNoBreakSpace(text))
    Find(entry, language,
         u"French has a no-break space (U+00A0) before : ; ? ! and inside \u00AB \u00BB. Put it "
         u"in.");
  if (primary.EqualsNoCase(u"zh") && HasNarrowSign(text))
    Find(entry, language,
         u"a narrow , : ; ? ! ( or ) stands beside a Chinese character. Write the full-width one.");
}

void Checker::CheckTranslation(const TextEntry& entry, std::size_t language) {
  const auto index = static_cast<std::int32_t>(language);
  const KorText& text = entry.Translation(language);
  if (text.IsEmpty()) {
    Find(entry, index, KorText::Format(u"no translation. Translate \"%s\".", entry.phrase));
    return;
  }
  const std::vector<KorText> wanted = Directives(entry.phrase);
  const std::vector<KorText> found = Directives(text);
  if (found != wanted)
    Find(entry, index,
         KorText::Format(u"the directives are %s instead of %s. Keep them all, in this order.",
                         ListOf(found), ListOf(wanted)));
  CheckTypography(entry, index, text);
  CheckWidth(entry, index, text);
}

void Checker::CheckWidth(const TextEntry& entry, std::int32_t language, const KorText& text) {
  const std::size_t limit = WidthLimit(entry), width = TextWidth(text);
  if (limit != 0 && width > limit)
    Find(
        entry, language,
        KorText::Format(u"\"%s\" takes %i characters, and its control has room for %i. Shorten it.",
                        text, width, limit));
}

} // namespace

std::vector<Finding> CheckTexts(const TextHolder& dictionary) {
  return Checker(dictionary).Run();
}

std::size_t TextWidth(std::u16string_view text) {
  std::size_t widest = 0, width = 0;
  for (const char16_t c : text) {
    width = c == u'\n' ? 0 : width + (IsWide(c) ? 2 : 1);
    widest = std::max(widest, width);
  }
  return widest;
}

std::size_t WidthLimit(const TextEntry& entry) {
  if (entry.comment.Contains(kNoLimitNote)) return 0;
  const std::size_t note = entry.comment.Find(kLimitNote);
  const std::int32_t limit =
      note == KorText::kNone ? 0 : entry.comment.Mid(note + kLimitNote.size()).ToInteger();
  if (limit > 0) return static_cast<std::size_t>(limit);
  return std::max(kLeastLimit, (TextWidth(entry.phrase) * 3 + 1) / 2);
}

std::vector<KorText> Directives(std::u16string_view format) {
  std::vector<KorText> found;
  for (std::size_t at = format.find(u'%'); at < format.size(); at = format.find(u'%', at)) {
    std::size_t end = format.find_first_not_of(u"-+ 0#*.123456789hlzI", at + 1);
    end = std::min(end, format.size() - 1);
    const std::u16string_view directive = format.substr(at, end + 1 - at);
    if (directive.size() > 1 && directive.back() != u'%') found.emplace_back(directive);
    at = end + 1;
  }
  return found;
}

} // namespace kor
