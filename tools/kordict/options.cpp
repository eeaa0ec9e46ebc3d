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

KorText TakeNewLanguage(const KorText& word, KordictOptions& options) {
  const auto language = ReadLanguage(word);
  if (!language) return u"it needs CODE=NAME[:LCID:CODEPAGE], not " + word;
  options.newLanguages.push_back(*language);
  return {};
}

KorText TakeWord(const KorText& word, KordictOptions& options) {
  if (options.command.IsEmpty())
    options.command = word;
  else
    options.arguments.push_back(word);
  return {};
}

KorText CheckCommand(const KordictOptions& options) {
  if (options.command.IsEmpty()) return u"a command is missing";
  const auto command = std::ranges::find_if(
      kCommands, [&](const Command& known) { return options.command == known.name; });
  if (command == std::end(kCommands)) return u"there is no command " + options.command;
  const std::size_t count = options.arguments.size();
  if (count >= command->fewest && count <= command->most) return {};
  return KorText::Format(u"%s has too %s arguments", options.command,
                         count < command->fewest ? u"few" : u"many");
}

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
  import-xliff XLIFF...  take over translations and show what is changed and new; all files or none
  header                 write textlib.h, the numbers under their names, beside the dictionary
  check [XLIFF...]       look for missing translations, lost directives, names used twice, texts
                         and names that are too long, and other quotation marks and signs than
                         the language's; in the translation files, or in the dictionary

options:
  -d, --dictionary FILE  the dictionary, this file and no other (default: diction.ary in this
                         folder, else beside the program)
  -l, --language CODE    get, find: this language only, such as de-DE
  --english XLIFF        build: where the files differ, the English texts of this one hold
  --add-language CODE=NAME[:LCID:CODEPAGE]
                         build, import-xliff: a language that kordict doesn't know
  --no-backup            import-xliff: go on when the older dictionary can't be backed up
  -h, --help             show this
      --version          show the version

exit codes: 0 done; 1 no such text, or check has findings; 2 wrong command line; 3 a file is
missing, damaged or wrong; 4 a file could not be written, and an older one is whole)";

CommandLineAnswer ReadKordictOptions(const std::vector<KorText>& words, KordictOptions& options) {
  CommandLine line(u"kordict", kKordictHelp);
  line.Flag(u"--no-backup", options.withoutBackup);
  line.Value(u"-d --dictionary", u"a file", options.dictionary);
  line.Value(u"-l --language", u"a code such as de-DE", options.language);
  line.Value(u"--english", u"a translation file", options.english);
  line.Value(u"--add-language", u"CODE=NAME[:LCID:CODEPAGE]",
             [&](const KorText& value) { return TakeNewLanguage(value, options); });
  line.Words([&](const KorText& word) { return TakeWord(word, options); });
  return line.Read(words, [&] { return CheckCommand(options); });
}

} // namespace kor
