#include "tools/kordict/kordict.h"

#include <algorithm>
#include <map>

#include "files/paths.h"
#include "services/core/app_interface.h"
#include "services/dictionary/dictionary.h"
#include "services/dictionary/xliff_reader.h"
#include "tools/kordict/check.h"
#include "tools/kordict/options.h"

namespace kor {
namespace {

// One line of output, whatever the text holds.
KorText OneLine(const KorText& text) {
  KorText line = text;
  line.ReplaceAll(u"\\", u"\\\\");
  line.ReplaceAll(u"\n", u"\\n");
  line.ReplaceAll(u"\r", u"\\r");
  return line.ReplaceAll(u"\t", u"\\t");
}

KorText Counted(std::int64_t count, const char16_t* thing) {
  return KorText::Format(count == 1 ? u"%i %s" : u"%i %ss", count, thing);
}

class Kordict {
 public:
  Kordict(const KordictOptions& given, const KordictOutput& toUse) : options(given), out(toUse) {}

  KordictResult Run();

 private:
  KordictResult Build();
  KordictResult Info();
  KordictResult Get();
  KordictResult Find();
  KordictResult ExportXml();
  KordictResult ExportXliff();
  KordictResult ImportXliff();
  KordictResult Header();
  KordictResult Check();

  KorText DictionaryPath() const;
  bool LoadDictionary();
  std::optional<std::vector<KorText>> TranslationFiles();
  bool ReadTranslations(const std::vector<KorText>& files);
  // What to do about texts of a file that differ from those of the files before.
  enum class Differences { Tell, Ignore };
  bool ReadTranslation(const KorText& file, Differences differences);
  void TellImported(const KorText& file, const ImportResult& result);
  bool EnsureLanguages(const std::vector<KorText>& files);
  bool EnsureLanguage(const KorText& file, const KorText& code);
  KordictResult PrintFindings();
  bool Shows(const TextLanguage& language) const {
    return options.language.IsEmpty() || language.folder.EqualsNoCase(options.language);
  }
  bool CheckLanguage();
  TitledProgress Progress() const;

