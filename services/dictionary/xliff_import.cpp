// TextHolder's XLIFF import.
#include <set>
#include <utility>

#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"
#include "services/dictionary/xliff_reader.h"

namespace kor {
namespace {

TextEntry NewEntry(const XliffUnit& unit) {
  TextEntry entry;
  entry.id = unit.id;
  entry.phrase = unit.source;
  entry.textPosition = unit.name.IsEmpty() ? TextEntry::MakeTextPosition(unit.source) : unit.name;
  entry.categoryId = unit.categoryId;
  entry.created = unit.modified;
  return entry;
}

// True when the translation is another one now.
bool TakeUnit(const XliffUnit& unit, std::size_t language, TextEntry& entry) {
  const bool changed = unit.target && *unit.target != entry.Translation(language);
  if (changed) entry.SetTranslation(language, *unit.target);
  entry.importance = unit.importance.value_or(entry.importance);
  entry.AddModification(unit.modified);
  entry.comment = unit.note.value_or(entry.comment);
  return changed;
}

void ReportFailure(const ImportResult& result) {
  MessageRecord record;
  record.level = MessageLevel::Warn;
  record.info = u"Dictionary";
  record.message = LookUpText(kTexts.badTranslationFile);
  for (const KorText& error : result.errors) {
    if (!record.details.IsEmpty()) record.details += u'\n';
    record.details += error;
  }
  App().Report(record);
}

} // namespace

ImportResult TextHolder::ImportXLIFF(const KorText& file, Failures failures,
                                     const TitledProgress& progress) {
  ImportResult result;
  if (!MayExport(u"Import XLIFF")) return result;
  XliffReader reader(file, result);
  if (!reader.Read() || !FitsDictionary(reader, file, result)) {
    if (failures == Failures::Reported) ReportFailure(result);
    return result;
  }
  TakeUnits(reader, static_cast<std::size_t>(LanguageWithCode(reader.Language())), progress,
            result);
  result.done = true;
  return result;
}

bool TextHolder::FitsDictionary(const XliffReader& reader, const KorText& file,
                                ImportResult& result) const {
  if (LanguageWithCode(reader.Language()) < 0)
    result.errors.push_back(KorText::Format(
        u"%s: the dictionary has no language \"%s\". Correct the target-language, or "
        u"add the language first.",
        file, reader.Language()));
  for (const XliffUnit& unit : reader.Units())
    if (unit.source.IsEmpty() && FindEntry(unit.id) == nullptr)
      result.errors.push_back(reader.About(
          unit, u"a new number, and the English text is missing. Write it into <source>."));
  return result.errors.empty();
}

void TextHolder::TakeUnits(const XliffReader& reader, std::size_t language,
                           const TitledProgress& progress, ImportResult& result) {
  const auto size = static_cast<double>(reader.Units().size());
  std::vector<TextEntry> fresh;
  for (const XliffUnit& unit : reader.Units()) {
    if (progress)
      progress(u"Import from XLIFF", static_cast<double>(&unit - &reader.Units()[0]), size);
    TextEntry* const known = FindEntry(unit.id);
    if (known == nullptr) {
      result.added.push_back(unit.id);
      TakeUnit(unit, language, fresh.emplace_back(NewEntry(unit)));
      continue;
    }
    if (known->phrase != unit.source)
      result.warnings.push_back(reader.About(
          unit, KorText::Format(u"the English text is \"%s\" here and \"%s\" in the dictionary. "
                                u"Check the translation, and export the file again.",
                                unit.source, known->phrase)));
    if (TakeUnit(unit, language, *known)) ++result.changed;
  }
  AddCategories(reader.Units());
  AddEntries(std::move(fresh));
  if (progress) progress(u"Import from XLIFF", size, size);
}

void TextHolder::AddCategories(std::span<const XliffUnit> units) {
  std::set<std::int32_t> known;
  for (const TextCatagory& category : categories)
    known.insert(category.id);
  for (const XliffUnit& unit : units) {
    if (FindEntry(unit.id) != nullptr || !known.insert(unit.categoryId).second) continue;
    TextCatagory& category = categories.emplace_back();
    category.id = unit.categoryId;
    category.name = unit.categoryName;
  }
}

} // namespace kor
