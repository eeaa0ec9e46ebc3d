// TextHolder: the text dictionary. All texts that users see live in one file, "diction.ary", and
// are addressed by number; "^" and a number in a text stands for the text of that number.
//
// There are two ways to hold it. Run mode keeps one language's texts in a compact table: a pool of
// characters and an offset per number. Editing mode keeps every entry with its translations, notes
// and dates, and is what saving, exporting and importing need; its table is empty.
//
// The program's own dictionary is reached through Dictionary() (services/dictionary/dictionary.h).
// Loading, editing and saving belong to one thread; the lookups of a loaded dictionary may be
// called from any thread. Views into the pool stay valid until the next Load.
//
// The file's layout is in docs/formats/dictionary.md, the way of a translation in
// docs/translating.md.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "files/void_buffer.h"
#include "services/core/failures.h"
#include "services/dictionary/text_entry.h"

namespace kor {

class XliffReader;
struct XliffUnit;

// An operation that takes long tells its caller its title, and the position and the size in its own
// measure. Returning false cancels it.
using TitledProgress = std::function<bool(const KorText& title, double position, double size)>;

// What became of an import. Each problem names the file, its line, the unit and the remedy.
struct ImportResult {
  bool done = false; // without it nothing was changed
  std::vector<KorText> errors;
  std::vector<KorText> warnings;   // the unit was taken all the same
  std::size_t changed = 0;         // entries whose translation differs from before
  std::vector<std::int32_t> added; // the numbers of new entries
};

class TextHolder : public Storable {
 public:
  static constexpr std::uint32_t kClassId = 100095000;
  static constexpr std::uint32_t kFileType = 0x54434944; // "DICT"

  // A larger file, inflated, is no dictionary: 20,000 texts of 40 characters in 25 languages take
  // 45 MB.
  static constexpr std::uint64_t kLargestFile = 64u << 20; // bytes
  static constexpr std::uint32_t kMostLanguages = 1000;    // more than Windows has locales

  // Language selectors; 0 and above: the index of a language.
  static constexpr std::int32_t kSourceTexts = -1;
  static constexpr std::int32_t kChooseLanguage = -2; // the requested one; -3 means the same
  static constexpr std::int32_t kChooseLanguageToo = -3;
  static constexpr std::int32_t kEditing = 2147483647;

  // --- Lookup ------------------------------------------------------------------------------------
  // The text of a number, or nothing.
  std::optional<std::u16string_view> FindText(std::int32_t id) const;
  // Returns the text of a number, else the built-in English text of the plain message boxes ("Ok",
  // "Cancel"), else the empty text.
  KorText Text(std::int32_t id) const;
  // Look up a reference, "^" and digits (without digits: number 0), in the same way but without the
  // built-in texts. What is no reference gives nothing, or the empty text.
  std::optional<std::u16string_view> FindTextRef(std::u16string_view reference) const;
  KorText TextRef(std::u16string_view reference) const;
  // Puts the texts in the place of their references; a reference without a text stays, and texts
  // that were put in are not searched again. True when at least one was replaced.
  bool Expand(KorText& text) const;

  // --- Loading and saving ------------------------------------------------------------------------
  // Discards what was held and loads the file. A bare file name is looked for in the program
  // folder; a missing file is taken from where App().LocateFile finds it. With kChooseLanguage the
  // requested language is a display name or a code: an exact match is taken, else a language with
  // the same primary one ("de-DE" for "de-AT"), else the source texts. On failure nothing is held,
  // so that the built-in texts are used. In run mode a successful load sets App()'s failure notice.
  bool Load(const KorText& path, std::int32_t languageSelector, Failures failures,
            const KorText& requestedLanguage = {});
  // Discards what was held and starts an empty dictionary in editing mode, with the one category
  // "General", to be saved to the path.
  void StartEditing(const KorText& path);
  // Saves, in editing mode only (App() is told otherwise). The older file is copied to its name
  // with ".bak" appended; when that fails App() asks whether to go on, and the answer
  // kAnswerContinue does. The new file is written beside the older one and renamed over it.
  enum class Backup { Made, None };
  bool Save(Backup backup = Backup::Made);
  static constexpr std::int32_t kAnswerCancel = 2;
  static constexpr std::int32_t kAnswerContinue = 11;

