// TextEntry, TextLanguage, TextCatagory: what a dictionary is made of. They live in the arrays of a
// TextHolder, which owns them; one thread at a time.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "files/disk_file.h"
#include "files/storable.h"
#include "services/core/kor_text.h"

namespace kor {

// Returns the date as "2026-11-21", the form of translation files; empty for no date.
KorText DateText(const CalendarDate& date);
std::optional<CalendarDate> ParseDateText(std::u16string_view text); // an empty text is no date

class TextLanguage : public Storable {
 public:
  static constexpr std::uint32_t kClassId = 100095002;

  std::uint32_t ClassId() const override { return kClassId; }
  void Transfer(DiskFile& file) override;
  // Returns the name alone when there is no folder, else "Deutsch (de-DE - 1031:1252)".
  KorText DisplayText() const;

  KorText name;               // in its own language
  KorText folder;             // its code, such as "de-DE"; part of file names
  std::uint32_t lcid = 0;     // Windows locale identifier
  std::uint32_t codepage = 0; // Windows code page
};

// This spelling of the name stands in the documentation of stored data and stays.
class TextCatagory : public Storable {
 public:
  static constexpr std::uint32_t kClassId = 100095003;

  std::uint32_t ClassId() const override { return kClassId; }
  void Transfer(DiskFile& file) override;

  std::int32_t id = 0;
  KorText name;
  CalendarDate date;
};

class TextEntry : public Storable {
 public:
  static constexpr std::uint32_t kClassId = 100095001;
  // Text numbers go from 0 to this; the offset table has a place for each up to the highest in use.
  static constexpr std::int32_t kHighestNumber = 999999;

  std::uint32_t ClassId() const override { return kClassId; }
  void Transfer(DiskFile& file) override;

  // Returns the translation, or the phrase where the translation is missing or empty; -1 asks for
  // the phrase.
  const KorText& TextFor(std::int32_t language) const;
  const KorText& Translation(std::size_t language) const; // empty where it is missing
  void SetTranslation(std::size_t language, const KorText& text);
  CalendarDate LatestModification() const;
  void AddModification(const CalendarDate& date); // no date, or one already there, is left out

  // Returns "TXTPOS_" and the phrase's letters A-Z a-z and digits, with a run of blanks as one "_".
  // A name of more than 32 characters keeps its first and last 16 before the prefix is put on.
  static KorText MakeTextPosition(std::u16string_view phrase);
  static bool IsNameCharacter(char16_t c); // a letter or digit
  static constexpr char16_t kNamePrefix[] = u"TXTPOS_";
  static constexpr std::size_t kLongestName = 32; // behind the prefix

  std::vector<KorText> translations; // by language index; may be shorter than the languages
  std::vector<CalendarDate> modified;
  KorText phrase;       // the source text, English
  KorText comment;      // note for translators
  KorText textPosition; // "TXTPOS_..."
  std::int32_t id = 0;
  std::int32_t categoryId = 0;
  std::int32_t importance = 0;
  CalendarDate created;
  std::uint32_t carried = 0; // a value of older programs, kept as it was read
};

} // namespace kor