  const KordictOptions& options;
  const KordictOutput& out;
  TextHolder dictionary;
  std::map<KorText, KorText> fileOfLanguage; // of the translation files read
  std::vector<KorText> imported;             // what they changed
};

KordictResult Kordict::Run() {
  using Handler = KordictResult (Kordict::*)();
  static const std::pair<const char16_t*, Handler> kHandlers[] = {
      {u"build", &Kordict::Build},
      {u"info", &Kordict::Info},
      {u"get", &Kordict::Get},
      {u"find", &Kordict::Find},
      {u"export-xml", &Kordict::ExportXml},
      {u"export-xliff", &Kordict::ExportXliff},
      {u"import-xliff", &Kordict::ImportXliff},
      {u"header", &Kordict::Header},
      {u"check", &Kordict::Check},
  };
  for (const auto& [name, handler] : kHandlers)
    if (options.command == name) return (this->*handler)();
  return KordictResult::Usage;
}

// --- The dictionary and its sources ---

// A name stands for that file and no other. Without a name it is this folder's dictionary, or else
// the program folder's.
KorText Kordict::DictionaryPath() const {
  const bool isNamed = !options.dictionary.IsEmpty();
  const KorText file = isNamed ? options.dictionary : KorText(kProgramNames.dictionary);
  const bool isHere = isNamed || options.command == u"build" || App().FileExists(file);
  return isHere && FolderOfPath(file).IsEmpty() ? u"./" + file : file;
}

bool Kordict::LoadDictionary() {
  const KorText path = DictionaryPath();
  const bool mayLoad = options.dictionary.IsEmpty() || App().FileExists(path);
  if (mayLoad && dictionary.Load(path, TextHolder::kEditing, Failures::Silent)) return true;
  out.complain(path + u": missing, damaged or no dictionary. Name it with -d, or make it with "
                      u"\"kordict build\".");
  return false;
}

std::optional<std::vector<KorText>> Kordict::TranslationFiles() {
  std::vector<KorText> files;
  for (const KorText& argument : options.arguments) {
    if (!App().FolderExists(argument)) {
      files.push_back(argument);
      continue;
    }
    const std::size_t before = files.size();
    const auto entries = App().ListFolder(argument);
    const KorText folder = WithTrailingSlash(argument);
    for (const FileEntry& entry : entries.value_or(std::vector<FileEntry>()))
      if (entry.name.StartsWith(u"dictionary_") && entry.name.EndsWith(u".xlf"))
        files.push_back(folder + entry.name);
    std::sort(files.begin() + static_cast<std::ptrdiff_t>(before), files.end());
    if (files.size() == before) {
      out.complain(argument + u": no dictionary_*.xlf in this folder. Name another one.");
      return std::nullopt;
    }
  }
  return files;
}

// The file whose English texts hold is read first, so that its texts are the ones that stay, and
// once more at the end for its notes.
bool Kordict::ReadTranslations(const std::vector<KorText>& files) {
  const bool hasEnglish = !options.english.IsEmpty();
  if (!EnsureLanguages(files)) return false;
  const auto readEnglish = [this] { return ReadTranslation(options.english, Differences::Ignore); };
  if (hasEnglish && !(EnsureLanguages({options.english}) && readEnglish())) return false;
  bool good = true;
  for (const KorText& file : files)
    good = ReadTranslation(file, hasEnglish ? Differences::Ignore : Differences::Tell) && good;
  return good && (!hasEnglish || readEnglish());
}

bool Kordict::ReadTranslation(const KorText& file, Differences differences) {
  const ImportResult result = dictionary.ImportXLIFF(file, Failures::Silent, Progress());
  for (const KorText& error : result.errors)
    out.complain(error);
  if (result.done) TellImported(file, result);
  if (differences == Differences::Ignore) return result.done;
  for (const KorText& warning : result.warnings)
    out.complain(warning);
  return result.done && result.warnings.empty();
}

// A mistyped number makes a new entry: the numbers show it.
void Kordict::TellImported(const KorText& file, const ImportResult& result) {
  imported.push_back(
      KorText::Format(u"%s: %u changed, %u added", file, result.changed, result.added.size()));
  for (const std::int32_t number : result.added)
    imported.push_back(KorText::Format(u"  new: unit %i \"%s\"", number,
                                       OneLine(dictionary.FindEntry(number)->phrase)));
}

// In the order of the files. What is wrong with a file is told when it is imported.
bool Kordict::EnsureLanguages(const std::vector<KorText>& files) {
  for (const KorText& file : files) {
    ImportResult ignored;
    XliffReader reader(file, ignored);
    if (reader.Read() && !EnsureLanguage(file, reader.Language())) return false;
  }
  return true;
}

bool Kordict::EnsureLanguage(const KorText& file, const KorText& code) {
  const auto [before, fresh] = fileOfLanguage.emplace(code, file);
  if (!fresh && before->second != file) {
    out.complain(KorText::Format(u"%s: the language \"%s\" is that of %s, too. Leave one out.",
                                 file, code, before->second));
    return false;
  }
  if (dictionary.LanguageWithCode(code) >= 0) return true;
  for (const TextLanguage& language : options.newLanguages) {
    if (!language.folder.EqualsNoCase(code)) continue;
    dictionary.AddLanguage(language);
    return true;
  }
  const TextLanguage* known = options.command == u"import-xliff" ? nullptr : KnownLanguage(code);
  if (known == nullptr) {
    out.complain(KorText::Format(u"%s: the language \"%s\" is new. Correct target-language, or add "
                                 u"--add-language %s=NAME.",
                                 file, code, code));
    return false;
  }
  dictionary.AddLanguage(*known);
  return true;
}

TitledProgress Kordict::Progress() const {
  if (!out.progress) return {};
  return [this](const KorText& title, double position, double size) {
    out.progress(KorText::Format(u"%s %i/%i", title, static_cast<std::int32_t>(position),
                                 static_cast<std::int32_t>(size)));
    return true;
  };
}

// --- Commands ---

KordictResult Kordict::Build() {
  const auto files = TranslationFiles();
  dictionary.StartEditing(DictionaryPath());
  if (!files || !ReadTranslations(*files)) return KordictResult::Unreadable;
  if (!dictionary.Save(TextHolder::Backup::None)) {
    out.complain(dictionary.Path() +
                 u": cannot be written. Check the folder, the rights to it and the "
                 u"room on the disk.");
    return KordictResult::NotWritten;
  }
  return KordictResult::Done;
}

KordictResult Kordict::Info() {
  if (!LoadDictionary()) return KordictResult::Unreadable;
  const auto& entries = dictionary.Entries();
  out.print(KorText::Format(u"%s: %s, highest number %i", dictionary.Path(),
                            Counted(std::ssize(entries), u"text"),
                            entries.empty() ? -1 : entries.back().id));
  for (std::size_t i = 0; i < dictionary.Languages().size(); ++i) {
    const auto translated = std::ranges::count_if(
        entries, [i](const TextEntry& entry) { return !entry.Translation(i).IsEmpty(); });
    out.print(KorText::Format(u"language %s: %i translated",
                              dictionary.Languages()[i].DisplayText(),
                              static_cast<std::int64_t>(translated)));
  }
  for (const TextCatagory& category : dictionary.Categories()) {
    const auto count = std::ranges::count(entries, category.id, &TextEntry::categoryId);
    out.print(KorText::Format(u"category %i %s: %s", category.id, category.name,
                              Counted(count, u"text")));
  }
  return KordictResult::Done;
}

bool Kordict::CheckLanguage() {
  if (options.language.IsEmpty() || dictionary.LanguageWithCode(options.language) >= 0) return true;
  out.complain(KorText::Format(u"%s: no language \"%s\". \"kordict info\" lists them.",
                               dictionary.Path(), options.language));
  return false;
}

KordictResult Kordict::Get() {
  if (!LoadDictionary()) return KordictResult::Unreadable;
  if (!CheckLanguage()) return KordictResult::Nothing;
  const KorText number = options.arguments[0];
  const TextEntry* entry = number == KorText::Format(u"%i", number.ToInteger())
                               ? dictionary.FindEntry(number.ToInteger())
                               : nullptr;
  if (entry == nullptr) {
    out.complain(KorText::Format(u"%s: no text has the number %s.", dictionary.Path(), number));
    return KordictResult::Nothing;
  }
  if (!options.language.IsEmpty()) {
    out.print(OneLine(entry->TextFor(dictionary.LanguageWithCode(options.language))));
    return KordictResult::Done;
  }
  out.print(KorText::Format(u"%i %s, importance %i, changed %s", entry->id, entry->textPosition,
                            entry->importance, DateText(entry->LatestModification())));
  if (!entry->comment.IsEmpty()) out.print(u"note   " + OneLine(entry->comment));
  out.print(u"source " + OneLine(entry->phrase));
  for (std::size_t i = 0; i < dictionary.Languages().size(); ++i)
    out.print(dictionary.Languages()[i].folder.PaddedRight(7) + OneLine(entry->Translation(i)));
  return KordictResult::Done;
}

KordictResult Kordict::Find() {
  if (!LoadDictionary()) return KordictResult::Unreadable;
  if (!CheckLanguage()) return KordictResult::Nothing;
  const KorText& wanted = options.arguments[0];
  bool found = false;
  const auto show = [&](const TextEntry& entry, std::u16string_view language, const KorText& text) {
    if (text.FindNoCase(wanted) == KorText::kNone) return;
    found = true;
    out.print(KorText::Format(u"%i %s %s", entry.id, language, OneLine(text)));
  };
  for (const TextEntry& entry : dictionary.Entries()) {
    if (options.language.IsEmpty()) show(entry, u"source", entry.phrase);
    for (std::size_t i = 0; i < dictionary.Languages().size(); ++i)
      if (Shows(dictionary.Languages()[i]))
        show(entry, dictionary.Languages()[i].folder, entry.Translation(i));
  }
  if (found) return KordictResult::Done;
  out.complain(KorText::Format(u"%s: no text holds \"%s\".", dictionary.Path(), wanted));
  return KordictResult::Nothing;
}

KordictResult Kordict::ExportXml() {
  if (!LoadDictionary()) return KordictResult::Unreadable;
  const KorText& file = options.arguments[0];
  if (dictionary.ExportXML(file)) return KordictResult::Done;
  if (dictionary.Entries().empty()) {
    out.complain(dictionary.Path() + u": holds no texts; the export ends after the languages.");
    return KordictResult::Nothing;
  }
  out.complain(file + u": cannot be written. Check the folder and the room on the disk.");
  return KordictResult::NotWritten;
}

KordictResult Kordict::ExportXliff() {
  if (!LoadDictionary()) return KordictResult::Unreadable;
  const KorText& folder = options.arguments[0];
  if (dictionary.ExportXLIFF(folder, Progress())) return KordictResult::Done;
  out.complain(folder +
               u": the translation files cannot be written. Check the folder and the room on "
               u"the disk.");
  return KordictResult::NotWritten;
}

KordictResult Kordict::ImportXliff() {
  const auto files = TranslationFiles();
  if (!files || !LoadDictionary()) return KordictResult::Unreadable;
  if (!ReadTranslations(*files)) return KordictResult::Unreadable;
  if (dictionary.Save(options.withoutBackup ? TextHolder::Backup::None
                                            : TextHolder::Backup::Made)) {
    for (const KorText& line : imported)
      out.print(line);
    return KordictResult::Done;
  }
  out.complain(dictionary.Path() +
               u": cannot be written; it is unchanged. Check the folder, the rights "
               u"to it and the room on the disk, or add --no-backup.");
  return KordictResult::NotWritten;
}

KordictResult Kordict::Header() {
  if (!LoadDictionary()) return KordictResult::Unreadable;
  if (dictionary.ExportHeader()) return KordictResult::Done;
  out.complain(FolderOfPath(dictionary.Path()) +
               u"textlib.h: cannot be written. Check the folder and the room on the disk.");
  return KordictResult::NotWritten;
}

KordictResult Kordict::Check() {
  if (options.arguments.empty()) {
    if (!LoadDictionary()) return KordictResult::Unreadable;
    return PrintFindings();
  }
  const auto files = TranslationFiles();
  dictionary.StartEditing({});
  if (!files || !ReadTranslations(*files)) return KordictResult::Unreadable;
  return PrintFindings();
}

KordictResult Kordict::PrintFindings() {
  const std::vector<Finding> findings = CheckTexts(dictionary);
  for (const Finding& finding : findings) {
    const bool isSource = finding.language < 0;
    const KorText code =
        isSource ? KorText(u"source")
                 : dictionary.Languages()[static_cast<std::size_t>(finding.language)].folder;
    const auto file = fileOfLanguage.find(code);
    const KorText place = file != fileOfLanguage.end()  ? file->second
                          : dictionary.Path().IsEmpty() ? KorText(u"all files")
                                                        : dictionary.Path();
    out.print(KorText::Format(u"%s: %s: unit %i (%s): %s", place, code, finding.id, finding.name,
                              OneLine(finding.what)));
  }
  if (findings.empty()) return KordictResult::Done;
  out.print(Counted(std::ssize(findings), u"finding"));
  return KordictResult::Nothing;
}

} // namespace

int RunKordict(const std::vector<KorText>& arguments, const KordictOutput& output) {
  KordictOptions options;
  const CommandLineAnswer answer = ReadKordictOptions(arguments, options);
  if (const auto code = answer.Tell(output)) return *code;
  return static_cast<int>(Kordict(options, output).Run());
}

} // namespace kor