  bool IsLoaded() const { return loaded; }
  bool IsEditing() const { return loaded && selector == kEditing; }
  std::int32_t LanguageSelector() const { return selector; } // after loading: what was chosen
  const KorText& Path() const { return path; }
  std::size_t TableLength() const { return offsets.size(); } // run mode: highest number + 1

  // --- Content -----------------------------------------------------------------------------------
  const std::vector<TextLanguage>& Languages() const { return languages; } // in both modes
  const std::vector<TextEntry>& Entries() const { return entries; }        // editing: by number
  const std::vector<TextCatagory>& Categories() const { return categories; }
  // Returns the index of the language with that code, without regard to case; or -1.
  std::int32_t LanguageWithCode(std::u16string_view code) const;
  // Returns the choice that Load makes for a request: an index, or kSourceTexts.
  std::int32_t ChooseLanguage(std::u16string_view request) const;
  // These are for editing. Entries keep their order by number.
  void AddLanguage(const TextLanguage& language);
  const TextEntry* FindEntry(std::int32_t id) const;
  TextEntry* FindEntry(std::int32_t id);
  void AddEntries(std::vector<TextEntry> fresh); // in any order; of numbers that are not there yet

  // --- Exchange; editing mode only (App() is told otherwise) -------------------------------------
  // UTF-16. False also when there are no entries: the file then ends after the languages.
  bool ExportXML(const KorText& file);
  // Writes "FOLDER/dictionary_CODE.xlf" for each language; a missing folder is made.
  bool ExportXLIFF(const KorText& folder, const TitledProgress& progress = {});
  // Takes translations over. A unit whose number is unknown becomes a new entry.
  ImportResult ImportXLIFF(const KorText& file, Failures failures = Failures::Reported,
                           const TitledProgress& progress = {});
  // Writes "textlib.h" in the dictionary's folder and keeps an older one as "textlib.h.bak".
  bool ExportHeader();

  std::uint32_t ClassId() const override { return kClassId; }
  void Transfer(DiskFile& file) override;

 private:
  void Clear();
  static bool IsTooLarge(const KorText& file);
  bool ReadFile(const KorText& file, const KorText& requestedLanguage);
  bool ReadStream(VoidBuffer& bytes, const KorText& file);
  void SetFailureNotice() const;
  bool MakeBackup();
  bool MayExport(std::u16string_view what) const;
  bool WriteXLIFF(const KorText& file, std::size_t language) const;
  bool FitsDictionary(const XliffReader& reader, const KorText& file, ImportResult& result) const;
  void TakeUnits(const XliffReader& reader, std::size_t language, const TitledProgress& progress,
                 ImportResult& result);
  void AddCategories(std::span<const XliffUnit> units); // those whose numbers are not there yet

  // Whether entries and categories are kept: when writing, and when reading in editing mode.
  bool KeepsContent(const DiskFile& file) const {
    return file.IsWriting() || (selector == kEditing && !languagesOnly);
  }
  bool TransferLanguageNames(DiskFile& file);
  bool TransferLanguages(DiskFile& file);
  bool TransferEntries(DiskFile& file);
  bool TransferCategories(DiskFile& file);
  bool TakeEntry(DiskFile& file);
  void PutText(std::int32_t id, std::u16string_view text);
  void SortContent();

  bool loaded = false;
  std::u16string pool;                // each text ends in a zero character
  std::vector<std::uint64_t> offsets; // by number: 0 for no text, else 1 + its start in the pool
  std::int32_t selector = kSourceTexts;
  KorText path;
  bool languagesOnly = false; // while loading: passes over everything else
  std::vector<TextLanguage> languages;
  std::vector<TextEntry> entries;
  std::vector<TextCatagory> categories;
  KorText phraseBuffer, textBuffer; // of TakeEntry
};

} // namespace kor
