// TextHolder's XLIFF import.
#include <algorithm>

#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"
#include "services/dictionary/xliff_reader.h"

namespace kor {
namespace {

constexpr int kBadFileText = 8894;

TextEntry NewEntry(const XliffUnit& unit) {
  TextEntry entry;
  entry.id = unit.id;
  entry.phrase = unit.source;
  entry.textPosition = unit.name.IsEmpty() ? TextEntry::MakeTextPosition(unit.source) : unit.name;
  entry.categoryId = unit.categoryId;
  entry.created = unit.modified;
  return entry;
}

void ReportFailure(const ImportResult& result) {
  MessageRecord record;
  record.level = MessageLevel::Warn;
  record.info = u"Dictionary";
  record.message = LookUpText(
      kBadFileText, u"The translation file cannot be read, or does not fit this dictionary.");
  for (const KorText& error : result.errors) {
    if (!record.details.IsEmpty()) record.details += u'\n';
    record.details += error;
  }
  App().Report(record);
}

} // namespace

ImportResult TextHolder::ImportXLIFF(const KorText& file, bool report,
                                     const TitledProgress& progress) {
  ImportResult result;
  if (!MayExport(u"Import XLIFF")) return result;
  XliffReader reader(file, result);
  if (!reader.Read() || !FitsDictionary(reader, file, result)) {
    if (report) ReportFailure(result);
    return result;
  }
  const auto language = static_cast<std::size_t>(LanguageWithCode(reader.Language()));
  const auto size = static_cast<double>(reader.Units().size());
  double position = 0;
  for (const XliffUnit& unit : reader.Units()) {
    if (progress) progress(u"Import from XLIFF", position++, size);
    const TextEntry* known = FindEntry(unit.id);
    if (known != nullptr && known->phrase != unit.source)
      result.warnings.push_back(reader.About(
          unit, KorText::Format(u"the English text is \"%s\" here and \"%s\" in the dictionary. "
                                u"Check the translation, and export the file again.",
                                unit.source, known->phrase)));
    TakeUnit(unit, language, result);
  }
  if (progress) progress(u"Import from XLIFF", size, size);
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

void TextHolder::TakeUnit(const XliffUnit& unit, std::size_t language, ImportResult& result) {
  TextEntry* entry = FindEntry(unit.id);
  bool isNew = false;
  if (entry == nullptr) {
    AddCategory(unit.categoryId, unit.categoryName);
    entry = &AddEntry(NewEntry(unit));
    result.added.push_back(unit.id);
    isNew = true;
  }
  if (unit.target && *unit.target != entry->Translation(language)) {
    entry->SetTranslation(language, *unit.target);
    if (!isNew) ++result.changed;
  }
  entry->importance = unit.importance.value_or(entry->importance);
  entry->AddModification(unit.modified);
  entry->comment = unit.note.value_or(entry->comment);
  MarkChanged();
}

void TextHolder::AddCategory(std::int32_t id, const KorText& name) {
  const auto at = std::ranges::lower_bound(categories, id, {}, &TextCatagory::id);
  if (at != categories.end() && at->id == id) return;
  TextCatagory category;
  category.id = id;
  category.name = name;
  categories.insert(at, category);
}

} // namespace kor
