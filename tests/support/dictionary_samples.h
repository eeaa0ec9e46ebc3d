// A small dictionary for the tests: German complete, French with a gap.
#pragma once

#include "files/disk_file.h"
#include "services/dictionary/text_holder.h"
#include "tests/support/test_app.h"
#include "tests/support/text_printer.h"

namespace kor {

inline TextLanguage SampleLanguage(const char16_t* code, const char16_t* name, std::uint32_t lcid) {
  TextLanguage language;
  language.folder = code;
  language.name = name;
  language.lcid = lcid;
  language.codepage = 1252;
  return language;
}

inline TextEntry SampleEntry(std::int32_t id, const char16_t* phrase,
                             std::vector<KorText> translations) {
  TextEntry entry;
  entry.id = id;
  entry.phrase = phrase;
  entry.textPosition = TextEntry::MakeTextPosition(phrase);
  entry.comment = u"A note.";
  entry.importance = 2;
  entry.created = {2026, 11, 20};
  entry.modified = {{2026, 11, 21}};
  entry.translations = std::move(translations);
  return entry;
}

// Fills a dictionary in editing mode, to be saved to the path.
inline void FillSample(TextHolder& dictionary, const KorText& path) {
  dictionary.StartEditing(path);
  dictionary.AddLanguage(SampleLanguage(u"de-DE", u"Deutsch", 1031));
  dictionary.AddLanguage(SampleLanguage(u"fr-FR", u"Français", 1036));
  dictionary.AddEntries({SampleEntry(48, u"Cancel", {u"Abbrechen", u"Annuler"})});
  dictionary.AddEntries({SampleEntry(323, u"Call us.", {u"Rufen Sie uns an.", u""})});
  dictionary.AddEntries({SampleEntry(324, u"Sorry!", {u"Entschuldigung!"})});
  dictionary.AddEntries(
      {SampleEntry(7, u"Send %s & <wait>", {u"%s senden & <warten>", u"Envoyer %s"})});
}

// A unit of a translation file; rest: what stands behind its texts. No target: no translation.
inline KorText Unit(int id, const KorText& source, const KorText& target = {},
                    const KorText& rest = {}) {
  return KorText::Format(u"<trans-unit id=\"%i\"><source>%s</source>%s%s</trans-unit>", id, source,
                         target.IsEmpty() ? KorText() : u"<target>" + target + u"</target>", rest);
}

inline bool SaveAsDictionary(const KorText& path, Storable& object, bool compressed = true) {
  RecordFileOptions options;
  options.format.fileTypes = {TextHolder::kFileType};
  options.compressed = compressed;
  return SaveObject(path, object, options);
}

inline bool SaveSample(const KorText& path, bool compressed = true) {
  TextHolder dictionary;
  FillSample(dictionary, path);
  return SaveAsDictionary(path, dictionary, compressed);
}

// The file's bytes: the mark, then the text.
inline KorText Utf16(const KorText& text) {
  KorText bytes = u"\xFF\xFE";
  for (const char16_t c : text.View()) {
    bytes += static_cast<char16_t>(c & 0xFF);
    bytes += static_cast<char16_t>(c >> 8);
  }
  return bytes;
}

} // namespace kor
