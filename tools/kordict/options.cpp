#include "tools/kordict/options.h"

#include <algorithm>
#include <iterator>

namespace kor {
namespace {

struct Command {
  const char16_t* name;
  std::size_t fewest, most; // arguments
};

constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);

constexpr Command kCommands[] = {
    {u"build", 1, kAnyNumber},
    {u"info", 0, 0},
    {u"get", 1, 1},
    {u"find", 1, 1},
    {u"export-xml", 1, 1},
    {u"export-xliff", 1, 1},
    {u"import-xliff", 1, kAnyNumber},
    {u"header", 0, 0},
    {u"check", 0, kAnyNumber},
};

// "sv-SE=Svenska:1053:1252"; identifier and code page may be left out.
std::optional<TextLanguage> ReadLanguage(const KorText& word) {
  const std::size_t equals = word.Find(u'=');
  if (equals == KorText::kNone || equals == 0) return std::nullopt;
  const std::vector<KorText> parts = Split(word.Mid(equals + 1), u':');
  if (parts[0].IsEmpty() || parts.size() > 3) return std::nullopt;
  TextLanguage language;
  language.folder = word.Left(equals);
  language.name = parts[0];
  if (parts.size() > 1) language.lcid = static_cast<std::uint32_t>(parts[1].ToInteger());
  if (parts.size() > 2) language.codepage = static_cast<std::uint32_t>(parts[2].ToInteger());
  return language;
}

class OptionReader {
 public:
  OptionReader(const std::vector<KorText>& toRead, KorText& reason)
      : words(toRead), error(reason) {}

  std::optional<KordictOptions> Read() {
    for (at = 0; at < words.size(); ++at)
      if (!ReadWord(words[at])) return std::nullopt;
    if (!options.help && !CheckCommand()) return std::nullopt;
    return options;
  }

 private:
  bool ReadWord(const KorText& word) {
    if (word == u"-h" || word == u"--help") return options.help = true;
    if (word == u"--no-backup") return options.withoutBackup = true;
    if (word == u"-d" || word == u"--dictionary") return ReadValue(options.dictionary);
    if (word == u"-l" || word == u"--language") return ReadValue(options.language);
    if (word == u"--english") return ReadValue(options.english);
    if (word == u"--add-language") return ReadNewLanguage();
    if (word.StartsWith(u"-") && word.Length() > 1)
      return Fail(KorText::Format(u"no option %s", word));
    if (options.command.IsEmpty())
      options.command = word;
    else
      options.arguments.push_back(word);
    return true;
  }

  bool ReadValue(KorText& value) {
    if (at + 1 == words.size()) return Fail(KorText::Format(u"%s needs a value", words[at]));
    value = words[++at];
    return true;
  }

  bool ReadNewLanguage() {
    KorText word;
    if (!ReadValue(word)) return false;
    const auto language = ReadLanguage(word);
    if (!language) return Fail(u"--add-language needs CODE=NAME[:LCID:CODEPAGE], not " + word);
    options.newLanguages.push_back(*language);
    return true;
  }

  bool CheckCommand() {
    if (options.command.IsEmpty()) return Fail(u"a command is missing");
    const auto command = std::ranges::find_if(
        kCommands, [this](const Command& known) { return options.command == known.name; });
    if (command == std::end(kCommands))
      return Fail(KorText::Format(u"no command %s", options.command));
    const std::size_t count = options.arguments.size();
    if (count >= command->fewest && count <= command->most) return true;
    return Fail(KorText::Format(u"%s has too %s arguments", options.command,
                                count < command->fewest ? u"few" : u"many"));
  }

  bool Fail(const KorText& what) {
    error = what;
    return false;
  }

  const std::vector<KorText>& words;
  KorText& error;
  std::size_t at = 0;
  KordictOptions options;
};

} // namespace

const char16_t kKordictHelp[] =
    uR"(kordict - builds, inspects, exports and imports the text dictionary

usage: kordict COMMAND [ARGUMENTS] [OPTIONS]

commands:
  build XLIFF...         make the dictionary from translation files, one per language; a folder
                         stands for the dictionary_*.xlf in it
  info                   show the languages and how much of each is translated
  get NUMBER             show a text with its translations and notes
  find TEXT              list the texts that hold TEXT, in any language
  export-xml FILE        write everything as XML
  export-xliff FOLDER    write dictionary_CODE.xlf for each language
  import-xliff XLIFF...  take over translations; all files or none
  header                 write textlib.h, the numbers under their names, beside the dictionary
  check [XLIFF...]       look for missing translations, lost directives, names used twice and texts
                         that are too long; in the translation files, or in the dictionary

options:
  -d, --dictionary FILE  the dictionary (default: diction.ary in this folder, else beside the program)
  -l, --language CODE    get, find: this language only, such as de-DE
  --english XLIFF        build: where the files differ, the English texts of this one hold
  --add-language CODE=NAME[:LCID:CODEPAGE]
                         build, import-xliff: a language that kordict doesn't know
  --no-backup            import-xliff: go on when the older dictionary can't be backed up
  -h, --help             show this

exit codes: 0 done; 1 no such text, or check has findings; 2 wrong command line; 3 a file is missing,
damaged or wrong; 4 a file could not be written, and an older one is whole)";

std::optional<KordictOptions> ReadKordictOptions(const std::vector<KorText>& words,
                                                 KorText& error) {
  return OptionReader(words, error).Read();
}

} // namespace kor
