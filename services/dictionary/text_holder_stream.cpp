// TextHolder's record: what the dictionary file holds.
#include <algorithm>

#include "services/dictionary/text_holder.h"

namespace kor {
namespace {

// Bytes that the length of a text takes.
constexpr std::size_t kLeastText = 4;
// Bytes that a record's class number and sizes take.
constexpr std::size_t kLeastRecord = 8;

// Passes over an object without taking anything from it.
bool SkipObject(DiskFile& file, std::uint32_t classId) {
  const auto record = file.BeginRecord(classId);
  if (record.open) file.EndRecord();
  return record.present;
}

} // namespace

void TextHolder::Transfer(DiskFile& file) {
  const bool reading = !file.IsWriting();
  const bool whole = TransferLanguageNames(file) && TransferEntries(file) &&
                     TransferCategories(file) && TransferLanguages(file);
  if (!whole) file.SetError(kErrorShortRead); // a dictionary that lacks a part is damaged
  if (reading) SortContent();
  EndRecord(file);
}

// The names stand in front so that a list of languages can be shown without reading on.
bool TextHolder::TransferLanguageNames(DiskFile& file) {
  const auto count = file.TransferCount(languages.size(), kLeastText);
  if (!count || (!file.IsWriting() && *count > kMostLanguages)) return false;
  for (std::uint32_t i = 0; i < *count; ++i)
    if (!(file.IsWriting() ? file.Transfer(languages[i].name) : file.SkipText())) return false;
  if (file.HasFormatMarker()) return true;
  file.SetError(kErrorFileType); // the layout of the oldest programs
  return false;
}

// The limit is looked at before memory is taken for them.
bool TextHolder::TransferLanguages(DiskFile& file) {
  if (!file.SectionMark()) return false;
  const auto count = file.TransferCount(languages.size(), kLeastRecord);
  if (!count || (!file.IsWriting() && *count > kMostLanguages)) return false;
  languages.resize(*count);
  return std::ranges::all_of(languages, [&](auto& one) { return file.TransferObject(one); });
}

bool TextHolder::TransferEntries(DiskFile& file) {
  if (!file.SectionMark()) return false;
  if (KeepsContent(file)) return file.Transfer(entries);
  const auto count = file.TransferCount(0, kLeastRecord);
  if (!count) return false;
  for (std::uint32_t i = 0; i < *count; ++i)
    if (!(languagesOnly ? SkipObject(file, TextEntry::kClassId) : TakeEntry(file))) return false;
  pool.shrink_to_fit();
  return true;
}

bool TextHolder::TransferCategories(DiskFile& file) {
  if (!file.SectionMark()) return false;
  if (KeepsContent(file)) return file.Transfer(categories);
  const auto count = file.TransferCount(0, kLeastRecord);
  if (!count) return false;
  for (std::uint32_t i = 0; i < *count; ++i)
    if (!SkipObject(file, TextCatagory::kClassId)) return false;
  return true;
}

// In run mode this reads the fields of one TextEntry as far as the selected text. The end of the
// record passes over the rest.
bool TextHolder::TakeEntry(DiskFile& file) {
  const auto record = file.BeginRecord(TextEntry::kClassId);
  if (!record.present) {
    if (record.open) file.EndRecord();
    return false;
  }
  std::int32_t id = -1, categoryId = 0;
  std::uint32_t created = 0, carried = 0;
  phraseBuffer.Clear();
  textBuffer.Clear();
  file.Transfer(phraseBuffer);
  file.SkipText(); // comment
  file.SkipText(); // text position
  file.SectionMark();
  file.Transfer(id);
  file.Transfer(categoryId);
  file.Transfer(created);
  file.Transfer(carried);
  file.SectionMark();
  if (selector >= 0) {
    const auto count = file.TransferCount(0, kLeastText);
    const auto wanted = static_cast<std::uint32_t>(selector);
    if (count && wanted < *count) {
      for (std::uint32_t i = 0; i < wanted; ++i)
        file.SkipText();
      file.Transfer(textBuffer);
    }
  }
  file.EndRecord();
  PutText(id, textBuffer.IsEmpty() ? phraseBuffer : textBuffer);
  return file.Errors() == 0;
}

void TextHolder::PutText(std::int32_t id, std::u16string_view text) {
  if (id < 0 || id > TextEntry::kHighestNumber) return;
  const auto place = static_cast<std::size_t>(id);
  if (place >= offsets.size()) offsets.resize(place + 1);
  offsets[place] = pool.size() + 1;
  pool.append(text);
  pool.push_back(u'\0');
}

void TextHolder::SortContent() {
  std::ranges::stable_sort(entries, {}, &TextEntry::id);
  std::ranges::stable_sort(categories, {}, &TextCatagory::id);
}

} // namespace kor
